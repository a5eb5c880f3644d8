#pragma once

namespace simulator {

/// Says why the simulated device cannot be used, in one line: to the program, when it
/// asked for that (`pellavoxTellProblemsTo`), else on standard error.
void tellProblem(const char* line);

}  // namespace simulator
