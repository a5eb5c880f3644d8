#include "device/printable.h"

#include <QTest>

#include <array>

/// Which characters of a foreign text reach a terminal.
class PrintableTest : public QObject {
  Q_OBJECT

 private slots:
  void onlyTheseRangesAreUnprintable() {
    constexpr auto kRanges = std::to_array<std::array<int, 2>>({
        {0x0000, 0x001F},  // controls, C0
        {0x007F, 0x009F},  // delete, and the controls C1
        {0x00AD, 0x00AD},  // soft hyphen
        {0x061C, 0x061C},  // Arabic letter mark
        {0x200B, 0x200F},  // spaces without width, direction marks
        {0x2028, 0x202E},  // separators, embeddings, overrides
        {0x2060, 0x206F},  // word joiner, isolates
        {0xFEFF, 0xFEFF},  // byte order mark
        {0xFFF9, 0xFFFB},  // interlinear annotations
    });
    for (int code = 0; code <= 0xFFFF; ++code) {
      bool isInARange = false;
      for (const auto& [first, last] : kRanges) {
        isInARange = isInARange || (code >= first && code <= last);
      }
      QVERIFY2(device::isUnprintable(static_cast<char16_t>(code)) == isInARange, QByteArray::number(code, 16));
    }
  }

  // By Unicode's own data, so that no control is forgotten and no letter lost.
  void controlsAndSeparatorsAreUnprintableAndLettersAreNot() {
    for (int code = 0; code <= 0xFFFF; ++code) {
      const QChar letter(static_cast<char16_t>(code));
      const QChar::Category category = letter.category();
      const bool isUnprintable = device::isUnprintable(letter.unicode());
      if (category == QChar::Other_Control || category == QChar::Separator_Line ||
          category == QChar::Separator_Paragraph) {
        QVERIFY2(isUnprintable, QByteArray::number(code, 16));
      }
      if (letter.isLetterOrNumber() || letter.isPunct() || letter.isSymbol() || letter.isMark()) {
        QVERIFY2(!isUnprintable, QByteArray::number(code, 16));
      }
    }
  }

  void aTextIsShownWithWhatCannotBeShownSpelledOut_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* name, const QString& text, const QString& shown) {
      QTest::newRow(name) << text << shown;
    };
    row("nothing", QString(), QString());
    row("letters", QStringLiteral("aÄ 漢"), QStringLiteral("aÄ 漢"));
    row("line feed", QStringLiteral("a\nb"), QStringLiteral("a\\u000ab"));
    row("NUL", QString(QChar(0)), QStringLiteral("\\u0000"));
    row("override", QString(QChar(0x202E)) + "x", QStringLiteral("\\u202ex"));
    row("pair of surrogates", QString::fromUtf8("a\xF0\x9F\x98\x80z"), QString::fromUtf8("a\xF0\x9F\x98\x80z"));
    row("pair at the end", QString::fromUtf8("\xF0\x9F\x98\x80"), QString::fromUtf8("\xF0\x9F\x98\x80"));
    row("first half alone", QString(QChar(0xD83D)) + "x", QString(QChar(0xFFFD)) + "x");
    row("first half at the end", "x" + QString(QChar(0xD83D)), "x" + QString(QChar(0xFFFD)));
    row("second half alone", QString(QChar(0xDE00)) + "x", QString(QChar(0xFFFD)) + "x");
    row("two first halves", QString(2, QChar(0xD83D)), QString(2, QChar(0xFFFD)));
  }

  void aTextIsShownWithWhatCannotBeShownSpelledOut() {
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(device::printable(text), shown);
  }
};

QTEST_GUILESS_MAIN(PrintableTest)
#include "printable_test.moc"
