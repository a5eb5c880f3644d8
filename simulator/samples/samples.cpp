#include "simulator/samples/samples.h"

#include "simulator/device/edid_tables.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <random>
#include <string_view>

namespace samples {
namespace {

using Bytes = std::vector<char>;

/// Bytes that stand for code: the same at each run, and no text among them.
Bytes madeUpCode(std::size_t size, std::uint32_t seed) {
  Bytes bytes(size);
  std::mt19937 random(seed);
  std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(0x80U | (random() & 0xFFU)); });
  return bytes;
}

void put(Bytes& bytes, std::size_t offset, std::string_view text) {
  std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

/// What Pellavox looks for is the model's name, what the simulated capture chip
/// then shows the version.
Bytes captureImage(std::string_view model, std::string_view version, std::uint32_t seed) {
  Bytes image = madeUpCode(std::size_t{1024} * 1024, seed);
  put(image, 0x40, model);
  put(image, 0x60, version);
  return image;
}

/// Not a whole number of blocks, so that the last one must be padded. The
/// simulated MCU has its version at offset 0x20, a digit in each half.
Bytes mcuImage(std::size_t size, char version, std::uint32_t seed) {
  Bytes image = madeUpCode(size, seed);
  image[0x20] = version;
  return image;
}

/// The EDID table that the simulated device ships in a flash slot.
Bytes edidTable(std::size_t slot, std::size_t size) {
  const std::vector<std::uint8_t> table = simulator::edidTable(simulator::factoryDisplays()[slot], size);
  return {table.begin(), table.end()};
}

}  // namespace

std::vector<Sample> all() {
  return {
      {"capture-kvr-7.img", "capture firmware V1.04.00 of a KVR-7", captureImage("KVR-7", "V1.04.00", 1)},
      {"capture-kvr-5b.img", "capture firmware V1.04.00 of a KVR-5B", captureImage("KVR-5B", "V1.04.00", 2)},
      {"main-family-2.bin", "external MCU firmware v1.3 of chip family \"2\"", mcuImage(20'000, 0x13, 3)},
      {"main-family-v.bin", "external MCU firmware v1.3 of chip family \"v\"", mcuImage(6'000, 0x13, 4)},
      {"hdcp-key.bin", "HDCP key of made-up bytes", madeUpCode(572, 5)},
      {"edid-1080p.bin", "EDID table of a 1080p60 display, 256 bytes", edidTable(0, 256)},
      {"edid-surround.bin", "EDID table of a 1080p60 display with 5.1 sound, 384 bytes", edidTable(2, 384)},
      {"edid-2160p-hdr.bin", "EDID table of a 2160p60 display with HDR, 512 bytes", edidTable(5, 512)},
  };
}

bool write(const Sample& sample, const std::filesystem::path& directory) {
  std::ofstream file(directory / sample.name, std::ios::binary);
  file.write(sample.content.data(), static_cast<std::streamsize>(sample.content.size()));
  file.close();
  return file.good();
}

}  // namespace samples
