// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>

#include "checkkernel/reference_frame.h"

namespace KivoTest::Reference {

void Gain(std::size_t sample_bytes, const Kivo::GainJob &job) {
  for (std::size_t i = 0; i < job.n; ++i) {
    std::uint16_t word = 0;
    std::memcpy(&word, job.pucSrc + sample_bytes * i, sample_bytes);
    const std::int64_t largest = (std::int64_t{1} << job.uiDepth) - 1;
    const std::int64_t sample = std::min<std::int64_t>(word, largest);
    const std::int64_t t = job.uiDepth == 16 ? sample / 2 : sample * (std::int64_t{1} << (15 - job.uiDepth));
    const Kivo::GainSite &site = job.asSites[i % job.uiSites];
    const std::int64_t d = std::max<std::int64_t>(t - site.usBlack, 0);
    const std::int64_t product = std::min<std::int64_t>(d * site.usFactor, 32768) * site.usGain;
    job.pusDst[i] = static_cast<std::uint16_t>(std::min<std::int64_t>((product + 16384) / 32768, 16383));
  }
}

void Matrix(const Kivo::MatrixJob &job) {
  for (std::size_t i = 0; i < job.n; ++i) {
    for (unsigned c = 0; c < 3; ++c) {
      std::int64_t sum = 2048 + 4096 * std::int64_t{1 << 20};  // above zero, so that it is rounded down
      for (unsigned k = 0; k < 3; ++k)
        sum += std::int64_t{job.aasRows[c][k]} * (job.apusSrc[k][i] * (job.uiUp == 1 ? 2 : 1));
      job.apusDst[c][i] =
          static_cast<std::uint16_t>(std::clamp<std::int64_t>(sum / 4096 - (1 << 20), 0, 32767));
    }
  }
}

void Tone(const Kivo::ToneJob &job) {
  for (std::size_t i = 0; i < job.n; ++i) {
    const std::uint32_t u = job.pusSrc[i] * (job.uiUp == 1 ? 2U : 1U);
    std::uint32_t v = std::min(65535U, 2 * u + u / 8192) >> job.uiDown;
    if (job.pucBytes != nullptr) v = job.pucBytes[u];
    if (job.pusWords != nullptr) v = job.pusWords[u];
    job.pusDst[i] = static_cast<std::uint16_t>(v);
  }
}

}  // namespace KivoTest::Reference
