// SPDX-License-Identifier: Apache-2.0
#include "files/interrupt.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace tool {
namespace {

// A handler may read nothing but lock-free atomics and memory that they guard.
enum State : int { kFree, kFilling, kWatched };
struct Slot {
  std::atomic<int> state{kFree};
  char name[PATH_MAX];
};
std::array<Slot, 300> s_slots;
std::atomic<int> s_graceful{0};  // objects that live
std::atomic<int> s_asked{0};
static_assert(std::atomic<int>::is_always_lock_free);

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

void removeWatched() noexcept {
  for (const Slot &slot : s_slots)
    if (slot.state.load() == kWatched) ::unlink(slot.name);
}

void raiseByDefault(int signal) noexcept {
  struct sigaction byDefault = {};
  byDefault.sa_handler = SIG_DFL;
  ::sigaction(signal, &byDefault, nullptr);
  ::raise(signal);
}

extern "C" void onSignal(int signal) {
  int none = 0;
  if (signal != SIGPIPE && s_graceful.load() != 0 && s_asked.compare_exchange_strong(none, signal)) return;
  removeWatched();
  raiseByDefault(signal);
}

}  // namespace

bool Removal::watch(const std::string &file) noexcept {
  release();
  if (file.size() >= sizeof(Slot::name)) return false;
  for (std::size_t i = 0; i < s_slots.size(); ++i) {
    int expected = kFree;
    if (!s_slots[i].state.compare_exchange_strong(expected, kFilling)) continue;
    std::memcpy(s_slots[i].name, file.c_str(), file.size() + 1);
    s_slots[i].state.store(kWatched);
    slot_ = static_cast<int>(i);
    return true;
  }
  return false;
}

void Removal::release() noexcept {
  if (slot_ >= 0) s_slots[static_cast<std::size_t>(slot_)].state.store(kFree);
  slot_ = -1;
}

SignalsBlocked::SignalsBlocked() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kSignals) sigaddset(&set, signal);
  ::pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalsBlocked::~SignalsBlocked() {
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void installHandlers() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (const int signal : kSignals) {
      struct sigaction now = {};
      if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN) continue;
      struct sigaction action = {};
      action.sa_handler = onSignal;
      action.sa_flags = SA_RESTART;
      sigemptyset(&action.sa_mask);
      ::sigaction(signal, &action, nullptr);
    }
  });
}

GracefulEnd::GracefulEnd() {
  installHandlers();
  ++s_graceful;
}

GracefulEnd::~GracefulEnd() {
  --s_graceful;
}

int GracefulEnd::signal() noexcept {
  return s_asked.load();
}

void endBySignal(int signal) {
  removeWatched();
  raiseByDefault(signal);
  std::_Exit(128 + signal);
}

}  // namespace tool
