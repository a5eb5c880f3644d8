#include "firmware/capture_image.h"

#include "device/regular_file.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#if defined(Q_OS_UNIX)
#include <unistd.h>
#endif

namespace firmware {
namespace {

struct Model {
  device::UsbIds ids;
  const char* text = nullptr;
};

constexpr auto kModels = std::to_array<Model>({{{0x5C19, 0x6B03}, "KVR-7"}, {{0x5C19, 0x6B02}, "KVR-5"}});

// The most that is searched of what a file holds beyond its size: some files of
// the system report no size and never end.
constexpr qint64 kMostBeyondSize = qint64{64} * 1024 * 1024;

/// Moves ahead to the next byte that is not in a hole of a sparse file, where the
/// file system tells.
/// @return whether that is another place
bool skipHole([[maybe_unused]] QFileDevice& file) {
#if defined(SEEK_DATA)
  const qint64 position = file.pos();
  const qint64 data = lseek(file.handle(), position, SEEK_DATA);
  const bool onlyHoleLeft = data < 0 && errno == ENXIO;
  // Some files hold more than their size tells, and that may lie behind us: a
  // search that goes back never ends.
  const qint64 next = onlyHoleLeft ? file.size() : data;
  return next > position && file.seek(next);
#else
  return false;
#endif
}

// The letters of a model's name: so many are compared in one pass.
constexpr std::size_t kAtOnce = 5;

/// Whether letters of the text differ from those at `first` and the places behind it:
/// 0 where they are the same. Branch-free, so that the compiler can vectorise it: an
/// image full of beginnings of the text takes no longer than any other.
template <std::size_t Letters>
void compare(const char* first, const char* text, std::span<char> differences) {
  std::array<char, Letters> letters{};
  std::copy_n(text, Letters, letters.begin());
  for (std::size_t i = 0; i < differences.size(); ++i) {
    char difference = 0;
    for (std::size_t letter = 0; letter < Letters; ++letter) {
      difference = static_cast<char>(difference | (first[i + letter] ^ letters[letter]));
    }
    differences[i] = difference;
  }
}

void addLetter(const char* first, char letter, std::span<char> differences) {
  for (std::size_t i = 0; i < differences.size(); ++i) {
    differences[i] = static_cast<char>(differences[i] | (first[i] ^ letter));
  }
}

bool contains(std::string_view piece, std::string_view text) {
  std::array<char, 1024> room{};
  for (std::size_t block = 0; block + text.size() <= piece.size(); block += room.size()) {
    const char* const first = piece.data() + block;
    const auto differences = std::span(room).first(std::min(room.size(), piece.size() - text.size() + 1 - block));
    std::size_t compared = 0;
    if (text.size() >= kAtOnce) {
      compare<kAtOnce>(first, text.data(), differences);
      compared = kAtOnce;
    } else {
      compare<1>(first, text.data(), differences);
      compared = 1;
    }
    for (; compared < text.size(); ++compared) {
      addLetter(first + compared, text[compared], differences);
    }
    if (std::string_view(differences.data(), differences.size()).find('\0') != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::optional<QByteArray> modelText(const device::UsbIds& ids) {
  const auto* const found =
      std::find_if(kModels.begin(), kModels.end(), [&ids](const Model& model) { return model.ids == ids; });
  return found == kModels.end() ? std::nullopt : std::optional(QByteArray(found->text));
}

tl::expected<void, ImageRefusal> checkCaptureImage(const QString& path, const device::UsbIds& ids) {
  const std::optional<QByteArray> model = modelText(ids);
  if (!model) {
    return tl::unexpected<ImageRefusal>(ImageRefusal::kUnknownModel);
  }
  QFile image(path);
  if (!device::openRegularFile(image, QIODevice::ReadOnly | QIODevice::Unbuffered)) {
    return tl::unexpected<ImageRefusal>(ImageRefusal::kCannotOpen);
  }
  if (!containsText(image, *model)) {
    return tl::unexpected<ImageRefusal>(ImageRefusal::kWrongModel);
  }
  return {};
}

bool containsText(QFileDevice& file, const QByteArray& text) {
  const std::string_view wanted(text.constData(), static_cast<std::size_t>(text.size()));
  const std::size_t overlap = wanted.size() - 1;
  std::vector<char> buffer(overlap + kSearchPieceSize);
  std::size_t kept = 0;  // end of the previous piece, where the text may have begun
  for (;;) {
    if (skipHole(file)) {
      kept = 0;  // a hole reads as NUL, which is not in the text
    }
    const qint64 read = file.read(buffer.data() + kept, static_cast<qint64>(buffer.size() - kept));
    if (read <= 0 || file.pos() - file.size() > kMostBeyondSize) {
      return false;
    }
    const std::string_view piece(buffer.data(), kept + static_cast<std::size_t>(read));
    if (contains(piece, wanted)) {
      return true;
    }
    kept = std::min(overlap, piece.size());
    std::copy_n(piece.end() - static_cast<std::ptrdiff_t>(kept), kept, buffer.begin());
  }
}

}  // namespace firmware
