// SPDX-License-Identifier: MIT
// The functions of libc behind the interposed ones.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>
#include <utime.h>

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
    int (*fcntl)(int, int, ...);
    int (*close_range)(unsigned, unsigned, int);
    void (*closefrom)(int);
    FILE *(*fopen)(const char *, const char *);
    FILE *(*fdopen)(int, const char *);
    FILE *(*freopen)(const char *, const char *, FILE *);
    int (*fclose)(FILE *);
    int (*access)(const char *, int);
    int (*faccessat)(int, const char *, int, int);
    int (*fstatat)(int, const char *, struct stat *, int);
    int (*fstatat64)(int, const char *, struct stat64 *, int);
    int (*statx)(int, const char *, int, unsigned, struct statx *);
    ssize_t (*getxattr)(const char *, const char *, void *, size_t);
    ssize_t (*lgetxattr)(const char *, const char *, void *, size_t);
    ssize_t (*listxattr)(const char *, char *, size_t);
    ssize_t (*llistxattr)(const char *, char *, size_t);
    int (*setxattr)(const char *, const char *, const void *, size_t, int);
    int (*lsetxattr)(const char *, const char *, const void *, size_t, int);
    int (*removexattr)(const char *, const char *);
    int (*lremovexattr)(const char *, const char *);
    int (*statfs)(const char *, struct statfs *);
    int (*statfs64)(const char *, struct statfs64 *);
    int (*statvfs)(const char *, struct statvfs *);
    int (*statvfs64)(const char *, struct statvfs64 *);
    long (*pathconf)(const char *, int);
    DIR *(*opendir)(const char *);
    DIR *(*fdopendir)(int);
    int (*closedir)(DIR *);
    dirent *(*readdir)(DIR *);
    dirent64 *(*readdir64)(DIR *);
    void (*rewinddir)(DIR *);
    long (*telldir)(DIR *);
    void (*seekdir)(DIR *, long);
    int (*scandirat)(int, const char *, dirent ***, int (*)(const dirent *),
                     int (*)(const dirent **, const dirent **));
    int (*scandirat64)(int, const char *, dirent64 ***, int (*)(const dirent64 *),
                       int (*)(const dirent64 **, const dirent64 **));
    int (*glob)(const char *, int, int (*)(const char *, int), glob_t *);
    int (*glob64)(const char *, int, int (*)(const char *, int), glob64_t *);
    int (*unlinkat)(int, const char *, int);
    int (*mkdirat)(int, const char *, mode_t);
    int (*mknodat)(int, const char *, mode_t, dev_t);
    int (*renameat2)(int, const char *, int, const char *, unsigned);
    int (*linkat)(int, const char *, int, const char *, int);
    int (*symlinkat)(const char *, int, const char *);
    ssize_t (*readlinkat)(int, const char *, char *, size_t);
    int (*fchmodat)(int, const char *, mode_t, int);
    int (*fchmod)(int, mode_t);
    int (*fchownat)(int, const char *, uid_t, gid_t, int);
    int (*fchown)(int, uid_t, gid_t);
    int (*truncate)(const char *, off64_t);
    int (*ftruncate)(int, off64_t);
    int (*futimens)(int, const struct timespec *);
    int (*utimensat)(int, const char *, const struct timespec *, int);
    int (*utimes)(const char *, const struct timeval *);
    int (*lutimes)(const char *, const struct timeval *);
    int (*futimesat)(int, const char *, const struct timeval *);
    int (*utime)(const char *, const struct utimbuf *);
    int (*chdir)(const char *);
    char *(*getcwd)(char *, size_t);
    char *(*get_current_dir_name)();
    char *(*realpath)(const char *, char *);
    int (*mkostemps)(char *, int, int);
    char *(*mkdtemp)(char *);
    char *(*mktemp)(char *);
    unsigned (*sleep)(unsigned);
    int (*usleep)(useconds_t);
    int (*nanosleep)(const struct timespec *, struct timespec *);
    int (*clock_nanosleep)(clockid_t, int, const struct timespec *, struct timespec *);
};

// Looked up on first use, for the process may call before any constructor has run.
const Real &real();

}  // namespace vchassis
