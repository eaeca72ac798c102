// SPDX-License-Identifier: MIT
// Descriptions that can never work. Whether an item can be read or written at all is asked of the
// library's engine, with every transfer answered.
#include <dfd/access.h>
#include <dfd/framework.h>
#include <dfd/keys.h>
#include <algorithm>
#include <array>
#include <cstring>
#include <set>

#include "dfdctl/lint/consumers.hpp"
#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/uses.hpp"
#include "dfdctl/observe/alike.hpp"
#include "dfdctl/observe/refusal.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::watch::Refusal;

constexpr std::uint32_t kNumberBytes = 31;  // more are refused
constexpr std::uint32_t kRegisterBits = 8;
constexpr std::uint32_t kLastI2cRegister = 0xFF;

/// Whoever converts the bytes: here only the engine is on trial.
int convert(std::uint8_t * /*bytes*/, int /*count*/, int *value) {
    *value = 0;
    return DFD_OK;
}

struct Seen {
    const Check &check;
    Item item;
    const info_ctrl_t &ctrl;

    bool is_written() const { return check.uses().is_written(item.type->type); }
    bool sets(CtrlMember member) const { return is_set(check, item, member); }
    bool is_hardware() const { return is_hardware_mode(ctrl.mode); }
    bool is_hardware(int src) const { return is_hardware() && ctrl.src == src; }
    bool has_format(std::initializer_list<int> formats) const {
        return is_hardware() &&
               std::find(formats.begin(), formats.end(), ctrl.frmt) != formats.end();
    }
};

/// The engine with every transfer answered, and why it refuses.
class Engine {
  public:
    Engine() : watching_(hooks_) {
        hooks_.answer = [](void * /*context*/, const dfd::watch::Transfer &transfer, int *result) {
            if (!transfer.is_write && transfer.data != nullptr) {
                std::memset(transfer.data, 0, transfer.len);
            }
            *result = static_cast<int>(transfer.len);
            return true;
        };
        hooks_.context = this;
        hooks_.refused = [](void *context, Refusal refusal) {
            Refusal &first = static_cast<Engine *>(context)->refusal_;
            first = first == Refusal::none ? refusal : first;
        };
        hooks_.pause = [](void * /*context*/, unsigned /*us*/) { return true; };
    }

    bool reads_number(std::uint32_t key) {
        refusal_ = Refusal::none;
        int value = 0;
        return dfd_info_get_int(key, &value, convert) >= DFD_OK;
    }
    bool reads_buffer(std::uint32_t key) {
        refusal_ = Refusal::none;
        std::array<char, kMaxBytes> buffer{};
        return dfd_info_get_buf(key, buffer.data(), kMaxBytes, nullptr) >= DFD_OK;
    }
    /// Most items are described like the one before, and so is the outcome.
    bool writes(const Seen &seen) {
        refusal_ = Refusal::none;
        if (written_ != nullptr && observe::are_alike(*written_, seen.ctrl)) {
            return true;
        }
        const bool is_written = dfd_info_set_int(seen.item.key(), 0) >= DFD_OK;
        written_ = is_written ? &seen.ctrl : nullptr;
        return is_written;
    }
    /// Of the last call.
    Refusal refusal() const { return refusal_; }

  private:
    Refusal refusal_ = Refusal::none;
    const info_ctrl_t *written_ = nullptr;  ///< by the last call that did so
    dfd::watch::Hooks hooks_;
    Watching watching_;
};

void add_refusal(Check &check, const Seen &seen, std::string_view rule, std::string_view verdict,
                 Refusal refusal) {
    const observe::Reason reason = observe::reason_of(check.log(), seen.item, refusal)
                                       .value_or(observe::Reason{kMode, "the library fails"});
    check.at_member(rule, seen.item.key(), reason.member,
                    fmt::format("{} {}: {}", as_written(seen.item), verdict, reason.text));
}

/// Whether the engine takes the item at all.
bool try_engine(Check &check, Engine &engine, const Seen &seen) {
    const std::uint32_t key = seen.item.key();
    const bool is_buffer = seen.ctrl.frmt == INFO_FRMT_BUF;
    const bool writes = engine.writes(seen);
    const Refusal of_write = engine.refusal();
    if (!writes && !(is_buffer ? engine.reads_buffer(key) : engine.reads_number(key))) {
        add_refusal(check, seen, "item-refused", "can never be read", engine.refusal());
        return false;
    }
    if (!writes && seen.is_written()) {
        add_refusal(check, seen, "write-refused", "can never be written", of_write);
    }
    return true;
}

/// A combination of members that does not do what it says.
struct MemberRule {
    std::string_view rule;
    CtrlMember member;
    bool (*is_broken)(const Seen &seen);
    std::string_view text;
};

bool is_relative(const Seen &seen) {
    return seen.ctrl.mode != INFO_CTRL_MODE_CONSTANT && seen.ctrl.fpath[0] != '\0' &&
           seen.ctrl.fpath[0] != '/';
}

