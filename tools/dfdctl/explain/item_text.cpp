// SPDX-License-Identifier: MIT
#include "dfdctl/explain/layout.hpp"
#include "dfdctl/explain/output.hpp"
#include "dfdctl/facts.hpp"

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

}  // namespace

void print_item(std::FILE *out, const ItemExplanation &explanation, const StartupLog &log) {
    const Item &item = explanation.item;
    fmt::print(out, "{}\n", item.name());
    const std::string_view unit = facts_of(item.type->type).unit;
    print_text(out, "kind",
               fmt::format("{}; {}{}{}", kind_name(item.type->kind), limits_of(*item.type),
                           unit.empty() ? "" : "; unit ", unit));
    print_description(out, item, log);
    if (explanation.consumers.empty()) {
        print_text(out, "used by", "no function of the library");
    }
    for (const Consumer &consumer : explanation.consumers) {
        const std::string name = consumer.is_exact ? observe::text_of(*consumer.call, consumer.args)
                                                   : std::string(consumer.call->name);
        print_text(
            out, &consumer == &explanation.consumers.front() ? "used by" : "",
            fmt::format("{} {}{}{}", name, consumer.how,
                        consumer.is_exact ? "" : " items of this type",
                        consumer.worked ? "" : fmt::format(": refused: {}", consumer.refusal)));
    }
    if (explanation.reading != nullptr) {
        print_reading(out, *explanation.reading, item, log);
    }
}

}  // namespace dfdctl::explain
