#include "station/job_reader.h"

#include "device/regular_file.h"
#include "station/job_names.h"
#include "station/job_schema.h"
#include "station/schema_check.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace station {
namespace {

using Json = nlohmann::json;

constexpr qint64 kMostJobBytes = qint64{1024} * 1024;
constexpr qint64 kMostListBytes = qint64{64} * 1024 * 1024;

QString textOf(const Json& value) { return QString::fromStdString(value.get<std::string>()); }

/// What a library says, without its prefix "[json...] parse error at line 3, column 5: ".
QString explanationOf(const std::string& what) {
  static const QRegularExpression prefix(QStringLiteral("^\\[[^\\]]*\\] (parse error[^:]*: )?"));
  return QString::fromStdString(what).remove(prefix).simplified();
}

/// A file may hold names of any length; a line about one must stay one that is read.
QString shortened(const QString& text) {
  constexpr int kMost = 300;
  constexpr int kEnd = 100;  // what is to be done stands there
  return text.size() <= kMost ? text : text.left(kMost - kEnd) + QStringLiteral("...") + text.right(kEnd);
}

/// Reads one job file; collects what is wrong with it.
class JobReader {
 public:
  JobReader(QByteArray bytes, QString path) : bytes_(std::move(bytes)), path_(std::move(path)) {}

  tl::expected<Job, Mistakes> read();

 private:
  bool parse();
  void findRepeatedNames();
  Image imageOf(const Json& part) const;
  void readEdid();
  void readSerial();
  void checkCounter();
  void readSteps();
  void readCompared();
  void requirePart(Step step, const std::string& place);
  std::vector<Compared> comparable() const;
  std::vector<Compared> writtenBy(Step step) const;

  QString absolute(const Json& name) const {
    return QDir::cleanPath(QFileInfo(path_).absoluteDir().absoluteFilePath(textOf(name)));
  }
  void mistake(const std::string& place, const QString& text) {
    mistakes_.push_back({path_, shortened(QString::fromStdString(place)), shortened(text)});
  }

  QByteArray bytes_;
  QString path_;
  Json document_;
  Job job_;
  Mistakes mistakes_;
};

bool JobReader::parse() {
  try {
    document_ = Json::parse(bytes_.begin(), bytes_.end());
    findRepeatedNames();
  } catch (const Json::parse_error& error) {
    const auto line = bytes_.left(static_cast<int>(error.byte)).count('\n') + 1;
    mistake("line " + std::to_string(line), QStringLiteral("is no JSON: %1").arg(explanationOf(error.what())));
    return false;
  } catch (const Json::exception& error) {
    // A number beyond all bounds; the library tells which, but not where.
    mistake("", QStringLiteral("is no JSON: %1").arg(explanationOf(error.what())));
    return false;
  }
  for (const SchemaFinding& finding : checkAgainstSchema(document_, Json::parse(kJobSchema))) {
    mistake(finding.place, QString::fromStdString(finding.text));
  }
  return mistakes_.empty();
}

// The parser keeps the last of two members of one name, and says nothing.
void JobReader::findRepeatedNames() {
  std::vector<std::set<std::string>> names;
  const auto note = [&](int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) {
      names.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      names.pop_back();
    } else if (event == Json::parse_event_t::key && !names.back().insert(parsed.get<std::string>()).second) {
      mistake("", QStringLiteral("\"%1\" stands there twice; remove one").arg(textOf(parsed)));
    }
    return true;
  };
  // Its result is that of the first parse.
  const Json again = Json::parse(bytes_.begin(), bytes_.end(), note);
}

Image JobReader::imageOf(const Json& part) const {
  return {absolute(part["image"]), textOf(part["sha256"]), textOf(part["version"])};
}

void JobReader::readEdid() {
  if (!document_.contains("edid")) {
    return;
  }
  const Json& edid = document_["edid"];
  std::set<int> seen;
  for (const Json& table : edid.value("tables", Json::array())) {
    const int slot = table["slot"];
    if (!seen.insert(slot).second) {
      mistake("/edid/tables", QStringLiteral("slot %1 stands there twice; give each slot one table").arg(slot));
    }
    job_.edid.tables.push_back({static_cast<std::uint8_t>(slot), absolute(table["file"]), textOf(table["sha256"])});
  }
  std::sort(job_.edid.tables.begin(), job_.edid.tables.end(),
            [](const EdidTable& a, const EdidTable& b) { return a.slot < b.slot; });
  if (edid.contains("mode")) {
    job_.edid.mode = edidModeOf(textOf(edid["mode"]));
  }
  if (edid.contains("slot")) {
    job_.edid.defaultSlot = edid["slot"].get<std::uint8_t>();
  }
}

