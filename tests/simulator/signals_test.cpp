#include "device/bytes.h"
#include "simulator/control/control.h"
#include "tests/simulator/operation_table.h"

#include <cmath>

namespace {

// Published numbers, copied by hand from the tables of CTA-861-I and VESA DMT; the last
// row is computed by hand with the CVT reduced blanking formulas. Frequencies in the
// tables' units.
struct Published {
  const char* name;
  int hTotal, hActive, hStart, hSync;
  int vTotal, vActive, vStart, vSync;
  bool interlaced;
  double pixelMHz, lineKHz, rateHz, tmdsMHz;
};

constexpr Published kPublished[] = {
    {"480p60-dvi", 800, 640, 144, 96, 525, 480, 35, 2, false, 25.175, 31.469, 59.940, 25.175},
    {"480p59.94", 858, 720, 122, 62, 525, 480, 36, 6, false, 27.0, 31.469, 59.940, 27.0},
    {"576p50", 864, 720, 132, 64, 625, 576, 44, 5, false, 27.0, 31.250, 50.0, 27.0},
    {"720p60", 1650, 1280, 260, 40, 750, 720, 25, 5, false, 74.25, 45.0, 60.0, 74.25},
    {"1080i50", 2640, 1920, 192, 44, 1125, 1080, 20, 5, true, 74.25, 28.125, 50.0, 74.25},
    {"1080p24", 2750, 1920, 192, 44, 1125, 1080, 41, 5, false, 74.25, 27.0, 24.0, 111.375},
    {"1080p50", 2640, 1920, 192, 44, 1125, 1080, 41, 5, false, 148.5, 56.25, 50.0, 148.5},
    {"1080p60", 2200, 1920, 192, 44, 1125, 1080, 41, 5, false, 148.5, 67.5, 60.0, 148.5},
    {"1080p120", 2200, 1920, 192, 44, 1125, 1080, 41, 5, false, 297.0, 135.0, 120.0, 297.0},
    {"2160p24-dolby-vision", 5500, 3840, 384, 88, 2250, 2160, 82, 10, false, 297.0, 54.0, 24.0, 297.0},
    {"2160p30", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 297.0, 67.5, 30.0, 297.0},
    {"2160p59.94-hlg", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 594 / 1.001, 135 / 1.001, 60 / 1.001,
     594 / 1.001},
    {"2160p60-420", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 594.0, 135.0, 60.0, 297.0},
    {"2160p60-hdr10", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 594.0, 135.0, 60.0, 371.25},
    {"2160p60-hdr10plus", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 594.0, 135.0, 60.0, 594.0},
    {"2160p60-dolby-vision-ll", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 594.0, 135.0, 60.0, 594.0},
    {"2160p120", 4400, 3840, 384, 88, 2250, 2160, 82, 10, false, 1188.0, 270.0, 120.0, 0.0},
    {"1200p60", 2080, 1920, 112, 32, 1235, 1200, 32, 6, false, 154.0, 74.038, 59.950, 0.0},
    {"1440p144", 2720, 2560, 112, 32, 1543, 1440, 100, 5, false, 604.25, 222.150, 143.973, 0.0},
};

// The receiver's codes for each signal: mode, depth, space, range, colorimetry,
// extended colorimetry, HDCP, HDR; then the UVC format, and the audio's format and
// sampling rate.
struct Codes {
  const char* name;
  std::array<int, 8> codes;
  int uvcFormat;
  int audioFormat;
  int samplingRate;
};

constexpr Codes kCodes[] = {
    {"480p60-dvi", {0, 0, 0, 0, 0, 0, 0, 0x00}, 4, 0, 0},
    {"480p59.94", {1, 0, 2, 1, 1, 0, 1, 0x00}, 4, 2, 7},
    {"576p50", {1, 0, 2, 1, 1, 0, 1, 0x00}, 4, 3, 7},
    {"720p60", {1, 0, 2, 1, 2, 0, 1, 0x00}, 4, 2, 7},
    {"1080i50", {1, 0, 1, 1, 2, 0, 1, 0x00}, 4, 3, 7},
    {"1080p24", {1, 2, 2, 1, 2, 0, 1, 0x00}, 4, 11, 7},
    {"1080p50", {1, 0, 2, 1, 2, 0, 1, 0x00}, 4, 2, 7},
    {"1080p60", {1, 0, 0, 1, 0, 0, 1, 0x00}, 4, 2, 7},
    {"1080p120", {1, 0, 0, 2, 0, 0, 0, 0x00}, 4, 2, 4},
    {"2160p24-dolby-vision", {1, 0, 0, 2, 0, 0, 2, 0x30}, 7, 19, 7},
    {"2160p30", {1, 0, 0, 1, 0, 0, 1, 0x00}, 1, 2, 7},
    {"2160p59.94-hlg", {1, 1, 1, 1, 3, 6, 2, 0x11}, 7, 14, 7},
    {"2160p60-420", {1, 0, 3, 1, 2, 0, 2, 0x00}, 1, 2, 7},
    {"2160p60-hdr10", {1, 1, 3, 1, 3, 6, 2, 0x01}, 7, 2, 7},
    {"2160p60-hdr10plus", {1, 1, 1, 1, 3, 6, 2, 0x20}, 7, 2, 7},
    {"2160p60-dolby-vision-ll", {1, 2, 1, 1, 3, 6, 2, 0x31}, 7, 15, 7},
    {"2160p120", {2, 1, 0, 2, 3, 6, 2, 0x01}, 7, 2, 8},
    {"1200p60", {3, 0, 0, 2, 0, 0, 0, 0x00}, 1, 2, 7},
    {"1440p144", {3, 0, 0, 2, 0, 0, 0, 0x00}, 1, 2, 9},
};

using Record = std::array<std::uint8_t, 48>;

Record readRecord() {
  Record record;
  record.fill(0xA5);
  if (AT_HdmiRX_GetRawTimingInfo(record.data()) != 0) {
    qFatal("the record could not be read");
  }
  return record;
}

template <typename Row, std::size_t kCount>
void addSignals(const Row (&rows)[kCount]) {
  QTest::addColumn<int>("row");
  for (std::size_t i = 0; i < kCount; ++i) {
    QTest::newRow(rows[i].name) << static_cast<int>(i);
  }
}

void openDeviceWith(const char* signal) {
  const std::string scenario = QStringLiteral(R"({"signal": "%1"})").arg(signal).toStdString();
  QCOMPARE(QString::fromStdString(simulator::loadScenario(scenario)), QString());
  openDefaultDevice();
}

}  // namespace

