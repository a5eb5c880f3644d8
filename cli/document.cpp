#include "cli/document.h"

#include "device/printable.h"

#include <QStringList>

#include <algorithm>

namespace cli {
namespace {

constexpr int kSchemaVersion = 1;

}  // namespace

void Document::add(const QString& key, const QString& label, Value value, const QString& text) {
  QString shown = text.isEmpty() ? value.shown() : text;
  rows_.push_back({key, label, std::move(value), std::move(shown), {}, {}});
}

void Document::addQuietly(const QString& key, Value value) { rows_.push_back({key, {}, std::move(value), {}, {}, {}}); }

QString joinedLines(const QStringList& lines) {
  QStringList safe;
  for (const QString& line : lines) {
    safe << device::printable(line);
  }
  return safe.join(QLatin1Char('\n'));
}

void Document::addText(const QString& lines) { rows_.push_back({{}, {}, {}, lines, {}, {}}); }

void Document::addUnread(const QString& key, const QString& label, const QString& reason) {
  rows_.push_back({key, label, {}, QStringLiteral("not read (%1)").arg(reason), reason, {}});
}

void Document::include(const QString& key, const QString& heading, const Document& part) {
  rows_.push_back({key, heading, {}, {}, {}, {part}});
}

bool Document::isComplete() const {
  return std::all_of(rows_.begin(), rows_.end(), [](const Row& row) {
    return row.reason.isEmpty() && (row.part.empty() || row.part.front().isComplete());
  });
}

Value Document::body() const {
  Value object{Value::Members()};
  Value reasons;
  for (const Row& row : rows_) {
    if (!row.key.isEmpty()) {
      object.set(row.key, row.part.empty() ? row.value : row.part.front().body());
    }
    if (!row.reason.isEmpty()) {
      reasons.set(row.key, row.reason);
    }
  }
  if (!reasons.isNull()) {
    object.set(QStringLiteral("unread"), reasons);
  }
  return object;
}

Value Document::value() const {
  Value whole;
  whole.set(QStringLiteral("schema"), QStringLiteral("pellavox-cli/%1").arg(name_));
  whole.set(QStringLiteral("version"), kSchemaVersion);
  const Value content = body();
  for (const auto& [key, value] : content.members()) {
    whole.set(key, value);
  }
  return whole;
}

QString Document::text() const {
  int widest = 0;
  for (const Row& row : rows_) {
    if (row.part.empty()) {
      widest = std::max(widest, static_cast<int>(row.label.size()));
    }
  }
  QString lines;
  for (const Row& row : rows_) {
    if (!row.part.empty()) {
      lines += QStringLiteral("\n%1\n").arg(device::printable(row.label)) + row.part.front().text();
    } else if (!row.label.isEmpty()) {
      const QString label = QStringLiteral("%1:").arg(row.label).leftJustified(widest + 3);
      lines += QStringLiteral("%1%2\n").arg(label, device::printable(row.text));
    } else if (!row.text.isEmpty()) {
      for (const QString& line : row.text.split(QLatin1Char('\n'))) {
        lines += device::printable(line) + QLatin1Char('\n');
      }
    }
  }
  return lines;
}

}  // namespace cli
