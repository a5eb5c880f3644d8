/// @file
/// A scenario text as a tree of values that know their line, and the reader
/// through which each part of the device takes its keys from it.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace simulator {

/// What is wrong with a scenario, at which line of it.
class ScenarioError : public std::runtime_error {
 public:
  ScenarioError(std::size_t line, const std::string& text) : std::runtime_error(text), line_(line) {}
  std::size_t line() const { return line_; }

 private:
  std::size_t line_;
};

/// One JSON value.
struct ScenarioValue {
  struct Member;
  using Array = std::vector<ScenarioValue>;
  using Object = std::vector<Member>;

  std::size_t line = 1;
  /// Numbers without fraction and exponent are integers.
  std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object> value;
};

struct ScenarioValue::Member {
  std::string key;
  std::size_t line = 1;
  ScenarioValue value;
};

/// Words with commas between them, for messages.
std::string joinedWords(std::span<const std::string_view> words);

/// Reads a JSON text.
/// @throws ScenarioError at the first mistake, at a key that stands twice in an
///         object and at nesting deeper than 32
ScenarioValue parseScenario(std::string_view json);

/// A text that a key may have, and what it means.
template <typename Value>
struct Choice {
  std::string_view text;
  Value value;
};

/// An object of a scenario. Every getter returns nothing when the key is absent
/// and throws ScenarioError when its value is of the wrong type or out of range.
class Section {
 public:
  /// @param path what messages call the object, for example "externalMcu"; empty for the whole scenario
  /// @param keys all keys the object may have
  /// @throws ScenarioError when `value` is no object or has another key
  Section(const ScenarioValue& value, std::string path, std::span<const std::string_view> keys);

  std::optional<bool> boolean(std::string_view key) const;
  std::optional<std::int64_t> integer(std::string_view key, std::int64_t min, std::int64_t max) const;
  std::optional<double> number(std::string_view key, double min, double max) const;
  static constexpr double kMaxMilliseconds = 1e9;
  std::optional<std::chrono::nanoseconds> milliseconds(std::string_view key, double min,
                                                       double max = kMaxMilliseconds) const;
  /// UTF-8 text of 0 to `maxLength` bytes without NUL.
  std::optional<std::string> text(std::string_view key, std::size_t maxLength) const;
  /// Bytes written as "00 1F", at most `maxCount`.
  std::optional<std::vector<std::uint8_t>> bytes(std::string_view key, std::size_t maxCount) const;
  /// Index of the text in `choices`.
  std::optional<std::size_t> choice(std::string_view key, std::span<const std::string_view> choices) const;
  /// The meaning of the text.
  template <typename Value, std::size_t N>
  std::optional<Value> choice(std::string_view key, const std::array<Choice<Value>, N>& choices) const {
    std::array<std::string_view, N> texts;
    for (std::size_t i = 0; i < N; ++i) {
      texts[i] = choices[i].text;
    }
    const std::optional<std::size_t> index = choice(key, texts);
    return index ? std::optional(choices[*index].value) : std::nullopt;
  }
  std::optional<Section> section(std::string_view key, std::span<const std::string_view> keys) const;
  /// The objects of an array.
  std::vector<Section> sections(std::string_view key, std::span<const std::string_view> keys) const;

  /// Reports the value of `key` (or the object itself when it is absent) as wrong.
  [[noreturn]] void fail(std::string_view key, const std::string& remedy) const;

 private:
  const ScenarioValue* find(std::string_view key) const;
  std::string pathOf(std::string_view key) const;

  const ScenarioValue* value_;  // of the tree that outlives all its sections
  std::string path_;
};

}  // namespace simulator
