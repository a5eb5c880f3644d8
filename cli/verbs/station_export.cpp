#include "cli/verbs/station_export.h"

#include "device/printable.h"
#include "station/unit_texts.h"

#include <QStringList>
#include <QXmlStreamWriter>

#include <array>

namespace cli {
namespace {

Value factsValue(const station::Facts& facts) {
  Value::Members members;
  for (const auto& [name, fact] : facts) {
    members.emplace_back(name, fact);
  }
  return members;
}

/// "captureVersion V1.04.00, mcuVersion v1.3"
QString factsText(const station::Facts& facts) {
  QStringList parts;
  for (const auto& [name, fact] : facts) {
    parts << name + ' ' + fact;
  }
  return parts.join(", ");
}

Value textOrNull(const QString& text) { return text.isEmpty() ? Value() : Value(text); }

Value stepValue(const station::StepRecord& step) {
  return Value::Members{{"name", step.name},
                        {"outcome", nameOf(step.outcome)},
                        {"evidence", textOrNull(step.evidence)},
                        {"reason", textOrNull(step.reason)},
                        {"tries", step.tries},
                        {"durationMs", step.duration.count()},
                        {"details", factsValue(step.details)}};
}

QString stepText(const station::StepRecord& step) {
  return "  " + station::outcomeText(step) + QStringLiteral(", %1 ms").arg(step.duration.count());
}

/// What the attempt's line of a table holds.
QString stepsCell(const station::AttemptRecord& attempt) {
  QStringList parts;
  for (const station::StepRecord& step : attempt.steps) {
    parts << step.name + '=' + nameOf(step.outcome);
  }
  return parts.join(';');
}

QString keysCell(const station::AttemptRecord& attempt) {
  QStringList parts;
  for (const station::RecordedKey& key : attempt.keys) {
    parts << key.key.sha256;
  }
  return parts.join(';');
}

struct CsvColumn {
  const char* name;
  QString (*cell)(const station::AttemptRecord&);
};
using Record = station::AttemptRecord;
constexpr std::array kColumns{
    CsvColumn{"attempt", [](const Record& record) { return QString::number(record.id); }},
    CsvColumn{"serial", [](const Record& record) { return record.serial; }},
    CsvColumn{"round", [](const Record& record) { return QString::number(record.round); }},
    CsvColumn{"result", [](const Record& record) { return record.result; }},
    CsvColumn{"reason", [](const Record& record) { return record.reason; }},
    CsvColumn{"started", [](const Record& record) { return record.started; }},
    CsvColumn{"ended", [](const Record& record) { return record.ended; }},
    CsvColumn{"durationMs", [](const Record& record) { return QString::number(record.durationMs); }},
    CsvColumn{"model", [](const Record& record) { return record.model; }},
    CsvColumn{"station", [](const Record& record) { return record.station; }},
    CsvColumn{"operator", [](const Record& record) { return record.operatorName; }},
    CsvColumn{"job", [](const Record& record) { return record.job; }},
    CsvColumn{"jobSha256", [](const Record& record) { return record.jobSha256; }},
    CsvColumn{"program", [](const Record& record) { return record.program; }},
    CsvColumn{"library", [](const Record& record) { return record.library; }},
    CsvColumn{"recording", [](const Record& record) { return record.recording; }},
    CsvColumn{"versionsBefore", [](const Record& record) { return factsText(record.versionsBefore); }},
    CsvColumn{"versionsAfter", [](const Record& record) { return factsText(record.versionsAfter); }},
    CsvColumn{"images", [](const Record& record) { return factsText(record.images); }},
    CsvColumn{"steps", &stepsCell},
    CsvColumn{"keys", &keysCell},
};

/// Quoted always. What a spreadsheet would take for a formula, in letters of either width,
/// gets an apostrophe; so does what begins with one, so that it can be taken off again.
QString csvCell(QString text) {
  static const QString marks = QStringLiteral("=+-@\t\r\n'\uFF1D\uFF0B\uFF0D\uFF20");
  if (!text.isEmpty() && marks.contains(text.front())) {
    text.prepend('\'');
  }
  return '"' + text.replace('"', "\"\"") + '"';
}

void writeCase(QXmlStreamWriter& xml, const station::AttemptRecord& attempt) {
  xml.writeStartElement("testcase");
  xml.writeAttribute("classname", device::printable(attempt.model + '.' + attempt.station));
  xml.writeAttribute("name", device::printable(attempt.serial));
  xml.writeAttribute("time", QString::number(static_cast<double>(attempt.durationMs) / 1000.0, 'f', 3));
  if (attempt.result == "FAIL") {
    xml.writeEmptyElement("failure");
    xml.writeAttribute("message", device::printable(attempt.reason));
  } else if (attempt.result != "PASS") {
    xml.writeEmptyElement("error");
    xml.writeAttribute("type", attempt.result.isEmpty() ? QString("OPEN") : attempt.result);
    xml.writeAttribute("message", device::printable(attempt.reason));
  }
  QStringList lines;
  for (const station::StepRecord& step : attempt.steps) {
    lines << device::printable(stepText(step).trimmed());
  }
  xml.writeTextElement("system-out", lines.join('\n'));
  xml.writeEndElement();
}

}  // namespace

Value attemptValue(const station::AttemptRecord& attempt) {
  Value::List steps;
  for (const station::StepRecord& step : attempt.steps) {
    steps.push_back(stepValue(step));
  }
  Value::List keys;
  for (const station::RecordedKey& key : attempt.keys) {
    keys.emplace_back(
        Value::Members{{"file", key.key.path}, {"sha256", key.key.sha256}, {"lost", textOrNull(key.lost)}});
  }
  return Value::Members{{"attempt", attempt.id},
                        {"serial", attempt.serial},
                        {"round", attempt.round},
                        {"result", textOrNull(attempt.result)},
                        {"reason", textOrNull(attempt.reason)},
                        {"started", attempt.started},
                        {"ended", textOrNull(attempt.ended)},
                        {"durationMs", attempt.durationMs},
                        {"model", attempt.model},
                        {"station", attempt.station},
                        {"operator", attempt.operatorName},
                        {"job", attempt.job},
                        {"jobSha256", attempt.jobSha256},
                        {"program", attempt.program},
                        {"library", attempt.library},
                        {"recording", textOrNull(attempt.recording)},
                        {"images", factsValue(attempt.images)},
                        {"versionsBefore", factsValue(attempt.versionsBefore)},
                        {"versionsAfter", factsValue(attempt.versionsAfter)},
                        {"steps", steps},
                        {"keys", keys}};
}

QString attemptText(const station::AttemptRecord& attempt) {
  QStringList lines;
  lines << QStringLiteral("Attempt %1: %2%3")
               .arg(attempt.id)
               .arg(attempt.result.isEmpty() ? QString("without an end") : attempt.result,
                    attempt.reason.isEmpty() ? QString() : ", " + attempt.reason);
  lines << QStringLiteral("  %1 to %2, station %3, operator %4")
               .arg(attempt.started, attempt.ended.isEmpty() ? QString("?") : attempt.ended, attempt.station,
                    attempt.operatorName);
  lines << QStringLiteral("  job %1 (SHA-256 %2...), %3, %4")
               .arg(attempt.job, attempt.jobSha256.left(8), attempt.program, attempt.library);
  if (!attempt.recording.isEmpty()) {
    lines << QStringLiteral("  recording %1").arg(attempt.recording);
  }
  for (const auto& [label, versions] :
       {std::pair("before", &attempt.versionsBefore), std::pair("after", &attempt.versionsAfter)}) {
    if (!versions->empty()) {
      lines << QStringLiteral("  %1: %2").arg(QLatin1String(label), factsText(*versions));
    }
  }
  for (const station::StepRecord& step : attempt.steps) {
    lines << stepText(step);
  }
  for (const station::RecordedKey& key : attempt.keys) {
    lines << QStringLiteral("  key %1%2").arg(key.key.path, key.lost.isEmpty() ? QString() : ", lost: " + key.lost);
  }
  return joinedLines(lines) + '\n';
}

Value eventValue(const station::UnitEvent& event) {
  return Value::Members{{"event", event.isScrap ? "scrap" : "rework"},
                        {"operator", event.operatorName},
                        {"reason", event.reason},
                        {"at", event.at}};
}

QString eventText(const station::UnitEvent& event) {
  const QString line = QStringLiteral("%1 at %2 by %3: %4")
                           .arg(event.isScrap ? QString("Scrapped") : QStringLiteral("Rework %1").arg(event.round),
                                event.at, event.operatorName, event.reason);
  return joinedLines({line}) + '\n';
}

QByteArray csvOf(const std::vector<station::AttemptRecord>& attempts) {
  QStringList names;
  for (const CsvColumn& column : kColumns) {
    names << QLatin1String(column.name);
  }
  QByteArray lines = names.join(',').toUtf8() + "\r\n";
  for (const station::AttemptRecord& attempt : attempts) {
    QStringList cells;
    for (const CsvColumn& column : kColumns) {
      cells << csvCell(column.cell(attempt));
    }
    lines += cells.join(',').toUtf8() + "\r\n";
  }
  return lines;
}

QByteArray junitOf(const std::vector<station::AttemptRecord>& attempts) {
  const auto countOf = [&attempts](const auto& holds) {
    return QString::number(std::count_if(attempts.begin(), attempts.end(), holds));
  };
  QByteArray text;
  QXmlStreamWriter xml(&text);
  xml.setAutoFormatting(true);
  xml.setAutoFormattingIndent(2);
  xml.writeStartDocument();
  xml.writeStartElement("testsuite");
  xml.writeAttribute("name", "station");
  xml.writeAttribute("tests", QString::number(attempts.size()));
  xml.writeAttribute("failures", countOf([](const Record& record) { return record.result == "FAIL"; }));
  xml.writeAttribute("errors",
                     countOf([](const Record& record) { return record.result != "FAIL" && record.result != "PASS"; }));
  for (const station::AttemptRecord& attempt : attempts) {
    writeCase(xml, attempt);
  }
  xml.writeEndElement();
  xml.writeEndDocument();
  return text;
}

Document exportDocument(const std::vector<station::AttemptRecord>& attempts) {
  Value::List list;
  for (const station::AttemptRecord& attempt : attempts) {
    list.push_back(attemptValue(attempt));
  }
  Document document("station-export");
  document.addQuietly("attempts", list);
  return document;
}

}  // namespace cli
