// SPDX-License-Identifier: Apache-2.0
// Memory that nobody has written, for MemorySanitizer. Without it there is no such memory.
#ifndef KIVO_TESTS_SUPPORT_UNKNOWN_MEMORY_H
#define KIVO_TESTS_SUPPORT_UNKNOWN_MEMORY_H

#include <cstddef>

#ifdef __has_feature
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define KIVO_MEMORY_SANITIZER
#endif
#endif

namespace KivoTest {

#ifdef KIVO_MEMORY_SANITIZER
inline void MakeUnknown(const void *p, std::size_t bytes) {
  __msan_allocated_memory(p, bytes);
}
inline void MakeKnown(const void *p, std::size_t bytes) {
  __msan_unpoison(p, bytes);
}
// Ends the program if one of the bytes depends on memory that is not known.
inline void RequireKnown(const void *p, std::size_t bytes) {
  __msan_check_mem_is_initialized(p, bytes);
}
#else
inline void MakeUnknown(const void *, std::size_t) {}
inline void MakeKnown(const void *, std::size_t) {}
inline void RequireKnown(const void *, std::size_t) {}
#endif

}  // namespace KivoTest

#endif  // KIVO_TESTS_SUPPORT_UNKNOWN_MEMORY_H
