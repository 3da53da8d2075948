// SPDX-License-Identifier: Apache-2.0
#pragma once

// Blue, green and red of pixel (1, 0) of a small Bayer frame as decimal pairs, -1 when anything failed.
int convertWithoutExceptions();
