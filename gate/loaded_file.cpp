#include "gate/loaded_file.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace gate {

#ifdef _WIN32

tl::expected<LoadedFile, std::string> LoadedFile::open(const std::filesystem::path& file) {
  const std::filesystem::path whole = std::filesystem::absolute(file);
  HMODULE handle =
      LoadLibraryExW(whole.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (handle == nullptr) {
    return tl::unexpected("Windows error " + std::to_string(GetLastError()));
  }
  return LoadedFile(reinterpret_cast<void*>(handle));
}

LoadedFile::Function LoadedFile::find(const char* name) const {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(handle_), name)));
}

#else

tl::expected<LoadedFile, std::string> LoadedFile::open(const std::filesystem::path& file) {
  // A name without a slash would be searched for all over the system.
  const std::filesystem::path whole = std::filesystem::absolute(file);
  std::error_code error;
  // Opening a pipe would wait for somebody who writes.
  if (const auto type = std::filesystem::status(whole, error); exists(type) && !is_regular_file(type)) {
    return tl::unexpected<std::string>("it is no file");
  }
  void* handle = dlopen(whole.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* reason = dlerror();
    return tl::unexpected(std::string(reason != nullptr ? reason : "unknown reason"));
  }
  return LoadedFile(handle);
}

LoadedFile::Function LoadedFile::find(const char* name) const {
  return reinterpret_cast<Function>(dlsym(handle_, name));
}

#endif

}  // namespace gate
