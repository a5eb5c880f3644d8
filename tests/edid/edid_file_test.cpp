#include "edid/edid_file.h"

#include "tests/support/test_files.h"

#include <QFile>
#include <QTest>

#include <array>

#if defined(Q_OS_UNIX)
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#endif

class EdidFileTest : public QObject {
  Q_OBJECT

  TestFiles directory_;

  QString path(const char* name) const { return directory_.path(QLatin1String(name)); }

 private slots:
  void atMostTheFirst512BytesAreRead_data() {
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 100, 256, 511, 512, 513, 600, 100'000}) {
      QTest::newRow(qPrintable(QString::number(size))) << size;
    }
  }

  void atMostTheFirst512BytesAreRead() {
    QFETCH(int, size);
    QByteArray content(size, '\0');
    for (int i = 0; i < size; ++i) {
      content[i] = static_cast<char>(i * 3);
    }
    QVERIFY(edid::readTable(directory_.write("table.bin", content)) == content.left(512));
  }

  // Sparse: only its length is huge.
  void aHugeFileCostsNoMoreThanItsBeginning() {
    QFile file(directory_.write("huge.bin", "begin"));
    QVERIFY(file.resize(Q_INT64_C(1) << 38));
    QVERIFY(edid::readTable(file.fileName()) == QByteArray("begin") + QByteArray(507, '\0'));
    QVERIFY(file.remove());
  }

  void onlyAReadableFileGivesATable() {
    QVERIFY(!edid::readTable(path("missing.bin")));
    QVERIFY(!edid::readTable(directory_.folder()));
    QVERIFY(!edid::readTable(QString()));
#if defined(Q_OS_LINUX)
    // Can be opened, but not read at its beginning.
    QVERIFY(QFile("/proc/self/mem").open(QIODevice::ReadOnly));
    QVERIFY(!edid::readTable("/proc/self/mem"));
#endif
#if defined(Q_OS_UNIX)
    // Opening a pipe without a writer would block for ever.
    QCOMPARE(mkfifo(qPrintable(path("pipe.bin")), 0600), 0);
    QVERIFY(!edid::readTable(path("pipe.bin")));
#endif
  }

  void aTableIsWrittenByteForByte() {
    std::array<std::uint8_t, 512> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
      table[i] = static_cast<std::uint8_t>(i);
    }
    QFile file(path("written.bin"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    QVERIFY(edid::writeTable(file, table));
    file.close();
    QCOMPARE(contentOf(file.fileName()), QByteArray(reinterpret_cast<const char*>(table.data()), 512));
  }

#if defined(Q_OS_UNIX)
  void aFileThatCannotTakeTheTableIsEmptied() {
    const std::array<std::uint8_t, 512> table{1, 2, 3};
    QFile file(path("full.bin"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit little = before;
    little.rlim_cur = 100;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &little), 0);
    const bool written = edid::writeTable(file, table);
    file.close();
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    QVERIFY(!written);
    QVERIFY(file.exists());
    QCOMPARE(file.size(), 0);
  }
#endif
};

QTEST_GUILESS_MAIN(EdidFileTest)
#include "edid_file_test.moc"
