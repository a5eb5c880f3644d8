#include "app/standard_streams.h"
#include "tests/support/program_run.h"

#include <QTest>

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace {

enum class Stream { kOpen, kClosed, kUnread, kFull };

/// A process whose standard error is closed, unread or full.
class OddProcess : public QProcess {
 public:
  explicit OddProcess(Stream errors) : errors_(errors) {}

 protected:
  void setupChildProcess() override {
    if (errors_ == Stream::kClosed) {
      ::close(STDERR_FILENO);
    } else if (errors_ == Stream::kUnread) {
      std::array<int, 2> ends{};
      if (::pipe(ends.data()) != 0) {
        ::_exit(99);
      }
      ::close(ends[0]);
      ::dup2(ends[1], STDERR_FILENO);
    } else if (errors_ == Stream::kFull) {
      ::dup2(::open("/dev/full", O_WRONLY), STDERR_FILENO);
    }
  }

 private:
  Stream errors_;
};

}  // namespace

/// The real program when nobody reads its output.
class ClosedStreamsTest : public QObject {
  Q_OBJECT

 private slots:
  void theProgramContinuesWhenNobodyReadsItsOutput_data() {
    QTest::addColumn<int>("errors");
    QTest::newRow("as usual") << int(Stream::kOpen);
    QTest::newRow("closed") << int(Stream::kClosed);
    QTest::newRow("pipe that nobody reads") << int(Stream::kUnread);
    QTest::newRow("full device") << int(Stream::kFull);
  }

  void theProgramContinuesWhenNobodyReadsItsOutput() {
    QFETCH(int, errors);
    OddProcess process(static_cast<Stream>(errors));
    // The worker prints when it starts and when it ends.
    process.setProcessEnvironment(scriptEnvironment(PLUGINS,
                                                    "click BN_Apply_ExtMCU_QX;wait 50;click BN_Apply_ExtMCU_QX;wait 50;"
                                                    "click BN_Connect;print LB_Message;close"));
    process.start(PROGRAM, QStringList());
    QVERIFY(process.waitForFinished(60'000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardOutput(), QByteArray("LB_Message=Device Connected\n"));
  }

  void noFileGetsTheNumberOfAClosedStream_data() {
    QTest::addColumn<int>("stream");
    QTest::newRow("input") << STDIN_FILENO;
    QTest::newRow("output") << STDOUT_FILENO;
    QTest::newRow("errors") << STDERR_FILENO;
  }

  void noFileGetsTheNumberOfAClosedStream() {
    QFETCH(int, stream);
    const int saved = ::dup(stream);
    ::close(stream);
    secureStandardStreams();
    const int next = ::open("/dev/null", O_RDONLY);
    ::dup2(saved, stream);
    ::close(saved);
    QVERIFY(next > STDERR_FILENO);
    ::close(next);
  }
};

QTEST_GUILESS_MAIN(ClosedStreamsTest)
#include "closed_streams_test.moc"
