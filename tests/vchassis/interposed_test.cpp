// SPDX-License-Identifier: MIT
// Functions of libc that the usual programs call seldom, or that are easily forgotten: each leads
// into the chassis, by all of its names.
#include <dirent.h>
#include <glob.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "bus_client.h"
#include "vchassis/chassis.h"

// In libc for programs linked with an older one.
extern "C" int __xstat(int version, const char *path, struct stat *out);
extern "C" int __fxstat(int version, int fd, struct stat *out);

namespace vchassis_test {

using vchassis::Chassis;
using vchassis::Op;

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

constexpr const char *kPlain = "/etc/cfg/dfd/a.cfg";

class Interposed : public ::testing::Test {
  protected:
    Interposed() {
        chassis.describe("[[registers]]\npath = '/dev/cpld0'\n[[bus]]\nnumber = 12\n");
        chassis.write_file(kPlain, "plain");
        chassis.set_reg("/dev/cpld0", 0, 'a');
        chassis.set_reg("/dev/cpld0", 1, 'b');
    }
    ~Interposed() override { EXPECT_EQ(chdir("/"), 0); }

    Chassis chassis;
};

int is_of_chassis(const dirent *entry) {
    const bool is = strncmp(entry->d_name, "cpld", 4) == 0 || strncmp(entry->d_name, "i2c", 3) == 0;
    return is ? 1 : 0;
}

Names names_of(DIR *stream) {
    Names names;
    while (const dirent *entry = readdir(stream)) {
        if (is_of_chassis(entry) != 0) {
            names.emplace_back(entry->d_name);
            EXPECT_EQ(entry->d_type, DT_CHR);
        }
    }
    return names;
}

Names scanned(const char *path, int (*wanted)(const dirent *)) {
    dirent **found = nullptr;
    const int count = scandir(path, &found, wanted, alphasort);
    Names names;
    for (int i = 0; i < count; ++i) {
        names.emplace_back(found[i]->d_name);
        free(found[i]);
    }
    free(found);
    return names;
}

Names globbed(const char *pattern) {
    glob_t found{};
    Names names;
    if (glob(pattern, 0, nullptr, &found) == 0) {
        names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
        globfree(&found);
    }
    return names;
}

// The file type and the device number, "c 89:12".
std::string kind(mode_t mode, unsigned major_number, unsigned minor_number) {
    const char type = S_ISCHR(mode) ? 'c' : S_ISREG(mode) ? '-' : '?';
    return std::string(1, type) + " " + std::to_string(major_number) + ":" +
           std::to_string(minor_number);
}

template <class Stat>
std::string kind(int result, const Stat &info) {
    return result < 0 ? strerror(errno)
                      : kind(info.st_mode, major(info.st_rdev), minor(info.st_rdev));
}

// All that cp, install and tar compare between a path and what they have opened there.
std::string fields(const struct stat &info) {
    std::ostringstream text;
    text << info.st_dev << ' ' << info.st_ino << ' ' << info.st_mode << ' ' << info.st_nlink << ' '
         << info.st_uid << ' ' << info.st_gid << ' ' << info.st_rdev << ' ' << info.st_size << ' '
         << info.st_blksize << ' ' << info.st_blocks;
    for (const timespec &time : {info.st_atim, info.st_mtim, info.st_ctim}) {
        text << ' ' << time.tv_sec << '.' << time.tv_nsec;
    }
    return text.str();
}

std::string fields(const struct statx &info) {
    std::ostringstream text;
    text << makedev(info.stx_dev_major, info.stx_dev_minor) << ' ' << info.stx_ino << ' '
         << info.stx_mode << ' ' << info.stx_nlink << ' ' << info.stx_uid << ' ' << info.stx_gid
         << ' ' << makedev(info.stx_rdev_major, info.stx_rdev_minor) << ' ' << info.stx_size << ' '
         << info.stx_blksize << ' ' << info.stx_blocks;
    for (const statx_timestamp &time : {info.stx_atime, info.stx_mtime, info.stx_ctime}) {
        text << ' ' << time.tv_sec << '.' << time.tv_nsec;
    }
    return text.str();
}

std::string rest_of(FILE *stream) {
    char text[8] = {};
    return stream == nullptr ? strerror(errno) : std::string(text, fread(text, 1, 2, stream));
}

}  // namespace

