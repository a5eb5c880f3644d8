/// @file
/// Images for upgrades of a faulty external MCU, including images that hide a fault
/// from the protocol.
#pragma once

#include "tests/support/seeded_random.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace upgrade_images {

/// Gives all data packets this checksum, except a padded last one.
inline void setChecksums(std::vector<std::uint8_t>& image, std::uint8_t checksum, SeededRandom& random) {
  for (std::size_t piece = 0; piece < image.size(); piece += 64) {
    const std::size_t end = std::min(piece + 64, image.size());
    unsigned sum = 0x5A + 0xA3;
    for (std::size_t i = piece; i + 1 < end; ++i) {
      image[i] = random.byte();
      sum += image[i];
    }
    image[end - 1] = static_cast<std::uint8_t>(checksum - sum);
  }
}

inline std::vector<std::uint8_t> randomImage(std::size_t size, SeededRandom& random) {
  std::vector<std::uint8_t> image(size);
  switch (random.below(4)) {
    case 0:  // all packets alike: the previous packet's checksum looks right
      std::fill(image.begin(), image.end(), random.byte());
      break;
    case 1:  // a failed read looks right
      setChecksums(image, 0xFF, random);
      break;
    default:
      std::generate(image.begin(), image.end(), [&random] { return random.byte(); });
  }
  return image;
}

/// Start of the flash after an upgrade: the image, padded with zeros to whole blocks.
inline std::vector<std::uint8_t> padded(std::vector<std::uint8_t> image, std::size_t blockSize) {
  image.resize((image.size() + blockSize - 1) / blockSize * blockSize);
  return image;
}

}  // namespace upgrade_images
