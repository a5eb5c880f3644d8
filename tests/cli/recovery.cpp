/// @file
/// Makes upgrades and burns fail or be interrupted in every way, runs the command that
/// the program then prints, and checks that the device works.
/// Usage: recovery [COUNT [SEED [FIRST]]]. FIRST is 0 by default; a breach prints the
/// number to start from.
#include "tests/cli/cli_bench.h"
#include "tests/support/seeded_random.h"
#include "tests/support/upgrade_images.h"

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>
#include <cstdlib>

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Counts {
  unsigned done = 0;          // at once
  unsigned untouched = 0;     // failed or interrupted, device as before; or burnt, but unplugged before the last read
  unsigned recovered = 0;     // by the printed command
  unsigned afterReplug = 0;   // of these: after replugging the device, as the message says
  unsigned again = 0;         // of these: unplugged during the recovery, whose command was then run
  unsigned falseSuccess = 0;  // exit code 0, but different content
  unsigned breach = 0;
};

bool startsWith(const Bytes& bytes, const Bytes& wanted) {
  return bytes.size() >= wanted.size() && std::equal(wanted.begin(), wanted.end(), bytes.begin());
}

QByteArray byteArray(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())};
}

void breach(Counts& counts, const char* what, unsigned number, const CliBench::Result& result) {
  ++counts.breach;
  std::printf("breach: %s number %u: ended with %d: %s%s\n", what, number, result.code, result.out.constData(),
              result.err.constData());
}

/// Runs the command printed with exit code 9.
CliBench::Result follow(CliBench& bench, const CliBench::Result& failed) {
  QStringList words = QProcess::splitCommand(failed.document()["next"].text());
  if (words.isEmpty() || words.takeFirst() != "pellavox-cli") {
    return {};
  }
  return bench.run(QStringList{"-j", "-q"} + words);
}

void addRandomFaults(SeededRandom& random) {
  using enum simulator::FaultPoint;
  using enum simulator::FaultEffect;
  const unsigned faults = random.below(4);
  for (unsigned i = 0; i < faults; ++i) {
    simulator::Fault fault;
    fault.at =
        random.oneOf({kMcuTransfer, kMcuReset, kMcuSetBoot, kMcuPacket, kMcuStart, kMcuAddress, kMcuData, kMcuFinish});
    fault.what = random.oneOf({kNotAcknowledged, kLost, kDamage, kMisread, kBusy});
    fault.first = 1 + random.below(40);
    fault.count = random.oneOf({1U, 2U, 10U, 0U});
    fault.polls = random.below(150);
    simulator::addFault(fault);
  }
}

constexpr const char* kSend = "AT_System_Send_ExternalMCU_cmd";

/// Runs the command that a failed upgrade printed until no further one is printed:
/// again if the device is unplugged meanwhile, which is one more interrupted upgrade,
/// and once after a power cut, as the message says, if the boot loader hangs.
/// @param unplugAt the call at which the device is unplugged; 0 = none
CliBench::Result recover(CliBench& bench, CliBench::Result result, int unplugAt, Counts& counts) {
  bool isPluggedAnew = false;
  bool isInterrupted = false;
  while (result.code == 9) {
    const bool isStillToCome = callsOf(kSend) < unplugAt;
    result = follow(bench, result);
    if (result.code != 9) {
      break;
    }
    if (isStillToCome && callsOf(kSend) >= unplugAt) {
      isInterrupted = true;
    } else if (!isPluggedAnew && result.document()["message"].text().contains("plug the device anew")) {
      isPluggedAnew = true;
      simulator::unplug();
    } else {
      break;
    }
    simulator::replug();
  }
  counts.afterReplug += result.code == 0 && isPluggedAnew ? 1 : 0;
  counts.again += result.code == 0 && isInterrupted ? 1 : 0;
  return result;
}

