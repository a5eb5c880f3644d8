#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/readings.h"
#include "cli/verb.h"

#include <QDateTime>

#include <array>
#include <limits>

namespace cli {
namespace {

using namespace std::chrono_literals;

struct WatchedVerb {
  const char* name;
  Document (*read)();
};

constexpr std::array kWatched{
    WatchedVerb{"rx", readRx},
    WatchedVerb{"video", readVideo},
    WatchedVerb{"audio", readAudio},
    WatchedVerb{"hdcp", readHdcp},
    WatchedVerb{"mcu", readMcu},
    WatchedVerb{"edid", readEdid},
    WatchedVerb{"gpio", [] { return readGpio(); }},
    WatchedVerb{"info", readInfo},
    WatchedVerb{"serial", readSerial},
    WatchedVerb{"snapshot", readSnapshot},
};

std::vector<std::string> watchedNames() {
  std::vector<std::string> names;
  names.reserve(kWatched.size());
  for (const WatchedVerb& verb : kWatched) {
    names.emplace_back(verb.name);
  }
  return names;
}

std::chrono::milliseconds intervalArgument(const Arguments& arguments) {
  constexpr double kShortest = 0.01;
  constexpr double kLongest = 86'400;
  if (!arguments.has("interval")) {
    return 1s;
  }
  bool isNumber = false;
  const double seconds = arguments.text("interval").toDouble(&isNumber);
  // Written so that "nan" is refused, too.
  if (!isNumber || !(seconds >= kShortest && seconds <= kLongest)) {
    throw Failure(ExitCode::kUsage, QStringLiteral("--interval takes seconds from %1 to %2, not \"%3\"")
                                        .arg(kShortest)
                                        .arg(kLongest)
                                        .arg(arguments.text("interval")));
  }
  return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

void print(Run& run, const Document& document) {
  const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
  if (run.options().json) {
    Value value = document.value();
    value.set("time", time);
    run.printLine(value.json(true));
  } else {
    run.writeData(time.toUtf8() + '\n' + document.text().toUtf8() + '\n');
  }
}

// A port whose device was unplugged meanwhile stays dead.
void openAnew(DeviceSession& session) {
  try {
    session.reopen(0ms);
  } catch (const Failure&) {
    // Not back yet: the next readings say so.
  }
}

void watch(Run& run, const Arguments& arguments) {
  const QString name = arguments.has("VERB") ? arguments.text("VERB") : QString("video");
  const auto* const verb = std::find_if(kWatched.begin(), kWatched.end(), [&name](const WatchedVerb& candidate) {
    return name == QLatin1String(candidate.name);
  });
  const auto interval = intervalArgument(arguments);
  const std::int64_t count =
      arguments.has("count") ? arguments.number("count", 1, std::numeric_limits<std::int32_t>::max()) : 0;
  DeviceSession session(run);
  for (std::int64_t i = 0; !interruption::isRequested(); ++i) {
    const Document document = verb->read();
    print(run, document);
    if (!document.isComplete()) {
      run.setExitCode(ExitCode::kFailed);
    }
    if (i + 1 == count) {
      return;
    }
    run.console().rest(interval);
    if (!document.isComplete()) {
      openAnew(session);
    }
  }
}

}  // namespace

Command watchVerb() {
  using Takes = Option::Takes;
  return {"watch",
          "Show readings again and again, until Ctrl-C; as JSON in one line each",
          {{"VERB", "What to show (default: video)", Takes::kValue, "", watchedNames()},
           {"--interval", "Seconds between two readings (default: 1)", Takes::kValue, "SECONDS"},
           {"--count", "End after so many readings", Takes::kValue, "N"}},
          {},
          watch};
}

}  // namespace cli
