#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"

#include <QFile>
#include <QTest>

#include <vector>

/// The EDIDs of a new device, byte for byte: recordings and documents hold them, so
/// that a change has to be meant. `edid_reference.txt` has a title, then 16 bytes a line.
class EdidReferenceTest : public QObject {
  Q_OBJECT

  QStringList lines_;

  template <typename Read>
  void add(const QString& title, Read read) {
    for (const std::uint32_t size : {256U, 384U, 512U}) {
      std::vector<std::uint8_t> table(size);
      QCOMPARE(read(size, table.data()), 0);
      const QByteArray bytes(reinterpret_cast<const char*>(table.data()), static_cast<int>(size));
      lines_ << QStringLiteral("%1, %2 bytes").arg(title).arg(size);
      for (int at = 0; at < bytes.size(); at += 16) {
        lines_ << QString::fromLatin1(bytes.mid(at, 16).toHex(' '));
      }
    }
  }

 private slots:
  void everyTableOfANewDeviceIsTheOneOfTheReference() {
    QCOMPARE(simulator::loadScenario("{}"), std::string());
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
    for (std::uint8_t slot = 0; slot < 7; ++slot) {
      add(QStringLiteral("slot %1").arg(slot),
          [slot](std::uint32_t size, std::uint8_t* table) { return AT_EDID_Flash_Get_table(slot, table, size); });
    }
    add(QStringLiteral("sink"), AT_EDID_Get_TX_table);
    const char* const modes[] = {"from flash", "follow TX", "follow USB", "mixed"};
    for (int mode = 0; mode < 4; ++mode) {
      QCOMPARE(AT_EDID_Set_EDID_mode(mode), 0);
      add(QStringLiteral("DDC, %1").arg(QLatin1String(modes[mode])), AT_EDID_DDC_Get_RX_table);
    }

    QFile file(QStringLiteral(EDID_REFERENCE));
    QVERIFY2(file.open(QIODevice::ReadOnly), EDID_REFERENCE);
    const QStringList reference = QString::fromLatin1(file.readAll()).split('\n', Qt::SkipEmptyParts);
    for (int i = 0; i < std::min(lines_.size(), reference.size()); ++i) {
      QVERIFY2(lines_[i] == reference[i], qPrintable(QStringLiteral("line %1 is now: %2").arg(i + 1).arg(lines_[i])));
    }
    QCOMPARE(lines_.size(), reference.size());
  }
};

QTEST_GUILESS_MAIN(EdidReferenceTest)
#include "edid_reference_test.moc"
