/// @file
/// What recording costs: the same call with and without the recorder, and the growth of
/// the recording and of memory over a million calls.
#include "recorder/line_text.h"
#include "recorder/recorder.h"
#include "tests/recorder/through.h"
#include "tests/support/peak_memory.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>

namespace {

using device::Operation;

std::int32_t version(std::uint8_t* buffer) {
  std::memcpy(buffer, "V1.03.07", 9);
  return 0;
}

recorder::FunctionTable functions() {
  auto table = quiet_library::functions();
  quiet_library::put(table, Operation::AT_Get_Customer_Ver, &version);
  return table;
}

/// Calls the library directly.
struct Direct {
  recorder::FunctionTable table = functions();
  std::int32_t call(Operation operation, std::span<const recorder::RawArgument> arguments, recorder::Invoke invoke) {
    return invoke(table[static_cast<std::size_t>(operation)], arguments);
  }
};

recorder::Recorder::Options optionsIn(const QTemporaryDir& folder) {
  recorder::Recorder::Options options;
  options.functions = functions();
  options.file = pathIn(folder, "calls.jsonl");
  return options;
}

template <typename Target>
void readVersion(Target& target) {
  std::array<std::uint8_t, 128> buffer{};
  benchmark::DoNotOptimize(THROUGH(target, AT_Get_Customer_Ver, buffer.data()));
}

void unrecorded(benchmark::State& state) {
  Direct direct;
  for ([[maybe_unused]] auto _ : state) {
    readVersion(direct);
  }
}
BENCHMARK(unrecorded)->Repetitions(9)->ReportAggregatesOnly();

void recorded(benchmark::State& state) {
  const QTemporaryDir folder;
  recorder::Recorder recorder(optionsIn(folder));
  for ([[maybe_unused]] auto _ : state) {
    readVersion(recorder);
  }
}
BENCHMARK(recorded)->Repetitions(9)->ReportAggregatesOnly();

recorder::CallImage someCall() {
  recorder::CallImage image;
  image.operation = Operation::AT_Get_Customer_Ver;
  image.outputs[0].bytes.assign({'V', '1', '.', '0', '3', '.', '0', '7', 0});
  return image;
}

void writeALine(benchmark::State& state) {
  const recorder::CallImage image = someCall();
  recorder::CallPlace place{1, 1, 0, 1'000'000};
  std::string line;
  for ([[maybe_unused]] auto _ : state) {
    line.clear();
    ++place.number;
    recorder::writeCall(line, place, image, 12'345);
    benchmark::DoNotOptimize(line.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(line.size()));
}
BENCHMARK(writeALine)->Repetitions(9)->ReportAggregatesOnly();

void aMillionCalls(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    const QTemporaryDir folder;
    recorder::Recorder recorder(optionsIn(folder));
    for (int i = 0; i < 10'000; ++i) {
      readVersion(recorder);
    }
    const long before = peakMemoryKiB().value_or(0);
    for (int i = 10'000; i < 1'000'000; ++i) {
      readVersion(recorder);
    }
    recorder.finish();
    state.counters["memory_growth_KiB"] = static_cast<double>(peakMemoryKiB().value_or(0) - before);
    std::uintmax_t bytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(pathIn(folder, ""))) {
      bytes += entry.file_size();
    }
    state.counters["recording_MiB"] = static_cast<double>(bytes) / (1 << 20);
  }
}
BENCHMARK(aMillionCalls)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
