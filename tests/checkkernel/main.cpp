// SPDX-License-Identifier: Apache-2.0
// Compares every converter and every reversal of one target with the reference.
//
// Exit code 0: all equal; 1: something differs; 2: wrong usage; 77: this build or this machine lacks the
// target.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "KivoCamUtl.h"
#include "checkkernel/check.h"
#include "simd/targets.h"

namespace {

constexpr int kSkipped = 77;

struct Options {
  std::string family;
  std::string target;
  unsigned long long seed = 1;
  bool quick = false;
  bool list = false;
};

bool Value(const char *argument, const char *flag, std::string &value) {
  const std::size_t length = std::strlen(flag);
  if (std::strncmp(argument, flag, length) != 0) return false;
  value = argument + length;
  return true;
}

int Usage() {
  std::fputs(
      "usage: checkkernel [--family=NAME] [--target=NAME] [--seed=N] [--quick] [--list]\n"
      "Without a family all are checked; without a target all that this machine runs.\n",
      stderr);
  return 2;
}

bool Parse(int argc, char **argv, Options &options) {
  std::string text;
  for (int i = 1; i < argc; ++i) {
    if (Value(argv[i], "--family=", options.family) || Value(argv[i], "--test=", options.family) ||
        Value(argv[i], "--target=", options.target))
      continue;
    if (Value(argv[i], "--seed=", text)) {
      options.seed = std::strtoull(text.c_str(), nullptr, 0);
    } else if (std::strcmp(argv[i], "--quick") == 0) {
      options.quick = true;
    } else if (std::strcmp(argv[i], "--list") == 0) {
      options.list = true;
    } else {
      return false;
    }
  }
  return true;
}

void List() {
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const Kivo::Target target = static_cast<Kivo::Target>(i);
    const char *const state = Kivo::TargetKernels(target) == nullptr        ? "not built"
                              : Kivo::TargetRuns(target, Kivo::DetectCpu()) ? "runs here"
                                                                            : "not on this processor";
    std::printf("target %s: %s\n", Kivo::TargetName(target), state);
  }
  for (const KivoTest::Plan &plan : KivoTest::AllPlans()) std::printf("family %s\n", plan.name);
}

// Number of failures.
std::size_t RunPlans(const Options &options, Kivo::Target target, std::size_t &matched) {
  std::size_t failures = 0;
  for (const KivoTest::Plan &plan : KivoTest::AllPlans()) {
    if (!options.family.empty() && options.family != plan.name) continue;
    ++matched;
    const auto start = std::chrono::steady_clock::now();
    KivoTest::Check check(options.seed, options.quick);
    plan.run(check);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%s.%s seed %llu: %zu calls, %zu wrong, %.1f s\n", plan.name, Kivo::TargetName(target),
                options.seed, check.runs(), check.failures(), seconds.count());
    failures += check.failures();
  }
  return failures;
}

}  // namespace

int main(int argc, char **argv) {
  Options options;
  if (!Parse(argc, argv, options)) return Usage();
  if (options.list) {
    List();
    return 0;
  }
  KivoTest::InstallCrashReport();
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  PrepareLUT();

  bool known = false, ran = false;
  std::size_t failures = 0, matched = 0;
  for (unsigned i = 0; i < Kivo::c_uiTargets; ++i) {
    const Kivo::Target target = static_cast<Kivo::Target>(i);
    if (!options.target.empty() && options.target != Kivo::TargetName(target)) continue;
    known = true;
    if (!Kivo::PinTarget(target)) {
      std::printf("%s skipped: not in this build or not on this processor\n", Kivo::TargetName(target));
      continue;
    }
    ran = true;
    failures += RunPlans(options, target, matched);
  }
  if (!known || (ran && matched == 0)) return Usage();
  if (!ran) return kSkipped;
  return failures == 0 ? 0 : 1;
}
