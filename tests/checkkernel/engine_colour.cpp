// SPDX-License-Identifier: Apache-2.0
// The colour chain's kernels: every count around a vector, every sample at every depth with gains of every
// size, matrices as far out as they may be, every value of a tone.
#include <algorithm>
#include <array>
#include <cstring>

#include "checkkernel/arrays.h"
#include "checkkernel/reference_frame.h"
#include "frame/frame_targets.h"

namespace KivoTest {
namespace {

using Kivo::GainJob;
using Kivo::GainSite;
using Kivo::MatrixJob;
using Kivo::ToneJob;

const Kivo::ColourKernels &Kernels() {
  return *Kivo::ActiveFrameKernels().psColour;
}

std::uint16_t *Words(std::uint8_t *bytes) {
  return reinterpret_cast<std::uint16_t *>(bytes);
}
const std::uint16_t *Words(const std::uint8_t *bytes) {
  return reinterpret_cast<const std::uint16_t *>(bytes);
}

GainSite MakeSite(unsigned black, unsigned e, unsigned gain) {
  return {static_cast<std::uint16_t>(black), static_cast<std::uint16_t>((32767U >> e) + 1),
          static_cast<std::uint16_t>(1U << e), static_cast<std::uint16_t>(gain)};
}

GainSite SomeSite(Random &random) {
  const unsigned e = random.Below(3) == 0 ? random.Below(16) : 0;
  return MakeSite(random.Below(3) == 0 ? random.Below(32768) : random.Below(3000), e,
                  e == 0 ? random.Below(32768) : 16384 + random.Below(16384));
}

ArrayCheck::Job MakeGain(std::size_t sample_bytes, GainJob options, Bytes samples) {
  const Kivo::GainKernel kernel = sample_bytes == 1 ? Kernels().pfnGainBytes : Kernels().pfnGainWords;
  const auto filled = [=](std::uint8_t *const *dst, const std::uint8_t *const *src) {
    GainJob job = options;
    job.pusDst = Words(dst[0]);
    job.pucSrc = src[0];
    return job;
  };
  std::string name = std::string("Gain") + std::to_string(sample_bytes) + " n " + std::to_string(options.n) +
                     " depth " + std::to_string(options.uiDepth) + " sites";
  for (unsigned i = 0; i < options.uiSites; ++i) {
    const GainSite &s = options.asSites[i];
    for (const unsigned number : {unsigned{s.usBlack}, unsigned{s.usFactor}, unsigned{s.usGain}})
      name.append(" ").append(std::to_string(number));
  }
  return {name,
          {std::move(samples)},
          {2 * options.n},
          2,
          [=](auto dst, auto src) { Reference::Gain(sample_bytes, filled(dst, src)); },
          [=](auto dst, auto src) { kernel(filled(dst, src)); }};
}

void CheckGains(Check &check, ArrayCheck &arrays) {
  Random &random = check.random();
  for (std::size_t n = 0; n <= 280; n += check.quick() && n > 140 ? 9U : 1U)
    for (const unsigned sites : {2U, 3U})
      for (const std::size_t sample_bytes : {1U, 2U}) {
        GainJob options{};
        options.n = n;
        options.uiSites = sites;
        options.uiDepth = sample_bytes == 1 ? 8 : 8 + random.Below(9);
        for (GainSite &site : options.asSites) site = SomeSite(random);
        arrays.Compare(MakeGain(sample_bytes, options, arrays.RandomBytes(sample_bytes * n)));
      }
  // Every sample, with the numbers at which something changes.
  Bytes all(2 * 65536);
  for (std::size_t i = 0; i < 65536; ++i) {
    const auto word = static_cast<std::uint16_t>(i);
    std::memcpy(all.data() + 2 * i, &word, 2);
  }
  for (unsigned depth = 8; depth <= 16; depth += check.quick() ? 4U : 1U)
    for (unsigned e = 0; e < 16; e += check.quick() ? 5U : 1U)
      for (const unsigned gain : {0U, 1U, 8191U, 16384U, 16385U, 23170U, 32766U, 32767U}) {
        if (e != 0 && gain < 16384) continue;
        GainJob options{};
        options.n = 65536;
        options.uiSites = 2;
        options.uiDepth = depth;
        for (const unsigned black : {0U, 1000U}) {
          options.asSites[0] = MakeSite(black, e, gain);
          options.asSites[1] = MakeSite(black + random.Below(31767), e, gain);
          arrays.Single(MakeGain(2, options, all));
        }
      }
}

ArrayCheck::Job MakeMatrix(MatrixJob options, std::vector<Bytes> planes) {
  const Kivo::MatrixKernel kernel = Kernels().pfnMatrix;
  const std::size_t n = options.n;
  // Kernels may go on to the end of a vector.
  const std::size_t room = (n + 31) / 32 * 64;
  for (Bytes &plane : planes) plane.resize(room);
  const auto filled = [=](std::uint8_t *const *dst, const std::uint8_t *const *src) {
    MatrixJob job = options;
    for (unsigned c = 0; c < 3; ++c) {
      job.apusDst[c] = Words(dst[c]);
      job.apusSrc[c] = Words(src[c]);
    }
    return job;
  };
  std::string name = std::string("Matrix n ") + std::to_string(n) + " up " + std::to_string(options.uiUp);
  for (const auto &row : options.aasRows)
    for (const std::int16_t k : row) name.append(" ").append(std::to_string(k));
  return {name,
          std::move(planes),
          {2 * n, 2 * n, 2 * n},
          2,
          [=](auto dst, auto src) { Reference::Matrix(filled(dst, src)); },
          [=](auto dst, auto src) {
            // In place, as it is used: the planes have the room that the results lack.
            std::vector<Bytes> copies;
            std::uint8_t *apuc[3];
            for (unsigned c = 0; c < 3; ++c) copies.emplace_back(src[c], src[c] + room);
            for (unsigned c = 0; c < 3; ++c) apuc[c] = copies[c].data();
            kernel(filled(apuc, apuc));
            for (unsigned c = 0; c < 3; ++c)
              if (n != 0) std::memcpy(dst[c], apuc[c], 2 * n);
          }};
}

void CheckMatrices(Check &check, ArrayCheck &arrays) {
  Random &random = check.random();
  const auto coefficient = [&]() -> std::int16_t {
    static constexpr std::int16_t kEnds[] = {16386, -16386, 4096, 0, 1, -1};
    return random.Below(4) == 0 ? kEnds[random.Below(6)]
                                : static_cast<std::int16_t>(random.Below(32769) - 16384);
  };
  const auto one = [&](std::size_t n, bool extreme) {
    MatrixJob options{};
    options.n = n;
    options.uiUp = random.Below(2);
    for (auto &row : options.aasRows)
      for (std::int16_t &k : row) k = coefficient();
    const unsigned top = options.uiUp == 1 ? 16383 : 32767;
    std::vector<Bytes> planes;
    for (unsigned c = 0; c < 3; ++c) {
      planes.push_back(arrays.RandomBytes(2 * n));
      for (std::size_t i = 0; i < n; ++i) {
        std::uint16_t word;
        std::memcpy(&word, planes[c].data() + 2 * i, 2);
        word = static_cast<std::uint16_t>(extreme ? (word % 2 == 0 ? 0 : top) : word & top);
        std::memcpy(planes[c].data() + 2 * i, &word, 2);
      }
    }
    arrays.Single(MakeMatrix(options, std::move(planes)));
  };
  for (std::size_t n = 0; n <= 200; ++n)
    for (const bool extreme : {false, true}) one(n, extreme);
  for (unsigned i = 0; i < (check.quick() ? 20U : 400U); ++i) one(65536, i % 4 == 0);
}

ArrayCheck::Job MakeTone(ToneJob options, Bytes plane, Bytes table) {
  const Kivo::ToneKernel kernel = Kernels().pfnTone;
  const bool bytes = table.size() == Kivo::c_uiToneEntries;
  const auto filled = [=](std::uint8_t *const *dst, const std::uint8_t *const *src) {
    ToneJob job = options;
    job.pusDst = Words(dst[0]);
    job.pusSrc = Words(src[0]);
    if (bytes) job.pucBytes = src[1];
    if (!bytes && !table.empty()) job.pusWords = Words(src[1]);
    return job;
  };
  return {std::string("Tone n ") + std::to_string(options.n) + " up " + std::to_string(options.uiUp) +
              " down " + std::to_string(options.uiDown) + " table " + std::to_string(table.size()),
          {std::move(plane), table},
          {2 * options.n},
          2,
          [=](auto dst, auto src) { Reference::Tone(filled(dst, src)); },
          [=](auto dst, auto src) { kernel(filled(dst, src)); }};
}

void CheckTones(Check &check, ArrayCheck &arrays) {
  Random &random = check.random();
  const auto one = [&](std::size_t n, std::size_t table) {
    ToneJob options{};
    options.n = n;
    options.uiUp = random.Below(2);
    options.uiDown = random.Below(9);
    Bytes plane(2 * n);
    for (std::size_t i = 0; i < n; ++i) {
      const unsigned top = options.uiUp == 1 ? 16383 : 32767;
      const auto word = static_cast<std::uint16_t>(n == 32768 ? i & top : random.Below(top + 1));
      std::memcpy(plane.data() + 2 * i, &word, 2);
    }
    arrays.Compare(MakeTone(options, std::move(plane), arrays.RandomBytes(table)));
  };
  for (const std::size_t table : {std::size_t{0}, Kivo::c_uiToneEntries, 2 * Kivo::c_uiToneEntries}) {
    for (std::size_t n = 0; n <= 130; n += check.quick() && n > 70 ? 7U : 1U) one(n, table);
    one(32768, table);
    one(32768, table);
  }
}

// A tone as the kernels take it: a table, and perhaps the curve that it was made from.
struct SomeTone {
  Bytes table;
  Kivo::ToneCurve curve{};
  bool has_curve = false;
};

SomeTone MakeSomeTone(Random &random) {
  SomeTone s;
  const unsigned kind = random.Below(3);
  if (kind == 0) return s;
  s.table.resize(Kivo::c_uiToneEntries);
  s.has_curve = kind == 2;
  if (!s.has_curve) {
    for (std::uint8_t &byte : s.table) byte = static_cast<std::uint8_t>(random.Next());
    return s;
  }
  // Knots at random heights, none below the one before.
  std::vector<std::uint16_t> knots(63);
  for (std::uint16_t &knot : knots) knot = static_cast<std::uint16_t>(random.Next());
  std::sort(knots.begin(), knots.end());
  std::size_t u = 0;
  for (std::size_t i = 0; i < 62; ++i) {
    const std::size_t width = u < 1024 ? 64 : u < 6144 ? 256 : 1024;
    s.curve.ausKnots[i] = knots[i];
    s.curve.ausSteps[i] = static_cast<std::uint16_t>(knots[i + 1] - knots[i]);
    for (std::size_t k = 0; k < width; ++k, ++u)
      s.table[u] = static_cast<std::uint8_t>((knots[i] + k * s.curve.ausSteps[i] / width) / 256);
  }
  for (std::size_t i = 0; i < 64; ++i)
    for (std::size_t k = 0; k < 4; ++k) {
      const std::uint16_t *const words = k < 2 ? s.curve.ausKnots : s.curve.ausSteps;
      const int word = words[i] ^ (i < 16 ? 0 : words[i - 16]);
      s.curve.aaucBytes[k][i] = static_cast<std::uint8_t>(word >> 8 * (k % 2));
    }
  return s;
}

// Rows of words, each with what the kernel may read beside it.
class SomeMosaic {
 public:
  SomeMosaic(Random &random, std::size_t width, std::size_t height, bool extreme)
      : pitch_(2 * (width + 66)), bytes_(pitch_ * height) {
    for (std::size_t i = 0; i < bytes_.size() / 2; ++i) {
      const unsigned value = extreme ? (random.Below(2) == 0 ? 0U : 16383U) : random.Below(16384);
      Set(i, value);
    }
  }
  // Behind the edges of the image.
  void Pad(const Kivo::MosaicJob &job) {
    for (std::size_t y = 0; y < job.uiHeight; ++y) {
      if (job.bLeftEdge) PadOne(job, y, 0, 1, -1);
      if (job.bRightEdge) PadOne(job, y, job.uiWidth - 1, -1, 1);
    }
  }
  std::size_t pitch() const { return pitch_; }
  const Bytes &bytes() const { return bytes_; }

