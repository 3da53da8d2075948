// SPDX-License-Identifier: Apache-2.0
// The words of every target that runs here, and its gain: words_test [STEP], 1 for all values.
#include <cstdio>
#include <cstdlib>

#include "simd/targets.h"

#define KIVO_WORDS(TARGET)     \
  namespace Kivo::TARGET {     \
  size_t CheckWords(uint32_t); \
  size_t CheckGain(uint32_t);  \
  }
KIVO_WORDS(Baseline)
#ifdef KIVO_HAVE_SSE41
KIVO_WORDS(Sse41)
#endif
#ifdef KIVO_HAVE_AVX2
KIVO_WORDS(Avx2)
#endif
#ifdef KIVO_HAVE_AVX512
KIVO_WORDS(Avx512)
#endif
#ifdef KIVO_HAVE_NEON
KIVO_WORDS(Neon)
#endif

namespace {

using CheckOf = size_t (*)(uint32_t);

bool Check(Kivo::Target target, CheckOf words, CheckOf gain, uint32_t step) {
  if (!Kivo::TargetRuns(target, Kivo::DetectCpu())) {
    std::printf("%s: not here\n", Kivo::TargetName(target));
    return true;
  }
  const size_t wrong = words(step) + gain(step);
  std::printf("%s: %zu wrong\n", Kivo::TargetName(target), wrong);
  return wrong == 0;
}

}  // namespace

int main(int argc, char **argv) {
  const auto step = static_cast<uint32_t>(argc > 1 ? std::strtoul(argv[1], nullptr, 0) : 1);
  bool good =
      step != 0 && Check(Kivo::Target::Baseline, Kivo::Baseline::CheckWords, Kivo::Baseline::CheckGain, step);
#ifdef KIVO_HAVE_SSE41
  good = Check(Kivo::Target::Sse41, Kivo::Sse41::CheckWords, Kivo::Sse41::CheckGain, step) && good;
#endif
#ifdef KIVO_HAVE_AVX2
  good = Check(Kivo::Target::Avx2, Kivo::Avx2::CheckWords, Kivo::Avx2::CheckGain, step) && good;
#endif
#ifdef KIVO_HAVE_AVX512
  good = Check(Kivo::Target::Avx512, Kivo::Avx512::CheckWords, Kivo::Avx512::CheckGain, step) && good;
#endif
#ifdef KIVO_HAVE_NEON
  good = Check(Kivo::Target::Neon, Kivo::Neon::CheckWords, Kivo::Neon::CheckGain, step) && good;
#endif
  return good ? 0 : 1;
}
