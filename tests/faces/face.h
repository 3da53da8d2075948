/* SPDX-License-Identifier: Apache-2.0 */
/* What the programs of this test have in common: a request is one line on standard input,
 *
 *     FORMAT WIDTH HEIGHT STRIDE PIXELS BAYER SHIFT RANGE X Y W H MIRROR FLIP BIG BYTES OUT
 *
 * of words without spaces: a shift of -1 is none, RANGE says whether the samples of the frame are spread, and
 * BYTES is the file that holds the frame. The answer is one line: the code, then what is wrong; a picture
 * goes to OUT. */
#ifndef KIVO_TESTS_FACE_H
#define KIVO_TESTS_FACE_H

#include <stdint.h>
#include <stdio.h>

struct request {
  char format[64], bytes[512], out[512];
  uint32_t width, height, pixels, bayer, range, x, y, w, h, mirror, flip, big;
  long stride, shift;
};

static int next_request(struct request *r) {
  return scanf("%63s %u %u %ld %u %u %ld %u %u %u %u %u %u %u %u %511s %511s", r->format, &r->width,
               &r->height, &r->stride, &r->pixels, &r->bayer, &r->shift, &r->range, &r->x, &r->y, &r->w,
               &r->h, &r->mirror, &r->flip, &r->big, r->bytes, r->out) == 17;
}

#endif
