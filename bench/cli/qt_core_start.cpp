/// @file
/// Loads Qt Core and does nothing: what every program with Qt begins with.
#include <QString>

int main(int argc, char**) { return QString::number(argc).isEmpty() ? 1 : 0; }
