#include "station/schema_check.h"

#include <QRegularExpression>
#include <QString>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <string_view>

namespace station {
namespace {

using Json = nlohmann::json;

constexpr std::array<std::string_view, 14> kKnownKeywords{
    "type",      "enum",      "properties", "required", "additionalProperties",
    "items",     "minItems",  "maxItems",   "minimum",  "uniqueItems",
    "minLength", "maxLength", "pattern",    "maximum"};
constexpr std::array<std::string_view, 4> kCommentKeywords{"$schema", "$id", "title", "description"};

struct TypeName {
  std::string_view name;
  std::string_view shown;
  bool (*holds)(const Json&);
};
constexpr std::array kTypes{
    TypeName{"object", "an object {...}", [](const Json& value) { return value.is_object(); }},
    TypeName{"array", "a list [...]", [](const Json& value) { return value.is_array(); }},
    TypeName{"string", "a text \"...\"", [](const Json& value) { return value.is_string(); }},
    TypeName{"integer", "a whole number", [](const Json& value) { return value.is_number_integer(); }},
};

std::string shown(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

std::string joined(const Json& list) {
  std::string text;
  for (const Json& element : list) {
    text += (text.empty() ? "" : ", ") + shown(element);
  }
  return text;
}

std::string escaped(std::string key) {
  for (std::size_t at = 0; (at = key.find_first_of("~/", at)) != std::string::npos; at += 2) {
    key.replace(at, 1, key[at] == '~' ? "~0" : "~1");
  }
  return key;
}

/// One walk through a value and the schema that belongs to it.
class Walk {
 public:
  void check(const Json& value, const Json& schema, const std::string& place);
  std::vector<SchemaFinding> take() { return std::move(findings_); }

 private:
  void checkObject(const Json& value, const Json& schema, const std::string& place);
  void checkList(const Json& value, const Json& schema, const std::string& place);
  void checkText(const Json& value, const Json& schema, const std::string& place);
  void checkNumber(const Json& value, const Json& schema, const std::string& place);
  void find(const std::string& place, const Json& schema, std::string text);

  std::vector<SchemaFinding> findings_;
};

void Walk::find(const std::string& place, const Json& schema, std::string text) {
  if (schema.contains("description")) {
    text += " (" + schema["description"].get<std::string>() + ")";
  }
  findings_.push_back({place, std::move(text)});
}

void Walk::check(const Json& value, const Json& schema, const std::string& place) {
  if (schema.contains("type")) {
    const auto type =
        std::find_if(kTypes.begin(), kTypes.end(), [&](const TypeName& known) { return schema["type"] == known.name; });
    if (type != kTypes.end() && !type->holds(value)) {
      find(place, schema, "must be " + std::string(type->shown));
      return;
    }
  }
  if (schema.contains("enum") &&
      std::find(schema["enum"].begin(), schema["enum"].end(), value) == schema["enum"].end()) {
    find(place, schema, "must be one of: " + joined(schema["enum"]));
    return;
  }
  if (value.is_object()) {
    checkObject(value, schema, place);
  } else if (value.is_array()) {
    checkList(value, schema, place);
  } else if (value.is_string()) {
    checkText(value, schema, place);
  } else if (value.is_number()) {
    checkNumber(value, schema, place);
  }
}

void Walk::checkObject(const Json& value, const Json& schema, const std::string& place) {
  const Json properties = schema.value("properties", Json::object());
  for (const Json& name : schema.value("required", Json::array())) {
    if (!value.contains(name.get<std::string>())) {
      find(place, {}, "\"" + name.get<std::string>() + "\" is missing");
    }
  }
  Json known = Json::array();
  for (const auto& [name, property] : properties.items()) {
    known.push_back(name);
  }
  for (const auto& [name, member] : value.items()) {
    const std::string at = place + "/" + escaped(name);
    if (properties.contains(name)) {
      check(member, properties[name], at);
    } else if (!schema.value("additionalProperties", true)) {
      find(at, {}, "is not known here; known are " + joined(known));
    }
  }
}

void Walk::checkList(const Json& value, const Json& schema, const std::string& place) {
  if (value.size() < schema.value("minItems", std::size_t{0})) {
    find(place, schema, "must have at least " + schema["minItems"].dump() + " elements");
  }
  if (schema.contains("maxItems") && value.size() > schema["maxItems"].get<std::size_t>()) {
    find(place, schema, "must have at most " + schema["maxItems"].dump() + " elements");
  }
  if (schema.value("uniqueItems", false)) {
    std::set<Json> seen;
    for (const Json& element : value) {
      if (!seen.insert(element).second) {
        find(place, {}, "has " + shown(element) + " twice");
      }
    }
  }
  if (schema.contains("items")) {
    for (std::size_t i = 0; i < value.size(); ++i) {
      check(value[i], schema["items"], place + "/" + std::to_string(i));
    }
  }
}

/// A schema's $ is the text's end alone; here it would also take a line feed behind it.
QRegularExpression expressionOf(const std::string& pattern) {
  QString text = QString::fromStdString(pattern);
  if (text.endsWith(QLatin1Char('$'))) {
    text.replace(text.size() - 1, 1, QStringLiteral("\\z"));
  }
  return QRegularExpression(text);
}

void Walk::checkText(const Json& value, const Json& schema, const std::string& place) {
  const QString text = QString::fromStdString(value.get<std::string>());
  const auto length = static_cast<std::size_t>(text.toUcs4().size());
  if (length < schema.value("minLength", std::size_t{0})) {
    find(place, schema, "must not be empty");
  }
  if (schema.contains("maxLength") && length > schema["maxLength"].get<std::size_t>()) {
    find(place, schema, "must have at most " + schema["maxLength"].dump() + " characters");
  }
  if (schema.contains("pattern")) {
    const auto pattern = schema["pattern"].get<std::string>();
    if (!expressionOf(pattern).match(text).hasMatch()) {
      find(place, schema, "must look like " + pattern);
    }
  }
}

void Walk::checkNumber(const Json& value, const Json& schema, const std::string& place) {
  const bool isBelow = schema.contains("minimum") && value < schema["minimum"];
  const bool isAbove = schema.contains("maximum") && value > schema["maximum"];
  if (isBelow || isAbove) {
    find(place, schema, "must be from " + schema["minimum"].dump() + " to " + schema["maximum"].dump());
  }
}

bool isOneOf(std::span<const std::string_view> names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<SchemaFinding> checkAgainstSchema(const Json& value, const Json& schema) {
  Walk walk;
  walk.check(value, schema, "");
  return walk.take();
}

std::vector<std::string> unknownKeywords(const Json& schema) {
  std::vector<std::string> unknown;
  const auto add = [&unknown](const Json& part) {
    const std::vector<std::string> more = unknownKeywords(part);
    unknown.insert(unknown.end(), more.begin(), more.end());
  };
  for (const auto& [keyword, part] : schema.items()) {
    if (!isOneOf(kKnownKeywords, keyword) && !isOneOf(kCommentKeywords, keyword)) {
      unknown.push_back(keyword);
    }
    if (keyword == "properties") {
      for (const auto& [name, property] : part.items()) {
        add(property);
      }
    } else if (keyword == "items") {
      add(part);
    }
  }
  return unknown;
}

}  // namespace station
