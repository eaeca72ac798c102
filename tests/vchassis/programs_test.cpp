// SPDX-License-Identifier: MIT
// Common programs on a chassis: what they list, show, make and remove is the chassis's.
#include <unistd.h>

#include <fstream>
#include <string>

#include "shell_chassis.h"

namespace vchassis_test {

namespace {

struct Row {
    const char *command, *out;
};

// Programs that a machine may lack. A row that needs one is left out there.
constexpr const char *kOptional[] = {"hexdump", "xxd", "perl", "python3", "bash"};

class Programs : public Commands {
  protected:
    // As a script, so that shells expand patterns and redirect on the chassis.
    Output on_chassis(const std::string &script) const {
        std::ofstream(dir / "script") << script << '\n';
        return shell("$V run $D -- sh $D/script");
    }

    bool can_run(const std::string &script) const {
        for (const std::string program : kOptional) {
            if (script.find(program + " ") != std::string::npos &&
                shell("command -v " + program).status != 0) {
                return false;
            }
        }
        return true;
    }

    template <std::size_t count>
    void expect(const Row (&rows)[count]) const {
        for (const Row &row : rows) {
            SCOPED_TRACE(row.command);
            if (can_run(row.command)) {
                const Output output = on_chassis(row.command);
                EXPECT_EQ(output.out, row.out) << output.err;
            }
        }
    }
};

// A directory of the host that a chassis takes over. It must come through a test untouched.
class HostDirectory {
  public:
    HostDirectory() {
        std::ofstream(path / "file") << "host";
        fs::permissions(path / "file", fs::perms::owner_read);
        fs::create_symlink("file", path / "link");
        fs::create_directory(path / "empty");
    }
    ~HostDirectory() { fs::remove_all(path); }

    std::string look() const {
        FILE *pipe =
            popen(("cd " + path.string() +
                   " && stat -c '%n %i %F %a %u %h %s %y' . * && cat file && readlink link")
                      .c_str(),
                  "r");
        char buffer[4096];
        const std::size_t size = fread(buffer, 1, sizeof buffer, pipe);
        pclose(pipe);
        return {buffer, size};
    }

    const fs::path path = made();

