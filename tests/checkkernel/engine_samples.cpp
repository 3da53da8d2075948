// SPDX-License-Identifier: Apache-2.0
// The engine's own kernels up to planes of words: every count around a vector, every value where they can be
// gone through.
#include <array>
#include <utility>

#include "checkkernel/arrays.h"
#include "checkkernel/reference_frame.h"
#include "frame/frame_targets.h"

namespace KivoTest {
namespace {

using Kivo::ActiveFrameKernels;

constexpr std::array<const char *, 14> kUnpackNames{"P10",    "P12",       "P14",   "Packed10", "Packed12",
                                                    "P32",    "Swap",      "Bits1", "Bits2",    "Bits4",
                                                    "Signed", "DropAlpha", "Yuyv",  "Yyuyyv"};
static_assert(kUnpackNames.size() == static_cast<std::size_t>(Kivo::Unpack::Count));

// Every count around the vectors of any target, and a few long ones.
template <typename Function>
void ForCounts(const Check &check, Function function) {
  for (std::size_t n = 0; n <= 270; ++n) function(n);
  for (std::size_t n = 271; n <= 540; n += check.quick() ? 13U : 1U) function(n);
  for (const std::size_t n : {1023U, 1920U, 4099U}) function(n);
}

std::uint16_t *Words(std::uint8_t *bytes) {
  return reinterpret_cast<std::uint16_t *>(bytes);
}
std::array<std::uint16_t *, 3> Planes(std::uint8_t *const *dst) {
  return {Words(dst[0]), Words(dst[1]), Words(dst[2])};
}

// All values of a sample in every place of a group: all in turn, each time one place further on.
Bytes AllValues(std::size_t size, unsigned bits) {
  Bytes bytes(size);
  for (std::size_t bit = 0; bit < 8 * size; ++bit) {
    const std::size_t sample = bit / bits;
    const std::size_t value = (sample + (sample >> bits)) * 8191;
    if ((value >> bit % bits) % 2 != 0)
      bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] | 1 << bit % 8);
  }
  return bytes;
}

std::string Text(const char *name, std::size_t n) {
  return std::string(name) + " n " + std::to_string(n);
}
std::string Text(const char *name, std::size_t sample_bytes, std::size_t n) {
  return Text((name + std::string(sample_bytes == 1 ? " of bytes" : " of words")).c_str(), n);
}

}  // namespace

void CheckUnpack(Check &check) {
  ArrayCheck arrays(check);
  for (std::size_t k = 0; k < kUnpackNames.size(); ++k) {
    const auto kind = static_cast<Kivo::Unpack>(k);
    const Kivo::UnpackKernel kernel = ActiveFrameKernels().psUnpack->apfn[k];
    const auto job = [&](std::size_t n, Bytes source) {
      return ArrayCheck::Job{
          Text(kUnpackNames[k], n),
          {std::move(source)},
          {Reference::UnpackedBytes(kind, n)},
          1,
          [=](auto dst, auto src) { Reference::Unpack(kind, dst[0], src[0], n); },
          [=](auto dst, auto src) { kernel(dst[0], src[0], n); },
      };
    };
    ForCounts(check, [&](std::size_t n) {
      if (kind == Kivo::Unpack::P32) n *= 3;
      arrays.Compare(job(n, arrays.RandomBytes(Reference::PackedBytes(kind, n))));
    });
    // Samples of up to 16 bits take on every value, in every place of a group.
    const std::size_t many = 65536 * 6 / Reference::UnpackedBytes(kind, 2);
    for (const unsigned bits : {10U, 12U, 14U, 16U})
      arrays.Single(job(many, AllValues(Reference::PackedBytes(kind, many), bits)));
  }
}

