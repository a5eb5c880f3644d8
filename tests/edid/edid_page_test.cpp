#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QFile>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#if defined(Q_OS_UNIX)
#include <dlfcn.h>
#include <sys/resource.h>
#endif

namespace {

struct Read {
  const char* button;
  const char* operation;
  const char* arguments;  ///< with the size as %1
  const char* failure;
};

constexpr Read kReads[] = {
    {"BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table", "%1", "Read Tx EDID...[fail]"},
    {"BN_Apply_ReadFlashEDID", "AT_EDID_Flash_Get_table", "4, %1", "Read Flash EDID...[fail]"},
    {"BN_Apply_Read_DDC_EDID", "AT_EDID_DDC_Get_RX_table", "%1", "Read DDC EDID...[fail]"},
};

// All byte values, plus those that text mode would change, alone and in pairs.
QByteArray awkwardTable() {
  QByteArray table;
  for (int i = 0; i < 240; ++i) {
    table.append(static_cast<char>(i));
  }
  table.append(QByteArray::fromHex("0a0d1a000d0a0a1a1a0d0d00000a0a0a"));
  table += table;
  return table;
}

std::vector<std::uint8_t> bytes(const QByteArray& content) { return {content.begin(), content.end()}; }

#if defined(Q_OS_UNIX)
// The override cursor's shape while the library writes a slot; -1 for none.
int cursorDuringWrite = -1;
#endif

}  // namespace

#if defined(Q_OS_UNIX)
// Replaces the library's function to look at the cursor, then calls it.
int32_t AT_EDID_Flash_Set_table(uint8_t slot, const uint8_t* bytes, uint32_t size) {
  const QCursor* const cursor = QGuiApplication::overrideCursor();
  cursorDuringWrite = cursor == nullptr ? -1 : cursor->shape();
  void* const next = dlsym(RTLD_NEXT, "AT_EDID_Flash_Set_table");
  return reinterpret_cast<decltype(&AT_EDID_Flash_Set_table)>(next)(slot, bytes, size);
}
#endif

/// Transfer of EDID tables between files and the device.
class EdidPageTest : public WindowTest {
  Q_OBJECT

  /// Starts again with an open session and a message that must not change.
  void startConnected(const QByteArray& scenario = "{}") {
    start(scenario);
    connectDevice();
    user.widget<QLabel>("LB_Message").setText("untouched");
  }

  QString path(const char* name = "table.bin") const { return files().path(QLatin1String(name)); }

  void chooseSize(int size) const {
    user.widget<QRadioButton>(QStringLiteral("RB_TX_EDID_%1").arg(size)).setChecked(true);
  }

  /// Presses a Read button and saves the table to the given file.
  void save(const QString& button, const QString& path) const {
    QFile::remove(path);
    chooseFile(button, path);
  }

  /// Writes a file with that content to a slot.
  /// @return the message shown
  QString write(int slot, const QByteArray& content) const {
    user.choose("CB_FlashEDID_List_2", QString::number(slot));
    chooseFile("BN_Apply_WriteFlashEDID", files().write("table.bin", content));
    return user.message();
  }

 private slots:
  void init() { startConnected(); }

  // ---- Tables to files ------------------------------------------------

