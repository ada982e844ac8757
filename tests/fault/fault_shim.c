/* A preloaded shim that makes one file-system call fail, for the end-to-end
 * fault tests. Environment:
 *   FERROX_FAULT_CALL   write | rename | fsync | open | remove | mode | times
 *                       (which family to fail; fsync: fsync, fdatasync and
 *                       syncfs; mode: chmod and chown calls; times: futimens
 *                       and utimensat)
 *   FERROX_FAULT_NTH    fail the Nth call of that family (1-based); 0 = never
 *   FERROX_FAULT_ERRNO  ENOSPC (default) or EIO
 *   FERROX_FAULT_COUNT  if set, a file to which the call counts are written at exit
 *   FERROX_FAULT_KILL   a signal number: the process sends it to itself just
 *                       before that call instead of failing it (9: kill -9)
 *   FERROX_FAULT_SWAP   a folder: instead of failing that call, just before it
 *                       every staged ".FRX*.tmp" file in the folder is swapped
 *                       for a symbolic link to FERROX_FAULT_SWAP_TO, as another
 *                       user can in a shared folder without the sticky bit;
 *                       the call then goes on
 * Only writes to regular files count, so messages on stderr never fail.
 * "open" counts opens that create or truncate a file. */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/sendfile.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/syscall.h>
#include <unistd.h>

enum family { F_WRITE, F_RENAME, F_FSYNC, F_OPEN, F_REMOVE, F_MODE, F_TIMES, F_COUNT };
static const char *const family_names[F_COUNT] = {"write", "rename", "fsync", "open", "remove", "mode", "times"};
static long counts[F_COUNT];
static int target = -1;
static long nth;
static int fail_errno = ENOSPC;
static int ready;
static int kill_signal;
static const char *swap_folder;
static long swapped;  /* staged files swapped for links */

static void report(void) {
  const char *path = getenv("FERROX_FAULT_COUNT");
  if (!path) return;
  FILE *f = fopen(path, "w");
  if (!f) return;
  /* The mode and time families, and the swaps, only for swap runs: the
   * fault table walks every family reported. */
  const int families = swap_folder ? F_COUNT : F_MODE;
  for (int i = 0; i < families; ++i) fprintf(f, "%s %ld\n", family_names[i], counts[i]);
  if (swap_folder) fprintf(f, "swapped %ld\n", swapped);
  fclose(f);
}

static void setup(void) {
  if (ready) return;
  ready = 1;
  const char *call = getenv("FERROX_FAULT_CALL");
  const char *n = getenv("FERROX_FAULT_NTH");
  const char *e = getenv("FERROX_FAULT_ERRNO");
  for (int i = 0; call && i < F_COUNT; ++i)
    if (strcmp(call, family_names[i]) == 0) target = i;
  nth = n ? atol(n) : 0;
  if (e && strcmp(e, "EIO") == 0) fail_errno = EIO;
  kill_signal = getenv("FERROX_FAULT_KILL") ? atoi(getenv("FERROX_FAULT_KILL")) : 0;
  swap_folder = getenv("FERROX_FAULT_SWAP");
  if (getenv("FERROX_FAULT_COUNT")) atexit(report);
}

/* Every regular ".FRX*.tmp" in the swap folder becomes a link to the victim.
 * Straight system calls, so that nothing here is counted. */
