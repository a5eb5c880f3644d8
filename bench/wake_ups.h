#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/types.h>

/// Reads a number from a file in /proc with lines "NAME: NUMBER"; 0 if it is missing.
inline long procNumber(const std::filesystem::path& file, const std::string& name) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(name + ':')) {
      return std::stol(line.substr(name.size() + 1));
    }
  }
  return 0;
}

/// How often the threads of a process have gone to sleep and thus woken up.
inline long wakeUps(pid_t process) {
  long sum = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
    sum += procNumber(thread.path() / "status", "voluntary_ctxt_switches");
  }
  return sum;
}
