/// @file
/// Builds EDIDs from a display's data, byte by byte as in VESA E-EDID, CTA-861 and
/// DisplayID. Shares no code with the program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

namespace edid_test {

using Table = std::vector<std::uint8_t>;

/// One axis of a timing, in pixels or in lines per field.
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

/// VESA CVT, reduced blanking version 1; `verticalSync` encodes the aspect ratio
/// (4 = 4:3, 5 = 16:9, 6 = 16:10, 7 = 5:4 or 15:9, 10 = another).
Timing reducedBlanking(unsigned width, unsigned height, unsigned rate, unsigned verticalSync);

/// Writes the checksum of every block.
void setChecksums(Table& table);

/// A CTA-861 extension of revision 3.
class CtaBuilder {
 public:
  /// `flags`: byte 3, with the number of native timings.
  explicit CtaBuilder(unsigned flags, unsigned revision = 3) : flags_(flags), revision_(revision) {}
  CtaBuilder& data(unsigned tag, std::initializer_list<unsigned> bytes);
  CtaBuilder& extended(unsigned tag, std::initializer_list<unsigned> bytes);
  /// A detailed timing with the given picture size in millimetres.
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
  /// A data block with one type I timing. `aspect`: 4 = 16:9, 5 = 16:10, 8 = not listed.
  DisplayIdBuilder& timing(const Timing& timing, bool preferred, unsigned aspect);
  /// The mandatory data blocks: product, display parameters, interface.
  DisplayIdBuilder& display(std::string_view maker, unsigned product, unsigned widthMm, unsigned heightMm,
                            unsigned width, unsigned height);
  Table block() const;

 private:
  unsigned version_;
  unsigned type_;
  Table data_;
};

/// The base block and its extensions.
class EdidBuilder {
 public:
  /// `revision`: 3 or 4 of structure version 1. `input`: byte 20. `features`: byte 24.
  EdidBuilder(std::string_view maker, unsigned product, unsigned revision, unsigned input, unsigned features);
  EdidBuilder& made(unsigned week, unsigned year);
  EdidBuilder& serial(unsigned number);
  EdidBuilder& size(unsigned widthMm, unsigned heightMm);
  EdidBuilder& established(unsigned first, unsigned second, unsigned third);
  /// Standard timings, as pairs of bytes in the standard's encoding.
  EdidBuilder& standard(std::initializer_list<unsigned> bytes);
  EdidBuilder& timing(const Timing& timing);
  EdidBuilder& name(std::string_view text) { return textDescriptor(0xFC, text); }
  EdidBuilder& serialText(std::string_view text) { return textDescriptor(0xFF, text); }
  EdidBuilder& text(std::string_view text) { return textDescriptor(0xFE, text); }
  /// Range limits; `clock` is the highest pixel clock in MHz.
  EdidBuilder& range(unsigned minV, unsigned maxV, unsigned minH, unsigned maxH, unsigned clock, unsigned formula = 0);
  EdidBuilder& descriptor(unsigned tag, std::initializer_list<unsigned> bytes);
  EdidBuilder& extension(const Table& block);
  /// A block map, which lists the blocks added after it.
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
