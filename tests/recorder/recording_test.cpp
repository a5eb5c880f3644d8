#include "recorder/recording.h"

#include "device/boot_packet.h"
#include "recorder/line_reader.h"
#include "recorder/packets.h"
#include "recorder/recorder.h"
#include "recorder/redaction.h"
#include "tests/recorder/through.h"
#include "tests/support/comma_locale.h"

#include <QFile>
#include <QTest>

#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <sstream>

namespace {

using device::Operation;
using recorder::Bytes;

constexpr int kProgressEvery = 50;

// What a recorder writes for this many calls, some of them burns.
std::string recordingOf(int calls) {
  const QTemporaryDir folder;
  const auto file = pathIn(folder, "calls.jsonl");
  {
    auto functions = quiet_library::functions();
    quiet_library::put(
        functions, Operation::burnToFlash, +[](const char*, RTICE_ProgressCallback progress) {
          progress(50);
          return 0;
        });
    recorder::Recorder::Options options;
    options.functions = functions;
    options.file = file;
    recorder::Recorder recorder(options);
    for (int i = 0; i < calls; ++i) {
      if (i % kProgressEvery == 1) {
        THROUGH(recorder, burnToFlash, "image", [](float) {});
      } else {
        THROUGH(recorder, AT_HdmiRX_Set_HPD, i);
      }
    }
    recorder.finish();
  }
  QFile content(QString::fromStdU16String(file.u16string()));
  return content.open(QIODevice::ReadOnly) ? content.readAll().toStdString() : std::string();
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string textOf(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

std::string verdictOn(const std::string& text) {
  std::istringstream stream(text);
  const auto walk = recorder::walkRecording(stream, "text", [](recorder::LinePlace, recorder::Line&&) {});
  return !walk ? walk.error().text() : walk->complete ? "whole" : "without its end";
}

// What a reader finds in a line of progress.
std::optional<float> percentIn(const std::string& text) {
  recorder::PartMark part;
  try {
    const auto line = recorder::readLine(
        R"({"kind":"progress","call":1,"thread":1,"after":0,"at":0,"percent":")" + text + "\"}", part);
    return std::get<recorder::ProgressLine>(line).percent;
  } catch (const recorder::LineError&) {
    return std::nullopt;
  }
}

constexpr const char* kDoesNotFit =
    "the line does not fit those before it: it was changed, or lines are missing or out of order";

std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

recorder::CallImage sent(std::span<const std::uint8_t> packet) {
  recorder::CallImage image;
  image.operation = Operation::AT_System_Send_ExternalMCU_cmd;
  image.inputs[3].kind = recorder::Input::Kind::kBytes;
  image.inputs[3].bytes.assign(packet.begin(), packet.end());
  return image;
}

}  // namespace

class RecordingTest : public QObject {
  Q_OBJECT

