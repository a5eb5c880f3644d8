#include "recorder/audit.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <system_error>

namespace recorder {
namespace {

using OrderedJson = nlohmann::ordered_json;

std::uint64_t countIn(const OrderedJson& json, const char* key) {
  const auto found = json.find(key);
  return found != json.end() && found->is_number_unsigned() ? found->get<std::uint64_t>() : 0;
}

OrderedJson objectIn(const OrderedJson& json, const std::string& key) {
  const auto found = json.find(key);
  return found != json.end() && found->is_object() ? *found : OrderedJson::object();
}

int numberOf(const std::string& text) { return static_cast<int>(std::strtol(text.c_str(), nullptr, 10)); }

/// An earlier report; empty if it cannot be one. Opening a pipe would wait for a writer.
std::string contentOf(const std::filesystem::path& file) {
  constexpr std::uintmax_t kLongest = std::uintmax_t{16} * 1024 * 1024;
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error) || std::filesystem::file_size(file, error) > kLongest) {
    return {};
  }
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

}  // namespace

std::filesystem::path auditFileIn(const std::filesystem::path& folder, const Header& header) {
  const std::string hash = header.librarySha256.empty() ? "unknown" : header.librarySha256.substr(0, 12);
  return folder / ("audit-" + hash + ".json");
}

Audit::Audit(std::filesystem::path file, const Header& header)
    : file_(std::move(file)), library_(header.library), sha256_(header.librarySha256) {
  read();
}

void Audit::began(std::uint64_t call, unsigned thread, device::Operation operation) {
  const std::scoped_lock lock(mutex_);
  underWay_[call] = {thread, operation};
}

void Audit::ended(std::uint64_t call, std::int32_t status, std::int64_t nanoseconds,
                  const std::vector<Overrun>& overruns) {
  const std::scoped_lock lock(mutex_);
  const auto found = underWay_.find(call);
  if (found == underWay_.end()) {
    return;
  }
  Figures& figures = figures_[static_cast<std::size_t>(found->second.operation)];
  underWay_.erase(found);
  figures.shortest = figures.calls == 0 ? nanoseconds : std::min(figures.shortest, nanoseconds);
  figures.longest = std::max(figures.longest, nanoseconds);
  ++figures.calls;
  ++figures.durations[static_cast<int>(8 * std::log2(static_cast<double>(std::max<std::int64_t>(nanoseconds, 1))))];
  ++figures.statuses[status];
  for (const Overrun& overrun : overruns) {
    Beyond& beyond = figures.beyond[std::string(overrun.parameter)];
    ++beyond.calls;
    beyond.before += overrun.before;
    beyond.within += overrun.within;
    beyond.after += overrun.after;
    beyond.reach = std::max<std::uint64_t>(beyond.reach, overrun.reach);
  }
}

void Audit::calledBack(std::uint64_t call, unsigned thread) {
  const std::scoped_lock lock(mutex_);
  // Only burns call back.
  Figures& figures = figures_[static_cast<std::size_t>(device::Operation::burnToFlash)];
  const auto found = underWay_.find(call);
  if (found == underWay_.end()) {
    ++figures.callbacksAfterwards;
  } else if (found->second.thread == thread) {
    ++figures.callbacksOnCaller;
  } else {
    ++figures.callbacksOnOthers;
  }
}

std::int64_t Audit::median(const Figures& figures) {
  std::uint64_t seen = 0;
  for (const auto& [eighth, count] : figures.durations) {
    seen += count;
    if (2 * seen >= figures.calls) {
      return std::clamp(static_cast<std::int64_t>(std::exp2((eighth + 0.5) / 8)), figures.shortest, figures.longest);
    }
  }
  return 0;
}

