#include "tests/support/ended_process.h"
#include "tests/support/test_files.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QTest>

#include <span>

namespace {

/// A file that the program makes, the same on every machine: jobs of a production line
/// name files by their digest.
struct Sample {
  const char* name;
  int size;
  const char* sha256;
};

constexpr Sample kSamples[] = {
    {"capture-kvr-7.img", 1048576, "b1e16c3154896490fea283f1661564233f55cc3eae0dd2ed9c2cac05a90bb86e"},
    {"capture-kvr-5b.img", 1048576, "013c8bc52ff24547db50136a235ece2348e4c279a2cf00244a463b5efbc889b1"},
    {"main-family-2.bin", 20000, "090acada29093214d6d02a9d3558a9928ca84e80454d36c28c2cd5d6b4b05011"},
    {"main-family-v.bin", 6000, "c3f0a00f3698c84c6f923c64f1dbafea773fcea316b3900a687ecc4a2d3d5ff4"},
    {"hdcp-key.bin", 572, "abe168043e5d55a7dbc6d35b9089f42e9f97a4aa38e4a9dbfb2a69dea8b9195a"},
    {"edid-1080p.bin", 256, "ef7b88a92b6f3bf948fd0705d26c18d4f3082329fa3aa8752a4f26d53458da55"},
    {"edid-surround.bin", 384, "7c137a352dfd876ad1d9abcf8992ecf060209e6f2c25576a1ce89b6466e3b42a"},
    {"edid-2160p-hdr.bin", 512, "2b96c67a1e0b5d81f54d20798a47f91f2e9436b623a637574814626965643ba2"},
};

constexpr Sample kStation[] = {
    {"capture-kvr-7.img", 1048576, "b1e16c3154896490fea283f1661564233f55cc3eae0dd2ed9c2cac05a90bb86e"},
    {"edid-surround.bin", 384, "7c137a352dfd876ad1d9abcf8992ecf060209e6f2c25576a1ce89b6466e3b42a"},
    {"edid-2160p-hdr.bin", 512, "2b96c67a1e0b5d81f54d20798a47f91f2e9436b623a637574814626965643ba2"},
    {"main.bin", 4000, "5378ef2bedd6ff7c9f04ad81799ea36fbfa23db62078bc3317b1b37bccc6852e"},
    {"job.json", 938, "22b4b2b1b355fa26d5ad5983a514eb8366a73b70e7b7d4bc920f6f337f1d3778"},
    {"keys/key-01.bin", 572, "7c7e85bd2cfab5f1b26a25bd5c527de7beb1b8ca6e99c76ea51174c63acb67be"},
    {"keys/key-02.bin", 572, "240260a601cb14562fb6f27565856ea102740cfa850b01d5ca2aec60786bfc36"},
    {"keys/key-03.bin", 572, "63afbac0dc4f4dfeaa8b88e11e66c4f5dd3c1f0bb950374faf3427d686db19fb"},
    {"keys/key-04.bin", 572, "efe9089f409708af130b26902344aa76e138bdf24c3791451107e240f4f405b6"},
    {"keys/key-05.bin", 572, "f2cae6075adae36de05ad2ec018c97d71e23f9e8113fafe56649995d7f5cac63"},
    {"keys/key-06.bin", 572, "44890d9c2f7fb1250e695d2ba1a5634f9e88a5232a2bf47bd95c5dfb85b47c75"},
    {"keys/key-07.bin", 572, "a22db0adf063b8d5c17036d54e7234b6588b846d45dda64436808523e26cc7fd"},
    {"keys/key-08.bin", 572, "3ea2f3949d7a4b510048e459aad0c6e4681990d0118461e9b83947fc5bded7e1"},
    {"keys/key-09.bin", 572, "a626b4849d50d1a3fabfa40ebe017124ef80327a21128466e72c5b2debcb5bcf"},
    {"keys/key-10.bin", 572, "e0dde8efdbf8c08b324e1d88cfa26a9fae13c6da0eb55d9f7f34b6aeab2d784f"},
    {"keys/key-11.bin", 572, "ab5b8130e5475deecc70c3d912273511d3b8db156037a9e40c882c59ff0563ff"},
    {"keys/key-12.bin", 572, "0a3f0fd7074bfb733a844869669e89bfc3558fb32464211e091ff6c2dfe57dd0"},
};

const QByteArray kList =
    "capture-kvr-7.img    capture firmware V1.04.00 of a KVR-7\n"
    "capture-kvr-5b.img   capture firmware V1.04.00 of a KVR-5B\n"
    "main-family-2.bin    external MCU firmware v1.3 of chip family \"2\"\n"
    "main-family-v.bin    external MCU firmware v1.3 of chip family \"v\"\n"
    "hdcp-key.bin         HDCP key of made-up bytes\n"
    "edid-1080p.bin       EDID table of a 1080p60 display, 256 bytes\n"
    "edid-surround.bin    EDID table of a 1080p60 display with 5.1 sound, 384 bytes\n"
    "edid-2160p-hdr.bin   EDID table of a 2160p60 display with HDR, 512 bytes\n";

QByteArray stationList() {
  QByteArray list =
      "capture-kvr-7.img    capture firmware V1.04.00 of a KVR-7\n"
      "edid-surround.bin    EDID table of a 1080p60 display with 5.1 sound, 384 bytes\n"
      "edid-2160p-hdr.bin   EDID table of a 2160p60 display with HDR, 512 bytes\n"
      "main.bin             external MCU firmware v1.3 of chip family \"2\"\n"
      "job.json             what each unit becomes\n";
  for (int number = 1; number <= 12; ++number) {
    list += "keys/key-" + QByteArray::number(number).rightJustified(2, '0') + ".bin      HDCP key of made-up bytes\n";
  }
  return list;
}

/// Also as Windows prints it.
EndedProcess makeSamples(const QStringList& arguments) {
  EndedProcess made = runToEnd(SAMPLES, arguments);
  made.out.replace('\r', "");
  made.err.replace('\r', "");
  return made;
}

void compareFiles(const QString& folder, std::span<const Sample> samples) {
  QStringList expected;
  for (const Sample& sample : samples) {
    expected << sample.name;
    const QByteArray content = contentOf(folder + "/" + sample.name);
    QCOMPARE(content.size(), sample.size);
    QCOMPARE(QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex(), sample.sha256);
  }
  QStringList made;
  for (QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories); files.hasNext();) {
    made << QDir(folder).relativeFilePath(files.next());
  }
  expected.sort();
  made.sort();
  QCOMPARE(made, expected);
}

}  // namespace

