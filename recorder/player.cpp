#include "recorder/player.h"

#include "recorder/call_text.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace recorder {
namespace {

std::string keyOf(const Bytes& text) { return {text.begin(), text.end()}; }

std::atomic<std::uint64_t> players = 0;

/// Which recorded thread this one stands for. Of a plain type, for threads that
/// outlive everything.
struct ThreadRole {
  std::uint64_t player = 0;
  unsigned recorded = 0;
};

ThreadRole& role() {
  thread_local ThreadRole current;
  return current;
}

bool isBefore(LinePlace a, LinePlace b) { return a.part != b.part ? a.part < b.part : a.line < b.line; }

bool hasSameInputs(const CallImage& a, const CallImage& b) { return differenceBetween(a, b).empty(); }

}  // namespace

Player::Player(Recording recording, Options options)
    : recording_(std::move(recording)), options_(std::move(options)), id_(++players) {
  const Bytes salt = bytesOfHex(recording_.header.salt).value_or(Bytes());
  salt_.assign(salt.begin(), salt.end());
  if (recording_.header.redacted) {
    redaction_.emplace(salt_);
  }
  std::map<std::uint64_t, const RecordedCall*> byNumber;
  for (std::size_t i = 0; i < recording_.calls.size(); ++i) {
    threads_[recording_.calls[i].place.thread].calls.push_back(i);
    byNumber[recording_.calls[i].place.number] = &recording_.calls[i];
  }
  for (std::size_t i = 0; i < recording_.progress.size(); ++i) {
    const RecordedProgress& progress = recording_.progress[i];
    const auto call = byNumber.find(progress.place.number);
    if (call != byNumber.end()) {
      const bool isLate = call->second->ending && isBefore(call->second->endLine, progress.line);
      Callbacks& callbacks = callbacks_[progress.place.number];
      (isLate ? callbacks.late : callbacks.during).push_back(i);
    }
  }
}

Player::~Player() {
  std::vector<std::thread> late;
  {
    const Lock lock(mutex_);
    isFinished_ = true;
    late.swap(lateThreads_);
  }
  changed_.notify_all();
  for (std::thread& thread : late) {
    thread.join();
  }
}

std::int32_t Player::call(device::Operation operation, std::span<const RawArgument> arguments) {
  const CallImage image = imageOf(operation, arguments);
  const RecordedCall* call = nullptr;
  {
    Lock lock(mutex_);
    call = claim(image);
    if (call == nullptr || !waitFor(lock, call->place.after, call->line, textOf(image))) {
      return kDifferent;
    }
  }
  return answer(*call, arguments);
}