  private:
    static fs::path made() {
        char name[] = "/tmp/vchassis-host-XXXXXX";
        return mkdtemp(name);
    }
};

}  // namespace

TEST_F(Programs, DevicesAreListedAndShown) {
    describe("[[registers]]\npath = '/dev/lpc0'");
    constexpr Row kRows[] = {
        {"ls -d /dev/cpld* /dev/i2c-* /dev/fpga* 2>&1 | grep -v cannot",
         "/dev/cpld0\n/dev/i2c-0\n"},
        {"ls /dev | grep -E '^(cpld|fpga|i2c|lpc|null)'", "cpld0\ni2c-0\nlpc0\nnull\n"},
        {"ls -A /dev/ | sort | uniq -d", ""},
        {"echo /dev/cpld? /dev/lpc* /dev/i2c-[0-9]", "/dev/cpld0 /dev/lpc0 /dev/i2c-0\n"},
        {"bash -c 'echo /dev/cpld? /dev/i2c*'", "/dev/cpld0 /dev/i2c-0\n"},
        {"find /dev -maxdepth 1 -name 'cpld*' -type c", "/dev/cpld0\n"},
        {"find /dev/cpld0 /dev/cpld1 -type c 2>/dev/null", "/dev/cpld0\n"},
        {"ls -l /dev/i2c-0 | cut -c1-10", "crw-rw----\n"},
        {"stat -c '%F %a %t:%T' /dev/cpld0 /dev/lpc0 /dev/i2c-0",
         "character special file 660 f0:0\ncharacter special file 660 f0:1\n"
         "character special file 660 59:0\n"},
        {"test -O /dev/cpld0 && test -c /dev/cpld0 && test -r /dev/cpld0 && test -w /dev/cpld0 "
         "&& ! test -x /dev/cpld0 && ! test -e /dev/cpld1 && echo yes",
         "yes\n"},
        {"test \"$(ls -i /dev/cpld0)\" = \"$(stat -c '%i %n' /dev/cpld0)\" && echo yes", "yes\n"},
        {"cd /dev && ls cpld* && od -An -tx1 -N2 cpld0", "cpld0\n 00 fe\n"},
        {"hexdump -n 3 -C /dev/cpld0",
         "00000000  00 fe 00                                          "
         "|...|\n00000003\n"},
        {"xxd -l 2 /dev/cpld0", "00000000: 00fe                                     ..\n"},
        {"dd if=/dev/cpld0 bs=1 skip=1 count=1 status=none | od -An -tx1", " fe\n"},
        {"i2cdetect -l", "i2c-0\ti2c       \tvchassis bus 0                  \tI2C adapter\n"},
        {"i2cget -y 'vchassis bus 0' 0x57 0", "0x01\n"},
        {"ls /sys/class | grep i2c; ls /sys/class/i2c-dev; cat /sys/class/i2c-dev/i2c-0/dev",
         "i2c-dev\ni2c-0\n89:0\n"},
        {"perl -e 'opendir(D, \"/dev\"); print join(\" \", sort grep(/cpld|i2c/, readdir(D))), "
         "\" \", -r \"/dev/cpld0\", \" \", (stat(\"/dev/i2c-0\"))[6] >> 8, \"\\n\"'",
         "cpld0 i2c-0 1 89\n"},
        {"python3 -c \"import glob, os, stat; print(sorted(glob.glob('/dev/i2c*') + "
         "glob.glob('/dev/cpld*')), stat.S_ISCHR(os.stat('/dev/cpld0').st_mode), "
         "os.access('/dev/cpld0', 6), open('/dev/cpld0', 'rb', 0).read(2))\"",
         "['/dev/cpld0', '/dev/i2c-0'] True True b'\\x00\\xfe'\n"},
        {"cd ${0%/*}; for copy in cp 'cp -p' 'install -m 644'; do rm -f x; $copy /dev/cpld0 x && "
         "stat -c '%F %s' x && od -An -tx1 -N2 x; done",
         "regular file 256\n 00 fe\nregular file 256\n 00 fe\nregular file 256\n 00 fe\n"},
        {"cd ${0%/*}; cp /dev/i2c-0 x 2>/dev/null || echo no; ! test -s x && echo empty",
         "no\nempty\n"},
        {"cd ${0%/*}; printf ab > x; cp x /dev/cpld0 && od -An -c -N3 /dev/cpld0",
         "   a 376  \\0\n"},
        {"cd ${0%/*}; tar -cPf x.tar /dev/cpld0; tar -tvPf x.tar | grep -c '^crw-rw----.* 240,0 .*"
         " /dev/cpld0$'",
         "1\n"},
        {"rm -f /dev/cpld0 2>/dev/null || echo kept; test -c /dev/cpld0 && echo there",
         "kept\nthere\n"},
    };
    expect(kRows);
}

// What a shell opens, the programs that it starts and its own commands read and write.
TEST_F(Programs, DevicesAreRedirected) {
    describe("[[registers]]\npath = '/dev/lpc0'");
    constexpr Row kRows[] = {
        {"cat < /dev/cpld0 | od -An -tx1 -N2", " 00 fe\n"},
        {"head -c 2 < /dev/cpld0 | od -An -tx1", " 00 fe\n"},
        {"xxd -l 2 < /dev/cpld0", "00000000: 00fe                                     ..\n"},
        {"stat -L -c '%t:%T' - < /dev/i2c-0", "59:0\n"},
        {"printf ab > /dev/lpc0; od -An -c -N3 /dev/lpc0", "   a   b  \\0\n"},
        {"/usr/bin/printf cd > /dev/lpc0; od -An -c -N3 /dev/lpc0", "   c   d  \\0\n"},
        {"bash -c 'printf e > /dev/lpc0; echo told; { echo -n f; echo -n g >&2; } 1>/dev/lpc0; "
         "echo h'; od -An -c -N2 /dev/lpc0",
         "told\nh\n   f   d\n"},
        {"exec 3<> /dev/lpc0; dd bs=1 count=1 status=none <&3 >/dev/null; printf x >&3; "
         "dd bs=1 count=1 status=none <&3 >/dev/null; printf y >&3; exec 3>&-; "
         "od -An -c -N4 /dev/lpc0",
         "   f   x  \\0   y\n"},
        {"cat < /dev/cpld1 2>/dev/null || echo none", "none\n"},
    };
    expect(kRows);
}

// Each is what the program prints on files of a machine that has them.
TEST_F(Programs, FilesOfTheChassisAreWorkedOn) {
    constexpr Row kRows[] = {
        {"cd /etc/cfg/dfd && pwd && ls && cat a.cfg && cd .. && pwd && ls && cat ./dfd/a.cfg",
         "/etc/cfg/dfd\na.cfg\nfrom the chassis\n/etc/cfg\ndfd\nfrom the chassis\n"},
        {"cd /etc/cfg/dfd; /bin/pwd; cd /; cat etc/cfg/dfd/a.cfg; cd - >/dev/null; ls ../dfd",
         "/etc/cfg/dfd\nfrom the chassis\na.cfg\n"},
        {"echo /etc/cfg/*; ls -d /etc/cf[g]; ls /etc | grep -cE '^(cfg|passwd)$'",
         "/etc/cfg/dfd\n/etc/cfg\n2\n"},
        {"find /etc/cfg; realpath /etc/cfg/dfd/../dfd/a.cfg",
         "/etc/cfg\n/etc/cfg/dfd\n/etc/cfg/dfd/a.cfg\n/etc/cfg/dfd/a.cfg\n"},
        {"cd /etc/cfg/dfd; tar cf - . | tar tf -; grep -rl chassis .; diff -r . /etc/cfg/dfd",
         "./\n./a.cfg\n./a.cfg\n"},
        {"mkdir -p /tmp/bspinfo/d/e; cd /tmp/bspinfo; echo one > x; cp x y; mv y d/z; cat d/z; "
         "ls -R . | tr '\\n' ' '; cd ..; ls | grep bsp; rm -r bspinfo/d; ls bspinfo",
         "one\n.: d x  ./d: e z  ./d/e: bspinfo\nx\n"},
        {"cd /tmp/bspinfo; truncate -s 5 t; chmod 600 t; touch -d @7 t; stat -c '%s %a %Y' t; "
         "install -m 640 x i; stat -c %a i; sed -i s/one/two/ x; cat x; rm i t; ls",
         "5 600 7\n640\ntwo\nx\n"},
        {"cd /tmp/bspinfo; ln -s x l; readlink l; cat l; ln x h; stat -c %h x; mkfifo f; ls; "
         "rm h f l",
         "x\ntwo\n2\nf\nh\nl\nx\n"},
        {"f=$(mktemp -p /tmp/bspinfo a.XXXXXX) && d=$(mktemp -d /tmp/bspinfo/XXXXXX) && "
         "stat -c '%F %a' $f $d && rm -r $f $d && ls /tmp/bspinfo",
         "regular empty file 600\ndirectory 700\nx\n"},
        {"perl -e 'chdir(\"/tmp/bspinfo\"); mkdir(\"p\"); rename(\"x\", \"p/x\"); "
         "truncate(\"p/x\", 2); print join(\" \", glob(\"/tmp/bspinfo/*/*\")), \" \", "
         "-s \"p/x\", \"\\n\"; rename(\"p/x\", \"x\"); rmdir(\"p\")'",
         "/tmp/bspinfo/p/x 2\n"},
        {"cd /tmp/bspinfo; python3 -c \"import os, shutil; print(os.getcwd(), os.listdir()); "
         "shutil.copytree('.', '/tmp/bspinfo.copy' if 0 else 'c'); print(sorted(os.listdir()), "
         "[len(f) for d, s, f in os.walk('/tmp/bspinfo')]); shutil.rmtree('c')\"",
         "/tmp/bspinfo ['x']\n['c', 'x'] [1, 1]\n"},
        {"ls /tmp/bspinfo; rm -rf /tmp/bspinfo; ls /tmp | grep -c bspinfo", "x\n0\n"},
    };
    expect(kRows);
    EXPECT_FALSE(fs::exists("/etc/cfg/dfd"));
}

TEST_F(Programs, WhatTheChassisOwnsOfTheHostStaysAsItIs) {
    const HostDirectory host;
    const std::string owned = host.path.string();
    describe("[files]\nalso_owned = ['" + owned + "']");
    const std::string before = host.look();
    ASSERT_NE(before.find("host"), std::string::npos);
    const std::string in = "H=" + owned + "; ";
    for (const char *command : {
             "ls -A $H",
             "chmod 777 $H/file $H",
             "chown 1:1 $H/file",
             "touch $H/file $H",
             "truncate -s 0 $H/file",
             "ln -s x $H/file",
             "ln $H/file $H/other",
             "mkfifo $H/pipe",
             "rm -rf $H/file",
             "rmdir $H/empty",
             "mv $H/link $H/file",
             "echo x > $H/new",
             "echo x >> $H/file",
             "cp /etc/passwd $H/file",
             "mkdir $H/sub && rm -r $H/sub",
             "mktemp -p $H",
             "mktemp -d $H/XXXXXX",
             "cd $H && touch here && rm -f file && chmod 700 . && mkdir d && cd d && rm -rf "
             "../link",
             "cd /tmp && rm -rf ${H#/tmp/}/empty && touch ${H#/tmp/}/file",
             "find $H -delete",
             "setfattr -n user.a -v b $H/file",
         }) {
        SCOPED_TRACE(command);
        const Output output = on_chassis(in + command);
        EXPECT_EQ(output.out.find("link"), std::string::npos) << output.out;
        EXPECT_EQ(host.look(), before);
    }
    EXPECT_EQ(on_chassis(in + "ls $H").out, "");
}

}  // namespace vchassis_test
