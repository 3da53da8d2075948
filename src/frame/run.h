// SPDX-License-Identifier: Apache-2.0
// Making rows of a picture, once everything is checked.
#ifndef KIVO_FRAME_RUN_H
#define KIVO_FRAME_RUN_H

#include "frame/plan.h"

namespace Kivo {

// Rows uiFirst to uiFirst + uiRows - 1 of the picture. pucScratch has as many bytes as the plan's layout.
void MakeRows(const kivo_plan &sPlan, const kivo_frame &sFrame, const kivo_picture &sPicture,
              std::size_t uiFirst, std::size_t uiRows, std::uint8_t *pucScratch) noexcept;

}  // namespace Kivo

#endif  // KIVO_FRAME_RUN_H
