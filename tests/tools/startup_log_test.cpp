// SPDX-License-Identifier: MIT
#include "dfdctl/startup_log.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dfdctl {
namespace {

using testing::HasSubstr;

/// The log of a start-up, message by message.
class Log {
  public:
    Log &message(const char *level, const std::string &text) {
        text_ += fmt::format("[DFD-{}]:<File:framework/dfd_lib_cfg.cpp, Func:f, Line:1>\n{}\r\n",
                             level, text);
        return *this;
    }
    Log &card_pid() {
        return message("vbose", "start parsing card pid file[/etc/cfg/dfd/cfg_file/card_pid.cfg]");
    }
    Log &listed(const std::string &name) {
        return message(
            "vbose", fmt::format("start parsing config file[/etc/cfg/dfd/cfg_file/{}.cfg]", name));
    }
    Log &line(int number, const std::string &name, const std::string &value) {
        return message("vbose", fmt::format("line{}: config_line[{}={}] name[{}] value[{}]", number,
                                            name, value, name, value));
    }
    Log &set(int number, unsigned key) {
        return message("vbose",
                       fmt::format("line{}: add int item[4] success, key=0x{:08x}", number, key));
    }
    Log &comment(int number) {
        return message("vbose", fmt::format("line{}: comment line", number));
    }
    Log &plain(const std::string &text) {
        text_ += text + "\r\n";
        return *this;
    }

    StartupLog parse(bool listed_is_empty = false) const {
        return parse_startup_log(text_, [=](const std::string &) { return listed_is_empty; });
    }

  private:
    std::string text_;
};

constexpr unsigned kFanNum = 0x23000000;

TEST(StartupLog, FilesItemsAndTheLineBehindEach) {
    const StartupLog log = Log()
                               .card_pid()
                               .comment(1)
                               .listed("a")
                               .comment(1)
                               .line(2, "fan_num", "4")
                               .set(2, kFanNum)
                               .line(1, "fan_num", "6")
                               .message("warn", "line1: replace int item[4->6], key=0x23000000")
                               .parse();
    ASSERT_EQ(log.files.size(), 3U);
    EXPECT_EQ(log.files[1].path, "/etc/cfg/dfd/cfg_file/a.cfg");
    EXPECT_EQ(log.files[1].lines, 2);
    EXPECT_EQ(log.files[1].items, 1);
    EXPECT_EQ(log.files[2].role, FileRole::chassis);
    EXPECT_EQ(log.files[2].items, 0);
    ASSERT_EQ(log.origins.at(kFanNum).size(), 2U);
    EXPECT_EQ(log.origins.at(kFanNum)[0].line, 2);
    EXPECT_EQ(log.origins.at(kFanNum)[1].file, 2U);
}

TEST(StartupLog, WhereTheChassisFileBegins) {
    const auto roles = [](const StartupLog &log) {
        std::vector<FileRole> result;
        for (const ConfigFile &file : log.files) {
            result.push_back(file.role);
        }
        return result;
    };
    using testing::ElementsAre;
    const Log empty_listed = Log().listed("empty").comment(1);
    EXPECT_THAT(roles(empty_listed.parse(true)), ElementsAre(FileRole::listed, FileRole::chassis));
    EXPECT_THAT(roles(empty_listed.parse(false)), ElementsAre(FileRole::listed));

    const StartupLog after_missing =
        Log()
            .listed("gone")
            .message("err",
                     "open config file[/etc/cfg/dfd/cfg_file/gone.cfg] fail, error=No such "
                     "file or directory")
            .comment(1)
            .parse();
    EXPECT_THAT(roles(after_missing), ElementsAre(FileRole::listed, FileRole::chassis));
    EXPECT_FALSE(after_missing.files[0].opened);
    EXPECT_EQ(after_missing.files[0].error, "No such file or directory");

    const StartupLog no_chassis =
        Log()
            .listed("a")
            .comment(1)
            .message("err", "open config file[/etc/cfg/dfd/chassis/8.cfg] fail, error=Gone")
            .parse();
    EXPECT_THAT(roles(no_chassis), ElementsAre(FileRole::listed, FileRole::chassis));
    EXPECT_EQ(no_chassis.files[1].path, "/etc/cfg/dfd/chassis/8.cfg");
    EXPECT_FALSE(no_chassis.files[1].opened);
}

TEST(StartupLog, LinesThatDidNothing) {
    const StartupLog log =
        Log()
            .listed("a")
            .line(1, "fan_nmu", "4")
            .line(2, "slot_online.mode", "config")
            .message("err", "line2: no '-' between name and index1")
            .line(3, "vsd_support_num", "")
            .message("warn", "line3: value str is empty")
            .set(3, 0x20000000)
            .line(4, "mb_fan_led_info.spark", "")
            .message("warn", "line4: value str is empty")
            .message("vbose", "line4: add info_ctrl item[.spark=] success, key=0xb6000000")
            .line(5, "fan\tnum", "4")
            .parse();
    const auto &problems = log.files.at(0).problems;
    ASSERT_EQ(problems.size(), 4U);
    EXPECT_EQ(problems[0].line, 1);
    EXPECT_THAT(problems[0].message, HasSubstr("'fan_num'"));
    EXPECT_EQ(problems[1].message, "no '-' between name and index1");
    EXPECT_EQ(problems[2].line, 3);
    EXPECT_EQ(problems[3].line, 5);
    EXPECT_THAT(problems[3].message, HasSubstr("'fan?num'"));
}

TEST(StartupLog, AFileThatStopsTellsTheLineAndWhy) {
    const StartupLog log =
        Log()
            .listed("a")
            .comment(1)
            .message("err", "line2: [odd]no '=' between name and value")
            .plain("!!!!file[/etc/cfg/dfd/cfg_file/a.cfg] config line[2 odd] analyse fail")
            .comment(1)
            .parse();
    ASSERT_EQ(log.files.size(), 2U);
    EXPECT_EQ(log.files[0].failed_line, 2);
    EXPECT_EQ(log.files[0].error, "[odd]no '=' between name and value");
    EXPECT_TRUE(log.files[0].problems.empty());
    EXPECT_EQ(log.files[1].role, FileRole::chassis);
}

TEST(StartupLog, OriginIsTheRangeOfLinesInTheLastFile) {
    StartupLog log;
    log.files = {{.path = "/x/a.cfg", .role = FileRole::listed, .error = {}, .problems = {}},
                 {.path = "/x/8.cfg", .role = FileRole::chassis, .error = {}, .problems = {}}};
    log.origins[1] = {{0, 3}, {0, 7}};
    log.origins[2] = {{0, 3}, {1, 9}};
    EXPECT_EQ(log.origin_of(1), "a.cfg:3-7");
    EXPECT_EQ(log.origin_of(2), "8.cfg:9");
    EXPECT_EQ(log.origin_of(3), "-");
}

TEST(StartupLog, UnreadableListFile) {
    const StartupLog log =
        Log()
            .message("err", "open config file[/etc/cfg/dfd/file_name/0x2a] fail, error=Gone")
            .parse();
    EXPECT_TRUE(log.files.empty());
    EXPECT_EQ(log.list_path, "/etc/cfg/dfd/file_name/0x2a");
    EXPECT_EQ(log.list_error, "Gone");
}

}  // namespace
}  // namespace dfdctl
