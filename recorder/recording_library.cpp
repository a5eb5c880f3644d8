/// @file
/// The recorder under the device library's own name. What it does is said by
/// the environment; docs/recording.md lists the variables.
#include "device/library_name.h"
#include "gate/loaded_file.h"
#include "recorder/code_range.h"
#include "recorder/environment.h"
#include "recorder/exported.h"
#include "recorder/inside_library.h"
#include "recorder/recorder.h"
#include "recorder/recording.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <system_error>

namespace recorder {
namespace {

namespace fs = std::filesystem;

// What every operation returns when there is no library to forward to; negative,
// as some return lengths.
constexpr std::int32_t kNotLoaded = -2'000'000'001;

// Something that only the simulated device exports.
constexpr const char* kSignOfSimulator = "_ZN9simulator5resetEv";

void tell(const std::string& text) { std::fprintf(stderr, "pellavox recorder: %s\n", text.c_str()); }

fs::path ownFolder() { return fileOfCode(reinterpret_cast<const void*>(&tell)).parent_path(); }

fs::path realLibrary() {
  const fs::path named = environmentPath("PELLAVOX_RECORDED_LIBRARY");
  return named.empty() ? ownFolder() / "vendor" / device::kLibraryName : named;
}

fs::path recordingFile(const std::string& utc) {
  if (fs::path named = environmentPath("PELLAVOX_RECORDING"); !named.empty()) {
    return named;
  }
  std::string name = utc + "-" + std::to_string(processNumber()) + ".jsonl";
  std::erase(name, ':');
  const fs::path folder = ownFolder() / "recordings";
  std::error_code ignored;
  fs::create_directory(folder, ignored);
  return folder / name;
}

/// What this process records with.
struct Process {
  std::optional<Recorder> recorder;  // empty: no library to forward to
  CodeRange library;

  Process() {
    const InsideLibrary loading(true);
    const fs::path path = realLibrary();
    const auto file = gate::LoadedFile::open(path);
    if (!file) {
      tell("cannot load the device library " + utf8Of(path) + ": " + file.error());
      return;
    }
    Recorder::Options options;
    for (const device::OperationDescription& operation : device::kOperations) {
      AnyFunction& function = options.functions[static_cast<std::size_t>(operation.id)];
      function = file->find(operation.name.data());
      if (function == nullptr) {
        tell(utf8Of(path) + " is not the device library: it has no operation " + std::string(operation.name));
        return;
      }
    }
    library = CodeRange::ofLibraryAround(reinterpret_cast<const void*>(options.functions.front()));
    options.header.library = utf8Of(path.filename());
    options.header.librarySha256 = markOf(path).hash;
    options.header.simulated = file->find(kSignOfSimulator) != nullptr;
    options.header.recorder = PELLAVOX_VERSION;
    options.header.utc = utcNow();
    options.header.redacted = environmentText("PELLAVOX_RECORDING_REDACTED") == "1";
    options.limits.partSize = environmentNumber("PELLAVOX_RECORDING_PART_SIZE", options.limits.partSize);
    options.file = recordingFile(options.header.utc);
    // Two runs of a program must not mix.
    options.whenTaken = RecordingFile::WhenTaken::kTakeNextName;
    if (environmentText("PELLAVOX_RECORDING_AUDIT") == "1") {
      options.auditFile = auditFileIn(options.file.parent_path(), options.header);
    }
    options.tell = &tell;
    recorder.emplace(std::move(options));
  }
};

std::atomic<Process*> current = nullptr;

// Made by the first call, not when the library is loaded: Windows allows no
// loading of libraries meanwhile. Never destroyed, as threads may outlive it.
Process* process() {
  static std::mutex mutex;
  if (Process* made = current.load(std::memory_order_acquire)) {
    return made;
  }
  const std::scoped_lock lock(mutex);
  if (current.load(std::memory_order_relaxed) == nullptr) {
    current.store(new Process, std::memory_order_release);
  }
  return current.load(std::memory_order_relaxed);
}

struct AtExit {
  AtExit() = default;
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;
  ~AtExit() {
    Process* const made = current.load(std::memory_order_acquire);
    if (made != nullptr && made->recorder) {
      made->recorder->finish();
    }
  }
} const atExit;

std::int32_t handle(device::Operation operation, std::span<const RawArgument> arguments, Invoke invoke,
                    const void* caller) {
  // The device library calls itself while it is being loaded.
  if (InsideLibrary::current() && current.load(std::memory_order_acquire) == nullptr) {
    return kNotLoaded;
  }
  Process& process = *recorder::process();
  if (!process.recorder) {
    return kNotLoaded;
  }
  // From one of the library's own threads.
  if (process.library.contains(caller)) {
    const InsideLibrary inside(true);
    return process.recorder->call(operation, arguments, invoke);
  }
  return process.recorder->call(operation, arguments, invoke);
}

}  // namespace
}  // namespace recorder

#define OPERATION(name, kind, result, declaration, arguments, ...) \
  RECORDER_EXPORT_OPERATION(recorder::handle, name, declaration, arguments)
#include "device/operations.inc"
#undef OPERATION
