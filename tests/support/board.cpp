// SPDX-License-Identifier: MIT
#include "support/board.h"

namespace dfd_test {

namespace {

std::string line(const std::string &key, const char *member, const std::string &at,
                 const std::string &value) {
    return key + member + at + "=" + value + "\n";
}

std::string localbus(const std::string &key, const std::string &at, const std::string &path,
                     unsigned reg, const std::string &frmt) {
    return line(key, ".mode", at, "config") + line(key, ".src", at, "localbus") +
           line(key, ".frmt", at, frmt) + line(key, ".len", at, "1") +
           line(key, ".fpath", at, path) + line(key, ".reg_offset", at, std::to_string(reg));
}

}  // namespace

std::string constant(const std::string &key, int value, const std::string &at) {
    return line(key, ".mode", at, "constant") + line(key, ".int_cons", at, std::to_string(value));
}

std::string register_item(const std::string &key, unsigned reg, const std::string &at) {
    return localbus(key, at, "/dev/cpld0", reg, "byte");
}

std::string broken_item(const std::string &key, const std::string &at) {
    return localbus(key, at, "/dev/cpld9", 0, "bit");
}

BoardTest::BoardTest() {
    chassis.describe("[[registers]]\npath = \"/dev/cpld0\"\nsize = 1024\n");
}

std::vector<std::pair<unsigned, unsigned>> BoardTest::writes() const {
    std::vector<std::pair<unsigned, unsigned>> all;
    for (const vchassis::Event &event : chassis.log(vchassis::Op::write)) {
        all.emplace_back(static_cast<unsigned>(event.offset), event.bytes.at(0));
    }
    return all;
}

std::vector<unsigned> BoardTest::reads() const {
    std::vector<unsigned> all;
    for (const vchassis::Event &event : chassis.log(vchassis::Op::read)) {
        all.push_back(static_cast<unsigned>(event.offset));
    }
    return all;
}

}  // namespace dfd_test