void CheckPackedMono(Check &check) {
  ArrayCheck arrays(check);
  for (std::size_t k = 0; k < Kivo::c_uiMonoPackings; ++k) {
    const auto kind = static_cast<Kivo::Unpack>(k);
    for (const Kivo::Output out : {Kivo::c_eBGRA, Kivo::c_eBGR}) {
      const std::size_t pixel_bytes = out == Kivo::c_eBGRA ? 4 : 3;
      const Kivo::RunKernel kernel = ActiveFrameKernels().psPackedMono->apfn[k][out];
      const auto job = [&](std::size_t n, std::size_t rows, unsigned shift, bool stream, Bytes source) {
        const std::size_t pitch = n * pixel_bytes, src_pitch = Reference::PackedBytes(kind, n);
        return ArrayCheck::Job{
            Text(kUnpackNames[k], n) + (stream ? " streamed" : "") + " shift " + std::to_string(shift),
            {std::move(source)},
            {rows * pitch},
            1,
            [=](auto dst, auto src) {
              for (std::size_t y = 0; y < rows; ++y)
                Reference::PackedMono(kind, dst[0] + y * pitch, src[0] + y * src_pitch, n, shift,
                                      pixel_bytes);
            },
            [=](auto dst, auto src) {
              kernel({dst[0], static_cast<std::ptrdiff_t>(pitch), src[0],
                      static_cast<std::ptrdiff_t>(src_pitch), n, rows, shift, stream});
            },
        };
      };
      unsigned turn = 0;
      ForCounts(check, [&](std::size_t n) {
        const unsigned shift = turn++ % 8;
        for (const bool stream : {false, true}) {
          for (const std::size_t rows : {1U, 3U})
            arrays.Compare(
                job(n, rows, shift, stream, arrays.RandomBytes(rows * Reference::PackedBytes(kind, n))));
        }
      });
      for (const unsigned shift : {0U, 2U, 4U, 6U, 9U, 15U}) {
        const std::size_t many = 65536;
        for (const unsigned bits : {10U, 12U, 14U})
          arrays.Single(
              job(many, 1, shift, shift % 2 == 0, AllValues(Reference::PackedBytes(kind, many), bits)));
      }
    }
  }
}

void CheckPlanes(Check &check) {
  ArrayCheck arrays(check);
  const Kivo::PlanesKernels &kernels = *ActiveFrameKernels().psPlanes;
  for (const std::size_t bytes : {1U, 2U}) {
    const Kivo::PlanesKernel to_planes = bytes == 1 ? kernels.pfnBytes : kernels.pfnWords;
    const Kivo::InterleaveKernel to_pixels =
        bytes == 1 ? kernels.pfnInterleaveBytes : kernels.pfnInterleaveWords;
    ForCounts(check, [&](std::size_t n) {
      arrays.Compare({Text("Planes", bytes, n),
                      {arrays.RandomBytes(3 * bytes * n)},
                      {2 * n, 2 * n, 2 * n},
                      2,
                      [=](auto dst, auto src) { Reference::Planes(bytes, Planes(dst).data(), src[0], n); },
                      [=](auto dst, auto src) { to_planes(Planes(dst).data(), src[0], n); }});
      arrays.Compare(
          {Text("Interleave", bytes, n),
           {arrays.RandomBytes(bytes * n), arrays.RandomBytes(bytes * n), arrays.RandomBytes(bytes * n)},
           {3 * bytes * n},
           1,
           [=](auto dst, auto src) { Reference::Interleave(bytes, dst[0], src, n); },
           [=](auto dst, auto src) { to_pixels(dst[0], src, n); }});
    });
  }
  ForCounts(check, [&](std::size_t n) {
    arrays.Compare({Text("Widen", n),
                    {arrays.RandomBytes(n)},
                    {2 * n},
                    2,
                    [=](auto dst, auto src) { Reference::Widen(Words(dst[0]), src[0], n); },
                    [=](auto dst, auto src) { kernels.pfnWiden(Words(dst[0]), src[0], n); }});
  });
}