CallImage Player::imageOf(device::Operation operation, std::span<const RawArgument> arguments) {
  CallImage image;
  noteInputs(image, operation, arguments, salt_);
  if (!redaction_) {
    return image;
  }
  const Bytes before = image.inputs[0].bytes;
  redaction_->redactInputs(image);
  if (operation == device::Operation::AT_USB_Set_SerialNum) {
    const auto trimmed = [](const Bytes& bytes) {
      return Bytes(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    };
    const Lock lock(mutex_);
    pseudonyms_[keyOf(trimmed(image.inputs[0].bytes))] = trimmed(before);
  }
  return image;
}

Player::Thread* Player::threadFor(const CallImage& image) {
  if (role().player == id_) {
    return &threads_[role().recorded];
  }
  // A thread that is new here stands for a recorded one that began like it; best
  // for one whose turn it is.
  std::pair<const unsigned, Thread>* found = nullptr;
  for (auto& candidate : threads_) {
    const Thread& thread = candidate.second;
    if (thread.isTaken || !thread.hasMore()) {
      continue;
    }
    const RecordedCall& first = recording_.calls[thread.calls[thread.next]];
    if (!hasSameInputs(first.image, image)) {
      continue;
    }
    const bool isItsTurn = first.place.after <= ended_;
    if (found == nullptr || isItsTurn) {
      found = &candidate;
    }
    if (isItsTurn) {
      break;
    }
  }
  if (found == nullptr) {
    return nullptr;
  }
  found->second.isTaken = true;
  role() = {id_, found->first};
  return &found->second;
}

const RecordedCall* Player::claim(const CallImage& image) {
  if (isDifferent_) {
    return nullptr;
  }
  Thread* thread = threadFor(image);
  if (thread == nullptr) {
    const auto waiting = std::find_if(threads_.begin(), threads_.end(), [](const auto& candidate) {
      return !candidate.second.isTaken && candidate.second.hasMore();
    });
    if (waiting == threads_.end()) {
      differ({recording_.walk.parts, recording_.walk.lastLine}, "no further thread", textOf(image), {});
      return nullptr;
    }
    thread = &waiting->second;
  }
  if (!thread->hasMore()) {
    differ({recording_.walk.parts, recording_.walk.lastLine}, "nothing more from this thread", textOf(image), {});
    return nullptr;
  }
  const RecordedCall& call = recording_.calls[thread->calls[thread->next]];
  const std::string difference = differenceBetween(call.image, image);
  if (!difference.empty()) {
    differ(call.line, textOf(call.image), textOf(image), difference);
    return nullptr;
  }
  ++thread->next;
  return &call;
}

bool Player::waitFor(Lock& lock, std::uint64_t ended, LinePlace line, const std::string& what) {
  const auto isDue = [&] { return ended_ >= ended || isDifferent_ || isFinished_; };
  if (!changed_.wait_for(lock, options_.patience, isDue)) {
    differ(line, "the calls of other threads that had ended before it", what, "they did not come in time");
  }
  return !isDifferent_ && ended_ >= ended;
}

std::int32_t Player::answer(const RecordedCall& call, std::span<const RawArgument> arguments) {
  const Clock::time_point start = Clock::now();
  RTICE_ProgressCallback callback = nullptr;
  const auto parameters = call.image.description().parameters();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (parameters[i].direction == device::Direction::kProgress) {
      callback = typedArgument<RTICE_ProgressCallback>(arguments[i]);
    }
  }
  const auto callbacks = callbacks_.find(call.place.number);
  if (callback != nullptr && callbacks != callbacks_.end()) {
    for (const std::size_t index : callbacks->second.during) {
      const RecordedProgress& progress = recording_.progress[index];
      keepPace(start, progress.place.at - call.place.at);
      {
        Lock lock(mutex_);
        if (!waitFor(lock, progress.place.after, progress.line, "a progress callback")) {
          return kDifferent;
        }
      }
      callBack(progress, callback, call.place.thread);
    }
  }
  keepPace(start, call.took);

  Lock lock(mutex_);
  if (isDifferent_) {
    return kDifferent;
  }
  if (!call.ending) {
    return neverReturn(lock, call);
  }
  putOutputs(call, arguments);
  if (callback != nullptr && callbacks != callbacks_.end() && !callbacks->second.late.empty()) {
    lateThreads_.emplace_back([this, &call, callback] { callBackLate(call, callback); });
  }
  ended(call);
  return call.image.result;
}

void Player::callBack(const RecordedProgress& progress, RTICE_ProgressCallback callback, unsigned callingThread) {
  if (progress.place.thread == callingThread) {
    callback(progress.percent);
    return;
  }
  std::thread([&] {
    role() = {id_, progress.place.thread};
    callback(progress.percent);
  }).join();
}

void Player::callBackLate(const RecordedCall& call, RTICE_ProgressCallback callback) {
  const Clock::time_point start = Clock::now();
  for (const std::size_t index : callbacks_.at(call.place.number).late) {
    const RecordedProgress& progress = recording_.progress[index];
    role() = {id_, progress.place.thread};
    keepPace(start, progress.place.at - call.place.at - call.took);
    {
      // No call waits for it, so that it may take its time.
      Lock lock(mutex_);
      changed_.wait(lock, [&] { return ended_ >= progress.place.after || isDifferent_ || isFinished_; });
      if (isDifferent_ || isFinished_) {
        return;
      }
    }
    callback(progress.percent);
  }
}

