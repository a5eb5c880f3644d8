#include "cli/checks.h"

#include "edid/edid_check.h"

#include <QStringList>

namespace cli {
namespace {

const char* whatEdidCheckAsksFor(edid::Check check) {
  switch (check) {
    case edid::Check::kLength:
      return "the EDID is made of whole blocks of 128 bytes";
    case edid::Check::kHeader:
      return "the EDID begins with its header";
    case edid::Check::kVersion:
      return "the EDID's structure has a known version";
    case edid::Check::kCount:
      return "the EDID has as many extensions and timings as it promises";
    case edid::Check::kChecksum:
      return "the EDID's checksums are right";
    case edid::Check::kTag:
      return "the EDID's extensions have known tags";
    case edid::Check::kMap:
      return "the EDID's block map tells the blocks that are there";
    case edid::Check::kOffset:
      return "the EDID's data lie within their blocks";
    case edid::Check::kTiming:
      return "the EDID's detailed timings are possible";
  }
  return "";
}

}  // namespace

std::vector<Check> allChecks() {
  std::vector<Check> all{checks::kModel, checks::kFamily, checks::kSerial, checks::kRange};
  for (const edid::Check check : edid::allChecks()) {
    all.push_back({edid::nameOf(check).data(), whatEdidCheckAsksFor(check)});
  }
  return all;
}

QString checkNames() {
  QStringList names;
  for (const Check& check : allChecks()) {
    names << QLatin1String(check.name);
  }
  return names.join(QLatin1String(", "));
}

}  // namespace cli
