#include "simulator/samples/samples.h"

#include "simulator/device/edid_tables.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <random>
#include <string_view>
#include <system_error>
#include <utility>

namespace samples {
namespace {

using Bytes = std::vector<char>;

constexpr unsigned kKeys = 12;

// The hashes are those of the sample files, which are the same wherever they are made.
constexpr std::string_view kJob = R"({
  "format": "pellavox station job 1",
  "model": "KVR-7",
  "mcu": {
    "image": "main.bin",
    "sha256": "5378ef2bedd6ff7c9f04ad81799ea36fbfa23db62078bc3317b1b37bccc6852e",
    "version": "v1.3"
  },
  "capture": {
    "image": "capture-kvr-7.img",
    "sha256": "b1e16c3154896490fea283f1661564233f55cc3eae0dd2ed9c2cac05a90bb86e",
    "version": "V1.04.00"
  },
  "edid": {
    "tables": [
      {"slot": 3, "file": "edid-surround.bin",
       "sha256": "7c137a352dfd876ad1d9abcf8992ecf060209e6f2c25576a1ce89b6466e3b42a"},
      {"slot": 2, "file": "edid-2160p-hdr.bin",
       "sha256": "2b96c67a1e0b5d81f54d20798a47f91f2e9436b623a637574814626965643ba2"}
    ],
    "mode": "mixed",
    "slot": 2
  },
  "serial": {"from": "count", "prefix": "OV7B", "digits": 8, "first": 1},
  "keys": "keys",
  "steps": [{"do": "serial"}, {"do": "mcu"}, {"do": "capture"}, {"do": "key"}, {"do": "edid"}],
  "retries": 2,
  "rework": "same-unit"
}
)";

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

std::vector<Sample> station() {
  std::vector<Sample> files;
  for (Sample& sample : all()) {
    if (sample.name == "capture-kvr-7.img" || sample.name == "edid-surround.bin" ||
        sample.name == "edid-2160p-hdr.bin") {
      files.push_back(std::move(sample));
    }
  }
  // Small, as nobody learns from waiting.
  files.push_back({"main.bin", "external MCU firmware v1.3 of chip family \"2\"", mcuImage(4'000, 0x13, 6)});
  files.push_back({"job.json", "what each unit becomes", Bytes(kJob.begin(), kJob.end())});
  for (unsigned number = 1; number <= kKeys; ++number) {
    const std::string digits = (number < 10 ? "0" : "") + std::to_string(number);
    files.push_back({"keys/key-" + digits + ".bin", "HDCP key of made-up bytes", madeUpCode(572, 100 + number)});
  }
  return files;
}

bool write(const Sample& sample, const std::filesystem::path& directory) {
  const std::filesystem::path path = directory / sample.name;
  std::error_code error;  // shows when the file is written
  std::filesystem::create_directories(path.parent_path(), error);
  std::ofstream file(path, std::ios::binary);
  file.write(sample.content.data(), static_cast<std::streamsize>(sample.content.size()));
  file.close();
  return file.good();
}

}  // namespace samples
