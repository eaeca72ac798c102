// SPDX-License-Identifier: MIT
#include "dfdctl/board/offline.hpp"

#include <dfd/keys.h>
#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>

#include "dfdctl/board/find_boards.hpp"
#include "framework/dfd_lib_cfg/module.h"
#include "framework/platform.h"
#include "hal/board_bus.h"
#include "hal/facts.h"

namespace dfdctl {

namespace {

namespace fs = std::filesystem;

constexpr const char *kListDirectory = "/etc/cfg/dfd/file_name";
constexpr const char *kChassisDirectory = "/etc/cfg/dfd/chassis";

/// Taken before anything has run.
const LibraryState kFresh;

/// What the EEPROMs of the wanted board and chassis would say; everything else is silent.
class Eeproms {
  public:
    explicit Eeproms(const BoardChoice &choice) : chassis_type_(choice.chassis_type) {
        const auto type = static_cast<std::uint32_t>(choice.board_type);
        // A TLV image of version 2, whose device type stands in entry 6.
        board_ = {2, dfd::tlv::kFlag, 0, dfd::tlv::kTypeInEntry, 0, 0, 0, 0, 0, 6, 6, 4};
        for (std::size_t i = 0; i < sizeof type; ++i) {
            board_[kTypeAt + i] = static_cast<std::uint8_t>(type >> (8 * (3 - i)));
        }
    }

    void engine_begin(const dfd::watch::EngineCall &call) {
        asked_for_backplane_ = DFD_KEY_TYPE(call.key) == DFD_KEY_E2_SETMAC;
    }

    int answer(const dfd::watch::Transfer &transfer) {
        if (transfer.via == dfd::watch::Via::plain_file) {
            return dfd::kCannotOpen;
        }
        if (transfer.is_write || transfer.data == nullptr) {
            return -1;
        }
        const bool is_board = transfer.via == dfd::watch::Via::i2c &&
                              transfer.path == std::string_view(dfd::kBoardBus) &&
                              transfer.addr == dfd::kBoardE2promAddr;
        // An EEPROM whose byte cannot hold the type says nothing.
        if (!is_board && (!asked_for_backplane_ || chassis_type_ > kLastToldChassis)) {
            return -1;
        }
        for (std::uint32_t i = 0; i < transfer.len; ++i) {
            const std::size_t at = transfer.offset + i;
            transfer.data[i] = is_board ? (at < board_.size() ? board_[at] : std::uint8_t{0})
                                        : static_cast<std::uint8_t>(i == 0 ? chassis_type_ : 0);
        }
        return static_cast<int>(transfer.len);
    }

  private:
    static constexpr std::size_t kTypeAt = 12;
    std::array<std::uint8_t, 16> board_;
    int chassis_type_;
    bool asked_for_backplane_ = false;
};

struct Loading {
    LoadWatcher watcher;
    Eeproms eeproms;
};

/// A number as the library writes it into a path: "3e" or "8", not "3E" or "08".
bool plain_number(std::string_view text, int base, int *number) {
    std::from_chars(text.data(), text.data() + text.size(), *number, base);
    std::array<char, 16> written{};
    const auto end =
        std::to_chars(written.data(), written.data() + written.size(), *number, base).ptr;
    return text == std::string_view(written.data(), end);
}

/// Numbers in the names of files of a directory, between a prefix and a suffix.
std::vector<int> numbers_in(const std::string &directory, std::string_view prefix,
                            std::string_view suffix, int base) {
    std::vector<int> numbers;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory, error)) {
        const std::string name = entry.path().filename();
        const std::string_view view = name;
        int number = 0;
        if (view.size() > prefix.size() + suffix.size() && view.starts_with(prefix) &&
            view.ends_with(suffix) &&
            plain_number(view.substr(prefix.size(), view.size() - prefix.size() - suffix.size()),
                         base, &number)) {
            numbers.push_back(number);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

}  // namespace

LibraryState::LibraryState() {
    const auto state = dfd::watch::state();
    bytes_.assign(state.begin(), state.end());
}

void LibraryState::restore() const {
    std::copy(bytes_.begin(), bytes_.end(), dfd::watch::state().begin());
}

void forget_board() {
    dfd::watch::free_items();
    kFresh.restore();
}

std::vector<int> board_types(const std::string &root) {
    constexpr int kHex = 16;
    return numbers_in(root + kListDirectory, "0x", "", kHex);
}

std::vector<int> chassis_types(const std::string &root) {
    constexpr int kDecimal = 10;
    return numbers_in(root + kChassisDirectory, "", ".cfg", kDecimal);
}

LoadRecord load_offline(const BoardChoice &choice, int *result) {
    forget_board();
    Loading loading{.watcher = {}, .eeproms = Eeproms(choice)};
    loading.watcher.set_root(choice.root);
    dfd::watch::Hooks &hooks = loading.watcher.hooks();
    hooks.is_silent = true;
    if (choice.reads_everything) {
        loading.watcher.read_everything();
    }
    loading.watcher.set_answers(
        [&](const dfd::watch::EngineCall &call) { loading.eeproms.engine_begin(call); },
        [&](const dfd::watch::Transfer &transfer) { return loading.eeproms.answer(transfer); });
    const Watching watching(hooks);
    const int rv = dev_drv_init();
    if (result != nullptr) {
        *result = rv;
    }
    return loading.watcher.take();
}

LoadRecord load_files(const std::vector<std::string> &paths) {
    forget_board();
    LoadWatcher watcher;
    watcher.set_root("");
    watcher.read_everything();
    const Watching watching(watcher.hooks());
    for (const std::string &path : paths) {
        dfd_lib_cfg_analyse_config_file(path.c_str());
    }
    return watcher.take();
}

}  // namespace dfdctl
