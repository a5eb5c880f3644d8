#include "station/job_names.h"

#include <array>

namespace station {
namespace {

// In the order of the enumerations.
constexpr std::array kStepNames{"mcu", "capture", "key", "serial", "edid"};
constexpr std::array kComparedNames{"mcuVersion", "captureVersion", "serialNumber",
                                    "edidTables", "edidMode",       "edidSlot"};
constexpr std::array kSourceNames{"scan", "list", "count"};
constexpr std::array kModeNames{"from-flash", "follow-tx", "follow-usb", "mixed"};

template <typename Value, std::size_t kCount>
std::optional<Value> named(const std::array<const char*, kCount>& names, const QString& name) {
  for (std::size_t i = 0; i < kCount; ++i) {
    if (name == QLatin1String(names[i])) {
      return static_cast<Value>(i);
    }
  }
  return std::nullopt;
}

}  // namespace

QString nameOf(Step step) { return QLatin1String(kStepNames.at(static_cast<std::size_t>(step))); }
QString nameOf(Compared compared) { return QLatin1String(kComparedNames.at(static_cast<std::size_t>(compared))); }
QString nameOf(SerialSource source) { return QLatin1String(kSourceNames.at(static_cast<std::size_t>(source))); }

std::optional<Step> stepOf(const QString& name) { return named<Step>(kStepNames, name); }
std::optional<Compared> comparedOf(const QString& name) { return named<Compared>(kComparedNames, name); }
std::optional<SerialSource> serialSourceOf(const QString& name) { return named<SerialSource>(kSourceNames, name); }

std::optional<std::uint8_t> edidModeOf(const QString& name) { return named<std::uint8_t>(kModeNames, name); }
QString edidModeName(std::uint8_t mode) {
  return mode < kModeNames.size() ? QString(QLatin1String(kModeNames[mode])) : QStringLiteral("code %1").arg(mode);
}

}  // namespace station
