#include <QFile>
#include <QProcess>
#include <QTest>

namespace {

// What the program as it is shipped shows after Connect, beside the library
// that the loader finds.
QStringList shownAfterConnect(const QString& libraryPath) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("QT_PLUGIN_PATH", PLUGINS);
  environment.insert("QT_QPA_GENERIC_PLUGINS", "pellavoxprobe");
  environment.insert("PELLAVOX_PROBE_SCRIPT",
                     "click BN_Connect;print LB_Message;print lb_FW_VER_QX;print lb_Main_VER_QX;"
                     "print label_IManufacturer;close");
  if (!libraryPath.isEmpty()) {
    environment.insert("LD_LIBRARY_PATH", libraryPath);
  }
  QProcess program;
  program.setProcessEnvironment(environment);
  program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  program.start(PROGRAM, QStringList());
  if (!program.waitForFinished() || program.exitCode() != 0) {
    return {"the program failed: " + program.errorString()};
  }
  return QString::fromLocal8Bit(program.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

QStringList dynamicSymbols() {
  QProcess nm;
  nm.start("nm", {"-D", PROGRAM});
  nm.waitForFinished();
  return QString::fromLatin1(nm.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

}  // namespace

class LibraryReplacementTest : public QObject {
  Q_OBJECT

 private slots:
  void anotherLibraryChangesWhatTheUnchangedProgramShows() {
    const QStringList simulated = shownAfterConnect(QString());
    QCOMPARE(simulated.size(), 4);
    QCOMPARE(simulated.at(0), "LB_Message=Device Connected");
    QVERIFY(simulated.at(1) != "lb_FW_VER_QX=replaced");

    QCOMPARE(shownAfterConnect(REPLACEMENT_DIRECTORY),
             (QStringList{"LB_Message=Device Connected", "lb_FW_VER_QX=replaced", "lb_Main_VER_QX=v3.4",
                          "label_IManufacturer=Other"}));
  }

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
};

QTEST_GUILESS_MAIN(LibraryReplacementTest)
#include "library_replacement_test.moc"
