#include "app/high_dpi.h"
#include "tests/support/program_run.h"

#include <QDir>
#include <QImage>
#include <QMap>
#include <QTest>

#include <map>

namespace {

/// A virtual screen with a given resolution, for the lifetime of this object. The
/// resolution is set as an X resource, as desktops do, because not every server
/// reports the value of -dpi.
class VirtualScreen {
 public:
  explicit VirtualScreen(int dpi) {
    server_.start(XVFB, {"-displayfd", "1", "-screen", "0", "1600x1600x24", "-nolisten", "tcp", "-noreset"});
    if (!server_.waitForStarted() || !server_.waitForReadyRead()) {
      qFatal("%s does not start: %s", XVFB, server_.readAllStandardError().constData());
    }
    name_ = ":" + QString::fromLatin1(server_.readAllStandardOutput().trimmed());
    QProcess resources;
    resources.start(XRDB, {"-display", name_, "-nocpp", "-merge", "-"});
    resources.write(QStringLiteral("Xft.dpi: %1\n").arg(dpi).toLatin1());
    resources.closeWriteChannel();
    if (!resources.waitForFinished() || resources.exitCode() != 0) {
      qFatal("%s fails: %s", XRDB, resources.readAllStandardError().constData());
    }
  }
  Q_DISABLE_COPY_MOVE(VirtualScreen)
  ~VirtualScreen() {
    server_.terminate();
    server_.waitForFinished();
  }

  QString name() const { return name_; }

 private:
  QProcess server_;
  QString name_;
};

using Variables = QMap<QString, QString>;

/// What the program prints when a script drives its window on a screen, with no other
/// variables of Qt's scaling than these.
QByteArray runOn(const VirtualScreen& screen, const QString& script, const Variables& scaling = {}) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* const variable : {"QT_FONT_DPI", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"}) {
    environment.remove(variable);
  }
  for (auto it = scaling.begin(); it != scaling.end(); ++it) {
    environment.insert(it.key(), it.value());
  }
  environment.insert("QT_QPA_PLATFORM", "xcb");
  environment.insert("DISPLAY", screen.name());
  const ProgramRun run = runScript(PROGRAM, PLUGINS, script, environment);
  if (!run.ended || run.exitCode != 0) {
    qFatal("the program failed: %s", run.errors.constData());
  }
  return run.output;
}

/// A picture of the program's window at that resolution.
QImage pictureAt(int dpi) {
  static std::map<int, QImage> pictures;
  if (pictures.count(dpi) == 0) {
    const VirtualScreen screen(dpi);
    const QString file = QStringLiteral(PICTURES "/%1-dpi.png").arg(dpi);
    QFile::remove(file);
    runOn(screen, "click BN_Connect;picture " + file + ";close");
    pictures[dpi] = QImage(file).convertToFormat(QImage::Format_RGB32);
  }
  return pictures[dpi];
}

/// A picture of the window on a screen of 109 dpi, with these variables set.
QImage pictureWith(const Variables& scaling) {
  const VirtualScreen screen(109);
  const QString file = QStringLiteral(PICTURES "/scaled.png");
  QFile::remove(file);
  runOn(screen, "picture " + file + ";close", scaling);
  return QImage(file).convertToFormat(QImage::Format_RGB32);
}

/// How much darker than the page the darkest pixel within two pixels of a place is.
int contrastAt(const QImage& picture, const QPointF& place, double factor) {
  const QPoint at(qRound(place.x() * factor), qRound(place.y() * factor));
  const int page = qGray(picture.pixel(qRound(5 * factor), qRound(50 * factor)));
  int most = 0;
  for (int y = at.y() - 2; y <= at.y() + 2; ++y) {
    for (int x = at.x() - 2; x <= at.x() + 2; ++x) {
      most = std::max(most, page - qGray(picture.pixel(x, y)));
    }
  }
  return most;
}

}  // namespace

