#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/edid_text.h"
#include "cli/failure.h"
#include "cli/readings.h"
#include "cli/result_file.h"
#include "cli/verb.h"
#include "cli/verbs/edid_commands.h"
#include "edid/edid_calls.h"
#include "edid/edid_check.h"
#include "edid/whole_table.h"

#include <QCryptographicHash>

#include <optional>

namespace cli {
namespace {

using edid::TableReader;
using edid::TableSize;

constexpr int kLongestTable = 512;

std::span<const std::uint8_t> spanOf(const QByteArray& table) {
  return {reinterpret_cast<const std::uint8_t*>(table.constData()), static_cast<std::size_t>(table.size())};
}

std::optional<TableReader> placeArgument(const Arguments& arguments) {
  const int places = (arguments.has("slot") ? 1 : 0) + (arguments.has("sink") ? 1 : 0) + (arguments.has("ddc") ? 1 : 0);
  if (places > 1) {
    throw Failure(ExitCode::kUsage, "say only one of --slot, --sink and --ddc");
  }
  if (arguments.has("slot")) {
    const auto slot = static_cast<std::uint8_t>(arguments.number("slot", 0, edid::kSlotCount - 1));
    return [slot](TableSize size) { return edid::readFlashTable(slot, size); };
  }
  if (arguments.has("sink")) {
    return edid::readSinkTable;
  }
  if (arguments.has("ddc")) {
    return edid::readDdcTable;
  }
  return std::nullopt;
}

QByteArray requireRead(const device::Result<QByteArray>& table) {
  if (!table) {
    throw Failure(ExitCode::kFailed, QStringLiteral("the table cannot be read (%1)").arg(reasonOf(table.error())));
  }
  return *table;
}

QByteArray fileTable(const Run& run, const QString& path) {
  constexpr int kMost = 1024 * 1024;
  return path == "-" ? run.console().readAll() : readInputFile(path, kMost);
}

QByteArray givenTable(Run& run, const Arguments& arguments) {
  const auto place = placeArgument(arguments);
  if (arguments.has("FILE") == place.has_value()) {
    throw Failure(ExitCode::kUsage, "say one of FILE, -, --slot, --sink and --ddc");
  }
  if (!place) {
    return fileTable(run, arguments.text("FILE"));
  }
  const DeviceSession session(run);
  return requireRead(edid::readWholeTable(*place));
}

void showTable(Run& run, const Arguments& arguments) {
  const QByteArray table = givenTable(run, arguments);
  const auto description = edid::describe(spanOf(table));
  if (!description) {
    throw Failure(ExitCode::kRefused, QStringLiteral("%1 bytes are no EDID").arg(table.size()));
  }
  Document document = describeEdid(*description);
  addFindings(document, edid::checkTable(spanOf(table)));
  run.finish(document);
}

void checkEdid(Run& run, const Arguments& arguments) {
  const QByteArray table = givenTable(run, arguments);
  const auto findings = edid::checkTable(spanOf(table));
  Document document("edid");
  document.add("size", "Size", table.size(), QStringLiteral("%1 bytes").arg(table.size()));
  const bool accepted = edid::isAccepted(findings);
  document.add("accepted", "Fit to be written", accepted, accepted ? "yes" : "no");
  addFindings(document, findings);
  run.finish(document);
  if (!accepted) {
    run.setExitCode(ExitCode::kRefused);
  }
}

void readEdidTable(Run& run, const Arguments& arguments) {
  const auto place = placeArgument(arguments);
  const QString output = arguments.text("output");
  if (!place || (output.isEmpty() && !run.options().json) || (output == "-" && run.options().json)) {
    throw Failure(ExitCode::kUsage,
                  place ? "say -o FILE or -o -; with -j, not the latter" : "say one of --slot, --sink and --ddc");
  }
  const int size = arguments.has("size") ? static_cast<int>(arguments.number("size", 256, 512)) : 256;
  const DeviceSession session(run);
  const QByteArray table = requireRead((*place)(edid::sizeFor(size)));
  if (output == "-") {
    run.writeData(table);
    return;
  }
  Document document("edid");
  document.add("size", "Size", table.size(), QStringLiteral("%1 bytes").arg(table.size()));
  document.addQuietly("table", QString::fromLatin1(table.toHex()));
  if (!output.isEmpty()) {
    writeResultFile(output, table);
    document.add("file", "Saved to", output);
  }
  run.finish(document);
}

/// Told at once, as someone may be asked whether to go on, and with the result.
void fixTable(Run& run, QByteArray& table, Change& change) {
  Value::List list;
  const std::span bytes(reinterpret_cast<std::uint8_t*>(table.data()), static_cast<std::size_t>(table.size()));
  for (const edid::ChangedByte& byte : edid::fixChecksums(bytes)) {
    const QString text = QStringLiteral("byte %1: 0x%2 becomes 0x%3")
                             .arg(byte.offset)
                             .arg(byte.before, 2, 16, QChar('0'))
                             .arg(byte.after, 2, 16, QChar('0'));
    run.hint(text);
    change.notes.emplace_back("Fixed", text);
    list.emplace_back(Value::Members{{"offset", byte.offset}, {"before", byte.before}, {"after", byte.after}});
  }
  change.more.emplace_back("fixed", list);
}

void requireGoodTable(Run& run, const QByteArray& table) {
  if (table.isEmpty()) {
    throw Failure(ExitCode::kRefused, "the EDID is empty");
  }
  if (table.size() > kLongestTable) {
    throw Failure(ExitCode::kRefused,
                  QStringLiteral("an EDID of %1 bytes does not fit: at most %2").arg(table.size()).arg(kLongestTable));
  }
  for (const edid::Finding& finding : edid::checkTable(spanOf(table))) {
    const Check check{edid::nameOf(finding.check).data(), ""};
    if (finding.refuses) {
      run.require(check, false, findingText(finding));
    } else {
      run.hint(findingText(finding));
    }
  }
}

QString tableText(const Value& hex) {
  const QByteArray table = QByteArray::fromHex(hex.text().toLatin1());
  const QByteArray hash = QCryptographicHash::hash(table, QCryptographicHash::Sha256).toHex().left(8);
  return QStringLiteral("%1 bytes, SHA-256 %2...").arg(table.size()).arg(QString::fromLatin1(hash));
}

void writeTable(Run& run, const Arguments& arguments) {
  const auto slot = static_cast<std::uint8_t>(arguments.number("slot", 0, edid::kSlotCount - 1));
  QByteArray table = fileTable(run, arguments.text("FILE"));
  Change change;
  if (arguments.has("fix-checksums")) {
    fixTable(run, table, change);
  }
  requireGoodTable(run, table);
  change.more.emplace_back("slot", slot);
  change.schema = "edid";
  change.key = "table";
  change.label = QStringLiteral("Table of slot %1").arg(slot);
  change.wanted = QString::fromLatin1(table.toHex());
  change.show = tableText;
  change.read = [slot, bytes = table.size()] {
    return edid::readFlashTable(slot, edid::sizeFor(bytes)).map([bytes](const QByteArray& read) {
      return Value(QString::fromLatin1(read.left(bytes).toHex()));
    });
  };
  change.write = [slot, &table] { return edid::writeFlashTable(slot, spanOf(table)); };
  change.weight = Weight::kLasting;
  change.question = QStringLiteral("Write an EDID of %1 bytes to slot %2?").arg(table.size()).arg(slot);
  const DeviceSession session(run);
  apply(run, change);
}

}  // namespace

std::vector<Command> edidTableCommands() {
  using Takes = Option::Takes;
  const Option file{"FILE", "A file; - is standard input", Takes::kValue};
  Option neededFile = file;
  neededFile.required = true;
  const Option slot{"--slot", "The table of a flash slot, 0 to 6", Takes::kValue, "N"};
  Option neededSlot = slot;
  neededSlot.required = true;
  const Option sink{"--sink", "The table of the sink at the transmitter"};
  const Option ddc{"--ddc", "The table that the source gets to read"};
  return {
      {"show", "Show what a table says about its display", {file, slot, sink, ddc}, {}, showTable},
      {"check", "Find out whether a table is fit to be written", {file, slot, sink, ddc}, {}, checkEdid},
      {"read",
       "Save a table of the device",
       {slot,
        sink,
        ddc,
        {"--size", "Its size (default: 256)", Takes::kValue, "BYTES", {"256", "384", "512"}},
        {"-o,--output", "Where to; - is standard output", Takes::kValue, "FILE"}},
       {},
       readEdidTable},
      {"write",
       "Write a table into a flash slot",
       {neededFile, neededSlot, {"--fix-checksums", "Make its checksums right, and print each byte changed"}},
       {},
       writeTable},
  };
}

Command edidVerb() {
  Command verb{"edid", "Show, check, read and write EDID tables, and which of them is in use"};
  verb.commands = edidTableCommands();
  for (Command& command : edidSettingCommands()) {
    verb.commands.push_back(std::move(command));
  }
  return verb;
}

}  // namespace cli
