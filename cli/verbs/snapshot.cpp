#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/readings.h"
#include "cli/result_file.h"
#include "cli/verb.h"

#include <map>
#include <set>

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

/// A snapshot taken apart, by paths such as "info.product".
struct Flat {
  std::map<QString, Value> values;     // the plain ones
  std::map<QString, QString> reasons;  // of those that could not be read
  std::set<QString> incomplete;        // the objects that these are in
};

void flatten(const Value& value, const QString& path, Flat& flat) {
  const auto below = [&path](const QString& key) { return path.isEmpty() ? key : path + '.' + key; };
  if (value.members().empty()) {
    flat.values[path] = value;
  }
  for (const auto& [key, reason] : value["unread"].members()) {
    flat.reasons[below(key)] = reason.text();
    flat.incomplete.insert(path);
  }
  for (const auto& [key, member] : value.members()) {
    if (key != "unread") {
      flatten(member, below(key), flat);
    }
  }
  for (const auto& [unread, reason] : flat.reasons) {
    flat.values.erase(unread);
  }
}

/// Whether a value is missing because it could not be read, alone or with what
/// it belongs to.
bool isUnread(const Flat& flat, QString path) {
  if (flat.values.count(path) > 0) {
    return false;
  }
  while (flat.reasons.count(path) == 0 && flat.incomplete.count(path) == 0) {
    const auto dot = path.lastIndexOf('.');
    if (dot < 0) {
      return false;
    }
    path.truncate(dot);
  }
  return true;
}

/// What cannot be compared counts neither as equal nor as different.
Document differences(const Value& first, const Value& second) {
  Flat before;
  Flat after;
  flatten(first, {}, before);
  flatten(second, {}, after);
  std::set<QString> paths;
  for (const Flat* flat : {&before, &after}) {
    for (const auto& [path, value] : flat->values) {
      paths.insert(path);
    }
  }
  Value::List list;
  QStringList lines;
  for (const QString& path : paths) {
    if (isUnread(before, path) || isUnread(after, path)) {
      continue;
    }
    const Value& old = before.values[path];
    const Value& now = after.values[path];
    if (old != now) {
      list.emplace_back(Value::Members{{"path", path}, {"before", old}, {"after", now}});
      lines << QStringLiteral("%1: %2 -> %3").arg(path, old.shown(), now.shown());
    }
  }
  Document document("diff");
  document.addQuietly("different", !list.empty());
  document.addQuietly("differences", list);
  const auto reasons = [&before, &after] {
    auto all = before.reasons;
    all.insert(after.reasons.begin(), after.reasons.end());
    return all;
  }();
  Value unread;
  for (const auto& [path, reason] : reasons) {
    unread.set(path, reason);
    lines << QStringLiteral("%1: not read (%2)").arg(path, reason);
  }
  if (!unread.isNull()) {
    document.addQuietly("unread", unread);
  }
  document.addText(lines.isEmpty() ? QString("no difference") : joinedLines(lines));
  return document;
}

void compare(Run& run, const Value& first, const Value& second) {
  const Document document = differences(first, second);
  if (!document.value()["unread"].isNull()) {
    run.setExitCode(ExitCode::kFailed);
  }
  run.finish(document);
}

void diffSnapshots(Run& run, const Arguments& arguments) {
  const Value first = loadSnapshot(arguments.text("A"));
  if (arguments.has("B")) {
    compare(run, first, loadSnapshot(arguments.text("B")));
    return;
  }
  const DeviceSession session(run);
  compare(run, first, readSnapshot().value());
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
