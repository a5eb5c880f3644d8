/// @file
/// An arbitrary job file: it gives either a job that keeps its own rules, or mistakes
/// with a text each.
#include "device/printable.h"
#include "fuzz/target.h"
#include "station/job_reader.h"

#include <QDir>

#include <set>

namespace {

void checkJob(const station::Job& job) {
  fuzz::require(job.model == QLatin1String("KVR-7") || job.model == QLatin1String("KVR-5B"), "the model is known");
  std::set<station::Step> steps;
  for (const station::PlannedStep& planned : job.steps) {
    fuzz::require(steps.insert(planned.step).second && planned.retries >= 0, "no step is planned twice");
  }
  fuzz::require(!steps.empty(), "a job does something");
  fuzz::require(!steps.contains(station::Step::kKey) || !job.keyFolder.isEmpty(), "keys come from a folder");
  fuzz::require(!steps.contains(station::Step::kMcu) || job.mcu.has_value(), "an upgrade has its image");
  fuzz::require(!steps.contains(station::Step::kCapture) || job.capture.has_value(), "a burn has its image");
  std::set<int> written;
  for (const station::EdidTable& table : job.edid.tables) {
    fuzz::require(table.slot <= 6 && written.insert(table.slot).second, "a slot gets one table");
    fuzz::require(QDir::isAbsolutePath(table.path), "names in a job lead to one file");
  }
  fuzz::require(!station::mistakeInSerialNumber(QString(17, 'A'), job.serial).isEmpty(),
                "no serial number is longer than a device can hold");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
  const auto job = station::readJob(bytes, QStringLiteral("/line/job.json"));
  if (job) {
    checkJob(*job);
    return 0;
  }
  fuzz::require(!job.error().empty(), "a refusal has a reason");
  for (const station::Mistake& mistake : job.error()) {
    fuzz::require(!mistake.text.isEmpty() && mistake.line().startsWith(QLatin1String("/line/job.json: ")),
                  "a mistake names the file and says what is wrong");
    fuzz::require(mistake.line().size() < 700, "in a line of a length that can be read");
  }
  return 0;
}
