// SPDX-License-Identifier: MIT
#include "dfdctl/explain/layout.hpp"
#include "dfdctl/explain/output.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

std::string limits_of(const KeyType &type) {
    switch (type.index_count()) {
        case 0:
            return "takes no index";
        case 1:
            return fmt::format("one index, 0 to {}", type.max1);
        default:
            return fmt::format("two indexes, 0 to {} and 0 to {}", type.max1, type.max2);
    }
}

std::string name_of(const Consumer &consumer) {
    return consumer.is_exact ? observe::text_of(*consumer.call, consumer.args)
                             : std::string(consumer.call->name);
}

/// A list for each thing that functions do with the item, then those that cannot do it.
void print_consumers(std::FILE *out, const std::vector<Consumer> &consumers) {
    std::string_view label = "used by";
    for (const std::string_view how : {"reads", "writes", "looks at", "looks up"}) {
        std::vector<std::string> names;
        for (const Consumer &consumer : consumers) {
            if (consumer.worked && consumer.how == how) {
                names.push_back(name_of(consumer) + ",");
            }
        }
        if (!names.empty()) {
            names.back().pop_back();
            const bool is_exact = consumers.front().is_exact;
            names.insert(names.begin(),
                         fmt::format("{}{}:", how, is_exact ? "" : " items of this type"));
            print_pieces(out, label, names);
            label = "";
        }
    }
    for (const Consumer &consumer : consumers) {
        if (!consumer.worked) {
            print_text(out, label,
                       fmt::format("{}: refused: {}", name_of(consumer), consumer.refusal));
            label = "";
        }
    }
}

}  // namespace

void print_item(std::FILE *out, const ItemExplanation &explanation, const LoadRecord &loaded) {
    const Item &item = explanation.item;
    print_wrapped(out, item.name(), 2);
    print_text(out, "kind",
               fmt::format("{}; {}", kind_name(item.type->kind), limits_of(*item.type)));
    print_description(out, item, loaded);
    if (explanation.consumers.empty()) {
        print_text(out, "used by", "no function of the library");
    }
    print_consumers(out, explanation.consumers);
    if (explanation.reading != nullptr) {
        print_reading(out, *explanation.reading, item, loaded);
    }
}

}  // namespace dfdctl::explain
