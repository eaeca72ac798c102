// SPDX-License-Identifier: MIT
// `vchassis` on a chassis directory, with the programs of i2c-tools as they are installed.
#include <algorithm>
#include <fstream>
#include <string>

#include "shell_chassis.h"

namespace vchassis_test {

TEST_F(Commands, ToolsOfI2cToolsRunUnmodified) {
    struct Row {
        const char *command, *out;
    };
    constexpr Row kRows[] = {
        {"i2ctransfer -y 0 w1@0x57 0 r8", "0x01 0x7e 0x42 0x43 0x44 0x45 0x46 0x47\n"},
        {"i2cget -y 0 0x57 0", "0x01\n"},
        {"i2cget -y 0 0x57 2 w", "0x4342\n"},
        {"i2cget -y 0 0x57 8 i 4", "0x48 0x49 0x4a 0x4b\n"},
        {"i2cget -y 0 0x57 0 s", "0x7e\n"},
        {"i2cget -y 0 0x48 0 w", "0x802a\n"},
        {"i2cdump -y -r 0x08-0x0f 0 0x57 b | tail -1",
         "00:                         48 49 4a 4b 4c 4d 4e 4f            HIJKLMNO\n"},
        {"i2cdump -y 0 0x57 i | sed -n 2p",
         "00: 01 7e 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f    ?~BCDEFGHIJKLMNO\n"},
        {"i2cdetect -y 0 | sed -n 6,7p",
         "40: -- -- -- -- -- -- -- -- 48 -- -- -- -- -- -- -- \n"
         "50: -- -- -- -- -- -- -- 57 -- -- -- -- -- -- -- -- \n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.command);
        const Output output = shell("$V run $D -- " + std::string(row.command));
        EXPECT_EQ(output.out.substr(0, std::string(row.out).size()), row.out) << output.err;
    }
    EXPECT_NE(shell("$V run $D -- i2cget -y 0 0x56 0").status, 0);
    EXPECT_NE(shell("$V run $D -- i2cget -y 1 0x57 0").status, 0);
}

TEST_F(Commands, WhatOneCommandWritesTheNextOneSees) {
    EXPECT_EQ(shell("$V run $D -- i2cset -y 0 0x57 0x10 0x12 0x34 i").status, 0);
    EXPECT_EQ(shell("$V run $D -- i2cget -y 0 0x57 0x11").out, "0x34\n");
    EXPECT_EQ(shell("$V run $D -- i2ctransfer -y 0 w3@0x57 0x0f 0xaa 0xbb").status, 0);
    EXPECT_EQ(shell("$V peek $D /dev/i2c-0:0x57 8 9").out, "0x0008: bb 49 4a 4b 4c 4d 4e aa 12\n");
    EXPECT_EQ(read_all(dir / "state/dev-i2c-0-0x57.bin").substr(15, 3), "\xaa\x12\x34");
    EXPECT_EQ(shell("printf '\\007' | $V run $D -- dd of=/dev/cpld0 bs=1 seek=2 conv=notrunc")
                  .err.find("failed"),
              std::string::npos);
    EXPECT_EQ(shell("$V run $D -- od -An -tx1 -N3 /dev/cpld0").out, " 00 fe 07\n");
    EXPECT_EQ(shell("$V reset $D && $V peek $D /dev/cpld0 2").out, "0x0002: 00\n");
    EXPECT_EQ(shell("$V peek $D /dev/i2c-0:0x57 0x0f 2").out, "0x000f: 4f ff\n");
}

TEST_F(Commands, TheStateIsMadeAnewWhenTheDescriptionOrAnImageChanges) {
    const std::string poke = "$V poke $D /dev/cpld0 9 0x55; ";
    const std::string peek = "$V peek $D /dev/cpld0 9";
    EXPECT_EQ(shell(poke + peek).out, "0x0009: 55\n");
    EXPECT_EQ(shell(peek).out, "0x0009: 55\n");
    describe("# a comment");
    EXPECT_EQ(shell(peek).out, "0x0009: 00\n");
    EXPECT_EQ(shell(poke + peek).out, "0x0009: 55\n");
    std::ofstream(dir / "board.bin") << "new";
    EXPECT_EQ(shell(peek).out, "0x0009: 00\n");
    EXPECT_EQ(shell("$V peek $D /dev/i2c-0:0x57 0 4").out, "0x0000: 6e 65 77 ff\n");
}

TEST_F(Commands, PokePassesReadOnlyBitsAndMovesHardware) {
    EXPECT_EQ(shell("$V run $D -- i2cget -y 0 0x48 0").out, "0x2a\n");
    EXPECT_EQ(shell("$V poke $D /dev/cpld0 presence 0xff; $V peek $D /dev/cpld0 presence").out,
              "0x0001: ff\n");
    EXPECT_NE(shell("$V run $D -- i2cget -y 0 0x48 0").status, 0);
    const std::string page = shell("$V show $D").out;
    for (const char *part : {"test: 3 devices", "/dev/i2c-0:0x48", "absent now, 11 bits",
                             "42.5000 degrees C", "presence", "0xff"}) {
        EXPECT_NE(page.find(part), std::string::npos) << part << " in\n" << page;
    }
}

TEST_F(Commands, TheTraceGoesWhereItIsSent) {
    const std::string transfer = "transfer /dev/i2c-0 {w 0x57 [00]} {r 0x57 [01 7e]} = 2\n";
    const Output output = shell("$V run --trace $D -- i2ctransfer -y 0 w1@0x57 0 r2");
    EXPECT_EQ(output.out, "0x01 0x7e\n");
    EXPECT_NE(output.err.find(transfer), std::string::npos) << output.err;
    EXPECT_EQ(output.err.substr(0, 9), "vchassis[");

    const std::string file = (dir / "trace").string();
    for (int round = 0; round < 2; ++round) {
        const Output quiet =
            shell("$V run --trace=" + file + " $D -- sh -c 'cat /etc/cfg/dfd/a.cfg; sleep 2'");
        EXPECT_EQ(quiet.out, "from the chassis\n");
        EXPECT_EQ(quiet.err, "");
    }
    const std::string trace = read_all(file);
    for (const char *part : {"] open /etc/cfg/dfd/a.cfg O_RDONLY", "] close /etc/cfg/dfd/a.cfg = 0",
                             "] sleep 2000000 us = 0"}) {
        const std::size_t at = trace.find(part);
        ASSERT_NE(at, std::string::npos) << part << " in\n" << trace;
        EXPECT_EQ(trace.find(part, at + 1), std::string::npos) << "an old trace stays";
    }
}

TEST_F(Commands, ASignalComesBeforeTheAccessThatIsCounted) {
    const std::string program =
        " $D -- sh -c 'i2ctransfer -y 0 w2@0x57 9 0x11; "
        "printf Z | dd of=/dev/cpld0 bs=1 seek=2 conv=notrunc; i2cget -y 0 0x57 9'";
    struct Row {
        const char *option;
        int status;
    };
    // Each process counts its own.
    for (const Row row :
         {Row{"--signal-at 1", 137}, Row{"--signal-at 1:HUP", 129}, Row{"--signal-at 2", 0},
          Row{"--signal-at 0", 2}, Row{"--signal-at 1:USR1", 2}, Row{"--signal-at x", 2}}) {
        SCOPED_TRACE(row.option);
        shell("$V reset $D");
        EXPECT_EQ(shell(std::string("$V run ") + row.option + program).status, row.status);
        EXPECT_EQ(shell("$V peek $D /dev/cpld0 2").out,
                  row.status == 0 ? "0x0002: 5a\n" : "0x0002: 00\n");
    }
}

TEST_F(Commands, ExitStatusesTellWhoFailed) {
    struct Row {
        const char *command;
        int status;
        const char *err;
    };
    constexpr Row kRows[] = {
        {"$V run $D -- sh -c 'exit 7'", 7, ""},
        {"cd $D && $V run . -- true", 0, ""},
        {"$V run $D -- no-such-program", 127, "cannot run no-such-program: No such file"},
        {"$V run $D -- /etc/passwd", 126, "cannot run /etc/passwd: Permission denied"},
        {"$V run $D/none -- true", 125, "is no directory"},
        {"$V run $D/etc -- true", 125, "etc/chassis.toml: No such file or directory"},
        {"$V run --trace=/no/where $D -- true", 125, "cannot write the trace file /no/where"},
        {"VCHASSIS_DIR=$D/etc LD_PRELOAD=" VCHASSIS_LIBRARY " sleep 0", 125,
         "vchassis: cannot read"},
        {"VCHASSIS_DIR=$D VCHASSIS_STATE= LD_PRELOAD=" VCHASSIS_LIBRARY
         " cat /etc/cfg/dfd/a.cfg >&2",
         0, ""},
        // 124 is what timeout says of a program that still sleeps.
        {"timeout 0.2 $V run --real-time $D -- sleep 1000", 124, ""},
        {"$V run $D", 2, "no command"},
        {"$V run $D true", 2, "usage: vchassis run [OPTIONS] DIR -- COMMAND..."},
        {"$V run $D ls -l", 2, "unexpected '-l'\nTry 'vchassis run --help'.\n"},
        {"$V run --real-time", 2, "'run' takes DIR: directory of the chassis\nTry 'vchassis run"},
        {"$V run --help >&2", 0, "vchassis run [OPTIONS] DIR -- COMMAND...\n"},
        {"$V peek $D /dev/cpld0", 2, "'peek' takes REG: address of the byte, or"},
        {"$V show $D --stat x", 2,
         "unexpected '--stat', did you mean '--state'?\nTry 'vchassis show"},
        {"$V show --state", 2, "'--state' takes DIR: directory of device contents"},
        {"$V frobnicate", 2, "unknown command 'frobnicate'; the commands are: run, show, peek"},
        {"$V frobnicate", 2, "\nTry 'vchassis --help'.\n"},
        {"$V sow $D", 2, "did you mean 'show'?"},
        {"$V", 2, "a command is missing"},
        {"$V peek $D /dev/cpld0 0 0", 2, "COUNT: Value 0 not in range 1 to 1048576"},
        {"$V reset $D/etc; ls $D/etc/state", 2, "No such file"},
        {"mkdir $D/mine && touch $D/mine/a.bin && $V show --state $D/mine $D", 1,
         "mine holds other files"},
        {"ls $D/mine/a.bin >&2", 0, "a.bin"},
        {"ulimit -n 64; $V run --trace $D -- cat /etc/cfg/dfd/a.cfg", 0, "] open /etc/cfg/dfd/a"},
        {"$V --help >&2", 0, "peek"},
        {"! (for c in '' run show peek poke reset; do $V $c --help; done) | grep '.\\{81\\}'", 0,
         ""},
        {"for c in '' run show peek poke reset; do e=$($V $c --help | sed -n '/^Example:/{n;"
         "s# *vchassis#$V#;s#build/boards/demo#$D#p}'); eval \"${e:?}\" || exit 1; done",
         0, ""},
        {"$V peek $D /dev/cpld1 0", 2, "did you mean /dev/cpld0?"},
        {"$V peek $D /dev/cpld0 256", 2, "has 256 bytes, 0x00 to 0xff"},
        {"$V peek $D /dev/cpld0 0xff 2", 2, "has 256 bytes"},
        {"$V peek $D /dev/cpld0 presense", 2, "did you mean presence?"},
        {"$V peek $D /dev/cpld0 zz", 2, "/dev/cpld0 has no register zz"},
        {"$V poke $D /dev/cpld0 0 1 256", 2, "'256' is no byte"},
        {"$V --version >/dev/null", 0, ""},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.command);
        const Output output = shell(row.command);
        EXPECT_EQ(output.status, row.status) << output.err;
        EXPECT_NE(output.err.find(row.err), std::string::npos) << output.err;
    }
}

// An installed chassis is none of the user's: who may write there leaves nothing in it either.
TEST_F(Commands, TheStateOfAnInstalledChassisIsTheUsersOwn) {
    std::string flat = (fs::canonical(dir) / "usr/share/dfd/boards/b").relative_path();
    std::ranges::replace(flat, '/', '-');
    ASSERT_EQ(shell("mkdir -p $D/usr/bin $D/usr/share/dfd/boards/b $D/usr/share/dfd-other;"
                    "cp -L $V ${V%/*}/libvchassis.so $D/usr/bin;"
                    "cp $D/chassis.toml $D/board.bin $D/usr/share/dfd/boards/b;"
                    "cp $D/chassis.toml $D/board.bin $D/usr/share/dfd-other")
                  .status,
              0);
    struct Row {
        const char *environment, *chassis;
        std::string state;
    };
    const Row rows[] = {
        {"-u XDG_STATE_HOME HOME=$D/home", "share/dfd/boards/b",
         "home/.local/state/vchassis/" + flat},
        {"HOME=$D/home XDG_STATE_HOME=$D/xdg", "share/dfd/boards/../boards/b",
         "xdg/vchassis/" + flat},
        {"HOME=$D/no XDG_STATE_HOME=relative", "share/dfd/boards/b",
         "no/.local/state/vchassis/" + flat},
        {"HOME=$D/home XDG_STATE_HOME=$D/xdg", "share/dfd-other", "usr/share/dfd-other/state"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.environment);
        const std::string start =
            std::string("cd $D && env ") + row.environment + " usr/bin/vchassis ";
        const std::string chassis = std::string(" usr/") + row.chassis;
        const Output output = shell(start + "run" + chassis + " -- i2cset -y 0 0x57 0 0x12 && " +
                                    start + "peek" + chassis + " /dev/i2c-0:0x57 0");
        EXPECT_EQ(output.out, "0x0000: 12\n") << output.err;
        EXPECT_EQ(read_all(dir / row.state / "dev-i2c-0-0x57.bin").substr(0, 2), "\x12~");
    }
    EXPECT_FALSE(fs::exists(dir / "usr/share/dfd/boards/b/state"));
    const Output homeless = shell(
        "cd $D && env -u HOME -u XDG_STATE_HOME usr/bin/vchassis run usr/share/dfd/boards/b -- "
        "true");
    EXPECT_EQ(homeless.status, 125);
    EXPECT_NE(homeless.err.find("--state names one"), std::string::npos) << homeless.err;
}

// A chassis in D/b with the state in D/s. Scripts run in its /tmp/bspinfo.
class StateApart : public Commands {
  protected:
    StateApart() {
        const Output output = shell(
            "mkdir -p $D/b/tmp/bspinfo $D/b/srv/board $D/b/linked && cd $D/b && mv ../etc "
            "../board.bin . &&"
            "{ cat ../chassis.toml; echo '[files]'; echo 'also_owned = [\"/srv/board\"]'; } > "
            "chassis.toml &&"
            "echo one | tee tmp/bspinfo/a tmp/.factory_disabale_cli_tty srv/board/a linked/a > "
            "target &&"
            "ln -s ../../target tmp/bspinfo/l && ln -s ../linked tmp && chmod 444 tmp/bspinfo/a");
        EXPECT_EQ(output.status, 0) << output.err;
    }

