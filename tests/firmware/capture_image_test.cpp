#include "firmware/capture_image.h"

#include "tests/support/peak_memory.h"

#include <QTemporaryFile>
#include <QTest>

#include <random>

namespace {

constexpr qint64 kKiB = 1024;
constexpr qint64 kMiB = 1024 * kKiB;
const QByteArray kText("KVR-7");

/// Whether a file with this content contains the text.
bool isFoundIn(const QByteArray& content, const QByteArray& text = kText) {
  QTemporaryFile file;
  if (!file.open() || file.write(content) != content.size()) {
    qFatal("no temporary file can be written");
  }
  file.close();
  QFile image(file.fileName());
  return image.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && firmware::containsText(image, text);
}

/// `unit` repeated up to `size` bytes.
QByteArray filled(qint64 size, const QByteArray& unit) {
  return unit.repeated(static_cast<int>(size / unit.size() + 1)).left(static_cast<int>(size));
}

/// A large file in which a test changes single bytes.
class Image {
 public:
  explicit Image(const QByteArray& content) {
    if (!file_.open() || file_.write(content) != content.size() || !file_.flush()) {
      qFatal("no temporary file can be written");
    }
  }
  void put(qint64 offset, const QByteArray& bytes) {
    file_.seek(offset);
    file_.write(bytes);
    file_.flush();
  }
  bool contains(const QByteArray& text) const {
    QFile image(file_.fileName());
    return image.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && firmware::containsText(image, text);
  }

 private:
  QTemporaryFile file_;
};

}  // namespace

class CaptureImageTest : public QObject {
  Q_OBJECT

 private slots:
  void eachModelHasItsText_data() {
    QTest::addColumn<std::uint32_t>("vid");
    QTest::addColumn<std::uint32_t>("pid");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("KVR-7") << 0x5C19U << 0x6B03U << QByteArray("KVR-7");
    QTest::newRow("KVR-5B") << 0x5C19U << 0x6B02U << QByteArray("KVR-5");
    QTest::newRow("other product") << 0x5C19U << 0x6B01U << QByteArray();
    QTest::newRow("other vendor") << 0x5C18U << 0x6B03U << QByteArray();
    QTest::newRow("exchanged") << 0x6B03U << 0x5C19U << QByteArray();
    QTest::newRow("wider than USB ids") << 0x15C19U << 0x6B03U << QByteArray();
    QTest::newRow("none") << 0U << 0U << QByteArray();
  }

  void eachModelHasItsText() {
    QFETCH(std::uint32_t, vid);
    QFETCH(std::uint32_t, pid);
    QFETCH(QByteArray, text);
    QCOMPARE(firmware::modelText({vid, pid}).value_or(QByteArray()), text);
    QCOMPARE(firmware::modelText({vid, pid}).has_value(), !text.isEmpty());
  }