 private slots:
  void sha256OfTheStandardsExamples() {
    recorder::Sha256 hash;
    QCOMPARE(hash.hex(), std::string("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"));
    hash.add("abc");
    QCOMPARE(hash.hex(), std::string("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    recorder::Sha256 million;
    for (int i = 0; i < 10'000; ++i) {
      million.add(std::string(100, 'a'));
    }
    QCOMPARE(million.hex(), std::string("cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"));
  }

  void percentsComeBackAsTheyWere() {
    for (const float percent : {0.0F, 0.1F, 33.333332F, 100.0F, -1.0F, 1e-30F, 3.4e38F}) {
      QCOMPARE(std::strtof(recorder::percentText(percent).c_str(), nullptr), percent);
    }
    QCOMPARE(recorder::percentText(std::nanf("")), std::string("nan"));
    QCOMPARE(recorder::percentText(-std::nanf("")), std::string("nan"));
  }

  void percentsAreWrittenAndReadWithAPointInAnyLocale() {
    const CommaLocale locale;
    const CommaLocale::InUse inUse(locale);
#ifdef Q_OS_WIN
    if (!CommaLocale::InUse::works()) {
      QSKIP("this system has no locale with a decimal comma");
    }
#endif
    QVERIFY2(CommaLocale::InUse::works(), "no locale with a decimal comma can be made: is localedef installed?");
    QCOMPARE(recorder::percentText(1.5625F), std::string("1.5625"));
    QCOMPARE(recorder::percentText(1e-30F), std::string("1e-30"));
    QCOMPARE(percentIn("1.5625"), 1.5625F);
    QCOMPARE(percentIn("-inf"), -std::numeric_limits<float>::infinity());
    QVERIFY(std::isnan(*percentIn("nan")));
    for (const char* text : {"", "1,5625", "1.5x", " 1", "+1"}) {
      QVERIFY2(!percentIn(text), text);
    }
  }

  void everyFlippedBitIsNoticed() {
    const std::string text = recordingOf(4);
    QCOMPARE(verdictOn(text), std::string("whole"));
    for (std::size_t i = 0; i < text.size(); ++i) {
      for (int bit = 0; bit < 8; ++bit) {
        std::string damaged = text;
        damaged[i] = static_cast<char>(damaged[i] ^ 1 << bit);
        const std::string verdict = verdictOn(damaged);
        QVERIFY2(verdict.rfind("text:", 0) == 0, qPrintable(QString("byte %1, bit %2").arg(i).arg(bit)));
      }
    }
  }

  void damageIsReportedWithItsLine_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("verdict");
    const std::vector<std::string> lines = linesOf(recordingOf(6));
    const auto row = [](const char* name, const std::string& text, const std::string& verdict) {
      QTest::newRow(name) << QByteArray::fromStdString(text) << QByteArray::fromStdString(verdict);
    };
    row("empty", "", "text:1: the file is empty");
    row("binary garbage", std::string("\x00\xFF{\n\x80", 5), "text:1: this is no line of a recording");
    row("no line feed at all", std::string(400'000, 'x'), "text:1: the line is longer than any can be");
    const std::string whole = textOf(lines);
    row("cut off in a line", whole.substr(0, whole.size() - 20),
        "text:" + std::to_string(lines.size()) + ": the recording is cut off in this line");
    auto changed = lines;
    changed.pop_back();
    row("without its last line", textOf(changed), "without its end");
    changed = lines;
    char& digit = changed[4][changed[4].find("\"at\":") + 5];
    digit = digit == '9' ? '8' : '9';
    row("edited", textOf(changed), std::string("text:5: ") + kDoesNotFit);
    changed = lines;
    std::swap(changed[2], changed[3]);
    row("out of order", textOf(changed), std::string("text:3: ") + kDoesNotFit);
    changed = lines;
    changed.insert(changed.begin() + 3, changed[2]);
    row("a line twice", textOf(changed), std::string("text:4: ") + kDoesNotFit);
    changed = lines;
    changed.erase(changed.begin() + 2);
    row("a line missing", textOf(changed), std::string("text:3: ") + kDoesNotFit);
    row("something after the end", whole + lines[1] + "\n",
        "text:" + std::to_string(lines.size() + 1) + ": there is something after the recording's last line");
    row("two recordings", whole + whole,
        "text:" + std::to_string(lines.size() + 1) + ": there is something after the recording's last line");
  }

  void damageIsReportedWithItsLine() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, verdict);
    QCOMPARE(QByteArray::fromStdString(verdictOn(text.toStdString())), verdict);
  }

  // Correct chain values do not help.
  void linesThatMakeNoSenseAreRefused_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("reason");
    const auto row = [](const char* line, const char* reason) {
      QTest::newRow(reason) << QByteArray(line) << QByteArray(reason);
    };
    row("[1", "the line is no JSON object");
    row(R"({"kind":"song")", "\"kind\" is none of a recording's");
    row(R"({"kind":7)", "\"kind\" is not a text");
    row(R"({"kind":"call","call":1,"thread":1,"after":0,"at":1,"op":"fly","in":{},"out":{},"result":0,"took":1)",
        "\"op\" is none of the library's operations");
    row(R"({"kind":"call","call":1,"thread":1,"after":5,"at":1,"op":"openPort","in":{},"out":{},"result":0,"took":1)",
        "it comes after more calls than have ended");
    row(R"({"kind":"call","call":1,"thread":0,"after":0,"at":1,"op":"openPort","in":{},"out":{},"result":0,"took":1)",
        "\"thread\" is not a number that it can be");
    row(R"({"kind":"call","call":1,"thread":1,"after":0,"at":1,"op":"openPort","in":{},"out":{"x":"0:00"},"result":0,"took":1)",
        "\"out\" tells of a buffer that the operation does not write");
    row(R"({"kind":"call","call":1,"thread":1,"after":0,"at":1,"op":"openPort","in":{},"out":{},"result":4294967296,"took":1)",
        "\"result\" is not a number that it can be");
    row(R"({"kind":"call","call":1,"thread":1,"after":0,"at":1,"op":"AT_EDID_Get_EDID_mode","in":{},"out":{"mode":"x:00"},"result":0,"took":1)",
        "\"mode\" is not an offset and bytes");
    row(R"({"kind":"call","call":1,"thread":1,"after":0,"at":1,"op":"AT_HdmiRX_Set_HPD","in":{},"out":{},"result":0,"took":1)",
        "the line has no \"on\"");
    row(R"({"kind":"end","call":3,"out":{},"result":0,"took":1)", "a call ends that is not under way");
    row(R"({"kind":"footer","last":true,"lines":1,"sha256":"00")",
        "the hash of the recording is not that of the lines before");
  }

