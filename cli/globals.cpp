#include "cli/globals.h"

#include "cli/checks.h"
#include "cli/failure.h"
#include "device/hex.h"
#include "session/device_types.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kWaitUnlessSaid = 30s;
constexpr double kLongestWaitSeconds = 86'400;
constexpr std::array kModels{"KVR-7", "KVR-5B"};

std::chrono::milliseconds waitTime(const QString& text) {
  if (text.isEmpty()) {
    return kWaitUnlessSaid;
  }
  bool isNumber = false;
  const double seconds = text.toDouble(&isNumber);
  // Written so that "nan" is refused, too.
  if (!isNumber || !(seconds >= 0 && seconds <= kLongestWaitSeconds)) {
    throw Failure(ExitCode::kUsage,
                  QStringLiteral("--wait takes seconds from 0 to %1, not \"%2\"").arg(kLongestWaitSeconds).arg(text));
  }
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

void readDevice(const QString& text, Globals& globals) {
  globals.model = text;
  for (std::size_t row = 0; row < kModels.size(); ++row) {
    if (text.compare(QLatin1String(kModels[row]), Qt::CaseInsensitive) == 0) {
      const session::DeviceIds ids = session::deviceIds(static_cast<int>(row));
      globals.model = QLatin1String(kModels[row]);
      globals.ids = {device::hexOrZero(ids.vid), device::hexOrZero(ids.pid)};
      return;
    }
  }
  const QStringList parts = text.split(QLatin1Char(':'));
  const auto vid = device::parseHex(parts.value(0));
  const auto pid = device::parseHex(parts.value(1));
  if (parts.size() != 2 || !vid || !pid || *vid > 0xFFFF || *pid > 0xFFFF) {
    throw Failure(ExitCode::kUsage,
                  QStringLiteral("-d takes KVR-7, KVR-5B or VID:PID in hexadecimal, not \"%1\"").arg(text));
  }
  globals.ids = {*vid, *pid};
}

ProgressMode progressMode(const QString& text) {
  static constexpr std::array kNames{"auto", "bar", "lines", "json", "none"};
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (text == QLatin1String(kNames[i])) {
      return static_cast<ProgressMode>(i);
    }
  }
  return ProgressMode::kAuto;
}

}  // namespace

std::vector<Option> globalOptions() {
  using Takes = Option::Takes;
  return {
      {"-d,--device", "Use this device (default: KVR-7)", Takes::kValue, "KVR-7|KVR-5B|VID:PID"},
      {"-j,--json", "Print results and errors as JSON"},
      {"-q,--quiet", "Print no hints and no progress"},
      {"-v,--verbose", "Print each call of the device library to standard error"},
      {"-y,--yes", "Answer yes to questions that a [y/N] would do for"},
      {"-n,--dry-run", "Write nothing; say what would be written"},
      {"--always", "Write also what is right already"},
      {"--confirm", "The word that an irreversible or raw change asks for", Takes::kValue, "WORD"},
      {"--force", "Lift one check, by its name: " + checkNames().toStdString(), Takes::kEach, "NAME"},
      {"--wait", "Wait for the device to come, or to be free (default: 30 s)", Takes::kMaybeValue, "SECONDS"},
      {"--progress",
       "How to show progress, on standard error",
       Takes::kValue,
       "MODE",
       {"auto", "bar", "lines", "json", "none"}},
      {"--log", "Append each call of the device library to a file", Takes::kValue, "FILE"},
      {"--library", "Load this device library", Takes::kValue, "FILE"},
      {"--no-color", "Use no colours; so does the environment variable NO_COLOR"},
      {"--version", "Print the version and end"},
  };
}

Globals readGlobals(const Arguments& arguments) {
  Globals globals;
  readDevice(arguments.has("device") ? arguments.text("device") : QLatin1String(kModels.front()), globals);
  globals.json = arguments.has("json");
  globals.quiet = arguments.has("quiet");
  globals.verbose = arguments.has("verbose");
  globals.yes = arguments.has("yes");
  globals.dryRun = arguments.has("dry-run");
  globals.always = arguments.has("always");
  globals.colour = !arguments.has("no-color");
  if (arguments.has("wait")) {
    globals.wait = waitTime(arguments.text("wait"));
  }
  globals.progress = progressMode(arguments.text("progress"));
  globals.logFile = arguments.text("log");
  globals.library = arguments.text("library");
  globals.confirmation = arguments.text("confirm");
  globals.forced = arguments.list("force");
  for (const QString& name : globals.forced) {
    const auto all = allChecks();
    if (std::none_of(all.begin(), all.end(), [&](const Check& check) { return name == QLatin1String(check.name); })) {
      throw Failure(ExitCode::kUsage,
                    QStringLiteral("--force knows no check named \"%1\"; known: %2").arg(name, checkNames()));
    }
  }
  return globals;
}

}  // namespace cli
