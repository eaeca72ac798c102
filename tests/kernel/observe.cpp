// SPDX-License-Identifier: MIT
// observe bus|library|images|main_images...: prints what each of them answers.
#include "observe.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace observe {

namespace {

void print(const std::string &name, long result, const char *error, const Bytes &bytes) {
    std::printf("%s = %ld%s%s", name.c_str(), result, *error == '\0' ? "" : " ", error);
    if (!bytes.empty()) {
        std::printf(" [");
        for (const std::uint8_t byte : bytes) {
            std::printf("%02x", byte);
        }
        std::printf("]");
    }
    std::printf("\n");
}

// A board that cannot be set up shows nothing.
void transfer(std::vector<i2c_msg> messages) {
    const int fd = open(kBus, O_RDWR);
    i2c_rdwr_ioctl_data request{messages.data(), static_cast<std::uint32_t>(messages.size())};
    if (ioctl(fd, I2C_RDWR, &request) < 0) {
        std::perror("observe: a transfer of its own");
        std::exit(1);
    }
    close(fd);
}

}  // namespace

void tell(const std::string &name, long result, const Bytes &bytes) {
    print(name, result, result < 0 ? strerrorname_np(errno) : "", bytes);
}

void tell_code(const std::string &name, long code, const Bytes &bytes) {
    print(name, code, "", bytes);
}

void fill(std::uint16_t addr, std::uint8_t offset, const Bytes &bytes) {
    Bytes message{offset};
    message.insert(message.end(), bytes.begin(), bytes.end());
    transfer({{addr, 0, static_cast<std::uint16_t>(message.size()), message.data()}});
}

Bytes contents(std::uint16_t addr, std::uint8_t offset, std::size_t count) {
    Bytes bytes(count);
    transfer(
        {{addr, 0, 1, &offset}, {addr, I2C_M_RD, static_cast<std::uint16_t>(count), bytes.data()}});
    return bytes;
}

}  // namespace observe

int main(int argc, char **argv) {
    constexpr struct {
        const char *name;
        void (*run)();
    } kParts[] = {{"bus", observe::observe_bus},
                  {"library", observe::observe_library},
                  {"images", observe::observe_images},
                  {"main_images", observe::observe_main_images}};
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    for (int i = 1; i < argc; ++i) {
        for (const auto &part : kParts) {
            if (std::strcmp(argv[i], part.name) == 0) {
                part.run();
            }
        }
    }
    return argc > 1 ? 0 : 2;
}
