#include "cli/next_command.h"

namespace cli {
namespace {

/// A word that the shell passes on unchanged.
QString quoted(QString word) {
#ifndef _WIN32
  // Between double quotes these have a meaning.
  for (const char letter : {'"', '$', '`', '\\', '!'}) {
    if (word.contains(QLatin1Char(letter))) {
      return '\'' + word.replace('\'', "'\\''") + '\'';
    }
  }
#endif
  return '"' + word + '"';
}

}  // namespace

QString nextCommand(const Run& run, const QString& verb, const QString& path, const QString& expected) {
  const Globals& options = run.options();
  QString command = QStringLiteral("pellavox-cli -d %1 -y").arg(options.model);
  if (!options.library.isEmpty()) {
    command += " --library " + quoted(options.library);
  }
  for (const QString& check : options.forced) {
    command += " --force=" + check;
  }
  if (!options.forced.isEmpty()) {
    command += QStringLiteral(" --confirm=") + kForceWord;
  }
  command += ' ' + verb + ' ' + quoted(path);
  return expected.isEmpty() ? command : command + " --expect " + quoted(expected);
}

}  // namespace cli
