#pragma once

#include <array>
#include <sqlite3.h>

/// A file system layer for SQLite that fails on request, in place of the system's.
namespace failing_vfs {

/// What fails, and when.
struct Plan {
  int writesLeft = -1;      ///< until writes fail with `code`; below 0 = never
  int code = SQLITE_FULL;   ///< of a failing write
  bool isReadOnly = false;  ///< files open for reading only
};
inline Plan plan;

namespace detail {

/// The system's methods for one kind of file, and ours in their place.
struct Methods {
  const sqlite3_io_methods* original = nullptr;
  sqlite3_io_methods failing{};
};

inline sqlite3_vfs* original = nullptr;
inline sqlite3_vfs vfs;
inline std::array<Methods, 8> kinds;

inline int write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  if (plan.writesLeft == 0) {
    return plan.code;
  }
  if (plan.writesLeft > 0) {
    --plan.writesLeft;
  }
  for (const Methods& kind : kinds) {
    if (file->pMethods == &kind.failing) {
      return kind.original->xWrite(file, bytes, count, offset);
    }
  }
  return SQLITE_INTERNAL;
}

inline void replaceMethods(sqlite3_file* file) {
  for (Methods& kind : kinds) {
    if (kind.original == nullptr) {
      kind.original = file->pMethods;
      kind.failing = *file->pMethods;
      kind.failing.xWrite = &write;
    }
    if (kind.original == file->pMethods) {
      file->pMethods = &kind.failing;
      return;
    }
  }
}

inline int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* given) {
  if (plan.isReadOnly && (flags & SQLITE_OPEN_MAIN_DB) != 0) {
    // As the system does for files without write permission.
    flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
  }
  const int code = original->xOpen(original, name, file, flags, given);
  if (code == SQLITE_OK && file->pMethods != nullptr) {
    replaceMethods(file);
  }
  return code;
}

}  // namespace detail

/// Installs it in front of the system's; once per process.
inline void install() {
  detail::original = sqlite3_vfs_find(nullptr);
  detail::vfs = *detail::original;
  detail::vfs.zName = "failing";
  detail::vfs.xOpen = &detail::open;
  sqlite3_vfs_register(&detail::vfs, 1);
}

}  // namespace failing_vfs
