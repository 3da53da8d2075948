// SPDX-License-Identifier: Apache-2.0
// Rows of pictures from planes: every kind, orientation and store policy at every count around a vector and
// every place in a line; every value at every shift and depth.
#include <array>
#include <cstring>

#include "checkkernel/arrays.h"
#include "checkkernel/reference_frame.h"
#include "frame/frame_targets.h"

namespace KivoTest {
namespace {

using Kivo::PictureJob;
using Kivo::PictureKind;

constexpr std::array<const char *, 8> kNames{"Bgra8",  "Bgr8",  "Mono8",  "Gray8",
                                             "Bgra16", "Bgr16", "Mono16", "Gray16"};
static_assert(kNames.size() == static_cast<std::size_t>(PictureKind::Count));

bool IsMono(PictureKind kind) {
  return kind == PictureKind::Mono8 || kind == PictureKind::Mono16;
}
bool IsWide(PictureKind kind) {
  return kind >= PictureKind::Bgra16;
}

// A job of n pixels on arrays; a kind of one plane is given no others.
ArrayCheck::Job MakeJob(PictureKind kind, PictureJob options, std::vector<Bytes> planes) {
  const std::size_t n = options.n;
  const Kivo::PictureKernel kernel = Kivo::ActiveFrameKernels().psPicture->apfn[static_cast<unsigned>(kind)];
  const auto filled = [=](std::uint8_t *const *dst, const std::uint8_t *const *src) {
    PictureJob job = options;
    job.pucDst = dst[0];
    for (std::size_t c = 0; c < 3; ++c)
      job.apusPlanes[c] = IsMono(kind) && c > 0 ? nullptr : reinterpret_cast<const std::uint16_t *>(src[c]);
    return job;
  };
  return {std::string(kNames[static_cast<unsigned>(kind)]) + " n " + std::to_string(n) + " shift " +
              std::to_string(options.uiShift) + " depth " + std::to_string(options.uiDepth) +
              (options.bSpread ? " spread" : "") + (options.bMirror ? " mirror" : "") +
              (options.bStream ? " stream" : ""),
          std::move(planes),
          {n * Reference::PicturePixelBytes(kind)},
          2,
          [=](auto dst, auto src) { Reference::Picture(kind, filled(dst, src)); },
          [=](auto dst, auto src) { kernel(filled(dst, src)); }};
}

PictureJob Options(std::size_t n) {
  PictureJob job{};
  job.n = n;
  job.uiDepth = 16;
  return job;
}

// Every word once, in three orders.
std::vector<Bytes> AllWords() {
  std::vector<Bytes> planes(3, Bytes(2 * 65536));
  for (std::size_t c = 0; c < 3; ++c) {
    for (std::size_t i = 0; i < 65536; ++i) {
      const auto word = static_cast<std::uint16_t>(i * (2 * c + 1) + c * 21851);
      std::memcpy(planes[c].data() + 2 * i, &word, 2);
    }
  }
  return planes;
}

template <typename Function>
void ForKinds(Function function) {
  for (unsigned k = 0; k < kNames.size(); ++k) function(static_cast<PictureKind>(k));
}

}  // namespace

void CheckPicture(Check &check) {
  ArrayCheck arrays(check);
  const auto one = [&](PictureKind kind, std::size_t n, unsigned turn) {
    std::vector<Bytes> planes;
    for (unsigned c = 0; c < 3; ++c) planes.push_back(arrays.RandomBytes(2 * n));
    PictureJob options = Options(n);
    options.uiShift = turn % 16;
    options.uiDepth = 8 + turn % 9;
    options.bSpread = IsWide(kind) && turn % 2 == 0;
    for (const bool mirror : {false, true}) {
      for (const bool stream : {false, true}) {
        options.bMirror = mirror;
        options.bStream = stream;
        arrays.Compare(MakeJob(kind, options, planes));
      }
    }
  };
  unsigned turn = 0;
  for (std::size_t n = 0; n <= 280; n += check.quick() && n > 140 ? 9U : 1U)
    ForKinds([&](PictureKind kind) { one(kind, n, turn++); });
  for (const std::size_t n : {511U, 641U, 1920U, 4099U})
    ForKinds([&](PictureKind kind) { one(kind, n, turn++); });
}

void CheckPictureExhaustive(Check &check) {
  ArrayCheck arrays(check);
  const std::vector<Bytes> words = AllWords();
  ForKinds([&](PictureKind kind) {
    PictureJob options = Options(65536);
    if (!IsWide(kind)) {
      for (options.uiShift = 0; options.uiShift < 16; ++options.uiShift)
        arrays.Single(MakeJob(kind, options, words));
      return;
    }
    arrays.Single(MakeJob(kind, options, words));
    options.bSpread = true;
    for (options.uiDepth = 8; options.uiDepth <= 16; ++options.uiDepth)
      arrays.Single(MakeJob(kind, options, words));
  });
  // The luma of all bytes, a plane of constant red at a time, and of words next to what rounds up or down.
  const unsigned step = check.quick() ? 51 : 1;
  for (unsigned red = 0; red < 256; red += step) {
    std::vector<Bytes> planes(3, Bytes(2 * 65536));
    for (std::size_t i = 0; i < 65536; ++i) {
      planes[0][2 * i] = static_cast<std::uint8_t>(i);
      planes[1][2 * i] = static_cast<std::uint8_t>(i >> 8);
      planes[2][2 * i] = static_cast<std::uint8_t>(red);
    }
    arrays.Single(MakeJob(PictureKind::Gray8, Options(65536), planes));
    planes = words;
    for (std::size_t i = 0; i < 65536; ++i) {
      planes[2][2 * i] = static_cast<std::uint8_t>(i * 89);
      planes[2][2 * i + 1] = static_cast<std::uint8_t>(red);
    }
    arrays.Single(MakeJob(PictureKind::Gray16, Options(65536), planes));
  }
  for (const unsigned corner : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U}) {
    std::vector<Bytes> planes;
    for (unsigned c = 0; c < 3; ++c) planes.emplace_back(2 * 99, (corner >> c) % 2 != 0 ? 255 : 0);
    arrays.Compare(MakeJob(PictureKind::Gray16, Options(99), planes));
  }
}

}  // namespace KivoTest
