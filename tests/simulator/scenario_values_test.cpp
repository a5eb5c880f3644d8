#include "simulator/device/status.h"
#include "tests/simulator/opened_device.h"

#include <climits>
#include <cstring>

namespace {

/// What is wrong with a scenario.
QString complaint(const QByteArray& scenario) {
  return QString::fromStdString(simulator::loadScenario(scenario.toStdString()));
}

/// A scenario of one key, given as "identity.product".
QByteArray scenarioOf(const QByteArray& key, const QByteArray& value) {
  const int dot = key.indexOf('.');
  if (dot < 0) {
    return "{\"" + key + "\": " + value + "}";
  }
  return "{\"" + key.left(dot) + "\": {\"" + key.mid(dot + 1) + "\": " + value + "}}";
}

QByteArray quoted(const QByteArray& text) { return "\"" + text + "\""; }

}  // namespace

/// The values that a scenario's keys may have, and those next to them.
class ScenarioValuesTest : public QObject {
  Q_OBJECT

 private slots:
  void numbersHaveBounds_data() {
    QTest::addColumn<QByteArray>("least");
    QTest::addColumn<QByteArray>("most");
    QTest::addColumn<QByteArray>("less");
    QTest::addColumn<QByteArray>("more");
    QTest::addColumn<QString>("bounds");
    const auto row = [](const char* key, const char* least, const char* most, const char* less, const char* more,
                        const char* bounds) {
      QTest::newRow(key) << QByteArray(least) << QByteArray(most) << QByteArray(less) << QByteArray(more)
                         << QString(bounds);
    };
    row("audio.format", "0", "255", "-1", "256", "whole number from 0 to 255");
    row("audio.samplingRate", "0", "255", "-1", "256", "whole number from 0 to 255");
    row("audio.receiverGain", "-32768", "32767", "-32769", "32768", "whole number from -32768 to 32767");
    row("audio.headphoneGain", "-32768", "32767", "-32769", "32768", "whole number from -32768 to 32767");
    row("edid.defaultSlot", "0", "6", "-1", "7", "whole number from 0 to 6");
    row("seed", "0", "9223372036854775807", "-1", "9223372036854775808", "whole number from 0 to 9223372036854775807");
    row("unplugAfterCalls", "0", "1000000000", "-1", "1000000001", "whole number from 0 to 1000000000");
    row("speedFactor", "0.001", "1000000", "0.0009999", "1000000.001", "number from 0.001 to 1e+06");
    row("latencyMs", "0", "60000", "-0.001", "60000.001", "number from 0 to 60000");
    row("unplugAfterMs", "0", "1e9", "-0.001", "1000000000.001", "number from 0 to 1e+09");
    row("unplugAfterIdleMs", "1", "1e9", "0.999", "1000000000.001", "number from 1 to 1e+09");
    row("nextUnitAfterMs", "0", "1e9", "-0.001", "1000000000.001", "number from 0 to 1e+09");
  }

  void numbersHaveBounds() {
    QFETCH(QByteArray, least);
    QFETCH(QByteArray, most);
    QFETCH(QByteArray, less);
    QFETCH(QByteArray, more);
    QFETCH(QString, bounds);
    const QByteArray key = QTest::currentDataTag();
    QCOMPARE(complaint(scenarioOf(key, least)), QString());
    QCOMPARE(complaint(scenarioOf(key, most)), QString());
    for (const QByteArray& wrong : {less, more, QByteArray("\"1\""), QByteArray("null")}) {
      QCOMPARE(complaint(scenarioOf(key, wrong)), "scenario:1: \"" + key + "\" must be a " + bounds);
    }
  }

  void textsHaveALength_data() {
    QTest::addColumn<int>("most");
    QTest::newRow("identity.captureVersion") << 127;
    QTest::newRow("identity.uvcName") << 126;
    QTest::newRow("identity.manufacturer") << 126;
    QTest::newRow("identity.product") << 126;
    QTest::newRow("identity.serialNumber") << 100;
    QTest::newRow("description") << 200;
    QTest::newRow("stateFile") << 4096;
  }

  void textsHaveALength() {
    QFETCH(int, most);
    const QByteArray key = QTest::currentDataTag();
    const QString error = QStringLiteral("scenario:1: \"%1\" must be a text of at most %2 bytes, without a zero byte")
                              .arg(QString(key))
                              .arg(most);
    QCOMPARE(complaint(scenarioOf(key, quoted(""))), QString());
    QCOMPARE(complaint(scenarioOf(key, quoted(QByteArray(most, 'x')))), QString());
    QCOMPARE(complaint(scenarioOf(key, quoted(QByteArray(most + 1, 'x')))), error);
    QCOMPARE(complaint(scenarioOf(key, quoted("\\u0000"))), error);
    QCOMPARE(complaint(scenarioOf(key, "1")), error);
  }

