// SPDX-License-Identifier: Apache-2.0
// Running a plan allocates nothing, takes no lock and makes no system call, from its first run on; and making
// one says so when there is no memory.
//
// Exit code 0: quiet; 1: not; 77: this system cannot tell.
#include <dirent.h>
#include <dlfcn.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame/model.h"

// What the C library calls its own functions.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *memory);
}

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_calls{0};    // of the allocator, while counting
std::atomic<long> g_locks{0};    // taken while counting
std::atomic<long> g_balance{0};  // allocations less releases, while counting
std::atomic<long> g_fail_at{0};  // the allocation that fails, counted from 1; 0 for none

// Whether this allocation is to fail.
bool Allocates() {
  if (!g_counting) return false;
  const long number = ++g_calls;
  if (number != g_fail_at) return false;
  errno = ENOMEM;
  return true;
}

void *Counted(void *memory) {
  if (g_counting && memory != nullptr) ++g_balance;
  return memory;
}

}  // namespace

extern "C" {
void *malloc(std::size_t size) {
  return Allocates() ? nullptr : Counted(__libc_malloc(size));
}
void *calloc(std::size_t count, std::size_t size) {
  return Allocates() ? nullptr : Counted(__libc_calloc(count, size));
}
void *realloc(void *memory, std::size_t size) {
  if (Allocates()) return nullptr;
  return memory == nullptr ? Counted(__libc_realloc(memory, size)) : __libc_realloc(memory, size);
}
void *memalign(std::size_t alignment, std::size_t size) {
  return Allocates() ? nullptr : Counted(__libc_memalign(alignment, size));
}
void *aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}
int posix_memalign(void **memory, std::size_t alignment, std::size_t size) {
  void *const made = memalign(alignment, size);
  if (made == nullptr) return ENOMEM;
  *memory = made;
  return 0;
}
void free(void *memory) {
  if (g_counting && memory != nullptr) {
    ++g_calls;
    --g_balance;
  }
  __libc_free(memory);
}

using LockFunction = int (*)(pthread_mutex_t *);
static LockFunction g_lock = nullptr;
int pthread_mutex_lock(pthread_mutex_t *mutex) {
  if (g_counting) ++g_locks;
  if (g_lock == nullptr) g_lock = reinterpret_cast<LockFunction>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  return g_lock(mutex);
}
}

namespace {

using KivoTest::Model::Format;
namespace Model = KivoTest::Model;

struct Item {
  const Format *format;
  std::uint32_t width, height;
  kivo_options options;
  kivo_plan *plan;
  std::size_t frame_size;

