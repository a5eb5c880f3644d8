/// @file
/// Compares how the program reads EDIDs with edid-decode, the reference checker:
/// edid_judge [COUNT [SEED]]
///
/// - every sample display passes both;
/// - both read the same modes, for all video codes and established timings;
/// - both have the same tables of those, to the millihertz and kilohertz;
/// - of COUNT damaged tables, with and without repaired checksums, the program accepts
///   every one that edid-decode accepts.
#include "edid/edid_check.h"
#include "edid/edid_description.h"
#include "edid/mode_tables.h"
#include "tests/edid/sample_displays.h"
#include "tests/edid/sample_timings.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

using edid_test::Table;

void startEdidDecode(QProcess& process, const QStringList& options) {
  process.setProcessChannelMode(QProcess::MergedChannels);
  process.start(QStringLiteral("edid-decode"), options);
  if (!process.waitForStarted()) {
    std::fprintf(stderr, "edid-decode cannot be started (Debian package edid-decode)\n");
    std::exit(2);
  }
}

QByteArray edidDecode(const QStringList& options, const Table& table, bool& passed) {
  QProcess process;
  startEdidDecode(process, options + QStringList{"--skip-hex-dump", "-"});
  process.write(reinterpret_cast<const char*>(table.data()), static_cast<qint64>(table.size()));
  process.closeWriteChannel();
  passed = process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
  return process.readAll();
}

bool isPassed(const Table& table) {
  bool passed = false;
  return edidDecode({"--check"}, table, passed).contains("EDID conformity: PASS") && passed;
}

bool isAccepted(const Table& table) { return edid::isAccepted(edid::checkTable(table)); }

void print(const char* what, const Table& table) {
  std::printf("BREACH: %s:", what);
  for (const std::uint8_t byte : table) {
    std::printf(" %02x", byte);
  }
  std::printf("\n");
}

/// A mode in a common notation. Rates of standard timings and CVT codes are nominal.
struct ReadMode {
  int width;
  int height;
  bool interlaced;
  double rate;
};

bool isSame(const ReadMode& left, const ReadMode& right) {
  return left.width == right.width && left.height == right.height && left.interlaced == right.interlaced &&
         std::abs(left.rate - right.rate) < 0.2;
}

std::vector<ReadMode> modesOfEdidDecode(const Table& table) {
  static const QRegularExpression line(QStringLiteral("(\\d+)x(\\d+)(i?) +(\\d+\\.\\d+) Hz"));
  bool passed = false;
  const QString text = QString::fromUtf8(edidDecode({}, table, passed));
  std::vector<ReadMode> modes;
  for (auto matches = line.globalMatch(text); matches.hasNext();) {
    const auto match = matches.next();
    modes.push_back({match.captured(1).toInt(), match.captured(2).toInt(), !match.captured(3).isEmpty(),
                     match.captured(4).toDouble()});
  }
  return modes;
}

/// Whether both read the same modes, in any order.
bool modesAgree(const Table& table, std::size_t& compared) {
  std::vector<ReadMode> theirs = modesOfEdidDecode(table);
  auto modes = edid::describe(table)->modes;
  // edid-decode lists the modes that also support 4:2:0 separately.
  for (std::size_t i = 0, listed = modes.size(); i < listed; ++i) {
    if (modes[i].also420) {
      modes.push_back(edid::Mode(modes[i]));
    }
  }
  for (const edid::Mode& mode : modes) {
    const ReadMode ours{static_cast<int>(mode.width), static_cast<int>(mode.height), mode.interlaced,
                        mode.refreshMilliHz / 1000.0};
    const auto found =
        std::find_if(theirs.begin(), theirs.end(), [&](const ReadMode& theirMode) { return isSame(ours, theirMode); });
    if (found == theirs.end()) {
      std::printf("only here: %s, %s\n", textOf(mode).c_str(), textOf(mode.source));
      return false;
    }
    theirs.erase(found);
    ++compared;
  }
  for (const ReadMode& mode : theirs) {
    std::printf("only in edid-decode: %dx%d %.2f Hz\n", mode.width, mode.height, mode.rate);
  }
  return theirs.empty();
}