  void linesThatMakeNoSenseAreRefused() {
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, reason);
    std::string header;
    recorder::writeHeader(header, {});
    header += R"(,"part":1,"follows":"")";
    recorder::Chain chain;
    recorder::seal(header, chain);
    std::string sealed = line.toStdString();
    recorder::seal(sealed, chain);
    QCOMPARE(QByteArray::fromStdString(verdictOn(header + sealed)), "text:2: " + reason);
  }

  void packetsAreDecoded() {
    const auto address = recorder::packetOf(device::bootAddressPacket(0x08004000));
    QVERIFY(address.has_value());
    QCOMPARE(recorder::textOf(*address), std::string("address 0x08004000, checksum 0x44"));
    auto damaged = device::bootPacket(device::BootCommand::kFinish);
    damaged.back() ^= 1;
    QCOMPARE(recorder::textOf(*recorder::packetOf(damaged)), std::string("finish, checksum 0xFF (wrong)"));
    const std::array<std::uint8_t, 2> other{0x01, 0x5A};
    QVERIFY(!recorder::packetOf(other));
    damaged[1] = 0x5B;
    QVERIFY(!recorder::packetOf(damaged));
  }

  void aSerialNumberBecomesAPseudonymOfItsLength() {
    const recorder::Redaction redaction("salt");
    Bytes serial{'S', 'N', '-', '4', '7', 0, 0, 'x'};
    const Bytes before = serial;
    redaction.makePseudonym(serial);
    QVERIFY(serial != before);
    QCOMPARE(serial.size(), before.size());
    for (std::size_t i = 0; i < serial.size(); ++i) {
      QCOMPARE(serial[i] == 0, before[i] == 0);
    }
    Bytes again = before;
    redaction.makePseudonym(again);
    QVERIFY(again == serial);
    Bytes otherSalt = before;
    recorder::Redaction("pepper").makePseudonym(otherSalt);
    QVERIFY(otherSalt != serial);
  }

  void aSerialNumberReadIsHiddenWithTheBytesBehindIt() {
    const recorder::Redaction redaction("salt");
    Bytes expected{'S', 'N', '4', '7'};
    redaction.makePseudonym(expected);
    recorder::CallImage image;
    image.operation = Operation::AT_USB_Get_SerialNum;
    image.outputs[0].bytes = {'S', 'N', '4', '7', 'o', 'l', 'd'};
    image.outputs[2].bytes = {4};
    redaction.redactOutputs(image);
    const Bytes text(image.outputs[0].bytes.begin(), image.outputs[0].bytes.begin() + 4);
    QVERIFY(text == expected);
    QVERIFY(image.outputs[0].bytes.back() != 'd' || image.outputs[0].bytes[5] != 'l');
  }

  void firmwareBytesAreHiddenAndThePacketsChecksumFits() {
    const recorder::Redaction redaction("salt");
    Bytes payload(64);
    std::iota(payload.begin(), payload.end(), std::uint8_t{1});
    const auto packet = device::bootPacket(device::BootCommand::kData, payload);
    recorder::CallImage image = sent(packet);
    redaction.redactInputs(image);
    const Bytes& redacted = image.inputs[3].bytes;
    QCOMPARE(redacted.size(), packet.size());
    QCOMPARE(redacted.back(), packet.back());
    QCOMPARE(sumOf(std::span(redacted).first(67)), redacted.back());
    QVERIFY(!std::equal(payload.begin(), payload.begin() + 8, redacted.begin() + 3));
    QVERIFY(recorder::packetOf(redacted)->checksumFits);

    const auto address = device::bootAddressPacket(0x08004000);
    recorder::CallImage plain = sent(address);
    redaction.redactInputs(plain);
    QVERIFY(std::equal(address.begin(), address.end(), plain.inputs[3].bytes.begin()));
  }
};

QTEST_GUILESS_MAIN(RecordingTest)
#include "recording_test.moc"
