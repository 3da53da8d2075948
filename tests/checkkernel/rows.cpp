// SPDX-License-Identifier: Apache-2.0
// The kernels of runs, called as their tables offer them: rows with gaps between them, upward and downward.
#include "checkkernel/rows.h"

#include "simd/targets.h"

namespace KivoTest {
namespace {

void AddColour(std::vector<RowKernel> &kernels) {
  const Kivo::MonoRgb8Kernels &narrow = *Kivo::ActiveKernels().psMonoRgb8;
  const Kivo::MonoRgb16Kernels &wide = *Kivo::ActiveKernels().psMonoRgb16;
  for (const Output output : kOutputs) {
    const auto o = static_cast<unsigned>(output);
    const auto add = [&](const char *name, Kivo::RunKernel kernel8, Kivo::RunKernel kernel16, Layout layout,
                         std::size_t samples) {
      if (kernel8 != nullptr)
        kernels.push_back({name + std::string("8") + OutputName(output), kernel8, samples, PixelBytes(output),
                           0, [=](std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t) {
                             Reference::MonoRgb8(layout, output, dst, src, n);
                           }});
      kernels.push_back({name + std::string("16") + OutputName(output), kernel16, 2 * samples,
                         PixelBytes(output), 0,
                         [=](std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t shift) {
                           Reference::MonoRgb16(layout, output, dst, src, n, shift);
                         }});
    };
    add("Mono", narrow.apfnMono[o], wide.apfnMono[o], Layout::kMono, 1);
    add("RGB", narrow.apfnRGB[o], wide.apfnRGB[o], Layout::kRgb, 3);
    add("BGR", output == Output::kBgra ? narrow.pfnBGRToBGRA : nullptr, wide.apfnBGR[o], Layout::kBgr, 3);
  }
}

void AddYuv(std::vector<RowKernel> &kernels) {
  const Kivo::Yuv8Kernels &yuv = *Kivo::ActiveKernels().psYuv8;
  for (const Output output : kOutputs) {
    const auto o = static_cast<unsigned>(output);
    const auto add = [&](const char *name, Kivo::RunKernel kernel, Layout layout, std::size_t bytes,
                         std::size_t skip, std::size_t pixels) {
      kernels.push_back({name + OutputName(output), kernel, bytes, pixels * PixelBytes(output), skip,
                         [=](std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t) {
                           Reference::Yuv8(layout, output, dst, src, n * pixels);
                         }});
    };
    const bool bgr = output == Output::kBgr;
    add("4:1:1", yuv.apfn411[o], Layout::kYuv411, 6, 0, 4);
    add("4:2:2", yuv.apfn422[o], Layout::kYuv422, bgr ? 5 : 4, bgr ? 1 : 0, 2);
    add("4:4:4", yuv.apfn444[o], Layout::kYuv444, 4, 1, 1);
  }
}

void AddReversals(std::vector<RowKernel> &kernels) {
  using Reference::Unit;
  const Kivo::ReverseKernels &reverse = *Kivo::ActiveKernels().psReverse;
  const auto add = [&](const char *name, Kivo::ReverseUnit unit, Unit reference) {
    const std::size_t bytes = Reference::UnitBytes(reference);
    kernels.push_back({name, reverse.apfn[static_cast<unsigned>(unit)], bytes, bytes, 0,
                       [=](std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t) {
                         Reference::ReverseUnits(reference, dst, src, n);
                       }});
  };
  add("reverse 1 byte", Kivo::ReverseUnit::Byte1, Unit::kByte1);
  add("reverse 2 bytes", Kivo::ReverseUnit::Byte2, Unit::kByte2);
  add("reverse 3 bytes", Kivo::ReverseUnit::Byte3, Unit::kByte3);
  add("reverse 4 bytes", Kivo::ReverseUnit::Byte4, Unit::kByte4);
  add("reverse 6 bytes", Kivo::ReverseUnit::Byte6, Unit::kByte6);
  add("reverse 8 bytes", Kivo::ReverseUnit::Byte8, Unit::kByte8);
  add("reverse 4:2:2", Kivo::ReverseUnit::Yuv422, Unit::kYuv422);
  add("reverse 4:1:1", Kivo::ReverseUnit::Yuv411, Unit::kYuv411);
  kernels.push_back({"copy", reverse.pfnCopy, 1, 1, 0,
                     [](std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t) {
                       for (std::size_t i = 0; i < n; ++i) dst[i] = src[i];
                     }});
}

// The rows of one buffer: pitch bytes apart, from the first or from the last row on.
struct Rows {
  std::size_t row_bytes, gap, count;
  bool upward;

