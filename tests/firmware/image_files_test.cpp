#include "device/regular_file.h"
#include "firmware/capture_image.h"
#include "firmware/mcu_image.h"
#include "tests/support/test_files.h"

#include <QTest>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

using firmware::ImageFailure;
using firmware::ImageRefusal;

namespace {

constexpr device::UsbIds kKvr7{0x5C19, 0x6B03};
constexpr device::UsbIds kKvr5{0x5C19, 0x6B02};

}  // namespace

class ImageFilesTest : public QObject, private TestFiles {
  Q_OBJECT

 private slots:
  void aFileIsReadWhole() {
    const QByteArray content = QByteArray(70'000, 'x') + QByteArray(3, '\0');
    QCOMPARE(*firmware::readMcuImage(write("image.bin", content)), content);
    QCOMPARE(firmware::readMcuImage(write("empty.bin", {}))->size(), 0);
  }

  void aFileTooLargeForTheMemoryIsNotTakenForAnEmptyOne() {
    QFile file(path("huge.bin"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64{3} << 30U));
    QVERIFY(firmware::readMcuImage(file.fileName()).error() == ImageFailure::kCannotRead);
    file.remove();
  }

  void onlyAFileGivesAnImage() {
    QVERIFY(firmware::readMcuImage(path("missing.bin")).error() == ImageFailure::kCannotOpen);
    QVERIFY(firmware::readMcuImage(folder()).error() == ImageFailure::kCannotOpen);
    QVERIFY(firmware::checkCaptureImage(path("missing.img"), kKvr7).error() == ImageRefusal::kCannotOpen);
    QVERIFY(firmware::checkCaptureImage(folder(), kKvr7).error() == ImageRefusal::kCannotOpen);
  }

#if defined(Q_OS_UNIX)
  // Opening a pipe would wait for its other end for ever.
  void aPipeIsNeitherReadNorWritten() {
    const QString pipe = path("pipe");
    QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
    QVERIFY(firmware::readMcuImage(pipe).error() == ImageFailure::kCannotOpen);
    QVERIFY(firmware::checkCaptureImage(pipe, kKvr7).error() == ImageRefusal::kCannotOpen);
    QFile file(pipe);
    QVERIFY(!device::openRegularFile(file, QIODevice::WriteOnly));
    QFile device("/dev/null");
    QVERIFY(!device::openRegularFile(device, QIODevice::WriteOnly));
    QVERIFY(!device::openRegularFile(device, QIODevice::ReadOnly));
  }
#endif

  void aNewFileAndAnOldOneCanBeWritten() {
    QFile file(path("written.bin"));
    QVERIFY(!device::openRegularFile(file, QIODevice::ReadOnly));
    QVERIFY(device::openRegularFile(file, QIODevice::WriteOnly));
    QCOMPARE(file.write("abc"), 3);
    file.close();
    QVERIFY(device::openRegularFile(file, QIODevice::WriteOnly));
    file.close();
    QCOMPARE(file.size(), 0);
    QFile nowhere(path("no/such/folder.bin"));
    QVERIFY(!device::openRegularFile(nowhere, QIODevice::WriteOnly));
  }

  void anImageForAnotherModelIsRefused_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("fitsKvr7");
    QTest::addColumn<bool>("fitsKvr5");
    QTest::newRow("KVR-7") << QByteArray("..KVR-7..") << true << false;
    QTest::newRow("KVR-5") << QByteArray("KVR-5B") << false << true;
    QTest::newRow("both") << QByteArray("KVR-5KVR-7") << true << true;
    QTest::newRow("neither") << QByteArray("KVR-6") << false << false;
    QTest::newRow("empty") << QByteArray() << false << false;
  }

  void anImageForAnotherModelIsRefused() {
    QFETCH(QByteArray, content);
    QFETCH(bool, fitsKvr7);
    QFETCH(bool, fitsKvr5);
    const QString image = write("capture.img", content);
    for (const auto& [ids, fits] : {std::pair{kKvr7, fitsKvr7}, std::pair{kKvr5, fitsKvr5}}) {
      const auto checked = firmware::checkCaptureImage(image, ids);
      QCOMPARE(checked.has_value(), fits);
      QVERIFY(fits || checked.error() == ImageRefusal::kWrongModel);
    }
  }

  void anUnknownModelIsRefusedWithoutAFile() {
    for (const device::UsbIds& ids : {device::UsbIds{0x5C19, 0x6B04}, device::UsbIds{0x6B03, 0x5C19}}) {
      QVERIFY(firmware::checkCaptureImage(path("missing.img"), ids).error() == ImageRefusal::kUnknownModel);
    }
  }
};

QTEST_GUILESS_MAIN(ImageFilesTest)
#include "image_files_test.moc"
