// SPDX-License-Identifier: MIT
#include "session.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/i2c.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "real.h"
#include "user_memory.h"

namespace vchassis {

namespace {

// Descriptors from this number on are always looked up.
constexpr int kFlaggedFds = 65536;
// What stands in for a device carries its flags and path in its name, for the program that inherits
// it through exec, and keeps the position for all who share it.
constexpr std::string_view kStandIn = "vchassis:";
constexpr std::string_view kDeleted = " (deleted)";
constinit std::array<std::atomic<bool>, kFlaggedFds> g_flagged{};

void flag(int fd, bool on) {
    if (fd >= 0 && fd < kFlaggedFds) {
        g_flagged[static_cast<std::size_t>(fd)] = on;
    }
}

// What libc just returned.
Outcome from_libc(std::int64_t result) {
    return {result, result < 0 ? errno : 0};
}

Outcome from_fault(const Fault &fault) {
    return fault.error != 0 ? Outcome::failure(fault.error) : Outcome{fault.result, 0};
}

// Where something goes past these functions it changes what is nobody's.
int stand_in(const std::string &path, int flags) {
    return memfd_create(fmt::format("{}{:x}:{}", kStandIn, flags & ~O_CLOEXEC, path).c_str(),
                        (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0);
}

bool readable(int flags) {
    return (flags & O_ACCMODE) != O_WRONLY && (flags & O_PATH) == 0;
}
bool writable(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

// How much a fault lets through: all without one, nothing with an errno.
std::size_t allowed(const std::optional<Fault> &fault, std::size_t wanted) {
    if (!fault) {
        return wanted;
    }
    const bool partial = fault->error == 0 && fault->result > 0;
    return partial ? std::min(wanted, static_cast<std::size_t>(fault->result)) : 0;
}

std::int64_t first_byte(const std::vector<Message> &messages) {
    const bool writes = !messages.empty() && !reads(messages[0]);
    return writes && !messages[0].bytes.empty() ? messages[0].bytes[0] : -1;
}

}  // namespace

Session::~Session() {
    for (const auto &[fd, file] : files_) {
        flag(fd, false);
    }
}

bool Session::may_track(int fd) {
    return fd >= kFlaggedFds || (fd >= 0 && g_flagged[static_cast<std::size_t>(fd)]);
}

bool Session::is_device(int fd) const {
    const auto found = files_.find(fd);
    return found != files_.end() && found->second->place.kind != Place::Kind::file;
}

void Session::inherited(int fd, std::string_view link) {
    std::string_view rest = link;
    if (!rest.starts_with(kStandInLink) || !rest.ends_with(kDeleted)) {
        return;
    }
    rest.remove_prefix(kStandInLink.size());
    rest.remove_suffix(kDeleted.size());
    const std::size_t colon = rest.find(':');
    const std::string path(rest.substr(colon + 1));
    const Place place = locate(*machine_, AT_FDCWD, path.c_str());
    if (colon != std::string_view::npos && place.is_device()) {
        track(fd, make_open_file(place, std::stoi(std::string(rest), nullptr, 16)));
    }
}

std::vector<int> Session::tracked(unsigned first, unsigned last) const {
    std::vector<int> found;
    for (const auto &[fd, file] : files_) {
        if (static_cast<unsigned>(fd) >= first && static_cast<unsigned>(fd) <= last) {
            found.push_back(fd);
        }
    }
    return found;
}

void Session::track(int fd, std::shared_ptr<OpenFile> file) {
    files_[fd] = std::move(file);
    flag(fd, true);
}

std::shared_ptr<Session::OpenFile> Session::forget(int fd) {
    flag(fd, false);
    return files_.extract(fd).mapped();
}

Outcome Session::open_device(const Place &place, int flags) {
    if (place.kind == Place::Kind::missing_device) {
        return Outcome::failure(ENOENT);
    }
    if ((flags & O_CREAT) != 0 && (flags & O_EXCL) != 0) {
        return Outcome::failure(EEXIST);
    }
    if ((flags & O_DIRECTORY) != 0) {
        return Outcome::failure(ENOTDIR);
    }
    return from_libc(stand_in(place.path, flags));
}

bool Session::refuses(const Place &place, int flags) {
    const bool creates = (flags & O_CREAT) != 0;
    const bool changes = writable(flags) || (flags & O_TRUNC) != 0;
    return (creates && change_error(place, true) == EROFS) ||
           (changes && change_error(place, false) == EROFS && (flags & O_EXCL) == 0);
}

Outcome Session::open_file(const Place &place, int flags, unsigned mode) {
    if (refuses(place, flags)) {
        return Outcome::failure(EROFS);
    }
    if ((flags & O_CREAT) != 0) {
        make_parents(place);
    }
    return from_libc(real().open(place.real.c_str(), flags, mode));
}

void Session::count_access() {
    if (accesses_left_ > 0 && --accesses_left_ == 0) {
        kill(getpid(), signal_);
    }
}

Outcome Session::open(const Place &place, int flags, unsigned mode) {
    Outcome outcome;
    if (const auto fault = faults_.take(Op::open, place.path)) {
        outcome = from_fault(*fault);
    } else {
        outcome = place.kind == Place::Kind::file ? open_file(place, flags, mode)
                                                  : open_device(place, flags);
    }
    return record_open(place, flags, outcome);
}

std::shared_ptr<Session::OpenFile> Session::make_open_file(const Place &place, int flags) const {
    return std::make_shared<OpenFile>(
        OpenFile{place, flags, machine_->registers(place.path), machine_->bus(place.path), {}});
}

Outcome Session::record_open(const Place &place, int flags, Outcome outcome) {
    if (outcome.result >= 0) {
        track(static_cast<int>(outcome.result), make_open_file(place, flags));
    }
    journal_.record({.op = Op::open,
                     .path = place.path,
                     .flags = flags,
                     .result = outcome.result,
                     .error = outcome.error});
    return outcome;
}

Outcome Session::access(const Place &place, int mode) {
    Outcome outcome;
    if ((mode & ~(R_OK | W_OK | X_OK)) != 0) {
        return Outcome::failure(EINVAL);
    }
    if (const auto fault = faults_.take(Op::access, place.path)) {
        outcome = from_fault(*fault);
    } else if ((mode & W_OK) != 0 && change_error(place, false) == EROFS) {
        outcome = Outcome::failure(EROFS);
    } else if (place.kind == Place::Kind::file) {
        outcome = from_libc(real().access(place.real.c_str(), mode));
    } else if (place.kind == Place::Kind::missing_device) {
        outcome = Outcome::failure(ENOENT);
    } else if ((mode & X_OK) != 0) {
        outcome = Outcome::failure(EACCES);
    }
    journal_.record({.op = Op::access,
                     .path = place.path,
                     .flags = mode,
                     .result = outcome.result,
                     .error = outcome.error});
    return outcome;
}

Outcome Session::close(int fd) {
    const std::shared_ptr<OpenFile> file = forget(fd);
    Outcome outcome = from_libc(real().close(fd));
    // As with real devices, the descriptor is gone also when close() reports a failure.
    if (const auto fault = faults_.take(Op::close, file->place.path)) {
        outcome = from_fault(*fault);
    }
    record_close(file, outcome);
    return outcome;
}

Outcome Session::closed(int fd, int result) {
    const Outcome outcome = from_libc(result);
    record_close(forget(fd), outcome);
    return outcome;
}

// The device is closed with the last of its descriptors.
void Session::record_close(const std::shared_ptr<OpenFile> &file, Outcome outcome) {
    if (file.use_count() == 1) {
        journal_.record({.op = Op::close,
                         .path = file->place.path,
                         .result = outcome.result,
                         .error = outcome.error});
    }
}

Outcome Session::seek(int fd, std::int64_t offset, int whence) {
    OpenFile &file = *files_.at(fd);
    Outcome outcome;
    if (const auto fault = faults_.take(Op::seek, file.place.path, -1, offset)) {
        outcome = from_fault(*fault);
    } else if (file.bus != nullptr) {
        outcome = Outcome::failure(ESPIPE);
    } else if (file.registers == nullptr) {
        outcome = from_libc(real().lseek(fd, offset, whence));
    } else {
        const auto size = static_cast<std::int64_t>(file.registers->contents().size());
        const std::int64_t base = whence == SEEK_CUR ? position(fd) : whence == SEEK_END ? size : 0;
        std::int64_t to = 0;
        const bool valid = whence >= SEEK_SET && whence <= SEEK_END &&
                           !__builtin_add_overflow(base, offset, &to) && to >= 0;
        outcome = valid ? from_libc(real().lseek(fd, to, SEEK_SET)) : Outcome::failure(EINVAL);
    }
    journal_.record({.op = Op::seek,
                     .path = file.place.path,
                     .offset = offset,
                     .result = outcome.result,
                     .error = outcome.error});
    return outcome;
}

std::int64_t Session::position(int fd) {
    return real().lseek(fd, 0, SEEK_CUR);
}

Outcome Session::move(int fd, const OpenFile &file, std::span<std::uint8_t> out, At at) {
    if (file.registers == nullptr) {
        return from_libc(at ? real().pread(fd, out.data(), out.size(), *at)
                            : real().read(fd, out.data(), out.size()));
    }
    if (!readable(file.flags)) {
        return Outcome::failure(EBADF);
    }
    const Store::Lock lock(machine_->store());
    const std::uint64_t from = static_cast<std::uint64_t>(at ? *at : position(fd));
    machine_->settle();
    std::vector<std::uint8_t> bytes(std::min(out.size(), file.registers->contents().size()));
    const std::size_t done = file.registers->read(from, bytes);
    return give_to_user(out.data(), bytes.data(), done)
               ? Outcome{static_cast<std::int64_t>(done), 0}
               : Outcome::failure(EFAULT);
}

Outcome Session::move(int fd, const OpenFile &file, std::span<const std::uint8_t> in, At at) {
    if (file.registers == nullptr) {
        return from_libc(at ? real().pwrite(fd, in.data(), in.size(), *at)
                            : real().write(fd, in.data(), in.size()));
    }
    if (!writable(file.flags)) {
        return Outcome::failure(EBADF);
    }
    const Store::Lock lock(machine_->store());
    const std::uint64_t from = static_cast<std::uint64_t>(at ? *at : position(fd));
    std::vector<std::uint8_t> bytes(std::min(in.size(), file.registers->contents().size()));
    if (!take_from_user(bytes.data(), in.data(), bytes.size())) {
        return Outcome::failure(EFAULT);
    }
    machine_->settle();
    const std::size_t done = file.registers->write(from, bytes);
    machine_->settle();
    return done == 0 && !in.empty() ? Outcome::failure(ENXIO)
                                    : Outcome{static_cast<std::int64_t>(done), 0};
}

template <class Byte>
Outcome Session::move_with_faults(Op op, int fd, OpenFile &file, std::span<Byte> bytes, At at) {
    if (at && *at < 0) {
        return Outcome::failure(EINVAL);
    }
    if (file.registers != nullptr) {
        count_access();
    }
    const std::int64_t offset = at ? *at : position(fd);
    const auto fault = faults_.take(op, file.place.path, -1, offset);
    const std::size_t count = allowed(fault, bytes.size());
    const Outcome outcome =
        fault && count == 0 ? from_fault(*fault) : move(fd, file, bytes.first(count), at);
    const auto done = static_cast<std::size_t>(std::max<std::int64_t>(outcome.result, 0));
    if (!at && file.registers != nullptr && done != 0) {
        real().lseek(fd, static_cast<off64_t>(done), SEEK_CUR);
    }
    const auto moved = bytes.first(std::min(done, bytes.size()));
    journal_.record({.op = op,
                     .path = file.place.path,
                     .offset = offset,
                     .bytes = {moved.begin(), moved.end()},
                     .result = outcome.result,
                     .error = outcome.error});
    return outcome;
}

Outcome Session::read_at(int fd, std::span<std::uint8_t> out, At at) {
    const std::shared_ptr<OpenFile> file = files_.at(fd);
    if (file->bus == nullptr) {
        return move_with_faults(Op::read, fd, *file, out, at);
    }
    return readable(file->flags) ? i2c_read(file->port, out, transact_on(*file))
                                 : Outcome::failure(EBADF);
}

Outcome Session::write_at(int fd, std::span<const std::uint8_t> bytes, At at) {
    const std::shared_ptr<OpenFile> file = files_.at(fd);
    if (file->bus == nullptr) {
        return move_with_faults(Op::write, fd, *file, bytes, at);
    }
    return writable(file->flags) ? i2c_write(file->port, bytes, transact_on(*file))
                                 : Outcome::failure(EBADF);
}

Outcome Session::read(int fd, void *out, std::size_t size) {
    return read_at(fd, {static_cast<std::uint8_t *>(out), size}, std::nullopt);
}
Outcome Session::write(int fd, const void *data, std::size_t size) {
    return write_at(fd, {static_cast<const std::uint8_t *>(data), size}, std::nullopt);
}
Outcome Session::pread(int fd, void *out, std::size_t size, std::int64_t offset) {
    return read_at(fd, {static_cast<std::uint8_t *>(out), size}, offset);
}
Outcome Session::pwrite(int fd, const void *data, std::size_t size, std::int64_t offset) {
    return write_at(fd, {static_cast<const std::uint8_t *>(data), size}, offset);
}

Outcome Session::ioctl(int fd, unsigned long request, void *argument) {
    const std::shared_ptr<OpenFile> file = files_.at(fd);
    if (file->bus != nullptr) {
        return i2c_ioctl(file->port, *file->bus, request, argument, transact_on(*file));
    }
    return file->registers != nullptr ? Outcome::failure(ENOTTY)
                                      : from_libc(real().ioctl(fd, request, argument));
}

Transact Session::transact_on(const OpenFile &file) {
    return [this, &file](std::vector<Message> &messages, std::int64_t success) {
        return transfer(file, messages, success);
    };
}

Outcome Session::transfer(const OpenFile &file, std::vector<Message> &messages,
                          std::int64_t success) {
    count_access();
    const auto fault = faults_.take(Op::transfer, file.place.path,
                                    messages.empty() ? -1 : messages[0].addr, first_byte(messages));
    const std::size_t count = allowed(fault, messages.size());
    for (std::size_t i = count; i < messages.size(); ++i) {
        if (reads(messages[i])) {
            messages[i].bytes.clear();
        }
    }
    Outcome outcome = fault ? from_fault(*fault) : Outcome{};
    std::uint64_t waited_us = 0;
    if (count > 0) {
        const Store::Lock lock(machine_->store());
        machine_->settle();
        outcome = file.bus->transfer(std::span(messages).first(count));
        waited_us = file.bus->waited_us(outcome);
        machine_->clock().advance(waited_us);
        machine_->settle();
    }
    if (real_time_ && waited_us != 0) {
        real().usleep(static_cast<useconds_t>(waited_us));
    }
    if (!fault && outcome.result >= 0 && success >= 0) {
        outcome.result = success;
    }
    journal_.record({.op = Op::transfer,
                     .path = file.place.path,
                     .messages = messages,
                     .result = outcome.result,
                     .error = outcome.error});
    return outcome;
}

void Session::duplicated(int fd, int copy) {
    const auto found = files_.find(fd);
    const std::shared_ptr<OpenFile> file = found == files_.end() ? nullptr : found->second;
    if (tracks(copy)) {
        record_close(forget(copy), {});
    }
    if (file) {
        track(copy, file);
    }
}

void Session::slept(std::uint64_t us) {
    const Store::Lock lock(machine_->store());
    machine_->clock().advance(us);
    slept_us_ += us;
    journal_.record({.op = Op::sleep, .sleep_us = us});
}

void Session::clear_log() {
    journal_.clear();
    slept_us_ = 0;
}

}  // namespace vchassis
