#pragma once

#include "tests/robustness/lying_rules.h"
#include "tests/support/posted_texts.h"
#include "tests/support/window_fixture.h"

#include <QLineEdit>

#include <functional>

namespace lying {

/// A window in which the jobs are done.
class LyingJobs::JobWindow : private WindowFixture {
 public:
  Verdict upgradeFamily2(SeededRandom& random) { return upgrade(random, "2", 1024); }
  Verdict upgradeFamilyV(SeededRandom& random) { return upgrade(random, "v", 128); }
  Verdict burnCapture(SeededRandom& random);
  Verdict writeEdid(SeededRandom& random);
  Verdict setEdidMode(SeededRandom& random);
  Verdict setEdidSlot(SeededRandom& random);
  Verdict burnKey(SeededRandom& random);
  Verdict setSerialNumber(SeededRandom& random);
  Verdict writeRegisterOf1ByteAddress(SeededRandom& random);
  Verdict writeRegisterOf2ByteAddress(SeededRandom& random);
  Verdict writeSensor(SeededRandom& random);

  /// Presses every read button, then again with an honest library that gives the same
  /// answers: the window must show the same.
  Verdict readAll(SeededRandom& random);
  Verdict saveEdid(SeededRandom& random);

 private:
  /// A device in its default state, and the window connected to it.
  void openDevice(const QByteArray& scenario = "{}");

  Seen whileLying(const DrawnFaults& drawn, const std::function<void()>& act);

  void chooseFile(const QString& button, const QString& name, const Bytes& content) const;

  /// Starts a worker and runs the event loop until it has ended.
  void startAndWait(const QString& button) const;

  QString lastPosted() const { return posted_.texts().isEmpty() ? QString() : posted_.texts().last(); }

  Verdict upgrade(SeededRandom& random, const QByteArray& family, std::size_t blockSize);

  Verdict chooseOther(SeededRandom& random, const QString& comboBox, std::uint8_t Memory::*setting, const Rules& rules);

  Verdict writeEeprom(SeededRandom& random, std::uint8_t address, const Bytes& index);

  void fillRegister(std::uint8_t address, const Bytes& index, const Bytes& value);

  Verdict writeRegister(SeededRandom& random, std::uint8_t address, const Bytes& index, const Bytes& value,
                        const Memory& asked);

  QString fieldText(const QString& lineEdit) const { return user.widget<QLineEdit>(lineEdit).text(); }

  /// Text that a field must show after a read; `before` if the read failed.
  static QString shownBytes(const Seen& seen, const std::string& operation, const QString& before,
                            const std::function<QString(const Bytes&)>& toText);

  /// Presses every read button.
  /// @return what all widgets show afterwards, and each button's message
  QStringList readEverything();

  PostedTexts posted_{user.widget<QLabel>("LB_Message")};
  Memory before_;
  bool failuresAreTold_ = true;
};

}  // namespace lying
