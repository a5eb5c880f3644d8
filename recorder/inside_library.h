#pragma once

namespace recorder {

/// Whether this thread is inside the real library, as long as this lives. What
/// comes in meanwhile are the library's own calls.
class InsideLibrary {
 public:
  explicit InsideLibrary(bool inside) : before_(current()) { current() = inside; }
  ~InsideLibrary() { current() = before_; }
  InsideLibrary(const InsideLibrary&) = delete;
  InsideLibrary& operator=(const InsideLibrary&) = delete;

  static bool& current() {
    static thread_local bool inside = false;
    return inside;
  }

 private:
  bool before_;
};

}  // namespace recorder
