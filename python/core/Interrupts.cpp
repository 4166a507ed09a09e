#include "Interrupts.h"

#include <unistd.h>

#include <csignal>

namespace orv::python {
namespace {

std::atomic<std::atomic<bool>*> listening = nullptr;
struct sigaction before {};

void hear(int signal, siginfo_t* info, void* context) {
  if (std::atomic<bool>* const flag = listening.load()) flag->store(true);
  if ((before.sa_flags & SA_SIGINFO) != 0)
    before.sa_sigaction(signal, info, context);
  else
    before.sa_handler(signal);
}

}  // namespace

Interrupts::Interrupts(std::atomic<bool>& flag) {
  if (::gettid() != ::getpid()) return;
  outer_ = listening.load();
  if (!outer_) {
    // What ends the process, or is ignored, stays so.
    struct sigaction now {};
    if (sigaction(SIGINT, nullptr, &now) != 0) return;
    if ((now.sa_flags & SA_SIGINFO) == 0 && (now.sa_handler == SIG_DFL || now.sa_handler == SIG_IGN)) return;
    before = now;
    listening.store(&flag);
    struct sigaction ours {};
    ours.sa_sigaction = &hear;
    ours.sa_flags = SA_SIGINFO | (now.sa_flags & (SA_RESTART | SA_ONSTACK));
    ours.sa_mask = now.sa_mask;
    sigaction(SIGINT, &ours, nullptr);
  } else {
    listening.store(&flag);
  }
  listens_ = true;
}

Interrupts::~Interrupts() {
  if (!listens_) return;
  if (!outer_) sigaction(SIGINT, &before, nullptr);
  listening.store(outer_);
}

}  // namespace orv::python
