#include "simulator/control/control.h"
#include "tests/support/chosen_file.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QTest>
#include <QTextCodec>

#include <algorithm>

#if defined(Q_OS_UNIX)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

constexpr char kUpgradeStart[] = "BN_Apply_ExtMCU_QX";

/// During its lifetime the locale's 8-bit encoding is Latin-1, as on many Windows and
/// older other systems.
class Latin1Locale {
 public:
  Latin1Locale() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1")); }
  Q_DISABLE_COPY_MOVE(Latin1Locale)
  ~Latin1Locale() { QTextCodec::setCodecForLocale(before_); }

 private:
  QTextCodec* before_ = QTextCodec::codecForLocale();
};

/// Writes a file under the name that the device library gets, which is UTF-8 in any
/// locale.
void writeForTheLibrary(const QString& path, const QByteArray& content) {
#if defined(Q_OS_UNIX)
  const int file = ::open(path.toUtf8().constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || ::write(file, content.constData(), static_cast<std::size_t>(content.size())) != content.size()) {
    qFatal("%s cannot be written", qPrintable(path));
  }
  ::close(file);
#else
  writeFile(path, content);
#endif
}

bool startsWith(const std::vector<std::uint8_t>& bytes, const QByteArray& content) {
  return bytes.size() >= static_cast<std::size_t>(content.size()) &&
         std::equal(content.begin(), content.end(), bytes.begin(),
                    [](char wanted, std::uint8_t byte) { return static_cast<std::uint8_t>(wanted) == byte; });
}

}  // namespace

/// Unusual files: the window neither waits for ever nor sends what it should not.
class OddFilesTest : public WindowTest {
  Q_OBJECT

 private slots:
  void anEmptyMcuFileLeavesNoImageBehind() {
    connectDevice();
    choose("BN_Browse_ExtMCU_QX", files().write("good.bin", QByteArray(500, 'g')));
    const QString empty = files().write("empty.bin", QByteArray());
    choose("BN_Browse_ExtMCU_QX", empty);
    QCOMPARE(user.widget<QLineEdit>("lineEdit_ExtMcu_Path_QX").text(), empty);
    expectNoImage();
  }

#if defined(Q_OS_LINUX)  // only Linux has endless files that claim to be empty
  void anEndlessFileIsNotAnMcuImage() {
    connectDevice();
    choose("BN_Browse_ExtMCU_QX", files().write("good.bin", QByteArray(500, 'g')));
    choose("BN_Browse_ExtMCU_QX", "/proc/self/pagemap");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_ExtMcu_Path_QX").text(), "/proc/self/pagemap");
    expectNoImage();
  }

  void anEndlessFileIsNotACaptureImage() {
    connectDevice();
    choose("BN_Browse_Cap_QX", "/proc/self/pagemap");
    DialogAnswers answers;
    user.click("BN_Apply_CapMCU_QX");
    QCOMPARE(answers.messages().size(), 1);
    QCOMPARE(answers.messages().first().text, "You may load the error file!");
    QVERIFY(!journalOperations().contains("burnToFlash"));
  }
#endif

#if defined(Q_OS_UNIX)  // Windows keeps pipes and devices out of the file system
  void anEdidIsSavedIntoFilesOnly_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("isSaved");
    QTest::newRow("pipe") << "pipe" << false;
    QTest::newRow("link to a pipe") << "link" << false;
    QTest::newRow("device") << "/dev/null" << false;
    QTest::newRow("folder") << "folder" << false;
    QTest::newRow("file") << "file" << true;
    QTest::newRow("link to a file") << "filelink" << true;
    QTest::newRow("nothing yet") << "nothing" << true;
  }

  void anEdidIsSavedIntoFilesOnly() {
    QFETCH(QString, kind);
    QFETCH(bool, isSaved);
    const QString pipe = files().path("pipe");
    QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    // With a reader, a program that writes into the pipe would not block.
    const int reader = ::open(QFile::encodeName(pipe).constData(), O_RDONLY | O_NONBLOCK);
    QVERIFY(QFile::link(pipe, files().path("link")));
    QVERIFY(QFile::link(files().write("file", "old"), files().path("filelink")));
    QVERIFY(QDir(files().folder()).mkdir("folder"));
    connectDevice();

    const QString path = kind.startsWith('/') ? kind : files().path(kind);
    DialogAnswers answers;
    {
      const ChosenFile chosen(path);
      user.click("BN_Apply_ReadTxEDID");
    }
    char byte = 0;
    const bool isPipeEmpty = ::read(reader, &byte, 1) <= 0;
    ::close(reader);
    QVERIFY(isPipeEmpty);
    QCOMPARE(answers.messages().size(), isSaved ? 0 : 1);
    QCOMPARE(journalOperations(), isSaved ? QStringList{"AT_EDID_Get_TX_table"} : QStringList());
    if (isSaved) {
      QCOMPARE(contentOf(path).size(), 256);
    } else {
      QCOMPARE(answers.messages().first().title, "error");
      QCOMPARE(answers.messages().first().text, "Open file failed");
    }
  }
#endif

  void aKeyFileIsNamedInUtf8WhateverTheLocale() {
    const Latin1Locale locale;
    const QString path = files().path(QString::fromUtf8("Schlüssel.bin"));
    const QByteArray key(320, 'k');
    writeForTheLibrary(path, key);
    connectDevice();
    choose("BN_Browse_Key", path);
    QCOMPARE(user.message(), "Burn HDCP...[OK]");
    QVERIFY(startsWith(simulator::hdcpKey(), key));
  }

  void aCaptureImageIsNamedInUtf8WhateverTheLocale() {
    const Latin1Locale locale;
    const QString path = files().path(QString::fromUtf8("Gerät.img"));
    const QByteArray image = QByteArray(5000, 'x') + "KVR-7";
    writeFile(path, QByteArray(5000, 'y') + "KVR-7");  // where the window itself looks for the file
    writeForTheLibrary(path, image);
    connectDevice();
    choose("BN_Browse_Cap_QX", path);
    QVERIFY(waitForWorker(startWorker("BN_Apply_CapMCU_QX")));
    QVERIFY(startsWith(simulator::captureFlash(), image));
  }

 private:
  void choose(const QString& button, const QString& path) const {
    const ChosenFile chosen(path);
    user.click(button);
  }

  void expectNoImage() const {
    simulator::clearJournal();
    QVERIFY(waitForWorker(startWorker(kUpgradeStart)));
    QCOMPARE(user.message(), "Error No file...[fail]");
    QCOMPARE(journalCalls(), QStringList());
  }
};

QTEST_MAIN(OddFilesTest)
#include "odd_files_test.moc"
