#pragma once

#include <QByteArray>
#include <QString>

#include <concepts>
#include <cstdint>
#include <utility>
#include <variant>
#include <vector>

namespace cli {

/// A JSON value whose objects keep the order in which their members were set.
class Value {
 public:
  using List = std::vector<Value>;
  using Members = std::vector<std::pair<QString, Value>>;

  /// null: not known, or not there.
  Value() = default;
  Value(const QString& text) : data_(text) {}                  // NOLINT(google-explicit-constructor)
  Value(QLatin1String text) : data_(QString(text)) {}          // NOLINT(google-explicit-constructor)
  Value(const char* utf8) : data_(QString::fromUtf8(utf8)) {}  // NOLINT(google-explicit-constructor)
  Value(double number) : data_(number) {}                      // NOLINT(google-explicit-constructor)
  template <std::same_as<bool> Bool>
  Value(Bool yes) : data_(yes) {}  // NOLINT(google-explicit-constructor)
  template <std::integral Number>
  requires(!std::same_as<Number, bool>) Value(Number number)
      : data_(static_cast<std::int64_t>(number)) {}      // NOLINT(google-explicit-constructor)
  Value(List list) : data_(std::move(list)) {}           // NOLINT(google-explicit-constructor)
  Value(Members members) : data_(std::move(members)) {}  // NOLINT(google-explicit-constructor)

  /// Reads a JSON text; null for one that is none. Numbers above 2^53 lose digits.
  static Value fromJson(const QByteArray& json, QString* error);

  bool isNull() const { return std::holds_alternative<std::monostate>(data_); }
  /// The text, or empty when this is none.
  QString text() const;
  /// The whole number, or 0 when this is none.
  std::int64_t number() const;
  /// The members; none when this is no object.
  const Members& members() const;
  /// The elements; none when this is no list.
  const List& list() const;
  /// The member of that name, or null.
  const Value& operator[](const QString& key) const;

  /// Sets a member; turns anything but an object into one.
  void set(const QString& key, Value value);
  /// Adds an element; turns anything but a list into one.
  void append(Value value);

  /// As shown to people: a text as it is, everything else as JSON in one line.
  QString shown() const;

  /// As JSON. Characters that a terminal could take for commands are escaped.
  QByteArray json(bool inOneLine = false) const;

  bool operator==(const Value&) const = default;

 private:
  void write(QByteArray& json, int depth, bool inOneLine) const;

  std::variant<std::monostate, bool, std::int64_t, double, QString, List, Members> data_;
};

}  // namespace cli
