#include "recorder/recorder.h"

#include "recorder/inside_library.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <utility>

namespace recorder {
namespace {

std::atomic<std::uint64_t> recorders = 0;

std::string randomSalt() {
  std::random_device random;
  std::array<std::uint8_t, 16> bytes{};
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(random());
  }
  std::string hex;
  appendHex(hex, bytes);
  return hex;
}

// What takes no calls: of a plain type, for threads that outlive everything.
struct ThreadNumber {
  std::uint64_t recorder;
  unsigned number;
};

std::string utf8Name(const std::filesystem::path& path) {
  const std::u8string name = path.u8string();
  return {name.begin(), name.end()};
}

std::int64_t nanoseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

}  // namespace

Recorder::Recorder(Options options) : options_(std::move(options)), id_(++recorders) {
  if (options_.header.salt.empty()) {
    options_.header.salt = randomSalt();
  }
  const Bytes salt = bytesOfHex(options_.header.salt).value_or(Bytes());
  salt_.assign(salt.begin(), salt.end());
  if (options_.header.redacted) {
    redaction_.emplace(salt_);
  }
  if (!options_.auditFile.empty()) {
    audit_.emplace(options_.auditFile, options_.header);
  }
  file_.emplace(options_.file, options_.header, options_.limits, options_.tell, options_.whenTaken);
}

Recorder::~Recorder() { ProgressSlot::forget(*this); }

std::unique_ptr<Recorder::Scratch> Recorder::takeScratch() {
  const std::scoped_lock lock(mutex_);
  if (spare_.empty()) {
    return std::make_unique<Scratch>();
  }
  std::unique_ptr<Scratch> scratch = std::move(spare_.back());
  spare_.pop_back();
  return scratch;
}

void Recorder::giveBack(std::unique_ptr<Scratch> scratch) {
  constexpr std::size_t kKept = 8;
  if (spare_.size() < kKept) {
    spare_.push_back(std::move(scratch));
  }
}

CallPlace Recorder::placeHere() {
  thread_local ThreadNumber thread{0, 0};
  if (thread.recorder != id_) {
    thread = {id_, ++threads_};
  }
  CallPlace place;
  place.thread = thread.number;
  place.after = ended_.load(std::memory_order_acquire);
  place.at = nanoseconds(Clock::now() - start_);
  return place;
}

std::int32_t Recorder::call(device::Operation operation, std::span<const RawArgument> arguments, Invoke invoke) {
  if (InsideLibrary::current()) {
    return invoke(options_.functions[static_cast<std::size_t>(operation)], arguments);
  }
  const bool isChange = device::describe(operation).kind == device::Kind::kChange;
  std::unique_ptr<Scratch> scratch = takeScratch();
  CallImage& image = scratch->image;
  noteInputs(image, operation, arguments, salt_);
  if (redaction_) {
    redaction_->redactInputs(image);
  }
  CallPlace place = placeHere();
  place.number = ++begun_;
  if (isChange) {
    const std::scoped_lock lock(mutex_);
    if (file_) {
      writeBegin(scratch->line, place, image);
      file_->write(scratch->line);
    }
  }
  std::int64_t took = 0;
  const std::int32_t result = forward(*scratch, arguments, invoke, place, took);
  if (redaction_) {
    redaction_->redactOutputs(image);
  }
  if (isChange) {
    writeEnd(scratch->line, place.number, image, took);
  } else {
    writeCall(scratch->line, place, image, took);
  }

  const std::scoped_lock lock(mutex_);
  if (file_) {
    file_->write(scratch->line);
  }
  ended_.fetch_add(1, std::memory_order_release);
  giveBack(std::move(scratch));
  return result;
}

std::int32_t Recorder::forward(Scratch& scratch, std::span<const RawArgument> arguments, Invoke invoke,
                               const CallPlace& place, std::int64_t& took) {
  const device::OperationDescription& operation = scratch.image.description();
  const AnyFunction function = options_.functions[static_cast<std::size_t>(operation.id)];
  scratch.watch.begin(operation, arguments);
  std::array<RawArgument, device::OperationDescription::kMaxParameters> forwarded{};
  std::copy(arguments.begin(), arguments.end(), forwarded.begin());
  const auto all = std::span(forwarded).first(arguments.size());
  std::optional<ProgressSlot> slot;
  for (std::size_t i = 0; i < operation.parameterCount; ++i) {
    if (operation.parameters()[i].direction == device::Direction::kProgress) {
      slot.emplace(static_cast<ProgressListener&>(*this), place.number,
                   typedArgument<RTICE_ProgressCallback>(arguments[i]));
      forwarded[i] = rawArgument(slot->function());
    }
  }
  std::optional<GuardedBuffers> guarded;
  if (audit_) {
    audit_->began(place.number, place.thread, operation.id);
    guarded.emplace(operation, all);
  }
  {
    const InsideLibrary inside(true);
    const Clock::time_point begin = Clock::now();
    scratch.image.result = invoke(function, all);
    took = nanoseconds(Clock::now() - begin);
  }
  if (audit_) {
    audit_->ended(place.number, scratch.image.result, took, guarded->release());
  }
  scratch.watch.end(scratch.image, arguments);
  return scratch.image.result;
}

void Recorder::progressed(std::uint64_t call, float percent) {
  CallPlace place = placeHere();
  place.number = call;
  if (audit_) {
    audit_->calledBack(call, place.thread);
  }
  std::string line;
  writeProgress(line, place, percent);
  const std::scoped_lock lock(mutex_);
  if (file_) {
    file_->write(line);
  }
}

void Recorder::finish() {
  // Windows stops the other threads wherever they are before it comes here.
  // (By the system's clock: the thread sanitizer does not see waits by the steady one.)
  const std::unique_lock lock(mutex_, std::chrono::system_clock::now() + std::chrono::seconds(1));
  if (lock.owns_lock() && file_) {
    file_->finish();
    file_.reset();
    if (audit_ && !audit_->write()) {
      options_.tell("cannot write " + utf8Name(options_.auditFile));
    }
  }
}

std::string utcNow() {
  using namespace std::chrono;
  const auto now = floor<seconds>(system_clock::now());
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text.data();
}

}  // namespace recorder
