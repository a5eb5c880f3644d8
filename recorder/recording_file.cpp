#include "recorder/recording_file.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#endif

namespace recorder {
namespace {

// A file that is there already belongs to somebody else.
std::FILE* createFile(const std::filesystem::path& file) {
#ifdef _WIN32
  const int number =
      _wopen(file.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
  return number < 0 ? nullptr : _fdopen(number, "wb");
#else
  return std::fopen(file.c_str(), "wbxe");
#endif
}

std::string nameOf(const std::filesystem::path& file) {
  const std::u8string name = file.u8string();
  return {name.begin(), name.end()};
}

}  // namespace

std::string Chain::text() const {
  std::array<std::uint8_t, 8> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(value_ >> (56 - 8 * i));
  }
  std::string text;
  appendHex(text, bytes);
  return text;
}

void seal(std::string& line, Chain& chain) {
  chain.add(line);
  line.append(Chain::kOpening).append(chain.text()).append(Chain::kClosing);
  line += '\n';
}

std::filesystem::path partOf(const std::filesystem::path& file, unsigned part) {
  std::filesystem::path path = file;
  if (part > 1) {
    path += "." + std::to_string(part);
  }
  return path;
}

RecordingFile::RecordingFile(std::filesystem::path file, const Header& header, Limits limits,
                             std::function<void(const std::string&)> tell)
    : file_(std::move(file)), limits_(limits), tell_(std::move(tell)) {
  writeHeader(header_, header);
  header_ += ",\"part\":";
  open();
}

void RecordingFile::open() {
  // Binds a part to the one before it.
  std::string line = header_ + std::to_string(part_) + ",\"follows\":\"" + (part_ == 1 ? "" : chain_.text()) + "\"";
  const std::filesystem::path path = partOf(file_, part_);
  stream_.reset(createFile(path));
  if (!stream_) {
    tell_("cannot create " + nameOf(path) + ": " + std::strerror(errno) + "; calls are not recorded");
    return;
  }
  chain_ = Chain();
  hash_ = Sha256();
  size_ = 0;
  lines_ = 0;
  append(line);
}

void RecordingFile::write(std::string& line) {
  if (!stream_ || !append(line) || size_ < limits_.partSize) {
    return;
  }
  writeFooter(false);
  if (!stream_) {
    return;
  }
  stream_.reset();
  ++part_;
  if (part_ > limits_.parts) {
    std::error_code ignored;
    std::filesystem::remove(partOf(file_, part_ - limits_.parts), ignored);
  }
  open();
}

void RecordingFile::finish() {
  if (stream_) {
    writeFooter(true);
    stream_.reset();
  }
}

void RecordingFile::writeFooter(bool isLast) {
  std::string line = R"({"kind":"footer","last":)";
  line.append(isLast ? "true" : "false").append(",\"lines\":").append(std::to_string(lines_));
  line.append(",\"sha256\":\"").append(hash_.hex()).append("\"");
  append(line);
}

bool RecordingFile::append(std::string& line) {
  seal(line, chain_);
  if (std::fwrite(line.data(), 1, line.size(), stream_.get()) != line.size() || std::fflush(stream_.get()) != 0) {
    fail();
    return false;
  }
  hash_.add(line);
  size_ += line.size();
  ++lines_;
  return true;
}

void RecordingFile::fail() {
  const std::filesystem::path path = partOf(file_, part_);
  tell_("cannot write " + nameOf(path) + ": " + std::strerror(errno) + "; calls from here on are not recorded");
  stream_.reset();
  // Half a line would make the rest look damaged.
  std::error_code ignored;
  std::filesystem::resize_file(path, size_, ignored);
}

}  // namespace recorder
