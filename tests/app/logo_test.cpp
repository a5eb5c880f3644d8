#include "app/main_window.h"
#include "tests/support/window_driver.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QTest>

/// The logo on the second page, a picture file in the program's folder.
class LogoTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { cleanup(); }
  void cleanup() { QFile::remove(logoFile()); }

  void thePictureBesideTheProgramFillsItsPlace_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("as large as its place") << QSize(295, 60);
    QTest::newRow("small") << QSize(20, 10);
    QTest::newRow("large and high") << QSize(500, 1000);
  }

  void thePictureBesideTheProgramFillsItsPlace() {
    QFETCH(QSize, size);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QVERIFY(picture.save(logoFile()));
    const MainWindow window;
    auto& logo = WindowDriver(window).widget<QLabel>("logo");
    QCOMPARE(logo.geometry(), QRect(90, 440, 295, 60));
    const QImage shown = logo.grab().toImage();
    for (const QPoint corner : {QPoint(0, 0), QPoint(294, 0), QPoint(0, 59), QPoint(294, 59), QPoint(147, 30)}) {
      QCOMPARE(shown.pixelColor(corner), QColor(Qt::red));
    }
  }

  void withoutAPictureItsPlaceStaysEmpty_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("exists");
    QTest::newRow("no file") << QByteArray() << false;
    QTest::newRow("empty file") << QByteArray() << true;
    QTest::newRow("no picture") << QByteArray("GIF89a, but no more") << true;
  }

  void withoutAPictureItsPlaceStaysEmpty() {
    QFETCH(QByteArray, content);
    QFETCH(bool, exists);
    if (exists) {
      QFile file(logoFile());
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write(content);
    }
    const MainWindow window;
    const WindowDriver user(window);
    QVERIFY(user.widget<QLabel>("logo").pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(user.message(), QString());
  }

 private:
  static QString logoFile() { return QCoreApplication::applicationDirPath() + "/Orvenhal Logo.png"; }
};

QTEST_MAIN(LogoTest)
#include "logo_test.moc"
