/// @file
/// Loads Qt Core and does nothing, as every Qt program does at its start.
#include <QString>

int main(int argc, char**) { return QString::number(argc).isEmpty() ? 1 : 0; }
