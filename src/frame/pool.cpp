// SPDX-License-Identifier: Apache-2.0
// Threads that wait for work. Jobs are taken one by one from a counter; whoever calls works too.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "KivoFrame.h"

struct kivo_pool {
  explicit kivo_pool(std::uint32_t uiThreads) {
    try {
      for (std::uint32_t i = 1; i < uiThreads; ++i) m_asThreads.emplace_back([this] { Serve(); });
    } catch (...) {
      End();
      throw;
    }
  }
  ~kivo_pool() { End(); }
  kivo_pool(const kivo_pool &) = delete;
  kivo_pool &operator=(const kivo_pool &) = delete;

  std::uint32_t Threads() const noexcept { return static_cast<std::uint32_t>(m_asThreads.size() + 1); }

  void Run(kivo_job pfnJob, void *pContext, std::size_t uiJobs) {
    const std::lock_guard sTurn(m_sTurns);
    std::unique_lock sLock(m_sMutex);
    m_pfnJob = pfnJob;
    m_pContext = pContext;
    m_uiJobs = uiJobs;
    m_uiNext.store(0, std::memory_order_relaxed);
    ++m_uiRound;
    m_uiBusy = m_asThreads.size();
    sLock.unlock();
    m_sWork.notify_all();
    Take();
    sLock.lock();
    m_sDone.wait(sLock, [this] { return m_uiBusy == 0; });
  }

 private:
  void Take() noexcept {
    for (;;) {
      const std::size_t i = m_uiNext.fetch_add(1, std::memory_order_relaxed);
      if (i >= m_uiJobs) return;
      m_pfnJob(m_pContext, i);
    }
  }

  void Serve() {
    std::uint64_t uiSeen = 0;
    std::unique_lock sLock(m_sMutex);
    for (;;) {
      m_sWork.wait(sLock, [&] { return m_bEnd || m_uiRound != uiSeen; });
      if (m_bEnd) return;
      uiSeen = m_uiRound;
      sLock.unlock();
      Take();
      sLock.lock();
      if (--m_uiBusy == 0) m_sDone.notify_one();
    }
  }

  void End() noexcept {
    {
      const std::lock_guard sLock(m_sMutex);
      m_bEnd = true;
    }
    m_sWork.notify_all();
    for (std::thread &s : m_asThreads) s.join();
  }

  std::mutex m_sTurns;  // of callers
  std::mutex m_sMutex;  // of what follows but the counter
  std::condition_variable m_sWork, m_sDone;
  kivo_job m_pfnJob = nullptr;
  void *m_pContext = nullptr;
  std::size_t m_uiJobs = 0;
  std::atomic<std::size_t> m_uiNext{0};
  std::uint64_t m_uiRound = 0;
  std::size_t m_uiBusy = 0;  // threads that have not ended the round
  bool m_bEnd = false;
  std::vector<std::thread> m_asThreads;  // last: they see all of the above
};

kivo_status kivo_pool_make(uint32_t threads, kivo_pool **pool) KIVO_NOEXCEPT {
  constexpr uint32_t c_uiMostThreads = 1024;
  if (pool == nullptr) return KIVO_NULL_POINTER;
  *pool = nullptr;
  if (threads > c_uiMostThreads) return KIVO_UNKNOWN_OPTION;
  if (threads == 0) threads = std::clamp<uint32_t>(std::thread::hardware_concurrency(), 1, c_uiMostThreads);
  try {
    *pool = new kivo_pool(threads);
  } catch (...) {
    return KIVO_OUT_OF_MEMORY;
  }
  return KIVO_OK;
}

void kivo_pool_free(kivo_pool *pool) KIVO_NOEXCEPT {
  delete pool;
}

uint32_t kivo_pool_threads(const kivo_pool *pool) KIVO_NOEXCEPT {
  return pool == nullptr ? 0 : pool->Threads();
}

int kivo_pool_run(void *self, kivo_job job, void *context, size_t jobs) KIVO_NOEXCEPT {
  if (self == nullptr || job == nullptr) return -1;
  try {
    static_cast<kivo_pool *>(self)->Run(job, context, jobs);
  } catch (...) {
    return -1;
  }
  return 0;
}
