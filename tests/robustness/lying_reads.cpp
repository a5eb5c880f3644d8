#include "tests/robustness/lying_window.h"
#include "tests/support/chosen_file.h"
#include "tests/support/window_controls.h"

#include <QCheckBox>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSpinBox>

#include <algorithm>
#include <map>

namespace lying {
namespace {

using namespace std::chrono_literals;

constexpr const char* kWidthButtons[] = {"RB_I2C_Read_1B", "RB_I2C_Read_2B", "RB_I2C_Read_3B", "RB_I2C_Read_4B"};

}  // namespace

Verdict LyingJobs::JobWindow::readAll(SeededRandom& random) {
  openDevice();
  simulator::programEeprom(kBoardEeprom, 0, randomBytes(256, random));
  // A complete address; the rest of half an address would come from the previous read.
  switch (random.below(3)) {
    case 0:
      fillRegister(kBoardEeprom, {random.byte()}, {});
      break;
    case 1:
      fillRegister(kCalibrationEeprom, {0x01, random.byte()}, {});
      break;
    default:
      fillRegister(kSensor, {static_cast<std::uint8_t>(random.below(kSensorRegisters))}, {});
  }
  user.click(kWidthButtons[random.below(4)]);
  user.choose("CB_GPIO_INDEX", QStringLiteral("GPIO%1").arg(random.below(14)));
  failuresAreTold_ = true;
  const QStringList truth = readEverything();
  const QString serialNumber = fieldText("lineEdit_SN");
  const QString value = fieldText("lineEdit_I2C_Value");
  QStringList told;
  const Seen seen = whileLying(drawFaults(random, 15), [&] { told = readEverything(); });
  if (fieldText("lineEdit_SN") != shownBytes(seen, "AT_USB_Get_SerialNum", serialNumber, [](const Bytes& bytes) {
        // Up to the first NUL, limited to the field's length.
        return QString::fromLatin1(reinterpret_cast<const char*>(bytes.data()), 16).section(QChar(0), 0, 0);
      })) {
    return {Outcome::kBreach, "the serial number shown is not the one that was read"};
  }
  if (fieldText("lineEdit_I2C_Value") != shownBytes(seen, "AT_System_Get_ExternalMCU_cmd", value, hexText)) {
    return {Outcome::kBreach, "the register's value shown is not the one that was read"};
  }
  readEverything();

  std::map<std::string, unsigned> calls;
  for (const JournalEntry& entry : simulator::journal()) {
    ++calls[entry.operation];
  }
  bool failed = false;
  for (const Transfer& transfer : seen.transfers) {
    const JournalEntry& entry = seen.journal.at(transfer.call);
    simulator::answerCall(entry.operation, ++calls[entry.operation], entry.result, transfer.bytes);
    failed |= entry.result != 0;
  }
  const QStringList repeated = readEverything();
  if (!failuresAreTold_) {
    return {Outcome::kBreach, "a failed read was not reported, or a successful one was reported as failed"};
  }
  if (repeated != told) {
    return {Outcome::kBreach, "what is shown is not what the library returned"};
  }
  return weigh(seen, !failed, !failed && told == truth, reasonOfRead(seen));
}

Verdict LyingJobs::JobWindow::saveEdid(SeededRandom& random) {
  struct Source {
    const char* button;
    QString failure;
  };
  const auto source = random.oneOf<Source>({{"BN_Apply_ReadTxEDID", "Read Tx EDID...[fail]"},
                                            {"BN_Apply_ReadFlashEDID", "Read Flash EDID...[fail]"},
                                            {"BN_Apply_Read_DDC_EDID", "Read DDC EDID...[fail]"}});
  const auto size = random.oneOf({256, 384, 512});
  openDevice();
  user.click(QStringLiteral("RB_TX_EDID_%1").arg(size));
  user.choose("CB_FlashEDID_List", QString::number(random.below(kEdidSlots)));
  const auto save = [this, &source] {
    const QString path = files().path("saved.bin");
    QFile::remove(path);
    const ChosenFile chosen(path);
    user.click(source.button);
    return contentOf(path);
  };
  const QByteArray truth = save();
  QByteArray saved;
  const Seen seen = whileLying(drawFaults(random, 1), [&] { saved = save(); });
  if (seen.duration > 1s) {
    return {Outcome::kHang, {}};
  }
  if (seen.calls() != 1 || seen.transfers.size() != 1) {
    return {Outcome::kBreach, "other calls than the job's"};
  }
  const bool failed = seen.journal.back().result != 0;
  const Bytes& told = seen.transfers.front().bytes;
  const QByteArray expected(reinterpret_cast<const char*>(told.data()), static_cast<int>(told.size()));
  if (saved != expected || user.message() != (failed ? source.failure : QString())) {
    return {Outcome::kBreach, "what is saved or said is not what the library returned"};
  }
  return weigh(seen, !failed, !failed && saved == truth, reasonOfRead(seen));
}

QString LyingJobs::JobWindow::shownBytes(const Seen& seen, const std::string& operation, const QString& before,
                                         const std::function<QString(const Bytes&)>& toText) {
  for (const Transfer& transfer : seen.transfers) {
    const JournalEntry& entry = seen.journal.at(transfer.call);
    if (entry.operation == operation && entry.result == 0) {
      return toText(transfer.bytes);
    }
  }
  return before;
}

QStringList LyingJobs::JobWindow::readEverything() {
  QStringList shown;
  for (const char* const button : kReadButtons) {
    user.widget<QLabel>("LB_Message").clear();
    const std::size_t callsBefore = simulator::journal().size();
    user.click(button);
    const std::vector<JournalEntry> calls = simulator::journal();
    const auto first = calls.begin() + static_cast<std::ptrdiff_t>(callsBefore);
    const bool failed = std::any_of(first, calls.end(), [](const JournalEntry& entry) {
      return entry.result != 0 && entry.operation.find("_Set_") == std::string::npos;
    });
    // A failure message appears if and only if something could not be read.
    failuresAreTold_ &= failed == user.message().contains(QRegularExpression("fail|Error"));
    shown << user.message();
  }
  for (const auto* label : window().findChildren<QLabel*>()) {
    shown << label->text();
  }
  for (const auto* field : window().findChildren<QLineEdit*>()) {
    shown << field->text();
  }
  for (const auto* button : window().findChildren<QAbstractButton*>()) {
    shown << QString::number(button->isChecked() ? 1 : 0);
  }
  for (const auto* box : window().findChildren<QComboBox*>()) {
    shown << QString::number(box->currentIndex());
  }
  for (const auto* box : window().findChildren<QSpinBox*>()) {
    shown << QString::number(box->value());
  }
  for (const auto* slider : window().findChildren<QAbstractSlider*>()) {
    shown << QString::number(slider->value());
  }
  return shown;
}

}  // namespace lying
