#include "station/job_check.h"

#include "device/file_hash.h"
#include "device/regular_file.h"
#include "edid/edid_check.h"
#include "firmware/capture_image.h"
#include "session/device_types.h"
#include "station/file_limits.h"
#include "station/ledger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <map>
#include <span>

namespace station {
namespace {

constexpr qint64 kMostTableBytes = 512;

device::UsbIds idsOf(const QString& model) {
  const session::DeviceIds ids = session::deviceIds(model == QLatin1String("KVR-7") ? 0 : 1);
  return device::typedUsbIds(ids.vid, ids.pid).value_or(device::UsbIds{});
}

/// Collects what is wrong.
class Checker {
 public:
  Checker(const Job& job, const Ledger* ledger) : job_(job), ledger_(ledger) {}

  JobCheck check() {
    if (job_.mcu) {
      checkHash(job_.mcu->path, job_.mcu->sha256, QStringLiteral("/mcu"));
    }
    if (job_.capture) {
      checkCapture(*job_.capture);
    }
    for (const EdidTable& table : job_.edid.tables) {
      checkTable(table);
    }
    if (!job_.keyFolder.isEmpty()) {
      checkKeys();
    }
    checkSerials();
    return std::move(result_);
  }

 private:
  void mistake(const QString& file, const QString& place, const QString& text) {
    result_.mistakes.push_back({file, place, text});
  }
  bool checkHash(const QString& path, const QString& wanted, const QString& place);
  void checkCapture(const Image& image);
  void checkTable(const EdidTable& table);
  void checkKeys();
  void checkSerials();
  void checkList();
  void checkCounter();
  template <typename T>
  T resultOf(LedgerResult<T> result) {
    if (!result) {
      mistake(ledger_->path(), {}, result.error().message);
      return {};
    }
    return *std::move(result);
  }

  const Job& job_;
  const Ledger* ledger_;
  JobCheck result_;
};

bool Checker::checkHash(const QString& path, const QString& wanted, const QString& place) {
  // Of tables and images alike; a table's own limit comes later.
  if (QFileInfo(path).size() > kMostImageBytes) {
    mistake(job_.path, place, QStringLiteral("%1 has more than %2 bytes").arg(path).arg(kMostImageBytes));
    return false;
  }
  const auto hash = device::hashOfFile(path, kMostImageBytes);
  if (!hash) {
    mistake(job_.path, place, QStringLiteral("%1 is empty or cannot be read; put the file there").arg(path));
    return false;
  }
  if (*hash != wanted) {
    mistake(job_.path, place,
            QStringLiteral("%1 is another file than the job means: its SHA-256 is %2").arg(path, *hash));
    return false;
  }
  return true;
}

void Checker::checkCapture(const Image& image) {
  const QString place = QStringLiteral("/capture");
  if (checkHash(image.path, image.sha256, place) && !firmware::checkCaptureImage(image.path, idsOf(job_.model))) {
    mistake(job_.path, place,
            QStringLiteral("%1 is no image for the %2: it does not name it").arg(image.path, job_.model));
  }
}

void Checker::checkTable(const EdidTable& table) {
  const QString place = QStringLiteral("/edid/tables, slot %1").arg(table.slot);
  if (!checkHash(table.path, table.sha256, place)) {
    return;
  }
  QFile file(table.path);
  if (!device::openRegularFile(file, QIODevice::ReadOnly) || file.size() > kMostTableBytes) {
    mistake(job_.path, place, QStringLiteral("%1 has more than %2 bytes").arg(table.path).arg(kMostTableBytes));
    return;
  }
  const QByteArray bytes = file.readAll();
  const std::span span(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                       static_cast<std::size_t>(bytes.size()));
  for (const edid::Finding& finding : edid::checkTable(span)) {
    if (finding.refuses) {
      mistake(table.path, QStringLiteral("block %1, byte %2").arg(finding.block).arg(finding.offset),
              QString::fromStdString(finding.text));
    }
  }
}

void Checker::checkKeys() {
  result_.keysLeft = 0;
  const QDir folder(job_.keyFolder);
  if (!folder.exists()) {
    mistake(job_.path, QStringLiteral("/keys"), QStringLiteral("there is no folder %1").arg(job_.keyFolder));
    return;
  }
  std::map<QString, QString> files;  // by hash
  QStringList hashes;
  for (const QFileInfo& file : folder.entryInfoList(QDir::Files, QDir::Name)) {
    const QString path = file.absoluteFilePath();
    const auto hash = device::hashOfFile(path, kMostKeyBytes);
    if (!hash) {
      mistake(path, {}, QStringLiteral("is no key: it is empty, too large or cannot be read; remove it"));
    } else if (const auto [same, isNew] = files.emplace(*hash, path); !isNew) {
      mistake(path, {}, QStringLiteral("is the same key as %1; remove one").arg(same->second));
    } else {
      hashes << *hash;
    }
  }
  const QStringList left = ledger_ != nullptr ? resultOf(ledger_->freeKeys(hashes)) : hashes;
  result_.keysLeft = left.size();
  if (left.isEmpty()) {
    mistake(job_.path, QStringLiteral("/keys"), QStringLiteral("no unused key is left in %1").arg(job_.keyFolder));
  }
}

void Checker::checkSerials() {
  if (job_.serial.source == SerialSource::kList) {
    checkList();
  } else if (job_.serial.source == SerialSource::kCount) {
    checkCounter();
  }
}

void Checker::checkList() {
  result_.serialsLeft = 0;
  const auto list = readSerialList(job_.serial.listFile);
  if (!list) {
    result_.mistakes.push_back(list.error());
    return;
  }
  std::map<QString, int> places;
  for (int i = 0; i < list->size(); ++i) {
    const QString& serial = list->at(i);
    const QString place = QStringLiteral("number %1").arg(i + 1);
    if (const QString text = mistakeInSerialNumber(serial, job_.serial); !text.isEmpty()) {
      mistake(job_.serial.listFile, place, text);
    } else if (const auto [first, isNew] = places.emplace(serial, i + 1); !isNew) {
      mistake(job_.serial.listFile, place,
              QStringLiteral("serial number %1 is number %2 already; remove one").arg(serial).arg(first->second));
    }
  }
  const QStringList left = ledger_ != nullptr ? resultOf(ledger_->freeSerials(*list)) : *list;
  result_.serialsLeft = left.size();
  if (left.isEmpty()) {
    mistake(job_.serial.listFile, {}, QStringLiteral("no unused serial number is left; add more"));
  }
}

void Checker::checkCounter() {
  std::int64_t end = 1;
  for (int i = 0; i < job_.serial.digits; ++i) {
    end *= 10;
  }
  const std::int64_t next = ledger_ != nullptr ? resultOf(ledger_->nextNumber(job_.serial)) : job_.serial.first;
  result_.serialsLeft = std::max(end - next, std::int64_t{0});
  if (next >= end) {
    mistake(job_.path, QStringLiteral("/serial"),
            QStringLiteral("the counter %1 is at its end; give it another prefix").arg(job_.serial.prefix));
  }
}

}  // namespace

JobCheck checkJob(const Job& job, const Ledger* ledger) { return Checker(job, ledger).check(); }

}  // namespace station