class SimulatorSignalsTest : public QObject {
  Q_OBJECT

 private slots:
  void theRecordHoldsThePublishedNumbers_data() { addSignals(kPublished); }

  void theRecordHoldsThePublishedNumbers() {
    QFETCH(int, row);
    const Published& published = kPublished[row];
    openDeviceWith(published.name);
    const Record record = readRecord();
    const auto word = [&record](std::size_t offset) { return int{device::readU16le(record, offset)}; };
    QCOMPARE(int{record[0x00]}, published.interlaced ? 1 : 0);
    QCOMPARE(word(0x02), published.vTotal);
    QCOMPARE(word(0x04), published.hTotal);
    QCOMPARE(word(0x06), published.vActive);
    QCOMPARE(word(0x08), published.hActive);
    QCOMPARE(word(0x0A), published.vStart);
    QCOMPARE(word(0x0C), published.hStart);
    QCOMPARE(word(0x13), published.vSync);
    QCOMPARE(word(0x15), published.hSync);
    // The record's units: 0.01 Hz, 0.01 kHz, 0.01 MHz, MHz times 1024.
    QCOMPARE(word(0x0E), static_cast<int>(std::lround(published.rateHz * 100)));
    QCOMPARE(word(0x10), static_cast<int>(std::lround(published.lineKHz * 100)));
    QCOMPARE(word(0x1E), static_cast<int>(std::lround(published.tmdsMHz * 100)));
    QCOMPARE(qint64{device::readU32le(record, 0x20)}, qint64{std::lround(published.pixelMHz * 1024)});
    std::array<std::uint8_t, 128> output{};
    QCOMPARE(AT_UVC_Get_Output_Timing(output.data()), 0);
    const auto number = [&output](std::size_t offset) { return static_cast<int>(device::readU32le(output, offset)); };
    QCOMPARE(number(0), published.hActive);
    QCOMPARE(number(4), published.vActive);
    QCOMPARE(number(8), static_cast<int>(std::lround(published.rateHz * 100)));
    for (std::size_t i = 0x24; i < record.size(); ++i) {
      QCOMPARE(int{record[i]}, 0);
    }
  }

