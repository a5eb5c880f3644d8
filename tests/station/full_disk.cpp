#include "tests/station/full_disk.h"

#include <cstring>
#include <memory>
#include <sqlite3.h>

namespace full_disk {
namespace {

long writesLeft = -1;
bool opensReadOnly = false;
sqlite3_vfs ours;
sqlite3_vfs* system = nullptr;

// The system's methods with our own write in them; SQLite's files keep a pointer.
struct Methods {
  sqlite3_io_methods changed{};
  const sqlite3_io_methods* real = nullptr;
};
Methods methods;

int writeUnlessFull(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
  if (writesLeft == 0) {
    return SQLITE_FULL;
  }
  if (writesLeft > 0) {
    --writesLeft;
  }
  return methods.real->xWrite(file, bytes, size, offset);
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  if (opensReadOnly && (flags & SQLITE_OPEN_MAIN_DB) != 0) {
    if ((flags & SQLITE_OPEN_READWRITE) != 0) {
      flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    }
  }
  const int result = system->xOpen(system, name, file, flags, outFlags);
  if (result == SQLITE_OK && file->pMethods != nullptr && file->pMethods != &methods.changed) {
    methods.real = file->pMethods;
    methods.changed = *methods.real;
    methods.changed.xWrite = writeUnlessFull;
    file->pMethods = &methods.changed;
  }
  return result;
}

}  // namespace

void use(long writes, bool readOnly) {
  writesLeft = writes;
  opensReadOnly = readOnly;
  system = sqlite3_vfs_find(nullptr);
  ours = *system;
  ours.zName = "full-disk";
  ours.xOpen = openFile;
  sqlite3_vfs_register(&ours, 1);
}

}  // namespace full_disk
