// SPDX-License-Identifier: MIT
// dfdctl: looks at a board with the library, and at its configuration without hardware.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <optional>
#include <span>

#include "common/nearest.hpp"
#include "dfdctl/board/bus_writes.hpp"
#include "dfdctl/board/installed.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/complete/complete.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace {

using namespace dfdctl;

constexpr const char *kDescription =
    "Shows what board this is, and reads and writes what its configuration describes. "
    "Data goes to standard output, messages and the library's log to standard error.";

constexpr const char *kFooter =
    "Exit status:\n"
    "  0  done\n"
    "  1  check found problems, some reading failed, a value written does not read back, or lint "
    "found mistakes\n"
    "  2  mistake on the command line, or the configuration cannot be used\n"
    "  3  not supported: not configured on this board\n"
    "  4  the hardware or the output cannot be accessed\n"
    "Without hardware: vchassis run DIR -- dfdctl ...";

constexpr unsigned kMaxDebugLevel = 4;
constexpr unsigned kLeastWidth = 20;
constexpr unsigned kMostWidth = 1000;

const CLI::App *subcommand_named(const CLI::App &app, const std::string &name) {
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        if (subcommand->get_name() == name) {
            return subcommand;
        }
    }
    return nullptr;
}

/// How far the words lead into the commands, and the word there that is none; empty when all are.
struct Path {
    const CLI::App *at;
    std::string unknown;
};

Path follow(const CLI::App &app, std::span<char *const> words) {
    Path path{&app, {}};
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string word = words[i];
        if (word.starts_with('-')) {
            i += word == "--debug" || word == "--width" ? 1 : 0;
            continue;
        }
        if (path.at->get_subcommands({}).empty()) {
            break;
        }
        const CLI::App *next = subcommand_named(*path.at, word);
        if (next == nullptr) {
            return {path.at, word};
        }
        path.at = next;
    }
    return path;
}

std::vector<std::string> command_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        names.push_back(subcommand->get_name());
    }
    return names;
}

/// "the commands are: show, get, set", behind "show": "board, slots, fans".
std::string command_list(const CLI::App &app) {
    const std::string behind =
        app.get_parent() != nullptr ? fmt::format(" behind '{}'", app.get_name()) : std::string();
    return fmt::format("the commands{} are: {}", behind, fmt::join(command_names(app), ", "));
}

/// What a mistyped word in the place of a command may have meant: one of there, or one below.
std::string nearest_command(const CLI::App &app, const std::string &word) {
    std::vector<std::string> names = command_names(app);
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        const std::vector<std::string> below = command_names(*subcommand);
        names.insert(names.end(), below.begin(), below.end());
    }
    const std::vector<std::string_view> views(names.begin(), names.end());
    const std::string guess = dfd_tools::did_you_mean(word, views);
    return guess.empty() ? "; " + command_list(app) : guess;
}

/// Options of the program and of the chosen commands.
std::vector<std::string> option_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        if (!option->get_positional()) {
            names.push_back(option->get_name());
        }
    }
    for (const CLI::App *chosen : app.get_subcommands()) {
        const std::vector<std::string> more = option_names(*chosen);
        names.insert(names.end(), more.begin(), more.end());
    }
    return names;
}

/// "unexpected '--typ', did you mean '--type'?"
std::string unexpected_word(const CLI::App &app, const std::string &word) {
    const std::vector<std::string> names = option_names(app);
    const std::vector<std::string_view> views(names.begin(), names.end());
    const bool is_option = word.starts_with('-');
    return fmt::format("unexpected '{}'{}", word,
                       is_option ? dfd_tools::did_you_mean(word, views) : std::string());
}

/// "'eeprom verify' takes [IMAGE]: a file, board, ..." where words are missing or too many.
std::string expected_words(const CLI::App &command, const CLI::ParseError &error) {
    const std::string reason = error.what();
    for (const CLI::Option *option : command.get_options()) {
        if (!option->get_positional() || !reason.starts_with(option->get_name(true))) {
            continue;
        }
        const CLI::App *above = command.get_parent();
        const bool is_below = above != nullptr && above->get_parent() != nullptr;
        const std::string type = option->get_type_name();
        return fmt::format("'{}{}' takes {}: {}", is_below ? above->get_name() + " " : "",
                           command.get_name(), type == "TEXT" ? option->get_name(true) : type,
                           option->get_description());
    }
    return {};
}

/// What is wrong with the command line, with the nearest names for a mistyped word.
std::string usage_message(const CLI::App &app, const CLI::ParseError &error,
                          std::span<char *const> words) {
    const Path path = follow(app, words);
    if (!path.unknown.empty()) {
        return fmt::format("unknown command '{}'{}", path.unknown,
                           nearest_command(*path.at, path.unknown));
    }
    if (dynamic_cast<const CLI::RequiredError *>(&error) != nullptr &&
        !path.at->get_subcommands({}).empty()) {
        return "a command is missing; " + command_list(*path.at);
    }
    if (const std::string text = expected_words(*path.at, error); !text.empty()) {
        return text;
    }
    const std::vector<std::string> rest = app.remaining(true);
    if (dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr && !rest.empty()) {
        return unexpected_word(app, rest.front());
    }
    return error.what();
}

void report_usage(const CLI::App &app, const CLI::ParseError &error, std::span<char *const> words) {
    complain(usage_message(app, error, words) + "\nTry 'dfdctl --help'.");
}

std::string version() {
    const std::string other = other_installed_library();
    return "dfdctl " DFD_VERSION +
           (other.empty()
                ? std::string()
                : fmt::format("\n{} is another build of the library than dfdctl's own", other));
}

