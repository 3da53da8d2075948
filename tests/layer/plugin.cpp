// SPDX-License-Identifier: Apache-2.0
// A plug-in on the C++ layer, which is built with the layer as it is and with others.
#include <KivoCamUtl.hpp>
#include <vector>

// What users have in types of theirs, which are as visible as they make them: no compiler may object. Each
// plug-in has its own type.
struct KIVO_HELD {
  kivo::Bytes bytes;
  kivo::Options options;
  kivo::FrameView view;
  kivo::Region region;
  kivo::RwhInfo info;
  kivo::Range range;
  kivo::Result<kivo::Frame> frame;
  kivo::Result<kivo::Image> image;
};

extern "C" {

__attribute__((visibility("default"))) std::size_t memoryBytes() {
  return sizeof(kivo::Bytes);
}

__attribute__((visibility("default"))) const char *textOf() {
  return kivo::message(kivo::Errc::NotAFile);
}

// 1 if a frame of this format is converted, 0 if there is no such format, -1 if something else is wrong.
__attribute__((visibility("default"))) int convertFormat(const char *name) {
  const kivo::Format *format = kivo::findFormat(name);
  if (format == nullptr) return 0;
  if (kivo::findFormat(format->code) != format) return -1;
  const std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kivo_frame_bytes(format->code, 8, 4)));
  KIVO_HELD held{{}, {}, {}, {}, {}, {}, kivo::Errc::NoHeader, kivo::Errc::NoHeader};
  held.view.data = bytes.data();
  held.view.size = bytes.size();
  held.view.format = format->code;
  held.view.width = 8;
  held.view.height = 4;
  held.image = kivo::convert(held.view, held.options);
  held.frame = kivo::reverse(held.view, true, false);
  if (!held.image || held.image->width != 8 || held.image->pixels.size() != 8 * 4 * 4) return -1;
  return held.frame && held.frame->height == 4 ? 1 : -1;
}
}
