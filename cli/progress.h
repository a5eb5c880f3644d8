#pragma once

#include "cli/run.h"

namespace cli {

/// Shows on standard error how far something is: a line that is redrawn on a
/// terminal; else a line every 10 % or 5 s, or JSON lines. Ends its line when it
/// goes.
class Progress {
 public:
  /// @param what for example "Burning"
  Progress(const Run& run, QString what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// @param percent 0 to 100; anything else is cut to that
  void show(int percent);
  /// Prints another text meanwhile, on its own line.
  void hint(Run& run, const QString& text);

 private:
  QByteArray bar(int percent) const;
  void write(const QByteArray& bytes) const { run_.console().err(bytes); }

  const Run& run_;
  QString what_;
  ProgressMode mode_;
  int shown_ = -1;  // percent
  std::chrono::steady_clock::time_point shownAt_;
};

}  // namespace cli