bool has_leftovers(const Seen &seen) {
    return seen.ctrl.mode == INFO_CTRL_MODE_CONSTANT &&
           (seen.sets(kSrc) || seen.sets(kFpath) || seen.sets(kRegOffset));
}

bool has_no_path(const Seen &seen) {
    return seen.ctrl.fpath[0] == '\0' &&
           (seen.is_hardware() ? seen.ctrl.src != INFO_SRC_NONE : is_eeprom_mode(seen.ctrl.mode));
}

/// One that is no number at all is spoken of where the line is.
bool has_negative_register(const Seen &seen) {
    const SourceLine *line = seen.check.line_of(seen.item.key(), kRegOffset);
    return (seen.is_hardware(INFO_SRC_LOCALBUS) || seen.is_hardware(INFO_SRC_FILE)) &&
           static_cast<std::int32_t>(seen.ctrl.reg_offset) < 0 && line != nullptr &&
           judge_number(line->value).flaw == NumberText::Flaw::none;
}

/// As it is written: the device gets the low byte of it, whatever the rest is.
bool has_negative_i2c_register(const Seen &seen) {
    const SourceLine *line = seen.check.line_of(seen.item.key(), kRegOffset);
    return seen.is_hardware(INFO_SRC_I2C) && line != nullptr && line->value.starts_with('-') &&
           seen.ctrl.reg_offset > kLastI2cRegister;
}

/// A flag was chosen, where a plain register would do as a probe.
bool is_line_flag_on_i2c(const Seen &seen) {
    const std::uint32_t type = seen.item.type->type;
    return (type == DFD_KEY_POWER_LINE_FAIL || type == DFD_KEY_FAN_LINE_FAIL) &&
           seen.is_hardware(INFO_SRC_I2C) && seen.ctrl.frmt == INFO_FRMT_BIT;
}

bool is_irq_status(const Item &item) {
    const std::uint32_t type = item.type->type;
    return type == DFD_KEY_1ST_IRQ_STATUS || type == DFD_KEY_2ND_IRQ_STATUS ||
           type == DFD_KEY_3RD_IRQ_STATUS;
}