struct CommandRow {
    std::string_view name;  ///< empty: several
    void (*add)(Command &top, const Options &options);
};
constexpr CommandRow kCommands[] = {{"check", add_check},
                                    {"show", add_show},
                                    {"watch", add_watch},
                                    {"get", add_get},
                                    {"set", add_set},
                                    {"items", add_items},
                                    {"metrics", add_metrics},
                                    {"eeprom", add_eeprom},
                                    {{}, add_controls},
                                    {"explain", add_explain},
                                    {"coverage", add_coverage},
                                    {"lint", add_lint},
                                    {"new-board", add_new_board}};

/// The command line: options of the program, and the commands that are added.
class CommandLine {
  public:
    explicit CommandLine(Options &options) : options_(options) {
        app_.footer(help_footer("dfdctl check", kFooter));
        set_up_help(app_);
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.set_version_flag("--version", version);
        add_options();
    }
    void add(const CommandRow &row) {
        Command top(app_, action_);
        row.add(top, options_);
    }
    CLI::App &app() { return app_; }
    int run() const {
        set_width(options_.out, options_.width, options_.wide);
        set_colour(options_.out);
        const BusWriteGuard guard(options_.force);
        const int status = action_();
        return status == kExitOk && guard.has_refused() ? kExitReadingFailed : status;
    }

  private:
    void add_options();

    Options &options_;
    CLI::App app_{kDescription, "dfdctl"};
    Action action_;
};

void CommandLine::add_options() {
    app_.add_flag("--json", options_.json, "Print one JSON document instead of text");
    app_.add_option("--debug", options_.debug,
                    "Open the library's log: 1 errors, warnings, trace; 2 nothing more; 3 all; "
                    "4 voltage lock")
        ->type_name("LEVEL")
        ->check(CLI::Range(0U, kMaxDebugLevel));
    app_.add_flag("--debug-startup", options_.debug_startup,
                  "With --debug: the log also of loading the configuration");
    CLI::Option *width =
        app_.add_option("--width", options_.width,
                        "Columns of text; without it those of the terminal, 80 where there is none")
            ->type_name("N")
            ->check(CLI::Range(kLeastWidth, kMostWidth));
    app_.add_flag("--wide", options_.wide,
                  "Text without a limit: nothing is wrapped, cut or left out")
        ->excludes(width);
    app_.add_flag("--force", options_.force,
                  "Write although something speaks against it: an I2C adapter on which the "
                  "library's data lands at a wrong register, an EEPROM image with faults");
}

/// Most command lines begin with their command and are right: the other commands, whose options
/// take longer to build than most readings, are not asked. Empty for all else.
std::optional<int> run_first_word(int argc, char **argv, Options &options) {
    const std::string_view word = argc > 1 ? argv[1] : "";
    const auto *const row = std::find_if(std::begin(kCommands), std::end(kCommands),
                                         [&](const auto &known) { return known.name == word; });
    if (word.empty() || row == std::end(kCommands)) {
        return std::nullopt;
    }
    const Options before = options;
    CommandLine line(options);
    line.add(*row);
    try {
        line.app().parse(argc, argv);
    } catch (const CLI::ParseError &) {
        options = before;
        return std::nullopt;
    }
    return line.run();
}

int run(int argc, char **argv, Options &options) {
    if (const std::optional<int> status = run_first_word(argc, argv, options)) {
        return *status;
    }
    const std::span words = std::span(argv, static_cast<std::size_t>(argc)).subspan(1);
    CommandLine line(options);
    if (words.size() != 1 || words.front() != std::string_view("--version")) {
        for (const CommandRow &row : kCommands) {
            line.add(row);
        }
    }
    if (const auto text =
            dfd_tools::told_of_itself(line.app(), {words.begin(), words.end()}, known_values)) {
        fmt::print(options.out, "{}", *text);
        return kExitOk;
    }
    try {
        line.app().parse(argc, argv);
    } catch (const CLI::Success &success) {
        // Help and version are data.
        set_width(options.out, options.width, options.wide);
        std::ostringstream text;
        line.app().exit(success, text, text);
        fmt::print(options.out, "{}", text.str());
        return kExitOk;
    } catch (const CLI::ParseError &error) {
        report_usage(line.app(), error, words);
        return kExitUsage;
    }
    return line.run();
}

/// The command line, with the command that the second name of the program stands for.
std::vector<char *> words_of(std::span<char *const> arguments) {
    static char eeprom[] = "eeprom";
    static char encode[] = "encode";
    std::vector<char *> words(arguments.begin(), arguments.end());
    if (!words.empty() && std::string_view(words.front()).ends_with("dfd-eeprom")) {
        const bool is_completion =
            words.size() > 1 && words[1] == std::string_view(dfd_tools::kCompleteWord);
        words.insert(words.begin() + (is_completion ? 2 : 1), {eeprom, encode});
    }
    return words;
}

/// A full disk or a closed pipe must not look like success.
int close_output(std::FILE *out, int status) {
    const bool broken = std::ferror(out) != 0;
    if (std::fclose(out) != 0 || broken) {
        complain("the output cannot be written");
        return kExitIo;
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    return reporting_failure([argc, argv] {
        Options options;
        options.out = take_stdout();
        std::vector<char *> words = words_of(std::span(argv, static_cast<std::size_t>(argc)));
        return close_output(options.out,
                            run(static_cast<int>(words.size()), words.data(), options));
    });
}
