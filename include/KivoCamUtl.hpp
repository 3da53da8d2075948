// SPDX-License-Identifier: Apache-2.0
/**
 * @file KivoCamUtl.hpp
 * C++17 layer over KivoFrame.h and KivoCamUtl.h: frames and pictures with memory of their own, and files.
 *
 * A frame is described by a kivo::FrameView that knows its format, size, row stride, byte order and length in
 * bytes, as a camera delivers it. kivo::convert() makes a picture of it, kivo::unpack() plain samples, each
 * with one call of the engine, which refuses what does not fit instead of reading past a buffer. Whoever
 * converts many frames of one kind makes a kivo::Plan (kivo/frame.hpp) and runs that.
 * kivo::loadRwh(), saveRwh() and saveBmp() read and write whole files.
 *
 * Nothing here throws: functions return kivo::Errc or kivo::Result, and the header works with
 * -fno-exceptions. All functions are safe to call from several threads at once. Programs link libKivoFrame
 * and libKivoCamUtl.
 *
 * The parts, each of which may be included alone: kivo/frame.hpp (errors, formats, plans,
 * pools), convert.hpp (memory, views, pictures, plain samples) and files.hpp (RWH and BMP). Only the
 * last one needs libKivoCamUtl.
 */
#ifndef KIVOCAMUTL_HPP
#define KIVOCAMUTL_HPP

#include <KivoCamUtl.h>
#include <kivo/convert.hpp>
#include <kivo/files.hpp>
#include <kivo/frame.hpp>

#endif  // KIVOCAMUTL_HPP
