#pragma once

#include "tests/support/test_files.h"

#include <QProcess>

#include <clocale>
#include <cstdio>
#include <string>

/// A locale whose decimal point is a comma. The system may have none installed, so
/// that it is made from its source; on Windows one comes with the system.
class CommaLocale {
 public:
  CommaLocale() {
#ifndef Q_OS_WIN
    const QString source = files_.write("source",
                                        "LC_NUMERIC\n"
                                        "decimal_point \"<U002C>\"\n"
                                        "thousands_sep \"\"\n"
                                        "grouping -1\n"
                                        "END LC_NUMERIC\n");
    // -c: without the other categories, of which it warns.
    QProcess::execute("sh",
                      {"-c", "localedef --no-archive -c -i \"$0\" \"$1\" 2>/dev/null", source, files_.path(kName)});
#endif
  }

  /// For programs that are started. Other categories than numbers stay as they are.
  QProcessEnvironment environment(QProcessEnvironment from = QProcessEnvironment::systemEnvironment()) const {
    from.remove("LC_ALL");
    from.insert("LC_NUMERIC", kName);
    from.insert("LOCPATH", files_.folder());
    return from;
  }

  /// Sets this process's locale while it exists.
  class InUse {
   public:
    explicit InUse(const CommaLocale& locale) : before_(std::setlocale(LC_NUMERIC, nullptr)) {
      qputenv("LOCPATH", locale.files_.folder().toLocal8Bit());
      std::setlocale(LC_NUMERIC, kName);
    }
    Q_DISABLE_COPY_MOVE(InUse)
    ~InUse() {
      std::setlocale(LC_NUMERIC, before_.c_str());
      qunsetenv("LOCPATH");
    }

    /// Whether the system knows the locale.
    static bool works() {
      char text[8];
      std::snprintf(text, sizeof text, "%.1f", 1.5);
      return std::string(text) == "1,5";
    }

   private:
    std::string before_;
  };

 private:
#ifdef Q_OS_WIN
  static constexpr const char* kName = "German";
#else
  static constexpr const char* kName = "commas";
#endif
  TestFiles files_;
};
