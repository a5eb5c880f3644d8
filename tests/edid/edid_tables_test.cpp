#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/window_fixture.h"

#include <QFile>
#include <QProcess>
#include <QRadioButton>
#include <QSet>
#include <QTest>

/// Saves the simulated device's tables through the window and checks each with
/// edid-decode.
class EdidTablesTest : public WindowTest {
  Q_OBJECT

  static constexpr int kSizes[] = {256, 384, 512};

  /// Saves with a Read button.
  /// @return the file's path
  QString save(const QString& button, int size) const {
    user.widget<QRadioButton>(QStringLiteral("RB_TX_EDID_%1").arg(size)).setChecked(true);
    QString path = files().path("table.bin");
    QFile::remove(path);
    chooseFile(button, path);
    return path;
  }

  /// edid-decode's output for a table; sets `accepted` if the table passed.
  static QString judgement(const QString& path, bool& accepted) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("edid-decode", {"--check", "--skip-hex-dump", path});
    accepted = process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    const QString said = QString::fromUtf8(process.readAll());
    accepted = accepted && said.contains("EDID conformity: PASS") && !said.contains("Failures:");
    return process.error() == QProcess::FailedToStart ? "edid-decode cannot be started (Debian package edid-decode)"
                                                      : said;
  }

#define ACCEPTED(path, size)                        \
  do {                                              \
    QCOMPARE(contentOf(path).size(), size);         \
    bool accepted = false;                          \
    const QString said = judgement(path, accepted); \
    QVERIFY2(accepted, qPrintable(said));           \
  } while (false)

 private slots:
  void init() {
    start();
    connectDevice();
  }

  // A checker that accepts everything would prove nothing.
  void theCheckerRefusesADamagedTable() {
    const QString path = save("BN_Apply_ReadTxEDID", 512);
    QByteArray table = contentOf(path);
    for (const int damaged : {20, 127, 130, 511}) {
      QByteArray copy = table;
      copy[damaged] = static_cast<char>(copy[damaged] ^ 0x10);
      writeFile(path, copy);
      bool accepted = true;
      judgement(path, accepted);
      QVERIFY2(!accepted, qPrintable(QString::number(damaged)));
    }
    writeFile(path, table.left(256));
    bool accepted = true;
    judgement(path, accepted);
    QVERIFY(!accepted);
  }

  void theSinkTableIsAccepted() {
    for (const int size : kSizes) {
      ACCEPTED(save("BN_Apply_ReadTxEDID", size), size);
    }
  }

  void theTablesOfAllSlotsAreAcceptedAndDiffer() {
    QSet<QByteArray> tables;
    for (int slot = 0; slot < 7; ++slot) {
      user.choose("CB_FlashEDID_List", QString::number(slot));
      for (const int size : kSizes) {
        const QString path = save("BN_Apply_ReadFlashEDID", size);
        ACCEPTED(path, size);
        tables << contentOf(path);
      }
    }
    QCOMPARE(tables.size(), 21);
  }

  void theDdcTableFollowsTheModeAndIsAccepted_data() {
    QTest::addColumn<bool>("sinkPresent");
    QTest::addColumn<QString>("mode");
    for (const char* mode : {"From Flash", "Follow TX", "Follow USB", "Mixed default and TX"}) {
      QTest::newRow(mode) << true << mode;
      QTest::newRow(qPrintable(QStringLiteral("%1, no sink").arg(mode))) << false << mode;
    }
  }

  void theDdcTableFollowsTheModeAndIsAccepted() {
    QFETCH(bool, sinkPresent);
    QFETCH(QString, mode);
    if (!sinkPresent) {
      start(R"({"sink": {"present": false}})");
      connectDevice();
    }
    user.choose("CB_EDID_Mode", mode);
    // Without a sink the tables are those of the other rows, so one slot is enough.
    for (const int slot : sinkPresent ? QVector<int>{0, 1, 2, 3, 4, 5, 6} : QVector<int>{2}) {
      user.choose("CB_Current_FlashEDID_List", QString::number(slot));
      for (const int size : kSizes) {
        const QString path = save("BN_Apply_Read_DDC_EDID", size);
        ACCEPTED(path, size);
        const QByteArray table = contentOf(path);
        QByteArray other(size, '\0');
        auto* const buffer = reinterpret_cast<std::uint8_t*>(other.data());
        QCOMPARE(AT_EDID_Flash_Get_table(static_cast<std::uint8_t>(slot), buffer, static_cast<std::uint32_t>(size)), 0);
        QCOMPARE(table == other, mode == "From Flash" || (!sinkPresent && mode != "Follow USB"));
        if (sinkPresent) {
          QCOMPARE(AT_EDID_Get_TX_table(static_cast<std::uint32_t>(size), buffer), 0);
          QCOMPARE(table == other, mode == "Follow TX");
        }
      }
    }
  }

  void aWrittenSlotIsOfferedAsItIs() {
    chooseFile("BN_Apply_WriteFlashEDID", files().write("odd.bin", QByteArray(100, 'o')));
    for (const char* mode : {"Mixed default and TX", "From Flash"}) {
      user.choose("CB_EDID_Mode", mode);
      QCOMPARE(contentOf(save("BN_Apply_Read_DDC_EDID", 256)), QByteArray(100, 'o') + QByteArray(156, '\xFF'));
    }
  }
};

QTEST_MAIN(EdidTablesTest)
#include "edid_tables_test.moc"