void JobReader::readSerial() {
  const Json& serial = document_["serial"];
  SerialRule& rule = job_.serial;
  rule.source = serialSourceOf(textOf(serial["from"])).value_or(SerialSource::kScan);
  const auto takes = [&](const char* name, SerialSource source, bool needed) {
    if (serial.contains(name) && rule.source != source) {
      mistake(std::string("/serial/") + name, QStringLiteral("belongs to \"from\": \"%1\" only").arg(nameOf(source)));
    } else if (needed && !serial.contains(name) && rule.source == source) {
      mistake("/serial",
              QStringLiteral("\"%1\" is missing; \"from\": \"%2\" needs it").arg(QLatin1String(name), nameOf(source)));
    }
  };
  takes("file", SerialSource::kList, true);
  takes("prefix", SerialSource::kCount, false);
  takes("digits", SerialSource::kCount, true);
  takes("first", SerialSource::kCount, false);
  if (serial.contains("pattern")) {
    rule.pattern = textOf(serial["pattern"]);
    const QRegularExpression pattern(rule.pattern);
    if (!pattern.isValid()) {
      mistake("/serial/pattern", QStringLiteral("is no regular expression: %1").arg(pattern.errorString()));
    }
  }
  if (serial.contains("file")) {
    rule.listFile = absolute(serial["file"]);
  }
  rule.prefix = QString::fromStdString(serial.value("prefix", std::string()));
  rule.digits = serial.value("digits", 0);
  rule.first = serial.value("first", std::int64_t{1});
  if (rule.source == SerialSource::kCount && rule.digits > 0 && mistakes_.empty()) {
    checkCounter();
  }
}

void JobReader::checkCounter() {
  const SerialRule& rule = job_.serial;
  const QString first = QStringLiteral("%1").arg(rule.first, rule.digits, 10, QLatin1Char('0'));
  if (first.size() > rule.digits) {
    mistake("/serial/first", QStringLiteral("has more than %1 digits; raise \"digits\"").arg(rule.digits));
  } else if (const QString text = mistakeInSerialNumber(rule.prefix + first, rule); !text.isEmpty()) {
    mistake("/serial", QStringLiteral("gives numbers that are refused: %1").arg(text));
  }
}

void JobReader::requirePart(Step step, const std::string& place) {
  const bool isThere = step == Step::kMcu       ? job_.mcu.has_value()
                       : step == Step::kCapture ? job_.capture.has_value()
                       : step == Step::kKey     ? !job_.keyFolder.isEmpty()
                       : step == Step::kEdid    ? !job_.edid.tables.empty() || job_.edid.mode || job_.edid.defaultSlot
                                                : true;
  if (!isThere) {
    mistake(place, QStringLiteral("the step \"%1\" needs \"%2\", which says nothing; add it or remove the step")
                       .arg(nameOf(step), step == Step::kKey ? QStringLiteral("keys") : nameOf(step)));
  }
}

void JobReader::readSteps() {
  const int retries = document_.value("retries", 1);
  std::set<Step> seen;
  const Json& steps = document_["steps"];
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::string place = "/steps/" + std::to_string(i);
    const Step step = stepOf(textOf(steps[i]["do"])).value_or(Step::kMcu);
    if (!seen.insert(step).second) {
      mistake(place, QStringLiteral("the step \"%1\" stands there twice; remove one").arg(nameOf(step)));
    }
    requirePart(step, place);
    job_.steps.push_back({step, steps[i].value("retries", retries)});
  }
}

/// What a step leaves behind that can be read again. A key cannot.
std::vector<Compared> JobReader::writtenBy(Step step) const {
  switch (step) {
    case Step::kMcu:
      return {Compared::kMcuVersion};
    case Step::kCapture:
      return {Compared::kCaptureVersion};
    case Step::kSerial:
      return {Compared::kSerialNumber};
    case Step::kKey:
      return {};
    case Step::kEdid:
      break;
  }
  std::vector<Compared> written;
  if (!job_.edid.tables.empty()) {
    written.push_back(Compared::kEdidTables);
  }
  if (job_.edid.mode) {
    written.push_back(Compared::kEdidMode);
  }
  if (job_.edid.defaultSlot) {
    written.push_back(Compared::kEdidSlot);
  }
  return written;
}

/// What the job knows the wanted value of.
std::vector<Compared> JobReader::comparable() const {
  std::vector<Compared> all;
  const auto add = [&all](const std::vector<Compared>& more) { all.insert(all.end(), more.begin(), more.end()); };
  if (job_.mcu) {
    add(writtenBy(Step::kMcu));
  }
  if (job_.capture) {
    add(writtenBy(Step::kCapture));
  }
  add(writtenBy(Step::kSerial));
  add(writtenBy(Step::kEdid));
  return all;
}

void JobReader::readCompared() {
  const auto has = [](const std::vector<Compared>& list, Compared one) {
    return std::find(list.begin(), list.end(), one) != list.end();
  };
  const std::vector<Compared> known = comparable();
  if (!document_.contains("compare")) {
    const bool writesSerial = std::any_of(job_.steps.begin(), job_.steps.end(),
                                          [](const PlannedStep& planned) { return planned.step == Step::kSerial; });
    std::copy_if(known.begin(), known.end(), std::back_inserter(job_.compared),
                 [&](Compared one) { return writesSerial || one != Compared::kSerialNumber; });
    return;
  }
  for (const Json& name : document_["compare"]) {
    const Compared one = comparedOf(textOf(name)).value_or(Compared::kSerialNumber);
    if (!has(known, one)) {
      mistake(
          "/compare",
          QStringLiteral("the job does not say what \"%1\" must be; add that or remove the name").arg(textOf(name)));
    }
    job_.compared.push_back(one);
  }
  for (const PlannedStep& planned : job_.steps) {
    for (const Compared written : writtenBy(planned.step)) {
      if (!has(job_.compared, written)) {
        mistake("/compare", QStringLiteral("leaves out \"%1\", which the step \"%2\" writes; add it")
                                .arg(nameOf(written), nameOf(planned.step)));
      }
    }
  }
}

