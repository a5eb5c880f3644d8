/// @file
/// A program with the faults that the compiler settings guard against. Each must end
/// it at once.
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Hidden from the optimiser.
[[gnu::noinline]] std::size_t length(const char* text) { return std::strtoul(text, nullptr, 10); }

[[gnu::noinline]] void fill(volatile char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    bytes[i] = 'x';
  }
}

[[gnu::noinline]] int overrunStack(std::size_t count) {
  char buffer[16] = {};
  fill(buffer, count);
  return buffer[3];
}

[[gnu::noinline]] int overrunCopy(const char* text, std::size_t count) {
  char buffer[16] = {};
  std::memcpy(buffer, text, count);
  return buffer[3];
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3) {
    return 2;
  }
  static const char text[64] = "text";
  const std::size_t count = length(argv[2]);
  const int seen = std::strcmp(argv[1], "copy") == 0 ? overrunCopy(text, count) : overrunStack(count);
  std::printf("went on with %d\n", seen);
  return 0;
}
