// SPDX-License-Identifier: Apache-2.0
/**
 * @file KivoCamUtl.hpp
 * C++17 layer over KivoCamUtl.h: the same converters, with every check that the C functions leave to the
 * caller.
 *
 * A frame is described by a kivo::FrameView that knows its format, size, row stride, byte order and length in
 * bytes. kivo::convert() refuses what does not fit instead of reading past a buffer, and accepts buffers
 * exactly as cameras deliver them: samples that share bytes are unpacked, big-endian words swapped, padded
 * rows packed, and the YUV sources whose C converters read a wider stride than the format has are re-spaced.
 * The lookup tables are prepared on first use. The Bayer algorithm is chosen per call; the library-wide mode
 * of SetBayerConvMode() is neither read nor written.
 *
 * Nothing here throws: functions return kivo::Errc or kivo::Result, and the header works with
 * -fno-exceptions. kivo::valueOrThrow() is there for those who prefer exceptions. All functions are safe to
 * call from several threads at once.
 *
 * @code{.cpp}
 * kivo::FrameView frame{data, bytes, CAMUTL_PFNC_BAYER_RG8, 1920, 1080};
 * kivo::Result<kivo::Image> image = kivo::convert(frame, {kivo::Bayer::Acpi});
 * if (!image) return fail(image.message());
 * if (kivo::saveBmp(*image, "frame.bmp") != kivo::Errc::Ok) return fail("frame.bmp");
 * @endcode
 *
 * The parts, each of which may be included alone: kivocamutl/error.hpp (what can go wrong), formats.hpp
 * (pixel formats and their names), frame.hpp (memory, views, regions), unpack.hpp (plain samples of
 * anything), converters.hpp (which of the library's functions takes a format), convert.hpp (pictures,
 * reversed frames) and files.hpp (RWH and BMP).
 */
#ifndef KIVOCAMUTL_HPP
#define KIVOCAMUTL_HPP

#include <KivoCamUtl.h>
#include <kivocamutl/convert.hpp>
#include <kivocamutl/converters.hpp>
#include <kivocamutl/error.hpp>
#include <kivocamutl/files.hpp>
#include <kivocamutl/formats.hpp>
#include <kivocamutl/frame.hpp>
#include <kivocamutl/unpack.hpp>

#endif  // KIVOCAMUTL_HPP
