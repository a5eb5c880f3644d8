/// @file
/// The walk-through, recorded and then replayed without a device.
#include "tests/recorder/command_line.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr QRect kMessageLine(70, 690, 580, 40);  // of the window

// Removes percentages, which depend on the moment.
QByteArray withoutPercentage(const QByteArray& output) {
  return QString::fromUtf8(output)
      .replace(QRegularExpression("\\b\\d+%\n|Burn CAP\\.\\.\\.\\[OK\\]\n"), "(moment)\n")
      .toUtf8();
}

/// A picture of the window, without the message line where that shows a percentage.
QImage pictureOf(const QString& file, bool withoutMessage) {
  QImage picture(file);
  if (withoutMessage && !picture.isNull()) {
    QPainter(&picture).fillRect(kMessageLine, Qt::black);
  }
  return picture;
}

}  // namespace

class RecordingWalkTest : public QObject {
  Q_OBJECT

 private slots:
  void theWalkThroughReplaysWithoutTheDevicePixelByPixel() {
    const QTemporaryDir folder;
    const QString file = folder.filePath("walk.jsonl");
    const QString shown = folder.filePath("pictures");
    const QStringList walk{"--", WALKTHROUGH, "--files", folder.filePath("files"), shown};
    const EndedProcess recorded =
        run(QStringList{"record", "-o", file} + walk, QProcessEnvironment::systemEnvironment());
    QVERIFY2(recorded.code == 0, recorded.out + recorded.err);
    QVERIFY2(recorded.out.contains("Everything expected appeared."), recorded.out);
    QVERIFY(QDir().rename(shown, folder.filePath("recorded")));
    const EndedProcess replayed = run(QStringList{"replay", "--recorded-speed", file} + walk, withoutDevice());
    QVERIFY2(replayed.code == 0, replayed.out + replayed.err);
    QCOMPARE(withoutPercentage(replayed.out), withoutPercentage(recorded.out));

    const QDir before(folder.filePath("recorded"));
    const QDir after(shown);
    const QStringList pictures = before.entryList({"*.png"});
    QVERIFY(pictures.size() > 10);
    QCOMPARE(after.entryList({"*.png"}), pictures);
    for (const QString& picture : pictures) {
      const bool isOfWork = picture.contains("burn") || picture.contains("mcu-upgrade");
      const QImage expected = pictureOf(before.filePath(picture), isOfWork);
      QVERIFY2(!expected.isNull(), qPrintable(picture));
      QVERIFY2(pictureOf(after.filePath(picture), isOfWork) == expected, qPrintable(picture));
    }
  }
};

QTEST_GUILESS_MAIN(RecordingWalkTest)
#include "walk_test.moc"
