#include "simulator/control/control.h"

#include <QTest>

#include <string>

namespace {

/// What a scenario's error line makes of its name.
QByteArray shown(const QByteArray& name) {
  const QByteArray line = QByteArray::fromStdString(simulator::loadScenario("[]", name.toStdString()));
  return line.left(line.indexOf(":1: the scenario must be an object in braces; "));
}

/// The character between two letters.
QByteArray amid(char32_t code) {
  const char32_t text[] = {U'a', code, U'b'};
  return QString::fromUcs4(text, 3).toUtf8();
}

/// Characters of Unicode that move the cursor, are invisible or change how others are
/// shown.
struct Range {
  const char* name;
  char32_t first;
  char32_t last;
};
constexpr Range kRanges[] = {
    {"C0 controls", 0x01, 0x1F},
    {"delete and C1 controls", 0x7F, 0x9F},
    {"soft hyphen", 0xAD, 0xAD},
    {"Arabic letter mark", 0x061C, 0x061C},
    {"Hangul fillers", 0x115F, 0x1160},
    {"Khmer inherent vowels", 0x17B4, 0x17B5},
    {"Mongolian selectors", 0x180B, 0x180F},
    {"zero width and direction marks", 0x200B, 0x200F},
    {"separators and embeddings", 0x2028, 0x202E},
    {"word joiner to deprecated formats", 0x2060, 0x206F},
    {"variation selectors", 0xFE00, 0xFE0F},
    {"byte order mark", 0xFEFF, 0xFEFF},
    {"interlinear annotations", 0xFFF0, 0xFFFB},
    {"tags", 0xE0000, 0xE0FFF},
};

}  // namespace

/// The one printable line that a scenario's mistake becomes.
class ErrorLineTest : public QObject {
  Q_OBJECT

 private slots:
  void charactersThatAreNotSeenAreReplaced_data() {
    QTest::addColumn<quint32>("first");
    QTest::addColumn<quint32>("last");
    for (const Range& range : kRanges) {
      QTest::newRow(range.name) << quint32{range.first} << quint32{range.last};
    }
  }

  void charactersThatAreNotSeenAreReplaced() {
    QFETCH(quint32, first);
    QFETCH(quint32, last);
    for (const quint32 code : {first, (first + last) / 2, last}) {
      QCOMPARE(shown(amid(code)), "a?b");
    }
    for (const quint32 code : {first - 1, last + 1}) {
      if (code != 0) {
        QCOMPARE(shown(amid(code)), amid(code));
      }
    }
  }

  void everyLengthOfACharacterIsShown_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("last of one byte") << QByteArray("~");
    QTest::newRow("first visible one of two bytes") << QByteArray("\xC2\xA0");
    QTest::newRow("last of two bytes") << QByteArray("\xDF\xBF");
    QTest::newRow("first of three bytes") << QByteArray("\xE0\xA0\x80");
    QTest::newRow("last before the surrogates") << QByteArray("\xED\x9F\xBF");
    QTest::newRow("first behind the surrogates") << QByteArray("\xEE\x80\x80");
    QTest::newRow("last of three bytes") << QByteArray("\xEF\xBF\xBF");
    QTest::newRow("first of four bytes") << QByteArray("\xF0\x90\x80\x80");
    QTest::newRow("second first byte of four") << QByteArray("\xF1\x80\x80\x80");
    QTest::newRow("last of all") << QByteArray("\xF4\x8F\xBF\xBF");
  }

  void everyLengthOfACharacterIsShown() {
    QFETCH(QByteArray, bytes);
    QCOMPARE(shown("a" + bytes + "b"), "a" + bytes + "b");
  }

  void bytesThatAreNotUtf8AreReplacedOneByOne_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("continuation alone") << QByteArray("\x80");
    QTest::newRow("last continuation alone") << QByteArray("\xBF");
    QTest::newRow("ASCII in two bytes") << QByteArray("\xC1\xBF");
    QTest::newRow("three bytes for two") << QByteArray("\xE0\x9F\xBF");
    QTest::newRow("four bytes for three") << QByteArray("\xF0\x8F\xBF\xBF");
    QTest::newRow("first surrogate") << QByteArray("\xED\xA0\x80");
    QTest::newRow("last surrogate") << QByteArray("\xED\xBF\xBF");
    QTest::newRow("behind the last character") << QByteArray("\xF4\x90\x80\x80");
    QTest::newRow("first byte 0xF5") << QByteArray("\xF5\x80\x80\x80");
    QTest::newRow("first byte 0xF7") << QByteArray("\xF7\xBF\xBF\xBF");
    QTest::newRow("first byte 0xF8") << QByteArray("\xF8\xA0\x80\x80");
    QTest::newRow("first byte 0xFF") << QByteArray("\xFF\xA0\x80\x80");
    QTest::newRow("second byte too small") << QByteArray("\xE2\x7F\x80").replace('\x7F', '\xC0');
  }

  void bytesThatAreNotUtf8AreReplacedOneByOne() {
    QFETCH(QByteArray, bytes);
    QCOMPARE(shown("a" + bytes + "b"), "a" + QByteArray(bytes.size(), '?') + "b");
  }

  void aCharacterThatTheTextCutsIsReplaced() {
    QCOMPARE(shown("\xC2"
                   "b"),
             "?b");
    QCOMPARE(shown("\xE2\x82"
                   "b"),
             "??b");
    QCOMPARE(shown("\xF0\x9F\x98"
                   "b"),
             "???b");
  }

  void aLineHasAtMostTwoThousandBytes() {
    const std::string rest = simulator::loadScenario("[]", "");
    const auto line = [](std::size_t letters) { return simulator::loadScenario("[]", std::string(letters, 'a')); };
    QCOMPARE(line(2000 - rest.size()), std::string(2000 - rest.size(), 'a') + rest);
    QCOMPARE(line(2001 - rest.size()), (std::string(2001 - rest.size(), 'a') + rest).substr(0, 2000) + "...");
    QCOMPARE(line(5000), std::string(2000, 'a') + "...");
  }
};

QTEST_GUILESS_MAIN(ErrorLineTest)
#include "error_line_test.moc"
