#include "app/x11_resolution.h"

#include <QList>
#include <QtEndian>
#include <QtGlobal>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace {

constexpr double kMillimetersPerInch = 25.4;
constexpr double kLeastOfASize = 96;

struct XFree {
  void operator()(void* reply) const { std::free(reply); }
};
struct XDisconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XConnection = std::unique_ptr<xcb_connection_t, XDisconnect>;

template <typename Reply>
using XReply = std::unique_ptr<Reply, XFree>;

QByteArray readProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name, xcb_atom_t type) {
  constexpr std::uint32_t kLongest = 1U << 20;  // in words of four bytes
  const auto asked = xcb_get_property(connection, 0, window, name, type, 0, kLongest);
  const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, asked, nullptr));
  if (reply == nullptr || reply->format != 8 || reply->type != type) {
    return {};
  }
  return {static_cast<const char*>(xcb_get_property_value(reply.get())), xcb_get_property_value_length(reply.get())};
}

xcb_atom_t existingAtom(xcb_connection_t* connection, const QByteArray& name) {
  const auto asked = xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.constData());
  const XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, asked, nullptr));
  return reply != nullptr ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

/// What the desktop's settings are, where a desktop keeps some.
QByteArray readSettings(xcb_connection_t* connection, int screen) {
  const xcb_atom_t selection = existingAtom(connection, "_XSETTINGS_S" + QByteArray::number(screen));
  const xcb_atom_t settings = existingAtom(connection, "_XSETTINGS_SETTINGS");
  if (selection == XCB_ATOM_NONE || settings == XCB_ATOM_NONE) {
    return {};
  }
  const auto asked = xcb_get_selection_owner(connection, selection);
  const XReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection, asked, nullptr));
  if (reply == nullptr || reply->owner == XCB_WINDOW_NONE) {
    return {};
  }
  return readProperty(connection, reply->owner, settings, settings);
}

/// The settings' bytes in order. Once something is missing, nothing more is there.
class SettingsReader {
 public:
  explicit SettingsReader(const QByteArray& bytes) : bytes_(bytes), isBig_(bytes.startsWith('\1')) {}

  bool isGood() const { return isGood_; }

  void skip(std::uint32_t count) { take(count); }
  void skipPadded(std::uint32_t count) { take((std::uint64_t{count} + 3) / 4 * 4); }

  std::uint32_t number(std::uint32_t size) {
    const char* const at = take(size);
    if (at == nullptr) {
      return 0;
    }
    if (size == 1) {
      return static_cast<std::uint8_t>(*at);
    }
    if (size == 2) {
      return isBig_ ? qFromBigEndian<std::uint16_t>(at) : qFromLittleEndian<std::uint16_t>(at);
    }
    return isBig_ ? qFromBigEndian<std::uint32_t>(at) : qFromLittleEndian<std::uint32_t>(at);
  }

  std::string_view name(std::uint32_t length) {
    const char* const at = take((std::uint64_t{length} + 3) / 4 * 4);
    return at == nullptr ? std::string_view() : std::string_view(at, length);
  }

 private:
  const char* take(std::uint64_t count) {
    const auto left = static_cast<std::uint64_t>(bytes_.size() - position_);
    isGood_ = isGood_ && count <= left;
    if (!isGood_) {
      return nullptr;
    }
    const char* const at = bytes_.constData() + position_;
    position_ += static_cast<int>(count);
    return at;
  }

  const QByteArray& bytes_;
  int position_ = 0;
  bool isBig_;
  bool isGood_ = true;
};

/// Across or down. A screen that tells no size has none that counts.
double dotsPerInch(int dots, int millimeters) {
  return millimeters > 0 ? std::max(kMillimetersPerInch * dots / millimeters, kLeastOfASize) : kLeastOfASize;
}

}  // namespace

std::optional<int> resolutionInResources(const QByteArray& resources) {
  constexpr char kName[] = "Xft.dpi:\t";
  constexpr double kHighest = 100'000;
  std::optional<int> found;
  for (const QByteArray& line : resources.split('\n')) {
    if (line.startsWith(kName)) {
      // Some desktops write a fraction.
      bool isNumber = false;
      const double value = line.mid(static_cast<int>(std::strlen(kName))).toDouble(&isNumber);
      if (isNumber && value > 0 && value < kHighest) {
        found = qRound(value);
      }
    }
  }
  return found;
}

std::optional<int> resolutionInSettings(const QByteArray& settings) {
  enum Type : std::uint32_t { kInteger = 0, kString = 1, kColor = 2 };
  constexpr int kPartsOfADot = 1024;
  SettingsReader reader(settings);
  reader.skip(8);  // byte order, serial number
  const std::uint32_t count = reader.number(4);
  std::optional<int> found;
  for (std::uint32_t i = 0; i < count && reader.isGood(); ++i) {
    const std::uint32_t type = reader.number(1);
    reader.skip(1);
    const std::string_view name = reader.name(reader.number(2));
    reader.skip(4);  // serial number of the last change
    if (type == kString) {
      reader.skipPadded(reader.number(4));
    } else if (type == kColor) {
      reader.skip(8);
    } else if (type == kInteger) {
      const auto value = static_cast<std::int32_t>(reader.number(4));
      if (name == "Xft/DPI" && reader.isGood()) {
        found = value / kPartsOfADot;
      }
    } else {
      break;
    }
  }
  return found;
}

std::optional<double> x11Resolution() {
  int number = 0;
  const XConnection connection(xcb_connect(nullptr, &number));
  if (xcb_connection_has_error(connection.get()) != 0) {
    return std::nullopt;
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
  for (int i = 0; i < number && screens.rem > 1; ++i) {
    xcb_screen_next(&screens);
  }
  const xcb_screen_t& screen = *screens.data;
  std::optional<int> named = resolutionInSettings(readSettings(connection.get(), number));
  if (!named) {
    named =
        resolutionInResources(readProperty(connection.get(), screen.root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING));
  }
  if (named.value_or(0) > 0) {
    return *named;
  }
  return (dotsPerInch(screen.width_in_pixels, screen.width_in_millimeters) +
          dotsPerInch(screen.height_in_pixels, screen.height_in_millimeters)) /
         2;
}
