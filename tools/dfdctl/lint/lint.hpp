// SPDX-License-Identifier: MIT
// Findings in a board's configuration. What a line means is never judged here a second time: the
// library parses, and the rules look at what it did.
#pragma once

#include <compare>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dfdctl/board/in_order.hpp"
#include "dfdctl/board/load_record.hpp"

namespace dfdctl::lint {

enum class Severity { error, warning, note };

/// What a rule has to see: a rule that needs a whole board is left out where single files are
/// checked.
enum class Scope { line, item, board };

struct Rule {
    std::string_view id;
    Severity severity;
    Scope scope;
    std::string_view rationale;  ///< one line
    std::string_view page;       ///< below docs/configuration, without ".md"
};

/// The one table of all rules, by id.
std::span<const Rule> rules();
/// Null when there is none of that id.
const Rule *find_rule(std::string_view id);
/// "'x' is no rule, did you mean 'y'?"
std::string unknown_rule(std::string_view id);

struct Finding {
    std::string file;  ///< as the user names it: below the root, or as on the command line
    int line;          ///< 1 for a finding about a file as a whole
    int column;        ///< of bytes, from 1
    const Rule *rule;  ///< in the table, whose order is that of the ids
    std::string text;

    auto operator<=>(const Finding &) const = default;
};

/// A rule that a "# lint: allow" of a file names.
struct Allowance {
    int line;
    int column;
    bool is_used = false;  ///< something was switched off by it
};
/// By file, as a finding names it, and rule.
using Allowances = std::map<std::pair<std::string, const Rule *>, Allowance>;

class Uses;

/// What was loaded, and what is found in it. Records are in the library's store meanwhile.
class Check {
  public:
    /// `root` stands before the paths of the log; `skipped` are the ids switched off for all files.
    Check(const LoadRecord &log, std::string root, const std::set<std::string> &skipped);

    const LoadRecord &log() const { return log_; }
    const std::string &root() const { return root_; }

    /// At a byte of what the reader delivered of a line.
    void at_byte(std::string_view rule, const SourceLine &line, std::size_t byte, std::string text);
    /// At a position of a line: an offset in it once spaces are deleted, as the parser counts.
    void add(std::string_view rule, const SourceLine &line, std::size_t trimmed_offset,
             std::string text);
    /// At the name, the index part or the value of a line.
    void at_name(std::string_view rule, const SourceLine &line, std::string text);
    void at_index(std::string_view rule, const SourceLine &line, std::string text);
    void at_value(std::string_view rule, const SourceLine &line, std::string text);
    /// At the line that set a member last (its value); at the item's first line when none did.
    void at_member(std::string_view rule, std::uint32_t key, int member, std::string text);
    /// At the item's first line.
    void at_item(std::string_view rule, std::uint32_t key, std::string text);
    /// About a file as the library names it (the list, a listed file), at a line of it.
    void at_file(std::string_view rule, std::string_view path, int line, std::string text);

    /// The line that set a member last, or null.
    const SourceLine *line_of(std::uint32_t key, int member) const;
    /// "cm8_fans.cfg:41", for texts that name another line.
    std::string place(const SourceLine &line) const;

    /// Configured items of a kind, by key; collected when they are first asked for.
    const std::vector<Item> &items(Kind kind) const;
    /// What the library's functions make of the items; observed when it is first asked for.
    const Uses &uses() const;

    /// An error or a warning by now, those that the files allow left out.
    bool has_mistakes() const;
    /// Whether a rule found something in the lines of an item.
    bool is_found(std::string_view rule, std::uint32_t key) const;
    /// Whether there is an error in a line of items of a type, stored or not.
    bool has_error(std::uint32_t type) const;
    /// Takes back what a rule found in the lines of an item, or all of it: another finding tells
    /// the cause.
    void withdraw(std::string_view rule, std::uint32_t key);
    void withdraw(std::string_view rule);
    /// A rule that is not judged on this board may still be allowed.
    void use_allowances(std::string_view rule);
    /// File as the library names it, and line.
    using Place = std::pair<std::string, int>;
    /// Where there are findings by now.
    std::set<Place> places() const;
    /// Lines whose names make them set another item than they seem to, as found by now.
    std::set<Place> misread_lines() const;
    /// Where a line stands.
    Place place_of(const SourceLine &line) const { return {log_.files[line.file].path, line.line}; }

