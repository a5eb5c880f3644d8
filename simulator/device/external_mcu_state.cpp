/// @file
/// What of the external MCU's state a state file keeps, beside its flash.
#include "simulator/device/external_mcu.h"
#include "simulator/device/state_bytes.h"

#include <limits>

namespace simulator {

void ExternalMcu::store(StateWriter& writer) const {
  writer.flag(applicationValid_);
  writer.flag(inBootLoader_);
  writer.number(static_cast<std::uint8_t>(state_));
  writer.number(static_cast<std::uint32_t>(page_));
  writer.block(block_);
  writer.number(checksum_);
  writer.flag(programming_);
  writer.flag(busyPolls_.has_value());
  writer.number(std::uint32_t{busyPolls_.value_or(0)});
  for (const std::chrono::nanoseconds time : {workStart_, workEnd_, awayUntil_, lastTransfer_}) {
    writer.time(time);
  }
}

void ExternalMcu::restore(StateReader& reader) {
  applicationValid_ = reader.flag();
  inBootLoader_ = reader.flag();
  state_ = static_cast<State>(reader.number(static_cast<std::uint8_t>(State::kFinished)));
  page_ = reader.number<std::uint32_t>();
  // A page that the family does not have, of a scenario that has changed since.
  const std::size_t pageSize = family_ ? family_->pageSize : 0;
  if (page_ != 0 && (pageSize == 0 || page_ % pageSize != 0 || page_ >= flash_.size())) {
    throw StateError();
  }
  const auto block = reader.block(pageSize);
  block_.assign(block.begin(), block.end());
  checksum_ = reader.number<std::uint8_t>();
  programming_ = reader.flag();
  const bool staysBusy = reader.flag();
  const auto polls = reader.number<std::uint32_t>();
  busyPolls_ = staysBusy ? std::optional<unsigned>(polls) : std::nullopt;
  for (std::chrono::nanoseconds* const time : {&workStart_, &workEnd_, &awayUntil_, &lastTransfer_}) {
    *time = reader.time();
  }
}

}  // namespace simulator
