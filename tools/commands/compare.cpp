// SPDX-License-Identifier: Apache-2.0
// compare: how far two pictures are apart, at the depth that their files have.
#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "commands/commands.h"
#include "files/file_list.h"
#include "pictures/picture.h"
#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

// Peak signal-to-noise ratio in decibels; infinite for equal pictures.
double psnr(double meanSquare, double peak) {
  return 10 * std::log10(peak * peak / meanSquare);
}

}  // namespace

void runCompare(const CompareOptions &options) {
  refuseTwice({options.first, options.second});
  const Picture a = loadPicture(options.first, Depth::Kept);
  const Picture b = loadPicture(options.second, Depth::Kept);
  if (a.width != b.width || a.height != b.height)
    throw Failure(Exit::Input, options.second,
                  printed("is %" PRIu32 " x %" PRIu32 " pixels, %s is %" PRIu32 " x %" PRIu32, b.width,
                          b.height, options.first.c_str(), a.width, a.height));
  // To bring one to the depth of the other would invent differences, or hide them.
  if (a.bits != b.bits)
    throw Failure(Exit::Input, options.second,
                  printed("has %u bits a sample, %s has %u: only pictures of one depth can be compared",
                          b.bits, options.first.c_str(), a.bits));

  int most[3] = {0, 0, 0};
  double squares[3] = {0, 0, 0};
  std::uint64_t differing = 0;
  for (std::size_t i = 0; i < a.samples(); i += 3) {
    bool same = true;
    for (std::size_t c = 0; c < 3; ++c) {
      const int difference = std::abs(a.sample(i + c) - b.sample(i + c));
      most[c] = std::max(most[c], difference);
      squares[c] += double(difference) * difference;
      same = same && difference == 0;
    }
    if (!same) ++differing;
  }
  const std::size_t pixels = a.samples() / 3;
  for (double &sum : squares) sum /= static_cast<double>(pixels);
  const double all = (squares[0] + squares[1] + squares[2]) / 3;
  const int worst = std::max({most[0], most[1], most[2]});
  const auto decibels = [&](double meanSquare) -> std::string {
    if (meanSquare == 0) return options.json ? "null" : "equal";
    return printed(options.json ? "%.4f" : "%.2f dB", psnr(meanSquare, a.bits == 16 ? 65535 : 255));
  };

  if (options.json) {
    std::printf("{\"a\": %s, \"b\": %s, \"width\": %" PRIu32 ", \"height\": %" PRIu32
                ", \"bits\": %u, \"differing_pixels\": %" PRIu64
                ", \"max_difference\": %d, \"max_difference_rgb\": [%d, %d, %d], "
                "\"psnr_rgb\": [%s, %s, %s], \"cpsnr\": %s}\n",
                jsonString(options.first).c_str(), jsonString(options.second).c_str(), a.width, a.height,
                a.bits, differing, worst, most[0], most[1], most[2], decibels(squares[0]).c_str(),
                decibels(squares[1]).c_str(), decibels(squares[2]).c_str(), decibels(all).c_str());
    return;
  }
  std::printf("size              %" PRIu32 " x %" PRIu32 "\n", a.width, a.height);
  std::printf("depth             %u bits\n", a.bits);
  std::printf("differing pixels  %" PRIu64 " of %zu\n", differing, pixels);
  std::printf("max difference    %d (R %d, G %d, B %d)\n", worst, most[0], most[1], most[2]);
  std::printf("PSNR              R %s, G %s, B %s\n", decibels(squares[0]).c_str(),
              decibels(squares[1]).c_str(), decibels(squares[2]).c_str());
  std::printf("CPSNR             %s\n", decibels(all).c_str());
}

}  // namespace tool
