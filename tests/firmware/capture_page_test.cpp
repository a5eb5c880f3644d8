#include "tests/firmware/capture_fixture.h"

#include <QDir>
#include <QTest>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

/// Choosing an image, and the checks before a burn.
class CapturePageTest : public CaptureFixture {
  Q_OBJECT

 private slots:
  void init() { startCapture(); }
  void cleanup() { finish(); }

  void choosingAFileFillsBothFieldsAndStoresThePath_data() {
    QTest::addColumn<QString>("button");
    QTest::newRow("visible page") << "BN_Browse_Cap_QX";
    QTest::newRow("page without tab") << "BN_Browse_Cap";
  }

  void choosingAFileFillsBothFieldsAndStoresThePath() {
    QFETCH(QString, button);
    // The file is not opened yet, so its content does not matter.
    const QString path = write("any.img", "");
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click(button);
    QCOMPARE(answers.fileDialogs().size(), 1);
    const auto& dialog = answers.fileDialogs().first();
    QCOMPARE(dialog.title, "Load Capture Firmware File");
    QCOMPARE(dialog.filters, QStringList{"*.img"});
    QCOMPARE(dialog.mode, QFileDialog::AcceptOpen);
    QVERIFY(dialog.isModal);
    QCOMPARE(dialog.parent, &window());
    QCOMPARE(pathFields(), (QStringList{path, path}));
    QCOMPARE(MainWindowTestAccess::captureImagePath(window()), path);
    QCOMPARE(user.message(), "");
    QCOMPARE(journalCalls(), QStringList());
  }

  void cancellingTheDialogChangesNothing() {
    const QString path = write("any.img", "");
    browse(path);
    QTest::ignoreMessage(QtDebugMsg, "empty");
    const DialogAnswers answers;
    user.click("BN_Browse_Cap_QX");
    QCOMPARE(answers.fileDialogs().size(), 1);
    QCOMPARE(pathFields(), (QStringList{path, path}));
    QCOMPARE(MainWindowTestAccess::captureImagePath(window()), path);
  }

  // All combinations of problems: the first failing check shows its box, and no burn
  // starts.
  void theFirstFailingCheckShowsItsBox_data() {
    QTest::addColumn<bool>("connected");
    QTest::addColumn<bool>("pathShown");
    QTest::addColumn<QString>("pid");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("box");
    for (const bool connected : {false, true}) {
      for (const bool pathShown : {false, true}) {
        for (const char* pid : {"", " ", "6B04", "6B03"}) {
          for (const char* file : {"missing", "wrong model"}) {
            const bool knownIds = QLatin1String(pid) == "6B03";
            const QString box = !connected                             ? "Connect the decive first!"
                                : !pathShown                           ? "Load one firmware file first!"
                                : QString(pid).trimmed().isEmpty()     ? ""
                                : !knownIds                            ? "Unknow VID/PID"
                                : QLatin1String(file) == "wrong model" ? "You may load the error file!"
                                                                       : "Unable to open file";
            QTest::addRow("connected=%d path=%d pid='%s' %s", connected, pathShown, pid, file)
                << connected << pathShown << pid << file << box;
          }
        }
      }
    }
  }

  void theFirstFailingCheckShowsItsBox() {
    QFETCH(bool, connected);
    QFETCH(bool, pathShown);
    QFETCH(QString, pid);
    QFETCH(QString, file);
    QFETCH(QString, box);
    if (connected) {
      user.click("BN_Connect");
    }
    const QString path = write("firmware.img", imageFor("KVR-5"));
    browse(path);
    if (file == "missing") {
      QVERIFY(QFile::remove(path));
    }
    if (!pathShown) {
      user.widget<QLineEdit>("lineEdit_Cap_Path_QX").clear();
    }
    user.widget<QLineEdit>("Edit_PID").setText(pid);
    expectNothingStarted(box);
  }

