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

RecordingFile::RecordingFile(std::filesystem::path file, const Header& header, Limits limits,
                             std::function<void(const std::string&)> tell, WhenTaken whenTaken)
    : file_(std::move(file)), limits_(limits), tell_(std::move(tell)) {
  writeHeader(header_, header);
  header_ += ",\"keeps\":" + std::to_string(limits_.parts) + ",\"part\":";
  open(whenTaken);
}

std::FILE* RecordingFile::create(WhenTaken whenTaken) {
  if (whenTaken == WhenTaken::kFail) {
    return createFile(partOf(file_, part_));
  }
  // Another process may take a name between the look into the folder and this.
  FreeNames names(file_);
  for (std::filesystem::path name = names.next(); !name.empty(); name = names.next()) {
    std::FILE* const made = createFile(name);
    if (made != nullptr || errno != EEXIST) {
      file_ = std::move(name);
      return made;
    }
  }
  errno = EEXIST;
  return nullptr;
}

void RecordingFile::open(WhenTaken whenTaken) {
  // Binds a part to the one before it.
  std::string line = header_ + std::to_string(part_) + ",\"follows\":\"" + (part_ == 1 ? "" : chain_.text()) + "\"";
  stream_.reset(create(whenTaken));
  if (!stream_) {
    const int error = errno;
    tell_("cannot create " + utf8Of(partOf(file_, part_)) + ": " + std::strerror(error) + "; calls are not recorded");
    return;
  }
  made_ = part_;
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
  if (limits_.parts != 0 && part_ > limits_.parts) {
    std::error_code ignored;
    std::filesystem::remove(partOf(file_, oldest_++), ignored);
  }
  open(WhenTaken::kFail);
}

void RecordingFile::finish() {
  if (stream_) {
    writeFooter(true);
    stream_.reset();
  }
}

void RecordingFile::discard() {
  stream_.reset();
  for (; oldest_ <= made_; ++oldest_) {
    std::error_code ignored;
    std::filesystem::remove(partOf(file_, oldest_), ignored);
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
  tell_("cannot write " + utf8Of(path) + ": " + std::strerror(errno) + "; calls from here on are not recorded");
  stream_.reset();
  // Half a line would make the rest look damaged.
  std::error_code ignored;
  std::filesystem::resize_file(path, size_, ignored);
}

}  // namespace recorder
