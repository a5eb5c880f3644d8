/// @file
/// Builds EDIDs from the facts of a display, byte by byte after VESA E-EDID,
/// CTA-861 and DisplayID; shares nothing with the code under test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

namespace edid_test {

using Table = std::vector<std::uint8_t>;

/// One axis of a timing, in pixels or lines of a field.
struct Axis {
  unsigned active = 0;
  unsigned frontPorch = 0;
  unsigned sync = 0;
  unsigned backPorch = 0;
  bool positive = false;
};

struct Timing {
  unsigned clockKhz = 0;
  Axis horizontal;
  Axis vertical;
  bool interlaced = false;
};

/// VESA CVT, reduced blanking version 1; `verticalSync` tells the aspect ratio
/// (4 = 4:3, 5 = 16:9, 6 = 16:10, 7 = 5:4 or 15:9, 10 = another).
Timing reducedBlanking(unsigned width, unsigned height, unsigned rate, unsigned verticalSync);

/// Writes checksums into all blocks.
void setChecksums(Table& table);

/// A CTA-861 extension of revision 3.
class CtaBuilder {
 public:
  /// `flags`: byte 3, with the number of native timings.
  explicit CtaBuilder(unsigned flags, unsigned revision = 3) : flags_(flags), revision_(revision) {}
  CtaBuilder& data(unsigned tag, std::initializer_list<unsigned> bytes);
  CtaBuilder& extended(unsigned tag, std::initializer_list<unsigned> bytes);
  /// A detailed timing of a picture of the given size in millimetres.
  CtaBuilder& timing(const Timing& timing, unsigned widthMm, unsigned heightMm);
  Table block() const;

 private:
  unsigned flags_;
  unsigned revision_;
  Table data_;
  Table timings_;
};

/// A DisplayID extension of version 1.2 or 1.3.
class DisplayIdBuilder {
 public:
  explicit DisplayIdBuilder(unsigned version, unsigned productType) : version_(version), type_(productType) {}
  DisplayIdBuilder& data(unsigned tag, unsigned revision, std::initializer_list<unsigned> bytes);
  /// A data block of one timing of type I. `aspect`: 4 = 16:9, 5 = 16:10, 8 = none of the listed ones.
  DisplayIdBuilder& timing(const Timing& timing, bool preferred, unsigned aspect);
  /// The data blocks that every display has: product, display parameters, interface.
  DisplayIdBuilder& display(std::string_view maker, unsigned product, unsigned widthMm, unsigned heightMm,
                            unsigned width, unsigned height);
  Table block() const;

 private:
  unsigned version_;
  unsigned type_;
  Table data_;
};

/// The base block and what follows it.
class EdidBuilder {
 public:
  /// `revision`: 3 or 4 of structure version 1. `input`: byte 20. `features`: byte 24.
  EdidBuilder(std::string_view maker, unsigned product, unsigned revision, unsigned input, unsigned features);
  EdidBuilder& made(unsigned week, unsigned year);
  EdidBuilder& serial(unsigned number);
  EdidBuilder& size(unsigned widthMm, unsigned heightMm);
  EdidBuilder& established(unsigned first, unsigned second, unsigned third);
  /// Pairs of bytes, as the standard has them.
  EdidBuilder& standard(std::initializer_list<unsigned> bytes);
  EdidBuilder& timing(const Timing& timing);
  EdidBuilder& name(std::string_view text) { return textDescriptor(0xFC, text); }
  EdidBuilder& serialText(std::string_view text) { return textDescriptor(0xFF, text); }
  EdidBuilder& text(std::string_view text) { return textDescriptor(0xFE, text); }
  /// Range limits; the highest clock in MHz.
  EdidBuilder& range(unsigned minV, unsigned maxV, unsigned minH, unsigned maxH, unsigned clock, unsigned formula = 0);
  EdidBuilder& descriptor(unsigned tag, std::initializer_list<unsigned> bytes);
  EdidBuilder& extension(const Table& block);
  /// A block map; the blocks added behind it are listed in it.
  EdidBuilder& blockMap();
  Table table() const;

 private:
  EdidBuilder& textDescriptor(unsigned tag, std::string_view text);
  void addDescriptor(const Table& bytes);

  Table base_ = Table(128);
  std::size_t descriptorAt_ = 54;
  std::size_t standardAt_ = 38;
  unsigned widthMm_ = 0;
  unsigned heightMm_ = 0;
  Table extensions_;
  bool mapped_ = false;
};

}  // namespace edid_test