static void swap_staged(void) {
  const char *victim = getenv("FERROX_FAULT_SWAP_TO");
  DIR *dir = opendir(swap_folder);
  if (!dir || !victim) { if (dir) closedir(dir); return; }
  for (struct dirent *e; (e = readdir(dir)) != NULL;) {
    const size_t n = strlen(e->d_name);
    if (strncmp(e->d_name, ".FRX", 4) != 0 || n < 8 || strcmp(e->d_name + n - 4, ".tmp") != 0) continue;
    struct stat st;
    if (fstatat(dirfd(dir), e->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(st.st_mode)) continue;
    if (syscall(SYS_unlinkat, dirfd(dir), e->d_name, 0) == 0 &&
        syscall(SYS_symlinkat, victim, dirfd(dir), e->d_name) == 0) {
      ++swapped;
    }
  }
  closedir(dir);
}

/* Counts the call; true when this one must fail. */
static int hit(enum family f) {
  setup();
  ++counts[f];
  const int now = (int)f == target && nth > 0 && counts[f] == nth;
  if (now && swap_folder) {
    swap_staged();
    return 0;
  }
  if (now && kill_signal > 0) {
    kill(getpid(), kill_signal);
    return 0;  /* a signal that does not end the program: the call goes on */
  }
  return now;
}

static int is_regular_fd(int fd) {
  struct stat st;
  return fd > 2 && fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

#define REAL(name) static __typeof__(&name) real_##name; if (!real_##name) real_##name = (__typeof__(&name))dlsym(RTLD_NEXT, #name)

/* A call of family `fam` that fails when `counted` holds and hit() picks it. */
#define FAILING(ret, name, fam, counted, params, args) \
  ret name params { \
    REAL(name); \
    if ((counted) && hit(fam)) { errno = fail_errno; return -1; } \
    return real_##name args; \
  }

FAILING(ssize_t, write, F_WRITE, is_regular_fd(fd), (int fd, const void *buf, size_t n), (fd, buf, n))
FAILING(ssize_t, pwrite64, F_WRITE, is_regular_fd(fd), (int fd, const void *buf, size_t n, off_t off),
        (fd, buf, n, off))
ssize_t pwrite(int fd, const void *buf, size_t n, off_t off) { return pwrite64(fd, buf, n, off); }
FAILING(ssize_t, writev, F_WRITE, is_regular_fd(fd), (int fd, const struct iovec *iov, int cnt), (fd, iov, cnt))
FAILING(ssize_t, copy_file_range, F_WRITE, is_regular_fd(out),
        (int in, loff_t *oin, int out, loff_t *oout, size_t n, unsigned flags), (in, oin, out, oout, n, flags))
FAILING(ssize_t, sendfile64, F_WRITE, is_regular_fd(out), (int out, int in, off64_t *off, size_t n),
        (out, in, off, n))
ssize_t sendfile(int out, int in, off_t *off, size_t n) { return sendfile64(out, in, (off64_t *)off, n); }

size_t fwrite(const void *buf, size_t size, size_t n, FILE *stream) {
  REAL(fwrite);
  if (size != 0 && n != 0 && is_regular_fd(fileno(stream)) && hit(F_WRITE)) {
    errno = fail_errno;
    return 0;
  }
  return real_fwrite(buf, size, n, stream);
}

FAILING(int, rename, F_RENAME, 1, (const char *a, const char *b), (a, b))
FAILING(int, renameat, F_RENAME, 1, (int da, const char *a, int db, const char *b), (da, a, db, b))
FAILING(int, renameat2, F_RENAME, 1, (int da, const char *a, int db, const char *b, unsigned flags),
        (da, a, db, b, flags))
FAILING(int, link, F_RENAME, 1, (const char *a, const char *b), (a, b))
FAILING(int, fsync, F_FSYNC, 1, (int fd), (fd))
FAILING(int, syncfs, F_FSYNC, 1, (int fd), (fd))
FAILING(int, fdatasync, F_FSYNC, 1, (int fd), (fd))
FAILING(int, unlink, F_REMOVE, 1, (const char *path), (path))
FAILING(int, unlinkat, F_REMOVE, 1, (int dir, const char *path, int flags), (dir, path, flags))
FAILING(int, rmdir, F_REMOVE, 1, (const char *path), (path))
FAILING(int, mkdir, F_OPEN, 1, (const char *path, mode_t mode), (path, mode))
FAILING(int, fchmod, F_MODE, 1, (int fd, mode_t mode), (fd, mode))
FAILING(int, chmod, F_MODE, 1, (const char *path, mode_t mode), (path, mode))
FAILING(int, fchmodat, F_MODE, 1, (int dir, const char *path, mode_t mode, int flags), (dir, path, mode, flags))
FAILING(int, fchown, F_MODE, 1, (int fd, uid_t uid, gid_t gid), (fd, uid, gid))
FAILING(int, chown, F_MODE, 1, (const char *path, uid_t uid, gid_t gid), (path, uid, gid))
FAILING(int, lchown, F_MODE, 1, (const char *path, uid_t uid, gid_t gid), (path, uid, gid))
FAILING(int, fchownat, F_MODE, 1, (int dir, const char *path, uid_t uid, gid_t gid, int flags),
        (dir, path, uid, gid, flags))
FAILING(int, futimens, F_TIMES, 1, (int fd, const struct timespec times[2]), (fd, times))
FAILING(int, utimensat, F_TIMES, 1, (int dir, const char *path, const struct timespec times[2], int flags),
        (dir, path, times, flags))
FAILING(int, utimes, F_TIMES, 1, (const char *path, const struct timeval times[2]), (path, times))

/* The mode argument is there only when the flags create a file. */
#define MODE_ARG(flags) \
  mode_t mode = 0; \
  if ((flags) & (O_CREAT | O_TMPFILE)) { va_list ap; va_start(ap, flags); mode = va_arg(ap, mode_t); va_end(ap); }

static int creating(int flags) { return (flags & (O_CREAT | O_TRUNC)) != 0; }

int open64(const char *path, int flags, ...) {
  REAL(open64);
  MODE_ARG(flags);
  if (creating(flags) && hit(F_OPEN)) { errno = fail_errno; return -1; }
  return real_open64(path, flags, mode);
}

int open(const char *path, int flags, ...) {
  MODE_ARG(flags);
  return open64(path, flags, mode);
}

int openat64(int dir, const char *path, int flags, ...) {
  REAL(openat64);
  MODE_ARG(flags);
  if (creating(flags) && hit(F_OPEN)) { errno = fail_errno; return -1; }
  return real_openat64(dir, path, flags, mode);
}

int openat(int dir, const char *path, int flags, ...) {
  MODE_ARG(flags);
  return openat64(dir, path, flags, mode);
}
