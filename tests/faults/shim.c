/* SPDX-License-Identifier: Apache-2.0 */
/* A system that fails at one chosen operation, for LD_PRELOAD; what a program does to files, recorded.
 *
 *   KIVO_FAULT_CLASS   files: what opens, fills, names and closes a file that is written; memory: allocations
 *   KIVO_FAULT_AT      which operation of the class since main() fails, from 1 on; 0 or nothing: none
 *   KIVO_FAULT_SIGNAL  it does not fail: this signal comes just before it
 *   KIVO_FAULT_FROM    1: that one and all after it; of the first write half of the bytes arrive
 *   KIVO_FAULT_LOG     a file to record operations of the class in, a line each
 *   KIVO_FAULT_NAMED   1: a file system that has no files without names
 *
 * A failed close has closed. */
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

enum { c_uiFiles = 4096, c_uiNameRoom = 4096 };

static int s_class; /* 0 none, 1 files, 2 memory */
static long s_at;
static int s_signal;
static bool s_from, s_named;
static int s_log = -1;
static atomic_bool s_counting; /* since main() */
static atomic_long s_count;
static atomic_bool s_written[c_uiFiles]; /* descriptors that were opened to write */

__attribute__((constructor)) static void Start(void) {
  const char *class = getenv("KIVO_FAULT_CLASS"), *at = getenv("KIVO_FAULT_AT"),
             *from = getenv("KIVO_FAULT_FROM");
  const char *log = getenv("KIVO_FAULT_LOG"), *signal = getenv("KIVO_FAULT_SIGNAL");
  if (log != NULL)
    s_log = (int)syscall(SYS_openat, AT_FDCWD, log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  s_at = at == NULL ? 0 : atol(at);
  s_signal = signal == NULL ? 0 : atoi(signal);
  s_named = getenv("KIVO_FAULT_NAMED") != NULL;
  s_from = from != NULL && *from == '1';
  s_class = class == NULL ? 0 : strcmp(class, "files") == 0 ? 1 : strcmp(class, "memory") == 0 ? 2 : 0;
}

/* By the system alone: what is called here must not be counted. */
__attribute__((format(printf, 1, 2))) static void Record(const char *format, ...) {
  if (s_log < 0) return;
  char line[2 * c_uiNameRoom];
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  if (length > (int)sizeof line - 1) length = (int)sizeof line - 1;
  (void)!syscall(SYS_write, s_log, line, (size_t)length);
}

static void RecordBytes(const void *data, size_t size) {
  static const char digits[] = "0123456789abcdef";
  const uint8_t *from = data;
  char text[1024];
  while (s_log >= 0 && size != 0) {
    size_t n = 0;
    for (; n < sizeof text && size != 0; ++from, --size) {
      text[n++] = digits[*from >> 4];
      text[n++] = digits[*from & 15];
    }
    (void)!syscall(SYS_write, s_log, text, n);
  }
  Record("\n");
}

/* Whether the operation that begins now is to fail. `first`: it is the chosen one itself. */
static bool Fails(int class, bool *first) {
  if (s_class != class || !atomic_load(&s_counting)) return false;
  const long number = atomic_fetch_add(&s_count, 1) + 1;
  if (class == 2 && s_at == 0) Record("memory\n");
  if (first != NULL) *first = number == s_at;
  if (s_signal != 0) {
    if (number == s_at) raise(s_signal);
    return false;
  }
  return s_at != 0 && (number == s_at || (s_from && number > s_at));
}
static bool FailsFile(void) {
  return Fails(1, NULL);
}

static bool IsWritten(int file) {
  return file >= 0 && file < c_uiFiles && atomic_load(&s_written[file]);
}
static void Mark(int file, bool written) {
  if (file >= 0 && file < c_uiFiles) atomic_store(&s_written[file], written);
}

/* The function that stands behind this one, into a pointer to it. */
static void Next(const char *name, void *to) {
  void *const function = dlsym(RTLD_NEXT, name);
  memcpy(to, &function, sizeof function);
}

static int OpenAt(int folder, const char *path, int flags, mode_t mode) {
  const bool writes = (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT) != 0;
  if (s_named && (flags & O_TMPFILE) == O_TMPFILE) {
    errno = EOPNOTSUPP;
    return -1;
  }
  if (writes && FailsFile()) {
    Record("failed open %s\n", path);
    errno = ENOSPC;
    return -1;
  }
  const int file = (int)syscall(SYS_openat, folder, path, flags, mode);
  Mark(file, writes && file >= 0);
  if (writes && file >= 0) Record("open %d %d %s\n", file, flags, path);
  return file;
}

#define KIVO_MODE                               \
  mode_t mode = 0;                              \
  if ((flags & (O_CREAT | O_TMPFILE)) != 0) {   \
    va_list arguments;                          \
    va_start(arguments, flags);                 \
    mode = (mode_t)va_arg(arguments, unsigned); \
    va_end(arguments);                          \
  }

int open(const char *path, int flags, ...) {
  KIVO_MODE
  return OpenAt(AT_FDCWD, path, flags, mode);
}
int open64(const char *path, int flags, ...) {
  KIVO_MODE
  return OpenAt(AT_FDCWD, path, flags, mode);
}
int openat(int folder, const char *path, int flags, ...) {
  KIVO_MODE
  return OpenAt(folder, path, flags, mode);
}
int openat64(int folder, const char *path, int flags, ...) {
  KIVO_MODE
  return OpenAt(folder, path, flags, mode);
}

static FILE *OpenStream(const char *path, const char *mode, const char *name) {
  const bool writes = strpbrk(mode, "wa+") != NULL;
  if (writes && FailsFile()) {
    Record("failed open %s\n", path);
    errno = ENOSPC;
    return NULL;
  }
  FILE *(*next)(const char *, const char *) = NULL;
  Next(name, &next);
  FILE *const stream = next(path, mode);
  if (stream != NULL && writes) {
    Mark(fileno(stream), true);
    Record("open %d %d %s\n", fileno(stream), O_WRONLY | (strchr(mode, 'w') != NULL ? O_CREAT | O_TRUNC : 0),
           path);
  }
  return stream;
}
FILE *fopen(const char *path, const char *mode) {
  return OpenStream(path, mode, "fopen");
}
FILE *fopen64(const char *path, const char *mode) {
  return OpenStream(path, mode, "fopen64");
}

/* The first write that fails in a row of failures writes half of its bytes: a disk that is full. */
static ssize_t Write(int file, const void *data, size_t size, off_t at, bool has_offset) {
  size_t wanted = size;
  bool first = false;
  if (IsWritten(file) && Fails(1, &first)) {
    if (!s_from || !first || size < 2) {
      Record("failed write %d\n", file);
      errno = ENOSPC;
      return -1;
    }
    wanted = size / 2;
  }
  const ssize_t done = has_offset ? (ssize_t)syscall(SYS_pwrite64, file, data, wanted, at)
                                  : (ssize_t)syscall(SYS_write, file, data, wanted);
  if (IsWritten(file) && done >= 0) {
    Record("write %d %lld ", file, has_offset ? (long long)at : -1LL);
    RecordBytes(data, (size_t)done);
  }
  return done;
}
ssize_t write(int file, const void *data, size_t size) {
  return Write(file, data, size, 0, false);
}
ssize_t pwrite(int file, const void *data, size_t size, off_t at) {
  return Write(file, data, size, at, true);
}
ssize_t pwrite64(int file, const void *data, size_t size, off_t at) {
  return Write(file, data, size, at, true);
}
ssize_t writev(int file, const struct iovec *parts, int count) {
  ssize_t sum = 0;
  for (int i = 0; i < count; ++i) {
    const ssize_t done = write(file, parts[i].iov_base, parts[i].iov_len);
    if (done < 0) return sum != 0 ? sum : -1;
    sum += done;
    if ((size_t)done < parts[i].iov_len) break;
  }
  return sum;
}

/* An operation on files that gives 0, as a system call with up to five arguments. */
static int Call(const char *line, long number, long a, long b, long c, long d, long e) {
  if (FailsFile()) {
    Record("failed %s", line);
    errno = EIO;
    return -1;
  }
  const int result = (int)syscall(number, a, b, c, d, e);
  if (result == 0) Record("%s", line);
  return result;
}

int fsync(int file) {
  char line[64];
  snprintf(line, sizeof line, "fsync %d\n", file);
  return Call(line, SYS_fsync, file, 0, 0, 0, 0);
}
int fdatasync(int file) {
  char line[64];
  snprintf(line, sizeof line, "fsync %d\n", file);
  return Call(line, SYS_fdatasync, file, 0, 0, 0, 0);
}
int ftruncate(int file, off_t size) {
  char line[64];
  snprintf(line, sizeof line, "truncate %d %lld\n", file, (long long)size);
  return Call(line, SYS_ftruncate, file, (long)size, 0, 0, 0);
}
int ftruncate64(int file, off_t size) {
  return ftruncate(file, size);
}
int renameat2(int from_folder, const char *from, int to_folder, const char *to, unsigned flags) {
  char line[2 * c_uiNameRoom];
  snprintf(line, sizeof line, "rename %s\t%s\n", from, to);
  return Call(line, SYS_renameat2, from_folder, (long)from, to_folder, (long)to, (long)flags);
}
int rename(const char *from, const char *to) {
  return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int renameat(int from_folder, const char *from, int to_folder, const char *to) {
  return renameat2(from_folder, from, to_folder, to, 0);
}
int linkat(int from_folder, const char *from, int to_folder, const char *to, int flags) {
  char line[2 * c_uiNameRoom];
  snprintf(line, sizeof line, "link %s\t%s\n", from, to);
  return Call(line, SYS_linkat, from_folder, (long)from, to_folder, (long)to, flags);
}
int link(const char *from, const char *to) {
  return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int unlinkat(int folder, const char *path, int flags) {
  char line[c_uiNameRoom];
  snprintf(line, sizeof line, "unlink %s\n", path);
  return Call(line, SYS_unlinkat, folder, (long)path, flags, 0, 0);
}
int unlink(const char *path) {
  return unlinkat(AT_FDCWD, path, 0);
}
int mkdir(const char *path, mode_t mode) {
  char line[c_uiNameRoom];
  snprintf(line, sizeof line, "mkdir %s\n", path);
  return Call(line, SYS_mkdirat, AT_FDCWD, (long)path, (long)mode, 0, 0);
}

static bool CloseFails(int file) {
  const bool counts = IsWritten(file);
  Mark(file, false);
  if (counts) Record("close %d\n", file);
  return counts && FailsFile();
}
int close(int file) {
  const bool fails = CloseFails(file);
  const int result = (int)syscall(SYS_close, file);
  if (!fails) return result;
  errno = EIO;
  return -1;
}
int fclose(FILE *stream) {
  const bool fails = CloseFails(fileno(stream));
  int (*next)(FILE *) = NULL;
  Next("fclose", &next);
  const int result = next(stream);
  if (!fails) return result;
  errno = EIO;
  return EOF;
}
int dup(int file) {
  const int copy = (int)syscall(SYS_dup, file);
  if (copy >= 0) Mark(copy, IsWritten(file));
  return copy;
}

/* What libraries do before main() is not the program's. */
typedef int Main(int, char **, char **);
static Main *s_main;
static int CountingMain(int argc, char **argv, char **environment) {
  atomic_store(&s_counting, true);
  return s_main(argc, argv, environment);
}
int __libc_start_main(Main *program, int argc, char **argv, void (*start)(void), void (*end)(void),
                      void (*unload)(void), void *stack) {
  int (*next)(Main *, int, char **, void (*)(void), void (*)(void), void (*)(void), void *) = NULL;
  Next("__libc_start_main", &next);
  s_main = program;
  return next(CountingMain, argc, argv, start, end, unload, stack);
}

/* Memory. The C library's own functions by their other names: dlsym() would allocate. */
extern void *__libc_malloc(size_t);
extern void *__libc_calloc(size_t, size_t);
extern void *__libc_realloc(void *, size_t);
extern void *__libc_memalign(size_t, size_t);

static bool FailsMemory(void) {
  if (!Fails(2, NULL)) return false;
  errno = ENOMEM;
  return true;
}
void *malloc(size_t size) {
  return FailsMemory() ? NULL : __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
  return FailsMemory() ? NULL : __libc_calloc(count, size);
}
void *realloc(void *old, size_t size) {
  return FailsMemory() ? NULL : __libc_realloc(old, size);
}
void *aligned_alloc(size_t alignment, size_t size) {
  return FailsMemory() ? NULL : __libc_memalign(alignment, size);
}
int posix_memalign(void **to, size_t alignment, size_t size) {
  if (FailsMemory()) return ENOMEM;
  *to = __libc_memalign(alignment, size);
  return *to == NULL ? ENOMEM : 0;
}
void *mmap(void *address, size_t size, int protection, int flags, int file, off_t at) {
  if (FailsMemory()) return MAP_FAILED;
  return (void *)syscall(SYS_mmap, address, size, protection, flags, file, at);
}
