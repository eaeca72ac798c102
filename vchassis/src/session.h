// SPDX-License-Identifier: MIT
// A process on a chassis: its open files, and what each system call does to the machine. The caller
// holds the lock of scope.h and is marked as inside, so that libc calls made here reach libc.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "faults.h"
#include "i2c_dev.h"
#include "journal.h"
#include "listing.h"
#include "machine.h"
#include "paths.h"

namespace vchassis {

class Session {
  public:
    explicit Session(std::unique_ptr<Machine> machine) : machine_(std::move(machine)) {}
    ~Session();

    Machine &machine() { return *machine_; }
    Journal &journal() { return journal_; }
    Faults &faults() { return faults_; }
    void set_real_time(bool on) { real_time_ = on; }
    bool real_time() const { return real_time_; }
    // The process gets the signal before its Nth access to a device takes effect.
    void set_signal_at(unsigned long count, int signal) {
        accesses_left_ = count;
        signal_ = signal;
    }

    // Without a lock: false for all descriptors that cannot be ours.
    static bool may_track(int fd);
    bool tracks(int fd) const { return files_.contains(fd); }
    bool is_device(int fd) const;
    // Of a tracked descriptor.
    const Place &place(int fd) const { return files_.at(fd)->place; }
    int flags(int fd) const { return files_.at(fd)->flags; }
    std::vector<int> tracked(unsigned first, unsigned last) const;
    Listings &listings() { return listings_; }

    Outcome open(const Place &place, int flags, unsigned mode);
    // Whether open() fails because a file would be changed that is read-only.
    static bool refuses(const Place &place, int flags);
    // The descriptor is open already, by freopen().
    void opened(const Place &place, int flags, int fd) { record_open(place, flags, {fd, 0}); }
    // How links in /proc to descriptors of devices begin.
    static constexpr std::string_view kStandInLink = "/memfd:vchassis:";
    // The descriptor is a device that the program before has opened.
    void inherited(int fd, std::string_view link);
    Outcome access(const Place &place, int mode);
    Outcome close(int fd);
    // The descriptor is closed already, by fclose() with this result.
    Outcome closed(int fd, int result);
    Outcome seek(int fd, std::int64_t offset, int whence);
    Outcome read(int fd, void *out, std::size_t size);
    Outcome write(int fd, const void *data, std::size_t size);
    Outcome pread(int fd, void *out, std::size_t size, std::int64_t offset);
    Outcome pwrite(int fd, const void *data, std::size_t size, std::int64_t offset);
    Outcome ioctl(int fd, unsigned long request, void *argument);
    // `copy` is now another name of `fd`; the two share their position.
    void duplicated(int fd, int copy);
    void slept(std::uint64_t us);

    std::uint64_t slept_us() const { return slept_us_; }
    void clear_log();

  private:
    struct OpenFile {
        Place place;
        int flags = 0;
        RegisterSpace *registers = nullptr;
        Bus *bus = nullptr;
        I2cPort port;
    };
    using At = std::optional<std::int64_t>;

    void track(int fd, std::shared_ptr<OpenFile> file);
    std::shared_ptr<OpenFile> forget(int fd);
    void count_access();
    std::shared_ptr<OpenFile> make_open_file(const Place &place, int flags) const;
    Outcome record_open(const Place &place, int flags, Outcome outcome);
    void record_close(const std::shared_ptr<OpenFile> &file, Outcome outcome);
    Outcome open_device(const Place &place, int flags);
    static Outcome open_file(const Place &place, int flags, unsigned mode);
    Outcome read_at(int fd, std::span<std::uint8_t> out, At at);
    Outcome write_at(int fd, std::span<const std::uint8_t> bytes, At at);
    Outcome move(int fd, const OpenFile &file, std::span<std::uint8_t> out, At at);
    Outcome move(int fd, const OpenFile &file, std::span<const std::uint8_t> in, At at);
    template <class Byte>
    Outcome move_with_faults(Op op, int fd, OpenFile &file, std::span<Byte> bytes, At at);
    static std::int64_t position(int fd);
    Transact transact_on(const OpenFile &file);
    Outcome transfer(const OpenFile &file, std::vector<Message> &messages, std::int64_t success);

    std::unique_ptr<Machine> machine_;
    Journal journal_;
    Faults faults_;
    bool real_time_ = false;
    unsigned long accesses_left_ = 0;  // 0: no signal comes any more
    int signal_ = 0;
    std::uint64_t slept_us_ = 0;
    std::unordered_map<int, std::shared_ptr<OpenFile>> files_;
    Listings listings_;
};

}  // namespace vchassis