  void eitherEmptyIdIsASilentReturn_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    for (const char* field : {"Edit_VID", "Edit_PID"}) {
      QTest::addRow("%s empty", field) << field << "";
      QTest::addRow("%s blank", field) << field << " \t ";
    }
  }

  void eitherEmptyIdIsASilentReturn() {
    QFETCH(QString, field);
    QFETCH(QString, text);
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    user.widget<QLineEdit>(field).setText(text);
    expectNothingStarted(QString());
  }

  void thePathFieldOfTheVisiblePageIsTheOneChecked() {
    user.click("BN_Connect");
    const QString path = write("firmware.img", imageFor("KVR-7"));
    browse(path);
    user.widget<QLineEdit>("lineEdit_Cap_Path").clear();
    // Typing into the field does not change the chosen file.
    user.widget<QLineEdit>("lineEdit_Cap_Path_QX").setText("something else");
    expectBurn("BN_Apply_CapMCU", path);
  }

  void aTypedPathDoesNotChooseAFile() {
    user.click("BN_Connect");
    user.widget<QLineEdit>("lineEdit_Cap_Path_QX").setText(write("firmware.img", imageFor("KVR-7")));
    expectNothingStarted("Unable to open file");
  }

  void theImageMustBelongToTheModel_data() {
    QTest::addColumn<QString>("vid");
    QTest::addColumn<QString>("pid");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QString>("box");
    const QString refused("You may load the error file!");
    const QString unknown("Unknow VID/PID");
    const QByteArray seven = imageFor("KVR-7");
    const QByteArray five = imageFor("KVR-5");
    const auto row = [](const char* name, const char* vid, const char* pid, const QByteArray& image,
                        const QString& box) { QTest::newRow(name) << QString(vid) << QString(pid) << image << box; };
    row("7 for 7", "5C19", "6B03", seven, "");
    row("5 for 7", "5C19", "6B03", five, refused);
    row("7 for 5", "5C19", "6B02", seven, refused);
    row("5 for 5", "5C19", "6B02", five, "");
    row("lower case ids", "5c19", "6b02", five, "");
    row("blanks around the ids", "  5C19 ", "\t6B03 ", seven, "");
    row("leading zeros", "05C19", "006B03", seven, "");
    row("no ids", "zz", "-", seven, unknown);
    row("ids beyond 32 bits", "5C19", "100006B03", seven, unknown);
    row("text at the first byte", "5C19", "6B03", "KVR-7" + QByteArray(1000, '\0'), "");
    row("text at the very end", "5C19", "6B03", QByteArray(1000, '\0') + "KVR-7", "");
    row("empty file", "5C19", "6B03", "", refused);
  }

  void theImageMustBelongToTheModel() {
    QFETCH(QString, vid);
    QFETCH(QString, pid);
    QFETCH(QByteArray, image);
    QFETCH(QString, box);
    user.click("BN_Connect");
    const QString path = write("firmware.img", image);
    browse(path);
    for (const auto& [field, text] : {std::pair("Edit_VID", vid), std::pair("Edit_PID", pid)}) {
      user.widget<QLineEdit>(field).setMaxLength(32767);
      user.widget<QLineEdit>(field).setText(text);
    }
    if (box.isEmpty()) {
      expectBurn("BN_Apply_CapMCU_QX", path);
    } else {
      expectNothingStarted(box);
    }
  }

  // The file may be replaced after it has been chosen.
  void onlyRegularFilesCanBeOpened_data() {
    QTest::addColumn<QString>("kind");
    for (const char* kind : {"directory", "pipe", "endless device", "dangling link"}) {
      QTest::newRow(kind) << kind;
    }
  }

  void onlyRegularFilesCanBeOpened() {
    QFETCH(QString, kind);
#if defined(Q_OS_UNIX)
    user.click("BN_Connect");
    const QString path = write("firmware.img", imageFor("KVR-7"));
    browse(path);
    QVERIFY(QFile::remove(path));
    if (kind == "directory") {
      QVERIFY(QDir().mkdir(path));
    } else if (kind == "pipe") {
      QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    } else {
      QVERIFY(QFile::link(kind == "endless device" ? "/dev/zero" : "/nonexistent/file", path));
    }
    expectNothingStarted("Unable to open file");
#else
    QSKIP("needs special files");
#endif
  }

  void aFileThatOpensButCannotBeReadIsRefused() {
#if defined(Q_OS_LINUX)
    user.click("BN_Connect");
    const QString path = write("firmware.img", imageFor("KVR-7"));
    browse(path);
    QVERIFY(QFile::remove(path));
    QVERIFY(QFile::link("/proc/self/mem", path));
    expectNothingStarted("You may load the error file!");
#else
    QSKIP("needs a file that opens but cannot be read");
#endif
  }

 private:
  void expectNothingStarted(const QString& box) {
    const QString message = user.message();
    const QStringList calls = journalCalls();
    for (const char* button : {"BN_Apply_CapMCU_QX", "BN_Apply_CapMCU"}) {
      const DialogAnswers answers;
      user.click(button);
      QCOMPARE(answers.messages().size(), box.isEmpty() ? 0 : 1);
      for (const auto& shown : answers.messages()) {
        QCOMPARE(shown.icon, QMessageBox::Warning);
        QCOMPARE(shown.title, "Error");
        QCOMPARE(shown.text, box);
        QVERIFY(shown.isModal);
        QCOMPARE(shown.parent, &window());
      }
      QVERIFY(workers().isEmpty());
      QVERIFY(MainWindowTestAccess::captureWorker(window()) == nullptr);
      QVERIFY(!progressTimer().isActive());
      QCOMPARE(journalCalls(), calls);
      QCOMPARE(user.message(), message);
    }
  }
};

QTEST_MAIN(CapturePageTest)
#include "capture_page_test.moc"
