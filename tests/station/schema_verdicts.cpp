// Reads a JSON text from each line of standard input and prints whether
// station/job.schema.json accepts it.
#include "station/job_schema.h"
#include "station/schema_check.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <string>

int main() {
  const auto schema = nlohmann::json::parse(station::kJobSchema);
  for (std::string line; std::getline(std::cin, line);) {
    std::cout << (station::checkAgainstSchema(nlohmann::json::parse(line), schema).empty() ? "yes" : "no") << '\n';
  }
  return 0;
}
