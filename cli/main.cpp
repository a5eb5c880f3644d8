#include "cli/console.h"
#include "cli/interruption.h"
#include "cli/program.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
  cli::occupyClosedStreams();
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("pellavox-cli");
  cli::interruption::watch();
  return static_cast<int>(cli::run(cli::processArguments(argc, argv), cli::processConsole()));
}
