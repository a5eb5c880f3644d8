#include "station/reason_kind.h"

#include <QRegularExpression>

namespace station {
namespace {

/// What stays, in the only group, or what goes.
const QRegularExpression& valuesPattern() {
  static const QRegularExpression pattern(
      QStringLiteral(R"re(\b((?:status|slot) -?\d+|SHA-256)(?=$|[\s(),;:])|"[^"]*"|[^\s"(),;:]*\d[^\s"(),;:]*)re"));
  return pattern;
}

QString withoutSerial(QString reason, const QString& serial) {
  if (!serial.isEmpty()) {
    // As a word of its own only: a short one may be part of any other.
    const QString word = QStringLiteral(R"((?<![^\s"(),;:]))") + QRegularExpression::escape(serial) +
                         QStringLiteral(R"((?![^\s"(),;:]))");
    reason.replace(QRegularExpression(word), QStringLiteral("..."));
  }
  return reason;
}

}  // namespace

QString kindOfReason(const QString& reason, const QString& serial) {
  const QString text = withoutSerial(reason, serial);
  QString kind;
  int end = 0;
  auto found = valuesPattern().globalMatch(text);
  while (found.hasNext()) {
    const QRegularExpressionMatch match = found.next();
    kind += text.midRef(end, match.capturedStart() - end);
    kind += match.captured(1).isEmpty() ? QStringLiteral("...") : match.captured(1);
    end = match.capturedEnd();
  }
  return kind + text.midRef(end);
}

}  // namespace station
