/// @file
/// Sets each value that can be read back many times on a lying device and compares the
/// program's report with the device's state.
/// Usage: lying_verbs [COUNT [SEED]]
#include "device/RTICE_SDK_x64.h"
#include "tests/cli/cli_bench.h"
#include "tests/support/faults.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Verb {
  QStringList words;
  const char* reader;                      // the operation that reads the value back
  std::function<bool(const Bytes&)> fits;  // whether these bytes mean the wanted value
  std::function<Bytes()> truth;            // reads the value once the device no longer lies
};

// What the program saw: each read of the value before and after the write.
struct Answers {
  std::vector<bool> before;  // whether the value was the wanted one
  std::vector<bool> after;
  bool written = false;
};

struct Counts {
  unsigned success = 0;
  unsigned failure = 0;
  unsigned thoughDone = 0;
  unsigned falseSuccess = 0;
  unsigned breach = 0;
};

bool startsWith(const Bytes& bytes, const Bytes& wanted) {
  return bytes.size() >= wanted.size() && std::equal(wanted.begin(), wanted.end(), bytes.begin());
}

Verb byteVerb(const QStringList& words, const char* reader, std::int32_t (*read)(std::uint8_t*), std::uint8_t wanted) {
  return {words, reader, [wanted](const Bytes& bytes) { return startsWith(bytes, {wanted}); },
          [read] {
            std::uint8_t value = 0;
            read(&value);
            return Bytes{value};
          }};
}

Verb gainVerb(const QStringList& words, const char* reader, std::int32_t (*read)(std::int16_t*), std::int16_t wanted) {
  const Bytes bytes{static_cast<std::uint8_t>(wanted & 0xFF), static_cast<std::uint8_t>((wanted >> 8) & 0xFF)};
  return {words, reader, [bytes](const Bytes& given) { return startsWith(given, bytes); },
          [read] {
            std::int16_t value = 0;
            read(&value);
            return Bytes{static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>((value >> 8) & 0xFF)};
          }};
}

Verb serialVerb(const QByteArray& wanted) {
  const Bytes text(wanted.begin(), wanted.end());
  return {{"serial", "set", wanted},
          "AT_USB_Get_SerialNum",
          [text](const Bytes& bytes) {
            return startsWith(bytes, text) && (bytes.size() == text.size() || bytes[text.size()] == 0);
          },
          [] {
            Bytes buffer(100);
            std::uint32_t length = 0;
            AT_USB_Get_SerialNum(buffer.data(), 100, &length);
            return buffer;
          }};
}

Verb gpioVerb(std::uint8_t wanted) {
  return {{"gpio", "set", "5", QString::number(wanted)},
          "AT_GPIO_Get_Param",
          [wanted](const Bytes& bytes) { return startsWith(bytes, {wanted}); },
          [] {
            std::uint8_t value = 0;
            AT_GPIO_Get_Param(0, 5, &value);
            return Bytes{value};
          }};
}

Verb i2cVerb(std::uint8_t wanted) {
  return {{"i2c", "set", "48", "2", QString::number(wanted, 16), "80"},
          "AT_System_Get_ExternalMCU_cmd",
          [wanted](const Bytes& bytes) {
            return startsWith(bytes, {wanted, 0x80});
          },
          [] {
            Bytes value(2);
            const std::uint8_t index = 2;
            AT_System_Get_ExternalMCU_cmd(3, 0x48, 1, &index, 2, value.data());
            return value;
          }};
}

Verb edidVerb(const QString& file, const Bytes& table) {
  return {{"edid", "write", file, "--slot", "2"},
          "AT_EDID_Flash_Get_table",
          [table](const Bytes& bytes) { return startsWith(bytes, table); },
          [size = table.size()] {
            Bytes bytes(size);
            AT_EDID_Flash_Get_table(2, bytes.data(), static_cast<std::uint32_t>(size));
            return bytes;
          }};
}

std::vector<Verb> verbs(SeededRandom& random, const QString& file, const Bytes& table) {
  const auto number = [&random](unsigned most) { return static_cast<std::uint8_t>(1 + random.below(most)); };
  return {
      serialVerb("SN" + QByteArray::number(random.below(1'000'000))),
      byteVerb({"video", "source", "dp"}, "AT_Get_Current_Input_Source", AT_Get_Current_Input_Source, 1),
      gainVerb({"audio", "gain", "-17"}, "AT_Audio_Get_HdmiDPRX_VolumeGain", AT_Audio_Get_HdmiDPRX_VolumeGain, -17),
      gainVerb({"audio", "hp-gain", "9"}, "AT_Audio_Get_HPOUTgain", AT_Audio_Get_HPOUTgain, 9),
      byteVerb({"audio", "mute", "on"}, "AT_Audio_Get_DACHP_Mute", AT_Audio_Get_DACHP_Mute, 1),
      gpioVerb(number(254)),
      i2cVerb(number(126)),
      edidVerb(file, table),
      byteVerb({"edid", "mode", "mixed"}, "AT_EDID_Get_EDID_mode", AT_EDID_Get_EDID_mode, 3),
      byteVerb({"edid", "default", "4"}, "AT_EDID_Flash_Get_Default_table", AT_EDID_Flash_Get_Default_table, 4),
  };
}

