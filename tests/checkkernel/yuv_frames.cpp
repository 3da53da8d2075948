// SPDX-License-Identifier: Apache-2.0
// The YUV kernels of every layout by every matrix: in rows, and with every colour there is.
#include "checkkernel/rows.h"
#include "frame/frame_targets.h"

namespace KivoTest {
namespace {

Kivo::RunKernel Kernel(Kivo::YuvLayout layout, Kivo::YuvMatrix matrix, Output output) {
  return Kivo::ActiveFrameKernels().psYuvFrames->apfn[static_cast<unsigned>(layout)][static_cast<unsigned>(
      matrix)][static_cast<unsigned>(output)];
}

std::string KernelName(Kivo::YuvLayout layout, Kivo::YuvMatrix matrix, Output output) {
  constexpr const char *kLayouts[] = {"UYV", "UYVY", "YUYV", "UYYVYY", "YYUYYV"};
  constexpr const char *kMatrices[] = {"YUV", "full 601", "limited 601", "limited 709"};
  return std::string(kLayouts[static_cast<unsigned>(layout)]) + " " +
         kMatrices[static_cast<unsigned>(matrix)] + OutputName(output);
}

template <typename Function>
void ForMatrices(Function function) {
  for (unsigned matrix = 0; matrix < Kivo::c_uiYuvMatrices; ++matrix)
    for (const Output output : kOutputs) function(static_cast<Kivo::YuvMatrix>(matrix), output);
}

}  // namespace

void CheckYuvFrames(Check &check) {
  std::vector<RowKernel> kernels;
  for (unsigned i = 0; i < Kivo::c_uiYuvLayouts; ++i) {
    const auto layout = static_cast<Kivo::YuvLayout>(i);
    ForMatrices([&](Kivo::YuvMatrix matrix, Output output) {
      kernels.push_back({KernelName(layout, matrix, output), Kernel(layout, matrix, output),
                         Reference::YuvGroupBytes(layout),
                         Reference::YuvGroupPixels(layout) * PixelBytes(output), 0,
                         [=](std::uint8_t *dst, const std::uint8_t *src, std::size_t n, std::uint32_t) {
                           Reference::YuvFrame(layout, matrix, output, dst, src, n);
                         }});
    });
  }
  CheckInRows(check, kernels);
}

// All 2^24 combinations of U, Y and V, a plane of constant V at a time. Where checks are slow, every third V.
void CheckYuvFramesExhaustive(Check &check) {
  constexpr auto layout = Kivo::YuvLayout::Uyv;
  constexpr std::size_t pixels = 65536;
  std::vector<std::uint8_t> source(3 * pixels);
  ForMatrices([&](Kivo::YuvMatrix matrix, Output output) {
    const Kivo::RunKernel kernel = Kernel(layout, matrix, output);
    for (int v = 0; v < 256; v += check.quick() ? 3 : 1) {
      for (std::size_t i = 0; i < pixels; ++i) {
        source[3 * i] = static_cast<std::uint8_t>(i >> 8);
        source[3 * i + 1] = static_cast<std::uint8_t>(i);
        source[3 * i + 2] = static_cast<std::uint8_t>(v);
      }
      Case sample;
      sample.function = KernelName(layout, matrix, output) + " V " + std::to_string(v);
      sample.width = 256;
      sample.height = 256;
      sample.pixel_bytes = PixelBytes(output);
      check.Single(
          sample, source, pixels * PixelBytes(output),
          [&](std::uint8_t *dst, const std::uint8_t *src) {
            Reference::YuvFrame(layout, matrix, output, dst, src, pixels);
            return CAMUTL_STS_SUCCESS;
          },
          [&](std::uint8_t *dst, const std::uint8_t *src) {
            kernel({dst, 0, src, 0, pixels, 1, 0, false});
            return CAMUTL_STS_SUCCESS;
          });
    }
  });
}

}  // namespace KivoTest
