#include "station/unit_compare.h"

#include <QCryptographicHash>

#include <functional>

namespace station {
namespace {

/// One value read again.
void compareText(const char* name, const Agreed<QString>& read, const QString& wanted, Facts* found,
                 QStringList* problems) {
  const QString label = QLatin1String(name);
  if (!read) {
    *problems << QStringLiteral("%1 cannot be read (%2)").arg(label, read.error());
    return;
  }
  (*found)[label] = *read;
  if (*read != wanted) {
    *problems << QStringLiteral("%1 is \"%2\" instead of \"%3\"").arg(label, *read, wanted);
  }
}

Agreed<QString> numberText(const Agreed<int>& read) {
  return read.map([](int number) { return QString::number(number); });
}

/// Short texts of tables are for people: what is compared is all of it.
QString hashText(const QByteArray& table) {
  return QString::fromLatin1(QCryptographicHash::hash(table, QCryptographicHash::Sha256).toHex());
}

Agreed<QString> nonEmpty(const QString& text) {
  return text.isEmpty() ? Agreed<QString>(tl::make_unexpected(QStringLiteral("no answer"))) : Agreed<QString>(text);
}

tl::unexpected<NotAdmitted> refused(const QString& reason) { return tl::make_unexpected(NotAdmitted{reason, {}}); }

tl::unexpected<NotAdmitted> refused(const LedgerError& error) {
  return tl::make_unexpected(NotAdmitted{error.message, error});
}

}  // namespace

QStringList compareUnit(const Job& job, const UnitFiles& files, const QString& serial, Facts* found) {
  QStringList problems;
  const auto identity = readIdentity();
  if (!identity) {
    return {identity.error()};
  }
  const auto compare = [&](const char* name, const Agreed<QString>& read, const QString& wanted) {
    compareText(name, read, wanted, found, &problems);
  };
  for (const Compared compared : job.compared) {
    switch (compared) {
      case Compared::kMcuVersion:
        compare("mcuVersion", nonEmpty(identity->mcuVersion), job.mcu ? job.mcu->version : QString());
        break;
      case Compared::kCaptureVersion:
        compare("captureVersion", nonEmpty(identity->captureVersion), job.capture ? job.capture->version : QString());
        break;
      case Compared::kSerialNumber:
        compare("serialNumber", identity->serialNumber, serial);
        break;
      case Compared::kEdidTables:
        for (const auto& [slot, table] : files.edid) {
          compare(qPrintable(QStringLiteral("edidSlot%1").arg(slot)), readTable(slot, table.size()).map(hashText),
                  hashText(table));
        }
        break;
      case Compared::kEdidMode:
        compare("edidMode", numberText(readEdidMode()), QString::number(job.edid.mode.value_or(0)));
        break;
      case Compared::kEdidSlot:
        compare("edidSlot", numberText(readEdidSlot()), QString::number(job.edid.defaultSlot.value_or(0)));
        break;
    }
  }
  return problems;
}

tl::expected<AttemptStart, NotAdmitted> admit(const Job& job, const Ledger& ledger, const Identity& identity,
                                              AttemptStart start) {
  const QString& carried = identity.serialNumber;
  const auto own = ledger.unit(carried);
  if (!own) {
    return refused(own.error());
  }
  const QString wanted = start.serial.isEmpty() && own->isKnown ? carried : start.serial;
  if (wanted.isEmpty()) {
    return start;
  }
  const auto unit = ledger.unit(wanted);
  if (!unit) {
    return refused(unit.error());
  }
  const QString mistake = mistakeInNumber(carried, *own, wanted, *unit);
  if (own->isKnown && !mistake.isEmpty()) {
    return refused(mistake);  // tells more than what the other number has been through
  }
  if (unit->isScrapped) {
    return refused(QStringLiteral("%1 was scrapped").arg(wanted));
  }
  if (unit->hasPassed && (job.rework == Rework::kRefuse || wanted != carried)) {
    return refused(QStringLiteral("%1 has passed already").arg(wanted));
  }
  if (!mistake.isEmpty()) {
    return refused(mistake);
  }
  start.serial = wanted;
  if (unit->hasPassed) {
    start.rework = QStringLiteral("plugged in again");
  }
  return start;
}

}  // namespace station
