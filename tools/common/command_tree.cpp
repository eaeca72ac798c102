// SPDX-License-Identifier: MIT
#include "common/command_tree.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <sstream>

#include "common/json.hpp"

namespace dfd_tools {

namespace {

constexpr const char *kTreeWord = "__tree";

// These stand among candidates for what the shell itself completes.
constexpr const char *kFiles = ":files";
constexpr const char *kDirectories = ":directories";

/// Arguments that are paths in every program.
const std::map<std::string, const char *> kPaths = {
    {"DIR", kDirectories},   {"PARENT", kDirectories}, {"FILE", kFiles},   {"PATH", kFiles},
    {"DESCRIPTION", kFiles}, {"IMAGE", kFiles},        {"[=FILE]", kFiles}};

/// A word of a usage: "[ROTOR]" need not stand there, "FILE..." stands for all behind it.
struct Slot {
    std::string name;
    bool is_optional;
};

std::vector<Slot> slots_of(const CLI::Option &option) {
    std::vector<Slot> slots;
    std::istringstream usage(usage_of(option));
    int depth = 0;
    for (std::string word; usage >> word;) {
        depth += static_cast<int>(std::count(word.begin(), word.end(), '['));
        const bool is_optional = depth > 0;
        depth -= static_cast<int>(std::count(word.begin(), word.end(), ']'));
        std::erase_if(word, [](char c) { return c == '[' || c == ']' || c == '.'; });
        slots.push_back({word, is_optional});
    }
    return slots;
}

/// What the argument behind `count` others may be. Optional ones before it may have been left out;
/// where more words are taken than the usage names, the last one goes on.
std::vector<std::string> arguments_at(const CLI::App &app, std::size_t count) {
    std::vector<Slot> slots;
    std::size_t most = 0;
    for (const CLI::Option *option : options_of(app, true)) {
        for (Slot &slot : slots_of(*option)) {
            slots.push_back(std::move(slot));
        }
        most += static_cast<std::size_t>(option->get_items_expected_max());
    }
    std::vector<std::string> names;
    std::size_t left_out = 0;
    for (std::size_t i = 0; i < slots.size() && count < most; ++i) {
        const bool is_last = i + 1 == slots.size();
        if ((i >= count && i - count <= left_out) || (is_last && count > i)) {
            names.push_back(slots[i].name);
        }
        left_out += slots[i].is_optional ? 1 : 0;
    }
    return names;
}

/// A shell may hand over "--root=gx4" as three words, and "/dev/i2c-0:0x57".
std::vector<std::string> rejoined(const std::vector<std::string> &words) {
    std::vector<std::string> joined;
    bool is_open = false;
    for (const std::string &word : words) {
        const bool is_joint = (word == "=" || word == ":") && !joined.empty();
        if (is_joint || is_open) {
            joined.back() += word;
        } else {
            joined.push_back(word);
        }
        is_open = is_joint;
    }
    return joined;
}

class Walk {
  public:
    explicit Walk(const CLI::App &app) : at_(&app) {}

    void pass(const std::string &word) {
        if (pending_ != nullptr) {
            expected_.options[pending_->get_name()] = word;
            pending_ = nullptr;
        } else if (word == "--") {
            expected_.is_rest = true;
        } else if (word.starts_with('-') && !expected_.is_rest) {
            pass_option(word);
        } else {
            pass_word(word);
        }
    }

    Expected end_at(const std::string &word, bool is_split) {
        const auto equals = word.find('=');
        const bool is_option = word.starts_with('-') && !expected_.is_rest && pending_ == nullptr;
        expected_.typed = word;
        if (is_option && equals != std::string::npos) {
            pending_ = option_named(at_, word.substr(0, equals));
            expected_.typed = word.substr(equals + 1);
            // Where the shell has split the word it completes what stands behind the sign.
            expected_.stem = is_split ? "" : word.substr(0, equals + 1);
        } else if (is_option) {
            expected_.candidates = options_as_candidates(at_);
            return std::move(expected_);
        }
        expected_.split = is_split ? expected_.typed.rfind(':') + 1 : 0;
        if (pending_ != nullptr) {
            expected_.arguments = {pending_->get_name(), usage_of(*pending_)};
            return std::move(expected_);
        }
        for (const CLI::App *each : at_->get_subcommands({})) {
            expected_.candidates.push_back({each->get_name(), each->get_description()});
        }
        expected_.arguments = arguments_at(*at_, expected_.before.size());
        return std::move(expected_);
    }

  private:
    void pass_option(const std::string &word) {
        const auto equals = word.find('=');
        const CLI::Option *option = option_named(at_, word.substr(0, equals));
        if (option == nullptr || !takes_value(*option)) {
            return;
        }
        if (equals == std::string::npos) {
            // "[=FILE]" has its value in the same word.
            pending_ = usage_of(*option).starts_with('[') ? nullptr : option;
        } else {
            expected_.options[option->get_name()] = word.substr(equals + 1);
        }
    }