  void theTextIsFoundWhereverItIs_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("found");
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("only the text") << kText << true;
    QTest::newRow("all but its end") << QByteArray("KVR-") << false;
    QTest::newRow("all but its beginning") << QByteArray("VR-7") << false;
    QTest::newRow("first byte") << kText + QByteArray(1000, '\0') << true;
    QTest::newRow("very end") << QByteArray(1000, '\0') + kText << true;
    QTest::newRow("absent") << QByteArray(1000, '\xFF') << false;
    QTest::newRow("other model") << QByteArray(100, '\0') + "KVR-5" + QByteArray(100, '\0') << false;
    QTest::newRow("both models") << QByteArray("KVR-5\0KVR-7", 11) << true;
    QTest::newRow("longer name") << QByteArray("KVR-7B") << true;
    QTest::newRow("other case") << QByteArray("kvr-7") << false;
    QTest::newRow("16-bit letters") << QByteArray("K\0V\0R\0-\0007\0", 10) << false;
    QTest::newRow("after its own beginning") << QByteArray("KVR-KVR-KVR-7") << true;
    // The search reads 256 KiB at a time and keeps the last four bytes.
    QByteArray piece(4 + 256 * 1024, 'x');
    piece[8] = '7';
    QTest::newRow("its end in what the piece before left") << piece + "KVR-" << false;
    QTest::newRow("beginnings only") << filled(1000, "KVR-") << false;
  }

  void theTextIsFoundWhereverItIs() {
    QFETCH(QByteArray, content);
    QFETCH(bool, found);
    QCOMPARE(isFoundIn(content), found);
  }

  void theTextIsFoundAcrossEveryBoundary_data() {
    QTest::addColumn<QByteArray>("filler");
    QTest::addColumn<bool>("everyBoundary");
    QTest::newRow("zeros") << QByteArray(1, '\0') << false;
    QTest::newRow("erased flash") << QByteArray(1, '\xFF') << true;
    QTest::newRow("beginnings of the text") << QByteArray("KVR-") << false;
  }

  void theTextIsFoundAcrossEveryBoundary() {
    QFETCH(QByteArray, filler);
    QFETCH(bool, everyBoundary);
    const QByteArray content = filled(kMiB + 8 * kKiB, filler);
    Image image(content);
    QVERIFY(!image.contains(kText));
    const auto isFoundAt = [&](qint64 offset) {
      image.put(offset, kText);
      const bool found = image.contains(kText);
      image.put(offset, content.mid(static_cast<int>(offset), kText.size()));
      return found;
    };
    for (qint64 boundary = 4 * kKiB; boundary < content.size(); boundary += 4 * kKiB) {
      const bool isLargerBoundary = boundary % (64 * kKiB) == 0;
      for (qint64 before = 0; before <= kText.size(); ++before) {
        // All offsets near larger boundaries; near the others, one offset in turn.
        if (isLargerBoundary || (everyBoundary && before == 1 + boundary / (4 * kKiB) % 4)) {
          QVERIFY2(isFoundAt(boundary - before), qPrintable(QString::number(boundary - before)));
        }
      }
    }
    QVERIFY(!image.contains(kText));
  }

  void halvesOfTheTextAroundABoundaryDoNotMatch() {
    Image image(QByteArray(static_cast<int>(kMiB + 8 * kKiB), '\0'));
    for (qint64 boundary = 4 * kKiB; boundary <= kMiB; boundary += 4 * kKiB) {
      image.put(boundary - 4, "KVR-");
      image.put(boundary + 1, "7");
    }
    QVERIFY(!image.contains(kText));
  }

  void theResultEqualsASearchInMemory() {
    const QByteArray letters("KVR-75\0", 7);
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> letter(0, static_cast<int>(letters.size()) - 1);
    int found = 0;
    for (int run = 0; run < 300; ++run) {
      // Some are about as long as one read, give or take a few bytes.
      const int around = run % 10 == 0 ? 256 * 1024 : 0;
      const int size = around + std::uniform_int_distribution<int>(0, around != 0 ? 12 : 3000)(random);
      QByteArray content(size, '\0');
      for (int i = std::max(0, size - 3000); i < size; ++i) {
        content[i] = letters[letter(random)];
      }
      QCOMPARE(isFoundIn(content), content.contains(kText));
      found += content.contains(kText) ? 1 : 0;
    }
    QVERIFY2(found > 10 && found < 290, "the contents are too much alike");
  }

  void aTextOfAnyLengthIsFoundWhereItIs() {
    const QByteArray whole = "KVR-7B0-KVR";
    for (int size = 1; size <= whole.size(); ++size) {
      const QByteArray text = whole.left(size);
      for (const int before : {0, 1, 1023, 1024, 1025 - size, 2048 - size}) {
        const QByteArray content = QByteArray(before, '\xFF') + text;
        QVERIFY(isFoundIn(content, text));
        QVERIFY(!isFoundIn(content.chopped(1), text));
      }
    }
  }

  void aSparseFileOfTwoGigabytesIsSearchedInLittleMemory() {
    constexpr qint64 kSize = 2048 * kMiB;
    QTemporaryFile file;
    QVERIFY(file.open());
    if (!file.resize(kSize)) {
      QSKIP("no sparse file of this size can be made here");
    }
    const auto search = [&] {
      QFile image(file.fileName());
      return image.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && firmware::containsText(image, kText);
    };
    const auto before = peakMemoryKiB();
    QVERIFY(!search());

    // Off the file system's block boundaries, so that holes remain around it.
    for (const qint64 offset : {kSize - kText.size(), kSize / 2 - 2, qint64{0}}) {
      file.seek(offset);
      file.write(kText);
      file.flush();
      QVERIFY(search());
      file.seek(offset);
      file.write(QByteArray(kText.size(), '\0'));
      file.flush();
      QVERIFY(!search());
    }
    if (before) {
      QVERIFY2(*peakMemoryKiB() - *before < 64L * 1024, "peak memory grew by 64 MiB or more");
    }
  }

  void dataBetweenHolesIsSearchedFromItsFirstToItsLastByte() {
    constexpr qint64 kBlock = 64 * kKiB;
    for (const qint64 offset : {qint64{0}, kBlock - kText.size()}) {
      QTemporaryFile file;
      QVERIFY(file.open());
      QVERIFY(file.resize(20 * kBlock));
      for (const qint64 block : {qint64{2}, qint64{12}}) {
        file.seek(block * kBlock);
        file.write(QByteArray(static_cast<int>(kBlock), 'K'));
      }
      file.seek(12 * kBlock + offset);
      file.write(kText);
      file.flush();
      QFile image(file.fileName());
      QVERIFY(image.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
      QVERIFY(firmware::containsText(image, kText));
    }
  }

  void anUnreadableFileDoesNotContainTheText() {
#if defined(Q_OS_LINUX)
    // Can be opened, but nothing is mapped at its beginning.
    QFile image("/proc/self/mem");
    QVERIFY(image.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    QVERIFY(!firmware::containsText(image, kText));
    QVERIFY(image.error() != QFileDevice::NoError);
#else
    QSKIP("needs a file that opens but cannot be read");
#endif
  }

  void aFileWithoutASizeIsReadToItsEnd() {
#if defined(Q_OS_LINUX)
    QFile file("/proc/self/status");
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    QCOMPARE(file.size(), qint64{0});
    QVERIFY(firmware::containsText(file, "VmHWM:"));
#else
    QSKIP("needs a file that tells no size");
#endif
  }
};

QTEST_APPLESS_MAIN(CaptureImageTest)
#include "capture_image_test.moc"