  void aTableIsSavedByteForByte_data() {
    QTest::addColumn<int>("read");
    QTest::addColumn<int>("size");
    for (int read = 0; read < 3; ++read) {
      for (const int size : {256, 384, 512}) {
        QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(kReads[read].button).arg(size))) << read << size;
      }
    }
  }

  void aTableIsSavedByteForByte() {
    QFETCH(int, read);
    QFETCH(int, size);
    chooseSize(size);
    user.choose("CB_FlashEDID_List", "4");
    simulator::answerCall(kReads[read].operation, 1, 0, bytes(awkwardTable()));

    DialogAnswers answers;
    answers.chooseFile(path());
    user.click(kReads[read].button);
    QCOMPARE(answers.fileDialogs().size(), 1);
    QCOMPARE(answers.fileDialogs().at(0).title, "Down Tx EDID File");
    QCOMPARE(answers.fileDialogs().at(0).filters, QStringList{"*.bin"});
    QCOMPARE(answers.fileDialogs().at(0).mode, QFileDialog::AcceptSave);
    QVERIFY(answers.fileDialogs().at(0).isModal);
    QCOMPARE(answers.messages().size(), 0);
    QCOMPARE(contentOf(path()), awkwardTable().left(size));
    QCOMPARE(journalCalls(), QStringList{QStringLiteral("%1(%2)").arg(kReads[read].operation,
                                                                      QString(kReads[read].arguments).arg(size))});
    QCOMPARE(user.message(), "untouched");
  }

  void theSizeIs512WithoutAChoice() {
    auto& button = user.widget<QRadioButton>("RB_TX_EDID_256");
    button.setAutoExclusive(false);
    button.setChecked(false);
    save("BN_Apply_ReadTxEDID", path());
    QCOMPARE(contentOf(path()).size(), 512);
  }

  void anOlderLongerFileIsReplaced() {
    files().write("table.bin", QByteArray(4000, 'x'));
    simulator::answerCall("AT_EDID_Get_TX_table", 1, 0, bytes(awkwardTable()));
    DialogAnswers answers;
    answers.chooseFile(path());
    user.click("BN_Apply_ReadTxEDID");
    // Qt's dialog asked whether to replace the file.
    QCOMPARE(answers.messages().size(), 1);
    QCOMPARE(contentOf(path()), awkwardTable().left(256));
  }

  void aFailedReadLeavesAnEmptyFile_data() {
    QTest::addColumn<int>("read");
    for (int read = 0; read < 3; ++read) {
      QTest::newRow(kReads[read].button) << read;
    }
  }

  void aFailedReadLeavesAnEmptyFile() {
    QFETCH(int, read);
    files().write("table.bin", QByteArray(4000, 'x'));
    simulator::answerCall(kReads[read].operation, 1, -1, bytes(awkwardTable()));
    DialogAnswers answers;
    answers.chooseFile(path());
    user.click(kReads[read].button);
    QCOMPARE(user.message(), kReads[read].failure);
    QVERIFY(QFile::exists(path()));
    QCOMPARE(contentOf(path()), QByteArray());
  }

  void aMissingSinkIsAFailedRead() {
    startConnected(R"({"sink": {"present": false}})");
    save("BN_Apply_ReadTxEDID", path());
    QCOMPARE(user.message(), "Read Tx EDID...[fail]");
    QCOMPARE(contentOf(path()), QByteArray());
  }

  void aTargetThatCannotBeCreatedGivesAWarning() {
    for (const Read& read : kReads) {
      DialogAnswers answers;
      answers.chooseFile(path("no such directory/table.bin"));
      user.click(read.button);
      QCOMPARE(answers.messages().size(), 1);
      const DialogAnswers::ShownMessage& warning = answers.messages().at(0);
      QCOMPARE(warning.icon, QMessageBox::Warning);
      QCOMPARE(warning.title, "error");
      QCOMPARE(warning.text, "Open file failed");
      QVERIFY(warning.isModal);
      QCOMPARE(warning.parent, &window());
    }
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "untouched");
  }

#if defined(Q_OS_LINUX)
  // A file size limit simulates the full disk.
  void aFullDiskFailsTheSave() {
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{100, before.rlim_max};
    QStringList messages;
    QList<QByteArray> saved;  // checked after lifting the limit, which applies to the test report, too
    for (const Read& read : kReads) {
      DialogAnswers answers;
      answers.chooseFile(path());
      QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
      user.click(read.button);
      QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
      messages << user.message();
      saved << contentOf(path());
    }
    std::signal(SIGXFSZ, ignored);
    for (std::size_t i = 0; i < std::size(kReads); ++i) {
      QCOMPARE(messages.at(static_cast<int>(i)), kReads[i].failure);
      QCOMPARE(saved.at(static_cast<int>(i)), QByteArray());
    }
  }
