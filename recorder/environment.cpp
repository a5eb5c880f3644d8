#include "recorder/environment.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace recorder {

std::filesystem::path environmentPath(const char* name) {
#ifdef _WIN32
  const std::string ascii(name);
  const wchar_t* const value = _wgetenv(std::wstring(ascii.begin(), ascii.end()).c_str());
#else
  const char* const value = std::getenv(name);
#endif
  return value == nullptr ? std::filesystem::path() : std::filesystem::path(value);
}

std::string environmentText(const char* name) {
  const std::u8string text = environmentPath(name).u8string();
  return {text.begin(), text.end()};
}

std::uint64_t environmentNumber(const char* name, std::uint64_t otherwise) {
  const std::string text = environmentText(name);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : otherwise;
}

#ifdef _WIN32

std::filesystem::path fileOfCode(const void* address) {
  HMODULE module = nullptr;
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<LPCWSTR>(address), &module) == 0) {
    return {};
  }
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

unsigned long processNumber() { return GetCurrentProcessId(); }

#else

std::filesystem::path fileOfCode(const void* address) {
  Dl_info info{};
  return dladdr(address, &info) == 0 || info.dli_fname == nullptr ? std::filesystem::path()
                                                                  : std::filesystem::path(info.dli_fname);
}

unsigned long processNumber() { return static_cast<unsigned long>(getpid()); }

#endif

}  // namespace recorder
