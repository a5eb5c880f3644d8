#include "cli/progress.h"

#include <algorithm>

namespace cli {
namespace {

using namespace std::chrono_literals;

constexpr int kBarLetters = 30;
constexpr int kPercentPerLine = 10;
constexpr auto kLongestSilence = 5s;

ProgressMode modeFor(const Run& run) {
  const Globals& options = run.options();
  if (options.quiet) {
    return ProgressMode::kNone;
  }
  if (options.progress != ProgressMode::kAuto) {
    return options.progress;
  }
  return run.console().showsErrorsAtTerminal ? ProgressMode::kBar : ProgressMode::kLines;
}

}  // namespace

// A line that a narrow terminal breaks cannot be redrawn.
QByteArray Progress::bar(int percent) const {
  constexpr int kShortest = 5;
  const int others = static_cast<int>(what_.size()) + 10;  // " [] 100 %", and the cursor
  const int letters = std::min(kBarLetters, run_.console().columns - others);
  if (letters < kShortest) {
    return {};
  }
  const int filled = percent * letters / 100;
  return " [" + QByteArray(filled, '#') + QByteArray(letters - filled, '.') + ']';
}

Progress::Progress(const Run& run, QString what)
    : run_(run), what_(std::move(what)), mode_(modeFor(run)), shownAt_(run.console().now()) {}

Progress::~Progress() {
  if (mode_ == ProgressMode::kBar && shown_ >= 0) {
    write("\n");
  }
}

void Progress::hint(Run& run, const QString& text) {
  if (mode_ == ProgressMode::kBar && shown_ >= 0) {
    write("\n");
    shown_ = -1;  // the next one draws a new bar
  }
  run.hint(text);
}

void Progress::show(int percent) {
  percent = std::clamp(percent, 0, 100);
  if (mode_ == ProgressMode::kNone || percent == shown_) {
    return;
  }
  const auto now = run_.console().now();
  if (mode_ == ProgressMode::kBar) {
    write('\r' + what_.toUtf8() + bar(percent) + QByteArray::number(percent).rightJustified(4) + " %");
  } else if (mode_ == ProgressMode::kJson) {
    Value line;
    line.set("progress", percent);
    line.set("step", what_);
    write(line.json(true) + '\n');
  } else if (shown_ < 0 || percent == 100 || percent / kPercentPerLine != shown_ / kPercentPerLine ||
             now - shownAt_ >= kLongestSilence) {
    write(what_.toUtf8() + ": " + QByteArray::number(percent) + " %\n");
  } else {
    return;
  }
  shown_ = percent;
  shownAt_ = now;
}

}  // namespace cli