  void wordsAreListed_data() {
    QTest::addColumn<QString>("words");
    QTest::newRow("model") << "KVR-7, KVR-5B";
    QTest::newRow("clock") << "real, virtual";
    QTest::newRow("inputs.source") << "hdmi, dp";
    QTest::newRow("edid.mode") << "fromFlash, followTx, followUsb, mixed";
    QTest::newRow("externalMcu.mode") << "application, bootLoader, silent";
  }

  void wordsAreListed() {
    QFETCH(QString, words);
    const QByteArray key = QTest::currentDataTag();
    for (const QString& word : words.split(", ")) {
      QCOMPARE(complaint(scenarioOf(key, quoted(word.toLatin1()))), QString());
    }
    QCOMPARE(complaint(scenarioOf(key, quoted("no"))),
             "scenario:1: \"" + key + "\" cannot be \"no\"; known here: " + words);
    QCOMPARE(complaint(scenarioOf(key, "true")), "scenario:1: \"" + key + "\" must be one of these texts: " + words);
  }

  void switchesAreTrueOrFalse() {
    for (const QByteArray key : {"sink.present", "audio.muted"}) {
      QCOMPARE(complaint(scenarioOf(key, "true")), QString());
      QCOMPARE(complaint(scenarioOf(key, "false")), QString());
      QCOMPARE(complaint(scenarioOf(key, "0")), "scenario:1: \"" + key + "\" must be true or false");
    }
  }

  void everyObjectNamesItsKeys_data() {
    QTest::addColumn<QString>("keys");
    QTest::newRow("identity") << "captureVersion, uvcName, manufacturer, product, serialNumber";
    QTest::newRow("inputs") << "source, hdmi, dp";
    QTest::newRow("sink") << "present";
    QTest::newRow("audio") << "format, samplingRate, receiverGain, headphoneGain, muted";
    QTest::newRow("edid") << "mode, defaultSlot, slot0, slot1, slot2, slot3, slot4, slot5, slot6, sink";
    QTest::newRow("externalMcu") << "family, version, mode";
  }

  void everyObjectNamesItsKeys() {
    QFETCH(QString, keys);
    const QByteArray key = QTest::currentDataTag();
    QCOMPARE(complaint(scenarioOf(key + ".no", "1")),
             "scenario:1: \"" + key + ".no\" is not a known key; known here: " + keys);
    QCOMPARE(complaint(scenarioOf(key, "[]")),
             "scenario:1: \"" + key + "\" must be an object in braces; keys known in it: " + keys);
    QCOMPARE(complaint(scenarioOf(key, "{}")), QString());
  }

  void aByteIsWrittenWithOneOrTwoDigits() {
    for (const QByteArray key : {"externalMcu.version", "externalMcu.family"}) {
      for (const char* good : {"0x0", "0x00", "0x7", "0x1f", "0xFF"}) {
        QCOMPARE(complaint(scenarioOf(key, quoted(good))), QString());
      }
      for (const char* bad :
           {"", "0x", "0x0G", "0xg", "0x012", "0x100", "0X12", "1234", "0012", "x12", "0x-1", " 0x1"}) {
        QVERIFY2(complaint(scenarioOf(key, quoted(bad))).startsWith("scenario:1: \"" + key + "\" must be "), bad);
      }
      QCOMPARE(complaint(scenarioOf(key, quoted(QByteArray(101, '0')))),
               "scenario:1: \"" + key + "\" must be a text of at most 100 bytes, without a zero byte");
    }
  }

