// SPDX-License-Identifier: Apache-2.0
// Which converter serves which pixel format.
#ifndef KIVO_TESTS_SUPPORT_DISPATCH_TABLE_H
#define KIVO_TESTS_SUPPORT_DISPATCH_TABLE_H

#include <cstdint>

#include "KivoCamUtl.h"

namespace KivoTest {

struct DispatchRow {
  std::uint32_t code;
  BgraConverter grey_bgra;  // without demosaic
  BgrConverter grey_bgr;
  BgraConverter standard_bgra;  // with demosaic, standard mode
  BgrConverter standard_bgr;
  BgraConverter acpi_bgra;  // with demosaic, ACPI mode
  BgrConverter acpi_bgr;
};

inline const DispatchRow kDispatchRows[] = {
    {0x01080001, ConvMono8ToBGRA, ConvMono8ToBGR, ConvMono8ToBGRA, ConvMono8ToBGR, ConvMono8ToBGRA,
     ConvMono8ToBGR},
    {0x01080008, ConvMono8ToBGRA, ConvMono8ToBGR, ConvByrGR8ToBGRA, ConvByrGR8ToBGR, ConvByrGR8ToBGRAACPI,
     ConvByrGR8ToBGRACPI},
    {0x01080009, ConvMono8ToBGRA, ConvMono8ToBGR, ConvByrRG8ToBGRA, ConvByrRG8ToBGR, ConvByrRG8ToBGRAACPI,
     ConvByrRG8ToBGRACPI},
    {0x0108000A, ConvMono8ToBGRA, ConvMono8ToBGR, ConvByrGB8ToBGRA, ConvByrGB8ToBGR, ConvByrGB8ToBGRAACPI,
     ConvByrGB8ToBGRACPI},
    {0x0108000B, ConvMono8ToBGRA, ConvMono8ToBGR, ConvByrBG8ToBGRA, ConvByrBG8ToBGR, ConvByrBG8ToBGRAACPI,
     ConvByrBG8ToBGRACPI},
    {0x01100003, ConvMono10ToBGRA, ConvMono10ToBGR, ConvMono10ToBGRA, ConvMono10ToBGR, ConvMono10ToBGRA,
     ConvMono10ToBGR},
    {0x01100005, ConvMono12ToBGRA, ConvMono12ToBGR, ConvMono12ToBGRA, ConvMono12ToBGR, ConvMono12ToBGRA,
     ConvMono12ToBGR},
    {0x01100007, ConvMono16ToBGRA, ConvMono16ToBGR, ConvMono16ToBGRA, ConvMono16ToBGR, ConvMono16ToBGRA,
     ConvMono16ToBGR},
    {0x0110000C, ConvMono10ToBGRA, ConvMono10ToBGR, ConvByrGR10ToBGRA, ConvByrGR10ToBGR, ConvByrGR10ToBGRA,
     ConvByrGR10ToBGR},
    {0x0110000D, ConvMono10ToBGRA, ConvMono10ToBGR, ConvByrRG10ToBGRA, ConvByrRG10ToBGR, ConvByrRG10ToBGRA,
     ConvByrRG10ToBGR},
    {0x0110000E, ConvMono10ToBGRA, ConvMono10ToBGR, ConvByrGB10ToBGRA, ConvByrGB10ToBGR, ConvByrGB10ToBGRA,
     ConvByrGB10ToBGR},
    {0x0110000F, ConvMono10ToBGRA, ConvMono10ToBGR, ConvByrBG10ToBGRA, ConvByrBG10ToBGR, ConvByrBG10ToBGRA,
     ConvByrBG10ToBGR},
    {0x01100010, ConvMono12ToBGRA, ConvMono12ToBGR, ConvByrGR12ToBGRA, ConvByrGR12ToBGR, ConvByrGR12ToBGRA,
     ConvByrGR12ToBGR},
    {0x01100011, ConvMono12ToBGRA, ConvMono12ToBGR, ConvByrRG12ToBGRA, ConvByrRG12ToBGR, ConvByrRG12ToBGRA,
     ConvByrRG12ToBGR},
    {0x01100012, ConvMono12ToBGRA, ConvMono12ToBGR, ConvByrGB12ToBGRA, ConvByrGB12ToBGR, ConvByrGB12ToBGRA,
     ConvByrGB12ToBGR},
    {0x01100013, ConvMono12ToBGRA, ConvMono12ToBGR, ConvByrBG12ToBGRA, ConvByrBG12ToBGR, ConvByrBG12ToBGRA,
     ConvByrBG12ToBGR},
    {0x02180014, ConvRGB8PToBGRA, ConvRGB8PToBGR, ConvRGB8PToBGRA, ConvRGB8PToBGR, ConvRGB8PToBGRA,
     ConvRGB8PToBGR},
    {0x02180015, ConvBGR8PToBGRA, ConvBGR8PToBGR, ConvBGR8PToBGRA, ConvBGR8PToBGR, ConvBGR8PToBGRA,
     ConvBGR8PToBGR},
    {0x02300019, ConvBGR10PToBGRA, ConvBGR10PToBGR, ConvBGR10PToBGRA, ConvBGR10PToBGR, ConvBGR10PToBGRA,
     ConvBGR10PToBGR},
    {0x0230001B, ConvBGR12PToBGRA, ConvBGR12PToBGR, ConvBGR12PToBGRA, ConvBGR12PToBGR, ConvBGR12PToBGRA,
     ConvBGR12PToBGR},
    {0x020C001E, ConvYUV411PToBGRA, ConvYUV411PToBGR, ConvYUV411PToBGRA, ConvYUV411PToBGR, ConvYUV411PToBGRA,
     ConvYUV411PToBGR},
    {0x0210001F, ConvYUV422PToBGRA, ConvYUV422PToBGR, ConvYUV422PToBGRA, ConvYUV422PToBGR, ConvYUV422PToBGRA,
     ConvYUV422PToBGR},
    {0x02180020, ConvYUV444PToBGRA, ConvYUV444PToBGR, ConvYUV444PToBGRA, ConvYUV444PToBGR, ConvYUV444PToBGRA,
     ConvYUV444PToBGR},
};

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_DISPATCH_TABLE_H
