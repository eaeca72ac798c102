// SPDX-License-Identifier: MIT
#include "check/board.h"

#include <dfd/dfd.h>

#include <stdexcept>

#include "dfdctl/board/load_record.hpp"
#include "dfdctl/observe/board_use.hpp"

namespace dfd_check {

using namespace dfdctl;

Board::Board(const std::string &directory) : chassis(directory) {
    LoadWatcher watcher;
    {
        const Watching watching(watcher.hooks());
        if (dev_drv_init() != DFD_OK) {
            throw std::runtime_error("the board does not start");
        }
    }
    drv_irq_cfg_init();
    const LoadRecord record = watcher.take();
    const observe::Units units(record, static_cast<std::uint32_t>(drv_get_my_slotid()));
    for (const observe::Call &call : observe::calls()) {
        if (observe::is_of_board(call)) {
            for (const observe::Args &args : units.all_args(call)) {
                calls_.push_back({&call, args});
            }
        }
    }
}

std::vector<Asked> Board::calls(bool only_getters) const {
    std::vector<Asked> some = calls_;
    std::erase_if(some, [only_getters](const Asked &asked) {
        return only_getters && asked.call->does != observe::Does::get;
    });
    return some;
}

}  // namespace dfd_check
