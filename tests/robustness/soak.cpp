#include "tests/robustness/soak.h"

#include "device/operations.h"
#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/sleeps.h"
#include "tests/support/window_controls.h"

#include <QAbstractSlider>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMouseEvent>
#include <QSpinBox>
#include <QTabBar>
#include <QTest>

#include <algorithm>
#include <malloc.h>
#include <stdexcept>
#include <unistd.h>

using simulator::Input;

namespace {

constexpr unsigned kOperationsPerDevice = 250;
constexpr int kMostWorkers = 4;
constexpr int kThreadPatienceMs = 10'000;

constexpr std::array kDevices{
    R"({})",
    R"({"model": "KVR-5B", "signal": "2160p24-dolby-vision", "sink": {"present": false}})",
    R"({"externalMcu": {"family": "v"}, "signal": "2160p60-hdr10", "edid": {"mode": "mixed", "defaultSlot": 5}})",
    R"({"externalMcu": {"family": "v"}, "faults": [{"at": "mcu.data", "first": 3, "what": "damage"}]})",
    R"({"externalMcu": {"mode": "bootLoader"}, "faults": [{"at": "mcu.packet", "what": "busy"}]})",
    R"({"externalMcu": {"mode": "silent"}, "signal": "none"})",
    R"({"externalMcu": {"family": "0x41"}, "audio": {"format": 200, "samplingRate": 255}})",
    R"({"faults": [{"at": "captureFlash", "fromPercent": 40, "count": 0}], "latencyMs": 3})",
    R"({"unplugAfterCalls": 60, "speedFactor": 3})",
};

constexpr std::array kInputs{"",         "0",         "A0",
                             "90",       "10",        "1F",
                             "12345678", "123456789", "FFFFFFFFFFFFFFFFFF",
                             "xyz",      " 7 ",       "-1",
                             "0x10",     "SN 0001",   "\xC3\xA4\xE2\x82\xAC",
                             "%s%n%1%2"};

long entriesOf(const char* directory) {
  return static_cast<long>(QDir(QLatin1String(directory)).entryList(QDir::AllEntries | QDir::System).size());
}

// Allocated and not freed, in KiB.
long heapKiB() {
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 33)
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long>((info.uordblks + info.hblkhd) / 1024);
#else
  return 0;
#endif
}

long residentKiB() {
  QFile file(QStringLiteral("/proc/self/statm"));
  return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLong() * (sysconf(_SC_PAGESIZE) / 1024)
                                        : 0;
}

}  // namespace

Soak::Soak(unsigned seed) : random_(seed) {
  writeFiles();
  findControls();
  sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
  window().show();
  newDevice();
}

std::size_t Soak::operate() {
  if (++operations_ % kOperationsPerDevice == 0) {
    newDevice();
  }
  unsigned left = below(100);
  std::size_t kind = 0;
  while (left >= kKinds[kind].weight) {
    left -= kKinds[kind++].weight;
  }
  (this->*kKinds[kind].act)();
  QCoreApplication::processEvents();
  return kind;
}

Measure Soak::measure() {
  settle();
  loadDevice();
  Measure measure;
  measure.operations = operations_;
  measure.undoKiB = heapKiB();
  for (const QString& name : fields_) {
    user.widget<QLineEdit>(name).setText(QString());
  }
  measure.heapKiB = heapKiB();
  measure.undoKiB -= measure.heapKiB;
#if defined(__GLIBC__)
  malloc_trim(0);  // so that free memory does not count
#endif
  measure.residentKiB = residentKiB();
  measure.files = entriesOf("/proc/self/fd");
  measure.threads = remainingThreads();
  measure.windows = QApplication::topLevelWidgets().size();
  measure.objects = window().findChildren<QObject*>().size() + QApplication::allWidgets().size();
  return measure;
}

long Soak::remainingThreads() {
  const long least = fewestThreads_;
  static_cast<void>(QTest::qWaitFor([&] { return entriesOf("/proc/self/task") <= least; }, kThreadPatienceMs));
  const long threads = entriesOf("/proc/self/task");
  fewestThreads_ = std::min(least, threads);
  return threads;
}

