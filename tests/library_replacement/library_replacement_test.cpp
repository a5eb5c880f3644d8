#include "tests/support/program_run.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

// What the program as it is shipped shows after Connect, beside the library
// that the loader finds.
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

// A copy of the program with what it needs, but with that library beside it:
// Windows looks into the program's folder first, whatever the environment says.
QString programBeside(const QString& library, const QDir& folder) {
  const QFileInfo program(PROGRAM);
  QStringList files = program.dir().entryList({"*.dll"}, QDir::Files);
  files.removeAll("RTICE_SDK_x64.dll");
  files << program.fileName() << "platforms/qoffscreen.dll";
  folder.mkpath("platforms");
  for (const QString& file : files) {
    if (!QFile::copy(program.dir().filePath(file), folder.filePath(file))) {
      qFatal("%s could not be copied", qPrintable(file));
    }
  }
  if (!QFile::copy(library, folder.filePath("RTICE_SDK_x64.dll"))) {
    qFatal("%s could not be copied", qPrintable(library));
  }
  return folder.filePath(program.fileName());
}

QStringList shownWithReplacement() {
  // A folder as a user might name it.
  const QTemporaryDir directory(QDir::tempPath() + QString::fromUtf8("/Gerät XXXXXX"));
  return shownAfterConnect(programBeside(REPLACEMENT_DIRECTORY "/RTICE_SDK_x64.dll", QDir(directory.path())));
}

#else

QStringList shownWithReplacement() { return shownAfterConnect(PROGRAM, REPLACEMENT_DIRECTORY); }

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

#if !defined(Q_OS_WIN)  // there, check_windows_program.cmake looks at the program
  void theProgramTakesTheOperationsFromTheLibraryAndNothingElse() {
    QFile definition(DEFINITION_FILE);
    QVERIFY(definition.open(QIODevice::ReadOnly));
    QStringList operations;
    for (const QByteArray& line : definition.readAll().split('\n')) {
      if (!line.isEmpty() && !line.startsWith("LIBRARY") && line != "EXPORTS") {
        operations << QString::fromLatin1(line);
      }
    }
    QCOMPARE(operations.size(), 44);

    const QStringList symbols = dynamicSymbols();
    for (const QString& operation : operations) {
      QVERIFY2(symbols.contains(QString(17, ' ') + "U " + operation), qPrintable(operation));
    }
    QCOMPARE(symbols.filter("simulator"), QStringList());
  }
#endif
};

QTEST_GUILESS_MAIN(LibraryReplacementTest)
#include "library_replacement_test.moc"