/// The program that makes sample files.
class SamplesTest : public QObject {
  Q_OBJECT

  TestFiles files_;

 private slots:
  void allSamplesAreMade() {
    const QString folder = files_.path("new/folder");
    const EndedProcess run = makeSamples({folder});
    QCOMPARE(run.err, "");
    QCOMPARE(run.out, kList);
    QCOMPARE(run.code, 0);
    compareFiles(folder, kSamples);
  }

  void theFilesOfAProductionLineAreMade() {
    const QString folder = files_.path("station");
    const EndedProcess run = makeSamples({"--station", folder});
    QCOMPARE(run.err, "");
    QCOMPARE(run.out, stationList());
    QCOMPARE(run.code, 0);
    compareFiles(folder, kStation);
  }

  void helpListsTheFiles() {
    QByteArray list = "  " + kList;
    list.chop(1);
    list.replace("\n", "\n  ");
    for (const char* option : {"--help", "-h"}) {
      const EndedProcess run = makeSamples({option});
      QCOMPARE(run.code, 0);
      QCOMPARE(run.err, "");
      QCOMPARE(run.out,
               "usage: pellavox-samples [--station] DIRECTORY\n\n"
               "Writes files to try the firmware, key and EDID buttons with into DIRECTORY;\n"
               "with --station, the job of a production line with its files.\n"
               "They are for the simulated device only: never load them into a real one.\n\n" +
                   list + "\n");
    }
  }

  void wrongArgumentsAreOneLine_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("error");
    const QByteArray usage = "usage: pellavox-samples [--station] DIRECTORY\n";
    QTest::newRow("none") << QStringList() << usage;
    QTest::newRow("empty") << QStringList{""} << usage;
    QTest::newRow("two") << QStringList{"one", "two"} << usage;
    QTest::newRow("help and one more") << QStringList{"--help", "there"} << usage;
    QTest::newRow("station and two") << QStringList{"--station", "one", "two"} << usage;
    QTest::newRow("station and none") << QStringList{"--station"} << usage;
    QTest::newRow("station and empty") << QStringList{"--station", ""} << usage;
    for (const char* option : {"--hlep", "-x", "-"}) {
      QTest::newRow(option) << QStringList{option}
                            << QByteArray("pellavox-samples: unknown option ") + option + "; " + usage;
    }
  }

  void wrongArgumentsAreOneLine() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, error);
    const EndedProcess run = makeSamples(arguments);
    QCOMPARE(run.code, 2);
    QCOMPARE(run.out, "");
    QCOMPARE(run.err, error);
  }

  void aFolderThatCannotBeMadeIsOneLine() {
    const QString folder = files_.write("file", "in the way") + "/samples";
    const EndedProcess run = makeSamples({folder});
    QCOMPARE(run.code, 1);
    QCOMPARE(run.out, "");
    QCOMPARE(run.err,
             folder.toUtf8() + ": capture-kvr-7.img cannot be written there; name a directory that can be written\n");
  }

#if defined(__linux__)
  // Of a file so small that only closing it writes it.
  void aFullDiskIsOneLine() {
    QVERIFY(QDir().mkdir(files_.path("full")));
    QVERIFY(QFile::link("/dev/full", files_.path("full/hdcp-key.bin")));
    const EndedProcess run = makeSamples({files_.path("full")});
    QCOMPARE(run.code, 1);
    QCOMPARE(run.out, kList.left(kList.indexOf("hdcp-key.bin")));
    QCOMPARE(run.err, files_.path("full").toUtf8() +
                          ": hdcp-key.bin cannot be written there; name a directory that can be written\n");
  }
#endif
};

QTEST_GUILESS_MAIN(SamplesTest)
#include "samples_test.moc"
