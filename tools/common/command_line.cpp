// SPDX-License-Identifier: MIT
#include "common/command_line.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <sstream>

#include "common/nearest.hpp"
#include "common/text.hpp"

namespace dfd_tools {

namespace {

constexpr std::size_t kLeftColumn = 24;
constexpr std::size_t kFooterIndent = 5;  // behind "  0  "

/// Help in lines that keep the width of all text.
class HelpFormatter : public CLI::Formatter {
  public:
    explicit HelpFormatter(const Program &program) : program_(&program) {}

    std::string make_description(const CLI::App *app) const override {
        return lines_of(app->get_description(), 0);
    }

    std::string make_usage(const CLI::App *app, std::string name) const override {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        usage.erase(usage.find_last_not_of('\n') + 1);
        return lines_of(usage, 2);
    }

    std::string make_option(const CLI::Option *option, bool is_positional) const override {
        const std::string usage = takes_value(*option) ? usage_of(*option) : std::string();
        const std::string name = make_option_name(option, is_positional);
        return two_columns(is_positional   ? usage
                           : usage.empty() ? name
                                           : name + " " + usage,
                           option->get_description());
    }

    std::string make_option_usage(const CLI::Option *option) const override {
        return usage_of(*option);
    }

    std::string make_subcommand(const CLI::App *sub) const override {
        return two_columns(sub->get_name(), sub->get_description());
    }

    std::string make_footer(const CLI::App *app) const override {
        return lines_of(app->get_footer(), kFooterIndent);
    }

  private:
    std::string lines_of(const std::string &text, std::size_t indent) const {
        return program_->lines ? program_->lines(text, indent) : text + "\n";
    }

    /// "  --root DIR            Boards in and below this directory"
    std::string two_columns(const std::string &left, const std::string &right) const {
        const std::string margin(kLeftColumn, ' ');
        const std::string line = "  " + left;
        return line.size() < kLeftColumn
                   ? lines_of(line + margin.substr(line.size()) + right, kLeftColumn)
                   : lines_of(line, kLeftColumn) + lines_of(margin + right, kLeftColumn);
    }

