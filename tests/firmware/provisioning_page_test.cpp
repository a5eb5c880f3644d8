#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QDir>
#include <QTest>

#include <climits>

namespace {

QByteArray madeUpKey() {
  QByteArray key;
  for (int i = 0; i < 572; ++i) {
    key += static_cast<char>(i * 7);
  }
  return key;
}

}  // namespace

class ProvisioningPageTest : public WindowTest {
  Q_OBJECT

 public:
  // Makes file names UTF-8 wherever the test runs.
  static void initMain() { qputenv("LC_ALL", "C.UTF-8"); }

 private slots:
  void choosingAKeyFileBurnsIt() {
    connectDevice();
    const QString path = write("key.bin", madeUpKey());
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click("BN_Browse_Key");

    QCOMPARE(answers.fileDialogs().size(), 1);
    const auto& dialog = answers.fileDialogs().first();
    QCOMPARE(dialog.title, "Load HDCP Key File");
    QCOMPARE(dialog.filters, QStringList{"*.bin"});
    QCOMPARE(dialog.mode, QFileDialog::AcceptOpen);
    QVERIFY(dialog.isModal);
    QCOMPARE(dialog.parent, &window());
    QCOMPARE(journalCalls(), QStringList{"burnHDCP(\"" + path + "\")"});
    QCOMPARE(user.widget<QLineEdit>("lineEdit_KeyPath").text(), path);
    QCOMPARE(user.message(), "Burn HDCP...[OK]");
    const std::vector<std::uint8_t> key = simulator::hdcpKey();
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(key.data()), static_cast<int>(key.size())), madeUpKey());
  }

  void cancellingTheKeyDialogBurnsNothing() {
    connectDevice();
    user.widget<QLineEdit>("lineEdit_KeyPath").setText("before");
    QTest::ignoreMessage(QtDebugMsg, "empty");
    const DialogAnswers answers;
    user.click("BN_Browse_Key");
    QCOMPARE(answers.fileDialogs().size(), 1);
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.widget<QLineEdit>("lineEdit_KeyPath").text(), "before");
    QCOMPARE(user.message(), "Device Connected");
    QVERIFY(simulator::hdcpKey().empty());
  }

  void theKeyPathReachesTheLibraryWhole() {
    user.click("BN_Connect");
    QString name = QString::fromUtf8("clé schlüssel 鍵 ");
    name += QString(60, 'k');
    QVERIFY(QDir(files().folder()).mkpath(name + "/" + name + "/" + name));
    const QString path = write(name + "/" + name + "/" + name + "/a key.bin", madeUpKey());
    QVERIFY(path.size() > 200);
    simulator::clearJournal();
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click("BN_Browse_Key");
    QCOMPARE(journalCalls(), QStringList{"burnHDCP(\"" + path + "\")"});
    QCOMPARE(user.message(), "Burn HDCP...[OK]");
    // The field holds at most 200 characters.
    QCOMPARE(user.widget<QLineEdit>("lineEdit_KeyPath").text(), path.left(200));
  }

  void aFailedKeyBurnIsReported_data() {
    QTest::addColumn<int>("status");
    for (const int status : {-1, 1, INT_MIN, INT_MAX}) {
      QTest::addRow("%d", status) << status;
    }
  }

  void aFailedKeyBurnIsReported() {
    QFETCH(int, status);
    user.click("BN_Connect");
    simulator::failCall("burnHDCP", 1, status);
    DialogAnswers answers;
    answers.chooseFile(write("key.bin", madeUpKey()));
    user.click("BN_Browse_Key");
    QCOMPARE(user.message(), "Burn HDCP...[Fail]");
    QVERIFY(answers.messages().isEmpty());
    QVERIFY(simulator::hdcpKey().empty());
  }

  void aKeyFileIsLeftToTheLibraryToJudge_data() {
    QTest::addColumn<int>("size");
    QTest::newRow("empty") << 0;
    QTest::newRow("too large") << 65537;
  }

  void aKeyFileIsLeftToTheLibraryToJudge() {
    QFETCH(int, size);
    connectDevice();
    DialogAnswers answers;
    answers.chooseFile(write("key.bin", QByteArray(size, 'k')));
    user.click("BN_Browse_Key");
    QCOMPARE(journalOperations(), QStringList{"burnHDCP"});
    QCOMPARE(user.message(), "Burn HDCP...[Fail]");
  }

  void aKeyIsSentWithoutAConnectionToo() {
    DialogAnswers answers;
    answers.chooseFile(write("key.bin", madeUpKey()));
    user.click("BN_Browse_Key");
    QCOMPARE(journalOperations(), QStringList{"burnHDCP"});
    QCOMPARE(user.message(), "Burn HDCP...[Fail]");
  }

  void theSerialNumberIsShown() {
    connectDevice();
    user.click("BN_SN_Read");
    QCOMPARE(journalCalls(), QStringList{"AT_USB_Get_SerialNum(100)"});
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "OV7A00001234");
    // A successful read shows no message.
    QCOMPARE(user.message(), "Device Connected");
  }

  void withoutAConnectionNoSerialNumberIsRead() {
    user.widget<QLineEdit>("lineEdit_SN").setText("before");
    user.click("BN_SN_Read");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "before");
    QCOMPARE(user.message(), "");
  }

  void aFailedReadLeavesTheField_data() { aFailedKeyBurnIsReported_data(); }

  void aFailedReadLeavesTheField() {
    QFETCH(int, status);
    user.click("BN_Connect");
    user.widget<QLineEdit>("lineEdit_SN").setText("before");
    simulator::answerCall("AT_USB_Get_SerialNum", 1, status, std::vector<std::uint8_t>(100, 'x'));
    user.click("BN_SN_Read");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "before");
    QCOMPARE(user.message(), "Read Serial Number...[fail]");
  }

  void theSerialNumberEndsAtItsNulOrAtTheBuffer_data() {
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<QString>("shown");
    QTest::newRow("all 100 bytes") << QByteArray(100, 's') << QString(100, 's');
    QTest::newRow("more than 100 bytes") << QByteArray(300, 's') << QString(100, 's');
    QTest::newRow("99 bytes") << QByteArray(99, 's') + QByteArray(1, '\0') << QString(99, 's');
    QTest::newRow("text after the end") << QByteArray("123\0garbage", 11) << "123";
    QTest::newRow("empty") << QByteArray(100, '\0') << "";
    QTest::newRow("Latin-1") << QByteArray("S\xE9\xFF", 3) << QString::fromLatin1("S\xE9\xFF");
    QTest::newRow("UTF-8 read as Latin-1") << QByteArray("\xC3\xA9") << QString::fromLatin1("\xC3\xA9");
  }

  void theSerialNumberEndsAtItsNulOrAtTheBuffer() {
    QFETCH(QByteArray, buffer);
    QFETCH(QString, shown);
    user.click("BN_Connect");
    auto& field = user.widget<QLineEdit>("lineEdit_SN");
    simulator::answerCall("AT_USB_Get_SerialNum", 1, 0, {buffer.begin(), buffer.end()});
    simulator::answerCall("AT_USB_Get_SerialNum", 2, 0, {buffer.begin(), buffer.end()});
    user.click("BN_SN_Read");
    // The field holds at most 16 characters; without that limit it shows all of them.
    QCOMPARE(field.text(), shown.left(16));
    field.setMaxLength(32767);
    user.click("BN_SN_Read");
    QCOMPARE(field.text(), shown);
  }

  void theSerialNumberIsSentAsTyped_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("call");
    QTest::newRow("plain") << "123"
                           << "AT_USB_Set_SerialNum([31 32 33], 3)";
    QTest::newRow("blanks around") << " 123 "
                                   << "AT_USB_Set_SerialNum([20 31 32 33 20], 5)";
    QTest::newRow("tab behind") << "1\t"
                                << "AT_USB_Set_SerialNum([31 09], 2)";
    QTest::newRow("UTF-8") << QString::fromUtf8("é€") << "AT_USB_Set_SerialNum([C3 A9 E2 82 AC], 5)";
  }

  void theSerialNumberIsSentAsTyped() {
    QFETCH(QString, typed);
    QFETCH(QString, call);
    connectDevice();
    user.widget<QLineEdit>("lineEdit_SN").setText(typed);
    user.click("BN_SN_Set");
    QCOMPARE(journalCalls(), QStringList{call});
    QCOMPARE(user.message(), "Set Serial Number...[OK]");
    user.widget<QLineEdit>("lineEdit_SN").clear();
    user.click("BN_SN_Read");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), QString::fromLatin1(typed.toUtf8()));
  }

  void aBlankSerialNumberIsNotSent_data() {
    QTest::addColumn<QString>("typed");
    QTest::newRow("nothing") << "";
    QTest::newRow("blanks") << "   ";
    QTest::newRow("white space") << QString::fromUtf8(" \t\u00A0");
  }

  void aBlankSerialNumberIsNotSent() {
    QFETCH(QString, typed);
    connectDevice();
    user.widget<QLineEdit>("lineEdit_SN").setText(typed);
    user.click("BN_SN_Set");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "Device Connected");
  }

  void aFailedSetIsReported_data() { aFailedKeyBurnIsReported_data(); }

  void aFailedSetIsReported() {
    QFETCH(int, status);
    user.click("BN_Connect");
    user.widget<QLineEdit>("lineEdit_SN").setText("123");
    simulator::failCall("AT_USB_Set_SerialNum", 1, status);
    user.click("BN_SN_Set");
    QCOMPARE(user.message(), "Set Serial Number...[fail]");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "123");
  }

  void aSerialNumberIsSentWithoutAConnectionToo() {
    user.widget<QLineEdit>("lineEdit_SN").setText("123");
    user.click("BN_SN_Set");
    QCOMPARE(journalOperations(), QStringList{"AT_USB_Set_SerialNum"});
    QCOMPARE(user.message(), "Set Serial Number...[fail]");
  }

  void restoringBringsTheDefaultsBackAndKeepsWhatProductionWrote() {
    user.click("BN_Connect");
    user.widget<QLineEdit>("lineEdit_SN").setText("123");
    user.click("BN_SN_Set");
    DialogAnswers answers;
    answers.chooseFile(write("key.bin", madeUpKey()));
    user.click("BN_Browse_Key");
    QCOMPARE(AT_EDID_Set_EDID_mode(2), 0);
    QCOMPARE(AT_EDID_Flash_Set_Default_table(3), 0);
    QCOMPARE(AT_Audio_Set_DACHP_Mute(1), 0);
    QCOMPARE(AT_GPIO_Set_Param(1, 4, 0x5A), 0);
    simulator::clearJournal();

    user.click("BN_Apply_Reset");
    QCOMPARE(journalCalls(), QStringList{"AT_RestoreToDefault()"});
    QCOMPARE(user.message(), "Restore to default");
    QVERIFY(answers.messages().isEmpty());
    for (const auto& read : {+[](std::uint8_t* value) { return AT_EDID_Get_EDID_mode(value); },
                             +[](std::uint8_t* value) { return AT_EDID_Flash_Get_Default_table(value); },
                             +[](std::uint8_t* value) { return AT_Audio_Get_DACHP_Mute(value); },
                             +[](std::uint8_t* value) { return AT_GPIO_Get_Param(1, 4, value); }}) {
      std::uint8_t value = 0xEE;
      QCOMPARE(read(&value), 0);
      QCOMPARE(value, std::uint8_t{0});
    }
    user.click("BN_SN_Read");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "123");
    QVERIFY(!simulator::hdcpKey().empty());
  }

  void restoreAndRebootReportNoFailure_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("message");
    QTest::newRow("restore") << "BN_Apply_Reset"
                             << "AT_RestoreToDefault"
                             << "Restore to default";
    QTest::newRow("reboot") << "BN_Apply_Reboot"
                            << "AT_Set_System_Reboot"
                            << "before";
  }

  void restoreAndRebootReportNoFailure() {
    QFETCH(QString, button);
    QFETCH(QString, operation);
    QFETCH(QString, message);
    const DialogAnswers answers;
    // Without a connection the call is made all the same, and fails.
    user.widget<QLabel>("LB_Message").setText("before");
    user.click(button);
    QCOMPARE(user.message(), message);
    QCOMPARE(journalOperations(), QStringList{operation});
    QVERIFY(simulator::journal().front().result != 0);
    QVERIFY(answers.messages().isEmpty());
  }

  void theirStatusIsReturnedToTheSlotsCaller_data() {
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("operation");
    QTest::newRow("restore") << "slotRestore"
                             << "AT_RestoreToDefault";
    QTest::newRow("reboot") << "slotReboot"
                            << "AT_Set_System_Reboot";
  }

  void theirStatusIsReturnedToTheSlotsCaller() {
    QFETCH(QString, slot);
    QFETCH(QString, operation);
    simulator::failCall(operation.toStdString(), 1, -42);
    int status = 0;
    QVERIFY(QMetaObject::invokeMethod(&window(), qPrintable(slot), Q_RETURN_ARG(int, status)));
    QCOMPARE(status, -42);
  }

  void aRebootTakesTheDeviceOffTheBusForAMoment() {
    user.click("BN_Connect");
    user.click("BN_Apply_Reboot");
    QCOMPARE(user.message(), "Device Connected");
    user.click("BN_SN_Read");
    QCOMPARE(user.message(), "Read Serial Number...[fail]");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "");
    simulator::advanceTime(std::chrono::seconds(2));
    user.click("BN_SN_Read");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "OV7A00001234");
  }

 private:
  QString write(const QString& name, const QByteArray& content) const { return files().write(name, content); }
};

QTEST_MAIN(ProvisioningPageTest)
#include "provisioning_page_test.moc"
