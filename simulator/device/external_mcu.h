#pragma once

#include "simulator/device/clock.h"
#include "simulator/device/fault_plan.h"
#include "simulator/device/i2c_bus.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The external MCU: its application answers at 0x0D, its boot loader at 0x43.
///
/// The boot loader takes packets in the order start, then for each block its
/// address and its data, then finish; blocks follow one another from the
/// family's first address on. It gathers a block in memory and programs it as
/// one flash page. A packet that is damaged, out of order or out of range is
/// not taken, which shows in the checksum register; while the flash is at work
/// no packet is acknowledged. Start makes the application in the flash invalid,
/// finish makes it valid, and one second without a transfer after that the boot
/// loader starts it. At power-on the application runs if it is valid.
class ExternalMcu : public I2cTarget {
 public:
  static constexpr std::uint8_t kApplicationAddress = 0x0D;
  static constexpr std::uint8_t kBootLoaderAddress = 0x43;

  /// Offset of the version byte in an image: a word that vector tables reserve.
  static constexpr std::size_t kVersionOffset = 0x20;

  // At speed factor 1. The silence is the boot loader's own time limit and no
  // work, so it does not scale.
  static constexpr std::chrono::milliseconds kBootTime{300};
  static constexpr std::chrono::milliseconds kSetBootTime{20};
  static constexpr std::chrono::milliseconds kInvalidateTime{10};
  static constexpr std::chrono::milliseconds kVerifyTime{20};
  static constexpr std::chrono::milliseconds kSilenceBeforeStart{1000};

  /// @param clock  must outlive the MCU, as must `faults`
  ExternalMcu(const Clock& clock, FaultPlan& faults);

  static constexpr auto kKeys = std::to_array<std::string_view>({"externalMcu"});
  void configure(const Section& scenario);

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);
  std::span<std::uint8_t> memory() { return flash_; }

  bool answersAt(std::uint8_t address) const override;
  bool write(std::uint8_t address, std::span<const std::uint8_t> bytes) override;
  bool read(std::uint8_t address, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) override;

  /// Power goes: a page that is being programmed stays half written.
  void powerOff();
  void powerOn();

  bool runsApplication() const;
  std::uint8_t familyCode() const { return familyCode_; }
  /// When whatever it does now is done, on the device's clock.
  std::chrono::nanoseconds readyAt() const { return std::max(awayUntil_, workEnd_); }
  /// The flash from the family's first address on, without the boot loader's part.
  const std::vector<std::uint8_t>& flash() const { return flash_; }
  /// How long the boot loader has been at work since the device was made.
  std::chrono::nanoseconds busyTime() const { return busyTime_; }

 private:
  struct Family {
    std::uint8_t code;
    std::uint32_t firstAddress;
    std::size_t pageSize;
    std::size_t capacity;
    std::chrono::milliseconds eraseTime;    // of a page
    std::chrono::milliseconds programTime;  // of a page
  };
  static const std::array<Family, 2> kFamilies;

  enum class State { kIdle, kStarted, kInBlock, kBlockDone, kFinished };

  void setFamily(std::uint8_t code);
  void installFactoryFirmware();
  void enterBootLoader();
  void settle(std::uint8_t address);
  bool isBusy() const;
  void work(std::chrono::nanoseconds nominal);
  std::uint8_t bootLoaderRegister(std::uint8_t index);

  const Fault* faultAt(FaultPoint at);
  bool writeToApplication(std::span<const std::uint8_t> bytes);
  bool writeToBootLoader(std::span<const std::uint8_t> bytes);
  bool receivePacket(std::span<const std::uint8_t> bytes);
  bool take(std::span<const std::uint8_t> packet);
  bool takeStart();
  bool takeAddress(std::uint32_t address);
  bool takeData(std::span<const std::uint8_t> payload);
  bool takeFinish();
  void programPage();

  const Clock& clock_;
  FaultPlan& faults_;
  std::uint8_t familyCode_ = '2';
  const Family* family_ = nullptr;  // null when the code is none that we know
  std::uint8_t factoryVersion_ = 0x12;
  bool silent_ = false;

  std::vector<std::uint8_t> flash_;
  bool applicationValid_ = true;
  bool inBootLoader_ = false;

  // The boot loader's, lost with power.
  State state_ = State::kIdle;
  std::size_t page_ = 0;  // offset in the flash of the block at work
  std::vector<std::uint8_t> block_;
  std::uint8_t checksum_ = 0;
  bool programming_ = false;
  std::chrono::nanoseconds workStart_{};
  std::chrono::nanoseconds workEnd_{};
  std::optional<unsigned> busyPolls_;  // status reads still to be answered "busy"; 0 = all

  std::chrono::nanoseconds awayUntil_{};
  std::chrono::nanoseconds lastTransfer_{};
  std::chrono::nanoseconds busyTime_{};
};

}  // namespace simulator