bool Soak::answers() {
  settle();
  loadDevice();
  connectAs("KVR-5B");
  connectAs("KVR-7");
  user.widget<QTabBar>("qt_tabwidget_tabbar").setCurrentIndex(0);
  for (const auto& [signal, width] : {std::pair("720p60", "1280"), std::pair("2160p30", "3840")}) {
    simulator::feedSignal(Input::kHdmi, signal);
    auto& button = user.widget<QAbstractButton>("BN_Info_Read");
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
      QCoreApplication::postEvent(
          &button,
          new QMouseEvent(type, button.rect().center(), button.mapToGlobal(button.rect().center()), Qt::LeftButton,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier));
    }
    QCoreApplication::processEvents();
    if (user.text("label_HActive") != width) {
      return false;
    }
  }
  return true;
}

void Soak::findControls() {
  for (const QWidget* widget : window().findChildren<QWidget*>()) {
    if (!isControl(*widget)) {
      continue;
    }
    const QString name = widget->objectName();
    if (qobject_cast<const QAbstractButton*>(widget) != nullptr) {
      // Buttons that ask for a file or start a worker are operations of their own.
      if (kFileButtons.contains(name) || kWorkerButtons.contains(name)) {
        ++workButtons_;
      } else if (name != "BN_Connect") {
        buttons_ << name;
      }
    } else if (qobject_cast<const QLineEdit*>(widget) != nullptr) {
      fields_ << name;
    } else {
      choices_ << name;
    }
  }
}

