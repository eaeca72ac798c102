// SPDX-License-Identifier: MIT
// dfdctl: looks at a board through the library's public interface.
#include <CLI/CLI.hpp>
#include <exception>
#include <span>

#include "common/nearest.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/startup.hpp"

#include <fmt/format.h>

namespace {

using namespace dfdctl;

constexpr const char *kDescription =
    "Shows what board this is, and reads and writes what its configuration describes.\n"
    "Data goes to standard output, messages and the library's log to standard error.";

constexpr const char *kFooter =
    "Exit status:\n"
    "  0  done\n"
    "  1  some reading failed, or a value written does not read back\n"
    "  2  mistake on the command line, or the configuration cannot be used\n"
    "  3  not supported: the item is not configured on this board\n"
    "  4  the hardware or the output cannot be accessed\n"
    "Without hardware: vchassis run DIR -- dfdctl ...";

constexpr unsigned kMaxDebugLevel = 4;

/// Where a positional's type name is a usage in brackets, the usage line shows that.
class UsageFormatter : public CLI::Formatter {
  public:
    std::string make_option_usage(const CLI::Option *option) const override {
        const std::string type = option->get_type_name();
        return type.starts_with('[') ? type : CLI::Formatter::make_option_usage(option);
    }
};

const CLI::App *subcommand_named(const CLI::App &app, const std::string &name) {
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        if (subcommand->get_name() == name) {
            return subcommand;
        }
    }
    return nullptr;
}

/// A word in the place of a subcommand that is none; empty when there is no such word.
std::string unknown_subcommand(const CLI::App &app, std::span<char *const> words) {
    const CLI::App *at = &app;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string word = words[i];
        if (word.starts_with('-')) {
            i += word == "--debug" ? 1 : 0;
            continue;
        }
        if (at->get_subcommands({}).empty()) {
            break;
        }
        at = subcommand_named(*at, word);
        if (at == nullptr) {
            return word;
        }
    }
    return {};
}

/// What is wrong with the command line, with the nearest names for a mistyped subcommand.
void report_usage(const CLI::App &app, const CLI::ParseError &error, std::span<char *const> words) {
    const std::string word = unknown_subcommand(app, words);
    if (word.empty()) {
        fmt::print(stderr, "dfdctl: {}\nTry 'dfdctl --help'.\n", error.what());
        return;
    }
    std::vector<std::string> names;
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        names.push_back(subcommand->get_name());
        for (const CLI::App *page : subcommand->get_subcommands({})) {
            names.push_back(page->get_name());
        }
    }
    const std::vector<std::string_view> views(names.begin(), names.end());
    fmt::print(stderr, "dfdctl: unknown command '{}'{}\nTry 'dfdctl --help'.\n", word,
               dfd_tools::did_you_mean(word, views));
}

int run(int argc, char **argv, Options &options) {
    CLI::App app{kDescription, "dfdctl"};
    app.footer(kFooter);
    app.formatter(std::make_shared<UsageFormatter>());
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", "dfdctl " DFDCTL_VERSION);
    app.add_flag("--json", options.json, "Print one JSON document instead of text");
    app.add_option("--debug", options.debug,
                   "Open the library's log: 1 errors, warnings, trace; 2 nothing more; 3 all; "
                   "4 voltage lock")
        ->type_name("LEVEL")
        ->check(CLI::Range(0U, kMaxDebugLevel));
    Action action;
    add_show(app, options, action);
    add_get(app, options, action);
    add_set(app, options, action);
    add_items(app, options, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) {
        // Help and version are data.
        std::ostringstream text;
        app.exit(success, text, text);
        fmt::print(options.out, "{}", text.str());
        return kExitOk;
    } catch (const CLI::ParseError &error) {
        report_usage(app, error, std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
        return kExitUsage;
    }
    return action();
}

/// A full disk or a closed pipe must not look like success.
int close_output(std::FILE *out, int status) {
    const bool broken = std::ferror(out) != 0;
    if (std::fclose(out) != 0 || broken) {
        fmt::print(stderr, "dfdctl: the output cannot be written\n");
        return kExitIo;
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    try {
        options.out = take_stdout();
        return close_output(options.out, run(argc, argv, options));
    } catch (const UsageError &error) {
        fmt::print(stderr, "dfdctl: {}\n", error.what());
        return kExitUsage;
    } catch (const std::exception &error) {
        fmt::print(stderr, "dfdctl: {}\n", error.what());
        return kExitIo;
    }
}
