#include "gate/gate.h"

#include "gate/table.h"

#include <algorithm>

namespace gate {
namespace {

std::string utf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char letter) { return letter == '\n' || letter == '\r'; }, ' ');
  return text;
}

void passProblemOn(const char* line) {
  if (const auto& tell = Table::instance().tellProblem) {
    tell(line);
  }
}

void connectProblems() {
  const Table& table = Table::instance();
  if (table.setProblemListener != nullptr) {
    table.setProblemListener(table.tellProblem ? &passProblemOn : nullptr);
  }
}

}  // namespace

std::string LoadError::text() const {
  return operation.empty() ? "cannot load " + file + ": " + reason
                           : file + " is not the device library: it has no operation " + operation;
}

Table& Table::instance() {
  // Never destroyed: a thread may still be inside a call while the process ends.
  static auto* const table = new Table;
  return *table;
}

tl::expected<void, LoadError> load(const std::filesystem::path& file) {
  const auto library = LoadedFile::open(file);
  if (!library) {
    return tl::unexpected(LoadError{utf8(file), {}, oneLine(library.error())});
  }
  decltype(Table::functions) functions{};
  for (const device::OperationDescription& operation : device::kOperations) {
    LoadedFile::Function& function = functions[static_cast<std::size_t>(operation.id)];
    function = library->find(operation.name.data());
    if (function == nullptr) {
      return tl::unexpected(LoadError{utf8(file), std::string(operation.name), "missing operation"});
    }
  }
  Table::instance().functions = functions;
  Table::instance().setProblemListener =
      reinterpret_cast<void (*)(void (*)(const char*))>(library->find("pellavoxTellProblemsTo"));
  connectProblems();
  return {};
}

bool isLoaded() { return Table::instance().functions.front() != nullptr; }

void refuseChanges(bool refuse) { Table::instance().refusesChanges = refuse; }

unsigned refusedCalls() { return Table::instance().refusedCalls; }

void tellProblemsTo(std::function<void(const std::string&)> tell) {
  Table::instance().tellProblem = std::move(tell);
  connectProblems();
}

void observe(Observer observer) { Table::instance().observer = std::move(observer); }

}  // namespace gate
