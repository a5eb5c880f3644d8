#include "simulator/device/status.h"
#include "tests/simulator/i2c_calls.h"
#include "tests/simulator/opened_device.h"
#include "tests/support/test_files.h"

#include <atomic>
#include <chrono>
#include <thread>

using namespace std::chrono_literals;

namespace {

int gainOf(std::int32_t (*read)(std::int16_t*)) {
  std::int16_t gain = 0;
  return read(&gain) == 0 ? int{gain} : 99'999;
}

int pin(std::uint8_t group) {
  return byteOf([group](std::uint8_t* value) { return AT_GPIO_Get_Param(group, 13, value); });
}

bool hasSignal() {
  std::array<std::uint8_t, 48> record{};
  return AT_HdmiRX_GetRawTimingInfo(record.data()) == 0 && record[4] != 0;
}

int transmitterHdcp() {
  std::array<std::uint8_t, 128> versions{};
  return AT_Get_RX_TX_HDCP_Version(versions.data()) == 0 ? int{versions[1]} : -1;
}

QByteArray captureVersion() {
  std::array<std::uint8_t, 128> text{};
  return AT_Get_Customer_Ver(text.data()) == 0 ? QByteArray(reinterpret_cast<const char*>(text.data())) : "none";
}

std::vector<float>& progress() {
  static std::vector<float> values;
  return values;
}

/// The DDC table's first bytes; tables that are written here have no header of an EDID.
QByteArray ddcTable(std::uint32_t size = 256) {
  std::vector<std::uint8_t> table(size);
  if (AT_EDID_DDC_Get_RX_table(size, table.data()) != 0) {
    return "failed";
  }
  return {reinterpret_cast<const char*>(table.data()), static_cast<int>(size)};
}

QByteArray slotTable(std::uint8_t slot, std::uint32_t size = 256) {
  std::vector<std::uint8_t> table(size);
  if (AT_EDID_Flash_Get_table(slot, table.data(), size) != 0) {
    return "failed";
  }
  return {reinterpret_cast<const char*>(table.data()), static_cast<int>(size)};
}

}  // namespace

/// What restarts, restores and burns change and what they leave, and how long things take.
class DeviceLifeTest : public QObject {
  Q_OBJECT

  TestFiles files_;

  /// Changes each setting.
  static void change() {
    const std::uint8_t dp = 1;
    const std::int16_t gain = 7;
    QCOMPARE(AT_Input_Source_Switch(&dp), 0);
    QCOMPARE(AT_HdmiRX_Set_HPD(0), 0);
    QCOMPARE(AT_SetHDMI_HDCP_OnOff(0), 0);
    QCOMPARE(AT_Audio_Set_HdmiDPRX_VolumeGain(-5), 0);
    QCOMPARE(AT_Audio_Set_HPOUTgain(&gain), 0);
    QCOMPARE(AT_Audio_Set_DACHP_Mute(1), 0);
    QCOMPARE(AT_EDID_Set_EDID_mode(2), 0);
    QCOMPARE(AT_EDID_Flash_Set_Default_table(4), 0);
    QCOMPARE(AT_GPIO_Set_Param(0, 13, 0x11), 0);
    QCOMPARE(AT_GPIO_Set_Param(1, 13, 0x22), 0);
  }

  /// Compares settings that a restore resets and a restart keeps.
  static void compareSettings(bool changed) {
    QCOMPARE(byteOf(AT_Get_Current_Input_Source), changed ? 1 : 0);
    QCOMPARE(transmitterHdcp(), changed ? 3 : 1);
    QCOMPARE(gainOf(AT_Audio_Get_HdmiDPRX_VolumeGain), changed ? -5 : 0);
    QCOMPARE(gainOf(AT_Audio_Get_HPOUTgain), changed ? 7 : 0);
    QCOMPARE(byteOf(AT_Audio_Get_DACHP_Mute), changed ? 1 : 0);
    QCOMPARE(byteOf(AT_EDID_Get_EDID_mode), changed ? 2 : 0);
    QCOMPARE(byteOf(AT_EDID_Flash_Get_Default_table), changed ? 4 : 0);
  }

