#include "tests/support/chosen_file.h"

#if defined(Q_OS_WIN)

ChosenFile::ChosenFile(const QString& path) { answers_.chooseFile(path); }
ChosenFile::~ChosenFile() = default;
int ChosenFile::timesAsked() const { return answers_.fileDialogs().size(); }
int ChosenFile::messageBoxes() const { return answers_.messages().size(); }

#else

#include <QFileDialog>

#include <dlfcn.h>
#include <utility>

namespace {

ChosenFile* theOne = nullptr;

/// Qt's own function with this symbol name, which opens a dialog.
template <typename Function>
Function* functionOfQt(const char* name) {
  void* const function = dlsym(RTLD_NEXT, name);
  if (function == nullptr) {
    qFatal("Qt has no %s", name);
  }
  return reinterpret_cast<Function*>(function);
}

}  // namespace

ChosenFile::ChosenFile(const QString& path) : path_(path) { theOne = this; }
ChosenFile::~ChosenFile() { theOne = nullptr; }
int ChosenFile::timesAsked() const { return timesAsked_; }
int ChosenFile::messageBoxes() const { return 0; }
ChosenFile* ChosenFile::current() { return theOne; }

QString ChosenFile::take() {
  ++timesAsked_;
  return std::exchange(path_, QString());
}

QString QFileDialog::getOpenFileName(QWidget* parent, const QString& caption, const QString& directory,
                                     const QString& filter, QString* selectedFilter, Options options) {
  if (ChosenFile* const file = ChosenFile::current()) {
    return file->take();
  }
  return functionOfQt<decltype(getOpenFileName)>(
      "_ZN11QFileDialog15getOpenFileNameEP7QWidgetRK7QStringS4_S4_PS2_6QFlagsINS_6OptionEE")(
      parent, caption, directory, filter, selectedFilter, options);
}

QString QFileDialog::getSaveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                     const QString& filter, QString* selectedFilter, Options options) {
  if (ChosenFile* const file = ChosenFile::current()) {
    return file->take();
  }
  return functionOfQt<decltype(getSaveFileName)>(
      "_ZN11QFileDialog15getSaveFileNameEP7QWidgetRK7QStringS4_S4_PS2_6QFlagsINS_6OptionEE")(
      parent, caption, directory, filter, selectedFilter, options);
}

#endif
