#pragma once

#include <filesystem>
#include <set>
#include <string>

/// Names of the files of a recording: FILE, FILE.2, FILE.3 and so on. The first files of a
/// long recording may be gone, so that a name can be taken although FILE does not exist.
namespace recorder {

/// The name of a recording's n-th file, from 1.
std::filesystem::path partOf(const std::filesystem::path& file, unsigned part);

/// The lowest part that exists; 0 when none does.
unsigned firstPartOf(const std::filesystem::path& file);

/// Names that no recording has yet: FILE, then with "-2", "-3" and so on before its
/// extension.
class FreeNames {
 public:
  /// Looks into the folder once.
  explicit FreeNames(std::filesystem::path wanted);

  /// The next one; empty after some thousands. Another process may take it meanwhile.
  std::filesystem::path next();

 private:
  std::filesystem::path wanted_;
  std::set<std::string> taken_;
  int number_ = 0;
};

/// A path as UTF-8.
std::string utf8Of(const std::filesystem::path& path);

}  // namespace recorder
