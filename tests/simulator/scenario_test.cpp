#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/simulator/scenario_keys.h"

#include <QElapsedTimer>

#include <cstring>

namespace {

const QString kIdentityKeys = "captureVersion, uvcName, manufacturer, product, serialNumber";
const QString kMcuKeys = "family, version, mode";

}  // namespace

// Qt's meta-object compiler miscounts braces in raw strings with a backslash or a
// quoted bracket, and then finds no class.
// NOLINTBEGIN(modernize-raw-string-literal)
class SimulatorScenarioTest : public QObject {
  Q_OBJECT

 private slots:
  void aMistakeIsOneLineWithPlaceKeyAndRemedy_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const char* json, const QString& error) {
      QTest::newRow(name) << QByteArray(json) << error;
    };
    row("empty", "", "1: the scenario is empty; write at least {}");
    row("blank", " \n\n", "1: the scenario is empty; write at least {}");
    row("no object", "\n[]", "2: the scenario must be an object in braces; keys known in it: " + kTopKeys);
    row("number alone", "12\n", "1: the scenario must be an object in braces; keys known in it: " + kTopKeys);
    row("unknown key", "{\n\n  \"sped\": 1}", "3: \"sped\" is not a known key; known here: " + kTopKeys);
    row("unknown key of identity", "{\"identity\":\n{\"name\": \"x\"}}",
        "2: \"identity.name\" is not a known key; known here: " + kIdentityKeys);
    row("unknown key of inputs", "{\"inputs\": {\"vga\": \"none\"}}",
        "1: \"inputs.vga\" is not a known key; known here: source, hdmi, dp");
    row("unknown key of sink", "{\"sink\": {\"presnt\": true}}",
        "1: \"sink.presnt\" is not a known key; known here: present");
    row("unknown key of audio", "{\"audio\": {\"gain\": 1}}",
        "1: \"audio.gain\" is not a known key; known here: format, samplingRate, receiverGain, headphoneGain, muted");
    row("unknown key of externalMcu", "{\"externalMcu\": {\r\n\"fam\": \"2\"}}",
        "2: \"externalMcu.fam\" is not a known key; known here: " + kMcuKeys);
    row("unknown key of a fault", "{\"faults\": [\n{\"at\": \"openPort\"},\n{\"nth\": 1}]}",
        "3: \"faults[1].nth\" is not a known key; known here: at, first, count, perMille, fromPercent, what, "
        "status, answer, length, delayMs, polls");
    row("key twice", "{\"seed\": 1,\n\n\"seed\": 2}",
        "3: \"seed\" stands twice; the first is at line 1, remove one of them");
    row("unknown model", "{\n\"model\": \"KVR-9\"}", "2: \"model\" cannot be \"KVR-9\"; known here: KVR-7, KVR-5B");
    row("model no text", "{\n\"model\":\n 7\n}", "3: \"model\" must be one of these texts: KVR-7, KVR-5B");
    row("identity no object", "{\"identity\": \"x\"}",
        "1: \"identity\" must be an object in braces; keys known in it: " + kIdentityKeys);
    row("text no text", "{\"identity\": {\"product\": true}}",
        "1: \"identity.product\" must be a text of at most 126 bytes, without a zero byte");
    row("text with zero byte", R"({"identity": {"captureVersion": "a\u0000b"}})",
        "1: \"identity.captureVersion\" must be a text of at most 127 bytes, without a zero byte");
    row("fraction for a whole number", "{\"seed\": 1.5}",
        "1: \"seed\" must be a whole number from 0 to 9223372036854775807");
    row("huge whole number", "{\"seed\": 18446744073709551615}",
        "1: \"seed\" must be a whole number from 0 to 9223372036854775807");
    row("negative", "{\"unplugAfterCalls\":\n-1\n}",
        "2: \"unplugAfterCalls\" must be a whole number from 0 to 1000000000");
    row("speed of zero", "{\"speedFactor\": 0}", "1: \"speedFactor\" must be a number from 0.001 to 1e+06");
    row("speed no number", "{\"speedFactor\": \"1\"}", "1: \"speedFactor\" must be a number from 0.001 to 1e+06");
    row("latency null", "{\"latencyMs\": null}", "1: \"latencyMs\" must be a number from 0 to 60000");
    row("number overflow", "{\n\"latencyMs\": 1e999}", "2: not valid JSON: number overflow parsing '1e999'");
    row("truth no truth", "{\"sink\": {\"present\": 1}}", "1: \"sink.present\" must be true or false");
    row("family a number", "{\"externalMcu\": {\"family\": 2}}",
        "1: \"externalMcu.family\" must be a text of at most 100 bytes, without a zero byte");
    row("family unknown", "{\"externalMcu\": {\"family\": \"3\"}}",
        "1: \"externalMcu.family\" must be \"2\", \"v\" or, for an unknown family, a byte such as \"0x41\"");
    row("mode unknown", "{\"externalMcu\": {\"mode\": \"boot\"}}",
        "1: \"externalMcu.mode\" cannot be \"boot\"; known here: application, bootLoader, silent");
    const auto faultRow = [](const char* name, const char* fault, const QString& error) {
      QTest::newRow(name) << QByteArray("{\"faults\": [") + fault + "]}"
                          << "1: \"faults[0]" + error;
    };
    faultRow("MCU fault without effect", "{\"at\": \"mcu.transfer\"}",
             ".what\" is missing; known here: notAcknowledged, lost, unplug");
    faultRow("MCU fault of no effect", "{\"at\": \"mcu.data\", \"what\": \"late\"}",
             ".what\" cannot be \"late\"; known here: notAcknowledged, lost, damage, misread, busy, unplug");
    faultRow("MCU fault counted from zero", "{\"at\": \"mcu.data\", \"what\": \"damage\", \"first\": 0}",
             ".first\" must be a whole number from 1 to 1000000000");
    faultRow("damage to no packet", "{\"at\": \"mcu.reset\", \"what\": \"damage\"}",
             ".what\" cannot be \"damage\"; known here: notAcknowledged, lost, unplug");
    faultRow("busy without work", "{\"at\": \"mcu.transfer\", \"what\": \"busy\"}",
             ".what\" cannot be \"busy\"; known here: notAcknowledged, lost, unplug");
    faultRow("operation that is misread", "{\"at\": \"openPort\", \"what\": \"misread\"}",
             ".what\" cannot be \"misread\"; known here: answer, delay, unplug");
    faultRow("probability above one", "{\"at\": \"read\", \"what\": \"short\", \"perMille\": 1001}",
             ".perMille\" must be a whole number from 0 to 1000");
    faultRow("progress of no burn", "{\"at\": \"openPort\", \"fromPercent\": 60}",
             ".fromPercent\" is the progress of a burn; it needs \"at\": \"captureFlash\"");
    faultRow("length below zero", "{\"at\": \"openPort\", \"length\": -1}",
             ".length\" must be a whole number from 0 to 4294967295");
    row("unit with a key of the run", "{\"units\": [{},\n{\"latencyMs\": 3}]}",
        "2: \"units[1].latencyMs\" is not a known key; known here: model, identity, signal, inputs, sink, audio, edid, "
        "externalMcu, unplugAfterMs, unplugAfterIdleMs, seed, faults, unplugAfterCalls");
    for (const char* version : {"1.2", "0x", "0x100", "0xG1", "12", "0x1 "}) {
      row(qPrintable(QStringLiteral("version %1").arg(version)),
          QByteArray("{\"externalMcu\": {\"version\": \"" + QByteArray(version) + "\"}}"),
          "1: \"externalMcu.version\" must be a byte from \"0x00\" to \"0xFF\"; its halves are the version's two "
          "numbers");
    }
    row("HDMI signal on DP", "{\"inputs\": {\n\"dp\": \"1080p60\"}}",
        "2: \"inputs.dp\" cannot be \"1080p60\", which travels over HDMI");
    row("DP signal on HDMI", "{\"inputs\": {\n\"hdmi\": \"1440p144\"}}",
        "2: \"inputs.hdmi\" cannot be \"1440p144\", which travels over DP");
    row("faults no array", "{\"faults\": {}}", "1: \"faults\" must be an array in brackets");
    row("fault no object", "{\"faults\": [\n3]}",
        "2: \"faults[0]\" must be an object in braces; keys known in it: at, first, count, perMille, fromPercent, "
        "what, status, "
        "answer, length, delayMs, polls");
    row("fault without place", "{\"faults\": [\n{\"first\": 1}]}",
        "2: \"faults[0].at\" is missing; name one of the library's operations or a point in the device");
    row("call zero", "{\"faults\": [{\"at\": \"openPort\", \"first\": 0}]}",
        "1: \"faults[0].first\" must be a whole number from 1 to 1000000000");
    row("status over 32 bits", "{\"faults\": [{\"at\": \"openPort\", \"status\": 2147483648}]}",
        "1: \"faults[0].status\" must be a whole number from -2147483648 to 2147483647");
    row("EDID table of odd digits", "{\"edid\": {\n\"slot3\": \"00 F\"}}",
        "2: \"edid.slot3\" must be bytes of two hexadecimal digits with blanks between, for example \"00 1F\"");
    row("EDID table that is too long", "{\"edid\": {\"sink\": \"" + QByteArray("00 ").repeated(512) + "00\"}}",
        "1: \"edid.sink\" must be a text of at most 1536 bytes, without a zero byte");
    for (const char* answer : {"1", "1 2", "123", "0g", "01  02", "01-02", "01 "}) {
      row(qPrintable(QStringLiteral("answer %1").arg(answer)),
          QByteArray("{\"faults\": [{\"at\": \"openPort\", \"answer\": \"" + QByteArray(answer) + "\"}]}"),
          "1: \"faults[0].answer\" must be bytes of two hexadecimal digits with blanks between, for example \"00 1F\"");
    }
  }

  void aMistakeIsOneLineWithPlaceKeyAndRemedy() {
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    const QString text = QString::fromStdString(simulator::loadScenario(json.toStdString(), "my scenario"));
    QCOMPARE(text, "my scenario:" + error);
    // The result is the default device.
    openDefaultDevice();
  }

  // The parser's own words follow the place, all in one line.
  void badJsonIsNamedWithItsLine_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("line");
    QTest::newRow("unquoted key") << QByteArray("{\n seed: 1}") << 2;
    QTest::newRow("missing comma") << QByteArray("{\"seed\": 1\n\n\"model\": \"KVR-7\"}") << 3;
    QTest::newRow("no end") << QByteArray("{\n\"seed\": 1\n") << 2;
    QTest::newRow("two values") << QByteArray("{}\n{}") << 2;
    QTest::newRow("comma at the end") << QByteArray("{\"seed\": 1,\n}") << 2;
    QTest::newRow("bad UTF-8") << QByteArray("{\"model\":\n\"\xFF\xFE\"}") << 2;
    QTest::newRow("zero byte") << QByteArray("{\n\0}", 4) << 2;
    QTest::newRow("line break in a text") << QByteArray("{\"model\": \"a\nb\"}") << 1;
    QTest::newRow("comment") << QByteArray("{\n\n// text\n}") << 3;
  }

  void badJsonIsNamedWithItsLine() {
    QFETCH(QByteArray, json);
    QFETCH(int, line);
    const QString text = QString::fromStdString(simulator::loadScenario(json.toStdString()));
    QVERIFY2(text.startsWith(QStringLiteral("scenario:%1: not valid JSON: ").arg(line)), qPrintable(text));
    QVERIFY(!text.contains('\n') && !text.contains('['));
  }

  void anUnknownOperationAndAnUnknownSignalAreAnsweredWithTheKnownOnes() {
    QString text = QString::fromStdString(simulator::loadScenario(R"({"faults": [{"at": "AT_Get"}]})"));
    QVERIFY(text.startsWith("scenario:1: \"faults[0].at\" cannot be \"AT_Get\"; known here: call, "));
    QVERIFY(text.endsWith("AT_SetHDMI_HDCP_OnOff"));
    text = QString::fromStdString(simulator::loadScenario("{\n\"signal\": \"1080p61\"}"));
    QVERIFY(text.startsWith("scenario:2: \"signal\" cannot be \"1080p61\"; known here: none, 480p60-dvi, "));
    QVERIFY(text.endsWith("1440p144"));
  }

  void aQuotedValueCannotBreakTheLine() {
    const QString text = QString::fromStdString(simulator::loadScenario("{\"a\\nb\\u001b[31m\": 1}"));
    QVERIFY2(text.startsWith("scenario:1: \"a?b?[31m\" is not a known key; "), qPrintable(text));
    const std::string longKey(100000, 'k');
    QVERIFY(simulator::loadScenario("{\"" + longKey + "\": 1}").size() < 2100);
  }

  void charactersThatChangeTheLineAreReplaced_data() {
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString>("quoted");
    const auto row = [](const char* name, const QByteArray& key, const QString& quoted) {
      QTest::newRow(name) << key << quoted;
    };
    row("control sequence introducer of one character",
        "a\xC2\x9B"
        "31m",
        "a?31m");
    row("next line",
        "a\xC2\x85"
        "b",
        "a?b");
    row("right to left override",
        "a\xE2\x80\xAE"
        "b",
        "a?b");
    row("isolate", "\xE2\x81\xA6x\xE2\x81\xA9", "?x?");
    row("arabic letter mark", "\xD8\x9C", "?");
    row("line separator",
        "a\xE2\x80\xA8"
        "b",
        "a?b");
    row("zero width",
        "a\xE2\x80\x8B"
        "b",
        "a?b");
    row("tag", "\xF3\xA0\x81\x81", "?");
    row("letters of other scripts", QByteArray("Ger\xC3\xA4t \xE7\x89\xB9 \xF0\x9F\x98\x80"),
        QString::fromUtf8("Ger\xC3\xA4t \xE7\x89\xB9 \xF0\x9F\x98\x80"));
    row("first of three bytes", "\xE0\xA4\x84", QString(QChar(0x0904)));
    row("last before the surrogates", "\xED\x9F\xBB", QString(QChar(0xD7FB)));
    row("first behind them", "\xEE\x80\x80", QString(QChar(0xE000)));
    row("last of all for private use", "\xF4\x8F\xBF\xBD", QString::fromUtf8("\xF4\x8F\xBF\xBD"));
  }

  void charactersThatChangeTheLineAreReplaced() {
    QFETCH(QByteArray, key);
    QFETCH(QString, quoted);
    const std::string text = simulator::loadScenario("{\"" + key.toStdString() + "\": 1}", key.toStdString());
    QVERIFY2(QString::fromStdString(text).startsWith(quoted + ":1: \"" + quoted + "\" is not a known key; "),
             text.c_str());
  }

  void aNameThatIsNotUtf8IsStillShown() {
    for (const char* name : {"a\xFF", "a\xC0", "a\xE2"}) {
      QVERIFY(simulator::loadScenario("[]", name).rfind("a?:1: ", 0) == 0);
    }
    // Two bytes for an ASCII letter, surrogates, more bytes than needed, beyond the last character.
    for (const char* name : {"\xC1\x81", "\xED\xA0\x80", "\xED\xBF\xBF", "\xE0\x9F\xBF", "\xF0\x80\x80\xAF",
                             "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
      const std::string marks(std::strlen(name), '?');
      QCOMPARE(simulator::loadScenario("[]", name).substr(0, marks.size() + 4), marks + ":1: ");
    }
  }

  // A truncated character would be invalid UTF-8.
  void aLongLineEndsWithAWholeCharacter() {
    for (const int start : {0, 1, 2}) {
      const QByteArray key = QByteArray(start, 'a') + QByteArray("\xE2\x82\xAC").repeated(1000);
      const std::string text = simulator::loadScenario("{\"" + key.toStdString() + "\": 1}");
      QCOMPARE(QString::fromStdString(text).toStdString(), text);
      QVERIFY(!QString::fromStdString(text).contains(QChar::ReplacementCharacter));
      QVERIFY(text.size() <= 2003 && text.size() >= 2000);
    }
  }

  // A crash can leave such zeros, or writing over a longer file.
  void zeroBytesBehindTheTextAreRefused() {
    for (const int count : {1, 2, 4096}) {
      const QByteArray text = QByteArray("{\n}") + QByteArray(count, '\0');
      QCOMPARE(simulator::loadScenario(text.toStdString()), "scenario:2: not valid JSON: a zero byte; remove it");
    }
    QVERIFY(!simulator::loadScenario(std::string("{}\0 {\"sped\": 1}", 15)).empty());
  }

  // Comparing each key with all previous ones would take far too long.
  void manyKeysAreReadInAMoment() {
    QByteArray json = "{\"x\": {";
    for (int i = 0; i < 160'000; ++i) {
      json += "\"k" + QByteArray::number(i) + "\":1,";
    }
    QElapsedTimer timer;
    timer.start();
    const std::string twice = simulator::loadScenario((json + "\"k7\":1}}").toStdString());
    QCOMPARE(twice, "scenario:1: \"k7\" stands twice; the first is at line 1, remove one of them");
    QVERIFY(timer.elapsed() < 10'000);
  }

  void deepNestingIsRefusedAtAnyDepth() {
    for (const int depth : {33, 1000, 500000}) {
      const QByteArray nested = "{\"faults\":\n" + QByteArray(depth, '[');
      QCOMPARE(QString::fromStdString(simulator::loadScenario(nested.toStdString())),
               "scenario:2: nested deeper than 32 levels; no key needs that");
    }
  }
};
// NOLINTEND(modernize-raw-string-literal)

QTEST_GUILESS_MAIN(SimulatorScenarioTest)
#include "scenario_test.moc"
