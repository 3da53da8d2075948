// SPDX-License-Identifier: Apache-2.0
// RWH files: three readers, which have to agree about what one is.
#include <KivoCamUtl.h>

#include <KivoCamUtl.hpp>
#include <cstring>

#include "frames/raw_input.h"
#include "harness.h"
#include "words/failure.h"

namespace KivoFuzz {
namespace {

constexpr std::uint32_t kMostBytes = 1U << 20;

void Run(const std::uint8_t *data, std::size_t size) {
  static const MemoryFile file, copy;
  file.Hold(data, size);
  const std::string name = file.name();

  const kivo::Result<kivo::Frame> loaded = kivo::loadRwh(name.c_str());
  if (loaded) {
    const kivo::FrameView view = loaded->view();
    // Whether or not its rows can be saved: nothing is read beyond them.
    (void)kivo::saveRwh(view, copy.name().c_str());
  }

  // The header alone first: it may say four gigabytes, which this reader believes.
  std::uint32_t code = 0, width = 0, height = 0, row = 0;
  Require(LoadRWH(name.c_str(), nullptr, &code, &width, &height, &row) == CAMUTL_STS_SUCCESS,
          "a file that is there can be opened");
  if (loaded)
    Require(loaded->format == code && loaded->width == width && loaded->height == height,
            "two readers read one header");
  if (row * height <= kMostBytes) {
    std::uint8_t *frame = nullptr;
    Require(
        LoadRWH(name.c_str(), &frame, &code, &width, &height, &row) == CAMUTL_STS_SUCCESS && frame != nullptr,
        "a file that is there can be read");
    if (loaded)
      Require(std::memcmp(frame, loaded->data.data(), loaded->data.size()) == 0,
              "two readers read one frame");
    std::free(frame);
  }

  tool::InputOptions options;
  options.file = name;
  bool taken = true;
  try {
    const tool::RawInput input = tool::loadInput(options);
    Require(input.format != nullptr, "the tool knows the format of what it takes");
  } catch (const tool::Failure &) {
    taken = false;
  }
  Require(taken == static_cast<bool>(loaded), "the tool takes what the layer takes");
}

}  // namespace
}  // namespace KivoFuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  KivoFuzz::Run(data, size);
  return 0;
}