/// The real window at various screen resolutions, each on its own virtual X server.
class ScreenResolutionTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { QVERIFY(QDir().mkpath(PICTURES)); }

  void aResolutionIsRoundedToTheNearestQuarter_data() {
    QTest::addColumn<double>("dpi");
    QTest::addColumn<int>("rounded");
    QTest::newRow("nothing known") << 0.0 << 96;
    QTest::newRow("coarse") << 60.0 << 96;
    QTest::newRow("plain") << 96.0 << 96;
    QTest::newRow("100") << 100.0 << 96;
    QTest::newRow("just below an eighth") << 107.9 << 96;
    QTest::newRow("an eighth") << 108.0 << 120;
    QTest::newRow("109") << 109.0 << 120;
    QTest::newRow("120") << 120.0 << 120;
    QTest::newRow("144") << 144.0 << 144;
    QTest::newRow("163") << 163.0 << 168;
    QTest::newRow("192") << 192.0 << 192;
  }

  void aResolutionIsRoundedToTheNearestQuarter() {
    QFETCH(double, dpi);
    QFETCH(int, rounded);
    QCOMPARE(roundedDpi(dpi), rounded);
  }

  void theWindowIsWholeAndSharp_data() {
    QTest::addColumn<int>("dpi");
    QTest::addColumn<double>("factor");
    QTest::newRow("96 dpi") << 96 << 1.0;
    QTest::newRow("100 dpi") << 100 << 1.0;
    QTest::newRow("109 dpi") << 109 << 1.25;
    QTest::newRow("120 dpi") << 120 << 1.25;
    QTest::newRow("144 dpi") << 144 << 1.5;
    QTest::newRow("192 dpi") << 192 << 2.0;
  }

  void theWindowIsWholeAndSharp() {
    QFETCH(int, dpi);
    QFETCH(double, factor);
    const QImage picture = pictureAt(dpi);
    QVERIFY(!picture.isNull());
    QVERIFY2(qAbs(picture.width() - 668 * factor) < 1, qPrintable(QString::number(picture.width())));
    QVERIFY2(qAbs(picture.height() - 737 * factor) < 1, qPrintable(QString::number(picture.height())));
    // The four edges of "Connect". Quarter-step factors put some edges between two
    // pixels, which makes them fainter but must not remove them.
    const QRectF button(250, 60, 91, 21);
    const QImage plain = pictureAt(96);
    for (const QPointF edge :
         {QPointF(button.left(), button.center().y()), QPointF(button.right(), button.center().y()),
          QPointF(button.center().x(), button.top()), QPointF(button.center().x(), button.bottom())}) {
      const int expected = contrastAt(plain, edge, 1);
      QVERIFY(expected > 30);
      const int found = contrastAt(picture, edge, factor);
      QVERIFY2(found * 3 > expected,
               qPrintable(QStringLiteral("%1 of %4 at %2, %3").arg(found).arg(edge.x()).arg(edge.y()).arg(expected)));
    }
  }

  void aResolutionInBetweenLooksLikeItsQuarter() {
    QVERIFY(pictureAt(100) == pictureAt(96));
    QVERIFY(pictureAt(109) == pictureAt(120));
  }

  // Whoever sets one of Qt's variables means it: the resolution stays as it is.
  void nothingIsRoundedForAUserWithAScaleOfHisOwn() {
    QCOMPARE(pictureWith({{"QT_FONT_DPI", "109"}}).width(), qRound(668 * 109 / 96.0));
    const QImage scaled = pictureWith({{"QT_SCALE_FACTOR", "1.5"}});
    QVERIFY(!scaled.isNull());
    QVERIFY(scaled == pictureWith({{"QT_SCALE_FACTOR", "1.5"}, {"QT_FONT_DPI", "109"}}));
    QVERIFY(scaled != pictureWith({{"QT_SCALE_FACTOR", "1.5"}, {"QT_FONT_DPI", "120"}}));
  }

  void theWindowIsPaintedWithoutOpenGl() {
    const VirtualScreen screen(96);
    QCOMPARE(runOn(screen, "surface;close").trimmed(), QByteArray("surface=raster"));
  }
};

QTEST_GUILESS_MAIN(ScreenResolutionTest)
#include "screen_resolution_test.moc"
