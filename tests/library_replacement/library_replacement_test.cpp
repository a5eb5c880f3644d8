#include "device/operations.h"
#include "tests/support/program_run.h"
#include "tests/support/test_files.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

// What the shipped program shows after Connect, with the library the loader finds.
QStringList shownAfterConnect(const QString& programFile, const QString& libraryPath = QString()) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  if (!libraryPath.isEmpty()) {
    environment.insert("LD_LIBRARY_PATH", libraryPath);
  }
  const ProgramRun run = runScript(programFile, PLUGINS,
                                   "click BN_Connect;print LB_Message;print lb_FW_VER_QX;print lb_Main_VER_QX;"
                                   "print label_IManufacturer;close",
                                   environment);
  if (!run.ended || run.exitCode != 0) {
    return {"the program failed: " + QString::fromLocal8Bit(run.errors)};
  }
  return QString::fromLocal8Bit(run.output).remove('\r').split('\n', Qt::SkipEmptyParts);
}

#if defined(Q_OS_WIN)
constexpr const char* kLibraryName = "RTICE_SDK_x64.dll";
#else
constexpr const char* kLibraryName = "libRTICE_SDK_x64.so";
#endif

// A copy of the program with the files it needs, but no device library.
QString programWithoutLibrary(const QDir& folder) {
  const QFileInfo program(PROGRAM);
  QStringList files{program.fileName()};
#if defined(Q_OS_WIN)
  files << program.dir().entryList({"*.dll"}, QDir::Files) << "platforms/qoffscreen.dll";
  files.removeAll(kLibraryName);
  folder.mkpath("platforms");
#endif
  for (const QString& file : files) {
    if (!QFile::copy(program.dir().filePath(file), folder.filePath(file))) {
      qFatal("%s could not be copied", qPrintable(file));
    }
  }
  return folder.filePath(program.fileName());
}

// Runs the program so that the loader must fail: only the program's own folder may
// supply the library.
ProgramRun refusedRun(const QString& program) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.remove("LD_LIBRARY_PATH");
  environment.remove("LD_BIND_NOW");
  environment.insert("WINEDEBUG", "err+module");
  return runScript(program, PLUGINS, "print LB_Message;close", environment);
}

#if defined(Q_OS_WIN)

// Windows searches the program's folder first, whatever the environment says.
QStringList shownWithReplacement() {
  // A folder name as users choose them.
  const QTemporaryDir directory(QDir::tempPath() + QString::fromUtf8("/Gerät XXXXXX"));
  const QDir folder(directory.path());
  const QString program = programWithoutLibrary(folder);
  if (!QFile::copy(REPLACEMENT_DIRECTORY "/RTICE_SDK_x64.dll", folder.filePath(kLibraryName))) {
    qFatal("the other library could not be copied");
  }
  return shownAfterConnect(program);
}

#else

QStringList shownWithReplacement() { return shownAfterConnect(PROGRAM, REPLACEMENT_DIRECTORY); }

QStringList operations() {
  QStringList names;
  for (const device::OperationDescription& operation : device::kOperations) {
    names << operation.name.data();
  }
  return names;
}

// The other library's file with one operation renamed (and `uninitialize` along with
// `initialize`, which is its ending).
QByteArray libraryWithout(const QByteArray& operation) {
  QFile file(REPLACEMENT_DIRECTORY "/libRTICE_SDK_x64.so");
  if (!file.open(QIODevice::ReadOnly)) {
    qFatal("the other library cannot be read");
  }
  const QByteArray name = operation + '\0';
  QByteArray otherName = name;
  otherName[0] = '_';
  return file.readAll().replace(name, otherName);
}

QStringList dynamicSymbols() {
  QProcess nm;
  nm.start("nm", {"-D", PROGRAM});
  nm.waitForFinished();
  return QString::fromLatin1(nm.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

#endif

}  // namespace

class LibraryReplacementTest : public QObject {
  Q_OBJECT

 private slots:
  void anotherLibraryChangesWhatTheUnchangedProgramShows() {
    const QStringList simulated = shownAfterConnect(PROGRAM);
    QCOMPARE(simulated.size(), 4);
    QCOMPARE(simulated.at(0), "LB_Message=Device Connected");
    QVERIFY(simulated.at(1) != "lb_FW_VER_QX=replaced");

    QCOMPARE(shownWithReplacement(), (QStringList{"LB_Message=Device Connected", "lb_FW_VER_QX=replaced",
                                                  "lb_Main_VER_QX=v3.4", "label_IManufacturer=Other"}));
  }

  void theLoaderNamesAMissingLibraryAndNothingStarts() {
    const QTemporaryDir directory;
    const ProgramRun run = refusedRun(programWithoutLibrary(QDir(directory.path())));
    QVERIFY(run.exitCode != 0);
#if defined(Q_OS_WIN)  // Windows shows a box, Wine nothing; both end with Windows' own exit code
    QCOMPARE(static_cast<std::uint32_t>(run.exitCode), 0xC000'0135U);
#else
    QVERIFY2(run.ended, run.errors);
    QVERIFY2(run.errors.contains("error while loading shared libraries: libRTICE_SDK_x64.so: "), run.errors);
#endif
    QCOMPARE(run.output, QByteArray());
  }

  void aFileThatIsNotALibraryIsRefused() {
    const QTemporaryDir directory;
    const QString program = programWithoutLibrary(QDir(directory.path()));
    writeFile(directory.filePath(kLibraryName), QByteArray(4096, 'x'));

    const ProgramRun run = refusedRun(program);
    QVERIFY(run.exitCode != 0);
#if !defined(Q_OS_WIN)
    QVERIFY2(run.errors.contains(kLibraryName), run.errors);
#endif
    QCOMPARE(run.output, QByteArray());
  }

#if !defined(Q_OS_WIN)  // check_windows_program.cmake checks this on Windows; Wine starts the program anyway
  void aLibraryThatLacksAnOperationIsRefusedAtTheStart_data() {
    QTest::addColumn<QString>("operation");
    for (const QString& operation : operations()) {
      QTest::newRow(qPrintable(operation)) << operation;
    }
  }

  void aLibraryThatLacksAnOperationIsRefusedAtTheStart() {
    QFETCH(QString, operation);
    const QTemporaryDir directory;
    const QString program = programWithoutLibrary(QDir(directory.path()));
    writeFile(directory.filePath(kLibraryName), libraryWithout(operation.toLatin1()));

    const ProgramRun run = refusedRun(program);
    QVERIFY2(run.ended, run.errors);
    QVERIFY(run.exitCode != 0);
    QVERIFY2(run.errors.contains("undefined symbol: "), run.errors);
    QVERIFY2(run.errors.trimmed().endsWith(operation.toLatin1()), run.errors);
    QCOMPARE(run.output, QByteArray());
  }

  void theProgramTakesTheOperationsFromTheLibraryAndNothingElse() {
    QCOMPARE(operations().size(), 44);
    const QStringList symbols = dynamicSymbols();
    for (const QString& operation : operations()) {
      QVERIFY2(symbols.contains(QString(17, ' ') + "U " + operation), qPrintable(operation));
    }
    QCOMPARE(symbols.filter("simulator"), QStringList());
  }
#endif
};

QTEST_GUILESS_MAIN(LibraryReplacementTest)
#include "library_replacement_test.moc"