void addRandomFaults(SeededRandom& random, std::uint64_t seed) {
  static constexpr std::array<unsigned, 6> kRates{0, 0, 20, 100, 300, 500};
  const unsigned misread = kRates[random.below(kRates.size())];
  const unsigned damage = kRates[random.below(kRates.size())];
  const unsigned shortRead = kRates[random.below(kRates.size())];
  const unsigned ignored = kRates[random.below(kRates.size())];
  simulator::setTransferFaults(
      {faults::misread(misread), faults::shortRead(shortRead), faults::damage(damage), faults::ignored(ignored)}, seed);
}

// Compares as the program does: any code but 0 is mute, any but HDMI's is DP.
bool fitsAsShown(const Verb& verb, const Bytes& bytes) {
  const std::string reader = verb.reader;
  if (reader == "AT_Audio_Get_DACHP_Mute" || reader == "AT_Get_Current_Input_Source") {
    return !bytes.empty() && bytes[0] != 0;
  }
  return verb.fits(bytes);
}

Answers answersOf(const Verb& verb, const std::vector<simulator::JournalEntry>& journal,
                  const std::vector<simulator::Transfer>& transfers) {
  Answers answers;
  std::map<std::size_t, const simulator::Transfer*> byCall;
  for (const simulator::Transfer& transfer : transfers) {
    byCall[transfer.call] = &transfer;
  }
  for (std::size_t call = 0; call < journal.size(); ++call) {
    const simulator::JournalEntry& entry = journal[call];
    if (entry.operation == verb.reader) {
      const bool fits = entry.result == 0 && byCall.count(call) > 0 && fitsAsShown(verb, byCall[call]->bytes);
      (answers.written ? answers.after : answers.before).push_back(fits);
    } else if (entry.operation != "initialize" && entry.operation != "setDevice" && entry.operation != "openPort" &&
               entry.operation != "closePort" && entry.operation != "uninitialize") {
      answers.written = true;
    }
  }
  return answers;
}

// Whether, by the documented rule, the answers confirm the wanted value.
bool saysDone(const Answers& answers) {
  if (!answers.written) {
    return !answers.before.empty() && answers.before.back();
  }
  const auto& after = answers.after;
  return !after.empty() && (after.front() || std::count(after.begin() + 1, after.end(), true) >= 2);
}

Bytes truthOf(const Verb& verb) {
  simulator::setTransferFaults({});
  initialize();
  setDevice(0, 0, 0x5C19, 0x6B03);
  openPort();
  Bytes truth = verb.truth();
  closePort();
  uninitialize();
  return truth;
}

void judge(const Verb& verb, CliBench& bench, Counts& counts) {
  const auto result = bench.run(QStringList{"-y", "-q", "-j"} + verb.words);
  const Answers answers = answersOf(verb, simulator::journal(), simulator::transfers());
  const bool isDone = verb.fits(truthOf(verb));
  const bool success = result.code == 0;
  const bool told = saysDone(answers);
  // After a write reported as failed, nothing is read back.
  const bool isBreach = (success && !told) || (!success && told && result.code != 1) ||
                        (result.code != 0 && result.code != 1 && result.code != 6 && result.code != 7);
  if (isBreach) {
    ++counts.breach;
    std::printf("breach: %s ended with %d: %s\n", qPrintable(verb.words.join(' ')), result.code,
                result.out.constData());
  } else if (success) {
    ++(isDone ? counts.success : counts.falseSuccess);
  } else {
    ++(isDone ? counts.thoughDone : counts.failure);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10'000;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  CliBench bench;
  const QString file = bench.path("table.bin");
  if (bench.run(QStringList{"edid", "read", "--slot", "5", "-o", file}).code != 0) {
    return 1;
  }
  QFile opened(file);
  opened.open(QIODevice::ReadOnly);
  const QByteArray content = opened.readAll();
  const Bytes table(content.begin(), content.end());

  std::map<QString, Counts> all;
  for (unsigned number = 0; number < count; ++number) {
    SeededRandom random({seed, number});
    for (const Verb& verb : verbs(random, file, table)) {
      bench.renew();
      addRandomFaults(random, (std::uint64_t{seed} << 32) + number);
      judge(verb, bench, all[verb.words.mid(0, 2).join(' ')]);
    }
  }
  unsigned breaches = 0;
  std::printf("%-16s %9s %9s %11s %14s %7s\n", "verb", "success", "failure", "though done", "false success", "breach");
  for (const auto& [name, counts] : all) {
    std::printf("%-16s %9u %9u %11u %14u %7u\n", qPrintable(name), counts.success, counts.failure, counts.thoughDone,
                counts.falseSuccess, counts.breach);
    breaches += counts.breach;
  }
  std::printf("%u times each, seed %u. A false success: every answer that the rule asks for said that it was done.\n",
              count, seed);
  return breaches == 0 && count > 0 ? 0 : 1;
}