  std::size_t Bytes() const { return count == 0 ? 0 : (count - 1) * (row_bytes + gap) + row_bytes; }
  std::ptrdiff_t Pitch() const {
    const auto pitch = static_cast<std::ptrdiff_t>(row_bytes + gap);
    return upward ? -pitch : pitch;
  }
  std::size_t Offset(std::size_t y) const { return (upward ? count - 1 - y : y) * (row_bytes + gap); }
};

void CheckOne(Check &check, const RowKernel &kernel, const Rows &dst_rows, const Rows &src_rows,
              std::size_t n, std::uint32_t shift) {
  const std::vector<std::uint8_t> source =
      MakeSamples8(check.random(), Content::kRandom, src_rows.Bytes(), src_rows.Bytes() + 1);
  Case sample;
  sample.function = kernel.name + " in rows" + (dst_rows.upward ? ", destination upward" : "") +
                    (src_rows.upward ? ", source upward" : "");
  sample.width = static_cast<std::uint32_t>(n);
  sample.height = static_cast<std::uint32_t>(dst_rows.count);
  sample.shift = shift;
  const std::size_t first_dst = dst_rows.count == 0 ? 0 : dst_rows.Offset(0);
  const std::size_t first_src = src_rows.count == 0 ? 0 : src_rows.Offset(0);
  check.Compare(
      sample, source, dst_rows.Bytes(),
      [&](std::uint8_t *dst, const std::uint8_t *src) {
        for (std::size_t y = 0; y < dst_rows.count; ++y)
          kernel.reference(dst + dst_rows.Offset(y), src + src_rows.Offset(y), n, shift);
        return CAMUTL_STS_SUCCESS;
      },
      [&](std::uint8_t *dst, const std::uint8_t *src) {
        const bool stream = Kivo::StreamingPays(1, 1);  // what Compare() has pinned
        kernel.kernel({dst + first_dst, dst_rows.Pitch(), src + first_src, src_rows.Pitch(), n,
                       dst_rows.count, shift, stream});
        return CAMUTL_STS_SUCCESS;
      });
}

}  // namespace

void CheckInRows(Check &check, const std::vector<RowKernel> &kernels) {
  // Bytes between rows: none, few, and lines, which leave every row at the same place in its line.
  constexpr std::size_t kGaps[] = {0, 1, 64, 7, 3, 128, 61};
  const auto gap = [&] { return kGaps[check.random().Below(7)]; };
  const auto upward = [&] { return check.random().Below(2) != 0; };
  const auto all = [&](std::size_t n, std::size_t count) {
    for (const RowKernel &kernel : kernels) {
      const std::size_t src_bytes = n == 0 ? 0 : n * kernel.src_item - kernel.src_skip;
      const Rows dst{n * kernel.dst_item, gap(), count, upward()};
      const Rows src{src_bytes, kernel.src_skip + gap(), count, upward()};
      CheckOne(check, kernel, dst, src, n, check.random().Below(32));
    }
  };
  for (std::size_t n = 0; n <= (check.quick() ? 70u : 200u); ++n) all(n, n % 5);
  for (std::size_t n = 71; n <= 700; n += check.quick() ? 61u : 13u) all(n, 2 + n % 3);
  for (const std::size_t n : {1u, 64u, 1000u}) all(n, 40);
}

void CheckRows(Check &check) {
  std::vector<RowKernel> kernels;
  AddColour(kernels);
  AddYuv(kernels);
  AddReversals(kernels);
  CheckInRows(check, kernels);
}

}  // namespace KivoTest
