#include "tests/robustness/lying_window.h"

#include "tests/support/chosen_file.h"

#include <stdexcept>

namespace lying {

using namespace std::chrono_literals;

void LyingJobs::JobWindow::openDevice(const QByteArray& scenario) {
  loadDevice(scenario);
  // The window keeps a session that it believes is open, so change the model first.
  user.choose("CB_DeviceType", "KVR-5B");
  user.click("BN_Connect");
  user.choose("CB_DeviceType", "KVR-7");
  user.click("BN_Connect");
  if (user.message() != "Device Connected") {
    throw std::logic_error("the window does not connect");
  }
  simulator::advanceTime(10ms);
}

Seen LyingJobs::JobWindow::whileLying(const DrawnFaults& drawn, const std::function<void()>& act) {
  before_ = readMemory();
  user.widget<QLabel>("LB_Message").clear();
  posted_.clear();
  Seen seen;
  seen.firstCall = simulator::journal().size();
  const std::chrono::nanoseconds start = simulator::now();
  simulator::setTransferFaults(drawn.faults, drawn.seed);
  act();
  seen.duration = simulator::now() - start;
  seen.transfers = simulator::transfers();
  simulator::setTransferFaults({});
  seen.journal = simulator::journal();
  return seen;
}

void LyingJobs::JobWindow::chooseFile(const QString& button, const QString& name, const Bytes& content) const {
  const ChosenFile chosen(
      files().write(name, QByteArray(reinterpret_cast<const char*>(content.data()), static_cast<int>(content.size()))));
  user.click(button);
}

void LyingJobs::JobWindow::startAndWait(const QString& button) const {
  if (!waitForWorker(startWorker(button))) {
    throw std::runtime_error("the worker does not end");
  }
}

}  // namespace lying
