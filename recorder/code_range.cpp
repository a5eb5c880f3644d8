#include "recorder/code_range.h"

#ifndef _WIN32
#include <link.h>
#endif

#include <algorithm>
#include <utility>

namespace recorder {

#ifdef _WIN32

CodeRange CodeRange::ofLibraryAround(const void* /*address*/) { return {}; }

#else

namespace {

CodeRange rangeOf(const dl_phdr_info& library) {
  CodeRange range{UINTPTR_MAX, 0};
  for (unsigned i = 0; i < library.dlpi_phnum; ++i) {
    const auto& segment = library.dlpi_phdr[i];
    if (segment.p_type == PT_LOAD) {
      const std::uintptr_t begin = library.dlpi_addr + segment.p_vaddr;
      range.begin = std::min(range.begin, begin);
      range.end = std::max(range.end, begin + segment.p_memsz);
    }
  }
  return range;
}

}  // namespace

CodeRange CodeRange::ofLibraryAround(const void* address) {
  std::pair<const void*, CodeRange> search(address, CodeRange());
  dl_iterate_phdr(
      [](dl_phdr_info* library, std::size_t /*size*/, void* data) {
        auto& [wanted, found] = *static_cast<decltype(search)*>(data);
        const CodeRange range = rangeOf(*library);
        if (!range.contains(wanted)) {
          return 0;
        }
        found = range;
        return 1;
      },
      &search);
  return search.second;
}

#endif

}  // namespace recorder
