#pragma once

#include <atomic>
#include <cstdint>

/// USB vendor id of the last connection attempt; GUI thread only.
extern std::uint32_t selectedVid;
/// USB product id of the last connection attempt; GUI thread only.
extern std::uint32_t selectedPid;

/// Progress of the capture firmware burn in percent. The burn's callback stores
/// it on any thread and the window shows it, so a recent value is enough:
/// relaxed order.
extern std::atomic<std::int32_t> burnProgress;
