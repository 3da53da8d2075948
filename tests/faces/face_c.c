/* SPDX-License-Identifier: Apache-2.0 */
/* The requests of face.h, answered by KivoFrame.h. */
#include <KivoFrame.h>
#include <stdlib.h>

#include "face.h"

static unsigned char bytes[1 << 20], pixels[1 << 22];

static kivo_status answer(const struct request *r) {
  const kivo_format *format = kivo_format_find(r->format);
  if (format == NULL) return KIVO_UNKNOWN_FORMAT;
  FILE *file = fopen(r->bytes, "rb");
  if (file == NULL) exit(1);
  const size_t size = fread(bytes, 1, sizeof bytes, file);
  fclose(file);
  const kivo_frame frame = {bytes, size, r->stride};
  kivo_options options = KIVO_OPTIONS_INIT;
  options.pixels = r->pixels;
  options.bayer = r->bayer;
  options.byte_order = r->big;
  options.flags = (r->mirror ? KIVO_MIRROR : 0) | (r->flip ? KIVO_FLIP : 0);
  if (r->shift >= 0) options.flags |= KIVO_WITH_SHIFT, options.shift = (uint32_t)r->shift;
  options.crop_x = r->x, options.crop_y = r->y, options.crop_width = r->w, options.crop_height = r->h;
  kivo_plan *plan = NULL;
  kivo_status status = KIVO_OK;
  if (r->range) {
    options.flags |= KIVO_WITH_RANGE;
    status = kivo_plan_make(format->code, r->width, r->height, &options, &plan);
    if (status == KIVO_OK) status = kivo_sample_range(plan, &frame, &options.range_low, &options.range_high);
    kivo_plan_free(plan);
    if (status != KIVO_OK) return status;
  }
  status = kivo_plan_make(format->code, r->width, r->height, &options, &plan);
  const kivo_picture picture = {pixels, sizeof pixels, 0};
  if (status == KIVO_OK) status = kivo_run(plan, &frame, &picture, NULL, 0);
  if (status == KIVO_OK) {
    file = fopen(r->out, "wb");
    if (file == NULL) exit(1);
    fwrite(pixels, 1, kivo_plan_picture_bytes(plan), file);
    fclose(file);
  }
  kivo_plan_free(plan);
  return status;
}

int main(void) {
  struct request r;
  while (next_request(&r)) {
    const kivo_status status = answer(&r);
    printf("%d %s", (int)status, kivo_message(status));
    const kivo_format *near[3];
    const size_t count = status == KIVO_UNKNOWN_FORMAT ? kivo_format_suggest(r.format, near, 3) : 0;
    for (size_t i = 0; i < count; ++i) printf("%s%s", i == 0 ? ": " : " or ", near[i]->name);
    printf("\n");
  }
  return 0;
}
