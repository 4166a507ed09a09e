#pragma once

#include <atomic>

namespace orv::python {

/// Has Ctrl-C set a flag, besides what it does otherwise, while it lives: in the process's first thread,
/// where Python listens to signals; elsewhere it does nothing. May be nested.
class Interrupts {
 public:
  explicit Interrupts(std::atomic<bool>& flag);
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

 private:
  bool listens_ = false;
  std::atomic<bool>* outer_ = nullptr;
};

}  // namespace orv::python
