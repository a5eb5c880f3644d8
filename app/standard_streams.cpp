#include "app/standard_streams.h"

#include <QtGlobal>

#if defined(Q_OS_UNIX)
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

void secureStandardStreams() {
#if defined(Q_OS_UNIX)
  std::signal(SIGPIPE, SIG_IGN);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The next file opened would get the free number, and with it whatever is
    // said on the stream. Numbers are given out from the lowest.
    if (fcntl(stream, F_GETFD) < 0) {
      static_cast<void>(open("/dev/null", O_RDWR));
    }
  }
#endif
}
