// SPDX-License-Identifier: MIT
#include "dfdctl/observe/observer.hpp"

#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/irq.h>
#include <dfd/keys.h>
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <unordered_set>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/observe/recorder.hpp"

namespace dfdctl::observe {

namespace {

constexpr std::size_t kBufferSize = 512;
constexpr std::uint32_t kCapacity = kMaxLength;
constexpr std::size_t kMacSize = 6;
constexpr std::size_t kRecordSize = sizeof(backplane_info_t);

int ignore_interrupt(const irq_info_t * /*source*/) {
    return 0;
}

/// What a function works on while it runs.
class Frame {
  public:
    Frame(const Call &call, const Args &args) : call_(call) {
        for (const Param &param : call.params()) {
            words_[count_] = word_of(param, args);
            ++count_;
        }
    }
    Frame(const Frame &) = delete;
    Frame &operator=(const Frame &) = delete;

    int run() const { return static_cast<int>(call_.run(words_.data())); }

    std::vector<Output> outputs(int result) const {
        std::vector<Output> found;
        for (std::size_t i = 0; i < count_; ++i) {
            const Param &param = call_.slots[i];
            if (facts_of(param.role).kind == RoleKind::output) {
                found.push_back(output_of(param, words_[i], result));
            }
        }
        return found;
    }

  private:
    struct Buffer {
        alignas(std::max_align_t) std::array<char, kBufferSize> bytes;
    };

    Word word_of(const Param &param, const Args &args) {
        const RoleFacts &facts = facts_of(param.role);
        switch (facts.kind) {
            case RoleKind::index:
            case RoleKind::number:
                return next_number_ < args.numbers.size() ? args.numbers[next_number_++]
                                                          : facts.standard;
            case RoleKind::text:
                return text_word(next_text_ < args.texts.size()
                                     ? std::string_view(args.texts[next_text_++])
                                     : facts.text);
            default:
                return support_of(param);
        }
    }

    /// Of a copy with room behind it: some functions are told how long a text is.
    Word text_word(std::string_view text) {
        Buffer &buffer = buffers_[next_buffer_++];
        buffer.bytes.fill('\0');
        std::copy_n(text.begin(), std::min<std::size_t>(text.size(), kMaxLength),
                    buffer.bytes.begin());
        return reinterpret_cast<Word>(&buffer);
    }

    Word support_of(const Param &param) {
        switch (param.role) {
            case Role::handler:
                return reinterpret_cast<Word>(&ignore_interrupt);
            case Role::capacity:
                capacity_ = kCapacity;
                return param.is_pointer ? reinterpret_cast<Word>(&capacity_) : kCapacity;
            case Role::ignored:
            case Role::none:
                return 0;
            case Role::out:
                return reinterpret_cast<Word>(&numbers_[next_out_++]);
            default: {
                Buffer &buffer = buffers_[next_buffer_++];
                buffer.bytes.fill('\0');
                return reinterpret_cast<Word>(&buffer);
            }
        }
    }

    std::size_t text_size(const char *text, int result) const {
        if (capacity_ != static_cast<int>(kCapacity) && capacity_ > 0) {
            return std::min<std::size_t>(static_cast<std::size_t>(capacity_), kCapacity);
        }
        // Left as it was: the text ends at a NUL, or the result is its length.
        return call_.returns_value && result > 0
                   ? std::min<std::size_t>(static_cast<std::size_t>(result), kCapacity)
                   : strnlen(text, kCapacity);
    }

    Output output_of(const Param &param, Word word, int result) const {
        const char *bytes = reinterpret_cast<const char *>(word);
        switch (param.role) {
            case Role::out:
                return {.param = &param, .number = number_at(param, word)};
            case Role::bytes6:
                return {.param = &param, .bytes = std::string(bytes, kMacSize)};
            case Role::bytes8:
                return {.param = &param, .bytes = std::string(bytes, DFD_FRU_HEADER_SIZE)};
            case Role::bytes10:
                return {.param = &param, .bytes = std::string(bytes, DFD_TLV_HEADER_SIZE)};
            case Role::record:
                return {.param = &param, .bytes = std::string(bytes, kRecordSize)};
            default:
                return {.param = &param, .bytes = std::string(bytes, text_size(bytes, result))};
        }
    }

