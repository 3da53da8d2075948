// SPDX-License-Identifier: Apache-2.0
// A plug-in on the C++ layer, which is built twice: with the layer as it is, and with one whose table of
// formats is shorter.
#include <KivoCamUtl.hpp>
#include <iterator>
#include <vector>

// What users have in types of theirs, which are as visible as they make them: no compiler may object.
struct Held {
  kivo::Bytes bytes;
  kivo::ConvertOptions options;
  kivo::FrameView view;
  kivo::Rect region;
  kivo::RwhInfo info;
  kivo::SampleRange range;
  kivo::Result<kivo::Frame> frame;
  kivo::Result<kivo::Image> image;
};

extern "C" {

__attribute__((visibility("default"))) std::size_t formatCount() {
  return std::size(kivo::kFormats);
}

// 1 if a frame of this format is converted, 0 if there is no such format, -1 if something else is wrong.
__attribute__((visibility("default"))) int convertFormat(const char *name) {
  const kivo::Format *format = kivo::findFormat(name);
  if (format == nullptr) return 0;
  if (kivo::findFormat(format->code) != format) return -1;
  const std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kivo::frameBytes(*format, 8, 4)));
  Held held{{},
            {},
            {bytes.data(), bytes.size(), format->code, 8, 4},
            {},
            {},
            {},
            kivo::Errc::NoHeader,
            kivo::Errc::NoHeader};
  held.image = kivo::convert(held.view, held.options);
  held.frame = kivo::reverse(held.view, true, false);
  return held.image && held.frame && held.image->pixels.size() == 8 * 4 * 4 ? 1 : -1;
}
}
