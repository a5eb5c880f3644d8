#include "cli/change.h"

#include "cli/failure.h"

namespace cli {
namespace {

QString shown(const Change& change, const Value& value) { return change.show ? change.show(value) : value.shown(); }

Document changeDocument(const Change& change, bool changed) {
  Document document(change.schema);
  document.add(change.key, change.label, change.wanted,
               change.wantedText.isEmpty() ? shown(change, change.wanted) : change.wantedText);
  for (const auto& [key, value] : change.more) {
    document.addQuietly(key, value);
  }
  for (const auto& [label, text] : change.notes) {
    document.add({}, label, {}, text);
  }
  document.add("changed", "Changed", changed, changed ? "yes" : "no");
  return document;
}

Failure notAsWanted(const Change& change, const Value& found) {
  Failure failure(ExitCode::kMismatch, QStringLiteral("%1: wrote %2, but the device reads back %3")
                                           .arg(change.label, shown(change, change.wanted), shown(change, found)));
  failure.details.set("wanted", change.wanted);
  failure.details.set("found", found);
  return failure;
}

void check(const Change& change) {
  Value found;
  switch (readBack(change.read, change.wanted, &found)) {
    case ReadBack::kAsWanted:
      return;
    case ReadBack::kOtherwise:
      throw notAsWanted(change, found);
    case ReadBack::kUnreadable:
      throw Failure(ExitCode::kUnchecked, QStringLiteral("%1: written, but it cannot be read back").arg(change.label));
  }
}

}  // namespace

ReadBack readBack(const std::function<device::Result<Value>()>& read, const Value& wanted, Value* last) {
  constexpr int kMoreReads = 3;
  constexpr int kDecisive = 2;
  const auto note = [last](const device::Result<Value>& found) {
    if (found) {
      *last = *found;
    }
  };
  const auto first = read();
  if (first == wanted) {
    return ReadBack::kAsWanted;
  }
  note(first);
  int right = 0;
  int wrong = 0;
  for (int i = 0; i < kMoreReads; ++i) {
    const auto found = read();
    if (found == wanted) {
      ++right;
    } else if (found) {
      ++wrong;
      note(found);
    }
  }
  if (right >= kDecisive) {
    return ReadBack::kAsWanted;
  }
  return wrong >= kDecisive ? ReadBack::kOtherwise : ReadBack::kUnreadable;
}

void apply(Run& run, const Change& change) {
  run.stopIfInterrupted();
  const auto before = change.read ? change.read() : device::Result<Value>(Value());
  if (change.read && before == change.wanted && !run.options().always) {
    Document document = changeDocument(change, false);
    document.add("evidence", "Evidence", "readback", "it is so already");
    run.finish(document);
    return;
  }
  if (run.options().dryRun) {
    Document document = changeDocument(change, false);
    document.add("dryRun", "Dry run", true, "nothing written");
    run.finish(document);
    return;
  }
  const QString question = QStringLiteral("Set %1 to %2?").arg(change.label.toLower(), shown(change, change.wanted));
  run.confirm(change.weight, change.question.isEmpty() ? question : change.question, change.word);
  if (const auto written = change.write(); !written) {
    Failure failure(ExitCode::kFailed,
                    QStringLiteral("%1: the device did not take it (%2)").arg(change.label, reasonOf(written.error())));
    failure.details.set("status", written.error().status);
    throw failure;
  }
  const bool isReadBack = change.read && (before || !change.mayBeWriteOnly);
  if (isReadBack) {
    check(change);
  }
  Document document = changeDocument(change, true);
  if (change.read && before) {
    document.add("before", "Before", *before, shown(change, *before));
  }
  document.add("evidence", "Evidence", isReadBack ? "readback" : "reported",
               isReadBack ? "read back" : "reported by the device only");
  run.finish(document);
}

}  // namespace cli
