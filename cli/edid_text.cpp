#include "cli/edid_text.h"

#include <QStringList>

#include <array>

namespace cli {
namespace {

Value optionalText(const std::string& text) { return text.empty() ? Value() : Value(QString::fromStdString(text)); }

Value optionalNumber(std::uint32_t number) { return number == 0 ? Value() : Value(number); }

Value optionalDouble(const std::optional<double>& number) { return number ? Value(*number) : Value(); }

Value textList(const std::vector<std::string>& texts) {
  Value::List list;
  for (const std::string& text : texts) {
    list.emplace_back(QString::fromStdString(text));
  }
  return list;
}

QString joinedTexts(const std::vector<std::string>& texts) {
  QStringList list;
  for (const std::string& text : texts) {
    list << QString::fromStdString(text);
  }
  return list.join(QLatin1String(", "));
}

Value numberList(const std::vector<std::uint32_t>& numbers) {
  Value::List list;
  for (const std::uint32_t number : numbers) {
    list.emplace_back(number);
  }
  return list;
}

/// Numbers separated by slashes, divided first.
QString joinedNumbers(const std::vector<std::uint32_t>& numbers, double divisor = 1) {
  QStringList list;
  for (const std::uint32_t number : numbers) {
    list << QString::number(number / divisor);
  }
  return list.join(QLatin1Char('/'));
}

/// A line that people do not get when there is nothing to say.
void addKnown(Document& document, const char* key, const char* label, const Value& value, const QString& text = {}) {
  if (value.isNull()) {
    document.addQuietly(key, value);
  } else {
    document.add(key, label, value, text);
  }
}

/// A list, which people do not get when it is empty.
void addList(Document& document, const char* key, const char* label, const std::vector<std::string>& texts) {
  if (texts.empty()) {
    document.addQuietly(key, Value::List());
  } else {
    document.add(key, label, textList(texts), joinedTexts(texts));
  }
}

void addMaker(Document& document, const edid::Description& d) {
  document.add("maker", "Maker", QString::fromStdString(d.maker));
  document.add(
      "product", "Product code", d.product,
      QStringLiteral("0x%1").arg(QString::number(d.product, 16).toUpper().rightJustified(4, QLatin1Char('0'))));
  addKnown(document, "name", "Name", optionalText(d.name));
  addKnown(document, "serialNumber", "Serial number", optionalNumber(d.serialNumber));
  addKnown(document, "serialText", "Serial text", optionalText(d.serialText));
  addList(document, "texts", "Texts", d.texts);
  addKnown(document, "week", "Week", optionalNumber(d.week));
  document.add("year", d.isModelYear ? "Model year" : "Year", d.year);
  document.addQuietly("isModelYear", d.isModelYear);
}

void addScreen(Document& document, const edid::Description& d) {
  document.add("structure", "EDID version", QStringLiteral("%1.%2").arg(d.version).arg(d.revision));
  QString input = d.digital ? QStringLiteral("digital") : QStringLiteral("analogue");
  if (!d.videoInterface.empty()) {
    input += QStringLiteral(", %1").arg(QString::fromStdString(d.videoInterface));
  }
  document.add("digital", "Input", d.digital, input);
  document.addQuietly("interface", optionalText(d.videoInterface));
  addKnown(document, "bitsPerColor", "Bits per colour", optionalNumber(d.bitsPerColor));
  addKnown(document, "widthMm", "Width", optionalNumber(d.widthMm), QStringLiteral("%1 mm").arg(d.widthMm));
  addKnown(document, "heightMm", "Height", optionalNumber(d.heightMm), QStringLiteral("%1 mm").arg(d.heightMm));
  addKnown(document, "gamma", "Gamma", optionalDouble(d.gamma));
  Value range;
  QString text;
  if (d.range) {
    range = Value::Members{{"minVerticalHz", d.range->minVerticalHz},
                           {"maxVerticalHz", d.range->maxVerticalHz},
                           {"minHorizontalKhz", d.range->minHorizontalKhz},
                           {"maxHorizontalKhz", d.range->maxHorizontalKhz},
                           {"maxPixelClockMhz", optionalNumber(d.range->maxPixelClockMhz)}};
    text = QStringLiteral("%1 to %2 Hz, %3 to %4 kHz, up to %5 MHz")
               .arg(d.range->minVerticalHz)
               .arg(d.range->maxVerticalHz)
               .arg(d.range->minHorizontalKhz)
               .arg(d.range->maxHorizontalKhz)
               .arg(d.range->maxPixelClockMhz);
  }
  addKnown(document, "range", "Range", range, text);
}

Value modeValue(const edid::Mode& mode) {
  return Value::Members{
      {"text", QString::fromStdString(edid::textOf(mode))},
      {"width", mode.width},
      {"height", mode.height},
      {"interlaced", mode.interlaced},
      {"refreshMilliHz", mode.refreshMilliHz},
      {"pixelClockKhz", optionalNumber(mode.pixelClockKhz)},
      {"source", edid::textOf(mode.source)},
      {"code", optionalNumber(mode.code)},
      {"preferred", mode.preferred},
      {"native", mode.native},
      {"only420", mode.only420},
      {"also420", mode.also420},
  };
}

QString modeText(const edid::Mode& mode) {
  QString text = QString::fromStdString(edid::textOf(mode));
  if (mode.only420) {
    text += QLatin1String(" (4:2:0 only)");
  } else if (mode.also420) {
    text += QLatin1String(" (4:2:0, too)");
  }
  return text;
}

void addModes(Document& document, const edid::Description& d) {
  using edid::ModeSource;
  struct Group {
    ModeSource source;
    const char* label;
  };
  constexpr std::array<Group, 7> kGroups{{{ModeSource::kDetailed, "Detailed timings"},
                                          {ModeSource::kDisplayId, "DisplayID timings"},
                                          {ModeSource::kCta, "CTA-861 formats"},
                                          {ModeSource::kHdmi, "HDMI formats"},
                                          {ModeSource::kStandard, "Standard timings"},
                                          {ModeSource::kCvt, "CVT timings"},
                                          {ModeSource::kEstablished, "Established timings"}}};
  const edid::Mode* const preferred = d.preferredMode();
  addKnown(document, "preferredMode", "Preferred mode",
           preferred == nullptr ? Value() : Value(QString::fromStdString(edid::textOf(*preferred))));
  for (const Group& group : kGroups) {
    QStringList texts;
    for (const edid::Mode& mode : d.modes) {
      if (mode.source == group.source) {
        texts << modeText(mode);
      }
    }
    if (!texts.isEmpty()) {
      document.add({}, group.label, {}, texts.join(QLatin1String(", ")));
    }
  }
  Value::List list;
  for (const edid::Mode& mode : d.modes) {
    list.push_back(modeValue(mode));
  }
  document.addQuietly("modes", list);
}

QString audioText(const edid::AudioFormat& format) {
  QString text = QStringLiteral("%1, %2 channels, %3 kHz")
                     .arg(QString::fromStdString(format.name))
                     .arg(format.channels)
                     .arg(joinedNumbers(format.samplingRatesHz, 1000));
  if (!format.bitDepths.empty()) {
    text += QStringLiteral(", %1 bits").arg(joinedNumbers(format.bitDepths));
  }
  if (format.maxKbps != 0) {
    text += QStringLiteral(", up to %1 kbit/s").arg(format.maxKbps);
  }
  return text;
}

void addSound(Document& document, const edid::Description& d) {
  Value::List list;
  for (const edid::AudioFormat& format : d.audio) {
    list.emplace_back(Value::Members{{"name", QString::fromStdString(format.name)},
                                     {"channels", format.channels},
                                     {"samplingRatesHz", numberList(format.samplingRatesHz)},
                                     {"bitDepths", numberList(format.bitDepths)},
                                     {"maxKbps", optionalNumber(format.maxKbps)}});
    document.add({}, "Audio", {}, audioText(format));
  }
  document.addQuietly("audio", list);
  addList(document, "speakers", "Speakers", d.speakers);
}

void addHdmi(Document& document, const edid::Description& d) {
  Value hdmi;
  QString text;
  if (d.hdmi) {
    hdmi = Value::Members{{"physicalAddress", QString::fromStdString(d.hdmi->physicalAddress)},
                          {"maxTmdsClockMhz", optionalNumber(d.hdmi->maxTmdsClockMhz)},
                          {"deepColor", textList(d.hdmi->deepColor)},
                          {"dualLinkDvi", d.hdmi->dualLinkDvi},
                          {"audioInformation", d.hdmi->acceptsAi},
                          {"threeD", d.hdmi->threeD}};
    text = QStringLiteral("address %1").arg(QString::fromStdString(d.hdmi->physicalAddress));
    if (d.hdmi->maxTmdsClockMhz != 0) {
      text += QStringLiteral(", TMDS clock up to %1 MHz").arg(d.hdmi->maxTmdsClockMhz);
    }
    if (!d.hdmi->deepColor.empty()) {
      text += QStringLiteral(", deep colour %1").arg(joinedTexts(d.hdmi->deepColor));
    }
  }
  addKnown(document, "hdmi", "HDMI", hdmi, text);
}

QString hdmiForumText(const edid::HdmiForumBlock& forum) {
  QStringList parts{forum.scdc ? QStringLiteral("SCDC") : QStringLiteral("no SCDC")};
  if (forum.maxTmdsRateMhz != 0) {
    parts << QStringLiteral("TMDS rate up to %1 MHz").arg(forum.maxTmdsRateMhz);
  }
  if (!forum.maxFixedRateLink.empty()) {
    parts << QStringLiteral("fixed-rate link up to %1").arg(QString::fromStdString(forum.maxFixedRateLink));
  }
  if (!forum.deepColor420.empty()) {
    parts << QStringLiteral("4:2:0 deep colour %1").arg(joinedTexts(forum.deepColor420));
  }
  if (forum.minVrrHz != 0) {
    parts << (forum.maxVrrHz != 0 ? QStringLiteral("variable rate %1 to %2 Hz").arg(forum.minVrrHz).arg(forum.maxVrrHz)
                                  : QStringLiteral("variable rate from %1 Hz").arg(forum.minVrrHz));
  }
  if (forum.autoLowLatency) {
    parts << QStringLiteral("automatic low latency");
  }
  return parts.join(QLatin1String(", "));
}

void addHdmiForum(Document& document, const edid::Description& d) {
  Value value;
  if (const auto& forum = d.hdmiForum) {
    value = Value::Members{{"version", forum->version},
                           {"maxTmdsRateMhz", optionalNumber(forum->maxTmdsRateMhz)},
                           {"maxFixedRateLink", optionalText(forum->maxFixedRateLink)},
                           {"scdc", forum->scdc},
                           {"scramblingBelow340", forum->scramblingBelow340},
                           {"deepColor420", textList(forum->deepColor420)},
                           {"autoLowLatency", forum->autoLowLatency},
                           {"minVrrHz", optionalNumber(forum->minVrrHz)},
                           {"maxVrrHz", optionalNumber(forum->maxVrrHz)}};
  }
  addKnown(document, "hdmiForum", "HDMI Forum", value, d.hdmiForum ? hdmiForumText(*d.hdmiForum) : QString());
}

void addColour(Document& document, const edid::Description& d) {
  Value hdr;
  QString text;
  if (d.hdr) {
    hdr = Value::Members{{"transferFunctions", textList(d.hdr->transferFunctions)},
                         {"maxLuminance", optionalDouble(d.hdr->maxLuminance)},
                         {"maxFrameAverageLuminance", optionalDouble(d.hdr->maxFrameAverageLuminance)},
                         {"minLuminance", optionalDouble(d.hdr->minLuminance)}};
    text = joinedTexts(d.hdr->transferFunctions);
    if (d.hdr->maxLuminance) {
      text += QStringLiteral(", up to %1 cd/m2").arg(*d.hdr->maxLuminance, 0, 'f', 0);
    }
    if (d.hdr->minLuminance) {
      text += QStringLiteral(", from %1 cd/m2").arg(*d.hdr->minLuminance, 0, 'f', 3);
    }
  }
  addKnown(document, "hdr", "HDR", hdr, text);
  addList(document, "colorimetry", "Colorimetry", d.colorimetry);
  std::vector<std::string> samplings;
  if (d.ycbcr444) {
    samplings.emplace_back("YCbCr 4:4:4");
  }
  if (d.ycbcr422) {
    samplings.emplace_back("YCbCr 4:2:2");
  }
  addList(document, "samplings", "Besides RGB", samplings);
}

void addVendors(Document& document, const edid::Description& d) {
  Value::List list;
  QStringList texts;
  for (const edid::VendorBlock& vendor : d.vendors) {
    list.emplace_back(Value::Members{{"oui", QString::fromStdString(vendor.oui)},
                                     {"name", optionalText(vendor.name)},
                                     {"video", vendor.video},
                                     {"bytes", vendor.bytes}});
    texts << QString::fromStdString(vendor.name.empty() ? vendor.oui : vendor.name);
  }
  if (texts.isEmpty()) {
    document.addQuietly("vendors", list);
  } else {
    document.add("vendors", "Other makers' data", list, texts.join(QLatin1String(", ")));
  }
}

void addBlocks(Document& document, const edid::Description& d) {
  Value::List list;
  QStringList texts;
  for (const edid::BlockInfo& block : d.blocks) {
    const QString name =
        block.name.empty() ? QStringLiteral("tag %1").arg(block.tag) : QString::fromStdString(block.name);
    list.emplace_back(Value::Members{
        {"tag", block.tag}, {"name", name}, {"checksum", block.checksum}, {"checksumRight", block.checksumRight}});
    texts << name + (block.checksumRight ? QLatin1String(" (checksum right)") : QLatin1String(" (checksum wrong)"));
  }
  document.add("blocks", "Blocks", list, texts.join(QLatin1String(", ")));
  document.addQuietly("extensionCount", d.extensionCount);
}

}  // namespace

Document describeEdid(const edid::Description& description) {
  Document document("edid");
  addMaker(document, description);
  addScreen(document, description);
  addModes(document, description);
  addSound(document, description);
  addHdmi(document, description);
  addHdmiForum(document, description);
  addColour(document, description);
  addVendors(document, description);
  addBlocks(document, description);
  return document;
}

QString findingText(const edid::Finding& finding) {
  return QStringLiteral("block %1, byte %2: %3")
      .arg(finding.block)
      .arg(finding.offset)
      .arg(QString::fromStdString(finding.text));
}

void addFindings(Document& document, const std::vector<edid::Finding>& findings) {
  Value::List list;
  for (const edid::Finding& finding : findings) {
    list.emplace_back(Value::Members{{"check", QString::fromUtf8(edid::nameOf(finding.check).data())},
                                     {"block", finding.block},
                                     {"offset", finding.offset},
                                     {"text", QString::fromStdString(finding.text)},
                                     {"refuses", finding.refuses}});
    document.addText((finding.refuses ? QLatin1String("Wrong: ") : QLatin1String("Note: ")) + findingText(finding));
  }
  document.addQuietly("findings", list);
}

}  // namespace cli
