#include "cli/value.h"

#include "device/printable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace cli {
namespace {

void writeText(QByteArray& json, const QString& text) {
  json += '"';
  for (const QChar letter : text) {
    if (letter == QLatin1Char('"') || letter == QLatin1Char('\\')) {
      json += '\\';
      json += letter.toLatin1();
    } else if (letter == QLatin1Char('\n')) {
      json += "\\n";
    } else if (device::isUnprintable(letter.unicode()) || letter.isSurrogate()) {
      json += "\\u" + QByteArray::number(letter.unicode(), 16).rightJustified(4, '0');
    } else {
      json += QString(letter).toUtf8();
    }
  }
  json += '"';
}

Value fromQt(const QJsonValue& value) {
  switch (value.type()) {
    case QJsonValue::Bool:
      return value.toBool();
    case QJsonValue::Double: {
      const double number = value.toDouble();
      constexpr double kExact = 9007199254740992.0;
      if (std::trunc(number) == number && std::abs(number) <= kExact) {
        return static_cast<std::int64_t>(number);
      }
      return number;
    }
    case QJsonValue::String:
      return value.toString();
    case QJsonValue::Array: {
      Value::List list;
      for (const auto element : value.toArray()) {
        list.push_back(fromQt(element));
      }
      return list;
    }
    case QJsonValue::Object: {
      Value::Members members;
      const QJsonObject object = value.toObject();
      for (auto member = object.begin(); member != object.end(); ++member) {
        members.emplace_back(member.key(), fromQt(member.value()));
      }
      return members;
    }
    default:
      return {};
  }
}

void startLine(QByteArray& json, int depth, bool inOneLine) {
  if (!inOneLine) {
    json += '\n' + QByteArray(depth * 2, ' ');
  }
}

}  // namespace

Value Value::fromJson(const QByteArray& json, QString* error) {
  QJsonParseError problem{};
  const QJsonDocument document = QJsonDocument::fromJson(json, &problem);
  if (problem.error != QJsonParseError::NoError) {
    *error = problem.errorString();
    return {};
  }
  return document.isArray() ? fromQt(QJsonValue(document.array())) : fromQt(QJsonValue(document.object()));
}

QString Value::text() const {
  const auto* text = std::get_if<QString>(&data_);
  return text == nullptr ? QString() : *text;
}

std::int64_t Value::number() const {
  const auto* number = std::get_if<std::int64_t>(&data_);
  return number == nullptr ? 0 : *number;
}

const Value::Members& Value::members() const {
  static const Members none;
  const auto* members = std::get_if<Members>(&data_);
  return members == nullptr ? none : *members;
}

const Value::List& Value::list() const {
  static const List none;
  const auto* list = std::get_if<List>(&data_);
  return list == nullptr ? none : *list;
}

const Value& Value::operator[](const QString& key) const {
  static const Value none;
  const Members& all = members();
  const auto found = std::find_if(all.begin(), all.end(), [&key](const auto& member) { return member.first == key; });
  return found == all.end() ? none : found->second;
}

void Value::set(const QString& key, Value value) {
  if (!std::holds_alternative<Members>(data_)) {
    data_ = Members();
  }
  auto& all = std::get<Members>(data_);
  const auto found = std::find_if(all.begin(), all.end(), [&key](const auto& member) { return member.first == key; });
  if (found == all.end()) {
    all.emplace_back(key, std::move(value));
  } else {
    found->second = std::move(value);
  }
}

void Value::append(Value value) {
  if (!std::holds_alternative<List>(data_)) {
    data_ = List();
  }
  std::get<List>(data_).push_back(std::move(value));
}

QString Value::shown() const {
  return std::holds_alternative<QString>(data_) ? std::get<QString>(data_) : QString::fromUtf8(json(true));
}

QByteArray Value::json(bool inOneLine) const {
  QByteArray text;
  write(text, 0, inOneLine);
  return text;
}

void Value::write(QByteArray& json, int depth, bool inOneLine) const {
  if (const auto* yes = std::get_if<bool>(&data_)) {
    json += *yes ? "true" : "false";
  } else if (const auto* whole = std::get_if<std::int64_t>(&data_)) {
    json += QByteArray::number(static_cast<qint64>(*whole));
  } else if (const auto* number = std::get_if<double>(&data_)) {
    json += std::isfinite(*number) ? QByteArray::number(*number, 'g', 15) : QByteArray("null");
  } else if (const auto* text = std::get_if<QString>(&data_)) {
    writeText(json, *text);
  } else if (const auto* list = std::get_if<List>(&data_)) {
    json += '[';
    // Lists of plain values stay in a line: they are bytes, mostly.
    const bool nested = std::any_of(list->begin(), list->end(),
                                    [](const Value& v) { return !v.members().empty() || !v.list().empty(); });
    for (std::size_t i = 0; i < list->size(); ++i) {
      json += i == 0 ? "" : (nested && !inOneLine ? "," : ", ");
      startLine(json, depth + 1, inOneLine || !nested);
      (*list)[i].write(json, depth + 1, inOneLine);
    }
    startLine(json, depth, inOneLine || !nested);
    json += ']';
  } else if (const auto* members = std::get_if<Members>(&data_)) {
    json += '{';
    for (std::size_t i = 0; i < members->size(); ++i) {
      json += i == 0 ? "" : (inOneLine ? ", " : ",");
      startLine(json, depth + 1, inOneLine);
      writeText(json, (*members)[i].first);
      json += ": ";
      (*members)[i].second.write(json, depth + 1, inOneLine);
    }
    if (!members->empty()) {
      startLine(json, depth, inOneLine);
    }
    json += '}';
  } else {
    json += "null";
  }
}

}  // namespace cli
