// SPDX-License-Identifier: Apache-2.0
// The converters and ReverseImg() with buffers of exactly the bytes of their contracts, on every target.
#include "support/converters.h"

#include <algorithm>
#include <cstring>

#include "harness.h"
#include "simd/targets.h"

namespace KivoFuzz {
namespace {

constexpr std::uint8_t kUntouched = 0xA6;

// Of nothing, too, which is somewhere.
template <class B>
auto *At(B &bytes) {
  static std::uint8_t s_nothing = 0;
  decltype(bytes.data()) nothing = &s_nothing;
  return bytes.empty() ? nothing : bytes.data();
}

// A destination in the middle of nothing that may change.
Bytes Convert(const KivoTest::Converter &converter, Kivo::Target target, const std::uint8_t *src,
              std::uint32_t width, std::uint32_t height, std::uint32_t shift) {
  Kivo::PinTarget(target);
  Bytes picture(KivoTest::DestinationBytes(converter, width, height), kUntouched);
  Require(converter(At(picture), src, width, height, shift) == CAMUTL_STS_SUCCESS, "a converter converts");
  return picture;
}

void Reversed(Input &input, Kivo::Target target, const Bytes &bytes) {
  static const std::uint32_t kCodes[] = {
      CAMUTL_PFNC_MONO8,           CAMUTL_PFNC_MONO12,        CAMUTL_PFNC_BAYER_RG8,
      CAMUTL_PFNC_BAYER_GB12,      CAMUTL_PFNC_RGB8,          CAMUTL_PFNC_BGR10,
      CAMUTL_PFNC_YUV411_8_UYYVYY, CAMUTL_PFNC_YUV422_8_UYVY, CAMUTL_PFNC_YUV8_UYV};
  const std::uint32_t code = kCodes[input.Below(9)];
  const std::uint32_t width = 4 * (1 + input.Below(40)), height = 1 + input.Below(20);
  const bool horizontal = input.Flag(), vertical = input.Flag();
  Bytes src(std::size_t{width} * height * BitPerPixel(code) / 8);
  for (std::size_t i = 0; i < src.size(); ++i)
    src[i] = bytes.empty() ? static_cast<std::uint8_t>(i) : bytes[i % bytes.size()];
  Bytes once(src.size(), kUntouched), twice(src.size(), kUntouched), plain(src.size(), kUntouched);
  Kivo::PinTarget(target);
  const CamUtlStatus status = ReverseImg(once.data(), src.data(), code, width, height, horizontal, vertical);
  if (status != CAMUTL_STS_SUCCESS) {
    Require(std::all_of(once.begin(), once.end(), [](std::uint8_t b) { return b == kUntouched; }),
            "a refusal writes nothing");
    return;
  }
  Require(ReverseImg(twice.data(), once.data(), code, width, height, horizontal, vertical) == status,
          "what was reversed can be");
  Require(twice == src, "reversed twice is the frame");
  Kivo::PinTarget(Kivo::Target::Baseline);
  Require(ReverseImg(plain.data(), src.data(), code, width, height, horizontal, vertical) == status &&
              plain == once,
          "every target reverses alike");
}

void Run(Input &input) {
  static const bool prepared = PrepareLUT() == CAMUTL_STS_SUCCESS;
  Require(prepared, "the tables can be filled");
  const auto target = static_cast<Kivo::Target>(input.Below(Kivo::c_uiTargets));
  if (!Kivo::PinTarget(target)) return;
  const std::vector<KivoTest::Converter> &all = KivoTest::AllConverters();
  const std::uint32_t which = input.Byte();
  const KivoTest::Converter &converter = all[which % all.size()];
  const std::uint32_t shift = input.Below(64);
  const std::uint32_t width = input.Below(150), height = input.Below(14);
  // Streams whatever its size, or nothing.
  Kivo::PinStreamingThreshold(input.Flag() ? 0 : SIZE_MAX);
  Input numbers = input;
  const Bytes src = input.Frame(KivoTest::SourceBytes(converter, width, height));
  const Bytes picture = Convert(converter, target, At(src), width, height, shift);
  Kivo::PinStreamingThreshold(SIZE_MAX);
  Require(Convert(converter, Kivo::Target::Baseline, At(src), width, height, shift) == picture,
          "every target converts alike");
  // At another address, where vectors begin elsewhere.
  const std::size_t shifted = 1 + numbers.Below(63);
  Bytes moved(src.size() + shifted);
  std::copy(src.begin(), src.end(), moved.begin() + static_cast<std::ptrdiff_t>(shifted));
  Require(Convert(converter, target, moved.data() + shifted, width, height, shift) == picture,
          "where a frame lies plays no part");
  Reversed(numbers, target, src);
}

}  // namespace
}  // namespace KivoFuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  KivoFuzz::Input input(data, size);
  KivoFuzz::Run(input);
  return 0;
}