    /// Another finding tells why no function asks for the item.
    void explain(std::uint32_t key) { explained_.insert(key); }
    bool is_explained(std::uint32_t key) const { return explained_.contains(key); }

    /// Sorted, each once; what the files' own "# lint: allow" lines switch off is gone.
    std::vector<Finding> take();
    /// What they allowed, once that was taken.
    const Allowances &allowances() const { return allowed_; }

  private:
    /// Where a byte of a line stands in the line as a whole, from 1.
    static int column_of(const SourceLine &line, std::size_t byte);
    bool is_about(const Finding &finding, std::string_view rule, std::uint32_t key) const;
    Place place_of(const Finding &finding) const {
        return {finding.file.substr(root_.size()), finding.line};
    }
    void keep(std::string_view rule, std::string file, int line, int column, std::string text);
    void read_allowances();
    void allow(std::string_view id, const SourceLine &line);

    const LoadRecord &log_;
    std::string root_;
    const std::set<std::string> &skipped_;
    std::vector<Finding> findings_;
    Allowances allowed_;
    std::set<std::uint32_t> explained_;
    mutable std::map<Kind, std::vector<Item>> items_;
    mutable InOrder<const decltype(LoadRecord::origins)> origins_;
    mutable std::shared_ptr<const Uses> uses_;
};

/// What stands behind the key and the member of a line's name.
std::string_view index_part(const SourceLine &line);

// The checks. Each goes over the whole log and the store once.
void check_lines(Check &check);      ///< lines_*.cpp: what a line says
void check_replaced(Check &check);   ///< lines that replace, shadow or swallow others
void check_items(Check &check);      ///< items.cpp: descriptions that can never work
void check_siblings(Check &check);   ///< siblings.cpp: one unit described unlike all the others
void check_rows(Check &check);       ///< rows.cpp: places in a row of units that look like slips
void check_together(Check &check);   ///< together_*.cpp: items that belong together
void check_addresses(Check &check);  ///< addresses.cpp: buses, addresses, the register map
void check_files(Check &check);      ///< files*.cpp: list file, missing files, chassis file
/// Whether a mistake, which is told, hides which chassis file the board loads.
bool is_chassis_unclear(const Check &check);
/// All of them.
void check_all(Check &check);

/// What the boards of a directory have, all taken together.
struct Boards {
    std::set<std::string> named;            ///< files that their lists name, those of their chassis
    std::vector<std::uint32_t> configured;  ///< items, of one board behind those of another
    bool has_list = true;                   ///< any at all
    bool has_unread_list = false;           ///< what it names, nobody knows
    bool has_unclear_chassis = false;       ///< a mistake hides which chassis files are loaded

    /// What the list of a loaded board names, and what is meant where a name is wrong.
    void add_list(const LoadRecord &log, const std::string &root);
    /// What lists name that are not read for their own name.
    void add_misnamed_lists(const std::string &root);
};

/// A board's directory as a whole.
void check_directory(Check &check, const Boards &boards);
/// Files of a directory that no list names, as the library names them; `listed` are the others.
std::vector<std::string> unlisted_files(const std::string &root,
                                        const std::set<std::string> &listed);
/// Such a file, the only one of the check; `configured` is what the boards of its directory set, in
/// order.
void check_unlisted(Check &check, const std::string &path,
                    std::span<const std::uint32_t> configured);

}  // namespace dfdctl::lint