tl::expected<Job, Mistakes> JobReader::read() {
  if (!parse()) {
    return tl::unexpected(mistakes_);
  }
  job_.path = QFileInfo(path_).absoluteFilePath();
  job_.sha256 = QString::fromLatin1(QCryptographicHash::hash(bytes_, QCryptographicHash::Sha256).toHex());
  job_.model = textOf(document_["model"]);
  if (document_.contains("mcu")) {
    job_.mcu = imageOf(document_["mcu"]);
  }
  if (document_.contains("capture")) {
    job_.capture = imageOf(document_["capture"]);
  }
  if (document_.contains("keys")) {
    job_.keyFolder = absolute(document_["keys"]);
  }
  readEdid();
  readSerial();
  readSteps();
  readCompared();
  if (document_.value("rework", std::string("refuse")) == "same-unit") {
    job_.rework = Rework::kSameUnit;
  }
  const Json wait = document_.value("wait", Json::object());
  job_.waitForDevice = std::chrono::seconds(wait.value("device", job_.waitForDevice.count()));
  job_.waitForRestart = std::chrono::seconds(wait.value("restart", job_.waitForRestart.count()));
  if (!mistakes_.empty()) {
    return tl::unexpected(mistakes_);
  }
  return job_;
}

/// @return the bytes, or why there are none
tl::expected<QByteArray, Mistake> bytesOf(const QString& path, qint64 most) {
  QFile file(path);
  if (!device::openRegularFile(file, QIODevice::ReadOnly)) {
    return tl::unexpected(Mistake{path, {}, QStringLiteral("cannot be read; is it there, and a file?")});
  }
  // One byte more tells a file that is too large, whatever size it claims.
  QByteArray bytes = file.read(most + 1);
  if (bytes.size() > most) {
    return tl::unexpected(
        Mistake{path, {}, QStringLiteral("is larger than %1 bytes; is it the right file?").arg(most)});
  }
  if (file.error() != QFileDevice::NoError) {
    return tl::unexpected(Mistake{path, {}, QStringLiteral("cannot be read: %1").arg(file.errorString())});
  }
  return bytes;
}

}  // namespace

QString Mistake::line() const {
  return place.isEmpty() ? QStringLiteral("%1: %2").arg(file, text)
                         : QStringLiteral("%1: %2: %3").arg(file, place, text);
}

tl::expected<Job, Mistakes> readJob(const QByteArray& bytes, const QString& path) {
  return JobReader(bytes, path).read();
}

tl::expected<Job, Mistakes> readJob(const QString& path) {
  const auto bytes = bytesOf(path, kMostJobBytes);
  if (!bytes) {
    return tl::unexpected(Mistakes{bytes.error()});
  }
  return readJob(*bytes, path);
}

QString mistakeInSerialNumber(const QString& serial, const SerialRule& rule) {
  if (serial.isEmpty()) {
    return QStringLiteral("the serial number is empty");
  }
  if (serial.size() > kMaxSerialLength) {
    return QStringLiteral("serial number %1 has %2 characters, more than %3")
        .arg(shortened(serial))
        .arg(serial.size())
        .arg(kMaxSerialLength);
  }
  // The device takes UTF-8 and gives Latin-1: what both write alike survives.
  if (!std::all_of(serial.begin(), serial.end(),
                   [](QChar letter) { return letter.unicode() >= 0x20 && letter.unicode() < 0x7F; })) {
    return QStringLiteral("serial number %1 has characters other than ASCII letters, digits and signs").arg(serial);
  }
  if (!rule.pattern.isEmpty() &&
      !QRegularExpression(QRegularExpression::anchoredPattern(rule.pattern)).match(serial).hasMatch()) {
    return QStringLiteral("serial number %1 does not look like %2").arg(serial, rule.pattern);
  }
  return {};
}

tl::expected<QStringList, Mistake> readSerialList(const QString& path) {
  return bytesOf(path, kMostListBytes).map([](const QByteArray& bytes) {
    QStringList lines;
    for (const QString& line : QString::fromUtf8(bytes).split(QLatin1Char('\n'))) {
      if (const QString text = line.trimmed(); !text.isEmpty()) {
        lines << text;
      }
    }
    return lines;
  });
}

QString defaultLedgerPath(const QString& jobPath) {
  const QFileInfo job(jobPath);
  const QString name = job.suffix() == QLatin1String("json") ? job.completeBaseName() : job.fileName();
  return job.absoluteDir().absoluteFilePath(name + QStringLiteral(".ledger"));
}

}  // namespace station
