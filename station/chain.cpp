#include "station/chain.h"

#include <QCryptographicHash>
#include <nlohmann/json.hpp>

namespace station {
namespace {

using Json = nlohmann::json;

Json cellOf(const SqlValue& value) {
  return std::visit(
      [](const auto& held) -> Json {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<Held, Blob>) {
          return Json::binary(held);
        } else {
          return held;
        }
      },
      value);
}

}  // namespace

Blob rowHash(const std::string& table, const Columns& columns) {
  Json row = {{"table", table}, {"columns", Json::object()}};
  for (const auto& [name, value] : columns) {
    if (name != "hash" && !std::holds_alternative<std::monostate>(value)) {
      row["columns"][name] = cellOf(value);
    }
  }
  const std::vector<std::uint8_t> bytes = Json::to_cbor(row);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  hash.addData(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
  const QByteArray digest = hash.result();
  return {digest.begin(), digest.end()};
}

std::int64_t appendRow(Database& database, const std::string& table, Columns columns) {
  Statement head = database.prepare("SELECT seq, hash FROM head");
  if (!head.next()) {
    throw DatabaseError(0, QStringLiteral("the head of its chain is missing"));
  }
  const std::int64_t seq = head.number(0) + 1;
  columns.emplace_back("seq", seq);
  columns.emplace_back("before", head.value(1));
  columns.emplace_back("hash", rowHash(table, columns));
  std::string names;
  std::string places;
  std::vector<SqlValue> values;
  for (auto& [name, value] : columns) {
    names += (names.empty() ? "" : ", ") + name;
    places += places.empty() ? "?" : ", ?";
    values.push_back(std::move(value));
  }
  // A statement that is still open would keep the head from moving.
  head.with({});
  database.run("INSERT INTO " + table + " (" + names + ") VALUES (" + places + ")", values);
  return seq;
}

}  // namespace station