  void tablesAreOfUpToFiveHundredAndTwelveBytes() {
    for (const QByteArray key : {"edid.slot0", "edid.slot1", "edid.slot2", "edid.slot3", "edid.slot4", "edid.slot5",
                                 "edid.slot6", "edid.sink"}) {
      std::array<std::uint8_t, 512> table{};
      openDevice(scenarioOf(key, quoted("0a FF 00")).toStdString());
      const std::int32_t status =
          key == "edid.sink" ? AT_EDID_Get_TX_table(512, table.data())
                             : AT_EDID_Flash_Get_table(static_cast<std::uint8_t>(key[9] - '0'), table.data(), 512);
      QCOMPARE(status, 0);
      QCOMPARE(QByteArray(reinterpret_cast<const char*>(table.data()), 512),
               QByteArray("\x0A\xFF\x00", 3) + QByteArray(509, '\xFF'));
      QCOMPARE(complaint(scenarioOf(key, quoted(QByteArray(512, 'x').toHex(' ')))), QString());
      QCOMPARE(complaint(scenarioOf(key, quoted(QByteArray(513, 'x').toHex(' ')))),
               "scenario:1: \"" + key + "\" must be a text of at most 1536 bytes, without a zero byte");
    }
    // A table of no bytes is erased flash.
    std::array<std::uint8_t, 256> table{};
    openDevice(scenarioOf("edid.slot4", quoted("")).toStdString());
    QCOMPARE(AT_EDID_Flash_Get_table(4, table.data(), 256), 0);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(table.data()), 256), QByteArray(256, '\xFF'));
  }

  void everySettingIsTheDevices() {
    openDevice(R"({"edid": {"mode": "followUsb", "defaultSlot": 6}, "audio": {"muted": true, "format": 0},
             "inputs": {"source": "dp"}})");
    QCOMPARE(byteOf(AT_EDID_Get_EDID_mode), 2);
    QCOMPARE(byteOf(AT_EDID_Flash_Get_Default_table), 6);
    QCOMPARE(byteOf(AT_Audio_Get_DACHP_Mute), 1);
    QCOMPARE(byteOf(AT_Audio_Get_HdmiRX_AudioFormat), 0);
    QCOMPARE(byteOf(AT_Get_Current_Input_Source), 1);
    for (const int mode : {0, 1, 2, 3}) {
      QCOMPARE(AT_EDID_Set_EDID_mode(mode), 0);
      QCOMPARE(byteOf(AT_EDID_Get_EDID_mode), mode);
    }
    for (const int gain : {-32768, 32767}) {
      QCOMPARE(AT_Audio_Set_HdmiDPRX_VolumeGain(gain), 0);
    }
    for (const int gain : {-32769, 32768, INT_MAX}) {
      QCOMPARE(AT_Audio_Set_HdmiDPRX_VolumeGain(gain), simulator::kInvalidArgument);
    }
    for (const int value : {-1, 2, INT_MIN}) {
      QCOMPARE(AT_Audio_Set_DACHP_Mute(value), simulator::kInvalidArgument);
      QCOMPARE(AT_HdmiRX_Set_HPD(value), simulator::kInvalidArgument);
      QCOMPARE(AT_SetHDMI_HDCP_OnOff(value), simulator::kInvalidArgument);
    }
  }

  void theOtherModelHasItsOwnTexts() {
    QCOMPARE(complaint(R"({"model": "KVR-5B"})"), QString());
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B02), 0);
    QCOMPARE(openPort(), 0);
    std::array<std::uint8_t, 100> text{};
    std::uint32_t length = 0;
    QCOMPARE(AT_Get_UVC_Name(text.data(), 100, &length), 0);
    QCOMPARE(reinterpret_cast<const char*>(text.data()), "KVR-5B Video");
    QCOMPARE(AT_USB_Get_iProduct(text.data(), 6), 6);
    QCOMPARE(AT_USB_Get_iProduct(text.data(), 5), simulator::kBufferTooSmall);
  }

  void nestingMayBeThirtyTwoLevelsDeep() {
    const auto nested = [](int levels) {
      return "{\"x\": " + QByteArray(levels - 1, '[') + QByteArray(levels - 1, ']') + "}";
    };
    QVERIFY(complaint(nested(32)).startsWith("scenario:1: \"x\" is not a known key; known here: model, "));
    QCOMPARE(complaint(nested(33)), "scenario:1: nested deeper than 32 levels; no key needs that");
  }

  void theParsersWordsBeginWithTheReason() {
    QVERIFY(complaint("{\n x: 1}").startsWith("scenario:2: not valid JSON: syntax error while parsing "));
    QCOMPARE(complaint("[1e999]"), "scenario:1: not valid JSON: number overflow parsing '1e999'");
  }

  void unitsAreAnArrayOfDevices() {
    QCOMPARE(complaint("{\"units\": {}}"), "scenario:1: \"units\" must be an array in brackets");
    QCOMPARE(complaint("{\"units\": []}"), QString());
    QVERIFY(!simulator::plugNextUnit());
    QCOMPARE(complaint(R"({"units": [{"identity": {"serialNumber": "A"}}]})"), QString());
    QVERIFY(!simulator::plugNextUnit());
    QVERIFY(complaint("{\"units\": [{},\n3]}")
                .startsWith("scenario:2: \"units[1]\" must be an object in braces; keys known in it: model, "));
  }
};

QTEST_GUILESS_MAIN(ScenarioValuesTest)
#include "scenario_values_test.moc"
