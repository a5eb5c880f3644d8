#include "tests/edid/edid_builder.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace edid_test {
namespace {

constexpr std::size_t kBlock = 128;

std::uint8_t low(unsigned value) { return static_cast<std::uint8_t>(value & 0xFFU); }

unsigned blanking(const Axis& axis) { return axis.frontPorch + axis.sync + axis.backPorch; }

void appendTo(Table& table, std::initializer_list<unsigned> bytes) {
  std::transform(bytes.begin(), bytes.end(), std::back_inserter(table), low);
}

Table detailed(const Timing& timing, unsigned widthMm, unsigned heightMm) {
  const Axis& h = timing.horizontal;
  const Axis& v = timing.vertical;
  const unsigned clock = timing.clockKhz / 10;
  Table bytes;
  appendTo(bytes,
           {clock, clock >> 8, h.active, blanking(h), h.active >> 8 << 4 | blanking(h) >> 8, v.active, blanking(v),
            v.active >> 8 << 4 | blanking(v) >> 8, h.frontPorch, h.sync, (v.frontPorch & 0xFU) << 4 | (v.sync & 0xFU),
            h.frontPorch >> 8 << 6 | h.sync >> 8 << 4 | v.frontPorch >> 4 << 2 | v.sync >> 4, widthMm, heightMm,
            widthMm >> 8 << 4 | heightMm >> 8, 0, 0,
            (timing.interlaced ? 0x80U : 0U) | 0x18U | (v.positive ? 4U : 0U) | (h.positive ? 2U : 0U)});
  return bytes;
}

std::uint8_t complement(std::span<const std::uint8_t> bytes) {
  return low(0U - std::accumulate(bytes.begin(), bytes.end(), 0U));
}

}  // namespace

Timing reducedBlanking(unsigned width, unsigned height, unsigned rate, unsigned verticalSync) {
  constexpr double kBlankMicroseconds = 460.0;
  const double lineMicroseconds = (1'000'000.0 / rate - kBlankMicroseconds) / height;
  const auto blank = std::max(static_cast<unsigned>(kBlankMicroseconds / lineMicroseconds) + 1, 3 + verticalSync + 6);
  const double clockMhz = static_cast<double>(rate) * (height + blank) * (width + 160) / 1'000'000.0;
  const unsigned clockKhz = static_cast<unsigned>(clockMhz * 4) * 250;
  return {clockKhz, {width, 48, 32, 80, true}, {height, 3, verticalSync, blank - 3 - verticalSync, false}, false};
}

void setChecksums(Table& table) {
  for (std::size_t start = 0; start + kBlock <= table.size(); start += kBlock) {
    table[start + kBlock - 1] = complement(std::span(table).subspan(start, kBlock - 1));
  }
}

CtaBuilder& CtaBuilder::data(unsigned tag, std::initializer_list<unsigned> bytes) {
  data_.push_back(low(tag << 5 | static_cast<unsigned>(bytes.size())));
  appendTo(data_, bytes);
  return *this;
}

CtaBuilder& CtaBuilder::extended(unsigned tag, std::initializer_list<unsigned> bytes) {
  data_.push_back(low(7U << 5 | static_cast<unsigned>(bytes.size() + 1)));
  data_.push_back(low(tag));
  appendTo(data_, bytes);
  return *this;
}

CtaBuilder& CtaBuilder::timing(const Timing& timing, unsigned widthMm, unsigned heightMm) {
  const Table bytes = detailed(timing, widthMm, heightMm);
  timings_.insert(timings_.end(), bytes.begin(), bytes.end());
  return *this;
}

Table CtaBuilder::block() const {
  if (4 + data_.size() + timings_.size() >= kBlock) {
    throw std::logic_error("the extension is too long");
  }
  Table block(kBlock);
  block[0] = 0x02;
  block[1] = low(revision_);
  block[2] = low(4 + static_cast<unsigned>(data_.size()));
  block[3] = low(flags_);
  const auto next = std::copy(data_.begin(), data_.end(), block.begin() + 4);
  std::copy(timings_.begin(), timings_.end(), next);
  return block;
}