void CheckHalf(Check &check) {
  ArrayCheck arrays(check);
  using Kivo::BayerOrder;
  for (const std::size_t bytes : {1U, 2U}) {
    const Kivo::HalfKernels &kernels = *ActiveFrameKernels().psHalf;
    const Kivo::HalfKernel kernel = bytes == 1 ? kernels.pfnBytes : kernels.pfnWords;
    for (const BayerOrder order : {BayerOrder::RG, BayerOrder::GR, BayerOrder::BG, BayerOrder::GB}) {
      const auto job = [&](std::size_t n, Bytes row0, Bytes row1) {
        return ArrayCheck::Job{
            Text("Half", bytes, n) + " order " + std::to_string(static_cast<unsigned>(order)),
            {std::move(row0), std::move(row1)},
            {2 * n, 2 * n, 2 * n},
            2,
            [=](auto dst, auto src) { Reference::Half(bytes, Planes(dst).data(), src[0], src[1], n, order); },
            [=](auto dst, auto src) { kernel(Planes(dst).data(), src[0], src[1], n, order); }};
      };
      ForCounts(check, [&](std::size_t n) {
        arrays.Compare(job(n, arrays.RandomBytes(2 * bytes * n), arrays.RandomBytes(2 * bytes * n)));
      });
      // Every word as one green, with a byte's distance of others around it as the other.
      if (bytes == 1) continue;
      for (int distance = -3; distance <= 3; ++distance) {
        Bytes row0(65536 * 4), row1(65536 * 4);
        for (std::size_t i = 0; i < 2 * 65536; ++i) {
          const auto a = static_cast<std::uint16_t>(i / 2),
                     b = static_cast<std::uint16_t>(a + distance * 9973);
          row0[2 * i] = static_cast<std::uint8_t>(a), row0[2 * i + 1] = static_cast<std::uint8_t>(a >> 8);
          row1[2 * i] = static_cast<std::uint8_t>(b), row1[2 * i + 1] = static_cast<std::uint8_t>(b >> 8);
        }
        arrays.Single(job(65536, row0, row1));
      }
    }
  }
}

void CheckRange(Check &check) {
  ArrayCheck arrays(check);
  const Kivo::RangeKernels &kernels = *ActiveFrameKernels().psRange;
  for (const std::size_t bytes : {1U, 2U}) {
    const Kivo::ExtremesKernel extremes = bytes == 1 ? kernels.pfnExtremeBytes : kernels.pfnExtremeWords;
    const Kivo::TableKernel look_up = bytes == 1 ? kernels.pfnTableBytes : kernels.pfnTableWords;
    // The extremes so far, and those with them: two doublewords.
    const auto extremes_job = [&](std::size_t n, Bytes source, std::uint32_t least, std::uint32_t most) {
      const auto run = [=](const auto &function, std::uint8_t *dst) {
        std::uint32_t found[2] = {least, most};
        function(&found[0], &found[1]);
        for (std::size_t i = 0; i < 8; ++i) dst[i] = static_cast<std::uint8_t>(found[i / 4] >> (i % 4 * 8));
      };
      return ArrayCheck::Job{
          Text("Extremes", bytes, n),
          {std::move(source)},
          {8},
          1,
          [=](auto dst, auto src) {
            run([&](auto low, auto high) { Reference::Extremes(bytes, src[0], n, low, high); }, dst[0]);
          },
          [=](auto dst, auto src) {
            run([&](auto low, auto high) { extremes(src[0], n, low, high); }, dst[0]);
          }};
    };
    const Bytes table = arrays.RandomBytes(bytes == 1 ? 256 : 65536);
    ForCounts(check, [&](std::size_t n) {
      // Samples around the middle, of which one is the smallest and one the largest, anywhere.
      Bytes source(bytes * n, 0x80);
      for (std::size_t i = 0; i < source.size(); i += bytes)
        source[i] = static_cast<std::uint8_t>(i * 7 % 64 + 64);
      for (const std::uint8_t value : {std::uint8_t{10}, std::uint8_t{200}}) {
        if (n == 0) break;
        const std::size_t at = check.random().Below(static_cast<std::uint32_t>(n));
        source[(at + 1) * bytes - 1] = value;
      }
      arrays.Compare(extremes_job(n, source, 0xFFFFFFFFU, 0));
      arrays.Compare(extremes_job(n, source, 5, 60000));
      arrays.Compare(extremes_job(n, arrays.RandomBytes(bytes * n), 0xFFFFFFFFU, 0));
      arrays.Compare({Text("Table", bytes, n),
                      {arrays.RandomBytes(bytes * n), table},
                      {n},
                      1,
                      [=](auto dst, auto src) { Reference::Table(bytes, dst[0], src[0], n, src[1]); },
                      [=](auto dst, auto src) { look_up(dst[0], src[0], n, src[1]); }});
    });
  }
}

}  // namespace KivoTest
