#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/readings.h"
#include "cli/result_file.h"
#include "cli/verb.h"

#include <map>

namespace cli {
namespace {

void takeSnapshot(Run& run, const Arguments& arguments) {
  const DeviceSession session(run);
  const Document document = readSnapshot();
  if (!arguments.has("FILE")) {
    run.finish(document);
    return;
  }
  writeResultFile(arguments.text("FILE"), document.value().json() + '\n');
  if (!document.isComplete()) {
    run.setExitCode(ExitCode::kFailed);
  }
}

Value loadSnapshot(const QString& path) {
  QString error;
  Value snapshot = Value::fromJson(readInputFile(path), &error);
  if (!error.isEmpty() || snapshot["schema"].text() != "pellavox-cli/snapshot") {
    throw Failure(ExitCode::kRefused, QStringLiteral("%1 is no snapshot%2")
                                          .arg(path, error.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(error)));
  }
  return snapshot;
}

/// The plain values of a document by their paths, for example "info.product".
void flatten(const Value& value, const QString& path, std::map<QString, Value>& values) {
  if (value.members().empty()) {
    values[path] = value;
    return;
  }
  for (const auto& [key, member] : value.members()) {
    flatten(member, path.isEmpty() ? key : path + '.' + key, values);
  }
}

Document differences(const Value& first, const Value& second) {
  std::map<QString, Value> before;
  std::map<QString, Value> after;
  flatten(first, {}, before);
  flatten(second, {}, after);
  for (const auto& [path, value] : before) {
    after.try_emplace(path);
  }
  Value::List list;
  QStringList lines;
  for (const auto& [path, value] : after) {
    const Value& old = before[path];
    if (old != value) {
      list.emplace_back(Value::Members{{"path", path}, {"before", old}, {"after", value}});
      lines << QStringLiteral("%1: %2 -> %3").arg(path, old.shown(), value.shown());
    }
  }
  Document document("diff");
  document.addQuietly("different", !list.empty());
  document.addQuietly("differences", list);
  document.addText(lines.isEmpty() ? QString("no difference") : lines.join('\n'));
  return document;
}

void diffSnapshots(Run& run, const Arguments& arguments) {
  const Value first = loadSnapshot(arguments.text("A"));
  if (arguments.has("B")) {
    run.finish(differences(first, loadSnapshot(arguments.text("B"))));
    return;
  }
  const DeviceSession session(run);
  const Document present = readSnapshot();
  // A value that is not read now must not count as one that went away.
  if (!present.isComplete()) {
    run.setExitCode(ExitCode::kFailed);
  }
  run.finish(differences(first, present.value()));
}

}  // namespace

Command snapshotVerb() {
  return {"snapshot",
          "Read everything that can be read, into one document",
          {{"FILE", "Write it there as JSON instead of printing it", Option::Takes::kValue}},
          {},
          takeSnapshot};
}

Command diffVerb() {
  using Takes = Option::Takes;
  return {"diff",
          "Compare two snapshots, or one with the device",
          {{"A", "A snapshot", Takes::kValue, "", {}, true},
           {"B", "Another one; left out: the device as it is", Takes::kValue}},
          {},
          diffSnapshots};
}

}  // namespace cli