    Output run(const std::string &script) const {
        std::ofstream(dir / "script") << "cd /tmp/bspinfo\n" << script << '\n';
        return shell("$V run --state $D/s $D/b -- sh -e $D/script");
    }
    std::string directory() const {
        return shell("ls -lR --time-style=full-iso $D/b; cat $(find $D/b -type f)").out;
    }
};

TEST_F(StateApart, HoldsWhatProgramsChange) {
    const std::string before = directory();
    struct Row {
        const char *script, *out;
    };
    constexpr Row kRows[] = {
        {"cat a l /srv/board/a; stat -c %a a", "one\none\none\n644\n"},
        {"echo two | tee a l d /srv/board/b > /srv/board/a; rm -v a; ls; cat l d /srv/board/*",
         "removed 'a'\nd\nl\ntwo\ntwo\ntwo\ntwo\n"},
        {"cd /tmp/linked; cat a; echo two > a; cat a", "one\ntwo\n"},
        {"pwd; realpath l; cd ..; ls bspinfo", "/tmp/bspinfo\n/tmp/bspinfo/l\nd\nl\n"},
        {"ls -A /tmp | grep tty; rm /tmp/.fac*; ls -A /tmp | grep tty || echo gone",
         ".factory_disabale_cli_tty\ngone\n"},
        {"mkdir -p /etc/cfg/dfd; ls /etc/cfg; cat /etc/cfg/dfd/*; test -w /etc/cfg/dfd || echo no",
         "dfd\nfrom the chassis\nno\n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.script);
        const Output output = run(row.script);
        EXPECT_EQ(output.out, row.out) << output.err;
    }
    EXPECT_EQ(read_all(dir / "s/tmp/bspinfo/d"), "two\n");
    EXPECT_EQ(shell("VCHASSIS_DIR=$D/b VCHASSIS_STATE=$D/s LD_PRELOAD=" VCHASSIS_LIBRARY
                    " cat /tmp/bspinfo/d")
                  .out,
              "two\n");
    EXPECT_EQ(
        shell("for i in 1 2 3 4; do $V run --state $D/many $D/b -- cat /tmp/bspinfo/a & done; wait")
            .out,
        "one\none\none\none\n");
    EXPECT_EQ(directory(), before);
}

// A limit for files ends the process in the middle of its copying.
TEST_F(StateApart, IsWholeAfterAnInterruptedReset) {
    shell("head -c 100000 /dev/zero > $D/b/tmp/large");
    EXPECT_EQ(run("stat -c %s /tmp/large").out, "100000\n");
    EXPECT_NE(shell("(ulimit -c 0; ulimit -f 100; $V reset --state $D/s $D/b)").status, 0);
    EXPECT_EQ(run("stat -c %s /tmp/large").out, "100000\n");
}

TEST_F(StateApart, TellsWhatCannotBeCopied) {
    shell("ln -s . $D/b/tmp/bspinfo/ring");
    const std::string err = run("true").err;
    EXPECT_NE(err.find("vchassis: cannot copy " + (dir / "b/tmp/bspinfo/ring").string()), err.npos)
        << err;
    EXPECT_NE(err.find("into the state: Too many levels of symbolic links"), err.npos) << err;
}

// Also root's, whom no file mode holds off.
TEST_F(StateApart, ConfigurationIsReadOnly) {
    const std::string before = directory();
    for (const char *script :
         {"echo x > a.cfg", "echo x >> a.cfg", "echo x > b", "rm a.cfg", "mv a.cfg b", "mkdir b",
          "mv /tmp/bspinfo/a .", "chmod 600 a.cfg", "touch -d 2000-01-01 a.cfg", "ln a.cfg b",
          "ln -s a.cfg b", "truncate -s 0 a.cfg", "mktemp -p .", "shuf -o a.cfg -e x",
          "dd if=/dev/null of=a.cfg", "perl -e 'open F, \"a.cfg\"; chmod 0600, *F or die $!'",
          "perl -e 'open F, \"+<\", \"a.cfg\" or die $!'"}) {
        SCOPED_TRACE(script);
        if (std::string_view(script).starts_with("perl") && shell("command -v perl").status != 0) {
            continue;
        }
        const Output output = run(std::string("cd /etc/cfg/dfd\n") + script);
        EXPECT_NE(output.status, 0);
        EXPECT_NE(output.err.find("Read-only file system"), std::string::npos) << output.err;
    }
    for (const char *script :
         {"cat none", "rmdir none", "mkdir /etc/cfg/dfd", "dd if=/dev/null of=a.cfg conv=excl"}) {
        SCOPED_TRACE(script);
        EXPECT_EQ(run(std::string("cd /etc/cfg/dfd; ") + script).err.find("Read-only"),
                  std::string::npos);
    }
    EXPECT_EQ(directory(), before);
}

TEST_F(StateApart, IsMadeAnewByResetAndByANewerDirectory) {
    struct Row {
        const char *change, *files, *byte;
    };
    constexpr Row kRows[] = {
        {"true", "a d l two one", "55"},
        {"$V reset --state $D/s $D/b", "a l one one", "00"},
        {"echo new > $D/b/target", "a l one new", "00"},
        {"rm -f $D/b/tmp/bspinfo/a", "l new", "00"},
        {"mkdir $D/b/tmp/bspinfo/e", "e l new", "00"},
        {"mv $D/b/tmp/bspinfo/e $D/b/tmp/bspinfo/f", "f l new", "00"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.change);
        EXPECT_EQ(run("echo two | tee a > d").err, "");
        EXPECT_EQ(
            shell("$V poke --state $D/s $D/b /dev/cpld0 9 0x55 && " + std::string(row.change)).err,
            "");
        EXPECT_EQ(run("echo $(ls) $(cat a l)").out, row.files + std::string("\n"));
        EXPECT_EQ(shell("$V peek --state $D/s $D/b /dev/cpld0 9").out,
                  "0x0009: " + std::string(row.byte) + "\n");
    }
}

// It belongs to the chassis then.
TEST_F(StateApart, IsNoneInsideTheDirectory) {
    EXPECT_EQ(shell("$V run --state $D/b/s $D/b -- cp /etc/cfg/dfd/a.cfg /tmp/bspinfo/new;"
                    "cat $D/b/tmp/bspinfo/new")
                  .out,
              "from the chassis\n");
}

// Many processes at once: no byte and no second of one is lost to another.
TEST_F(Commands, ProcessesShareTheStateWithoutLosingWrites) {
    EXPECT_EQ(shell("for i in 0 1 2 3 4 5 6; do $V run $D -- sh -c "
                    "\"sleep 1; printf '\\\\$((i+101))' | "
                    "dd status=none of=/dev/cpld0 bs=1 seek=$((i+32))\" & done; wait")
                  .err,
              "");
    EXPECT_EQ(shell("$V peek $D /dev/cpld0 32 8").out, "0x0020: 41 42 43 44 45 46 47 00\n");
    const std::string page = shell("$V show $D").out;
    EXPECT_NE(page.find("virtual time 7."), std::string::npos) << page;
}

}  // namespace vchassis_test
