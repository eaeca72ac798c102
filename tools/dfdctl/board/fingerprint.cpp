// SPDX-License-Identifier: MIT
#include "dfdctl/board/fingerprint.hpp"

#include <dfd/framework.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/describe.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::array kLists = {&dfd_lib_cfg_fan_splvl_conv_lst, &dfd_lib_cfg_pid_str_conv_lst,
                               &dfd_lib_cfg_power_name_conv_lst, &dfd_lib_cfg_fan_name_conv_lst};

class Fnv1a {
  public:
    /// CBOR takes texts that are not UTF-8 as they are, and says where one value ends.
    void add(const Json &value) {
        for (const std::uint8_t byte : value.cbor()) {
            hash_ = (hash_ ^ byte) * kPrime;
        }
    }
    std::uint64_t hash() const { return hash_; }

  private:
    static constexpr std::uint64_t kPrime = 0x100000001b3;

    std::uint64_t hash_ = 0xcbf29ce484222325;
};

/// The first entry that matches answers a look-up: a number by its value, a text by its beginning.
bool hides(const val_convert_node_t &first, const val_convert_node_t &later) {
    return first.int_val == later.int_val &&
           std::string_view(later.str_val).starts_with(first.str_val);
}

/// Without entries that no look-up can reach, the others answer the same in each order that loading
/// them can have.
Json entries_of(const dfd_list_head_t &list) {
    std::vector<const val_convert_node_t *> reached;
    for (const dfd_list_head_t *link = list.next; link != &list; link = link->next) {
        // The link is the node's first member.
        const auto *node = reinterpret_cast<const val_convert_node_t *>(link);
        if (std::ranges::none_of(reached,
                                 [&](const auto *first) { return hides(*first, *node); })) {
            reached.push_back(node);
        }
    }
    std::ranges::sort(reached, {}, [](const auto *node) {
        return std::tuple(node->int_val, std::string_view(node->str_val), node->index1,
                          node->index2);
    });
    Json entries = Json::array();
    for (const auto *node : reached) {
        entries.push_back({node->int_val, node->str_val, node->index1, node->index2});
    }
    return entries;
}

}  // namespace

std::string fingerprint(const LoadRecord &record) {
    Fnv1a sum;
    for (const auto &[key, origins] : record.origins) {
        sum.add({key, record_json(item_of_key(key))});
    }
    for (const dfd_list_head_t *list : kLists) {
        sum.add(entries_of(*list));
    }
    return fmt::format("{:016x}", sum.hash());
}

}  // namespace dfdctl