    static std::int64_t number_at(const Param &param, Word word) {
        std::uint64_t raw = 0;
        std::memcpy(&raw, reinterpret_cast<const void *>(word), param.size);
        return param.is_signed ? static_cast<std::int32_t>(raw) : static_cast<std::int64_t>(raw);
    }

    const Call &call_;
    std::array<Word, kMaxParams> words_ = {};
    std::size_t count_ = 0;
    std::size_t next_number_ = 0;
    std::size_t next_text_ = 0;
    std::array<std::uint64_t, kMaxParams> numbers_ = {};
    std::size_t next_out_ = 0;
    std::array<Buffer, kMaxParams> buffers_;
    std::size_t next_buffer_ = 0;
    int capacity_ = kCapacity;
};

void check(const Call &call, const Answers &answers) {
    if (!call.can_be_observed()) {
        throw std::logic_error(std::string(call.name) + " changes what is loaded");
    }
    if (answers.from == Answers::From::hardware && !call.only_reads()) {
        throw std::logic_error(std::string(call.name) + " does more than read");
    }
}

/// What would not fit the buffers that a call works on.
void check_lengths(const Call &call, const Args &args) {
    std::size_t number = 0;
    for (const Param *param : call.inputs()) {
        if (facts_of(param->role).kind == RoleKind::text) {
            continue;
        }
        const bool is_given = number < args.numbers.size();
        if (param->role == Role::length && is_given && args.numbers[number] > kMaxLength) {
            throw std::logic_error(std::string(call.name) + " works on longer buffers");
        }
        ++number;
    }
}

}  // namespace

std::vector<std::uint32_t> Observation::keys() const {
    std::vector<std::uint32_t> found;
    std::unordered_set<std::uint32_t> known;
    for (const Event &event : events) {
        if (event.kind == Event::Kind::lookup && known.insert(event.key).second) {
            found.push_back(event.key);
        }
    }
    return found;
}

std::uint32_t list_type(const dfd_list_head_t *list) {
    if (list == &dfd_lib_cfg_pid_str_conv_lst) {
        return DFD_KEY_CARD_PID_STR;
    }
    if (list == &dfd_lib_cfg_power_name_conv_lst) {
        return DFD_KEY_POWER_NAME;
    }
    return list == &dfd_lib_cfg_fan_name_conv_lst ? DFD_KEY_FAN_NAME : DFD_KEY_FAN_SPEEDLVL_CONVERT;
}

std::string log_message(const std::string &log) {
    const auto header = log.find(">\n");
    const auto begin = header == std::string::npos ? 0 : header + 2;
    return log.substr(begin, log.find_first_of("\r\n", begin) - begin);
}

Observer::Observer(const LoadRecord &record) : record_(record), plausible_(record) {}

Observer::~Observer() {
    state_.restore();
}

Observation Observer::observe(const Call &call, const Args &args, const Answers &answers,
                              Log log) const {
    check(call, answers);
    check_lengths(call, args);
    state_.restore();
    if (call.subsystem == Subsystem::irq && call.does == Does::control) {
        drv_irq_cfg_init();  // what the platform does before the first interrupt
        if (call.name == "drv_irq_cfg_init") {
            state_.restore();
        }
    }
    std::optional<LogCapture> capture;
    if (log == Log::open) {
        capture.emplace();
        capture->open_gate();
    }
    Recorder recorder(answers, plausible_, capture.has_value() ? &*capture : nullptr);
    Frame frame(call, args);
    int result = 0;
    {
        const Watching watching(recorder.hooks());
        result = frame.run();
    }
    Observation seen = recorder.take();
    seen.result = result;
    seen.outputs = frame.outputs(result);
    if (capture.has_value()) {
        seen.log = capture->text();
    }
    return seen;
}

std::optional<std::uint32_t> Observer::own_slot(const Answers &answers) const {
    const bool is_given = answers.find(item_of(DFD_KEY_MY_SLOTID).key()) != nullptr;
    if (!is_given && answers.from != Answers::From::hardware) {
        return std::nullopt;
    }
    const int slot = observe(*find_call("drv_get_my_slotid"), {}, answers).result;
    return slot >= 0 ? std::optional(static_cast<std::uint32_t>(slot)) : std::nullopt;
}

}  // namespace dfdctl::observe
