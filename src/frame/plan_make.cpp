// SPDX-License-Identifier: Apache-2.0
// Making a plan: the checks in the order that the interface promises, then the course of samples and pixels.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>

#include "frame/plan.h"

namespace Kivo {
namespace {

constexpr PixelsOf c_asPixels[] = {
    {4, 8, false, false, true},    // KIVO_BGRA8
    {3, 8, false, false, false},   // KIVO_BGR8
    {4, 8, false, true, true},     // KIVO_RGBA8
    {3, 8, false, true, false},    // KIVO_RGB8
    {1, 8, true, false, false},    // KIVO_GRAY8
    {8, 16, false, false, true},   // KIVO_BGRA16
    {6, 16, false, false, false},  // KIVO_BGR16
    {8, 16, false, true, true},    // KIVO_RGBA16
    {6, 16, false, true, false},   // KIVO_RGB16
    {2, 16, true, false, false},   // KIVO_GRAY16
    {0, 0, false, false, false},   // KIVO_SAMPLES: those of the format
};

constexpr std::uint32_t c_uiKnownFlags = KIVO_MIRROR | KIVO_FLIP | KIVO_WITH_SHIFT | KIVO_WITH_RANGE;
constexpr std::uint32_t c_uiLargestShift = 15;

// The options of the caller in the layout of this version.
kivo_status ReadOptions(const kivo_options *psGiven, kivo_options &sOptions) noexcept {
  sOptions = KIVO_OPTIONS_INIT;
  if (psGiven == nullptr) return KIVO_OK;
  std::size_t uiSize;
  std::memcpy(&uiSize, psGiven, sizeof uiSize);
  if (uiSize == offsetof(kivo_options, colour)) {
    std::memcpy(&sOptions, psGiven, uiSize);
    return KIVO_OK;
  }
  if (uiSize < sizeof sOptions) return KIVO_BAD_STRUCT;
  // A later version's structure is longer. What it means by its fields is unknown here unless it means
  // nothing.
  constexpr std::size_t c_uiLargest = 4096;
  if (uiSize > c_uiLargest) return KIVO_BAD_STRUCT;
  const auto *const puc = reinterpret_cast<const unsigned char *>(psGiven);
  for (std::size_t i = sizeof sOptions; i < uiSize; ++i)
    if (puc[i] != 0) return KIVO_BAD_STRUCT;
  std::memcpy(&sOptions, psGiven, sizeof sOptions);
  return KIVO_OK;
}

bool KnowsValues(const kivo_options &s, const kivo_colour &sColour) noexcept {
  return sColour.tone <= KIVO_TONE_TABLE && s.pixels <= KIVO_SAMPLES && s.bayer <= KIVO_BAYER_HALF &&
         s.levels <= KIVO_LEVELS_SPREAD && s.hint <= KIVO_HINT_STREAMED && s.byte_order <= KIVO_BIG_ENDIAN &&
         (s.flags & ~c_uiKnownFlags) == 0;
}

bool IsAdaptiveSize(std::uint32_t uiSize) noexcept {
  return uiSize >= 4 && uiSize % 2 == 0;
}

// The demosaic that is used; KIVO_BAYER_OFF where there is none.
std::uint32_t Resolve(std::uint32_t uiBayer, const kivo_plan &s) noexcept {
  if (s.psFormat->family != KIVO_BAYER || s.uiPixels == KIVO_SAMPLES) return KIVO_BAYER_OFF;
  if (uiBayer != KIVO_BAYER_BEST) return uiBayer;
  return IsAdaptiveSize(s.uiWidth) && IsAdaptiveSize(s.uiHeight) ? KIVO_BAYER_ACPI : KIVO_BAYER_STANDARD;
}

// What of the colour settings depends on the frame and the picture.
kivo_status CheckSettings(const kivo_options &o, kivo_colour &c, std::uint32_t uiDepth,
                          const kivo_plan &s) noexcept {
  const bool bMapped = (o.flags & (KIVO_WITH_RANGE | KIVO_WITH_SHIFT)) != 0;
  if (s.psFormat->family == KIVO_YUV || o.pixels == KIVO_SAMPLES || bMapped) return KIVO_BAD_COLOUR;
  const kivo_status eStatus = CheckColour(c);
  if (eStatus != KIVO_OK) return eStatus;
  if (c.high == 0) c.high = (1 << uiDepth) - 1;
  return c.low < c.high ? CheckTone(c) : KIVO_BAD_POINTS;
}

// The numbers of the settings that fit the frame and the picture; no tables yet.
void ResolveColour(const kivo_colour &c, std::uint32_t uiDepth, bool bOwnLevels, kivo_plan &s) noexcept {
  Colour &sColour = s.sColour;
  sColour.bOn = true;
  constexpr unsigned c_auiColours[] = {0, 1, 1, 2};
  for (unsigned i = 0; i < 4; ++i)
    sColour.asGains[i] = MakeGain(c.black[i], c.gain[c_auiColours[i]], c.low, c.high, uiDepth);
  const bool bColours = s.psFormat->family == KIVO_RGB || s.uiBayer != KIVO_BAYER_OFF;
  std::int16_t aasRows[3][3], aasUnit[3][3];
  constexpr double c_adUnit[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  MakeMatrix(c.matrix, aasRows);
  MakeMatrix(c_adUnit, aasUnit);
  sColour.bMatrix = bColours && std::memcmp(aasRows, aasUnit, sizeof aasRows) != 0;
  for (unsigned y = 0; y < 3; ++y)
    for (unsigned x = 0; x < 3; ++x)
      sColour.aasMatrix[y][x] = s.sPixels.bRedFirst ? aasRows[y][x] : aasRows[2 - y][2 - x];
  sColour.uiDown = bOwnLevels ? 16 - uiDepth : 0;
  sColour.bFinish = sColour.bMatrix || c.tone != KIVO_TONE_LINEAR || s.sPixels.uiBits == 16;
  s.psPlain = &GainedFormat(*s.psPlain);
  // What is behind the demosaic has a bit more, and a tone leaves what is wanted.
  s.uiShift = !sColour.bFinish ? 6 : c.tone == KIVO_TONE_LINEAR ? 7 : 0;
}

// Everything that needs no memory of a frame, from the format on. c: the colour settings, if there are any.
kivo_status Check(const kivo_options &o, kivo_colour &c, kivo_plan &s) noexcept {
  if (s.psFormat == nullptr) return KIVO_UNKNOWN_FORMAT;
  if (!KnowsValues(o, c)) return KIVO_UNKNOWN_OPTION;
  const bool bCropped = (o.crop_x | o.crop_y | o.crop_width | o.crop_height) != 0;
  s.uiX = o.crop_x;
  s.uiY = o.crop_y;
  s.uiWidth = bCropped ? o.crop_width : s.uiFrameWidth;
  s.uiHeight = bCropped ? o.crop_height : s.uiFrameHeight;
  if (s.uiFrameWidth == 0 || s.uiFrameHeight == 0 || s.uiWidth == 0 || s.uiHeight == 0)
    return KIVO_EMPTY_IMAGE;

  const kivo_format &sFormat = *s.psFormat;
  const bool bRange = (o.flags & KIVO_WITH_RANGE) != 0;
  s.uiPixels = o.pixels;
  s.psPlain = &Exchanged(PlainFormat(sFormat), s.uiX % 2 != 0, s.uiY % 2 != 0);
  const std::uint32_t uiDepth = s.psPlain->plain_depth;
  const bool bWide = uiDepth > 8;
  if (bRange) s.psPlain = &EightBitFormat(*s.psPlain);
  s.sPixels = c_asPixels[o.pixels];
  s.uiBayer = Resolve(o.bayer, s);
  const bool bHalf = s.uiBayer == KIVO_BAYER_HALF;
  s.uiPictureWidth = bHalf ? s.uiWidth / 2 : s.uiWidth;
  s.uiPictureHeight = bHalf ? s.uiHeight / 2 : s.uiHeight;
  constexpr std::uint64_t c_uiMost = std::numeric_limits<std::ptrdiff_t>::max();
  const std::uint64_t uiFrame = FrameBytes(sFormat, s.uiFrameWidth, s.uiFrameHeight);
  const std::uint64_t uiRow = o.pixels == KIVO_SAMPLES ? RowBytes(*s.psPlain, s.uiWidth)
                                                       : std::uint64_t{s.uiPictureWidth} * s.sPixels.uiBytes;
  if (uiFrame > c_uiMost || (s.uiPictureHeight != 0 && uiRow > c_uiMost / s.uiPictureHeight))
    return KIVO_TOO_LARGE;
  s.uiFrameBytes = static_cast<std::size_t>(uiFrame);
  s.uiFrameRow = static_cast<std::size_t>(RowBytes(sFormat, s.uiFrameWidth));
  s.uiPictureRow = static_cast<std::size_t>(uiRow);
  s.uiPictureBytes = s.uiPictureRow * s.uiPictureHeight;

  const bool bWords = sFormat.packing == KIVO_PLAIN || sFormat.packing == KIVO_PLANAR;
  if (o.byte_order == KIVO_BIG_ENDIAN && !(bWords && sFormat.plain_bytes == 2)) return KIVO_NO_BYTE_ORDER;
  const std::uint32_t uiGroup = sFormat.family == KIVO_YUV ? sFormat.group_pixels : 1;
  if (s.uiFrameWidth % uiGroup != 0) return KIVO_PARTIAL_GROUP;
  if (s.uiWidth > s.uiFrameWidth || s.uiX > s.uiFrameWidth - s.uiWidth || s.uiHeight > s.uiFrameHeight ||
      s.uiY > s.uiFrameHeight - s.uiHeight)
    return KIVO_CROP_OUTSIDE;
  if (s.uiX % uiGroup != 0 || s.uiWidth % uiGroup != 0) return KIVO_SPLIT_GROUP;
  if (s.uiBayer == KIVO_BAYER_ACPI && !(IsAdaptiveSize(s.uiWidth) && IsAdaptiveSize(s.uiHeight)))
    return KIVO_ACPI_SIZE;
  if (bHalf && (s.uiPictureWidth == 0 || s.uiPictureHeight == 0)) return KIVO_HALF_SIZE;
  s.uiShift = uiDepth - 8;
  if ((o.flags & KIVO_WITH_SHIFT) != 0) {
    if (o.shift > c_uiLargestShift || !bWide || s.sPixels.uiBits != 8) return KIVO_BAD_SHIFT;
    s.uiShift = o.shift;
  }
  if (bRange) {
    if (sFormat.family == KIVO_YUV || (o.flags & KIVO_WITH_SHIFT) != 0 || s.sPixels.uiBits == 16)
      return KIVO_BAD_RANGE;
    s.uiShift = 0;
  }
  if (o.levels == KIVO_LEVELS_SPREAD && s.sPixels.uiBits != 16) return KIVO_BAD_LEVELS;
  s.bSpread = o.levels == KIVO_LEVELS_SPREAD;
  if (o.colour != nullptr) {
    const bool bNone = ChangesNothing(c);
    const kivo_status eStatus = CheckSettings(o, c, uiDepth, s);
    if (eStatus != KIVO_OK) return eStatus;
    if (!bNone) ResolveColour(c, uiDepth, !s.bSpread, s);
  }
  s.bMirror = (o.flags & KIVO_MIRROR) != 0;
  s.bFlip = (o.flags & KIVO_FLIP) != 0;
  s.uiHint = o.hint;
  return KIVO_OK;
}

// The kernel that a packing takes; Unpack::Count where it takes none.
Unpack UnpackOf(const kivo_format &s) noexcept {
  switch (s.packing) {
    case KIVO_P:
      switch (s.depth) {
        case 1:
          return Unpack::Bits1;
        case 2:
          return Unpack::Bits2;
        case 4:
          return Unpack::Bits4;
        case 10:
          return Unpack::P10;
        case 12:
          return Unpack::P12;
        default:
          return Unpack::P14;
      }
    case KIVO_PACKED:
      return s.depth == 10 ? Unpack::Packed10 : Unpack::Packed12;
    case KIVO_P32:
      return Unpack::P32;
    case KIVO_SIGNED:
      return Unpack::Signed;
    case KIVO_ALPHA:
      return Unpack::DropAlpha;
    case KIVO_LUMA_FIRST:
      return s.group_pixels == 4 ? Unpack::Yyuyyv : Unpack::Yuyv;
    default:
      return Unpack::Count;
  }
}

void AddStage(kivo_plan &s, Stage::Kind eKind, Unpack eUnpack = Unpack::Count) noexcept {
  s.asStages[s.uiStages++] = {eKind, eUnpack};
}

bool MakeStages(const kivo_options &o, kivo_plan &s) noexcept {
  const Unpack eUnpack = UnpackOf(*s.psFormat);
  // The kernels take YUV in either order; only samples as such, and groups to be turned round, have chroma
  // first.
  const bool bEitherOrder = s.psFormat->family == KIVO_YUV && s.eCourse != Course::Copy && !s.bMirrorSamples;
  if (eUnpack != Unpack::Count && !bEitherOrder) AddStage(s, Stage::Kind::Unpack, eUnpack);
  if (s.psFormat->packing == KIVO_PLANAR) AddStage(s, Stage::Kind::Interleave);
  if (o.byte_order == KIVO_BIG_ENDIAN) AddStage(s, Stage::Kind::Unpack, Unpack::Swap);
  s.uiStagesToPlain = s.uiStages;
  if ((o.flags & KIVO_WITH_RANGE) != 0) {
    const std::size_t uiEntries = s.psFormat->plain_bytes == 2 ? 0x10000 : 0x100;
    s.pucTable.reset(new (std::nothrow) std::uint8_t[uiEntries]);
    if (s.pucTable == nullptr) return false;
    const std::size_t uiFirst = std::min<std::size_t>(o.range_low, uiEntries - 1) + 1;
    const std::size_t uiEnd = std::clamp<std::size_t>(o.range_high, uiFirst, uiEntries);
    const std::uint64_t uiSpan = std::uint64_t{o.range_high} - o.range_low;
    std::uint8_t *const puc = s.pucTable.get();
    std::memset(puc, 0, uiFirst);
    for (std::size_t i = uiFirst; i < uiEnd; ++i)
      puc[i] = static_cast<std::uint8_t>((510 * (i - o.range_low) + uiSpan) / (2 * uiSpan));
    std::memset(puc + uiEnd, 255, uiEntries - uiEnd);
    AddStage(s, Stage::Kind::Table);
  }
  if (s.sColour.bOn) AddStage(s, Stage::Kind::Gain);
  if (s.bMirrorSamples) AddStage(s, Stage::Kind::Reverse);
  return true;
}

// The tone as a table of what each value becomes.
bool MakeToneTable(const kivo_colour &c, kivo_plan &s) noexcept {
  if (!s.sColour.bOn || c.tone == KIVO_TONE_LINEAR) return true;
  if (c.tone == KIVO_TONE_SRGB) {
    s.sColour.psCurve.reset(new (std::nothrow) ToneCurve);
    if (s.sColour.psCurve == nullptr) return false;
    MakeCurve(s.sPixels.uiBits, *s.sColour.psCurve);
    s.sColour.psCurve->uiUp = s.sColour.bMatrix ? 0 : DoublingLeft(s);
  }
  if (s.sPixels.uiBits == 8) {
    s.sColour.pucTone.reset(new (std::nothrow) std::uint8_t[c_uiToneEntries]);
    if (s.sColour.pucTone == nullptr) return false;
    MakeTone(c, s.sColour.pucTone.get());
  } else {
    s.sColour.pusTone.reset(new (std::nothrow) std::uint16_t[c_uiToneEntries]);
    if (s.sColour.pusTone == nullptr) return false;
    MakeTone(c, s.sColour.pusTone.get(), s.sColour.uiDown);
  }
  return true;
}

// Whether an adaptive demosaic of words makes pixels of bytes.
bool IsSlim(const kivo_plan &s) noexcept {
  return s.psPlain->plain_depth <= c_uiSlimDepth && s.uiShift + 8 == s.psPlain->plain_depth;
}

Course ChooseCourse(const kivo_plan &s) noexcept {
  const bool bPixels = s.sPixels.uiBits == 8 && !s.sPixels.bGrey;
  const bool bBytes = bPixels && !s.sColour.bFinish;
  switch (s.uiBayer) {
    case KIVO_BAYER_STANDARD:
      if (s.uiWidth > 1 && s.uiHeight > 1 && !s.sPixels.bGrey) {
        if (s.sColour.bOn) return bPixels ? Course::MosaicColours : Course::MosaicPlanes;
        return Course::Mosaic;
      }
      return bBytes ? Course::Mosaic : Course::MosaicPlanes;
    case KIVO_BAYER_ACPI:
      return bBytes && (!IsWords(s) || IsSlim(s)) ? Course::Mosaic : Course::MosaicPlanes;
    case KIVO_BAYER_HALF:
      return Course::Half;
    default:
      break;
  }
  if (s.uiPixels == KIVO_SAMPLES) return Course::Copy;
  const bool bMono = s.psPlain->channels == 1;
  // Grey bytes of grey bytes, and words of words, are the samples.
  if (bMono && s.sPixels.bGrey && !s.bSpread && !s.sColour.bFinish &&
      s.sPixels.uiBits == 8 * s.psPlain->plain_bytes)
    return Course::Copy;
  if (!bBytes) return Course::Planes;
  return s.psPlain->family == KIVO_YUV && s.sPixels.bRedFirst ? Course::Swapped : Course::Fused;
}

}  // namespace

BayerOrder OrderOf(const kivo_plan &s) noexcept {
  const bool bExchange = s.bMirrorSamples && s.uiWidth % 2 == 0;
  switch (Exchanged(*s.psPlain, bExchange, false).order) {
    case KIVO_ORDER_GR:
      return BayerOrder::GR;
    case KIVO_ORDER_GB:
      return BayerOrder::GB;
    case KIVO_ORDER_BG:
      return BayerOrder::BG;
    default:
      return BayerOrder::RG;
  }
}

}  // namespace Kivo

using namespace Kivo;

kivo_status kivo_plan_make(uint32_t code, uint32_t width, uint32_t height, const kivo_options *options,
                           kivo_plan **plan) KIVO_NOEXCEPT {
  if (plan == nullptr) return KIVO_NULL_POINTER;
  *plan = nullptr;
  kivo_options sOptions;
  kivo_status eStatus = ReadOptions(options, sOptions);
  if (eStatus != KIVO_OK) return eStatus;
  kivo_colour sColour = KIVO_COLOUR_INIT;
  if (sOptions.colour != nullptr && !ReadColour(sOptions.colour, sColour)) return KIVO_BAD_STRUCT;
  kivo_plan sPlan = {};
  sPlan.psFormat = FindFormat(code);
  sPlan.uiFrameWidth = width;
  sPlan.uiFrameHeight = height;
  eStatus = Check(sOptions, sColour, sPlan);
  if (eStatus != KIVO_OK) return eStatus;
  sPlan.eCourse = ChooseCourse(sPlan);
  // The adaptive rules know left from right, and half pictures of odd width leave out the last column.
  sPlan.bMirrorSamples =
      sPlan.bMirror && sPlan.uiBayer != KIVO_BAYER_ACPI && sPlan.uiBayer != KIVO_BAYER_HALF;
  if (!MakeStages(sOptions, sPlan) || !MakeToneTable(sColour, sPlan)) return KIVO_OUT_OF_MEMORY;
  sPlan.sScratch = LayOut(sPlan);
  *plan = new (std::nothrow) kivo_plan(std::move(sPlan));
  return *plan == nullptr ? KIVO_OUT_OF_MEMORY : KIVO_OK;
}

void kivo_plan_free(kivo_plan *plan) KIVO_NOEXCEPT {
  delete plan;
}

uint32_t kivo_plan_width(const kivo_plan *plan) KIVO_NOEXCEPT {
  return plan == nullptr ? 0 : plan->uiPictureWidth;
}

uint32_t kivo_plan_height(const kivo_plan *plan) KIVO_NOEXCEPT {
  return plan == nullptr ? 0 : plan->uiPictureHeight;
}

size_t kivo_plan_row_bytes(const kivo_plan *plan) KIVO_NOEXCEPT {
  return plan == nullptr ? 0 : plan->uiPictureRow;
}

size_t kivo_plan_picture_bytes(const kivo_plan *plan) KIVO_NOEXCEPT {
  return plan == nullptr ? 0 : plan->uiPictureBytes;
}

uint32_t kivo_plan_samples_format(const kivo_plan *plan) KIVO_NOEXCEPT {
  if (plan == nullptr || plan->uiPixels != KIVO_SAMPLES) return 0;
  return Exchanged(*plan->psPlain, plan->bMirror && plan->uiWidth % 2 == 0,
                   plan->bFlip && plan->uiHeight % 2 == 0)
      .code;
}

uint32_t kivo_plan_bayer(const kivo_plan *plan) KIVO_NOEXCEPT {
  return plan == nullptr ? static_cast<uint32_t>(KIVO_BAYER_OFF) : plan->uiBayer;
}

size_t kivo_plan_scratch(const kivo_plan *plan) KIVO_NOEXCEPT {
  return plan == nullptr ? 0 : plan->sScratch.uiTotal;
}
