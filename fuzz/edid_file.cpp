/// @file
/// An arbitrary table file: loaded, written to the device, read back and saved, as on
/// the EDID page. The first byte selects slot and size.
#include "edid/edid_file.h"

#include "device/RTICE_SDK_x64.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "simulator/control/control.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>

namespace {

QByteArray content(const QString& path) {
  QFile file(path);
  fuzz::require(file.open(QIODevice::ReadOnly), "a file that was written can be read");
  return file.readAll();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const QTemporaryDir folder;
  static const QString loaded = folder.filePath(QStringLiteral("loaded.bin"));
  static const QString saved = folder.filePath(QStringLiteral("saved.bin"));
  fuzz::Input input({data, size});
  const std::uint8_t control = input.takeByte();
  const auto slot = static_cast<std::uint8_t>(control % 7);
  const std::uint32_t tableSize = std::array{256U, 384U, 512U}[control / 7 % 3];
  const QByteArray bytes(reinterpret_cast<const char*>(input.rest().data()), static_cast<int>(input.rest().size()));
  {
    QFile file(loaded);
    fuzz::require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "a file can be made");
  }

  const auto table = edid::readTable(loaded);
  fuzz::require(table && *table == bytes.left(edid::kMaxTableSize), "a file is taken as it is, cut to 512 bytes");

  simulator::reset();
  simulator::useVirtualTime();
  fuzz::require(initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0,
                "the device can be opened");
  const std::int32_t status = AT_EDID_Flash_Set_table(slot, reinterpret_cast<const std::uint8_t*>(table->constData()),
                                                      static_cast<std::uint32_t>(table->size()));
  fuzz::require((status == 0) == !table->isEmpty(), "the device takes every table that has a byte");
  std::vector<std::uint8_t> held(tableSize);
  fuzz::require(AT_EDID_Flash_Get_table(slot, held.data(), tableSize) == 0, "a slot can be read");
  if (status == 0) {
    QByteArray expected = table->leftJustified(512, '\xFF').left(static_cast<int>(tableSize));
    fuzz::require(std::equal(held.begin(), held.end(), reinterpret_cast<const std::uint8_t*>(expected.constData())),
                  "the slot gives back what was written");
  }

  QFile file(saved);
  fuzz::require(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && edid::writeTable(file, held),
                "a table can be saved");
  file.close();
  fuzz::require(content(saved) == QByteArray(reinterpret_cast<const char*>(held.data()), static_cast<int>(held.size())),
                "a saved file is the table, nothing before or after");
  return 0;
}
