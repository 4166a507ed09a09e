#pragma once

#include <utility>

namespace orv {

/// Ends a loop whose work is not wanted any more. No error, and so no std::exception: who does not know of it
/// lets it pass.
struct LoopStopped {};

/// While it lives, the loops over rows that its thread begins ask it before each row, and end with
/// LoopStopped once the answer is yes. The innermost one counts; one without a question lets every loop end.
class StopCheck {
 public:
  /// Whether to stop; called from many threads at once.
  using Question = bool (*)(const void* about);

  StopCheck(Question question, const void* about)
      : question_(question), about_(about), outer_(std::exchange(current_, this)) {}
  /// Asks the same as another, which another thread or library has made; null asks nothing.
  explicit StopCheck(const StopCheck* other)
      : StopCheck(other ? other->question_ : nullptr, other ? other->about_ : nullptr) {}
  ~StopCheck() { current_ = outer_; }
  StopCheck(const StopCheck&) = delete;
  StopCheck& operator=(const StopCheck&) = delete;

  /// This thread's; null without one.
  static const StopCheck* current() { return current_; }

  /// Throws LoopStopped when the work is not wanted any more. @param check null asks nothing.
  static void ask(const StopCheck* check) {
    if (check && check->question_ && check->question_(check->about_)) throw LoopStopped();
  }
  static void ask() { ask(current_); }

 private:
  static inline thread_local const StopCheck* current_ = nullptr;

  Question question_;
  const void* about_;
  const StopCheck* outer_;
};

}  // namespace orv