  /// The pins and the receiver's hot-plug, which both reset.
  static void comparePins(bool changed) {
    QCOMPARE(pin(0), changed ? 0x11 : 0);
    QCOMPARE(pin(1), changed ? 0x22 : 0);
    const std::uint8_t hdmi = 0;
    QCOMPARE(AT_Input_Source_Switch(&hdmi), 0);
    QCOMPARE(hasSignal(), !changed);
  }

  QByteArray fileOf(const QByteArray& content) const { return files_.write("file", content).toUtf8(); }

 private slots:
  void init() { progress().clear(); }

  void aRestoreResetsTheSettings() {
    openDevice();
    compareSettings(false);
    change();
    compareSettings(true);
    QCOMPARE(AT_RestoreToDefault(), 0);
    compareSettings(false);
    comparePins(false);
  }

  void aRestartResetsHotPlugAndPinsOnly() {
    openDevice();
    change();
    QCOMPARE(AT_Set_System_Reboot(), 0);
    simulator::advanceTime(1500ms);
    compareSettings(true);
    comparePins(false);
    // Nothing else does.
    change();
    QCOMPARE(closePort(), 0);
    openDefaultDevice();
    comparePins(true);
  }

  void aRestartTakesItsTimeAtTheSpeedFactor() {
    openDevice(R"({"speedFactor": 3})");
    QCOMPARE(AT_Set_System_Reboot(), 0);
    simulator::advanceTime(500ms - 1ns);
    QCOMPARE(byteOf(AT_Get_Current_Input_Source), simulator::kDeviceGone);
    simulator::advanceTime(1ns);
    QCOMPARE(byteOf(AT_Get_Current_Input_Source), 0);
  }