#endif

  void aDialogThatIsCancelledEndsIt() {
    DialogAnswers answers;
    for (const Read& read : kReads) {
      user.click(read.button);
    }
    user.click("BN_Apply_WriteFlashEDID");
    QCOMPARE(answers.fileDialogs().size(), 4);
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "untouched");
  }

  void anotherSenderSavesAnEmptyFile() {
    DialogAnswers answers;
    answers.chooseFile(path());
    QVERIFY(QMetaObject::invokeMethod(&window(), "slot_Get_EDID"));
    QVERIFY(QMetaObject::invokeMethod(&window(), "slotEDID_Set_ComboBox", Q_ARG(int, 2)));
    QVERIFY(QFile::exists(path()));
    QCOMPARE(contentOf(path()), QByteArray());
    QCOMPARE(journalCalls(), QStringList());
  }

  // ---- Tables from files ----------------------------------------------

  void aTableWrittenToEachSlotIsReadBack() {
    chooseSize(512);
    const auto tableOf = [](int slot) {
      QByteArray table = awkwardTable();
      std::rotate(table.begin(), table.begin() + qptrdiff{61} * slot, table.end());
      return table;
    };
    for (int slot = 0; slot < 7; ++slot) {
      QCOMPARE(write(slot, tableOf(slot)), "Write flash EDID table...[Done]");
    }
    for (int slot = 0; slot < 7; ++slot) {
      user.choose("CB_FlashEDID_List", QString::number(slot));
      save("BN_Apply_ReadFlashEDID", path());
      QCOMPARE(contentOf(path()), tableOf(slot));
    }
    for (const int size : {256, 384}) {
      chooseSize(size);
      save("BN_Apply_ReadFlashEDID", path());
      QCOMPARE(contentOf(path()), tableOf(6).left(size));
    }
  }

  void aSavedTableIsWrittenToAnotherSlot() {
    chooseSize(384);
    save("BN_Apply_ReadTxEDID", path());
    const QByteArray saved = contentOf(path());
    QCOMPARE(write(6, saved), "Write flash EDID table...[Done]");
    user.choose("CB_FlashEDID_List", "6");
    save("BN_Apply_ReadFlashEDID", path());
    QCOMPARE(contentOf(path()), saved);
  }

  void aFileIsSentUpTo512Bytes_data() {
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("sent");
    for (const int size : {1, 100, 256, 511, 512, 513, 600, 5000}) {
      QTest::newRow(qPrintable(QString::number(size))) << size << std::min(size, 512);
    }
  }

  void aFileIsSentUpTo512Bytes() {
    QFETCH(int, size);
    QFETCH(int, sent);
    QByteArray content;
    while (content.size() < size) {
      content += awkwardTable();
    }
    content.truncate(size);
    QCOMPARE(write(3, content), "Write flash EDID table...[Done]");
    QCOMPARE(journalCalls(), QStringList{QStringLiteral("AT_EDID_Flash_Set_table(3, [%1], %2)")
                                             .arg(QString(content.left(sent).toHex(' ').toUpper()))
                                             .arg(sent)});
    // The rest of the slot is erased flash memory.
    chooseSize(512);
    user.choose("CB_FlashEDID_List", "3");
    save("BN_Apply_ReadFlashEDID", path());
    QCOMPARE(contentOf(path()), content.left(sent) + QByteArray(512 - sent, '\xFF'));
  }

  void anEmptyFileIsSentAsNothing() {
    simulator::answerCall("AT_EDID_Flash_Set_table", 1, 0, {});
    QCOMPARE(write(0, QByteArray()), "Write flash EDID table...[Done]");
    // The simulated device itself refuses an empty table.
    QCOMPARE(write(0, QByteArray()), "Write flash EDID table...[fail]");
    QCOMPARE(journalCalls(), (QStringList{"AT_EDID_Flash_Set_table(0, [], 0)", "AT_EDID_Flash_Set_table(0, [], 0)"}));
  }

  void theOpenDialogAsksForATable() {
    DialogAnswers answers;
    user.click("BN_Apply_WriteFlashEDID");
    QCOMPARE(answers.fileDialogs().size(), 1);
    QCOMPARE(answers.fileDialogs().at(0).title, "Load EDID bin file");
    QCOMPARE(answers.fileDialogs().at(0).filters, QStringList{"*.bin"});
    QCOMPARE(answers.fileDialogs().at(0).mode, QFileDialog::AcceptOpen);
    QVERIFY(answers.fileDialogs().at(0).isModal);
  }

#if defined(Q_OS_LINUX)
  // The file can be opened, but not read.
  void anUnreadableFileEndsItSilently() {
    DialogAnswers answers;
    answers.chooseFile("/proc/self/mem");
    user.click("BN_Apply_WriteFlashEDID");
    QCOMPARE(answers.messages().size(), 0);
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "untouched");
  }
#endif

#if defined(Q_OS_UNIX)
  void theWaitCursorIsShownWhileTheDeviceWrites_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("written") << 0 << "Write flash EDID table...[Done]";
    QTest::newRow("failed") << -1 << "Write flash EDID table...[fail]";
    QTest::newRow("failed otherwise") << 1 << "Write flash EDID table...[fail]";
  }

  void theWaitCursorIsShownWhileTheDeviceWrites() {
    QFETCH(int, status);
    QFETCH(QString, message);
    simulator::answerCall("AT_EDID_Flash_Set_table", 1, status, {});
    cursorDuringWrite = -1;
    QCOMPARE(write(6, awkwardTable()), message);
    QCOMPARE(cursorDuringWrite, static_cast<int>(Qt::WaitCursor));
    QVERIFY(QGuiApplication::overrideCursor() == nullptr);
    QCOMPARE(journalOperations(), QStringList{"AT_EDID_Flash_Set_table"});
  }
#endif

  // ---- Without a session ----------------------------------------------

  void withoutASessionTheLibraryRefuses() {
    closePort();
    simulator::clearJournal();
    user.click("BN_EDID_Read");
    QCOMPARE(user.message(), "Read EDID Mode...[fail]");
    user.choose("CB_EDID_Mode", "Follow TX");
    QCOMPARE(user.message(), "Set EDID Mode...[fail]");
    user.choose("CB_Current_FlashEDID_List", "1");
    QCOMPARE(user.message(), "Set Flash EDID table...[fail]");
    for (const Read& read : kReads) {
      save(read.button, path());
      QCOMPARE(user.message(), read.failure);
      QCOMPARE(contentOf(path()), QByteArray());
    }
    QCOMPARE(write(0, awkwardTable()), "Write flash EDID table...[fail]");
    QCOMPARE(journalCalls().size(), 7);
  }
};

QTEST_MAIN(EdidPageTest)
#include "edid_page_test.moc"