 private:
  void Set(std::size_t i, unsigned value) {
    const auto word = static_cast<std::uint16_t>(value);
    std::memcpy(bytes_.data() + 2 * i, &word, 2);
  }
  std::size_t Index(std::size_t y, std::size_t x) const { return y * pitch_ / 2 + 1 + x; }
  unsigned At(std::size_t y, std::size_t x) const {
    std::uint16_t word;
    std::memcpy(&word, bytes_.data() + 2 * Index(y, x), 2);
    return word;
  }
  void PadOne(const Kivo::MosaicJob &job, std::size_t y, std::size_t x, int inner, int outer) {
    const unsigned beside = At(y, x + static_cast<std::size_t>(inner));
    unsigned value = beside;
    const bool green = ((y + x + static_cast<unsigned>(job.eOrder)) & 1) != 0;
    if (!green && y != 0 && y + 1 != job.uiHeight) {
      const unsigned sum = beside + At(y - 1, x) + At(y + 1, x);
      value = 2 * (2 * sum / 3) - sum;
    }
    Set(Index(y, x) + static_cast<std::size_t>(outer), value);
  }

  std::size_t pitch_;
  Bytes bytes_;
};

void CheckColouredMosaic(Check &check, ArrayCheck &arrays, std::size_t width, std::size_t height) {
  Random &random = check.random();
  Kivo::MosaicJob job{};
  job.uiWidth = width;
  job.uiHeight = height;
  job.uiFirst = random.Below(static_cast<unsigned>(height));
  job.uiRows = 1 + random.Below(static_cast<unsigned>(height - job.uiFirst));
  if (random.Below(3) == 0) {
    job.uiFirst = 0;
    job.uiRows = height;
  }
  job.bLeftEdge = random.Below(4) != 0;
  job.bRightEdge = random.Below(4) != 0;
  job.eOrder = static_cast<Kivo::BayerOrder>(random.Below(4));
  job.bRedFirst = random.Below(2) == 0;
  job.bStream = random.Below(2) == 0;
  job.uiRowMask = ~std::size_t{0};
  const bool bgra = random.Below(2) == 0;
  const std::size_t pixel_bytes = bgra ? 4 : 3;
  // Rows that reach lines together, some of them behind a few pixels, and rows without a gap.
  const bool lines = random.Below(2) == 0;
  const std::size_t skipped = lines ? pixel_bytes * random.Below(20) : 0;
  const std::size_t row = skipped + width * pixel_bytes;
  job.iDstPitch = static_cast<std::ptrdiff_t>(lines ? (row + 63) / 64 * 64 : row);

  SomeMosaic mosaic(random, width, height, random.Below(4) == 0);
  mosaic.Pad(job);
  job.iSrcPitch = static_cast<std::ptrdiff_t>(mosaic.pitch());
  const SomeTone tone = MakeSomeTone(random);
  std::array<std::array<std::int16_t, 3>, 3> rows;
  for (auto &line : rows)
    for (std::int16_t &k : line) k = static_cast<std::int16_t>(random.Below(12289) - 4096);
  const bool matrix = random.Below(2) == 0;
  const Kivo::ColouredMosaicKernel kernel =
      Kivo::ActiveFrameKernels().psColouredMosaic->apfn[bgra ? Kivo::c_eBGRA : Kivo::c_eBGR];
  const auto call = [=, &tone](auto run, std::uint8_t *const *dst, const std::uint8_t *const *src) {
    std::int16_t copy[3][3];
    for (unsigned y = 0; y < 3; ++y) std::copy(rows[y].begin(), rows[y].end(), copy[y]);
    Kivo::MosaicJob filled = job;
    filled.pucSrc = src[0] + 2;
    filled.pucDst = dst[0] + skipped;
    Kivo::FinishJob finish{};
    if (matrix) finish.pasRows = copy;
    if (!tone.table.empty()) finish.pucTable = src[1];
    if (tone.has_curve) finish.psCurve = &tone.curve;
    run(filled, finish);
  };
  arrays.Compare({"ColouredMosaic " + std::to_string(width) + " x " + std::to_string(height) + " rows " +
                      std::to_string(job.uiFirst) + " + " + std::to_string(job.uiRows) + " order " +
                      std::to_string(static_cast<unsigned>(job.eOrder)) + " pixels of " +
                      std::to_string(pixel_bytes) + (matrix ? " matrix" : "") +
                      (tone.has_curve       ? " curve"
                       : tone.table.empty() ? ""
                                            : " table") +
                      (job.bStream ? " stream" : "") + (job.bLeftEdge ? " left" : "") +
                      (job.bRightEdge ? " right" : ""),
                  {mosaic.bytes(), tone.table},
                  {static_cast<std::size_t>(job.iDstPitch) * (job.uiRows - 1) + row},
                  lines ? 64U : 2U,
                  [=](auto dst, auto src) {
                    call([=](auto &j, auto &f) { Reference::ColouredMosaic(pixel_bytes, j, f); }, dst, src);
                  },
                  [=](auto dst, auto src) { call(kernel, dst, src); }});
}

void CheckColouredMosaics(Check &check, ArrayCheck &arrays) {
  for (std::size_t width = 2; width <= 200; width += check.quick() && width > 70 ? 5U : 1U)
    for (std::size_t height = 2; height <= 9; ++height)
      for (unsigned i = 0; i < (check.quick() ? 2U : 6U); ++i)
        CheckColouredMosaic(check, arrays, width, height);
  for (unsigned i = 0; i < (check.quick() ? 20U : 200U); ++i)
    CheckColouredMosaic(check, arrays, 200 + check.random().Below(1000), 2 + check.random().Below(20));
}

}  // namespace

void CheckColour(Check &check) {
  ArrayCheck arrays(check);
  CheckGains(check, arrays);
  CheckMatrices(check, arrays);
  CheckTones(check, arrays);
  CheckColouredMosaics(check, arrays);
}

}  // namespace KivoTest
