// SPDX-License-Identifier: MIT
// Reading many values of a chassis that may be sick: each read is made once, a device that does not
// answer is asked once, and each failed reading knows which transfer it died of.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dfdctl/board/faults.hpp"
#include "dfdctl/board/load_record.hpp"
#include "dfdctl/board/reading.hpp"

namespace dfdctl {

/// While it lives it stands between the library and the hardware. What was read is answered from
/// memory, and so is what would fail again. A write forgets what was read behind its path; a pause
/// that the library makes, to look again, forgets what the reading in work has asked for. Writes
/// are made, unless their device or bus has timed out: they fail then.
class ReadPass {
  public:
    ReadPass();
    ~ReadPass();
    ReadPass(const ReadPass &) = delete;
    ReadPass &operator=(const ReadPass &) = delete;

    /// The one that is in work, or null.
    static ReadPass *current() { return current_; }
    /// Lets the pass in work have a part in hooks that replace its own.
    static void join(dfd::watch::Hooks &hooks);

    /// Failed transfers in their order, those answered from memory included.
    const std::vector<FailedTransfer> &failed() const { return failed_; }
    /// How many were made.
    std::size_t made() const { return made_; }
    /// By device and bus, how many failed or were given up because it is dead: 0 where it works. Of
    /// a bus only those that say that it is dead.
    const std::map<std::string, std::size_t> &failures() const { return failures_; }

    /// What is asked for from now on belongs to another reading.
    void begin_reading() { ++reading_; }

  private:
    struct Read {
        dfd::watch::Via via;
        std::string path;
        std::uint16_t addr;
        std::uint32_t offset;
        int offset_bytes;
        std::uint32_t len;

        auto operator<=>(const Read &) const = default;
    };
    struct Known {
        int result = 0;
        std::vector<std::uint8_t> bytes = {};
        std::optional<FailedTransfer> failure = {};
        int attempts = 0;
        std::size_t reading = 0;  ///< that asked last
    };

    bool answer(const dfd::watch::Transfer &transfer, int *result);
    bool answer_read(const dfd::watch::Transfer &transfer, int *result);
    void transferred(const dfd::watch::Transfer &transfer, int result,
                     const dfd::watch::Failure &failure);
    bool skips_pause();
    bool fails(const dfd::watch::Transfer &transfer, const FailedTransfer &failure, int *result);
    bool is_retry(const Read &read) const;
    const FailedTransfer *dead(const dfd::watch::Transfer &transfer) const;
    void note_failure(const Read &read, const FailedTransfer &failed);
    void note_answer(const dfd::watch::Transfer &transfer);

    static ReadPass *current_;

    ReadPass *outer_;
    dfd::watch::Hooks hooks_;
    Watching watching_;
    std::map<Read, Known> known_;
    std::map<std::string, FailedTransfer> dead_;     ///< by device or path
    std::set<std::string> alive_;                    ///< devices that have answered
    std::map<std::string, std::set<Read>> strikes_;  ///< by device: what failed before any answer
    std::map<std::string, std::string> timed_out_;   ///< by bus: the device that did so last
    std::vector<FailedTransfer> failed_;
    std::map<std::string, std::size_t> failures_;
    std::size_t made_ = 0;
    std::size_t reading_ = 0;
    std::optional<Read> last_;  ///< a read that failed, as the last transfer
    bool is_answered_ = false;  ///< the transfer in work
    bool last_failed_ = false;
    bool retry_helps_ = false;  ///< of that
};

/// One reading: what fails while it lives is its cause. Without a pass in work it has one of its
/// own.
class ReadingScope {
  public:
    ReadingScope();
    ReadingScope(const ReadingScope &) = delete;
    ReadingScope &operator=(const ReadingScope &) = delete;

    /// The transfer that failed last, or null.
    const FailedTransfer *failed() const;
    /// A failed reading with its cause, where a transfer failed: that outranks any other reason.
    Reading explained(Reading reading) const;

  private:
    std::optional<ReadPass> own_;
    const ReadPass *pass_;
    std::size_t begin_ = 0;
};

template <typename Read>
Reading with_cause(Read read) {
    const ReadingScope scope;
    return scope.explained(read());
}

}  // namespace dfdctl
