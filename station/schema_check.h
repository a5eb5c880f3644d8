#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace station {

/// One breach of a schema.
struct SchemaFinding {
  std::string place;  ///< JSON pointer
  std::string text;   ///< what it must be instead, one clause
};

/// Holds a JSON value against a JSON schema, as far as job files need that: type,
/// enum, properties, required, additionalProperties, items, minItems, maxItems,
/// uniqueItems, minLength, maxLength, pattern, minimum, maximum. Descriptions of the
/// schema go into the texts.
std::vector<SchemaFinding> checkAgainstSchema(const nlohmann::json& value, const nlohmann::json& schema);

/// The keywords of a schema, at any depth, that `checkAgainstSchema` would pass over.
std::vector<std::string> unknownKeywords(const nlohmann::json& schema);

}  // namespace station
