// SPDX-License-Identifier: Apache-2.0
/**
 * @file error.hpp
 * Part of KivoCamUtl.hpp: what can go wrong, and a value that may be missing.
 */
#ifndef KIVOCAMUTL_ERROR_HPP
#define KIVOCAMUTL_ERROR_HPP

#include <KivoCamUtl.h>

#include <utility>
#if defined(__cpp_exceptions)
#include <stdexcept>
#endif

/** The C++ layer: checked views of frames, and what can be done with them. */
namespace kivo {
#pragma GCC visibility push(hidden)
/**
 * The version of the layer: another one where a type changes. A program and each of its plug-ins keep the
 * functions and tables that they were built with to themselves, since the loader would merge those of one
 * name, and the code of one version would run on the tables of another. The types are visible: others may
 * have them as members, and catch them.
 */
inline namespace v1 {

// Version 14 of the formatter takes the attribute for the beginning of an initialiser.
// clang-format off
/** What went wrong; one value and one message() per cause. */
enum class [[nodiscard]] Errc {
  Ok,                ///< Success.
  UnknownFormat,     ///< The pixel format code is not one of kFormats.
  NullData,          ///< A pointer to samples or pixels is null.
  EmptyImage,        ///< Width or height is zero.
  NoByteOrder,       ///< Big-endian, but the format has no 16-bit words.
  PartialGroup,      ///< The width ends within a group of pixels that share bytes.
  TooLarge,          ///< More pixels or bytes than can be addressed, or than the file format can say.
  ShortStride,       ///< The row stride is smaller than a row.
  ShortBuffer,       ///< The buffer ends before the frame does.
  ShortDestination,  ///< The destination ends before the result would.
  AcpiNeedsBayer8,   ///< ACPI was asked for a Bayer format of more than 8 bits.
  TooSmall,          ///< A Bayer frame below 2 x 2 pixels, or below 4 x 4 for ACPI.
  OddSize,           ///< A Bayer frame of odd width or height.
  BadShift,          ///< A shift for 8-bit samples, or one above 15.
  UnknownOption,     ///< A Bayer, Output or ByteOrder is none of the values of its enumeration.
  NoStretch,         ///< A YUV frame has no samples to stretch.
  SharedBytes,       ///< The samples share bytes and must be unpacked first.
  CropOutside,       ///< The region does not lie within the frame.
  SplitGroup,        ///< The region cuts a group of YUV pixels in two.
  PartialByte,       ///< The rows of the frame do not end on a byte, which an RWH file needs.
  OutOfMemory,       ///< An allocation failed.
  NotAFile,          ///< The path is something other than a regular file.
  FileOpen,          ///< The file cannot be opened.
  FileRead,          ///< The file cannot be read.
  FileWrite,         ///< Not every byte arrived in the file.
  NoHeader,          ///< The file is shorter than an RWH header.
  BadHeader,         ///< The RWH header's row length is too small for its width.
  FileTooShort,      ///< The file is shorter than its RWH header says.
  FileTooLong,       ///< The file is longer than its RWH header says.
  Library,           ///< The library returned a status that it does not document for the call.
};
// clang-format on

/** One clause in lower case that fits behind "cannot convert: ". Never null. */
constexpr const char *message(Errc error) noexcept {
  switch (error) {
    case Errc::Ok:
      return "success";
    case Errc::UnknownFormat:
      return "the pixel format is not one that this library converts";
    case Errc::NullData:
      return "the data pointer is null";
    case Errc::EmptyImage:
      return "the width or the height is zero";
    case Errc::NoByteOrder:
      return "only formats of 16-bit words can be big-endian";
    case Errc::PartialGroup:
      return "the width is not a whole number of YUV groups (2 pixels for 4:2:2, 4 for 4:1:1)";
    case Errc::TooLarge:
      return "the frame is too large to address";
    case Errc::ShortStride:
      return "the row stride is smaller than a row";
    case Errc::ShortBuffer:
      return "the buffer is shorter than the frame";
    case Errc::ShortDestination:
      return "the destination is smaller than the image";
    case Errc::AcpiNeedsBayer8:
      return "ACPI demosaicing exists for 8-bit Bayer formats only";
    case Errc::TooSmall:
      return "a Bayer frame needs at least 2 x 2 pixels, 4 x 4 for ACPI";
    case Errc::OddSize:
      return "a Bayer frame needs an even width and an even height";
    case Errc::BadShift:
      return "a shift is for samples of more than 8 bits, and lies between 0 and 15";
    case Errc::UnknownOption:
      return "an option has a value that does not exist";
    case Errc::NoStretch:
      return "the range of a YUV frame cannot be stretched";
    case Errc::SharedBytes:
      return "the samples share bytes: unpack the frame first";
    case Errc::CropOutside:
      return "the region does not lie within the frame";
    case Errc::SplitGroup:
      return "the region cuts a group of YUV pixels in two (2 pixels for 4:2:2, 4 for 4:1:1)";
    case Errc::PartialByte:
      return "rows of this width do not end on a byte: unpack the frame first";
    case Errc::OutOfMemory:
      return "not enough memory";
    case Errc::NotAFile:
      return "not a regular file";
    case Errc::FileOpen:
      return "the file cannot be opened";
    case Errc::FileRead:
      return "the file cannot be read";
    case Errc::FileWrite:
      return "the file could not be written completely";
    case Errc::NoHeader:
      return "the file is shorter than the 16-byte RWH header";
    case Errc::BadHeader:
      return "the RWH header contradicts itself: its row length is too small for its width";
    case Errc::FileTooShort:
      return "the file is shorter than its RWH header says";
    case Errc::FileTooLong:
      return "the file is longer than its RWH header says";
    case Errc::Library:
      return "the library returned an unexpected status";
  }
  return "unknown error";
}

#pragma GCC visibility push(default)
/** A value or the reason why there is none. Without a value, the accessors give a default-constructed T. */
template <class T>
class [[nodiscard]] Result {
 public:
  /** A value. */
  Result(T value) : value_(std::move(value)) {}
  /** No value; `error` is not Errc::Ok. */
  Result(Errc error) noexcept : error_(error) {}

  /** Whether there is a value. */
  explicit operator bool() const noexcept { return error_ == Errc::Ok; }
  /** Errc::Ok, or why there is no value. */
  Errc error() const noexcept { return error_; }
  /** kivo::message() of error(). */
  const char *message() const noexcept { return kivo::message(error_); }

  /** The value. */
  T &operator*() &noexcept { return value_; }
  /** The value. */
  const T &operator*() const &noexcept { return value_; }
  /** The value, to be moved from. */
  T &&operator*() &&noexcept { return std::move(value_); }
  /** A member of the value. */
  T *operator->() noexcept { return &value_; }
  /** A member of the value. */
  const T *operator->() const noexcept { return &value_; }

 private:
  T value_{};
  Errc error_ = Errc::Ok;
};
#pragma GCC visibility pop

#if defined(__cpp_exceptions)
/** What valueOrThrow() throws; what() is the message of the error. */
class __attribute__((visibility("default"))) Error : public std::runtime_error {
 public:
  /** With the message of `error`. */
  explicit Error(Errc error) : std::runtime_error(kivo::message(error)), error_(error) {}
  /** Which error it is. */
  Errc error() const noexcept { return error_; }

 private:
  Errc error_;
};

/** The value of a result; throws Error where there is none. Only where exceptions are enabled. */
template <class T>
T valueOrThrow(Result<T> result) {
  if (!result) throw Error(result.error());
  return *std::move(result);
}
#endif

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_ERROR_HPP
