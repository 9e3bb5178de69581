#include "filesystem/FaultGuard.h"

#include <csignal>
#include <mutex>

namespace tessary::faults {
namespace {

thread_local Touch *volatile currentTouch = nullptr;
struct sigaction previousAction;

void passOn(int number, siginfo_t *info, void *context) {
  if ((previousAction.sa_flags & SA_SIGINFO) != 0) return previousAction.sa_sigaction(number, info, context);
  if (previousAction.sa_handler == SIG_DFL || previousAction.sa_handler == SIG_IGN) {
    std::signal(number, SIG_DFL); // the instruction faults again, now with the default outcome
    return;
  }
  previousAction.sa_handler(number);
}

void handleFault(int number, siginfo_t *info, void *context) {
  Touch *const touch = currentTouch;
  const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
  if (touch && address >= touch->begin && address < touch->end) siglongjmp(touch->resume, 1);
  passOn(number, info, context);
}

} // namespace

void setCurrentTouch(Touch *touch) {
  currentTouch = touch;
}

void installHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action {};
    action.sa_sigaction = handleFault;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, &previousAction);
  });
}

} // namespace tessary::faults
