#include "recorder/progress_slots.h"

#include "recorder/inside_library.h"

#include <array>
#include <mutex>
#include <utility>

namespace recorder {
namespace {

constexpr std::size_t kPlaces = 32;

struct Place {
  ProgressListener* listener = nullptr;
  std::uint64_t call = 0;
  RTICE_ProgressCallback callback = nullptr;
  bool isTaken = false;
};

struct Places {
  std::mutex mutex;
  std::array<Place, kPlaces> places;
  std::size_t next = 0;
};

// Never destroyed: the library may call back while the process ends.
Places& allPlaces() {
  static auto* const places = new Places;
  return *places;
}

template <std::size_t index>
void callBack(float percent) {
  Places& all = allPlaces();
  RTICE_ProgressCallback callback = nullptr;
  {
    // Held while the listener notes it, so that `forget` waits for that.
    const std::scoped_lock lock(all.mutex);
    const Place& place = all.places[index];
    callback = place.callback;
    if (place.listener != nullptr) {
      place.listener->progressed(place.call, percent);
    }
  }
  // What the program calls from here are calls of its own.
  const InsideLibrary outside(false);
  callback(percent);
}

constexpr auto kFunctions = []<std::size_t... index>(std::index_sequence<index...>) {
  return std::array<RTICE_ProgressCallback, sizeof...(index)>{&callBack<index>...};
}
(std::make_index_sequence<kPlaces>());

}  // namespace

ProgressSlot::ProgressSlot(ProgressListener& listener, std::uint64_t call, RTICE_ProgressCallback callback)
    : function_(callback) {
  if (callback == nullptr) {
    return;
  }
  Places& all = allPlaces();
  const std::scoped_lock lock(all.mutex);
  for (std::size_t i = 0; i < kPlaces; ++i) {
    const std::size_t candidate = (all.next + i) % kPlaces;
    Place& place = all.places[candidate];
    if (!place.isTaken) {
      place = {&listener, call, callback, true};
      all.next = candidate + 1;
      index_ = static_cast<int>(candidate);
      function_ = kFunctions[candidate];
      return;
    }
  }
}

ProgressSlot::~ProgressSlot() {
  if (index_ >= 0) {
    Places& all = allPlaces();
    const std::scoped_lock lock(all.mutex);
    all.places[static_cast<std::size_t>(index_)].isTaken = false;
  }
}

void ProgressSlot::forget(const ProgressListener& listener) {
  Places& all = allPlaces();
  const std::scoped_lock lock(all.mutex);
  for (Place& place : all.places) {
    if (place.listener == &listener) {
      place.listener = nullptr;
    }
  }
}

}  // namespace recorder
