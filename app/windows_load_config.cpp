/// @file
/// The program's load configuration, which Windows reads before it loads the
/// libraries that the program names: they are looked for in the program's own
/// folder and in the system's, never in the current directory or along PATH.
/// packaging/windows/set-load-config enters it into the program's header.
#include <array>
#include <cstddef>
#include <cstdint>

namespace {

// Layout and values: Microsoft's PE format, "The Load Configuration Structure",
// and LoadLibraryEx. MinGW-w64's headers have no name for the field.
constexpr std::size_t kSize = 112;
constexpr std::size_t kDependentLoadFlags = 0x4E;
constexpr std::uint16_t kSearchApplicationFolder = 0x0200;
constexpr std::uint16_t kSearchSystemFolder = 0x0800;

using LoadConfig = std::array<std::uint16_t, kSize / 2>;

constexpr LoadConfig loadConfig() {
  LoadConfig config{};
  config[0] = kSize;
  config[kDependentLoadFlags / 2] = kSearchApplicationFolder | kSearchSystemFolder;
  return config;
}

}  // namespace

// Under the name that linkers with support for it look for.
extern "C" {
extern const LoadConfig _load_config_used;
alignas(8) const LoadConfig _load_config_used = loadConfig();
}