TEST_F(Interposed, StreamsOfDirectoriesShowTheDevices) {
    const Names devices = {"cpld0", "i2c-12"};
    const auto closing = [](DIR *stream) { EXPECT_EQ(closedir(stream), 0); };
    const std::unique_ptr<DIR, decltype(closing)> stream(opendir("/dev"), closing);
    EXPECT_EQ(names_of(stream.get()), devices);
    rewinddir(stream.get());
    const long start = telldir(stream.get());
    const std::string first = readdir(stream.get())->d_name;
    EXPECT_EQ(names_of(stream.get()), devices);
    seekdir(stream.get(), start);
    EXPECT_EQ(readdir64(stream.get())->d_name, first);
    EXPECT_EQ(error_of(faccessat(dirfd(stream.get()), "cpld1", F_OK, 0)), ENOENT);

    const std::unique_ptr<DIR, decltype(closing)> by_fd(fdopendir(open("/dev/", O_RDONLY)),
                                                        closing);
    EXPECT_EQ(names_of(by_fd.get()), devices);
    EXPECT_EQ(opendir("/dev/cpld0"), nullptr);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(opendir("/dev/cpld1"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Interposed, WhatLibcBuildsOnDirectoriesLeadsThere) {
    EXPECT_EQ(scanned("/dev", is_of_chassis), (Names{"cpld0", "i2c-12"}));
    EXPECT_EQ(scanned("/etc/cfg", nullptr), (Names{".", "..", "dfd"}));
    EXPECT_EQ(scanned("/etc/cfg/dfd", nullptr), (Names{".", "..", "a.cfg"}));
    EXPECT_EQ(scanned("/no/where", nullptr), Names{});
    EXPECT_EQ(globbed("/dev/[ci]*[0-9]*d*0"), Names{});
    EXPECT_EQ(globbed("/dev/i2c*"), Names{"/dev/i2c-12"});
    EXPECT_EQ(globbed("/dev/cpld0"), Names{"/dev/cpld0"});
    EXPECT_EQ(globbed("/etc/cfg/*/*.cfg"), Names{kPlain});
    EXPECT_EQ(globbed("/dev/nul[l]"), Names{"/dev/null"});
    // What a program closed inside libc is not taken for open.
    const int fd = open("/etc/cfg/dfd", O_RDONLY | O_DIRECTORY);
    closedir(fdopendir(fd));
    EXPECT_EQ(chassis.log(Op::open).size(), chassis.log(Op::close).size());
}

TEST_F(Interposed, DevicesAreShownByAllFunctionsAlike) {
    struct Row {
        const char *path, *kind;
    };
    for (const Row &row : {Row{"/dev/cpld0", "c 240:0"}, Row{"/dev/i2c-12", "c 89:12"},
                           Row{kPlain, "- 0:0"}, Row{"/dev/null", "c 1:3"}}) {
        SCOPED_TRACE(row.path);
        struct stat info {};
        struct stat64 info64 {};
        struct statx more {};
        const File file(row.path, O_RDONLY);
        EXPECT_EQ(kind(stat(row.path, &info), info), row.kind);
        EXPECT_EQ(kind(lstat(row.path, &info), info), row.kind);
        EXPECT_EQ(kind(stat64(row.path, &info64), info64), row.kind);
        EXPECT_EQ(kind(fstatat(AT_FDCWD, row.path, &info, 0), info), row.kind);
        const std::string by_path = fields(info);
        EXPECT_EQ(kind(fstat(file.fd, &info), info), row.kind);
        EXPECT_EQ(fields(info), by_path);
        EXPECT_EQ(kind(fstat64(file.fd, &info64), info64), row.kind);
        EXPECT_EQ(kind(fstatat(file.fd, "", &info, AT_EMPTY_PATH), info), row.kind);
        EXPECT_EQ(kind(__xstat(1, row.path, &info), info), row.kind);
        EXPECT_EQ(kind(__fxstat(1, file.fd, &info), info), row.kind);
        EXPECT_EQ(fields(info), by_path);
        EXPECT_EQ(statx(file.fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &more), 0);
        EXPECT_EQ(kind(more.stx_mode, more.stx_rdev_major, more.stx_rdev_minor), row.kind);
        EXPECT_EQ(fields(more), by_path);
        EXPECT_EQ(statx(AT_FDCWD, row.path, 0, STATX_BASIC_STATS, &more), 0);
        EXPECT_EQ(fields(more), by_path);
        EXPECT_EQ(euidaccess(row.path, R_OK | W_OK), 0);
        EXPECT_EQ(eaccess(row.path, R_OK), 0);
        std::unique_ptr<char, decltype(&free)> name(realpath(row.path, nullptr), &free);
        EXPECT_STREQ(name.get(), row.path);
    }
    struct stat info {};
    EXPECT_EQ(error_of(fstat(AT_FDCWD, &info)), EBADF);
    EXPECT_EQ(error_of(stat("/dev/cpld1", &info)), ENOENT);
    EXPECT_EQ(error_of(euidaccess("/dev/cpld1", F_OK)), ENOENT);
    EXPECT_EQ(error_of(eaccess("/dev/cpld0", X_OK)), EACCES);
    EXPECT_EQ(realpath("/dev/cpld1", nullptr), nullptr);
}

TEST_F(Interposed, DevicesTakeNoChanges) {
    const File file("/dev/cpld0");
    const auto owner = getuid();
    struct Row {
        const char *what;
        long result;
        int error;
    };
    const Row kRows[] = {
        {"unlink", error_of(unlink("/dev/cpld0")), EACCES},
        {"rename", error_of(rename("/dev/cpld0", "/tmp/bspinfo/x")), EACCES},
        {"rename onto it", error_of(rename(kPlain, "/dev/cpld0")), EEXIST},
        {"mkdir", error_of(mkdir("/dev/cpld0", 0700)), EEXIST},
        {"a device that the chassis lacks", error_of(mkdir("/dev/cpld1", 0700)), ENOENT},
        {"symlink", error_of(symlink("x", "/dev/cpld0")), EEXIST},
        {"link", error_of(link("/dev/cpld0", "/tmp/bspinfo/x")), EPERM},
        {"chmod", error_of(chmod("/dev/cpld0", 0)), EPERM},
        {"fchmod", error_of(fchmod(file.fd, 0)), EPERM},
        {"chown", error_of(chown("/dev/cpld0", owner, getgid())), EPERM},
        {"fchown", error_of(fchown(file.fd, owner, getgid())), EPERM},
        {"futimens", error_of(futimens(file.fd, nullptr)), EPERM},
        {"utimensat", error_of(utimensat(AT_FDCWD, "/dev/cpld0", nullptr, 0)), EPERM},
        {"truncate", error_of(truncate("/dev/cpld0", 0)), EINVAL},
        {"ftruncate", error_of(ftruncate(file.fd, 0)), EINVAL},
        {"readlink", error_of(readlink("/dev/cpld0", std::string(9, 'x').data(), 9)), EINVAL},
        {"chdir", error_of(chdir("/dev/cpld0")), ENOTDIR},
        {"chdir to none", error_of(chdir("/dev/cpld1")), ENOENT},
    };
    for (const Row &row : kRows) {
        EXPECT_EQ(row.result, row.error) << row.what;
    }
    EXPECT_EQ(read_register("/dev/cpld0", 0), 'a');
}

TEST_F(Interposed, TheWorkingDirectoryHasTheNameThatTheProgramKnows) {
    ASSERT_EQ(chdir("/etc/cfg/dfd"), 0);
    char name[PATH_MAX];
    EXPECT_STREQ(getcwd(name, sizeof name), "/etc/cfg/dfd");
    EXPECT_EQ(getcwd(name, 12), nullptr);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_STREQ(getcwd(name, 13), "/etc/cfg/dfd");
    EXPECT_EQ(getcwd(name, 0), nullptr);
    for (char *made : {getcwd(nullptr, 0), get_current_dir_name()}) {
        EXPECT_STREQ(made, "/etc/cfg/dfd");
        free(made);
    }
    EXPECT_EQ(access("a.cfg", R_OK), 0);
    EXPECT_EQ(access("../dfd/a.cfg", R_OK), 0);
    EXPECT_STREQ(realpath("a.cfg", name), kPlain);
    const File here(".", O_RDONLY | O_DIRECTORY);
    EXPECT_EQ(mkdirat(here.fd, "sub", 0700), 0);
    EXPECT_EQ(chdir("../../../../dev"), 0);
    EXPECT_STREQ(getcwd(name, sizeof name), "/dev");
    EXPECT_EQ(read_register("cpld0", 0), 'a');
    EXPECT_EQ(fchdir(here.fd), 0);
    EXPECT_EQ(error_of(open("../../../vchassis-none/x", O_CREAT | O_WRONLY, 0600)), ENOENT);
    EXPECT_EQ(chdir("sub"), 0);
    EXPECT_STREQ(getcwd(name, sizeof name), "/etc/cfg/dfd/sub");
}

TEST_F(Interposed, TemporaryNamesAreTriedInTheChassis) {
    struct Row {
        const char *pattern, *start, *end;
        std::function<int(char *)> make;
    };
    const auto made = [](const char *name) { return name == nullptr || *name == '\0' ? -1 : 0; };
    const Row kRows[] = {
        {"/tmp/bspinfo/aXXXXXX", "/tmp/bspinfo/a", "", [](char *p) { return mkstemp(p); }},
        {"/tmp/bspinfo/aXXXXXX.x", "/tmp/bspinfo/a", ".x",
         [](char *p) { return mkostemps(p, 2, O_APPEND); }},
        {"/tmp/bspinfo/XXXXXX", "/tmp/bspinfo/", "", [&](char *p) { return made(mkdtemp(p)); }},
        {"/tmp/bspinfo/dXXXXXX", "/tmp/bspinfo/d", "", [&](char *p) { return made(mktemp(p)); }},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.pattern);
        std::string name = row.pattern;
        const int result = row.make(name.data());
        EXPECT_GE(result, 0);
        EXPECT_TRUE(name.starts_with(row.start) && name.ends_with(row.end) && name != row.pattern &&
                    name.size() == strlen(row.pattern))
            << name;
        const bool only_named = strcmp(row.start, "/tmp/bspinfo/d") == 0;
        EXPECT_EQ(fs::exists(chassis.dir().string() + name), !only_named);
        if (result > 0) {
            EXPECT_EQ(write(result, "x", 1), 1);
            close(result);
        }
    }
    EXPECT_EQ(chassis.log(Op::open).size(), chassis.log(Op::close).size());
    std::string wrong = "/tmp/bspinfo/XXXXX";
    EXPECT_EQ(error_of(mkstemp(wrong.data())), EINVAL);
    EXPECT_EQ(error_of(mkstemps(wrong.data(), 99)), EINVAL);
}

TEST_F(Interposed, StreamsAreReopened) {
    FILE *stream = fopen("/dev/null", "r");
    FILE *const first = stream;
    const int fd = fileno(stream);
    stream = freopen(kPlain, "r", stream);
    EXPECT_EQ(stream, first);
    EXPECT_EQ(rest_of(stream), "pl");
    stream = freopen("/dev/cpld0", "r+", stream);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fileno(stream), fd);
    EXPECT_EQ(rest_of(stream), "ab");
    EXPECT_EQ(fseek(stream, 0, SEEK_SET), 0);
    EXPECT_EQ(fputs("xy", stream), 1);
    stream = freopen(nullptr, "r", stream);
    EXPECT_EQ(chassis.reg("/dev/cpld0", 1), 'y');
    EXPECT_EQ(rest_of(stream), "xy");
    stream = freopen("/proc/version", "r", stream);
    EXPECT_EQ(rest_of(stream), "Li");
    EXPECT_EQ(freopen("/dev/cpld1", "r", stream), nullptr);
    EXPECT_EQ(errno, ENOENT);
    fclose(stream);
    EXPECT_EQ(chassis.log(Op::open).size(), 4U) << "one of them failed";
    EXPECT_EQ(chassis.log(Op::close).size(), 3U);
}

TEST_F(Interposed, CopiesOfDescriptorsAreFollowed) {
    const int fd = open("/dev/cpld0", O_RDONLY | O_CLOEXEC | O_NOCTTY);
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDONLY);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    const int copy = fcntl(fd, F_DUPFD, 100);
    close(fd);
    char byte = 0;
    EXPECT_EQ(read(copy, &byte, 1), 1);
    EXPECT_EQ(byte, 'a');
    EXPECT_TRUE(chassis.log(Op::close).empty());
    EXPECT_EQ(close_range(100, static_cast<unsigned>(copy), 0), 0);
    EXPECT_EQ(chassis.log(Op::close).size(), 1U);
    EXPECT_EQ(error_of(read(copy, &byte, 1)), EBADF);
    const File path_only("/dev/cpld0", O_PATH);
    EXPECT_EQ(error_of(read(path_only.fd, &byte, 1)), EBADF);
}

}  // namespace vchassis_test
