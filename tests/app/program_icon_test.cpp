#include "app/program_icon.h"

#include "app/main_window.h"
#include "tests/support/program_run.h"

#include <QApplication>
#include <QIcon>
#include <QTest>

class ProgramIconTest : public QObject {
  Q_OBJECT

 private slots:
  void everySizeShowsTheDrawing_data();
  void everySizeShowsTheDrawing();
  void theProgramsWindowHasIt();
};

void ProgramIconTest::everySizeShowsTheDrawing_data() {
  QTest::addColumn<int>("size");
  for (const int size : {16, 24, 32, 48, 64, 128}) {
    QTest::addRow("%d", size) << size;
  }
}

void ProgramIconTest::everySizeShowsTheDrawing() {
  QFETCH(const int, size);
  QApplication::setWindowIcon(QIcon());
  setProgramIcon();
  const MainWindow window;
  const QImage picture = window.windowIcon().pixmap(size).toImage();
  QCOMPARE(picture.size(), QSize(size, size));
  // A transparent corner, the dark body, the orange arrow.
  QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
  QCOMPARE(picture.pixelColor(size / 2, size / 16), QColor(0x1d, 0x3f, 0x5c));
  QCOMPARE(picture.pixelColor(size * 120 / 256, size * 98 / 256), QColor(0xf0, 0x83, 0x2c));
}

void ProgramIconTest::theProgramsWindowHasIt() {
  const ProgramRun run = runScript(PROGRAM, PLUGINS, "icon;close");
  QVERIFY(run.ended);
  QCOMPARE(run.output.trimmed(), QByteArray("icon=16x16 24x24 32x32 48x48 64x64 128x128"));
}

QTEST_MAIN(ProgramIconTest)
#include "program_icon_test.moc"