void Soak::writeFiles() const {
  const auto write = [this](const QString& name, QByteArray content, const char* text = "") {
    content.replace(content.size() / 2, static_cast<int>(qstrlen(text)), text);
    files().write(name, content);
  };
  write("empty.bin", QByteArray());
  write("empty.img", QByteArray());
  for (const int size : {1, 127, 256, 1025, 6000}) {
    write(QStringLiteral("%1.bin").arg(size), QByteArray(size, 'x'));
  }
  write("kvr-7.img", QByteArray(100'000, 'x'), "KVR-7");
  write("kvr-5.img", QByteArray(9'000, 'x'), "KVR-5B V1.04.00");
  write("other.img", QByteArray(9'000, 'x'));
  QDir(files().folder()).mkdir("folder.bin");
}

void Soak::connectAs(const QString& type) {
  user.choose("CB_DeviceType", type);
  user.click("BN_Connect");
  used_ << "BN_Connect";
}

void Soak::newDevice() {
  settle();
  const char* scenario = oneOf(kDevices);
  loadDevice(scenario);
  if (chance(10)) {
    simulator::reportDuringBurns({std::nanf(""), -3, 1e30F, 55, std::numeric_limits<float>::infinity()});
  }
  if (chance(80)) {
    const bool isFirst = QByteArray(scenario).indexOf("KVR-5B") < 0;
    connectAs(isFirst ? "KVR-5B" : "KVR-7");
    connectAs(isFirst ? "KVR-7" : "KVR-5B");
  }
}

void Soak::settle() {
  simulator::releaseBurns();
  const int running = workers().size();
  isStuck_ = isStuck_ || !waitForWorkers();
  endedWorkers_ += static_cast<unsigned>(running);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  QCoreApplication::processEvents();
}

void Soak::pressButton() {
  const QString name = oneOf(buttons_);
  used_ << name;
  user.click(name);
}

void Soak::changeChoice() {
  const QString name = oneOf(choices_);
  used_ << name;
  auto* const widget = window().findChild<QWidget*>(name);
  if (auto* const box = qobject_cast<QComboBox*>(widget)) {
    box->setCurrentIndex(static_cast<int>(below(static_cast<std::size_t>(box->count()))));
  } else if (auto* const slider = qobject_cast<QAbstractSlider*>(widget)) {
    // Includes values out of range.
    slider->setValue(static_cast<int>(below(300)) - 150);
  } else if (auto* const spin = qobject_cast<QSpinBox*>(widget)) {
    spin->setValue(static_cast<int>(below(300)) - 150);
  } else {
    auto* const tabs = qobject_cast<QTabBar*>(widget);
    tabs->setCurrentIndex(static_cast<int>(below(static_cast<std::size_t>(tabs->count()))));
  }
}

void Soak::typeText() {
  const QString name = oneOf(fields_);
  used_ << name;
  auto& field = user.widget<QLineEdit>(name);
  const QString text = QString::fromUtf8(oneOf(kInputs));
  if (chance(70)) {
    field.selectAll();
  }
  if (chance(3)) {
    field.insert(QString(5000, 'F'));
  } else if (text.toLatin1() == text.toUtf8()) {
    QTest::keyClicks(&field, text);
  } else {
    field.insert(text);
  }
}

void Soak::pullOrPlug() {
  if (chance(40)) {
    simulator::unplug();
  } else {
    simulator::replug();
  }
}

void Soak::changeSignal() {
  if (chance(20)) {
    simulator::attachSink(chance(50));
    return;
  }
  static const std::vector<std::string> names = simulator::knownSignals();
  try {
    simulator::feedSignal(chance(50) ? Input::kHdmi : Input::kDp, oneOf(names));
  } catch (const std::invalid_argument&) {
    // This input cannot carry the signal; nothing has changed.
  }
}

void Soak::misbehave() {
  const std::string operation(oneOf(device::kOperationNames));
  const unsigned call = 1 + below(20);
  if (chance(50)) {
    simulator::failCall(operation, call, oneOf(std::array{-1, 1, INT32_MIN, INT32_MAX}), 1 + below(3));
  } else {
    simulator::answerCall(operation, call, chance(50) ? 0 : -1,
                          std::vector<std::uint8_t>(below(600), chance(50) ? 0xFF : 'x'));
  }
}

void Soak::answerDialog(const QString& button, const QString& path) {
  used_ << button;
  DialogAnswers answers;
  if (!path.isEmpty()) {
    answers.chooseFile(path);
  }
  user.click(button);
}

QString Soak::someFile(bool isImage) {
  static const QStringList images{"kvr-7.img", "kvr-7.img", "kvr-5.img", "other.img", "empty.img", "gone.img"};
  static const QStringList others{"1.bin",    "127.bin",   "256.bin",  "1025.bin",
                                  "6000.bin", "empty.bin", "gone.bin", "folder.bin"};
  // Sometimes the user cancels.
  return chance(10) ? QString() : files().path(oneOf(isImage ? images : others));
}

void Soak::loadFile() {
  const QString button = oneOf(QStringList{"BN_Browse_Key", "BN_Browse_ExtMCU", "BN_Browse_ExtMCU_QX", "BN_Browse_Cap",
                                           "BN_Browse_Cap_QX", "BN_Apply_WriteFlashEDID"});
  answerDialog(button, someFile(button.startsWith("BN_Browse_Cap")));
}

void Soak::saveFile() {
  const QString button = oneOf(QStringList{"BN_Apply_ReadTxEDID", "BN_Apply_ReadFlashEDID", "BN_Apply_Read_DDC_EDID"});
  const unsigned which = below(10);
  answerDialog(button, which == 0   ? QString()
                       : which == 1 ? QStringLiteral("/proc/cannot-be-made.bin")
                                    : files().path(QStringLiteral("saved%1.bin").arg(which)));
}

void Soak::startWorker(const QString& button) {
  if (workers().size() >= kMostWorkers) {
    settle();
  }
  used_ << button;
  {
    const DialogAnswers answers;  // for message boxes that refuse the job
    user.click(button);
  }
  if (chance(50)) {
    settle();
  }
}

void Soak::burn() {
  if (chance(20)) {
    simulator::holdBurns(1 + below(5));  // until the next settle()
  }
  startWorker(chance(50) ? "BN_Apply_CapMCU" : "BN_Apply_CapMCU_QX");
}

const QStringList Soak::kFileButtons{"BN_Browse_Key",       "BN_Browse_ExtMCU",       "BN_Browse_ExtMCU_QX",
                                     "BN_Browse_Cap",       "BN_Browse_Cap_QX",       "BN_Apply_WriteFlashEDID",
                                     "BN_Apply_ReadTxEDID", "BN_Apply_ReadFlashEDID", "BN_Apply_Read_DDC_EDID"};
const QStringList Soak::kWorkerButtons{"BN_Apply_ExtMCU", "BN_Apply_ExtMCU_QX", "BN_Apply_CapMCU",
                                       "BN_Apply_CapMCU_QX"};

const std::array<Soak::Kind, 12> Soak::kKinds{{
    {"button pressed", 34, &Soak::pressButton},
    {"list, slider, box or tab moved", 15, &Soak::changeChoice},
    {"text typed", 14, &Soak::typeText},
    {"Connect", 5, &Soak::pressConnect},
    {"plug pulled or put in", 5, &Soak::pullOrPlug},
    {"signal or sink changed", 6, &Soak::changeSignal},
    {"time passed", 5, &Soak::passTime},
    {"library call to go wrong", 4, &Soak::misbehave},
    {"file loaded", 3, &Soak::loadFile},
    {"file saved", 2, &Soak::saveFile},
    {"MCU upgrade started", 4, &Soak::upgrade},
    {"capture burn started", 3, &Soak::burn},
}};