  std::string Text() const {
    return format->name + " " + std::to_string(width) + "x" + std::to_string(height) + " pixels " +
           std::to_string(options.pixels) + " bayer " + std::to_string(options.bayer) + " flags " +
           std::to_string(options.flags) + " hint " + std::to_string(options.hint);
  }
};

// Every format, picture and demosaic, small and wide.
std::vector<Item> MakeItems() {
  std::vector<Item> items;
  std::uint32_t turn = 0;
  for (const Format &format : Model::Formats())
    for (std::uint32_t pixels = KIVO_BGRA8; pixels <= KIVO_SAMPLES; ++pixels)
      for (std::uint32_t bayer = 0; bayer < (format.bayer() ? 5u : 1u); ++bayer)
        for (const std::uint32_t width : {52u, 2600u}) {
          kivo_options options = KIVO_OPTIONS_INIT;
          options.pixels = pixels;
          options.bayer = bayer;
          ++turn;
          options.hint = turn % 3;
          options.flags = turn / 3 % 4;
          if (turn % 4 == 0)
            options.crop_x = options.crop_y = 4, options.crop_width = options.crop_height = 4;
          const bool sixteen = pixels >= KIVO_BGRA16 && pixels <= KIVO_GRAY16;
          if (sixteen) options.levels = turn % 2;
          if (!sixteen && !format.yuv() && turn % 5 == 0) {
            options.flags |= KIVO_WITH_RANGE;
            options.range_high = 200;
          }
          Item item{&format, width, 10, options, nullptr, 0};
          item.frame_size = static_cast<std::size_t>(Model::FrameBytes(format, width, item.height));
          if (kivo_plan_make(format.code, width, item.height, &options, &item.plan) != KIVO_OK) {
            std::fprintf(stderr, "no plan: %s\n", item.Text().c_str());
            std::exit(1);
          }
          items.push_back(item);
        }
  return items;
}

int Forwards(void *, kivo_job job, void *context, std::size_t jobs) {
  for (std::size_t i = 0; i < jobs; ++i) job(context, i);
  return 0;
}

// Everything that runs a plan.
kivo_status RunAll(const Item &item, const std::vector<std::uint8_t> &in, std::vector<std::uint8_t> &out,
                   std::vector<std::uint8_t> &scratch) {
  const kivo_frame frame{in.data(), item.frame_size, 0};
  const kivo_picture picture{out.data(), out.size(), 0};
  std::uint32_t least = 0, most = 0;
  kivo_status status = kivo_run(item.plan, &frame, &picture, nullptr, 0);
  if (status == KIVO_OK) status = kivo_run(item.plan, &frame, &picture, scratch.data(), scratch.size());
  if (status == KIVO_OK) status = kivo_run_rows(item.plan, &frame, &picture, 1, 1, nullptr, 0);
  if (status == KIVO_OK) status = kivo_run_on(item.plan, &frame, &picture, Forwards, nullptr);
  if (status == KIVO_OK) status = kivo_sample_range(item.plan, &frame, &least, &most);
  return status;
}

struct Report {
  int call;
  int item;
  int failed;
};
Report *g_report = nullptr;

void OnCall(int, siginfo_t *info, void *) {
  g_report->call = info->si_syscall;
  _exit(1);
}

// From here on only the end of the process is let through.
bool Seal() {
  struct sigaction action = {};
  action.sa_sigaction = OnCall;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSYS, &action, nullptr);
  sock_filter code[] = {
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, SYS_exit_group},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_TRAP},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
  };
  sock_fprog program{sizeof code / sizeof *code, code};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// Runs `body` in a process of its own that may make no call; 77 if that cannot be had.
