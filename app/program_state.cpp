#include "app/program_state.h"

std::uint32_t selectedVid = 0;
std::uint32_t selectedPid = 0;
std::atomic<std::int32_t> burnProgress{0};
