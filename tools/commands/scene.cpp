// SPDX-License-Identifier: Apache-2.0
// scene: the test scene.
#include "commands/commands.h"
#include "pictures/draw_scene.h"
#include "words/failure.h"
#include "words/numbers.h"
#include "words/text.h"

namespace tool {

void runScene(const SceneOptions &options) {
  const PictureType type = pictureType(options.output, options.to);
  const Size size = parseSize(options.size, "--size");
  if (size.width < kSmallestScene || size.height < kSmallestScene || size.width > kLargestScene ||
      size.height > kLargestScene)
    throw Failure(Exit::Usage, "--size",
                  printed("the scene can be drawn from %ux%u to %ux%u pixels", kSmallestScene, kSmallestScene,
                          kLargestScene, kLargestScene));
  savePicture(drawScene(size.width, size.height), options.output, type, options.rules);
}

}  // namespace tool