std::int32_t Player::neverReturn(Lock& lock, const RecordedCall& call) {
  // The recorded program ended while the call was under way; so may this one.
  if (recording_.walk.complete) {
    changed_.wait_for(lock, options_.patience, [&] { return isDifferent_ || isFinished_; });
  }
  if (!isDifferent_ && !isFinished_) {
    differ(
        call.line, "the recorded call did not return", textOf(call.image),
        recording_.walk.complete ? "the recorded program ended during the call" : "the recording ends during the call");
  }
  return kDifferent;
}

void Player::putOutputs(const RecordedCall& call, std::span<const RawArgument> arguments) {
  const auto parameters = call.image.description().parameters();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    OutputRun run = call.image.outputs[i];
    if (call.image.operation == device::Operation::AT_USB_Get_SerialNum && run.offset == 0) {
      // What the program itself has written it reads as it wrote it.
      const Bytes text(run.bytes.begin(), std::find(run.bytes.begin(), run.bytes.end(), 0));
      const auto known = pseudonyms_.find(keyOf(text));
      if (known != pseudonyms_.end()) {
        std::copy(known->second.begin(), known->second.end(), run.bytes.begin());
      }
    }
    putOutput(run, bufferAt(parameters[i], i, arguments));
  }
}

void Player::ended(const RecordedCall& call) {
  endedOutOfOrder_.insert(*call.ending);
  while (endedOutOfOrder_.erase(ended_ + 1) != 0) {
    ++ended_;
  }
  constexpr std::size_t kLastCalls = 3;
  last_.push_back(&call);
  if (last_.size() > kLastCalls) {
    last_.pop_front();
  }
  changed_.notify_all();
}

void Player::keepPace(Clock::time_point start, std::int64_t nanoseconds) const {
  if (options_.atRecordedSpeed) {
    std::this_thread::sleep_until(start + std::chrono::nanoseconds(nanoseconds));
  }
}

void Player::differ(LinePlace line, const std::string& expected, const std::string& got, const std::string& detail) {
  isDifferent_ = true;
  std::string text =
      "difference at " + recording_.textOf(line) + "\n  expected: " + expected + "\n  got: " + got + "\n";
  if (!detail.empty()) {
    text += "  first difference: " + detail + "\n";
  }
  for (const RecordedCall* call : last_) {
    text += "  before it: " + recording_.textOf(call->line) + " " + textOf(call->image) + " returned " +
            std::to_string(call->image.result) + "\n";
  }
  reportOnce(text);
  changed_.notify_all();
}

void Player::finish() {
  // Windows stops the other threads wherever they are before it comes here.
  Lock lock(mutex_, std::try_to_lock);
  for (int i = 0; i < 1000 && !lock.owns_lock(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    static_cast<void>(lock.try_lock());
  }
  if (!lock.owns_lock()) {
    return;
  }
  isFinished_ = true;
  if (!isDifferent_) {
    const RecordedCall* left = nullptr;
    std::size_t count = 0;
    for (const auto& [number, thread] : threads_) {
      count += thread.calls.size() - thread.next;
      if (thread.hasMore()) {
        const RecordedCall& call = recording_.calls[thread.calls[thread.next]];
        left = left == nullptr || call.place.number < left->place.number ? &call : left;
      }
    }
    if (left != nullptr) {
      differ(left->line, textOf(left->image), "nothing: the program has ended",
             std::to_string(count) + " calls are left over");
    }
  }
  reportOnce("complete: " + std::to_string(recording_.calls.size()) + " calls replayed\n");
  changed_.notify_all();
}

void Player::reportOnce(const std::string& text) {
  if (!std::exchange(hasReported_, true)) {
    options_.report(text);
  }
}

}  // namespace recorder
