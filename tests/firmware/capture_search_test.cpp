#include "firmware/capture_image.h"

#include <QTemporaryFile>
#include <QTest>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

constexpr qint64 kKiB = 1024;
const QByteArray kText("KVR-7");

/// A file that may report a wrong size, return short reads or never end. Keeps track
/// of what is read.
class WatchedFile : public QFile {
 public:
  explicit WatchedFile(const QString& path) : QFile(path) {
    if (!open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
      qFatal("%s cannot be read", qPrintable(path));
    }
  }

  qint64 toldSize = -1;    // -1 = the true size
  qint64 pieceEnd = 0;     // reads stop at multiples of this; 0 = they are as long as requested
  bool isEndless = false;  // endless zeros instead of the content
  qint64 bytesRead = 0;
  bool readsTwice = false;
  bool seeksBack = false;

  qint64 size() const override { return toldSize >= 0 ? toldSize : QFile::size(); }

  bool seek(qint64 place) override {
    seeksBack = seeksBack || place < pos();
    return QFile::seek(place);
  }

 protected:
  qint64 readData(char* bytes, qint64 length) override {
    const qint64 place = pos();
    // Stops a search that would never end, so that the test can fail.
    if (place < read_ || reads_++ > 100'000) {
      readsTwice = true;
      return -1;
    }
    const qint64 wanted = pieceEnd > 0 ? std::min(length, pieceEnd - place % pieceEnd) : length;
    qint64 got = wanted;
    if (isEndless) {
      std::fill_n(bytes, wanted, '\0');
    } else {
      got = QFile::readData(bytes, wanted);
    }
    read_ = place + std::max(qint64{0}, got);
    bytesRead += std::max(qint64{0}, got);
    return got;
  }

 private:
  qint64 read_ = 0;  // end of the last read
  int reads_ = 0;
};

QString madeFile(QTemporaryFile& file, const QByteArray& content) {
  if (!file.open() || file.write(content) != content.size() || !file.flush()) {
    qFatal("no temporary file can be written");
  }
  return file.fileName();
}

}  // namespace

/// The search in sparse, endless and otherwise unusual files.
class CaptureSearchTest : public QObject {
  Q_OBJECT

 private slots:
  void aFileLargerThanItReportsIsSearchedToItsEnd_data() {
    QTest::addColumn<qint64>("told");
    QTest::addColumn<int>("place");
    const int size = 600 * kKiB;
    for (const qint64 told : {qint64{0}, qint64{1}, 100 * kKiB, 256 * kKiB + 4, qint64{size} - 1, 5000 * kKiB}) {
      for (const int place : {-1, 0, 100 * int{kKiB} - 2, 300 * int{kKiB}, size - int(kText.size())}) {
        QTest::addRow("%lld bytes told, text at %d", static_cast<long long>(told), place) << told << place;
      }
    }
  }

  void aFileLargerThanItReportsIsSearchedToItsEnd() {
    QFETCH(qint64, told);
    QFETCH(int, place);
    QByteArray content(600 * int{kKiB}, 'x');
    if (place >= 0) {
      content.replace(place, kText.size(), kText);
    }
    QTemporaryFile file;
    WatchedFile image(madeFile(file, content));
    image.toldSize = told;
    QCOMPARE(firmware::containsText(image, kText), place >= 0);
    QVERIFY2(!image.readsTwice, "a byte was read twice");
    QVERIFY2(!image.seeksBack, "the search went back");
    QVERIFY(image.bytesRead <= content.size());
  }

  void anEndlessFileIsGivenUp() {
    QTemporaryFile file;
    WatchedFile image(madeFile(file, QByteArray()));
    image.toldSize = 0;
    image.isEndless = true;
    QVERIFY(!firmware::containsText(image, kText));
    QVERIFY(image.bytesRead > 64 * kKiB * kKiB);
    QVERIFY(image.bytesRead < 66 * kKiB * kKiB);
  }

  void halvesAroundAHoleDoNotMatch_data() {
    QTest::addColumn<int>("before");
    for (int before = 1; before < kText.size(); ++before) {
      QTest::addRow("%d letters before it", before) << before;
    }
  }

  void halvesAroundAHoleDoNotMatch() {
    QFETCH(int, before);
    constexpr qint64 kEdge = 64 * kKiB;
    QTemporaryFile file;
    QVERIFY(file.open() && file.resize(20 * kEdge));
    QVERIFY(file.seek(kEdge - before) && file.write(kText.left(before)) == before);
    QVERIFY(file.seek(16 * kEdge) && file.write(kText.mid(before)) == kText.size() - before && file.flush());
    WatchedFile image(file.fileName());
    image.pieceEnd = kEdge;  // some file systems read no further than the hole
    QVERIFY(!firmware::containsText(image, kText));
    QVERIFY(!image.readsTwice);

    // A whole text behind a hole is found.
    QVERIFY(file.seek(18 * kEdge) && file.write(kText) == kText.size() && file.flush());
    WatchedFile again(file.fileName());
    again.pieceEnd = kEdge;
    QVERIFY(firmware::containsText(again, kText));
  }

#if defined(Q_OS_LINUX)  // elsewhere no file with a size of 0 has content
  void theEnvironmentOfAProcessIsSearched_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("found");
    QTest::newRow("found") << QByteArray("PATH=") << true;
    QTest::newRow("not found") << QByteArray("no such text \x01") << false;
  }

  void theEnvironmentOfAProcessIsSearched() {
    QFETCH(QByteArray, text);
    QFETCH(bool, found);
    WatchedFile environment("/proc/self/environ");
    QCOMPARE(environment.size(), qint64{0});
    QCOMPARE(firmware::containsText(environment, text), found);
    QVERIFY(!environment.readsTwice);
    QVERIFY(!environment.seeksBack);
  }
#endif
};

QTEST_APPLESS_MAIN(CaptureSearchTest)
#include "capture_search_test.moc"
