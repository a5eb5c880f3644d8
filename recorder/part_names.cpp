#include "recorder/part_names.h"

#include <charconv>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace recorder {
namespace {

namespace fs = std::filesystem;

/// A file name that ends like a part's.
struct PartName {
  std::string recording;
  unsigned part = 0;
};

std::optional<PartName> partNameOf(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos) {
    return std::nullopt;
  }
  PartName found{name.substr(0, dot), 0};
  const char* const last = name.data() + name.size();
  const auto [end, error] = std::from_chars(name.data() + dot + 1, last, found.part);
  // Not FILE.02: the recorder makes no such name.
  if (error != std::errc() || end != last || found.part < 2 ||
      name.compare(dot + 1, std::string::npos, std::to_string(found.part)) != 0) {
    return std::nullopt;
  }
  return found;
}

std::vector<std::string> namesBeside(const fs::path& file) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(file.has_parent_path() ? file.parent_path() : ".", error), end;
       !error && entry != end; entry.increment(error)) {
    names.push_back(utf8Of(entry->path().filename()));
  }
  return names;
}

}  // namespace

std::string utf8Of(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

fs::path partOf(const fs::path& file, unsigned part) {
  fs::path path = file;
  if (part > 1) {
    path += "." + std::to_string(part);
  }
  return path;
}

unsigned firstPartOf(const fs::path& file) {
  std::error_code ignored;
  // A link that leads nowhere takes the name as well.
  if (fs::exists(fs::symlink_status(file, ignored))) {
    return 1;
  }
  unsigned first = 0;
  const std::string wanted = utf8Of(file.filename());
  for (const std::string& name : namesBeside(file)) {
    const std::optional<PartName> part = partNameOf(name);
    if (part && part->recording == wanted && (first == 0 || part->part < first)) {
      first = part->part;
    }
  }
  return first;
}

FreeNames::FreeNames(fs::path wanted) : wanted_(std::move(wanted)) {
  for (const std::string& name : namesBeside(wanted_)) {
    taken_.insert(name);
    if (std::optional<PartName> part = partNameOf(name)) {
      taken_.insert(std::move(part->recording));
    }
  }
}

fs::path FreeNames::next() {
  constexpr int kMost = 10'000;
  while (++number_ < kMost) {
    fs::path name = wanted_;
    if (number_ > 1) {
      name = wanted_.parent_path() / wanted_.stem();
      name += "-" + std::to_string(number_);
      name += wanted_.extension();
    }
    if (!taken_.contains(utf8Of(name.filename()))) {
      return name;
    }
  }
  return {};
}

}  // namespace recorder
