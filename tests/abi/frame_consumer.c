/* SPDX-License-Identifier: Apache-2.0 */
/* KivoFrame.h alone in a C99 program. */
#include <KivoFrame.h>

#include <stdio.h>
#include <string.h>

static int s_iFailures = 0;

static void Expect(int bHolds, const char *pszWhat) {
  if (bHolds) return;
  fprintf(stderr, "failed: %s\n", pszWhat);
  ++s_iFailures;
}

int main(void) {
  const kivo_format *psFormat = kivo_format_find("bayerrg12P");
  const kivo_format *apsNearest[3] = {NULL, NULL, NULL};
  kivo_options sOptions = KIVO_OPTIONS_INIT;

  Expect(kivo_version() == KIVO_VERSION, "version");
  Expect(sOptions.size == sizeof sOptions && sOptions.pixels == KIVO_BGRA8, "options");
  Expect(kivo_format_count() == 90 && kivo_format_at(90) == NULL, "table");
  Expect(psFormat != NULL && psFormat == kivo_format_of_code(0x010C0059), "format by name");
  Expect(psFormat != NULL && psFormat->order == KIVO_ORDER_RG && psFormat->packing == KIVO_P, "format");
  Expect(kivo_format_suggest("BayrRG12p", apsNearest, 1) == 1 && apsNearest[0] == psFormat, "suggestion");
  Expect(apsNearest[1] == NULL, "suggestions behind the last");
  Expect(kivo_row_bytes(0x010C0059, 1936) == 2904, "bytes of a row");
  Expect(kivo_frame_bytes(0x010C0059, 1936, 1216) == 2904 * 1216, "bytes of a frame");
  Expect(kivo_format_exchanged(0x010C0059, 1, 0) == 0x010C0057, "exchanged");
  Expect(strcmp(kivo_message(KIVO_OK), "success") == 0, "message");
  Expect(strcmp(kivo_message((kivo_status)12345), "unknown error") == 0, "message of no status");
  return s_iFailures != 0;
}
