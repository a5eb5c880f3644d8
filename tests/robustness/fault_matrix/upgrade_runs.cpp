#include "tests/robustness/fault_matrix/upgrade_runs.h"

#include "simulator/control/control.h"
#include "tests/support/upgrade_reference.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

using control_table::Action;
using control_table::ControlFixture;
using control_table::Outcome;
using control_table::require;

namespace fault_matrix {
namespace {

const upgrade_reference::Family& kFamily = upgrade_reference::kFamilies[1];
constexpr char kGet[] = "AT_System_Get_ExternalMCU_cmd";
constexpr int kAttempts = 10;  // of a packet
constexpr int kPolls = 100;    // of a packet

/// One block: a packet whose checksum no other packet has, and one with checksum 0xFF.
QByteArray upgradeImage() {
  QByteArray image(100, 'a');
  int sum = 0x5A + 0xA3;
  for (int i = 64; i < 99; ++i) {
    sum += image[i];
  }
  image[99] = static_cast<char>(0xFF - sum % 256);
  return image;
}

QStringList busCalls(bool inApplication) {
  return upgrade_reference::busLog(kFamily, upgradeImage(), inApplication).filter(QRegularExpression("^AT_"));
}

QString poll() { return upgrade_reference::get("0x43", "01"); }

/// The calls with each run of polls reduced to one.
QStringList withSinglePolls(QStringList calls) {
  for (int i = calls.size() - 1; i > 0; --i) {
    if (calls[i] == poll() && calls[i] == calls[i - 1]) {
      calls.removeAt(i);
    }
  }
  return calls;
}

}  // namespace

UpgradeRuns::UpgradeRuns(const char* button, bool inApplication)
    : button_(button), inApplication_(inApplication), calls_(busCalls(inApplication)) {
  for (int i = 0; i < calls_.size(); ++i) {
    steps_ << stepOf(i);
  }
  makeFixture();
}

QVector<Fault> UpgradeRuns::faultsOf(const QString& operation) {
  static const Call read{.operation = kGet};
  return fault_matrix::faultsOf(operation, operation == QLatin1String(kGet) ? &read : nullptr);
}

void UpgradeRuns::run(int place, const Fault& fault) {
  if (std::exchange(needsFreshWindow_, true)) {
    makeFixture();
  }
  fixture_->renewDevice(inApplication_ ? R"({"externalMcu": {"family": "v"}})"
                                       : R"({"externalMcu": {"family": "v", "mode": "bootLoader"}})");
  fixture_->restore(before_);
  inject(fault, operation(place),
         static_cast<unsigned>(calls_.mid(0, place + 1).filter(operation(place) + '(').size()));
  compare(expect(place, fault), fault.kind == Kind::kLate, "");

  repair();
  fixture_->restore(before_);
  const bool inApplication = simulator::mcuRunsApplication();
  compare({busCalls(inApplication), upgrade_reference::texts(kFamily, upgradeImage(), inApplication)}, false,
          "afterwards: ");
  needsFreshWindow_ = false;
}

void UpgradeRuns::makeFixture() {
  fixture_ = std::make_unique<ControlFixture>(true);
  fixture_->files().write("mcu.bin", upgradeImage());
  fixture_->act({{Action::Kind::kChooseFile, "BN_Browse_ExtMCU", "DIR/mcu.bin"}});
  before_ = fixture_->state();
}

bool UpgradeRuns::isPoll(int place) const { return calls_.value(place) == poll(); }

bool UpgradeRuns::isPacket(int place) const {
  return calls_.value(place).startsWith("AT_System_Send_ExternalMCU_cmd(3, 0x43, 68");
}

Step UpgradeRuns::stepOf(int place) const {
  using namespace upgrade_reference;
  const QString& call = calls_[place];
  if (call == get("0x0D", "00") || call == get("0x43", "00")) {
    return Step::kFamily;
  }
  if (call == send("0x0D", QByteArray("\x08\x01", 2))) {
    return Step::kReset;
  }
  if (call == send("0x43", QByteArray("\x01\x01", 2))) {
    return Step::kSetBoot;
  }
  if (isPoll(place)) {
    return Step::kPoll;
  }
  if (call == get("0x43", "02")) {
    return checksumStepAt(place);
  }
  if (call == send("0x43", packet(0xA1))) {
    return steps_.contains(Step::kFirstStart) ? Step::kStart : Step::kFirstStart;
  }
  if (call == send("0x43", addressPacket(0))) {
    return Step::kAddress;
  }
  if (call == send("0x43", packet(0xA4))) {
    return Step::kFinish;
  }
  return call.endsWith("FF])") ? Step::kDataFF : Step::kData;
}

Step UpgradeRuns::checksumStepAt(int place) const {
  switch (steps_[place - 1]) {
    case Step::kFirstStart:
    case Step::kStart:
      return Step::kStartChecksum;
    case Step::kAddress:
      return Step::kAddressChecksum;
    case Step::kData:
      return Step::kDataChecksum;
    case Step::kDataFF:
      return Step::kDataFFChecksum;
    default:
      return Step::kFinishChecksum;
  }
}

int UpgradeRuns::attemptAt(int place) const {
  const QVector<Step> until = steps_.mid(0, place + 1);
  const Step step = steps_[place];
  return step == Step::kStart || step == Step::kStartChecksum ? until.count(Step::kStart) : 0;
}

Reaction UpgradeRuns::reactionAt(int place, const Fault& fault) const {
  const StepRow& row = stepRow(steps_[place]);
  Reaction reaction = fault.kind == Kind::kGone            ? row.gone
                      : fault.kind == Kind::kLate          ? row.late
                      : fault.effect == Effect::kOnes      ? row.ones
                      : fault.effect == Effect::kUntouched ? row.untouched
                                                           : row.fails;
  // In the boot loader, the second question succeeds.
  if (!inApplication_ && place == 0 && fault.kind != Kind::kGone) {
    reaction.course = Course::kGoesOn;
  }
  return reaction;
}

UpgradeRuns::Expectation UpgradeRuns::expect(int place, const Fault& fault) const {
  const QStringList allTexts = upgrade_reference::texts(kFamily, upgradeImage(), inApplication_);
  // "Start...", two more in the boot loader, one more after the block.
  const int shown = 1 + (inApplication_ && place >= steps_.indexOf(Step::kFirstStart) ? 2 : 0) +
                    (place >= steps_.indexOf(Step::kFinish) ? 1 : 0);
  const int checksum = isPacket(place) ? place + 1 : place;  // the call that verifies a packet
  Expectation expected{calls_.mid(0, checksum + 1), allTexts.mid(0, shown)};
  appendCourse(reactionAt(place, fault), place, expected);
  return expected;
}

void UpgradeRuns::appendCourse(const Reaction& reaction, int place, Expectation& expected) const {
  const int shown = expected.texts.size();
  const int checksum = expected.calls.size() - 1;
  const int attempt = attemptAt(place);
  const QString text = QString::fromLatin1(reaction.text);
  const auto textOf = [&text](int number) { return text.contains("%1") ? text.arg(number) : text; };
  const auto sendAgain = [&] { expected.calls << calls_[checksum - 1] << calls_[checksum]; };
  const auto goOn = [&](int call) {
    expected.calls += calls_.mid(call);
    expected.texts += upgrade_reference::texts(kFamily, upgradeImage(), inApplication_).mid(shown);
  };
  switch (reaction.course) {
    case Course::kGoesOn:
      goOn(checksum + 1);
      break;
    case Course::kStops:
      expected.texts << text;
      break;
    case Course::kOtherPlace:
      if (place == 0) {
        expected.calls << upgrade_reference::get("0x43", "00");
      }
      break;
    case Course::kPollsAgain:
      if (!isPoll(place + 1)) {
        expected.calls << calls_[place];
      }
      goOn(place + 1);
      break;
    case Course::kNextAttempt:
      expected.texts << textOf(attempt);
      if (attempt < kAttempts - 1) {
        goOn(checksum + 2);
      }
      break;
    case Course::kSentAgain:
      expected.texts << textOf(0);
      sendAgain();
      goOn(checksum + 1);
      break;
    case Course::kAllAttempts:
      for (int i = attempt; i < kAttempts; ++i) {
        expected.texts << textOf(i);
        if (i > attempt) {
          sendAgain();
        }
      }
      break;
    case Course::kAllPolls: {
      int polls = 0;
      while (isPoll(place - polls)) {  // these are among the calls already
        ++polls;
      }
      for (; polls < kPolls; ++polls) {
        expected.calls << poll();
      }
      expected.texts << text;
      break;
    }
  }
}

void UpgradeRuns::compare(const Expectation& expected, bool anyPolls, const QString& prefix) {
  const Outcome seen = fixture_->act({{Action::Kind::kRunWorker, button_}});
  const QStringList& texts = fixture_->texts();
  require(texts == expected.texts, prefix + "texts " + texts.join(" | ") + " instead of " + expected.texts.join(" | "));
  const QStringList seenCalls = anyPolls ? withSinglePolls(seen.calls) : seen.calls;
  const QStringList expectedCalls = anyPolls ? withSinglePolls(expected.calls) : expected.calls;
  for (int i = 0; i < std::max(seenCalls.size(), expectedCalls.size()); ++i) {
    require(seenCalls.value(i) == expectedCalls.value(i),
            QStringLiteral("%1call %2 of %3 (%4 expected) is %5 instead of %6")
                .arg(prefix)
                .arg(i + 1)
                .arg(seenCalls.size())
                .arg(expectedCalls.size())
                .arg(seenCalls.value(i), expectedCalls.value(i)));
  }
  WindowState state = before_;
  state["LB_Message"] = expected.texts.last();
  require(seen.state == state, prefix + differences(seen.state, state));
  if (expected.texts.last() == "MCU Update Done...[Success]") {
    const QByteArray image = upgrade_reference::padded(kFamily, upgradeImage());
    const Bytes flash = simulator::mcuFlash();
    require(std::equal(image.begin(), image.end(), reinterpret_cast<const char*>(flash.data())),
            prefix + "the flash does not hold the image");
  }
}

}  // namespace fault_matrix
