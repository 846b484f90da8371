#pragma once

#include <sys/types.h>
#include <time.h>

#define S_IFMT 0170000
#define S_IFREG 0100000
#define S_ISREG(mode) (((mode)&S_IFMT) == S_IFREG)

struct stat {
  dev_t st_dev;
  mode_t st_mode;
  nlink_t st_nlink;
  ino_t st_ino;
  uid_t st_uid;
  gid_t st_gid;
  dev_t st_rdev;
  timespec st_atimespec;
  timespec st_mtimespec;
  timespec st_ctimespec;
  timespec st_birthtimespec;
  off_t st_size;
  blkcnt_t st_blocks;
  blksize_t st_blksize;
  uint32_t st_flags;
  uint32_t st_gen;
  int32_t st_lspare;
  int64_t st_qspare[2];
};

// On Intel the plain name fills an older record with 32-bit file numbers.
#ifdef __x86_64__
#define SORREL_INODE64(name) __asm("_" #name "$INODE64")
#else
#define SORREL_INODE64(name)
#endif

extern "C" int fstat(int fd, struct stat* status) SORREL_INODE64(fstat);
