/* SPDX-License-Identifier: Apache-2.0 */
/* From a camera's buffer to a texture on two threads: packed 12-bit Bayer samples in padded rows to RGBA in
   rows as far apart as the graphics library wants them. The camera is made up: it sends one colour. */
#include <KivoFrame.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum {
  WIDTH = 1936,
  HEIGHT = 1216,
  CAMERA_STRIDE = 2944,  /* 1936 * 12 / 8 = 2904 bytes of samples, and 40 that pad the row */
  TEXTURE_STRIDE = 8192, /* 1936 * 4 = 7744 bytes of pixels, and 448 that stay as they are */
  FRAMES = 3,
  PADDING = 0xA5
};

/* In place of a driver: fills the buffer with a frame of BayerRG12p. Two samples take three bytes. */
static void wait_for_frame(uint8_t *buffer) {
  const unsigned red = 0xE31, green = 0x7A2, blue = 0x1C3;
  for (unsigned y = 0; y < HEIGHT; ++y) {
    const unsigned first = y % 2 == 0 ? red : green, second = y % 2 == 0 ? green : blue;
    uint8_t *row = buffer + (size_t)y * CAMERA_STRIDE;
    for (unsigned x = 0; x < WIDTH; x += 2, row += 3) {
      row[0] = (uint8_t)(first & 0xFF);
      row[1] = (uint8_t)(first >> 8 | (second & 0xF) << 4);
      row[2] = (uint8_t)(second >> 4);
    }
  }
}

/* Whether every pixel is of the camera's colour, and every byte between the rows is as it was. */
static int is_as_sent(const uint8_t *texture) {
  static const uint8_t pixel[4] = {0xE3, 0x7A, 0x1C, 0xFF};
  for (unsigned y = 0; y < HEIGHT; ++y) {
    const uint8_t *row = texture + (size_t)y * TEXTURE_STRIDE;
    for (unsigned x = 0; x < WIDTH; ++x)
      if (memcmp(row + (size_t)4 * x, pixel, sizeof pixel) != 0) return 0;
    for (unsigned i = 4 * WIDTH; i < TEXTURE_STRIDE; ++i)
      if (row[i] != PADDING) return 0;
  }
  return 1;
}

int main(void) {
  const size_t camera_bytes = (size_t)CAMERA_STRIDE * HEIGHT, texture_bytes = (size_t)TEXTURE_STRIDE * HEIGHT;
  uint8_t *buffer = calloc(1, camera_bytes);
  uint8_t *texture = malloc(texture_bytes);
  const kivo_format *format = kivo_format_find("BayerRG12p");
  kivo_plan *plan = NULL;
  kivo_pool *pool = NULL;
  kivo_status status = KIVO_OUT_OF_MEMORY;

  if (buffer != NULL && texture != NULL) {
    /* Once: what the pictures shall be, and the threads. */
    kivo_options options = KIVO_OPTIONS_INIT;
    options.pixels = KIVO_RGBA8;
    options.hint = KIVO_HINT_STREAMED; /* the graphics processor reads it, not this one */
    memset(texture, PADDING, texture_bytes);
    status =
        format == NULL ? KIVO_UNKNOWN_FORMAT : kivo_plan_make(format->code, WIDTH, HEIGHT, &options, &plan);
    if (status == KIVO_OK) status = kivo_pool_make(2, &pool);
  }
  /* For every frame: where it is, and where the picture goes. Nothing is allocated here. */
  for (int i = 0; i < FRAMES && status == KIVO_OK; ++i) {
    const kivo_frame frame = {buffer, camera_bytes, CAMERA_STRIDE};
    const kivo_picture picture = {texture, texture_bytes, TEXTURE_STRIDE};
    wait_for_frame(buffer);
    status = kivo_run_on(plan, &frame, &picture, kivo_pool_run, pool);
    /* Here: upload the texture. */
  }
  int code = 1;
  if (status != KIVO_OK)
    fprintf(stderr, "texture: cannot convert: %s\n", kivo_message(status));
  else if (!is_as_sent(texture))
    fprintf(stderr, "texture: the picture is not what the camera sent\n");
  else
    code = 0;
  if (code == 0)
    printf("%d frames of %s, %d x %d, on %u threads\n", FRAMES, format->name, WIDTH, HEIGHT,
           (unsigned)kivo_pool_threads(pool));
  kivo_pool_free(pool);
  kivo_plan_free(plan);
  free(texture);
  free(buffer);
  return code;
}
