// SPDX-License-Identifier: MIT
#include "dfdctl/command.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <climits>

namespace dfdctl {

Command Command::subcommand(const std::string &name, const std::string &description) {
    return {*app_->add_subcommand(name, description), *action_};
}

void Command::needs_subcommand() {
    app_->require_subcommand(1);
    app_->fallthrough();
}

void Command::word(const std::string &name, std::string &value, const std::string &help) {
    app_->add_option(name, value, help)->required();
}

void Command::words(const std::string &name, std::vector<std::string> &values,
                    const std::string &help, const std::string &usage, std::size_t fewest,
                    std::size_t most) {
    const int limit =
        most < INT_MAX ? static_cast<int>(most) : CLI::detail::expected_max_vector_size;
    app_->add_option(name, values, help)
        ->type_name(usage)
        ->expected(static_cast<int>(fewest), limit)
        ->required(fewest > 0);
}

void Command::option(const std::string &name, std::string &value, const std::string &help,
                     const std::string &type) {
    app_->add_option(name, value, help)->type_name(type);
}

void Command::option(const std::string &name, std::vector<std::string> &values,
                     const std::string &help, const std::string &type) {
    app_->add_option(name, values, help)->type_name(type)->allow_extra_args(false);
}

void Command::flag(const std::string &name, bool &value, const std::string &help) {
    app_->add_flag(name, value, help);
}

void Command::runs(Action action) {
    app_->callback([target = action_, action = std::move(action)] { *target = action; });
}

}  // namespace dfdctl