  void onAClockThatSkipsWaitingAllIsDoneByTheNextCall() {
    QCOMPARE(simulator::loadScenario(R"({"clock": "virtual"})"), std::string());
    openDefaultDevice();
    const auto start = simulator::now();
    QCOMPARE(AT_Set_System_Reboot(), 0);
    QCOMPARE(byteOf(AT_Get_Current_Input_Source), 0);
    QVERIFY(simulator::now() - start == 1500ms);
    QCOMPARE(i2c::write(0x50, {0x10, 0x20}), 0);
    QCOMPARE(i2c::read(0x50, {0x10}, 1), i2c::Bytes{0x20});
    QCOMPARE(i2c::write(0x54, {0x10, 0x10, 0x20}), 0);
    QCOMPARE(i2c::read(0x54, {0x10, 0x10}, 1), i2c::Bytes{0x20});
    QVERIFY(simulator::now() - start == 1510ms);
    QCOMPARE(i2c::write(0x0D, {8, 1}), 0);
    QCOMPARE(i2c::read(0x43, {1}, 1), i2c::Bytes{1});
    QVERIFY(simulator::now() - start == 1810ms);
    QCOMPARE(byteOf(AT_Get_Current_Input_Source), 0);
    QVERIFY(simulator::now() - start == 1810ms);
    // The next unit is there at once, too.
    QCOMPARE(simulator::loadScenario(R"({"clock": "virtual", "nextUnitAfterMs": 60000,
                                         "units": [{}, {"edid": {"defaultSlot": 5}}]})"),
             std::string());
    simulator::unplug();
    openDefaultDevice();
    QCOMPARE(byteOf(AT_EDID_Flash_Get_Default_table), 5);
  }

  void aBurnReportsEachStepWithItsShareOfTheTime() {
    openDevice();
    QCOMPARE(burnToFlash(fileOf(QByteArray(8192, 'x')), [](float percent) { progress().push_back(percent); }), 0);
    const std::vector<double> expected{0, 8000.0 / 110, 9500.0 / 110, 100};
    QCOMPARE(progress().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      QVERIFY(qAbs(double{progress()[i]} - expected[i]) < 1e-4);
    }
    QCOMPARE(double{progress().back()}, 100.0);
    QVERIFY(simulator::journal().back().duration == 110ms);
    // One byte more than a sector takes two sectors and a piece of its own.
    QCOMPARE(burnToFlash(fileOf(QByteArray(65537, 'x')), [](float) {}), 0);
    QVERIFY(simulator::journal().back().duration == 160ms + 17 * 15ms);
    QCOMPARE(simulator::captureFlash().size(), std::size_t{131072});
    QCOMPARE(int{simulator::captureFlash()[65536]}, int{'x'});
    QCOMPARE(int{simulator::captureFlash()[65537]}, 0xFF);
  }

  void anImageHasUpToSixteenMebibytes() {
    openDevice();
    QCOMPARE(burnToFlash(fileOf(QByteArray(1, 'x')), [](float) {}), 0);
    QCOMPARE(burnToFlash(fileOf(QByteArray(16 * 1024 * 1024, 'x')), [](float) {}), 0);
    QCOMPARE(simulator::captureFlash().size(), std::size_t{16} * 1024 * 1024);
  }

  void theVersionIsTheImagesFirstTextOfItsForm_data() {
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QByteArray>("version");
    const auto row = [](const char* name, const char* image, const char* version) {
      QTest::newRow(name) << QByteArray(image) << QByteArray(version);
    };
    row("least", "V0.00.00", "V0.00.00");
    row("most", "V9.99.99", "V9.99.99");
    row("at the end", "xV1.23.45", "V1.23.45");
    row("two of them", "V1.11.11V2.22.22", "V1.11.11");
    row("behind a part of one", "V1.1V1.11.12", "V1.11.12");
    row("cut", "V1.11.1", "V0.00.00");
    row("below the digits", "V/.11.11", "V0.00.00");
    row("above the digits", "V1.1:.11", "V0.00.00");
    row("small letter", "v1.11.11", "V0.00.00");
    row("other separators", "V1-11.11", "V0.00.00");
  }

  void theVersionIsTheImagesFirstTextOfItsForm() {
    QFETCH(QByteArray, image);
    QFETCH(QByteArray, version);
    openDevice();
    QCOMPARE(burnToFlash(fileOf(image), [](float) {}), 0);
    QCOMPARE(captureVersion(), version);
  }

  void aBurnEndsWithItsUnit() {
    openDevice(R"({"units": [{}, {}]})");
    QCOMPARE(burnToFlash(fileOf(QByteArray(8192, 'x')), [](float) { simulator::plugNextUnit(); }),
             simulator::kDeviceGone);
    openDevice(R"({"units": [{}, {}, {}]})");
    simulator::reset();
    QVERIFY(!simulator::plugNextUnit());
  }

  void aReplugEndsABurn() {
    openDevice();
    QCOMPARE(burnToFlash(fileOf(QByteArray(8192, 'x')),
                         [](float) {
                           simulator::unplug();
                           simulator::replug();
                         }),
             simulator::kDeviceGone);
    QCOMPARE(captureVersion(), "none");
  }

  void replacedReportsLastUntilAReset() {
    const auto burn = [this] {
      progress().clear();
      openDefaultDevice();
      QCOMPARE(burnToFlash(fileOf("x"), [](float percent) { progress().push_back(percent); }), 0);
    };
    simulator::reset();
    simulator::useVirtualTime();
    simulator::reportDuringBurns({50, 7});
    burn();
    QVERIFY(progress() == (std::vector<float>{50, 7}));
    simulator::reset();
    simulator::useVirtualTime();
    burn();
    QCOMPARE(progress().size(), std::size_t{3});
  }

  void aHeldBurnGoesOnByALargerNumberOrAReset() {
    static std::atomic<int> reports;
    const QByteArray path = fileOf("x");
    for (const bool byReset : {false, true}) {
      openDevice();
      reports = 0;
      simulator::holdBurns(1);
      std::thread burning([&path] { burnToFlash(path, [](float) { ++reports; }); });
      QTRY_COMPARE(simulator::heldBurns(), 1U);
      QCOMPARE(reports.load(), 1);
      simulator::holdBurns(2);
      QTRY_COMPARE(reports.load(), 2);
      QTRY_COMPARE(simulator::heldBurns(), 1U);
      if (byReset) {
        simulator::reset();
      } else {
        simulator::releaseBurns();
      }
      burning.join();
      QCOMPARE(reports.load(), byReset ? 2 : 3);
      QCOMPARE(simulator::heldBurns(), 0U);
    }
  }

  void callsUnderWayAreCounted() {
    static std::vector<unsigned> seen;
    seen.clear();
    openDevice();
    QCOMPARE(burnToFlash(fileOf("x"), [](float) { seen.push_back(simulator::callsUnderWay()); }), 0);
    QVERIFY(seen == (std::vector<unsigned>{1, 1, 1}));
    QCOMPARE(simulator::callsUnderWay(), 0U);
  }

  void textsNeedRoomForThemselves() {
    const QByteArray name(126, 'n');
    openDevice(("{\"identity\": {\"captureVersion\": \"" + QByteArray(127, 'v') + "\", \"uvcName\": \"" + name +
                "\", \"manufacturer\": \"" + name + "\", \"serialNumber\": \"12345\"}}")
                   .constData());
    QCOMPARE(captureVersion(), QByteArray(127, 'v'));
    Scratch s;
    QCOMPARE(AT_Get_UVC_Name(s.buffer.data(), 126, &s.length), simulator::kBufferTooSmall);
    QCOMPARE(AT_Get_UVC_Name(s.buffer.data(), 127, &s.length), 0);
    QCOMPARE(s.length, 126U);
    QCOMPARE(int{s.buffer[126]}, 0);
    QCOMPARE(AT_USB_Get_iManufacturer(s.buffer.data(), 125), simulator::kBufferTooSmall);
    QCOMPARE(AT_USB_Get_iManufacturer(s.buffer.data(), 126), 126);
    Scratch serial;
    QCOMPARE(AT_USB_Get_SerialNum(serial.buffer.data(), 5, &serial.length), 0);
    QCOMPARE(int{serial.buffer[5]}, 0xA5);
    QCOMPARE(AT_USB_Get_SerialNum(serial.buffer.data(), 6, &serial.length), 0);
    QCOMPARE(int{serial.buffer[5]}, 0);
    QCOMPARE(int{serial.buffer[6]}, 0xA5);
  }

  // By the table of the modes in docs/simulator.md; 0 = the slot in use, 1 = the sink's.
  void theModeDecidesWhatTheSourceReads() {
    for (const bool isWritten : {false, true}) {
      for (const bool isSinkDescribed : {false, true}) {
        openDevice(isSinkDescribed ? R"({"edid": {"sink": "01 02 03"}})" : "{}");
        if (isWritten) {
          const std::vector<std::uint8_t> bytes(300, 0x77);
          QCOMPARE(AT_EDID_Flash_Set_table(0, bytes.data(), 300), 0);
        }
        std::array<std::uint8_t, 256> bytes{};
        QCOMPARE(AT_EDID_Get_TX_table(256, bytes.data()), 0);
        const QByteArray sink(reinterpret_cast<const char*>(bytes.data()), 256);
        QCOMPARE(ddcTable(), slotTable(0));
        QCOMPARE(AT_EDID_Set_EDID_mode(1), 0);
        QCOMPARE(ddcTable(), sink);
        QCOMPARE(AT_EDID_Set_EDID_mode(3), 0);
        QCOMPARE(ddcTable() == slotTable(0), isWritten || isSinkDescribed);
        QVERIFY(ddcTable() != sink);
        QCOMPARE(AT_EDID_Set_EDID_mode(2), 0);
        const QByteArray usb = ddcTable();
        QVERIFY(usb != sink && usb != slotTable(0));
        simulator::attachSink(false);
        QCOMPARE(ddcTable(), usb);
        for (const int mode : {0, 1, 3}) {
          QCOMPARE(AT_EDID_Set_EDID_mode(mode), 0);
          QCOMPARE(ddcTable(), slotTable(0));
        }
      }
    }
    // A written table is cut and filled to the size asked for.
    QCOMPARE(slotTable(0, 256), QByteArray(256, 0x77));
    QCOMPARE(slotTable(0, 384), QByteArray(300, 0x77) + QByteArray(84, '\xFF'));
    QCOMPARE(ddcTable(512), QByteArray(300, 0x77) + QByteArray(212, '\xFF'));
  }
};

QTEST_GUILESS_MAIN(DeviceLifeTest)
#include "device_life_test.moc"