/// Modes as edid-decode lists them, by what comes before the colon of a line:
/// "VIC   1:   640x480    59.940476 Hz   4:3     31.469 kHz     25.175000 MHz".
std::map<QString, edid::TableMode> listOfEdidDecode(const QString& option) {
  static const QRegularExpression line(
      QStringLiteral("^([^:]+):.*?(\\d+)x(\\d+)(i?) +([0-9.]+) Hz +\\d+:\\d+ +[0-9.]+ kHz +([0-9.]+) MHz"),
      QRegularExpression::MultilineOption);
  QProcess process;
  startEdidDecode(process, {option});
  process.waitForFinished();
  const auto thousandths = [](const QString& number) {
    return static_cast<std::uint32_t>(std::lround(number.toDouble() * 1000));
  };
  std::map<QString, edid::TableMode> modes;
  for (auto matches = line.globalMatch(QString::fromUtf8(process.readAll())); matches.hasNext();) {
    const auto match = matches.next();
    modes[match.captured(1).simplified()] = {match.captured(2).toUInt(), match.captured(3).toUInt(),
                                             !match.captured(4).isEmpty(), thousandths(match.captured(5)),
                                             thousandths(match.captured(6))};
  }
  return modes;
}

/// Names the bits of a table's bytes, of which edid-decode calls the first `firstByte`.
std::map<QString, edid::TableMode> bitsOf(std::span<const edid::TableMode> table, unsigned firstByte) {
  std::map<QString, edid::TableMode> modes;
  for (unsigned i = 0; i < table.size(); ++i) {
    modes[QString::asprintf("Byte 0x%02x, Bit %u", firstByte + i / 8, 7 - i % 8)] = table[i];
  }
  return modes;
}

bool tableAgrees(const QString& option, const std::map<QString, edid::TableMode>& ours) {
  const std::map<QString, edid::TableMode> theirs = listOfEdidDecode(option);
  for (const auto& [name, mode] : ours) {
    if (const auto found = theirs.find(name); found == theirs.end() || found->second != mode) {
      std::printf("BREACH: %s: %ux%u, %u mHz, %u kHz is not edid-decode's\n", qPrintable(name), mode.width, mode.height,
                  mode.refreshMilliHz, mode.pixelClockKhz);
      return false;
    }
  }
  std::printf("%s: %zu of %zu modes agree\n", qPrintable(option), ours.size(), theirs.size());
  return !ours.empty() && ours.size() == theirs.size();
}

bool tablesAgree() {
  std::map<QString, edid::TableMode> established = bitsOf(edid::establishedModes(), 0x23);
  established.merge(bitsOf(edid::moreEstablishedModes(), 0x06));
  std::map<QString, edid::TableMode> cta;
  for (unsigned code = 0; code < 256; ++code) {
    if (const edid::TableMode* const mode = edid::ctaMode(static_cast<std::uint8_t>(code))) {
      cta[QStringLiteral("VIC %1").arg(code)] = *mode;
    }
  }
  std::map<QString, edid::TableMode> hdmi;
  for (std::size_t i = 0; i < edid::hdmiModes().size(); ++i) {
    hdmi[QStringLiteral("HDMI VIC %1").arg(i + 1)] = edid::hdmiModes()[i];
  }
  return tableAgrees("--list-established-timings", established) && tableAgrees("--list-vics", cta) &&
         tableAgrees("--list-hdmi-vics", hdmi);
}