DisplayIdBuilder& DisplayIdBuilder::data(unsigned tag, unsigned revision, std::initializer_list<unsigned> bytes) {
  appendTo(data_, {tag, revision, static_cast<unsigned>(bytes.size())});
  appendTo(data_, bytes);
  return *this;
}

DisplayIdBuilder& DisplayIdBuilder::timing(const Timing& timing, bool preferred, unsigned aspect) {
  const unsigned clock = timing.clockKhz / 10 - 1;
  appendTo(data_, {0x03, 0, 20, clock, clock >> 8, clock >> 16,
                   (preferred ? 0x80U : 0U) | (timing.interlaced ? 0x10U : 0U) | aspect});
  for (const Axis& axis : {timing.horizontal, timing.vertical}) {
    const unsigned porch = (axis.frontPorch - 1) | (axis.positive ? 0x8000U : 0U);
    for (const unsigned number : {axis.active - 1, blanking(axis) - 1, porch, axis.sync - 1}) {
      appendTo(data_, {number, number >> 8});
    }
  }
  return *this;
}

DisplayIdBuilder& DisplayIdBuilder::display(std::string_view maker, unsigned product, unsigned widthMm,
                                            unsigned heightMm, unsigned width, unsigned height) {
  const auto letter = [&](std::size_t i) { return static_cast<unsigned>(maker[i]); };
  const unsigned w = widthMm * 10;
  const unsigned h = heightMm * 10;
  data(0x00, 0, {letter(0), letter(1), letter(2), product, product >> 8, 0, 0, 0, 0, 10, 20, 0});
  // No features, gamma 2.2, aspect ratio above 1, 8 bits.
  data(0x01, 0,
       {w, w >> 8, h, h >> 8, width, width >> 8, height, height >> 8, 0, 120, width * 100 / height - 100, 0x77});
  // DisplayPort, one link, 8 bits of RGB.
  return data(0x0F, 0, {0x81, 0x12, 0x02, 0, 0, 0, 0, 0, 0, 0});
}

Table DisplayIdBuilder::block() const {
  Table block;
  appendTo(block, {0x70, version_, static_cast<unsigned>(data_.size()), type_, 0});
  block.insert(block.end(), data_.begin(), data_.end());
  block.push_back(complement(std::span(block).subspan(1)));
  if (block.size() >= kBlock) {
    throw std::logic_error("the section is too long");
  }
  block.resize(kBlock);
  return block;
}

EdidBuilder::EdidBuilder(std::string_view maker, unsigned product, unsigned revision, unsigned input,
                         unsigned features) {
  std::fill_n(base_.begin() + 1, 6, std::uint8_t{0xFF});
  unsigned letters = 0;
  for (const char letter : maker) {
    letters = letters << 5 | static_cast<unsigned>(letter - '@');
  }
  base_[8] = low(letters >> 8);
  base_[9] = low(letters);
  base_[10] = low(product);
  base_[11] = low(product >> 8);
  base_[18] = 1;
  base_[19] = low(revision);
  base_[20] = low(input);
  base_[23] = 220 - 100;  // gamma 2.2
  base_[24] = low(features);
  // The primaries of sRGB, or of a panel with a smaller gamut.
  constexpr std::uint8_t kSrgb[] = {0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54};
  constexpr std::uint8_t kPanel[] = {0xF0, 0x20, 0x93, 0x58, 0x57, 0x92, 0x29, 0x26, 0x50, 0x54};
  std::copy_n((features & 4U) != 0 ? kSrgb : kPanel, std::size(kSrgb), base_.begin() + 25);
  std::fill_n(base_.begin() + 38, 16, std::uint8_t{0x01});
  made(1, 2020);
}

EdidBuilder& EdidBuilder::made(unsigned week, unsigned year) {
  base_[16] = low(week);
  base_[17] = low(year - 1990);
  return *this;
}

