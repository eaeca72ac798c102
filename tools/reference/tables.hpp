// SPDX-License-Identifier: MIT
// What stands in the generated blocks.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/board/keys.hpp"
#include "reference/page.hpp"
#include "reference/readers.hpp"

namespace reference {

/// On which page each key type stands.
class KeyIndex {
  public:
    /// Throws PageError unless each key that a configuration can set is listed exactly once.
    explicit KeyIndex(const std::vector<Page> &pages);

    const std::string &page_of(const dfdctl::KeyType &key) const { return page_of_.at(key.name); }

  private:
    std::map<std::string_view, std::string> page_of_;
};

/// The lines of a block. Throws PageError for a block or word that does not exist, and for a key
/// that is listed as asked for by nobody and is not.
std::string block_content(const Page &page, const Block &block, const KeyIndex &index,
                          const Readers &readers);

/// Members of each kind of record, and the words that members take, from the library's own tables.
std::string member_table();
std::string word_table();

/// Throws PageError for a row of a table that names keys, and a function that asks for none of
/// them.
void check_claims(const Page &page, const Readers &readers);

/// Throws PageError unless a page that lists keys has the headings of all such pages.
void check_headings(const Page &page);

}  // namespace reference
