// SPDX-License-Identifier: Apache-2.0
// What the library says of errors and of itself.
#include "KivoFrame.h"

const char *kivo_message(kivo_status status) KIVO_NOEXCEPT {
  switch (status) {
    case KIVO_OK:
      return "success";
    case KIVO_NULL_POINTER:
      return "a pointer is null";
    case KIVO_BAD_STRUCT:
      return "the size of a structure is not one that this library knows";
    case KIVO_UNKNOWN_FORMAT:
      return "the pixel format is not one that this library converts";
    case KIVO_UNKNOWN_OPTION:
      return "an option has a value that does not exist";
    case KIVO_EMPTY_IMAGE:
      return "the width or the height is zero";
    case KIVO_TOO_LARGE:
      return "the frame is too large to address";
    case KIVO_NO_BYTE_ORDER:
      return "only formats of 16-bit words can be big-endian";
    case KIVO_PARTIAL_GROUP:
      return "the width is not a whole number of YUV groups (2 pixels for 4:2:2, 4 for 4:1:1)";
    case KIVO_CROP_OUTSIDE:
      return "the region does not lie within the frame";
    case KIVO_SPLIT_GROUP:
      return "the region cuts a group of YUV pixels in two (2 pixels for 4:2:2, 4 for 4:1:1)";
    case KIVO_ACPI_SIZE:
      return "ACPI demosaicing needs an even width and an even height of at least 4 each";
    case KIVO_HALF_SIZE:
      return "half size needs at least 2 x 2 pixels";
    case KIVO_BAD_SHIFT:
      return "a shift is for samples of more than 8 bits and pictures of 8, and lies between 0 and 15";
    case KIVO_BAD_RANGE:
      return "a range is for pictures of 8 bits, not for YUV, and not beside a shift";
    case KIVO_BAD_LEVELS:
      return "levels can be spread in pictures of 16 bits only";
    case KIVO_SHORT_STRIDE:
      return "the row stride is smaller than a row";
    case KIVO_SHORT_BUFFER:
      return "the buffer is shorter than the frame";
    case KIVO_SHORT_PICTURE_STRIDE:
      return "the row stride of the picture is smaller than a row of it";
    case KIVO_SHORT_PICTURE:
      return "the destination is smaller than the image";
    case KIVO_OVERLAP:
      return "the frame and the picture overlap";
    case KIVO_ROWS_OUTSIDE:
      return "the rows do not lie within the picture";
    case KIVO_SHORT_SCRATCH:
      return "the scratch memory is smaller than the plan needs";
    case KIVO_OUT_OF_MEMORY:
      return "not enough memory";
    case KIVO_SCHEDULER_FAILED:
      return "the scheduler did not run every job";
    case KIVO_BAD_COLOUR:
      return "colour settings are not for YUV or samples, nor beside a range or a shift";
    case KIVO_BAD_BLACK:
      return "a black level is not a number from 0 to 65535";
    case KIVO_BAD_GAIN:
      return "a gain is not a number from 0 to 1024";
    case KIVO_BAD_MATRIX:
      return "a coefficient of the colour matrix is not a number between -4 and 4";
    case KIVO_BAD_POINTS:
      return "the black and the white point are not numbers from 0 to 67108864, the first below the second";
    case KIVO_BAD_GAMMA:
      return "the gamma is not a number from 0.1 to 10";
    case KIVO_BAD_TABLE:
      return "a tone table has 256 to 4096 entries";
    case KIVO_BAD_PERCENT:
      return "the percentiles are not numbers from 0 to 100, the first below the second";
  }
  return "unknown error";
}

uint32_t kivo_version(void) KIVO_NOEXCEPT {
  return KIVO_VERSION;
}
