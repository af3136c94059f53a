#include "interruption.h"

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace ruvex {
namespace {

std::atomic<bool> interruption_noted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void note_interruption(int) noexcept {
  interruption_noted = true;
}

}  // namespace

void watch_for_interruption() noexcept {
  struct sigaction action = {};
  action.sa_handler = note_interruption;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

bool is_interrupted() noexcept {
  return interruption_noted;
}

// In short steps: another thread may get the signal.
void wait_unless_interrupted(std::int64_t milliseconds) noexcept {
  using steady = std::chrono::steady_clock;
  const auto end = steady::now() + std::chrono::milliseconds(milliseconds);
  while (!is_interrupted()) {
    const auto left = end - steady::now();
    if (left <= steady::duration::zero()) return;
    std::this_thread::sleep_for(std::min<steady::duration>(left, std::chrono::milliseconds(20)));
  }
}

}  // namespace ruvex
