#include "simulator/scenario/scenario_tree.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>

namespace simulator {
namespace {

constexpr std::size_t kMaxDepth = 32;

/// Walks over a text and keeps the line of the byte read last. A line break
/// belongs to the line that it ends: the parser reads one byte past a number,
/// which must not move the number to the next line.
class LineCountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  LineCountingIterator(const char* position, std::size_t* line) : position_(position), line_(line) {}

  reference operator*() const {
    if (afterBreak_) {
      ++*line_;
      afterBreak_ = false;
    }
    return *position_;
  }
  LineCountingIterator& operator++() {
    afterBreak_ = *position_ == '\n';
    ++position_;
    return *this;
  }
  bool operator==(const LineCountingIterator& other) const { return position_ == other.position_; }

 private:
  const char* position_;
  std::size_t* line_;
  mutable bool afterBreak_ = false;
};

/// Receives the parser's events and builds the tree.
class TreeBuilder {
 public:
  explicit TreeBuilder(const std::size_t* line) : line_(line) {}

  bool null() { return add(nullptr); }
  bool boolean(bool value) { return add(value); }
  bool number_integer(std::int64_t value) { return add(value); }
  bool number_unsigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(INT64_MAX)) {
      return add(static_cast<double>(value));
    }
    return add(static_cast<std::int64_t>(value));
  }
  bool number_float(double value, const std::string&) { return add(value); }
  bool string(std::string& value) { return add(std::move(value)); }
  bool binary(std::vector<std::uint8_t>&) { return false; }  // JSON text has none

  bool start_object(std::size_t) { return open(ScenarioValue::Object()); }
  bool key(std::string& key) {
    const auto [first, isNew] = keyLines_.back().emplace(key, *line_);
    if (!isNew) {
      throw ScenarioError(*line_, "\"" + key + "\" stands twice; the first is at line " +
                                      std::to_string(first->second) + ", remove one of them");
    }
    std::get<ScenarioValue::Object>(open_.back().value).push_back({std::move(key), *line_, {}});
    return true;
  }
  bool end_object() { return close(); }
  bool start_array(std::size_t) { return open(ScenarioValue::Array()); }
  bool end_array() { return close(); }

  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) {
    // Of "[id] parse error at line 1, column 2: reason" only the reason is wanted.
    std::string reason = error.what();
    reason.erase(0, reason.find("] ") + 2);
    if (reason.starts_with("parse error at ")) {
      reason.erase(0, reason.find(": ") + 2);
    }
    throw ScenarioError(*line_, "not valid JSON: " + reason);
  }

  ScenarioValue take() { return std::move(root_); }

 private:
  template <typename Value>
  bool add(Value value) {
    place({*line_, std::move(value)});
    return true;
  }

  template <typename Container>
  bool open(Container container) {
    if (open_.size() == kMaxDepth) {
      throw ScenarioError(*line_, "nested deeper than " + std::to_string(kMaxDepth) + " levels; no key needs that");
    }
    open_.push_back({*line_, std::move(container)});
    keyLines_.emplace_back();
    return true;
  }

  bool close() {
    ScenarioValue done = std::move(open_.back());
    open_.pop_back();
    keyLines_.pop_back();
    place(std::move(done));
    return true;
  }

  void place(ScenarioValue value) {
    if (open_.empty()) {
      root_ = std::move(value);
    } else if (auto* array = std::get_if<ScenarioValue::Array>(&open_.back().value)) {
      array->push_back(std::move(value));
    } else {
      std::get<ScenarioValue::Object>(open_.back().value).back().value = std::move(value);
    }
  }

  const std::size_t* line_;
  std::vector<ScenarioValue> open_;
  // Of each open object; a lookup in the members would take quadratic time.
  std::vector<std::map<std::string, std::size_t>> keyLines_;
  ScenarioValue root_;
};

std::string shortest(double value) {
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  return {text, end};
}

/// Reads bytes written as "00 1F".
std::optional<std::vector<std::uint8_t>> parseBytes(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  if (!text.empty() && text.size() % 3 != 2) {
    return std::nullopt;
  }
  for (std::size_t i = 0; i < text.size(); i += 3) {
    std::uint8_t byte = 0;
    const char* const first = text.data() + i;
    if (i != 0 && first[-1] != ' ') {
      return std::nullopt;
    }
    const auto [last, error] = std::from_chars(first, first + 2, byte, 16);
    if (error != std::errc() || last != first + 2) {
      return std::nullopt;
    }
    bytes.push_back(byte);
  }
  return bytes;
}

}  // namespace

std::string joinedWords(std::span<const std::string_view> words) {
  std::string text;
  for (const std::string_view word : words) {
    text += text.empty() ? "" : ", ";
    text += word;
  }
  return text;
}

ScenarioValue parseScenario(std::string_view json) {
  if (json.find_first_not_of(" \t\r\n") == std::string_view::npos) {
    throw ScenarioError(1, "the scenario is empty; write at least {}");
  }
  std::size_t line = 1;
  TreeBuilder builder(&line);
  nlohmann::json::sax_parse(LineCountingIterator(json.data(), &line),
                            LineCountingIterator(json.data() + json.size(), &line), &builder);
  // The parser takes a zero byte for the end of the text.
  if (const std::size_t zero = json.find('\0'); zero != std::string_view::npos) {
    const auto breaks = std::count(json.begin(), json.begin() + static_cast<std::ptrdiff_t>(zero), '\n');
    throw ScenarioError(1 + static_cast<std::size_t>(breaks), "not valid JSON: a zero byte; remove it");
  }
  return builder.take();
}

