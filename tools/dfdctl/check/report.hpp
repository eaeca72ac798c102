// SPDX-License-Identifier: MIT
// What is wrong with a chassis: one look at all of it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {
struct Library;
struct Options;
}  // namespace dfdctl

namespace dfdctl::check {

/// One thing that is wrong.
struct Finding {
    Severity severity;
    std::string word;  ///< as on the pages: "SLOW"
    std::string unit;  ///< "tray 2 rotor 1"
    std::string what;  ///< with the value and its limit: "812 rpm, lowest 1200 rpm"
    Reading value = {.status = Status::none};
    std::optional<double> limit = {};
    std::vector<std::string> items = {};  ///< behind it, the one that was read first
    std::string device = {};              ///< "/dev/i2c-2 0x58"
    std::string error = {};               ///< name of the errno: "ENXIO"
    bool is_of_device = false;            ///< all that is read of the device suffers
};

/// Units of a kind that were looked at.
struct Looked {
    const char *one;
    const char *many;
    std::size_t present = 0;  ///< EEPROMs: and answering
    std::size_t total = 0;
    std::size_t unsure = 0;  ///< of the total, those whose presence cannot be read
    std::size_t untold = 0;  ///< of the total, those whose presence no item tells
};

/// A reading that should have a value and has none.
struct Lost {
    std::string what;  ///< "tray 1 rotor 2 speed"
    Reading reading;
    std::optional<Item> item;
    bool is_eeprom = false;    ///< all of one: it does not answer
    bool is_optional = false;  ///< that is no problem
    bool is_unsure = false;    ///< of a unit that may not be plugged: its presence cannot be read

    /// The device, where a node cannot be used the node, else the reading itself.
    std::string source() const;
    /// It was read, and the configuration does not say what it means.
    bool is_untold() const;
    /// The device file or bus; empty where the reading is not of one.
    std::string node() const;
};

struct Report {
    std::vector<Finding> findings = {};  ///< the worst first
    std::vector<Looked> looked = {};
    std::vector<std::string> unjudged = {};  ///< what the board configures no limit for
    std::vector<PageData> pages = {};
    std::vector<Lost> lost = {};
    std::set<std::string> alive = {};  ///< device files and buses that answered
    bool is_unreachable = false;       ///< a device file or bus of which nothing answers

    std::size_t count(Severity severity) const;
    /// False where the library did not start.
    bool looked_at_units() const { return !pages.empty(); }
    /// Notes are no problem.
    bool is_healthy() const;
    int exit_status() const;
};

/// Word of a configuration file.
inline constexpr const char *kNotLoaded = "NOT LOADED";

/// Reads everything. A library that did not start is a finding.
Report inspect(const Library &library);
/// Brings the worst to the front; the order among equals stays.
void sort_findings(std::vector<Finding> &findings);

// What each look adds.
void look_at_start(const Library &library, Report &report);
void look_at_devices(Report &report);
/// A chassis file that only a blank backplane asks for is told with that.
void fold_missing_chassis(const Library &library, Report &report);
void look_at_eeproms(const LoadRecord &record, Report &report);

/// The cell that tells whether the unit of a row is there; null where none does.
const Reading *presence_of(const Section &section, const Row &row);

/// The device behind an item: "/dev/fpga0", "/dev/i2c-0 0x49"; empty where it has none.
std::string place_of(const Item &item);
/// The device file or bus alone; empty for an item without one.
std::string node_of(const Item &item);

/// What the command prints, with its exit status.
int check_chassis(const Options &options);

/// On a terminal one screen, unless all of it is wanted.
void print_report(std::FILE *out, const Report &report, bool all);
Json report_json(const Report &report);

}  // namespace dfdctl::check
