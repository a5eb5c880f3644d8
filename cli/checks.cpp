#include "cli/checks.h"

#include <QStringList>

namespace cli {

std::vector<Check> allChecks() {
  std::vector<Check> all{checks::kModel, checks::kFamily, checks::kSerial, checks::kRange};
  return all;
}

QString checkNames() {
  QStringList names;
  for (const Check& check : allChecks()) {
    names << QLatin1String(check.name);
  }
  return names.join(QLatin1String(", "));
}

}  // namespace cli