Section::Section(const ScenarioValue& value, std::string path, std::span<const std::string_view> keys)
    : value_(&value), path_(std::move(path)) {
  const auto* members = std::get_if<ScenarioValue::Object>(&value.value);
  if (!members) {
    throw ScenarioError(value.line, (path_.empty() ? "the scenario" : "\"" + path_ + "\"") +
                                        " must be an object in braces; keys known in it: " + joinedWords(keys));
  }
  for (const ScenarioValue::Member& member : *members) {
    if (std::find(keys.begin(), keys.end(), member.key) == keys.end()) {
      throw ScenarioError(member.line,
                          "\"" + pathOf(member.key) + "\" is not a known key; known here: " + joinedWords(keys));
    }
  }
}

const ScenarioValue* Section::find(std::string_view key) const {
  for (const ScenarioValue::Member& member : std::get<ScenarioValue::Object>(value_->value)) {
    if (member.key == key) {
      return &member.value;
    }
  }
  return nullptr;
}

std::string Section::pathOf(std::string_view key) const {
  return (path_.empty() ? "" : path_ + ".") + std::string(key);
}

void Section::fail(std::string_view key, const std::string& remedy) const {
  const ScenarioValue* value = find(key);
  throw ScenarioError(value ? value->line : value_->line, "\"" + pathOf(key) + "\" " + remedy);
}

std::optional<bool> Section::boolean(std::string_view key) const {
  const ScenarioValue* value = find(key);
  if (!value) {
    return std::nullopt;
  }
  if (const bool* flag = std::get_if<bool>(&value->value)) {
    return *flag;
  }
  fail(key, "must be true or false");
}

std::optional<std::int64_t> Section::integer(std::string_view key, std::int64_t min, std::int64_t max) const {
  const ScenarioValue* value = find(key);
  if (!value) {
    return std::nullopt;
  }
  if (const std::int64_t* whole = std::get_if<std::int64_t>(&value->value); whole && *whole >= min && *whole <= max) {
    return *whole;
  }
  fail(key, "must be a whole number from " + std::to_string(min) + " to " + std::to_string(max));
}

std::optional<double> Section::number(std::string_view key, double min, double max) const {
  const ScenarioValue* value = find(key);
  if (!value) {
    return std::nullopt;
  }
  double number = std::nan("");
  if (const std::int64_t* whole = std::get_if<std::int64_t>(&value->value)) {
    number = static_cast<double>(*whole);
  } else if (const double* real = std::get_if<double>(&value->value)) {
    number = *real;
  }
  if (number >= min && number <= max) {
    return number;
  }
  fail(key, "must be a number from " + shortest(min) + " to " + shortest(max));
}

std::optional<std::chrono::nanoseconds> Section::milliseconds(std::string_view key, double min, double max) const {
  const std::optional<double> count = number(key, min, max);
  if (!count) {
    return std::nullopt;
  }
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double, std::milli>(*count));
}

std::optional<std::string> Section::text(std::string_view key, std::size_t maxLength) const {
  const ScenarioValue* value = find(key);
  if (!value) {
    return std::nullopt;
  }
  if (const std::string* text = std::get_if<std::string>(&value->value);
      text && text->size() <= maxLength && text->find('\0') == std::string::npos) {
    return *text;
  }
  fail(key, "must be a text of at most " + std::to_string(maxLength) + " bytes, without a zero byte");
}

std::optional<std::vector<std::uint8_t>> Section::bytes(std::string_view key, std::size_t maxCount) const {
  constexpr std::size_t kLettersAByte = 3;
  const std::optional<std::string> text = this->text(key, kLettersAByte * maxCount);
  if (!text) {
    return std::nullopt;
  }
  if (auto bytes = parseBytes(*text)) {
    return bytes;
  }
  fail(key, "must be bytes of two hexadecimal digits with blanks between, for example \"00 1F\"");
}

std::optional<std::size_t> Section::choice(std::string_view key, std::span<const std::string_view> choices) const {
  const ScenarioValue* value = find(key);
  if (!value) {
    return std::nullopt;
  }
  if (const std::string* text = std::get_if<std::string>(&value->value)) {
    if (const auto found = std::find(choices.begin(), choices.end(), *text); found != choices.end()) {
      return static_cast<std::size_t>(found - choices.begin());
    }
    fail(key, "cannot be \"" + *text + "\"; known here: " + joinedWords(choices));
  }
  fail(key, "must be one of these texts: " + joinedWords(choices));
}

std::optional<Section> Section::section(std::string_view key, std::span<const std::string_view> keys) const {
  const ScenarioValue* value = find(key);
  if (!value) {
    return std::nullopt;
  }
  return Section(*value, pathOf(key), keys);
}

std::vector<Section> Section::sections(std::string_view key, std::span<const std::string_view> keys) const {
  std::vector<Section> sections;
  if (const ScenarioValue* value = find(key)) {
    const auto* array = std::get_if<ScenarioValue::Array>(&value->value);
    if (!array) {
      fail(key, "must be an array in brackets");
    }
    for (std::size_t i = 0; i < array->size(); ++i) {
      sections.emplace_back((*array)[i], pathOf(key) + "[" + std::to_string(i) + "]", keys);
    }
  }
  return sections;
}

}  // namespace simulator
