/// @file
/// Prints the resolution of the screen as Qt takes it.
#include <QGuiApplication>
#include <QScreen>

#include <cstdio>

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  std::printf("%.6f\n", QGuiApplication::primaryScreen()->logicalDotsPerInch());
  return 0;
}
