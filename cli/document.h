#pragma once

#include "cli/value.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace cli {

/// Lines for `Document::addText`; a line feed within one of them, from a device or a
/// file, makes no line of its own.
QString joinedLines(const QStringList& lines);

/// The result of a command: named values in order, for people as lines
/// "Label: text" and for programs as one JSON object. A value that could not be
/// read is null with a reason and does not hide the others.
class Document {
 public:
  /// @param name of the JSON schema, for example "serial": cli/schemas/NAME.json
  explicit Document(QString name) : name_(std::move(name)) {}

  /// Adds a value.
  /// @param text what people see; empty = the value itself
  void add(const QString& key, const QString& label, Value value, const QString& text = {});
  /// Adds a value for programs only.
  void addQuietly(const QString& key, Value value);
  /// Adds lines for people only, without a label.
  void addText(const QString& lines);
  /// Adds a value that could not be read.
  void addUnread(const QString& key, const QString& label, const QString& reason);
  /// Adds another document as a member; people see it below a heading.
  void include(const QString& key, const QString& heading, const Document& part);

  /// Whether all values have been read.
  bool isComplete() const;

  /// With "schema" and "version" first.
  Value value() const;
  /// For a terminal: each line ends with a line feed; nothing in it can command
  /// the terminal.
  QString text() const;

 private:
  struct Row {
    QString key;
    QString label;
    Value value;
    QString text;
    QString reason;
    std::vector<Document> part;  // none or one
  };
  Value body() const;

  QString name_;
  std::vector<Row> rows_;
};

}  // namespace cli
