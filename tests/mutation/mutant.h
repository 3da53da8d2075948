/* SPDX-License-Identifier: Apache-2.0
 * Read before every source of a build with mutants: which one of them is alive, and which ones a program came
 * by.
 */
#pragma once
#ifdef __cplusplus
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

namespace KivoMutant {

inline unsigned char reached[65536];

struct Notes {
  int alive = 0;
  Notes() {
    if (const char *text = getenv("KIVO_MUTANT")) alive = atoi(text);
  }
  // One file for each program and library, with the numbers of what it came by.
  ~Notes() {
    const char *folder = getenv("KIVO_REACHED");
    if (folder == nullptr) return;
    char name[4096];
    snprintf(name, sizeof name, "%s/%ld.%p", folder, static_cast<long>(getpid()),
             static_cast<const void *>(this));
    FILE *const file = fopen(name, "w");
    if (file == nullptr) return;
    for (unsigned i = 0; i < sizeof reached; ++i) {
      if (reached[i] != 0) fprintf(file, "%u\n", i);
    }
    fclose(file);
  }
};

inline Notes notes;

}  // namespace KivoMutant

// Constant expressions are never mutated.
constexpr bool KivoMutantAlive(int id) {
  if (__builtin_is_constant_evaluated()) return false;
  KivoMutant::reached[id] = 1;
  return KivoMutant::notes.alive == id;
}
#endif
