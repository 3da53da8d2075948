// SPDX-License-Identifier: Apache-2.0
// The requests of face.h, answered by kivo/convert.hpp.
#include <kivo/convert.hpp>
#include <string>
#include <vector>

#include "face.h"

namespace {

kivo::Errc answer(const request &r) {
  const kivo::Format *format = kivo::findFormat(r.format);
  if (format == nullptr) return kivo::Errc::UnknownFormat;
  std::vector<std::uint8_t> bytes(1 << 20);
  std::FILE *file = std::fopen(r.bytes, "rb");
  if (file == nullptr) std::exit(1);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  const std::uint8_t nothing = 0;
  const kivo::FrameView view{
      bytes.empty() ? &nothing : bytes.data(), bytes.size(), format->code, r.width, r.height, r.stride,
      static_cast<kivo::ByteOrder>(r.big)};
  kivo::Options options;
  options.pixels = static_cast<kivo::Pixels>(r.pixels);
  options.bayer = static_cast<kivo::Bayer>(r.bayer);
  options.mirror = r.mirror != 0;
  options.flip = r.flip != 0;
  if (r.shift >= 0) options.shift = static_cast<std::uint32_t>(r.shift);
  options.crop = {r.x, r.y, r.w, r.h};
  if (r.range != 0) {
    options.range = kivo::Range();
    const kivo::Result<kivo::Range> range = kivo::sampleRange(view, options);
    if (!range) return range.error();
    options.range = *range;
  }
  const kivo::Result<kivo::Image> image = kivo::convert(view, options);
  if (!image) return image.error();
  file = std::fopen(r.out, "wb");
  if (file == nullptr) std::exit(1);
  std::fwrite(image->pixels.data(), 1, image->pixels.size(), file);
  std::fclose(file);
  return kivo::Errc::Ok;
}

}  // namespace

int main() {
  for (request r; next_request(&r) != 0;) {
    const kivo::Errc error = answer(r);
    std::printf("%d %s", static_cast<int>(error), kivo::message(error));
    const kivo::Format *near[3];
    const std::size_t count = error == kivo::Errc::UnknownFormat ? kivo_format_suggest(r.format, near, 3) : 0;
    for (std::size_t i = 0; i < count; ++i) std::printf("%s%s", i == 0 ? ": " : " or ", near[i]->name);
    std::printf("\n");
  }
}
