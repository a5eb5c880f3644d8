#include "tests/robustness/control_fixture.h"

#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/chosen_file.h"
#include "tests/support/dialog_answers.h"

#include <QApplication>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QTest>

#include <cstddef>
#include <stdexcept>
#include <thread>

namespace control_table {
namespace {

constexpr char kSavedPath[] = "DIR/table.bin";

/// A saved file in the table's notation.
QString describeFile(const QByteArray& content) {
  QString text = QStringLiteral("%1 bytes").arg(content.size());
  if (!content.isEmpty() && content.count(content[0]) == content.size()) {
    text += " of " + QString::fromLatin1(content.left(1).toHex().toUpper());
  }
  return text;
}

}  // namespace

void require(bool holds, const QString& complaint) {
  if (!holds) {
    throw std::runtime_error(complaint.toStdString());
  }
}

void apply(const States& states, WindowState& state) {
  for (const State& change : states) {
    state[change.widget] = change.state;
  }
}

ControlFixture::ControlFixture(bool connected) : texts_(user.widget<QLabel>("LB_Message")), connected_(connected) {
  files().write("key.bin", "key");
  files().write("edid.bin", "EDID");
  files().write("mcu.bin", "content");
  files().write("capture.img", "firmware for KVR-7");
  if (connected) {
    connectDevice();
  }
}

void ControlFixture::renewDevice(const QByteArray& scenario) const {
  loadDevice(scenario);
  if (connected_) {
    require(initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0, "no session");
  }
}

void ControlFixture::restore(const WindowState& state) const {
  for (QWidget* const widget : window().findChildren<QWidget*>()) {
    const auto found = state.find(widget->objectName());
    if (found != state.end()) {
      setState(*widget, inFolder(found.value()));
    }
  }
  QFile::remove(inFolder(kSavedPath));
}

WindowState ControlFixture::state() const {
  WindowState all = takeState(window());
  for (QString& state : all) {
    state.replace(files().folder(), "DIR");
  }
  if (QFile::exists(inFolder(kSavedPath))) {
    all[kSavedFile] = describeFile(contentOf(inFolder(kSavedPath)));
  }
  return all;
}

Outcome ControlFixture::act(const QVector<Action>& actions) {
  texts_.clear();
  Outcome outcome;
  for (const Action& action : actions) {
    const std::size_t before = simulator::journal().size();
    act(action);
    const auto journal = simulator::journal();
    for (auto entry = journal.begin() + static_cast<std::ptrdiff_t>(before); entry != journal.end(); ++entry) {
      outcome.operations << QString::fromStdString(entry->operation);
      outcome.calls << QStringLiteral("%1(%2)")
                           .arg(outcome.operations.last(), QString::fromStdString(entry->arguments))
                           .replace(files().folder(), "DIR");
      outcome.results << QStringLiteral("%1 = %2").arg(outcome.calls.last()).arg(entry->result);
      outcome.durations << entry->duration;
      const bool onWindowsThread = entry->thread == std::this_thread::get_id();
      require(onWindowsThread == (action.kind != Action::Kind::kRunWorker),
              outcome.operations.last() + " is called on the wrong thread");
    }
  }
  outcome.state = state();
  // The progress timer runs on the real clock and may have overwritten the worker's text.
  if (!texts_.texts().isEmpty()) {
    outcome.state["LB_Message"] = texts_.texts().last();
  }
  return outcome;
}

void ControlFixture::act(const Action& action) const {
  const DialogAnswers answers;
  switch (action.kind) {
    case Action::Kind::kClick:
      user.click(action.widget);
      break;
    case Action::Kind::kChooseRow:
      user.choose(action.widget, action.value);
      break;
    case Action::Kind::kMove: {
      auto& widget = user.widget<QWidget>(action.widget);
      require(widget.setProperty("value", action.value.toInt()), QLatin1String(action.widget) + " has no value");
      break;
    }
    case Action::Kind::kType: {
      auto& field = user.widget<QLineEdit>(action.widget);
      field.selectAll();
      QTest::keyClicks(&field, action.value);
      break;
    }
    case Action::Kind::kSelectTab:
      user.widget<QTabBar>(action.widget).setCurrentIndex(action.value.toInt());
      break;
    case Action::Kind::kChooseFile:
      chooseOneFile(action.widget, inFolder(action.value));
      break;
    case Action::Kind::kRunWorker:
      runWorker(action.widget);
      break;
  }
  require(answers.messages().isEmpty(), "a message box shows");
  require(answers.fileDialogs().isEmpty(), "a file dialog shows");
  require(QApplication::overrideCursor() == nullptr, "the wait cursor stays");
}

void ControlFixture::chooseOneFile(const char* button, const QString& path) const {
  const ChosenFile file(path);
  user.click(button);
  require(file.timesAsked() == 1, QStringLiteral("%1 asks for %2 files").arg(button).arg(file.timesAsked()));
  require(file.messageBoxes() == 0, "a message box shows");
}

void ControlFixture::runWorker(const char* button) const {
  user.click(button);
  const QList<QThread*> all = workers();
  require(all.size() == 1, QLatin1String(button) + " has not started one worker");
  require(waitForWorker(all.last()), QLatin1String("the worker of ") + button + " does not end");
}

}  // namespace control_table
