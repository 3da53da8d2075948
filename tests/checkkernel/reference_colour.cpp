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

void ColouredMosaic(std::size_t pixel_bytes, const Kivo::MosaicJob &job, const Kivo::FinishJob &finish) {
  const auto height = static_cast<std::ptrdiff_t>(job.uiHeight),
             width = static_cast<std::ptrdiff_t>(job.uiWidth);
  const auto order = static_cast<std::ptrdiff_t>(job.eOrder);
  // 0, 1, 2: red, green, blue.
  const auto colour = [&](std::ptrdiff_t y, std::ptrdiff_t x) -> unsigned {
    const bool green = ((y + x + order) & 1) != 0, blue_row = ((y + order / 2) & 1) != 0;
    return green ? 1 : blue_row ? 2 : 0;
  };
  const auto inside = [&](std::ptrdiff_t y, std::ptrdiff_t x) {
    return y >= 0 && y < height && (x >= 0 || !job.bLeftEdge) && (x < width || !job.bRightEdge);
  };
  const auto sample = [&](std::ptrdiff_t y, std::ptrdiff_t x) -> std::int64_t {
    std::uint16_t word;
    std::memcpy(&word, job.pucSrc + (y & static_cast<std::ptrdiff_t>(job.uiRowMask)) * job.iSrcPitch + 2 * x,
                2);
    return word;
  };
  for (std::size_t i = 0; i < job.uiRows; ++i) {
    const auto y = static_cast<std::ptrdiff_t>(job.uiFirst + i);
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const unsigned own = colour(y, x);
      std::int64_t rgb[3];
      for (unsigned c = 0; c < 3; ++c) {
        std::int64_t sum = 0, count = 0;
        for (std::ptrdiff_t v = y - 1; v <= y + 1; ++v)
          for (std::ptrdiff_t u = x - 1; u <= x + 1; ++u)
            if ((c == own) == (v == y && u == x) && colour(v, u) == c && inside(v, u)) {
              sum += sample(v, u);
              ++count;
            }
        rgb[c] = 2 * sum / count;
      }
      const unsigned first = job.bRedFirst ? 0 : 2;
      const std::int64_t planes[3] = {rgb[first], rgb[1], rgb[2 - first]};
      std::uint8_t *const pixel = job.pucDst + static_cast<std::ptrdiff_t>(i) * job.iDstPitch +
                                  static_cast<std::ptrdiff_t>(pixel_bytes) * x;
      for (unsigned c = 0; c < 3; ++c) {
        std::int64_t u = planes[c];
        if (finish.pasRows != nullptr) {
          std::int64_t sum = 2048 + 4096 * std::int64_t{1 << 20};
          for (unsigned k = 0; k < 3; ++k) sum += finish.pasRows[c][k] * planes[k];
          u = std::clamp<std::int64_t>(sum / 4096 - (1 << 20), 0, 32767);
        }
        pixel[c] = finish.pucTable != nullptr ? finish.pucTable[u] : static_cast<std::uint8_t>(u / 128);
      }
      if (pixel_bytes == 4) pixel[3] = 255;
    }
  }
}

}  // namespace KivoTest::Reference