void upgradeOnce(CliBench& bench, SeededRandom& random, unsigned number, Counts& counts) {
  const bool isFamily2 = random.chance(50);
  bench.renew();
  simulator::loadScenario(isFamily2 ? R"({"externalMcu": {"family": "2"}})" : R"({"externalMcu": {"family": "v"}})");
  simulator::useVirtualTime();
  const Bytes image = upgrade_images::randomImage(1 + random.below(isFamily2 ? 2500 : 600), random);
  const Bytes whole = upgrade_images::padded(image, isFamily2 ? 1024 : 128);
  const QString path = bench.write("mcu.bin", byteArray(image));
  addRandomFaults(random);
  const unsigned unplugAt = random.chance(20) ? 1 + random.below(40) : 0;
  if (unplugAt > 0) {
    simulator::unplugAtCall(kSend, unplugAt);
  }
  unsigned pausesLeft = random.chance(30) ? 1 + random.below(40) : 0;
  bench.onPause = [&pausesLeft] {
    if (pausesLeft > 0 && --pausesLeft == 0) {
      cli::interruption::request();
    }
  };
  auto result = bench.run(QStringList{"-j", "-y", "-q", "mcu", "upgrade", path});
  bench.onPause = {};
  cli::interruption::request(false);
  simulator::clearMcuFaults();
  simulator::replug();
  const bool isFirst = result.code != 9;
  result = recover(bench, result, static_cast<int>(unplugAt), counts);
  if (result.code == 0) {
    const bool good = simulator::mcuRunsApplication() && startsWith(simulator::mcuFlash(), whole);
    ++(!good ? counts.falseSuccess : isFirst ? counts.done : counts.recovered);
  } else if (isFirst && (result.code == 1 || result.code == 130 || result.code == 3) &&
             simulator::mcuRunsApplication()) {
    ++counts.untouched;
  } else if (isFirst && result.code == 7) {
    ++counts.untouched;  // nothing answers, so nobody can tell
  } else {
    breach(counts, "upgrade", number, result);
  }
}

void burnOnce(CliBench& bench, SeededRandom& random, unsigned number, Counts& counts) {
  bench.renew();
  Bytes image(1 + random.below(20'000));
  for (std::uint8_t& byte : image) {
    byte = random.byte();
  }
  QByteArray content = byteArray(image) + "KVR-7 V1.04.00";
  const QString path = bench.write("capture.img", content);
  // Progress is reported as texts; the device is unplugged at one of them.
  unsigned textsLeft = random.chance(80) ? 1 + random.below(110) : 0;
  bench.onHint = [&textsLeft] {
    if (textsLeft > 0 && --textsLeft == 0) {
      simulator::unplug();
    }
  };
  if (random.chance(10)) {
    simulator::failCall("burnToFlash", 1, -14);
  }
  auto result = bench.run(QStringList{"-j", "-y", "--progress=json", "capture", "burn", path});
  bench.onHint = {};
  simulator::replug();
  const bool isFirst = result.code != 9;
  if (!isFirst) {
    result = follow(bench, result);
  }
  const Bytes flash = simulator::captureFlash();
  const bool isWhole = startsWith(flash, Bytes(content.begin(), content.end()));
  if (result.code == 0) {
    ++(!isWhole ? counts.falseSuccess : isFirst ? counts.done : counts.recovered);
  } else if (isFirst && ((result.code == 1 && flash.empty()) || (result.code == 7 && isWhole))) {
    ++counts.untouched;
  } else {
    breach(counts, "burn", number, result);
  }
}

void print(const char* name, const Counts& counts) {
  std::printf(
      "%-8s %8u done, %8u not begun, %8u recovered by the printed command (%u of them after replugging, %u "
      "interrupted again), %u false successes, %u breaches\n",
      name, counts.done, counts.untouched, counts.recovered, counts.afterReplug, counts.again, counts.falseSuccess,
      counts.breach);
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10'000;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  const unsigned first = argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 0;
  CliBench bench;
  Counts upgrades;
  Counts burns;
  for (unsigned number = first; number < first + count; ++number) {
    SeededRandom random({seed, number});
    upgradeOnce(bench, random, number, upgrades);
    burnOnce(bench, random, number, burns);
  }
  print("upgrade", upgrades);
  print("burn", burns);
  const bool good = upgrades.breach + burns.breach + upgrades.falseSuccess + burns.falseSuccess == 0;
  // A long run without any recovery proves nothing.
  const bool isTried = count < 100 || (upgrades.recovered > 0 && burns.recovered > 0);
  return good && isTried ? 0 : 1;
}
