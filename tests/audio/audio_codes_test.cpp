#include "audio/audio_codes.h"

#include <QTest>

#include <map>

class AudioCodesTest : public QObject {
  Q_OBJECT

 private slots:
  void everyFormatCodeHasItsText() {
    const std::map<int, QString> texts{{0, "DVI"},           {1, "No Audio"},     {2, "PCM"},        {3, "AC3"},
                                       {4, "DTS"},           {5, "AAC"},          {6, "Default"},    {10, "MPEG"},
                                       {11, "DTS_HD_MA"},    {12, "DTS_EXPRESS"}, {13, "DTS_CD"},    {14, "EAC3"},
                                       {15, "EAC3_ATMOS"},   {16, "MAT"},         {17, "MAT_ATMOS"}, {18, "TRUEHD"},
                                       {19, "TRUEHD_ATMOS"}, {20, "NON_LPCM"}};
    for (int code = 0; code < 256; ++code) {
      const auto row = texts.find(code);
      QCOMPARE(audio::formatText(static_cast<std::uint8_t>(code)), row == texts.end() ? "Unknow" : row->second);
    }
  }

  void everyRateCodeHasItsTextOrNone() {
    const QStringList texts{"No Audio", "32K",  "64K",  "128K",   "44.1K", "88.2K", "176.4K", "48K",
                            "96K",      "192K", "256K", "352.8K", "384K",  "512K",  "705.6K", "768K"};
    for (int code = 0; code < 256; ++code) {
      const std::optional<QString> text = audio::samplingRateText(static_cast<std::uint8_t>(code));
      QCOMPARE(text.has_value(), code < 16);
      QCOMPARE(text.value_or(QString()), texts.value(code));
    }
  }
};

QTEST_APPLESS_MAIN(AudioCodesTest)
#include "audio_codes_test.moc"