constexpr std::array kMemberRules = {
    MemberRule{"bit-field-empty", kLen,
               [](const Seen &s) { return s.has_format({INFO_FRMT_BIT}) && s.ctrl.len == 0; },
               "a bit field of no bits always reads 0, and a write changes nothing: .len is the "
               "width in bits, 1 for a flag"},
    MemberRule{
        "bit-field-wide", kLen,
        [](const Seen &s) {
            return s.has_format({INFO_FRMT_BIT}) && s.ctrl.len > 0 &&
                   s.ctrl.bit_offset < kRegisterBits &&
                   (s.ctrl.len > kRegisterBits || s.ctrl.bit_offset + s.ctrl.len > kRegisterBits);
        },
        "the field goes past bit 7, where there is nothing: .bit_offset + .len is at most 8"},
    MemberRule{"number-wide", kLen,
               [](const Seen &s) {
                   return s.has_format({INFO_FRMT_BYTE, INFO_FRMT_NUM_BYTES}) &&
                          s.ctrl.len > kIntegerBytes && s.ctrl.len <= kNumberBytes;
               },
               "an integer holds 4 bytes: the more significant bytes of this number are lost"},
    MemberRule{
        "i2c-bit-write", kFrmt,
        [](const Seen &s) {
            return s.has_format({INFO_FRMT_BIT}) && s.ctrl.src == INFO_SRC_I2C && s.is_written();
        },
        "a write over I2C writes the whole register: the bits beside this field become 0, or "
        "1 with negative polarity; give the field a register of its own"},
    MemberRule{"write-one-byte", kLen,
               [](const Seen &s) {
                   return s.has_format({INFO_FRMT_BYTE, INFO_FRMT_NUM_BYTES, INFO_FRMT_NUM_BUF}) &&
                          s.ctrl.len > 1 && s.is_written();
               },
               "only the low byte of a value is written, at .reg_offset, whatever .len says"},
    MemberRule{
        "constant-missing", kMode,
        [](const Seen &s) { return s.ctrl.mode == INFO_CTRL_MODE_CONSTANT && !s.sets(kIntCons); },
        "a constant without .int_cons is 0"},
    MemberRule{"constant-source", kSrc, has_leftovers,
               "a constant is not read from anywhere: source, path and register count for nothing"},
    MemberRule{
        "constant-unused", kIntCons,
        [](const Seen &s) { return s.ctrl.mode != INFO_CTRL_MODE_CONSTANT && s.sets(kIntCons); },
        ".int_cons counts with .mode=constant only"},
    MemberRule{
        "mode-none", kMode, [](const Seen &s) { return s.ctrl.mode == INFO_CTRL_MODE_NONE; },
        "without a mode numbers are read as with config, but buffers and writes are refused: "
        "write .mode=config"},
    MemberRule{"mode-func", kMode,
               [](const Seen &s) {
                   return s.ctrl.mode == INFO_CTRL_MODE_FUNC &&
                          s.item.type->type != DFD_KEY_POWER_STATE;
               },
               "func has a meaning for power_state only; here numbers are read as with config, but "
               "buffers and writes are refused"},
    MemberRule{"polarity-inverts-nothing", kPola,
               [](const Seen &s) {
                   return s.has_format({INFO_FRMT_BYTE, INFO_FRMT_NUM_BYTES}) && s.ctrl.len == 1 &&
                          s.ctrl.pola == INFO_POLA_NEGATIVE;
               },
               "the polarity of a number is its byte order: of one byte nothing is inverted; an "
               "active-low value is a bit field"},
    MemberRule{"polarity-unused", kPola,
               [](const Seen &s) {
                   return s.has_format({INFO_FRMT_NUM_STR, INFO_FRMT_NUM_BUF, INFO_FRMT_BUF}) &&
                          s.ctrl.pola != INFO_POLA_NONE;
               },
               "this format has no polarity"},
    MemberRule{"bit-offset-unused", kBitOffset,
               [](const Seen &s) {
                   return s.is_hardware() && s.ctrl.frmt != INFO_FRMT_NONE &&
                          s.ctrl.frmt != INFO_FRMT_BIT && s.ctrl.bit_offset != 0;
               },
               "a bit offset counts with .frmt=bit only: the value is not shifted"},
    MemberRule{"address-unused", kAddr,
               [](const Seen &s) {
                   return (s.is_hardware(INFO_SRC_LOCALBUS) || s.is_hardware(INFO_SRC_FILE)) &&
                          s.sets(kAddr);
               },
               ".addr is a device on an I2C bus; the register of this source is .reg_offset"},
    MemberRule{
        "register-cut", kRegOffset,
        [](const Seen &s) {
            return s.is_hardware(INFO_SRC_I2C) && s.ctrl.reg_offset > kLastI2cRegister &&
                   !has_negative_i2c_register(s);
        },
        "a register of an I2C device is one byte: the upper bits are cut, another register is "
        "accessed"},
    MemberRule{
        "register-negative", kRegOffset, has_negative_register,
        "no device has a register below 0: every read fails (-7); write the offset as in the "
        "data sheet, 0x00 and up"},
    MemberRule{"register-negative", kRegOffset, has_negative_i2c_register,
               "no device has a register below 0: another one is accessed; write the offset as in "
               "the data sheet, 0x00 and up"},
    MemberRule{"line-fail-probe", kFrmt, is_line_flag_on_i2c,
               "over I2C only whether the device answers counts, never what the register holds: "
               "write the bit of a local-bus register, or .frmt=byte and .len=1 where an answer is "
               "what is meant"},
    MemberRule{"irq-status-wide", kLen,
               [](const Seen &s) {
                   return is_irq_status(s.item) &&
                          s.has_format({INFO_FRMT_BYTE, INFO_FRMT_NUM_BYTES}) && s.ctrl.len > 1 &&
                          s.ctrl.len <= kIntegerBytes;
               },
               "a level has eight bits, of a longer number only the low byte counts: write .len=1, "
               "and describe the other registers as levels of their own"},
    MemberRule{"irq-status-wide", kIntCons,
               [](const Seen &s) {
                   return is_irq_status(s.item) && s.ctrl.mode == INFO_CTRL_MODE_CONSTANT &&
                          (s.ctrl.int_cons < 0 || s.ctrl.int_cons > dfd::kWholeByte);
               },
               "a level has eight bits: of this number only the low byte counts"},
    MemberRule{"path-missing", kFpath, has_no_path,
               "without .fpath no device is opened: every read fails (-7)"},
    MemberRule{"path-relative", kFpath, is_relative,
               "a relative path depends on the directory that a program was started in: begin it "
               "with '/'"},
};

void check_members(Check &check, const Seen &seen) {
    for (const MemberRule &rule : kMemberRules) {
        if (rule.is_broken(seen)) {
            check.at_member(rule.rule, seen.item.key(), rule.member,
                            fmt::format("{}: {}", as_written(seen.item), rule.text));
        }
    }
}

void check_place(Check &check, const Seen &seen) {
    if (seen.ctrl.fpath[0] == '\0') {
        check.at_item(
            "path-missing", seen.item.key(),
            fmt::format("{}: without .fpath there is nothing to read", as_written(seen.item)));
    }
}

}  // namespace

void check_items(Check &check) {
    check.uses();  // before the engine is on trial
    std::set<std::uint32_t> refused;
    {
        Engine engine;
        for (const Item &item : configured(check, Kind::info_ctrl)) {
            const Seen seen{check, item, *record_of<info_ctrl_t>(item)};
            if (is_place_only(item)) {
                check_place(check, seen);
                continue;
            }
            check_members(check, seen);
            if (!is_eeprom_mode(seen.ctrl.mode) && !try_engine(check, engine, seen)) {
                refused.insert(item.key());
            }
        }
    }
    check_consumers(check, refused);
}

}  // namespace dfdctl::lint
