#pragma once

#include "tests/robustness/fault_matrix/bench.h"
#include "tests/robustness/fault_matrix/faults.h"
#include "tests/robustness/fault_matrix/upgrade_table.h"
#include "tests/support/upgrade_reference.h"

#include <QRegularExpression>

#include <algorithm>
#include <memory>
#include <utility>

namespace fault_matrix {

inline const upgrade_reference::Family& kFamily = upgrade_reference::kFamilies[1];
inline constexpr char kGet[] = "AT_System_Get_ExternalMCU_cmd";

/// One block: a packet with another checksum than any other packet's, and one
/// with checksum 0xFF.
inline QByteArray upgradeImage() {
  QByteArray image(100, 'a');
  int sum = 0x5A + 0xA3;
  for (int i = 64; i < 99; ++i) {
    sum += image[i];
  }
  image[99] = static_cast<char>(0xFF - sum % 256);
  return image;
}

/// Runs of the upgrade, which share a window.
class UpgradeRuns {
 public:
  UpgradeRuns(const char* button, bool inApplication)
      : button_(button), inApplication_(inApplication), calls_(busCalls(inApplication)) {
    for (int i = 0; i < calls_.size(); ++i) {
      steps_ << stepOf(i);
    }
    makeBench();
  }

  const char* button() const { return button_; }
  bool inApplication() const { return inApplication_; }
  int places() const { return calls_.size(); }
  QString operation(int place) const { return calls_[place].section('(', 0, 0); }

  static QVector<Fault> faultsOf(const QString& operation) {
    static const Call read{.operation = kGet};
    return fault_matrix::faultsOf(operation, operation == QLatin1String(kGet) ? &read : nullptr);
  }

  void run(int place, const Fault& fault) {
    if (std::exchange(spoilt_, true)) {
      makeBench();
    }
    bench_->renewDevice(inApplication_ ? R"({"externalMcu": {"family": "v"}})"
                                       : R"({"externalMcu": {"family": "v", "mode": "bootLoader"}})");
    bench_->restore(before_);
    inject(fault, operation(place),
           static_cast<unsigned>(calls_.mid(0, place + 1).filter(operation(place) + '(').size()));
    compare(expect(place, fault), fault.kind == Kind::kLate, "");

    repair();
    bench_->restore(before_);
    const bool inApplication = simulator::mcuRunsApplication();
    compare({busCalls(inApplication), upgrade_reference::texts(kFamily, upgradeImage(), inApplication)}, false,
            "afterwards: ");
    spoilt_ = false;
  }

 private:
  struct Expectation {
    QStringList calls;
    QStringList texts;
  };

  static QStringList busCalls(bool inApplication) {
    return upgrade_reference::busLog(kFamily, upgradeImage(), inApplication).filter(QRegularExpression("^AT_"));
  }

  void makeBench() {
    bench_ = std::make_unique<Bench>(true);
    bench_->write("mcu.bin", upgradeImage());
    bench_->act({Deed::Kind::kChooseFile, "BN_Browse_ExtMCU", "DIR/mcu.bin"});
    before_ = bench_->state();
  }

  bool isPoll(int place) const { return calls_.value(place) == upgrade_reference::get("0x43", "01"); }

  Step stepOf(int place) const {
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

  bool isPacket(int place) const {
    return calls_.value(place).startsWith("AT_System_Send_ExternalMCU_cmd(3, 0x43, 68");
  }

  /// Which of the start packets a place belongs to.
  int attemptAt(int place) const {
    const QVector<Step> until = steps_.mid(0, place + 1);
    const Step step = steps_[place];
    return step == Step::kStart || step == Step::kStartChecksum ? until.count(Step::kStart) : 0;
  }

  Reaction reactionAt(int place, const Fault& fault) const {
    const StepRow* row = kSteps;
    while (row->step != steps_[place]) {
      ++row;
    }
    Reaction reaction = fault.kind == Kind::kGone            ? row->gone
                        : fault.kind == Kind::kLate          ? row->late
                        : fault.effect == Effect::kOnes      ? row->ones
                        : fault.effect == Effect::kUntouched ? row->untouched
                                                             : row->fails;
    // The boot loader is asked anyway.
    if (!inApplication_ && place == 0 && fault.kind != Kind::kGone) {
      reaction.course = Course::kGoesOn;
    }
    return reaction;
  }

  Expectation expect(int place, const Fault& fault) const {
    const Reaction reaction = reactionAt(place, fault);
    const QStringList allTexts = upgrade_reference::texts(kFamily, upgradeImage(), inApplication_);
    // "Start...", two more in the boot loader, one more after the block.
    const int shown = 1 + (inApplication_ && place >= steps_.indexOf(Step::kFirstStart) ? 2 : 0) +
                      (place >= steps_.indexOf(Step::kFinish) ? 1 : 0);
    const int checksum = isPacket(place) ? place + 1 : place;  // the call that tells of a packet
    const int attempt = attemptAt(place);
    const QString text = QString::fromLatin1(reaction.text);
    const auto textOf = [&text](int number) { return text.contains("%1") ? text.arg(number) : text; };

    Expectation expected{calls_.mid(0, checksum + 1), allTexts.mid(0, shown)};
    const auto sendAgain = [&] { expected.calls << calls_[checksum - 1] << calls_[checksum]; };
    const auto goOn = [&](int call) {
      expected.calls += calls_.mid(call);
      expected.texts += allTexts.mid(shown);
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
        if (attempt < 9) {
          goOn(checksum + 2);
        }
        break;
      case Course::kSentAgain:
        expected.texts << textOf(0);
        sendAgain();
        goOn(checksum + 1);
        break;
      case Course::kAllAttempts:
        for (int i = attempt; i < 10; ++i) {
          expected.texts << textOf(i);
          if (i > attempt) {
            sendAgain();
          }
        }
        break;
      case Course::kAllPolls: {
        int polls = 0;
        while (isPoll(place - polls)) {
          ++polls;
        }
        for (; polls < 100; ++polls) {
          expected.calls << upgrade_reference::get("0x43", "01");
        }
        expected.texts << text;
        break;
      }
    }
    return expected;
  }

  /// Upgrades and compares what is seen.
  /// @param anyPolls busy polls depend on the time that passes
  void compare(const Expectation& expected, bool anyPolls, const QString& prefix) {
    const Outcome seen = bench_->act({Deed::Kind::kRunWorker, button_});
    QStringList calls;
    for (const QString& result : seen.results) {
      calls << result.section(" = ", 0, 0);
    }
    const auto essence = [anyPolls](QStringList list) {
      for (int i = list.size() - 1; anyPolls && i > 0; --i) {
        if (list[i] == upgrade_reference::get("0x43", "01") && list[i] == list[i - 1]) {
          list.removeAt(i);
        }
      }
      return list;
    };
    const QStringList& texts = bench_->texts();
    require(texts == expected.texts,
            prefix + "texts " + texts.join(" | ") + " instead of " + expected.texts.join(" | "));
    const QStringList seenCalls = essence(calls);
    const QStringList expectedCalls = essence(expected.calls);
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

  const char* button_;
  bool inApplication_;
  QStringList calls_;  // of an upgrade without a fault
  QVector<Step> steps_;
  std::unique_ptr<Bench> bench_;
  WindowState before_;
  bool spoilt_ = false;
};

}  // namespace fault_matrix