/// A table with 30 video codes from `first` on, and every established timing.
Table tableOfCodes(unsigned first) {
  edid_test::EdidBuilder builder("ORV", 1, 4, 0xA5, 0x06);
  edid_test::CtaBuilder cta(0xB1);
  Table codes;
  for (unsigned code = first; code < first + 30; ++code) {
    // Avoids reserved codes and codes marked as native.
    codes.push_back(static_cast<std::uint8_t>(code > 127 && code < 193 ? code - 64 : std::min(code, 219U)));
  }
  builder.established(0xFF, 0xFF, 0x80)
      .timing(edid_test::k1080p60)
      .name("CODES")
      .descriptor(0xF7, {0, 0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF0});
  Table block = cta.block();
  block[2] = static_cast<std::uint8_t>(4 + 1 + codes.size());
  block[4] = static_cast<std::uint8_t>(2U << 5 | codes.size());
  std::copy(codes.begin(), codes.end(), block.begin() + 5);
  return builder.extension(block).table();
}

Table damaged(SeededRandom& random, const std::vector<edid_test::SampleDisplay>& displays) {
  Table table = displays[random.below(static_cast<std::uint32_t>(displays.size()))].table;
  const std::uint32_t hits = 1 + random.below(3);
  for (std::uint32_t hit = 0; hit < hits; ++hit) {
    const std::uint32_t size = static_cast<std::uint32_t>(table.size());
    // Half of the damage hits bytes that describe the structure.
    const std::uint32_t block = random.below(size / 128) * 128;
    const std::uint32_t at = random.chance(50) ? random.below(size) : block + random.below(block == 0 ? 20 : 8);
    table[at] = random.chance(50) ? static_cast<std::uint8_t>(table[at] ^ 1U << random.below(8)) : random.byte();
  }
  if (random.chance(5)) {
    table.resize(table.size() + 128);
  } else if (random.chance(5)) {
    table.resize(table.size() - 1 - random.below(127));
  }
  if (random.chance(80)) {
    edid::fixChecksums(table);
  }
  return table;
}

bool samplesAgree(const std::vector<edid_test::SampleDisplay>& displays) {
  std::size_t compared = 0;
  for (const auto& display : displays) {
    if (!isPassed(display.table) || !isAccepted(display.table) || !modesAgree(display.table, compared)) {
      print(display.kind, display.table);
      return false;
    }
  }
  for (const unsigned first : {1U, 31U, 61U, 91U, 98U, 193U}) {
    const Table table = tableOfCodes(first);
    if (!modesAgree(table, compared)) {
      print("modes differ", table);
      return false;
    }
  }
  std::printf("%zu displays pass both; %zu modes are read alike\n", displays.size(), compared);
  return true;
}

}  // namespace

int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  const std::uint32_t count = argc > 1 ? static_cast<std::uint32_t>(std::strtoul(argv[1], nullptr, 10)) : 200;
  const std::uint32_t seed = argc > 2 ? static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10)) : 1;
  if (argc > 3 || count == 0) {
    std::fprintf(stderr, "usage: %s [COUNT [SEED]]\n", argv[0]);
    return 2;
  }
  const auto displays = edid_test::sampleDisplays();
  if (!tablesAgree() || !samplesAgree(displays)) {
    return 1;
  }
  SeededRandom random{seed};
  std::uint32_t passed = 0;
  std::uint32_t accepted = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const Table table = damaged(random, displays);
    const bool passes = isPassed(table);
    const bool accepts = isAccepted(table);
    passed += passes ? 1 : 0;
    accepted += accepts ? 1 : 0;
    if (passes && !accepts) {
      for (const edid::Finding& finding : edid::checkTable(table)) {
        std::printf("block %zu, byte %zu: %s\n", finding.block, finding.offset, finding.text.c_str());
      }
      print("edid-decode passes it", table);
      return 1;
    }
  }
  std::printf("seed %u: of %u damaged tables edid-decode passes %u, all of them accepted; %u accepted in all\n", seed,
              count, passed, accepted);
  // If none passed, nothing was compared.
  return passed == 0 ? 1 : 0;
}
