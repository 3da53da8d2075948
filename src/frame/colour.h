// SPDX-License-Identifier: Apache-2.0
// Settings of the colour chain, from the numbers of the interface to those that kernels take.
#ifndef KIVO_FRAME_COLOUR_H
#define KIVO_FRAME_COLOUR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "KivoFrame.h"
#include "simd/frame_kernels.h"

namespace Kivo {

// What a plan keeps of its settings.
struct Colour {
  bool bOn;                            // something differs from what changes nothing
  bool bMatrix;                        // a matrix for pictures of three colours
  bool bFinish;                        // planes go through more than a shift
  std::array<GainSite, 4> asGains;     // red, green of red rows, green of blue rows, blue
  std::int16_t aasMatrix[3][3];        // in the order of the planes
  std::unique_ptr<ToneCurve> psCurve;  // beside one of the tables, a tone that is a curve of straight pieces
  unsigned uiDown;                     // bits that linear words of 16 lose
  std::unique_ptr<std::uint8_t[]> pucTone;   // pictures of 8 bits
  std::unique_ptr<std::uint16_t[]> pusTone;  // of 16
};

// A structure of the caller in the layout of this version; false if its size is that of none.
bool ReadColour(const kivo_colour *psGiven, kivo_colour &sColour) noexcept;

kivo_status CheckBlack(const kivo_colour &s) noexcept;
kivo_status CheckGain(const kivo_colour &s) noexcept;
// All values in front of the tone, in the order of the interface, but whether the black point is below the
// white.
kivo_status CheckColour(const kivo_colour &s) noexcept;
// What a tone that exists takes.
kivo_status CheckTone(const kivo_colour &s) noexcept;

bool ChangesNothing(const kivo_colour &s) noexcept;

GainSite MakeGain(double dBlack, double dGain, double dLow, double dHigh, unsigned uiDepth) noexcept;

// Rows and columns for red, green, blue.
void MakeMatrix(const double (&adMatrix)[9], std::int16_t (&aasRows)[3][3]) noexcept;

// sRGB for pictures of so many bits. uiUp is left to the caller.
void MakeCurve(unsigned uiBits, ToneCurve &s) noexcept;

// Entry u of a table of c_uiToneEntries, for a tone that is not linear.
void MakeTone(const kivo_colour &s, std::uint8_t *puc) noexcept;
void MakeTone(const kivo_colour &s, std::uint16_t *pus, unsigned uiDown) noexcept;

}  // namespace Kivo

#endif  // KIVO_FRAME_COLOUR_H