bool Audit::write() const {
  const std::scoped_lock lock(mutex_);
  OrderedJson report{{"library", library_}, {"library_sha256", sha256_}, {"runs", runs_}};
  for (const device::OperationDescription& operation : device::kOperations) {
    const Figures& figures = figures_[static_cast<std::size_t>(operation.id)];
    if (figures.calls == 0 && figures.callbacksAfterwards == 0) {
      continue;
    }
    OrderedJson entry{{"calls", figures.calls}};
    entry["nanoseconds"] = {{"min", figures.shortest}, {"median", median(figures)}, {"max", figures.longest}};
    entry["statuses"] = OrderedJson::object();
    entry["new_statuses"] = OrderedJson::array();
    for (const auto& [status, count] : figures.statuses) {
      entry["statuses"][std::to_string(status)] = count;
      if (!figures.knownStatuses.contains(status)) {
        entry["new_statuses"].push_back(status);
      }
    }
    for (const auto& [parameter, beyond] : figures.beyond) {
      entry["beyond_the_contract"][parameter] = {{"calls", beyond.calls},
                                                 {"bytes_before", beyond.before},
                                                 {"bytes_of_input", beyond.within},
                                                 {"bytes_after", beyond.after},
                                                 {"reach", beyond.reach}};
    }
    if (figures.callbacksOnCaller + figures.callbacksOnOthers + figures.callbacksAfterwards > 0) {
      entry["callbacks"] = {{"on_the_callers_thread", figures.callbacksOnCaller},
                            {"on_other_threads", figures.callbacksOnOthers},
                            {"after_the_call", figures.callbacksAfterwards}};
    }
    for (const auto& [eighth, count] : figures.durations) {
      entry["durations_by_eighths_of_an_octave"][std::to_string(eighth)] = count;
    }
    report["operations"][std::string(operation.name)] = std::move(entry);
  }
  std::filesystem::path fresh = file_;
  fresh += ".new";
  std::error_code error;
  // Whatever else has one of the names stays, and nobody waits for a pipe.
  for (const std::filesystem::path& path : {file_, fresh}) {
    if (const auto type = std::filesystem::status(path, error); exists(type) && !is_regular_file(type)) {
      return false;
    }
  }
  {
    std::ofstream stream(fresh, std::ios::binary | std::ios::trunc);
    stream << report.dump(2, ' ', true, OrderedJson::error_handler_t::replace) << "\n";
    if (!stream.flush()) {
      return false;
    }
  }
  std::filesystem::rename(fresh, file_, error);
  return !error;
}

void Audit::read() {
  const OrderedJson report = OrderedJson::parse(contentOf(file_), nullptr, false);
  if (!report.is_object() || report.value("library_sha256", OrderedJson()) != OrderedJson(sha256_)) {
    return;
  }
  runs_ = countIn(report, "runs") + 1;
  const OrderedJson operations = objectIn(report, "operations");
  for (const device::OperationDescription& operation : device::kOperations) {
    const OrderedJson entry = objectIn(operations, std::string(operation.name));
    Figures& figures = figures_[static_cast<std::size_t>(operation.id)];
    figures.calls = countIn(entry, "calls");
    figures.shortest = static_cast<std::int64_t>(countIn(objectIn(entry, "nanoseconds"), "min"));
    figures.longest = static_cast<std::int64_t>(countIn(objectIn(entry, "nanoseconds"), "max"));
    const OrderedJson durations = objectIn(entry, "durations_by_eighths_of_an_octave");
    for (const auto& [eighth, count] : durations.items()) {
      figures.durations[numberOf(eighth)] = countIn(durations, eighth.c_str());
    }
    const OrderedJson statuses = objectIn(entry, "statuses");
    for (const auto& [status, count] : statuses.items()) {
      figures.statuses[numberOf(status)] = countIn(statuses, status.c_str());
      figures.knownStatuses[numberOf(status)] = true;
    }
    const OrderedJson beyond = objectIn(entry, "beyond_the_contract");
    for (const auto& [parameter, bytes] : beyond.items()) {
      figures.beyond[parameter] = {countIn(bytes, "calls"), countIn(bytes, "bytes_before"),
                                   countIn(bytes, "bytes_of_input"), countIn(bytes, "bytes_after"),
                                   countIn(bytes, "reach")};
    }
    const OrderedJson callbacks = objectIn(entry, "callbacks");
    figures.callbacksOnCaller = countIn(callbacks, "on_the_callers_thread");
    figures.callbacksOnOthers = countIn(callbacks, "on_other_threads");
    figures.callbacksAfterwards = countIn(callbacks, "after_the_call");
  }
}

}  // namespace recorder
