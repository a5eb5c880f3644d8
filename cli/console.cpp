#include "cli/console.h"

#include "cli/interruption.h"
#include "device/library_name.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStringList>

#include <cstdio>
#include <thread>
#include <tuple>

#ifdef _WIN32
#include <windows.h>
// After windows.h.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#else
#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace cli {
namespace {

#ifdef _WIN32
bool isTerminal(FILE* file) { return _isatty(_fileno(file)) != 0; }

std::optional<int> terminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) {
    return std::nullopt;
  }
  return info.srWindow.Right - info.srWindow.Left + 1;
}
#else
bool isTerminal(FILE* file) { return isatty(fileno(file)) != 0; }

std::optional<int> terminalColumns() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return std::nullopt;
  }
  return size.ws_col;
}
#endif

bool writeWhole(FILE* file, const QByteArray& bytes) {
  const auto size = static_cast<std::size_t>(bytes.size());
  return std::fwrite(bytes.constData(), 1, size, file) == size && std::fflush(file) == 0;
}

std::optional<QString> typedLine() {
  QByteArray line;
  for (int letter = std::getc(stdin); letter != '\n'; letter = std::getc(stdin)) {
    if (letter == EOF) {
      return line.isEmpty() ? std::nullopt : std::optional(QString::fromLocal8Bit(line));
    }
    line += static_cast<char>(letter);
  }
  return QString::fromLocal8Bit(line);
}

QByteArray wholeInput() {
  QFile input;
  return input.open(stdin, QIODevice::ReadOnly) ? input.readAll() : QByteArray();
}

}  // namespace

void occupyClosedStreams() {
#ifndef _WIN32
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) {
      // Takes the lowest free number. Writing to it fails, as to a closed one.
      std::ignore = open("/dev/null", O_RDONLY);
    }
  }
#endif
}

Console processConsole() {
#ifdef _WIN32
  SetConsoleOutputCP(CP_UTF8);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  _setmode(_fileno(stdin), _O_BINARY);
#else
  // A reader that went away shows as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
#endif
  Console console;
  console.out = [](const QByteArray& bytes) { return writeWhole(stdout, bytes); };
  console.err = [](const QByteArray& bytes) { writeWhole(stderr, bytes); };
  console.readLine = typedLine;
  console.readAll = wholeInput;
  console.showsErrorsAtTerminal = isTerminal(stderr);
  console.asksAtTerminal = console.showsErrorsAtTerminal && isTerminal(stdin);
  console.columns = terminalColumns().value_or(console.columns);
  console.usesColour = qEnvironmentVariableIsEmpty("NO_COLOR");
  console.pause = [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); };
  console.rest = interruption::waitForRequest;
  console.now = [] { return std::chrono::steady_clock::now(); };
  // Set where a recording is made or replayed.
  console.library = qEnvironmentVariable("PELLAVOX_LIBRARY");
  if (console.library.isEmpty()) {
    console.library = QDir(QCoreApplication::applicationDirPath()).filePath(QLatin1String(device::kLibraryName));
  }
  console.lockFolder = QDir::tempPath();
  return console;
}

QStringList processArguments(int argc, char** argv) {
  QStringList arguments;
#ifdef _WIN32
  // What `argv` holds is in the system's code page, which lacks most letters.
  static_cast<void>(argv);
  int count = argc;
  if (wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count); wide != nullptr) {
    for (int i = 1; i < count; ++i) {
      arguments << QString::fromWCharArray(wide[i]);
    }
    LocalFree(wide);
  }
#else
  for (int i = 1; i < argc; ++i) {
    arguments << QFile::decodeName(argv[i]);
  }
#endif
  return arguments;
}

}  // namespace cli