EdidBuilder& EdidBuilder::serial(unsigned number) {
  for (const std::size_t at : {12U, 13U, 14U, 15U}) {
    base_[at] = low(number);
    number >>= 8;
  }
  return *this;
}

EdidBuilder& EdidBuilder::size(unsigned widthMm, unsigned heightMm) {
  widthMm_ = widthMm;
  heightMm_ = heightMm;
  base_[21] = low((widthMm + 5) / 10);
  base_[22] = low((heightMm + 5) / 10);
  return *this;
}

EdidBuilder& EdidBuilder::established(unsigned first, unsigned second, unsigned third) {
  base_[35] = low(first);
  base_[36] = low(second);
  base_[37] = low(third);
  return *this;
}

EdidBuilder& EdidBuilder::standard(std::initializer_list<unsigned> bytes) {
  for (const unsigned byte : bytes) {
    base_.at(standardAt_++) = low(byte);
  }
  return *this;
}

void EdidBuilder::addDescriptor(const Table& bytes) {
  constexpr std::size_t kEnd = 126;
  if (bytes.size() != 18 || descriptorAt_ >= kEnd) {
    throw std::logic_error("a descriptor has 18 bytes, and four of them fit");
  }
  std::copy(bytes.begin(), bytes.end(), base_.begin() + static_cast<std::ptrdiff_t>(descriptorAt_));
  descriptorAt_ += bytes.size();
}

EdidBuilder& EdidBuilder::timing(const Timing& timing) {
  addDescriptor(detailed(timing, widthMm_, heightMm_));
  return *this;
}

EdidBuilder& EdidBuilder::textDescriptor(unsigned tag, std::string_view text) {
  Table bytes;
  appendTo(bytes, {0, 0, 0, tag, 0});
  std::transform(text.begin(), text.end(), std::back_inserter(bytes),
                 [](char letter) { return static_cast<std::uint8_t>(letter); });
  if (bytes.size() < 18) {
    bytes.push_back('\n');
    bytes.resize(18, ' ');
  }
  addDescriptor(bytes);
  return *this;
}

EdidBuilder& EdidBuilder::range(unsigned minV, unsigned maxV, unsigned minH, unsigned maxH, unsigned clock,
                                unsigned formula) {
  // Rates above 255 are stored minus 255, with a flag.
  const unsigned marks = (maxV > 255 ? 2U : 0U) | (maxH > 255 ? 8U : 0U);
  return descriptor(0xFD, {marks, minV, maxV > 255 ? maxV - 255 : maxV, minH, maxH > 255 ? maxH - 255 : maxH,
                           (clock + 9) / 10, formula, '\n', ' ', ' ', ' ', ' ', ' ', ' '});
}

EdidBuilder& EdidBuilder::descriptor(unsigned tag, std::initializer_list<unsigned> bytes) {
  Table all;
  appendTo(all, {0, 0, 0, tag});
  appendTo(all, bytes);
  all.resize(18);
  addDescriptor(all);
  return *this;
}

EdidBuilder& EdidBuilder::extension(const Table& block) {
  extensions_.insert(extensions_.end(), block.begin(), block.end());
  return *this;
}

EdidBuilder& EdidBuilder::blockMap() {
  mapped_ = true;
  return *this;
}

Table EdidBuilder::table() const {
  Table all = base_;
  // Unused descriptors are dummies.
  for (std::size_t at = descriptorAt_; at < 126; at += 18) {
    all[at + 3] = 0x10;
  }
  if (mapped_) {
    Table map(kBlock);
    map[0] = 0xF0;
    for (std::size_t block = 0; block < extensions_.size() / kBlock; ++block) {
      map[block + 1] = extensions_[block * kBlock];
    }
    all.insert(all.end(), map.begin(), map.end());
  }
  all.insert(all.end(), extensions_.begin(), extensions_.end());
  all[126] = low(static_cast<unsigned>(all.size() / kBlock) - 1);
  setChecksums(all);
  return all;
}

}  // namespace edid_test
