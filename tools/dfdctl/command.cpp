// SPDX-License-Identifier: MIT
#include "dfdctl/command.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <climits>

#include "dfdctl/output.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace dfdctl {

namespace {

constexpr std::size_t kLeftColumn = 24;
constexpr std::size_t kFooterIndent = 5;    // behind "  0  "
constexpr const char *kPlainType = "TEXT";  // of a positional that has no usage of its own

std::string lines_of(const std::string &text, std::size_t indent) {
    return fmt::format("{}\n", fmt::join(wrapped_lines(text, text_width(), indent), "\n"));
}

/// "  --root DIR            Boards in and below this directory"
std::string two_columns(const std::string &left, const std::string &right) {
    const std::string line = fmt::format("  {:<{}}", left, kLeftColumn - 2);
    return line.size() > kLeftColumn || line.back() != ' '
               ? lines_of(line, kLeftColumn) +
                     lines_of(std::string(kLeftColumn, ' ') + right, kLeftColumn)
               : lines_of(line + right, kLeftColumn);
}

class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_description(const CLI::App *app) const override {
        return lines_of(app->get_description(), 0);
    }

    std::string make_usage(const CLI::App *app, std::string name) const override {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        usage.erase(usage.find_last_not_of('\n') + 1);
        return lines_of(usage, 2);
    }

    std::string make_option(const CLI::Option *option, bool is_positional) const override {
        std::string left = make_option_name(option, is_positional);
        const std::string type = option->get_type_name();
        if (option->get_type_size() != 0 && !type.empty()) {
            const std::string shown = type.substr(0, type.find(':'));
            left = !is_positional ? left + " " + shown : type == kPlainType ? left : shown;
        }
        return two_columns(left, option->get_description());
    }

    /// Where a positional's type name is a usage, the usage line shows that.
    std::string make_option_usage(const CLI::Option *option) const override {
        const std::string type = option->get_type_name();
        return type != kPlainType ? type : CLI::Formatter::make_option_usage(option);
    }

    std::string make_subcommand(const CLI::App *sub) const override {
        return two_columns(sub->get_name(), sub->get_description());
    }

    std::string make_footer(const CLI::App *app) const override {
        return lines_of(app->get_footer(), kFooterIndent);
    }
};

}  // namespace

int reporting_failure(const Action &action) {
    try {
        return action();
    } catch (const UsageError &error) {
        complain(error.what());
        return kExitUsage;
    } catch (const std::exception &error) {
        complain(error.what());
        return kExitIo;
    }
}

void set_up_help(CLI::App &app) {
    app.formatter(std::make_shared<HelpFormatter>());
}

std::string help_footer(const std::string &example, const std::string &text) {
    return fmt::format("Example:\n  {}\n\n{}", example, text);
}

Command Command::subcommand(const std::string &name, const std::string &description,
                            const std::string &example) {
    CLI::App &app = *app_->add_subcommand(name, description);
    app.footer(help_footer(example, "Exit status and options of all commands: dfdctl --help"));
    return {app, *action_};
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
