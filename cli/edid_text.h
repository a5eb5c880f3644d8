#pragma once

#include "cli/document.h"
#include "edid/edid_check.h"
#include "edid/edid_description.h"

#include <vector>

namespace cli {

/// What a table says about its display, as a person wants to know it.
Document describeEdid(const edid::Description& description);

/// Adds what the checks found.
void addFindings(Document& document, const std::vector<edid::Finding>& findings);

/// One line, with block and offset.
QString findingText(const edid::Finding& finding);

}  // namespace cli
