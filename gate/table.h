#pragma once

#include "gate/gate.h"
#include "gate/loaded_file.h"

#include <array>
#include <atomic>

namespace gate {

/// What the 44 functions share.
struct Table {
  /// By `device::Operation`; null while nothing is loaded.
  std::array<LoadedFile::Function, device::kOperations.size()> functions{};
  Observer observer;
  std::function<void(const std::string&)> tellProblem;
  /// Of a library that has it: tells it where to say its problems.
  void (*setProblemListener)(void (*)(const char*)) = nullptr;
  std::atomic<bool> refusesChanges = false;
  std::atomic<unsigned> refusedCalls = 0;

  static Table& instance();
};

}  // namespace gate
