#pragma once

#include "recorder/line_text.h"
#include "recorder/part_names.h"
#include "recorder/sha256.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace recorder {

/// Ties each line to all before it. Each byte changes the value one to one, so
/// that a single changed byte always shows.
class Chain {
 public:
  void add(std::string_view text) {
    for (const char letter : text) {
      value_ = (value_ ^ static_cast<std::uint8_t>(letter)) * 0x100000001B3U;
    }
  }
  /// 16 hexadecimal digits.
  std::string text() const;

  /// What stands between a line's text and its chain value, and after that.
  static constexpr std::string_view kOpening = ",\"chain\":\"";
  static constexpr std::string_view kClosing = "\"}";
  static constexpr std::size_t kDigits = 16;

 private:
  std::uint64_t value_ = 0xCBF29CE484222325U;  // FNV-1a
};

/// Adds chain value, closing brace and line feed to a line.
void seal(std::string& line, Chain& chain);

/// Writes a recording, flushed line by line. When a file cannot be written any
/// more it keeps what it has, whole lines only, and everything later is dropped.
/// Not for several threads at once.
class RecordingFile {
 public:
  struct Limits {
    std::uint64_t partSize = 64U << 20U;  ///< a larger file is followed by the next part
    unsigned parts = 16;                  ///< how many are kept, the newest ones; 0 = all
  };
  /// What to do when the name of the first file is taken.
  enum class WhenTaken { kFail, kTakeNextName };

  /// @param tell told in one line when something is lost, once
  RecordingFile(std::filesystem::path file, const Header& header, Limits limits,
                std::function<void(const std::string&)> tell, WhenTaken whenTaken = WhenTaken::kFail);
  /// Leaves the recording without its last line unless `finish` came before.
  ~RecordingFile() = default;
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  /// @param line a line without its closing brace; sealed in place
  void write(std::string& line);
  /// Writes the last line, which holds the hash of all before, and closes.
  void finish();
  /// Closes, and removes the files that this made and no others.
  void discard();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::FILE* create(WhenTaken whenTaken);
  void open(WhenTaken whenTaken);
  void writeFooter(bool isLast);
  bool append(std::string& line);
  void fail();

  std::filesystem::path file_;
  std::string header_;
  Limits limits_;
  std::function<void(const std::string&)> tell_;
  std::unique_ptr<std::FILE, Close> stream_;
  Chain chain_;
  Sha256 hash_;
  std::uint64_t size_ = 0;
  std::uint64_t lines_ = 0;
  unsigned part_ = 1;
  unsigned oldest_ = 1;  ///< the lowest part that is kept
  unsigned made_ = 0;    ///< the highest part that this made
};

}  // namespace recorder
