#include "device/RTICE_SDK_x64.h"
#include "firmware/capture_image.h"
#include "simulator/control/control.h"
#include "tests/support/ended_process.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <array>

namespace {

bool contains(const QString& path, const QByteArray& text) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && firmware::containsText(file, text);
}

}  // namespace

class SampleFilesTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    const EndedProcess run = runToEnd(SAMPLES, {samples_.path()});
    QCOMPARE(run.code, 0);
    QCOMPARE(run.err, "");
    const QStringList files = QDir(samples_.path()).entryList(QDir::Files);
    QCOMPARE(files, (QStringList{"capture-kvr-5b.img", "capture-kvr-7.img", "edid-1080p.bin", "edid-2160p-hdr.bin",
                                 "edid-surround.bin", "hdcp-key.bin", "main-family-2.bin", "main-family-v.bin"}));
    for (const QString& file : files) {
      QVERIFY(run.out.contains(file.toUtf8()));
    }
  }

  void aCaptureImageIsForItsOwnModelOnly() {
    QVERIFY(contains(samples_.filePath("capture-kvr-7.img"), *firmware::modelText({0x5C19, 0x6B03})));
    QVERIFY(!contains(samples_.filePath("capture-kvr-7.img"), *firmware::modelText({0x5C19, 0x6B02})));
    QVERIFY(contains(samples_.filePath("capture-kvr-5b.img"), *firmware::modelText({0x5C19, 0x6B02})));
    QVERIFY(!contains(samples_.filePath("capture-kvr-5b.img"), *firmware::modelText({0x5C19, 0x6B03})));
  }

  void theSimulatedDeviceTakesThem_data() {
    QTest::addColumn<QString>("model");
    QTest::addColumn<unsigned>("pid");
    QTest::addColumn<QString>("image");
    QTest::newRow("KVR-7") << "KVR-7" << 0x6B03U << "capture-kvr-7.img";
    QTest::newRow("KVR-5B") << "KVR-5B" << 0x6B02U << "capture-kvr-5b.img";
  }

  void theSimulatedDeviceTakesThem() {
    QFETCH(QString, model);
    QFETCH(unsigned, pid);
    QFETCH(QString, image);
    QCOMPARE(simulator::loadScenario("{\"model\": \"" + model.toStdString() + "\"}"), std::string());
    simulator::useVirtualTime();
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, pid), 0);
    QCOMPARE(openPort(), 0);
    QCOMPARE(burnToFlash(QFile::encodeName(samples_.filePath(image)).constData(), [](float) {}), 0);
    std::array<std::uint8_t, 128> version{};
    QCOMPARE(AT_Get_Customer_Ver(version.data()), 0);
    QCOMPARE(reinterpret_cast<const char*>(version.data()), "V1.04.00");
    QCOMPARE(burnHDCP(QFile::encodeName(samples_.filePath("hdcp-key.bin")).constData()), 0);
  }

  void anEdidSampleIsAWholeTable_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("size");
    QTest::newRow("256 bytes") << "edid-1080p.bin" << 256;
    QTest::newRow("384 bytes") << "edid-surround.bin" << 384;
    QTest::newRow("512 bytes") << "edid-2160p-hdr.bin" << 512;
  }

  void anEdidSampleIsAWholeTable() {
    QFETCH(QString, name);
    QFETCH(int, size);
    QFile file(samples_.filePath(name));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray table = file.readAll();
    QCOMPARE(table.size(), size);
    QVERIFY(table.startsWith(QByteArray("\x00\xFF\xFF\xFF\xFF\xFF\xFF\x00", 8)));
    QCOMPARE(int{table[126]}, size / 128 - 1);
    for (int block = 0; block < size; block += 128) {
      unsigned sum = 0;
      for (int i = 0; i < 128; ++i) {
        sum += static_cast<unsigned char>(table[block + i]);
      }
      QCOMPARE(sum % 256, 0U);
    }
  }

  void helpMakesNothing() {
    const QDir here(QDir::currentPath());
    const QStringList before = here.entryList(QDir::AllEntries | QDir::Hidden);
    for (const char* option : {"--help", "-h"}) {
      const EndedProcess run = runToEnd(SAMPLES, {option});
      QCOMPARE(run.code, 0);
      QVERIFY(run.out.startsWith("usage: pellavox-samples [--station] DIRECTORY"));
      QVERIFY(run.out.contains("edid-1080p.bin"));
      QCOMPARE(run.err, "");
    }
    for (const QStringList& arguments :
         {QStringList{"--hlep"}, QStringList{"-x"}, QStringList{"--help", "there"}, QStringList{"one", "two"}}) {
      const EndedProcess run = runToEnd(SAMPLES, arguments);
      QCOMPARE(run.code, 2);
      QCOMPARE(run.out, "");
      QCOMPARE(run.err.count('\n'), 1);
      QVERIFY(run.err.contains("usage: pellavox-samples [--station] DIRECTORY"));
    }
    QCOMPARE(here.entryList(QDir::AllEntries | QDir::Hidden), before);
  }

  void mistakesAreReported() {
    const EndedProcess usage = runToEnd(SAMPLES, {});
    QCOMPARE(usage.code, 2);
    QVERIFY(usage.err.startsWith("usage: "));
    // A file is in the way of the directory.
    const EndedProcess run = runToEnd(SAMPLES, {samples_.filePath("hdcp-key.bin") + "/samples"});
    QCOMPARE(run.code, 1);
    QVERIFY(run.err.contains("cannot be written there"));
    QCOMPARE(run.err.count('\n'), 1);
  }

 private:
  QTemporaryDir samples_;
};

QTEST_GUILESS_MAIN(SampleFilesTest)
#include "sample_files_test.moc"
