#include "cli/command.h"

#include "cli/failure.h"

namespace cli {

std::string Option::key() const {
  const std::size_t dashes = names.rfind("--");
  if (dashes != std::string::npos) {
    return names.substr(dashes + 2);
  }
  return isPositional() ? names : names.substr(1);
}

QString Arguments::text(const std::string& key) const { return list(key).value(0); }

QStringList Arguments::list(const std::string& key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? QStringList() : found->second;
}

std::int64_t Arguments::number(const std::string& key, std::int64_t least, std::int64_t most) const {
  return wholeNumber(text(key), QString::fromStdString(key), least, most);
}

std::int64_t wholeNumber(const QString& text, const QString& what, std::int64_t least, std::int64_t most) {
  const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
  bool isNumber = false;
  const qint64 number = isHex ? text.mid(2).toLongLong(&isNumber, 16) : text.toLongLong(&isNumber, 10);
  if (!isNumber || number < least || number > most) {
    throw Failure(ExitCode::kUsage, QStringLiteral("%1 must be a whole number from %2 to %3, not \"%4\"")
                                        .arg(what)
                                        .arg(static_cast<qint64>(least))
                                        .arg(static_cast<qint64>(most))
                                        .arg(text));
  }
  return number;
}

}  // namespace cli
