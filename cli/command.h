#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace cli {

class Run;

/// One option, flag or positional argument of a command. Parser, help, man page
/// and completions are all made from these.
struct Option {
  enum class Takes {
    kNothing,     ///< a flag
    kValue,       ///< one value
    kMaybeValue,  ///< --name or --name=VALUE
    kValues,      ///< positional: one or more values
    kEach,        ///< one value each time it is given
  };
  std::string names;  ///< "-o,--output"; without dashes: a positional argument
  std::string help;   ///< one sentence without a full stop
  Takes takes = Takes::kNothing;
  std::string value = {};                 ///< what help calls the value, for example "FILE"
  std::vector<std::string> choices = {};  ///< the only values allowed; empty = any
  bool required = false;

  /// The name that `Arguments` knows it by: the long name without dashes, or the
  /// positional's.
  std::string key() const;
  bool isPositional() const { return names.front() != '-'; }
};

/// What the user gave for the options of a command, by `Option::key`.
class Arguments {
 public:
  void set(const std::string& key, QStringList values) { values_[key] = std::move(values); }

  bool has(const std::string& key) const { return values_.count(key) > 0; }
  /// The value, or empty when not given.
  QString text(const std::string& key) const;
  QStringList list(const std::string& key) const;
  /// A whole number, decimal or with 0x in front.
  /// @throws Failure (usage) when it is none or outside `least` to `most`
  std::int64_t number(const std::string& key, std::int64_t least, std::int64_t most) const;

 private:
  std::map<std::string, QStringList> values_;
};

/// Reads a whole number, decimal or with 0x in front.
/// @throws Failure (usage) naming `what` when it is none or outside the range
std::int64_t wholeNumber(const QString& text, const QString& what, std::int64_t least, std::int64_t most);

/// A command of the program: a verb, or what follows a verb.
struct Command {
  using Action = std::function<void(Run&, const Arguments&)>;

  std::string name;
  std::string help;  ///< one sentence without a full stop
  std::vector<Option> options = {};
  std::vector<Command> commands = {};
  Action action = {};  ///< empty when one of `commands` must follow
  bool isHidden = false;
};

}  // namespace cli