    void pass_word(const std::string &word) {
        const CLI::App *next = subcommand_named(*at_, word);
        if (next == nullptr) {
            expected_.before.push_back(word);
            return;
        }
        at_ = next;
        expected_.command += (expected_.command.empty() ? "" : " ") + word;
    }

    const CLI::App *at_;
    const CLI::Option *pending_ = nullptr;  ///< its value comes next
    Expected expected_;
};

Json option_json(const CLI::Option &option) {
    return {{"name", option.get_name(option.get_positional(), true)},
            {"usage", takes_value(option) ? usage_of(option) : std::string()},
            {"description", option.get_description()}};
}

Json app_json(const CLI::App &app) {
    Json json = {{"name", app.get_name()},
                 {"description", app.get_description()},
                 {"footer", app.get_footer()}};
    for (const bool positional : {true, false}) {
        Json &list = json[positional ? "arguments" : "options"] = Json::array();
        for (const CLI::Option *option : options_of(app, positional)) {
            list.push_back(option_json(*option));
        }
    }
    Json &commands = json["commands"] = Json::array();
    for (const CLI::App *each : app.get_subcommands({})) {
        commands.push_back(app_json(*each));
    }
    return json;
}

Expected expected_at(const CLI::App &app, const std::vector<std::string> &words) {
    std::vector<std::string> joined = rejoined(words);
    const std::string last = joined.empty() ? std::string() : joined.back();
    Walk walk(app);
    for (std::size_t i = 0; i + 1 < joined.size(); ++i) {
        walk.pass(joined[i]);
    }
    return walk.end_at(last, !words.empty() && words.back() != last);
}

/// Whether the word adds to what is typed: behind "FIELD=" stands a value that nobody can know.
bool goes_on(const std::string &word, const std::string &typed) {
    return word.starts_with(typed) && !(word == typed && word.ends_with('='));
}

/// The candidates that begin with what is typed.
std::string candidate_lines(const Expected &expected, const std::vector<Candidate> &values) {
    std::string lines;
    const auto add = [&](const Candidate &each) {
        if (each.word == kCommandLine) {
            lines += each.word + "\n";
        } else if (goes_on(each.word, expected.typed)) {
            lines += expected.stem + each.word.substr(expected.split) + "\t" + each.text + "\n";
        }
    };
    std::for_each(expected.candidates.begin(), expected.candidates.end(), add);
    std::for_each(values.begin(), values.end(), add);
    for (const std::string &argument : expected.arguments) {
        if (const auto path = kPaths.find(argument); path != kPaths.end()) {
            lines += std::string(path->second) + "\n";
        }
    }
    return lines;
}

}  // namespace

std::string Expected::option(const std::string &name) const {
    const auto found = options.find(name);
    return found != options.end() ? found->second : std::string();
}

bool is_path(const std::string &argument) {
    return kPaths.contains(argument);
}

const CLI::App *subcommand_named(const CLI::App &app, const std::string &name) {
    const auto found =
        app.get_subcommands([&](const CLI::App *each) { return each->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

std::vector<const CLI::Option *> options_of(const CLI::App &app, bool positional) {
    std::vector<const CLI::Option *> found;
    for (const CLI::Option *option : app.get_options()) {
        if (option->get_positional() == positional && !option->get_group().empty()) {
            found.push_back(option);
        }
    }
    return found;
}

const CLI::Option *option_named(const CLI::App *app, const std::string &name) {
    const CLI::Option *option = nullptr;
    for (; app != nullptr && option == nullptr; app = app->get_parent()) {
        option = app->get_option_no_throw(name);
    }
    return option;
}

std::vector<Candidate> options_as_candidates(const CLI::App *app) {
    std::vector<Candidate> found;
    for (; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option *option : options_of(*app, false)) {
            // A command's own --help says the same as that of the program.
            const std::string name = option->get_name();
            const bool is_known =
                std::any_of(found.begin(), found.end(),
                            [&](const Candidate &each) { return each.word == name; });
            if (!is_known) {
                found.push_back({name, option->get_description()});
            }
        }
    }
    return found;
}

bool takes_value(const CLI::Option &option) {
    return option.get_items_expected_max() != 0;
}

std::string usage_of(const CLI::Option &option) {
    const std::string type = option.get_type_name();
    const bool has_range = type.find(" in [") != std::string::npos;
    // The library's word for a positional that has no usage of its own.
    return option.get_positional() && type == "TEXT"
               ? option.get_name(true)
               : type.substr(0, has_range ? type.find(':') : type.npos);
}

std::optional<std::string> told_of_itself(const CLI::App &app, Words words, ValuesOf values) {
    const std::string_view first = words.empty() ? "" : words.front();
    if (first == kTreeWord) {
        return app_json(app).document() + "\n";
    }
    if (first != kCompleteWord) {
        return {};
    }
    const Expected expected = expected_at(app, {words.begin() + 1, words.end()});
    return candidate_lines(expected, values(expected));
}

}  // namespace dfd_tools
