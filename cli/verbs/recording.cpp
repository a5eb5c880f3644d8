#include "cli/failure.h"
#include "cli/result_file.h"
#include "cli/run.h"
#include "cli/verb.h"
#include "recorder/summary.h"

#include <QFile>

namespace cli {
namespace {

std::filesystem::path pathOf(const QString& text) { return text.toStdU16String(); }

QString textOf(const std::string& text) { return QString::fromStdString(text); }

Failure refusal(const recorder::RecordingError& error) { return {ExitCode::kRefused, textOf(error.text())}; }

recorder::Recording recordingIn(const QString& file) {
  auto recording = recorder::readRecording(pathOf(file), recorder::Parts::kRemaining);
  if (!recording) {
    throw refusal(recording.error());
  }
  return *std::move(recording);
}

void showRecording(Run& run, const Arguments& arguments) {
  const recorder::Recording recording = recordingIn(arguments.text("FILE"));
  Document document("recording");
  document.addQuietly("file", arguments.text("FILE"));
  document.addQuietly("library", textOf(recording.header.library));
  document.addQuietly("librarySha256", textOf(recording.header.librarySha256));
  document.addQuietly("simulated", recording.header.simulated);
  document.addQuietly("redacted", recording.header.redacted);
  document.addQuietly("recorded", textOf(recording.header.utc));
  document.addQuietly("calls", recording.calls.size());
  document.addQuietly("complete", recording.walk.complete);
  document.addText(textOf(recorder::summaryOf(recording)).trimmed());
  run.finish(document);
}

void checkRecording(Run& run, const Arguments& arguments) {
  const auto walk = recorder::walkRecording(
      pathOf(arguments.text("FILE")), [](auto, auto&&) {}, recorder::Parts::kRemaining);
  if (!walk) {
    throw refusal(walk.error());
  }
  if (walk->cutOff) {
    throw refusal({walk->lastFile, walk->lastLine + 1, "the recording is cut off in this line"});
  }
  if (!walk->complete) {
    throw refusal({walk->lastFile, walk->lastLine, "the recording ends here, without its last line"});
  }
  Document document("recording");
  document.add("file", "Recording", arguments.text("FILE"));
  document.add("calls", "Calls", walk->ended + walk->underWay.size());
  document.add(
      "complete", "Complete", true,
      walk->firstPart == 1
          ? QStringLiteral("yes, and unchanged")
          : QStringLiteral("unchanged from part %1 on; those before were removed to save space").arg(walk->firstPart));
  run.finish(document);
}

void compareRecordings(Run& run, const Arguments& arguments) {
  const std::string differences =
      recorder::differencesBetween(recordingIn(arguments.text("A")), recordingIn(arguments.text("B")));
  Document document("recording");
  document.addQuietly("file", arguments.text("A"));
  document.addQuietly("other", arguments.text("B"));
  document.addQuietly("different", !differences.empty());
  document.addText(differences.empty() ? QString("no difference") : textOf(differences).trimmed());
  run.finish(document);
  if (!differences.empty()) {
    run.setExitCode(ExitCode::kDifference);
  }
}

void redactFile(Run& run, const Arguments& arguments) {
  const auto redacted = recorder::redactRecording(pathOf(arguments.text("FILE")), pathOf(arguments.text("output")));
  if (!redacted) {
    throw refusal(redacted.error());
  }
  Document document("recording");
  document.addQuietly("file", arguments.text("output"));
  document.addQuietly("redacted", true);
  document.addText(QStringLiteral("%1 has no serial numbers and no firmware in it").arg(arguments.text("output")));
  run.finish(document);
}

void makeScenario(Run& run, const Arguments& arguments) {
  const QByteArray scenario = QByteArray::fromStdString(recorder::scenarioOf(recordingIn(arguments.text("FILE"))));
  if (arguments.has("output")) {
    writeResultFile(arguments.text("output"), scenario);
  } else {
    run.writeData(scenario);
  }
}

}  // namespace

Command recordingVerb() {
  using Takes = Option::Takes;
  const Option file{"FILE", "The recording", Takes::kValue, "", {}, true};
  const auto output = [](const char* help, bool required) {
    return Option{"-o,--output", help, Takes::kValue, "FILE", {}, required};
  };
  Command verb{"recording", "Look into recordings; needs no device"};
  verb.commands = {
      {"show", "Sum a recording up: operations, times, packets to the external MCU", {file}, {}, showRecording},
      {"check", "Find out whether a recording is whole and unchanged", {file}, {}, checkRecording},
      {"diff",
       "Tell where two recordings part; ends with 11 when they do",
       {{"A", "A recording", Takes::kValue, "", {}, true}, {"B", "Another one", Takes::kValue, "", {}, true}},
       {},
       compareRecordings},
      {"redact",
       "Write a recording anew, without serial numbers and firmware",
       {file, output("The new recording; must not exist", true)},
       {},
       redactFile},
      {"to-scenario",
       "Make a scenario for the simulated device from what a recording tells of the real one",
       {file, output("Write it there instead of printing it", false)},
       {},
       makeScenario},
  };
  return verb;
}

}  // namespace cli