template <typename Body>
int Sealed(Body body) {
  *g_report = {-1, -1, 0};
  const pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) {
    if (!Seal()) _exit(77);
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

int CheckCalls(const std::vector<Item> &items, const std::vector<std::uint8_t> &in,
               std::vector<std::uint8_t> &out, std::vector<std::uint8_t> &scratch) {
  // The seal itself first: a call has to be seen.
  const int proof = Sealed([] { getppid(); });
  if (proof == 77) {
    std::printf("system calls: this system counts none\n");
    return 77;
  }
  if (proof != 1 || g_report->call != SYS_getppid) {
    std::fprintf(stderr, "a system call went unnoticed\n");
    return 1;
  }
  const int result = Sealed([&] {
    for (int round = 0; round < 2; ++round)
      for (std::size_t i = 0; i < items.size(); ++i) {
        g_report->item = static_cast<int>(i);
        if (RunAll(items[i], in, out, scratch) != KIVO_OK) {
          g_report->failed = 1;
          _exit(1);
        }
      }
  });
  if (result != 0) {
    std::fprintf(stderr, "system call %d, failed %d, in %s\n", g_report->call, g_report->failed,
                 g_report->item < 0 ? "?" : items[static_cast<std::size_t>(g_report->item)].Text().c_str());
    return 1;
  }
  std::printf("system calls: none in %zu plans, run twice in five ways\n", items.size());
  return 0;
}

int CheckAllocations(const std::vector<Item> &items, const std::vector<std::uint8_t> &in,
                     std::vector<std::uint8_t> &out, std::vector<std::uint8_t> &scratch) {
  // The counter itself first.
  g_counting = true;
  auto *volatile proof = new int(1);
  delete proof;
  g_counting = false;
  if (g_calls != 2 || g_balance != 0) {
    std::fprintf(stderr, "allocations are not counted\n");
    return 1;
  }
  int failures = 0;
  for (int round = 0; round < 2; ++round)
    for (const Item &item : items) {
      g_calls = g_locks = 0;
      g_counting = true;
      const kivo_status status = RunAll(item, in, out, scratch);
      g_counting = false;
      if (status == KIVO_OK && g_calls == 0 && g_locks == 0) continue;
      std::fprintf(stderr, "status %d, %ld calls of the allocator, %ld locks: %s\n", static_cast<int>(status),
                   g_calls.load(), g_locks.load(), item.Text().c_str());
      if (++failures == 10) return 1;
    }
  std::printf("allocations and locks: none in %zu plans, run twice in five ways\n", items.size());
  return failures == 0 ? 0 : 1;
}

// Fails each allocation that a call makes in turn, until it makes fewer; everything has to be released again.
template <typename Call>
bool FailEach(const char *what, long most, Call call) {
  for (long at = 1; at <= most; ++at) {
    g_calls = g_balance = 0;
    g_fail_at = at;
    g_counting = true;
    const bool failed = call();
    g_counting = false;
    g_fail_at = 0;
    if (g_balance != 0) {
      std::fprintf(stderr, "%s: %ld allocations are left when number %ld fails\n", what, g_balance.load(),
                   at);
      return false;
    }
    if (!failed) {
      if (g_calls >= at && at == 1) std::fprintf(stderr, "%s: a failed allocation goes unnoticed\n", what);
      return !(g_calls >= at && at == 1);
    }
  }
  std::fprintf(stderr, "%s: fails without end\n", what);
  return false;
}

int CheckMemory(const std::vector<Item> &items) {
  int failures = 0;
  for (std::size_t i = 0; i < items.size(); i += 3) {
    const Item &item = items[i];
    const auto make = [&] {
      kivo_plan *plan = nullptr;
      const kivo_status status =
          kivo_plan_make(item.format->code, item.width, item.height, &item.options, &plan);
      if (status == KIVO_OUT_OF_MEMORY && plan == nullptr) return true;
      if (status != KIVO_OK) ++failures;
      kivo_plan_free(plan);
      return false;
    };
    if (!FailEach(item.Text().c_str(), 50, make)) ++failures;
  }
  const auto pool = [&] {
    kivo_pool *made = nullptr;
    const kivo_status status = kivo_pool_make(1, &made);
    if (status == KIVO_OUT_OF_MEMORY && made == nullptr) return true;
    if (status != KIVO_OK) ++failures;
    kivo_pool_free(made);
    return false;
  };
  if (!FailEach("pool", 50, pool)) ++failures;
  if (failures == 0) std::printf("memory: every allocation of a plan and of a pool may fail\n");
  return failures == 0 ? 0 : 1;
}

int Threads() {
  DIR *const directory = opendir("/proc/self/task");
  if (directory == nullptr) return -1;
  int count = 0;
  while (const dirent *entry = readdir(directory)) count += entry->d_name[0] != '.';
  closedir(directory);
  return count;
}

// A pool of more threads than there is room for: none of those that were started stays.
int CheckThreads() {
  const pid_t child = fork();
  if (child == 0) {
    rlimit limit{std::size_t{400} << 20, std::size_t{400} << 20};  // for some stacks of 8 MiB
    setrlimit(RLIMIT_AS, &limit);
    auto *pool = reinterpret_cast<kivo_pool *>(std::uintptr_t{8});
    const kivo_status status = kivo_pool_make(1024, &pool);
    if (status == KIVO_OK) _exit(77);  // stacks are smaller here
    if (status != KIVO_OUT_OF_MEMORY || pool != nullptr) _exit(1);
    for (int wait = 0; wait < 200 && Threads() != 1; ++wait) usleep(10000);  // the last may still be leaving
    if (Threads() != 1) _exit(2);
    // What is left suffices for a small one.
    if (kivo_pool_make(2, &pool) != KIVO_OK) _exit(3);
    kivo_pool_free(pool);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  if (code == 0) std::printf("threads: none is left of a pool that cannot be started\n");
  if (code == 77) std::printf("threads: 1024 have room here\n");
  if (code != 0 && code != 77) std::fprintf(stderr, "a pool that cannot be started: %d\n", code);
  return code == 77 ? 0 : code;
}

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  g_report = static_cast<Report *>(
      mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  if (g_report == MAP_FAILED) return 1;
  const std::vector<Item> items = MakeItems();
  std::vector<std::uint8_t> in(std::size_t{2600} * 10 * 6, 0x35), out(std::size_t{2600} * 10 * 8),
      scratch(std::size_t{256} << 10);
  // The sealed process first: no plan has run yet.
  const int calls = CheckCalls(items, in, out, scratch);
  const int allocations = CheckAllocations(items, in, out, scratch);
  const int memory = CheckMemory(items);
  const int threads = CheckThreads();
  for (const Item &item : items) kivo_plan_free(item.plan);
  if (allocations != 0 || memory != 0 || threads != 0 || calls == 1) return 1;
  return calls;
}
