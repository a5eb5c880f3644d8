#include "simulator/library/problem.h"

#include "simulator/control/control.h"

#include <atomic>
#include <cstdio>

namespace simulator {
namespace {

std::atomic<void (*)(const char*)> listener = nullptr;

}  // namespace

void tellProblem(const char* line) {
  if (const auto tell = listener.load()) {
    tell(line);
    return;
  }
  std::fprintf(stderr, "%s\n", line);
}

}  // namespace simulator

void pellavoxTellProblemsTo(void (*tell)(const char* line)) { simulator::listener = tell; }
