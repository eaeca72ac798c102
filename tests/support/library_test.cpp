// SPDX-License-Identifier: MIT
#include "support/library_test.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <numeric>

namespace dfd_test {

namespace {

// Headers are lines of their own: "[DFD-err]:<File:..., Func:..., Line:N>".
std::string without_headers(const std::string &text) {
    std::string messages;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string line = text.substr(at, end - at);
        at = end;
        // A message without a line end has the next header on its last line.
        messages += line.substr(0, line.find("[DFD-"));
    }
    return messages;
}

}  // namespace

std::string printed_by(const std::function<void()> &action) {
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

namespace {

std::string printed_with_gate(std::uint32_t gate, const std::function<void()> &action) {
    const std::uint32_t before = dfd_debug;
    dfd_debug = gate;
    const std::string text = printed_by(action);
    dfd_debug = before;
    return text;
}

}  // namespace

std::string logged_by(std::uint32_t gate, const std::function<void()> &action) {
    return without_headers(printed_with_gate(gate, action));
}

std::string functions_logged_by(std::uint32_t gate, const std::function<void()> &action) {
    constexpr std::string_view kBefore = ", Func:";
    const std::string text = printed_with_gate(gate, action);
    std::string functions;
    for (std::size_t at = 0; (at = text.find(kBefore, at)) != std::string::npos;) {
        at += kBefore.size();
        functions += text.substr(at, text.find(',', at) - at) + " ";
    }
    return functions;
}

namespace {

constexpr char kDirt = '\xA5';
constexpr std::size_t kGuardBytes = 64;

}  // namespace

DirtyBuffer::DirtyBuffer(std::size_t size) : size_(size), bytes_(size + kGuardBytes, kDirt) {}

DirtyBuffer::~DirtyBuffer() {
    const auto guard = bytes_.begin() + static_cast<std::ptrdiff_t>(size_);
    EXPECT_EQ(std::count(guard, bytes_.end(), kDirt), kGuardBytes) << "written past its end";
}

std::string DirtyBuffer::shown() const {
    std::string text(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(size_));
    std::replace(text.begin(), text.end(), kDirt, '~');
    std::replace(text.begin(), text.end(), '\0', '|');
    return text;
}

void in_own_process(std::string_view row, const std::function<void()> &body) {
    SCOPED_TRACE(std::string(row));
    // The child's failures, not those that the test had before.
    const auto failures = [] {
        const auto *result = testing::UnitTest::GetInstance()->current_test_info()->result();
        return result->total_part_count();
    };
    const int failures_before = failures();
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(failures() > failures_before ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << row << ": see above";
}

Bytes bytes_of(std::string_view text) {
    return {text.begin(), text.end()};
}

Bytes operator+(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes e2prom_image(std::initializer_list<Part> parts) {
    Bytes image(256, 0xFF);
    for (const Part &part : parts) {
        std::copy(part.bytes.begin(), part.bytes.end(),
                  image.begin() + static_cast<std::ptrdiff_t>(part.offset));
    }
    return image;
}

Bytes tlv_entry(std::uint8_t type, const Bytes &value) {
    Bytes entry = {type, static_cast<std::uint8_t>(value.size())};
    entry.insert(entry.end(), value.begin(), value.end());
    return entry;
}

Bytes tlv_image(std::uint8_t version, std::uint8_t hw, std::uint8_t dev_type,
                const Bytes &entries) {
    Bytes image = {version, 0x7E, hw, dev_type};
    if (version != 1) {
        image.insert(image.end(), 4, 0);
    }
    image.push_back(static_cast<std::uint8_t>(entries.size() >> 8));
    image.push_back(static_cast<std::uint8_t>(entries.size()));
    image.insert(image.end(), entries.begin(), entries.end());
    const unsigned sum = std::accumulate(image.begin(), image.end(), 0U);
    image.push_back(static_cast<std::uint8_t>(sum >> 8));
    image.push_back(static_cast<std::uint8_t>(sum));
    return e2prom_image({{0, image}});
}

LibraryTest::LibraryTest() {
    static bool used = false;
    if (std::exchange(used, true)) {
        ADD_FAILURE() << "The library keeps caches: run the cases through ctest, one process each.";
    }
}

void LibraryTest::write_board(std::string_view product_id, std::string_view pid_table) {
    chassis.write_file("/tmp/bspinfo/ProductID", product_id);
    write_config("card_pid", pid_table);
}

void LibraryTest::write_list(unsigned board_type, std::string_view names) {
    char path[64];
    std::snprintf(path, sizeof path, "/etc/cfg/dfd/file_name/0x%x", board_type);
    chassis.write_file(path, names);
}

void LibraryTest::write_config(std::string_view name, std::string_view text) {
    chassis.write_file("/etc/cfg/dfd/cfg_file/" + std::string(name) + ".cfg", text);
}

void LibraryTest::start(std::string_view config) {
    write_board("TEST\n", "card_pid_str_1_0=TEST\n");
    write_list(1, "board\n");
    write_config("board", config);
    // A second start leaves the first one's items behind.
    const NeverFreed never_freed;
    ASSERT_EQ(dev_drv_init(), 0);
    chassis.clear_log();
}

void LibraryTest::add_e2prom(int bus, int addr, const Bytes &image) {
    chassis.describe("[[i2c]]\nbus = " + std::to_string(bus) + "\naddr = " + std::to_string(addr) +
                     "\nmodel = \"eeprom\"\n");
    chassis.set_slave(bus, addr, 0, image);
}

std::vector<std::string> LibraryTest::accesses(vchassis::Op op) const {
    std::vector<std::string> lines;
    for (const vchassis::Event &event : chassis.log(op)) {
        lines.push_back(vchassis::to_text(event));
    }
    return lines;
}

std::vector<Bytes> LibraryTest::i2c_writes() const {
    constexpr std::uint16_t kRead = 1;
    std::vector<Bytes> writes;
    for (const vchassis::Event &event : chassis.log(vchassis::Op::transfer)) {
        const auto is_read = [](const vchassis::Message &message) {
            return (message.flags & kRead) != 0;
        };
        if (std::any_of(event.messages.begin(), event.messages.end(), is_read)) {
            continue;
        }
        Bytes bytes;
        for (const vchassis::Message &message : event.messages) {
            bytes.insert(bytes.end(), message.bytes.begin(), message.bytes.end());
        }
        writes.push_back(bytes);
    }
    return writes;
}

std::size_t LibraryTest::count(vchassis::Op op) const {
    return chassis.log(op).size();
}

}  // namespace dfd_test
