// SPDX-License-Identifier: MIT
// The pages as text.
#pragma once

#include "dfdctl/pages/board_page.hpp"
#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

/// Of the rows of a page, as text.
enum class Order { as_configured, worst_first };

/// What `show NAME [UNIT]` prints, with its exit status; the name is one of page_names().
int show(const Options &options, const std::string &name, const std::string &unit,
         Order order = Order::as_configured);
std::vector<std::string> page_names();

/// `first`: no blank line before it.
void print_page(std::FILE *out, const PageData &data, bool first);
void print_page(std::FILE *out, const BoardPage &page);

/// A reading and what it is of: "serial number".
struct NamedReading {
    std::string name;
    const Reading &reading;
};

/// Why readings of a unit have no value, where no transfer is to blame, each reason once:
/// "  fan 1 type, serial number: REASON".
void print_reasons(std::FILE *out, const std::string &unit, std::span<const NamedReading> readings);

/// What failed transfers cost: for each device and error the readings, so that a device is reported
/// once, whatever hangs on it.
class Losses {
  public:
    void add(const PageData &page);
    void add(const BoardPage &page);
    /// Below the pages; nothing where nothing failed.
    void print(std::FILE *out) const;

  private:
    struct Lost {
        std::string what;                ///< "rotor speed", "inventory"
        std::string kind;                ///< "tray"; empty: of the whole system
        std::vector<std::string> units;  ///< each once
    };
    struct Loss {
        FailedTransfer cause;
        std::size_t readings = 0;
        std::vector<Lost> lost = {};
    };

    void add(const Reading &reading, const std::string &what, const std::string &kind,
             const std::string &unit);
    static std::string text_of(const Lost &lost);

    std::vector<Loss> losses_;
};

}  // namespace dfdctl
