// SPDX-License-Identifier: Apache-2.0
// The colour lookup tables and the flag that says they are filled.
#ifndef KIVO_CAMUTL_LUTS_H
#define KIVO_CAMUTL_LUTS_H

#include <atomic>
#include <cstdint>

namespace Kivo {

// Zero until PrepareTables() has run; written by its first call and by nothing else. Rows and columns are raw
// sample bytes.
extern std::uint32_t auiMono2BGRA[256];
extern std::uint32_t auiYUVC_UV[256][256];  // [U][V]: row of the green tables, 121 to 390
extern std::uint32_t auiYUV2G[512][256];    // [row][Y]: green byte of a BGRA word
extern std::uint8_t aucYUV2G[512][256];     // [row][Y]: green
extern std::uint32_t auiYV2R[256][256];     // [V][Y]: red byte and alpha of a BGRA word
extern std::uint8_t aucYV2R[256][256];      // [V][Y]: red
extern std::uint8_t aucYU2B[256][256];      // [U][Y]: blue

// Stored with release ordering once every table is filled, so that a thread that loads true with acquire
// ordering sees the tables. Never reset.
extern std::atomic<bool> s_bLUTReady;

// Fills the tables, once however often it is called.
void PrepareTables() noexcept;

}  // namespace Kivo

#endif  // KIVO_CAMUTL_LUTS_H