    const Program *program_;
};

std::string help_footer(const std::string &example, const std::string &text) {
    return "Example:\n  " + example + "\n\n" + text;
}

/// How far the words lead into the commands, and the word there that is none; empty when all are.
struct Path {
    const CLI::App *at;
    std::string unknown;
};

Path follow(const CLI::App &app, Words words) {
    Path path{&app, {}};
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string word = words[i];
        if (word.starts_with('-')) {
            const CLI::Option *option = option_named(path.at, word);
            i += option != nullptr && takes_value(*option) ? 1 : 0;
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
        app.get_parent() != nullptr ? " behind '" + app.get_name() + "'" : std::string();
    return "the commands" + behind + " are: " + joined(command_names(app), ", ");
}

std::string near(const std::string &word, const std::vector<std::string> &names) {
    return did_you_mean(word, std::vector<std::string_view>(names.begin(), names.end()));
}

/// What a mistyped word in the place of a command may have meant: one of there, or one below.
std::string nearest_command(const CLI::App &app, const std::string &word) {
    std::vector<std::string> names = command_names(app);
    for (const CLI::App *subcommand : app.get_subcommands({})) {
        const std::vector<std::string> below = command_names(*subcommand);
        names.insert(names.end(), below.begin(), below.end());
    }
    const std::string guess = near(word, names);
    return guess.empty() ? "; " + command_list(app) : guess;
}

/// "unexpected '--typ', did you mean '--type'?"
std::string unexpected_word(const CLI::App &command, const std::string &word) {
    std::vector<std::string> names;
    for (const Candidate &option : options_as_candidates(&command)) {
        names.push_back(option.word);
    }
    return "unexpected '" + word + "'" + (word.starts_with('-') ? near(word, names) : "");
}

std::string takes(const std::string &name, const CLI::Option &option) {
    return "'" + name + "' takes " + usage_of(option) + ": " + option.get_description();
}

/// "'eeprom verify' takes [IMAGE]: a file, board, ..." where words are missing or too many,
/// "'--root' takes DIR: ..." where that is missing.
std::string expected_words(const CLI::App &command, const CLI::ParseError &error) {
    const std::string reason = error.what();
    const bool lacks_value = reason.starts_with('-') && reason.ends_with(" missing");
    const std::string name = lacks_value ? reason.substr(0, reason.find(':')) : std::string();
    if (const CLI::Option *option = option_named(&command, name)) {
        return takes(name, *option);
    }
    if (dynamic_cast<const CLI::ValidationError *>(&error) != nullptr) {
        return {};  // it tells the range
    }
    for (const CLI::Option *option : options_of(command, true)) {
        if (!reason.starts_with(option->get_name(true))) {
            continue;
        }
        const CLI::App *above = command.get_parent();
        const bool is_below = above != nullptr && above->get_parent() != nullptr;
        return takes((is_below ? above->get_name() + " " : "") + command.get_name(), *option);
    }
    return {};
}

/// "Try 'dfdctl eeprom set --help'."
std::string help_hint(const CLI::App &command) {
    std::string names;
    for (const CLI::App *at = &command; at != nullptr; at = at->get_parent()) {
        names = at->get_name() + " " + names;
    }
    return "Try '" + names + "--help'.";
}

/// What is wrong with the command line, with the nearest names for a mistyped word.
std::string usage_message(const CLI::App &app, const Path &path, const CLI::ParseError &error) {
    if (!path.unknown.empty()) {
        return "unknown command '" + path.unknown + "'" + nearest_command(*path.at, path.unknown);
    }
    if (dynamic_cast<const CLI::RequiredError *>(&error) != nullptr &&
        !path.at->get_subcommands({}).empty()) {
        return "a command is missing; " + command_list(*path.at);
    }
    if (std::string text = expected_words(*path.at, error); !text.empty()) {
        return text;
    }
    const std::vector<std::string> rest = app.remaining(true);
    if (dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr && !rest.empty()) {
        return unexpected_word(*path.at, rest.front());
    }
    return error.what();
}

}  // namespace

int reporting_failure(int failed, void (*complain)(const std::string &), const Action &action) {
    try {
        return action();
    } catch (const std::exception &error) {
        complain(error.what());
        return dynamic_cast<const UsageError *>(&error) != nullptr ? kExitUsage : failed;
    }
}

Command Command::subcommand(const std::string &name, std::string description,
                            const std::string &example) {
    CLI::App &app = *app_->add_subcommand(name, std::move(description));
    app.footer(help_footer(
        example, std::string("Exit status and options of all commands: ") + program_ + " --help"));
    return {app, *action_, program_};
}

void Command::needs_subcommand() {
    app_->require_subcommand(1);
    app_->fallthrough();
}

void Command::word(const std::string &name, std::string &value, std::string help) {
    app_->add_option(name, value, std::move(help))->required();
}

void Command::words(const std::string &name, std::vector<std::string> &values, std::string help,
                    const std::string &usage, std::size_t fewest, std::size_t most) {
    const auto limit = std::min<std::size_t>(most, CLI::detail::expected_max_vector_size);
    app_->add_option(name, values, std::move(help))
        ->type_name(usage)
        ->expected(static_cast<int>(fewest), static_cast<int>(limit))
        ->required(fewest > 0);
}

void Command::option(const std::string &name, std::string &value, std::string help,
                     const std::string &type) {
    app_->add_option(name, value, std::move(help))->type_name(type);
}

void Command::option(const std::string &name, std::vector<std::string> &values, std::string help,
                     const std::string &type) {
    app_->add_option(name, values, std::move(help))->type_name(type)->allow_extra_args(false);
}

void Command::number(const std::string &name, unsigned &value, std::string help,
                     const std::string &type, unsigned least, unsigned most) {
    app_->add_option(name, value, std::move(help))->type_name(type)->check(CLI::Range(least, most));
}

void Command::flag(const std::string &name, bool &value, std::string help) {
    app_->add_flag(name, value, std::move(help));
}

void Command::excludes(const std::string &name, const std::string &other) {
    app_->get_option(name)->excludes(app_->get_option(other));
}

void Command::runs(Action action) {
    app_->callback([target = action_, action = std::move(action)] { *target = action; });
}

Asked read_command_line(const Program &program, Words words,
                        const std::function<void(Command &top)> &declare) {
    CLI::App app(program.description, program.name);
    app.formatter(std::make_shared<HelpFormatter>(program));
    app.footer(help_footer(program.example, program.footer));
    app.set_version_flag("--version", program.version);
    Asked asked;
    Command top(app, asked.action, program.name);
    // Before there are commands: they go by it.
    top.needs_subcommand();
    declare(top);
    if (app.get_subcommands({}).empty()) {
        app.require_subcommand(0);
    }
    if (auto told = told_of_itself(app, words, program.values)) {
        asked.text = std::move(*told);
        return asked;
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::Success &success) {
        std::ostringstream text;
        app.exit(success, text, text);
        asked.text = text.str();
    } catch (const CLI::ParseError &error) {
        const Path path = follow(app, words);
        asked.mistake = usage_message(app, path, error) + "\n" + help_hint(*path.at);
    }
    return asked;
}

}  // namespace dfd_tools
