// SPDX-License-Identifier: MIT
// Which paths lead into the chassis directory and which to the host.
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;
using vchassis::Event;
using vchassis::Op;

namespace fs = std::filesystem;

namespace {

std::string read_all(const std::string &path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string read_descriptor(const char *path) {
    const File file(path, O_RDONLY);
    std::string text(64, '\0');
    const ssize_t n = read(file.fd, text.data(), text.size());
    text.resize(n < 0 ? 0 : static_cast<std::size_t>(n));
    return text;
}

// A file of the host that must show through, or must not.
class HostFile {
  public:
    explicit HostFile(const char *path) : path_(path) { std::ofstream(path) << "host"; }
    // It has survived the test.
    ~HostFile() { EXPECT_TRUE(fs::remove(path_)); }

  private:
    fs::path path_;
};

}  // namespace

TEST(Files, ConfigurationIsReadFromTheChassis) {
    Chassis chassis;
    chassis.write_file("/etc/cfg/dfd/cfg_file/a.cfg", "one\ntwo\n");
    const char *path = "/etc/cfg/dfd/cfg_file/a.cfg";
    EXPECT_EQ(read_descriptor(path), "one\ntwo\n");
    EXPECT_EQ(read_descriptor("/etc/cfg/dfd/./file_name/../cfg_file/a.cfg"), "one\ntwo\n");
    EXPECT_EQ(read_all(path), "one\ntwo\n");
    EXPECT_EQ(access(path, R_OK), 0);
    FILE *stream = fopen(path, "r");
    ASSERT_NE(stream, nullptr);
    char line[8];
    EXPECT_STREQ(fgets(line, sizeof line, stream), "one\n");
    EXPECT_EQ(fclose(stream), 0);
    EXPECT_EQ(chassis.log(Op::open).size(), 4U);
    EXPECT_EQ(chassis.log(Op::close).size(), 4U);
    chassis.remove_file(path);
    EXPECT_EQ(error_of(File(path, O_RDONLY).fd), ENOENT);
    EXPECT_EQ(fopen(path, "r"), nullptr);
}

// Owned places are the chassis's alone: the host's files do not show through, and what a program
// creates there stays in the chassis directory.
TEST(Files, OwnedPlacesHideTheHost) {
    const char *marker = "/tmp/.factory_disabale_cli_tty";
    const HostFile host(marker);
    Chassis chassis;
    EXPECT_EQ(error_of(File(marker, O_RDONLY).fd), ENOENT);
    EXPECT_EQ(error_of(access(marker, F_OK)), ENOENT);
    const int fd = open("/tmp/bspinfo/deep/note", O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(write(fd, "note", 4), 4);
    close(fd);
    EXPECT_EQ(read_all(chassis.dir() / "tmp/bspinfo/deep/note"), "note");
    std::ofstream("/tmp/bspinfo/new") << "stream";
    EXPECT_EQ(read_all(chassis.dir() / "tmp/bspinfo/new"), "stream");
}

TEST(Files, OtherPathsUnderTmpPreferTheChassis) {
    const HostFile host("/tmp/vchassis-test-shadowed");
    Chassis chassis;
    EXPECT_EQ(read_descriptor("/tmp/vchassis-test-shadowed"), "host");
    EXPECT_TRUE(chassis.log().empty());
    chassis.write_file("/tmp/vchassis-test-shadowed", "chassis");
    EXPECT_EQ(read_descriptor("/tmp/vchassis-test-shadowed"), "chassis");
    EXPECT_FALSE(chassis.log().empty());
}

TEST(Files, EverythingElseIsTheHosts) {
    Chassis chassis;
    chassis.write_file("/etc/hostname", "chassis");
    chassis.write_file("/etc/cfg/dfd.old", "chassis");
    EXPECT_NE(read_all("/etc/hostname"), "chassis");
    EXPECT_EQ(error_of(File("/etc/cfg/dfd.old", O_RDONLY).fd), ENOENT);
    EXPECT_GE(File("/dev/null", O_RDONLY).fd, 0);
    errno = ERANGE;
    File("/dev/null", O_RDONLY);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_TRUE(chassis.log().empty());
}

// What is looked at, deleted or renamed in an owned place is the chassis's, never the host's.
TEST(Files, PathsWithoutADescriptorLeadThere) {
    const char *marker = "/tmp/.factory_disabale_cli_tty";
    const HostFile host(marker);
    Chassis chassis;
    chassis.describe("[[registers]]\npath = '/dev/cpld0'");
    EXPECT_FALSE(fs::exists(marker));
    EXPECT_EQ(error_of(unlink(marker)), ENOENT);
    EXPECT_EQ(mkdir("/tmp/bspinfo", 0700), 0);
    chassis.write_file("/tmp/bspinfo/old", "text");
    EXPECT_EQ(fs::file_size("/tmp/bspinfo/old"), 4U);
    EXPECT_EQ(
        renameat2(AT_FDCWD, "/tmp/bspinfo/old", AT_FDCWD, "/tmp/bspinfo/older", RENAME_NOREPLACE),
        0);
    EXPECT_EQ(rename("/tmp/bspinfo/older", marker), 0);
    EXPECT_TRUE(fs::is_empty("/tmp/bspinfo"));
    EXPECT_EQ(read_all(marker), "text");
    EXPECT_EQ(remove(marker), 0);
    EXPECT_EQ(remove("/tmp/bspinfo"), 0);
    EXPECT_FALSE(fs::exists(chassis.dir() / "tmp/bspinfo"));
    EXPECT_TRUE(fs::is_character_file("/dev/cpld0"));
    EXPECT_EQ(error_of(unlink("/dev/cpld0")), EACCES);
    EXPECT_FALSE(fs::exists("/dev/cpld1"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(Files, OwnedPlacesAreConfigurable) {
    Chassis chassis;
    chassis.describe("[files]\nalso_owned = ['/srv/board']");
    chassis.write_file("/srv/board/id", "7");
    EXPECT_EQ(read_descriptor("/srv/board/id"), "7");
    EXPECT_EQ(error_of(File("/etc/cfg/dfd/none", O_RDONLY).fd), ENOENT);
    chassis.describe("[files]\nowned = ['/srv/other']");
    EXPECT_EQ(error_of(File("/srv/board/id", O_RDONLY).fd), ENOENT);
}

// The original directory of a copied chassis stays as it is.
TEST(Files, ADirectoryIsCopied) {
    Chassis chassis;
    chassis.write_file("/chassis.toml", "[[registers]]\npath = '/dev/cpld0'\nfill = 7");
    chassis.write_file("/etc/cfg/dfd/a", "original");
    chassis.write_file("/state/dev-cpld0.bin", std::string(256, 'x'));
    const fs::path original = fs::temp_directory_path() / "vchassis-test-original";
    fs::remove_all(original);
    fs::copy(chassis.dir(), original, fs::copy_options::recursive);
    // One chassis at a time: the second takes over while it lives.
    {
        Chassis copy(original);
        EXPECT_EQ(copy.reg("/dev/cpld0", 3), 7);
        copy.set_reg("/dev/cpld0", 3, 8);
        copy.write_file("/etc/cfg/dfd/a", "changed");
        EXPECT_EQ(read_descriptor("/etc/cfg/dfd/a"), "changed");
    }
    EXPECT_EQ(read_all(original / "etc/cfg/dfd/a"), "original");
    EXPECT_EQ(read_all(original / "state/dev-cpld0.bin"), std::string(256, 'x'));
    fs::remove_all(original);
}

}  // namespace vchassis_test
