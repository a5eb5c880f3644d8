/// @file
/// A line with simulated units: a job with its files, an operator who scans, plugs in and
/// unplugs, and the content of the units afterwards.
#pragma once

#include "device/RTICE_SDK_x64.h"
#include "station/ledger.h"
#include "station/ledger_verify.h"
#include "tests/cli/cli_bench.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <vector>

inline QByteArray byteArray(const std::vector<std::uint8_t>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())};
}

inline QString sha256(const QByteArray& bytes) {
  return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

/// A unit's content, read without the program.
struct Unit {
  QByteArray mcuFlash;
  QByteArray captureFlash;
  QByteArray key;
  QByteArray serial;
  QByteArray edid;
  bool runsApplication = false;
};

class ShiftBench {
 public:
  CliBench cli;
  QByteArray mcuImage;
  QByteArray captureImage;
  QByteArray table;
  QJsonObject job;
  std::vector<Unit> units;  ///< each in its state when its result was shown
  /// Called for each text that the program shows.
  std::function<void(const QByteArray&)> onText;
  std::function<void()> onPauseToo;
  std::function<void()> beforeLook;         ///< called before a unit is inspected
  std::function<void(const Unit&)> onUnit;  ///< used instead of `units` for large numbers
  std::function<void()> onPlugged;          ///< called when the next unit is plugged in

  ShiftBench() {
    mcuImage = madeUp(1500, 3);
    mcuImage[0x20] = 0x13;  // v1.3
    captureImage = "KVR-7 V1.04.00" + madeUp(20'000, 5);
    table = tableOfSlot(5);
    cli.write("main.bin", mcuImage);
    cli.write("capture.img", captureImage);
    cli.write("table.bin", table);
    QDir().mkpath(cli.path("keys"));
    makeKeys(20);
    job = {
        {"format", "pellavox station job 1"},
        {"model", "KVR-7"},
        {"mcu", QJsonObject{{"image", "main.bin"}, {"sha256", sha256(mcuImage)}, {"version", "v1.3"}}},
        {"capture", QJsonObject{{"image", "capture.img"}, {"sha256", sha256(captureImage)}, {"version", "V1.04.00"}}},
        {"edid",
         QJsonObject{{"tables", QJsonArray{QJsonObject{{"slot", 2}, {"file", "table.bin"}, {"sha256", sha256(table)}}}},
                     {"mode", "mixed"},
                     {"slot", 2}}},
        {"serial", QJsonObject{{"from", "count"}, {"prefix", "LN"}, {"digits", 6}}},
        {"keys", "keys"},
        {"steps", QJsonArray{step("serial"), step("mcu"), step("capture"), step("key"), step("edid")}}};
  }

  static QJsonObject step(const QString& name, int retries = 1) { return {{"do", name}, {"retries", retries}}; }

  static QByteArray madeUp(int size, unsigned seed) {
    QByteArray bytes(size, '\0');
    for (char& byte : bytes) {
      seed = seed * 1103515245U + 12345U;
      byte = static_cast<char>(0x80U | (seed >> 16U));
    }
    return bytes;
  }

  void makeKeys(int count, int first = 1) const {
    for (int i = first; i < first + count; ++i) {
      cli.write(QStringLiteral("keys/key-%1.bin").arg(i, 5, 10, QLatin1Char('0')), key(i));
    }
  }
  static QByteArray key(int number) {
    return "key " + QByteArray::number(number) + madeUp(60, static_cast<unsigned>(number));
  }

  QString jobFile() const { return cli.write("job.json", QJsonDocument(job).toJson()); }
  QString ledgerFile() const { return cli.path("job.ledger"); }

  /// Units that are plugged in one after the other.
  void plugIn(const QByteArray& scenario) {
    cli.renew();
    if (const std::string mistake = simulator::loadScenario(scenario.toStdString()); !mistake.empty()) {
      qFatal("%s", mistake.c_str());
    }
    simulator::useVirtualTime();
  }
  /// Plugs in `count` units with different initial serial numbers.
  void plugInUnits(int count, const QByteArray& more = {}) {
    QByteArray list;
    for (int i = 1; i <= count; ++i) {
      list += QByteArray(i > 1 ? "," : "") + "{\"identity\":{\"serialNumber\":\"FAB" + QByteArray::number(i) + "\"}" +
              more + '}';
    }
    plugIn("{\"nextUnitAfterMs\":3600000,\"units\":[" + list + "]}");
  }

  /// Runs a shift. Each unit is inspected and unplugged once its result is shown.
  CliBench::Result run(const QStringList& more = {}) {
    units.clear();
    bool isShown = false;
    bool isUnplugged = false;
    CliBench::Result* running = nullptr;
    int seen = 0;
    cli.onHint = [&] {
      if (running == nullptr) {
        return;
      }
      const QByteArray text = running->err.mid(seen);
      seen = running->err.size();
      if (onText) {
        onText(text);
      }
      if (isUnplugged && text.startsWith("Plug in ")) {
        isUnplugged = false;
        simulator::plugNextUnit();
        if (onPlugged) {
          onPlugged();
        }
      }
      const bool isResult = text.startsWith("PASS  ") || text.startsWith("FAIL  ") || text.startsWith("ERROR  ") ||
                            text.startsWith("TIMEOUT  ") || text.startsWith("ABORTED  ");
      if (isResult) {
        if (beforeLook) {
          beforeLook();
        }
        if (onUnit) {
          onUnit(look());
        } else {
          units.push_back(look());
        }
        isShown = true;
      }
    };
    cli.onPause = [&] {
      if (isShown) {
        isShown = false;
        isUnplugged = true;
        simulator::unplug();
      }
      if (onPauseToo) {
        onPauseToo();
      }
    };
    auto result =
        cli.run(QStringList{"station", "run", jobFile(), "--operator", "Ann", "--station", "A"} + more, &running);
    cli.onHint = {};
    cli.onPause = {};
    return result;
  }

  /// Content of the connected unit; the port may be open or closed.
  static Unit look() {
    Unit unit;
    const bool isClosed = initialize() == 0;
    if (isClosed) {
      setDevice(0, 0, 0x5C19, 0x6B03);
      openPort();
    }
    unit.mcuFlash = byteArray(simulator::mcuFlash());
    unit.captureFlash = byteArray(simulator::captureFlash());
    unit.key = byteArray(simulator::hdcpKey());
    unit.runsApplication = simulator::mcuRunsApplication();
    // Remaining faults must not hide the unit's content.
    constexpr int kTries = 50;
    std::vector<std::uint8_t> serial(100);
    std::vector<std::uint8_t> edid(256);
    std::uint32_t length = 0;
    for (int i = 0; i < kTries && AT_USB_Get_SerialNum(serial.data(), 100, &length) != 0; ++i) {
      simulator::replug();
    }
    unit.serial = byteArray(serial).left(static_cast<int>(length));
    for (int i = 0; i < kTries && AT_EDID_Flash_Get_table(2, edid.data(), 256) != 0; ++i) {
      simulator::replug();
    }
    unit.edid = byteArray(edid);
    if (isClosed) {
      closePort();
      uninitialize();
    }
    return unit;
  }

  /// What is wrong with a unit that passed; empty = nothing.
  QString mistakeIn(const Unit& unit, const QByteArray& serial) const {
    if (!unit.runsApplication || !unit.mcuFlash.startsWith(mcuImage)) {
      return "MCU";
    }
    if (!unit.captureFlash.startsWith(captureImage)) {
      return "capture";
    }
    if (unit.serial != serial) {
      return "serial number " + unit.serial;
    }
    if (unit.edid != table) {
      return "EDID";
    }
    return unit.key.startsWith("key ") ? QString() : QString("key");
  }

 private:
  QByteArray tableOfSlot(int slot) {
    const QString path = cli.path("slot.bin");
    cli.run({"edid", "read", "--slot", QString::number(slot), "-o", path});
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
};

/// The results that a shift showed, for example "PASS LN000001".
inline QStringList resultsOf(const CliBench::Result& result) {
  QStringList results;
  for (const QByteArray& line : result.err.split('\n')) {
    const QString word = QString::fromUtf8(line).section(QLatin1Char(' '), 0, 0);
    if (QStringList{"PASS", "FAIL", "ERROR", "TIMEOUT", "ABORTED"}.contains(word)) {
      results << QString::fromUtf8(line).section(':', 0, 0).simplified();
    }
  }
  return results;
}

/// What the verification of a ledger finds.
inline QStringList faultsOf(const QString& ledger) {
  const auto verified = station::verifyLedger(ledger);
  return verified ? verified->found : QStringList(verified.error().message);
}

inline station::UnitState unitOf(const QString& ledger, const QString& serial) {
  const auto opened = station::Ledger::open(ledger, station::LedgerAccess::kRead);
  return opened ? opened->unit(serial).value_or(station::UnitState()) : station::UnitState();
}