  // Independent of any table: the pixel clock equals totals times frame rate.
  void theNumbersAgreeWithEachOther_data() { addSignals(kPublished); }

  void theNumbersAgreeWithEachOther() {
    QFETCH(int, row);
    openDeviceWith(kPublished[row].name);
    const Record record = readRecord();
    const auto word = [&record](std::size_t offset) { return double(device::readU16le(record, offset)); };
    const double clockHz = device::readU32le(record, 0x20) * 1e6 / 1024;
    const double frames = word(0x0E) / 100 / ((record[0] & 1) != 0 ? 2 : 1);
    const auto near = [](double a, double b) { return std::abs(a / b - 1) < 5e-4; };
    QVERIFY(near(word(0x04) * word(0x02) * frames, clockHz));
    QVERIFY(near(word(0x04) * word(0x10) * 10, clockHz));
    QVERIFY(word(0x08) + word(0x0C) < word(0x04));
    QVERIFY(word(0x06) + word(0x0A) < word(0x02));
    QVERIFY(word(0x15) < word(0x0C) && word(0x13) < word(0x0A));
  }

  void theCodesDescribeTheSignal_data() { addSignals(kCodes); }

  void theCodesDescribeTheSignal() {
    QFETCH(int, row);
    const Codes& codes = kCodes[row];
    openDeviceWith(codes.name);
    const Record record = readRecord();
    const std::array<int, 8> read{record[0x17], record[0x18], record[0x19], record[0x1A],
                                  record[0x1B], record[0x1C], record[0x1D], record[0x12]};
    QVERIFY(read == codes.codes);
    std::uint8_t format = 99;
    QCOMPARE(AT_UVC_Get_VideoFormat(&format), 0);
    QCOMPARE(int{format}, codes.uvcFormat);
    QCOMPARE(AT_Audio_Get_HdmiRX_AudioFormat(&format), 0);
    QCOMPARE(int{format}, codes.audioFormat);
    QCOMPARE(AT_Audio_Get_HdmiRX_AudioSamplingRate(&format), 0);
    QCOMPARE(int{format}, codes.samplingRate);
  }

  void noSignalIsAllZero() {
    openDeviceWith("none");
    QCOMPARE(readRecord(), Record{});
    std::array<std::uint8_t, 12> timing{};
    timing.fill(0xA5);
    QCOMPARE(AT_UVC_Get_Output_Timing(timing.data()), 0);
    QVERIFY(timing == decltype(timing){});
    std::uint8_t code = 99;
    QCOMPARE(AT_UVC_Get_VideoFormat(&code), 0);
    QCOMPARE(int{code}, 0);
    QCOMPARE(AT_Audio_Get_HdmiRX_AudioFormat(&code), 0);
    QCOMPARE(int{code}, 1);
    QCOMPARE(AT_Audio_Get_HdmiRX_AudioSamplingRate(&code), 0);
    QCOMPARE(int{code}, 0);
  }

  void everyNamedSignalIsTested() {
    // The message for an unknown name lists all names.
    const QString error = QString::fromStdString(simulator::loadScenario(R"({"signal": "?"})"));
    QStringList names = error.mid(error.indexOf("known here: ") + 12).split(", ");
    QCOMPARE(names.takeFirst(), "none");
    QStringList published;
    QStringList coded;
    for (const Published& row : kPublished) {
      published << row.name;
    }
    for (const Codes& row : kCodes) {
      coded << row.name;
    }
    names.sort();
    published.sort();
    coded.sort();
    QCOMPARE(published, names);
    QCOMPARE(coded, names);
  }
};

QTEST_GUILESS_MAIN(SimulatorSignalsTest)
#include "signals_test.moc"
