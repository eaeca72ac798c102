// SPDX-License-Identifier: MIT
// The functions of libc behind the interposed ones.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

namespace vchassis {

struct Real {
    int (*open)(const char *, int, ...);
    int (*openat)(int, const char *, int, ...);
    int (*close)(int);
    off64_t (*lseek)(int, off64_t, int);
    ssize_t (*read)(int, void *, size_t);
    ssize_t (*write)(int, const void *, size_t);
    ssize_t (*pread)(int, void *, size_t, off64_t);
    ssize_t (*pwrite)(int, const void *, size_t, off64_t);
    int (*ioctl)(int, unsigned long, ...);
    int (*dup)(int);
    int (*dup2)(int, int);
    int (*dup3)(int, int, int);
    FILE *(*fopen)(const char *, const char *);
    FILE *(*fdopen)(int, const char *);
    int (*fclose)(FILE *);
    int (*access)(const char *, int);
    int (*faccessat)(int, const char *, int, int);
    int (*fstatat)(int, const char *, struct stat *, int);
    int (*fstatat64)(int, const char *, struct stat64 *, int);
    int (*statx)(int, const char *, int, unsigned, struct statx *);
    ssize_t (*getxattr)(const char *, const char *, void *, size_t);
    ssize_t (*lgetxattr)(const char *, const char *, void *, size_t);
    DIR *(*opendir)(const char *);
    int (*unlinkat)(int, const char *, int);
    int (*mkdirat)(int, const char *, mode_t);
    int (*renameat2)(int, const char *, int, const char *, unsigned);
    unsigned (*sleep)(unsigned);
    int (*usleep)(useconds_t);
    int (*nanosleep)(const struct timespec *, struct timespec *);
    int (*clock_nanosleep)(clockid_t, int, const struct timespec *, struct timespec *);
};

// Looked up on first use, for the process may call before any constructor has run.
const Real &real();

}  // namespace vchassis
