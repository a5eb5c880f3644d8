/// @file
/// The search for the model's name in a capture image. The first byte selects the model
/// (bit 0) and the kind of file (bits 1 to 4): 0, the search's first piece ends within
/// the image, which is slow; 1 and 2, the same with a hole before the image; 3, a hole
/// in the middle of the image, where a read ends; otherwise short reads, with the next 8
/// bytes as their lengths in turn. The rest is the image.
#include "firmware/capture_image.h"

#include "fuzz/input.h"
#include "fuzz/target.h"

#include <QFile>
#include <QTemporaryFile>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

/// A file whose reads return less than requested.
class PiecewiseFile : public QFile {
 public:
  PiecewiseFile(std::span<const std::uint8_t> content, std::vector<std::uint8_t> pieces)
      : content_(content), pieces_(std::move(pieces)) {
    setOpenMode(QIODevice::ReadOnly | QIODevice::Unbuffered);
  }

  // Closing a QFile needs a real file, so only reset the mode.
  ~PiecewiseFile() override { setOpenMode(QIODevice::NotOpen); }
  PiecewiseFile(const PiecewiseFile&) = delete;
  PiecewiseFile& operator=(const PiecewiseFile&) = delete;

  bool isSequential() const override { return true; }

 protected:
  qint64 readData(char* bytes, qint64 size) override {
    const std::size_t wanted = std::size_t{pieces_[piece_++ % pieces_.size()]} + 1;
    const std::size_t length = std::min({wanted, static_cast<std::size_t>(size), content_.size()});
    if (length > 0) {
      std::memcpy(bytes, content_.data(), length);
    }
    content_ = content_.subspan(length);
    return static_cast<qint64>(length);
  }

 private:
  std::span<const std::uint8_t> content_;
  std::vector<std::uint8_t> pieces_;
  std::size_t piece_ = 0;
};

/// A file whose reads stop at the hole.
class FileWithHole : public QFile {
 public:
  FileWithHole(const QString& path, qint64 hole) : QFile(path), hole_(hole) {}

 protected:
  qint64 readData(char* bytes, qint64 size) override {
    return QFile::readData(bytes, pos() < hole_ ? std::min(size, hole_ - pos()) : size);
  }

 private:
  qint64 hole_;
};

constexpr auto kPieceSize = static_cast<qint64>(firmware::kSearchPieceSize);

bool isFoundInFile(std::span<const std::uint8_t> image, bool afterHole, const QByteArray& text) {
  static QTemporaryFile file;
  fuzz::require(file.isOpen() || file.open(), "a temporary file can be made");
  const auto size = static_cast<qint64>(image.size());
  const qint64 before = kPieceSize - size / 2;
  fuzz::require(file.resize(0) && file.seek(0), "it can be emptied");
  if (afterHole) {
    fuzz::require(file.resize(before) && file.seek(before), "it can have a hole");
  } else {
    static const QByteArray zeros(static_cast<int>(kPieceSize), '\0');
    fuzz::require(file.write(zeros.constData(), before) == before, "it can be filled");
  }
  fuzz::require(file.write(reinterpret_cast<const char*>(image.data()), size) == size && file.flush(),
                "it takes the image");

  QFile read(file.fileName());
  fuzz::require(read.open(QIODevice::ReadOnly | QIODevice::Unbuffered), "it can be read");
  return firmware::containsText(read, text);
}

bool isFoundAroundHole(std::span<const std::uint8_t> image, const QByteArray& text) {
  constexpr qint64 kBegin = qint64{64} * 1024;
  static QTemporaryFile file;
  const std::size_t half = image.size() / 2;
  const auto put = [&](std::span<const std::uint8_t> part, qint64 at) {
    const auto size = static_cast<qint64>(part.size());
    return file.seek(at) && file.write(reinterpret_cast<const char*>(part.data()), size) == size;
  };
  fuzz::require((file.isOpen() || file.open()) && file.resize(0), "a temporary file can be made");
  // The first half, cut to the room before the hole, ends where the hole begins.
  const auto first = image.first(std::min(half, static_cast<std::size_t>(kBegin)));
  fuzz::require(
      put(first, kBegin - static_cast<qint64>(first.size())) && put(image.subspan(half), 10 * kBegin) && file.flush(),
      "it takes the image");

  FileWithHole read(file.fileName(), kBegin);
  fuzz::require(read.open(QIODevice::ReadOnly | QIODevice::Unbuffered), "it can be read");
  return firmware::containsText(read, text);
}

bool holds(std::span<const std::uint8_t> bytes, const QByteArray& text) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return all.find(text.constData()) != std::string_view::npos;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input({data, size});
  const std::uint8_t control = input.takeByte();
  const std::uint32_t pid = (control & 1) != 0 ? 0x6B02 : 0x6B03;
  const auto text = firmware::modelText({0x5C19, pid});
  fuzz::require(text.has_value(), "both models have a name");
  fuzz::require(!firmware::modelText({pid, 0x5C19}), "other ids have none");

  const int way = control >> 1 & 15;
  const bool inFile = way < 4;
  std::vector<std::uint8_t> pieces = inFile ? std::vector<std::uint8_t>() : input.take(8);
  const std::span<const std::uint8_t> image = input.rest();
  bool isFound = false;
  if (way == 3) {
    const std::size_t half = image.size() / 2;
    const std::size_t kept = std::min(half, std::size_t{64} * 1024);
    fuzz::require(
        isFoundAroundHole(image, *text) == (holds(image.first(kept), *text) || holds(image.subspan(half), *text)),
        "the name is found on one side of a hole, not in pieces on both");
    return 0;
  }
  if (inFile) {
    isFound = isFoundInFile(image, way > 0, *text);
  } else {
    PiecewiseFile file(image, std::move(pieces));
    isFound = firmware::containsText(file, *text);
  }
  fuzz::require(isFound == holds(image, *text), "the name is found when the image contains it, however it is read");
  return 0;
}
