#include "station/display.h"

#include "device/printable.h"

#include <array>
#include <string_view>

namespace station {
namespace {

constexpr int kRows = 7;
constexpr int kColumns = 5;
constexpr char16_t kBlock = u'\u2588';

struct Letter {
  char letter = 0;
  std::array<std::string_view, kRows> rows;
};

// clang-format off
constexpr std::array kLetters{
    Letter{'A', {" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"}},
    Letter{'B', {"#### ", "#   #", "#   #", "#### ", "#   #", "#   #", "#### "}},
    Letter{'D', {"#### ", "#   #", "#   #", "#   #", "#   #", "#   #", "#### "}},
    Letter{'E', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"}},
    Letter{'F', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#    "}},
    Letter{'I', {" ### ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    Letter{'L', {"#    ", "#    ", "#    ", "#    ", "#    ", "#    ", "#####"}},
    Letter{'M', {"#   #", "## ##", "# # #", "# # #", "#   #", "#   #", "#   #"}},
    Letter{'O', {" ### ", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "}},
    Letter{'P', {"#### ", "#   #", "#   #", "#### ", "#    ", "#    ", "#    "}},
    Letter{'R', {"#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #"}},
    Letter{'S', {" ####", "#    ", "#    ", " ### ", "    #", "    #", "#### "}},
    Letter{'T', {"#####", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  "}},
    Letter{'U', {"#   #", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "}},
};
// clang-format on

QString rowOf(QChar letter, int row) {
  for (const Letter& known : kLetters) {
    if (QChar::fromLatin1(known.letter) == letter) {
      return QLatin1String(known.rows[static_cast<std::size_t>(row)].data(), kColumns);
    }
  }
  return {kColumns, QChar(u' ')};
}

const char* colourOf(UnitResult result) {
  switch (result) {
    case UnitResult::kPass:
      return "\033[1;32m";  // green
    case UnitResult::kAborted:
      return "\033[1;33m";  // yellow
    default:
      return "\033[1;31m";  // red
  }
}

}  // namespace

QStringList bigLetters(const QString& word) {
  QStringList lines;
  for (int row = 0; row < kRows; ++row) {
    QString line;
    for (const QChar letter : word) {
      // Twice as wide, as the letters of a terminal are narrow.
      for (const QChar point : rowOf(letter, row) + u' ') {
        line += QString(2, point == u'#' ? QChar(kBlock) : QChar(u' '));
      }
    }
    lines << line << line;
  }
  return lines;
}

void Display::writeLine(const QString& text) { write_(device::printable(text).toUtf8() + '\n'); }

void Display::endProgress() {
  if (shown_ >= 0) {
    write_("\r\033[K");
    shown_ = -1;
  }
}

void Display::say(const QString& line) {
  if (!kind_.isQuiet) {
    warn(line);
  }
}

void Display::warn(const QString& line) {
  endProgress();
  writeLine(line);
}

void Display::progress(const QString& what, int percent) {
  if (!kind_.isTerminal || kind_.isQuiet || percent == shown_) {
    return;
  }
  shown_ = percent;
  write_('\r' + device::printable(what).toUtf8() + ": " + QByteArray::number(percent) + " %\033[K");
}

void Display::verdict(UnitResult result, const QString& unit, const QString& reason, const QString& sentence) {
  endProgress();
  const QString line = reason.isEmpty() ? QStringLiteral("%1  %2").arg(nameOf(result), unit)
                                        : QStringLiteral("%1  %2: %3").arg(nameOf(result), unit, reason);
  if (!kind_.isTerminal) {
    writeLine(line);
    writeLine(sentence);
    return;
  }
  QByteArray text = "\n";
  if (kind_.usesColour) {
    text += colourOf(result);
  }
  for (const QString& row : bigLetters(nameOf(result))) {
    text += row.toUtf8() + '\n';
  }
  if (kind_.usesColour) {
    text += "\033[0m";
  }
  // Twice for a unit that did not pass, so that nobody has to look.
  text += result == UnitResult::kPass ? "\a\n" : "\a\a\n";
  write_(text);
  writeLine(line);
  writeLine(sentence);
  write_("\n");
}

void Display::ask(const QString& question) {
  endProgress();
  if (kind_.isTerminal) {
    write_(device::printable(question).toUtf8() + ' ');
  } else {
    writeLine(question);
  }
}

}  // namespace station
