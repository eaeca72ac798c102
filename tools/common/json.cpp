// SPDX-License-Identifier: MIT
#include "common/json.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

namespace dfd_tools {

using nlohmann::ordered_json;
using Elements = std::vector<Json>;
using Members = std::vector<std::pair<std::string, Json>>;

namespace {

constexpr int kIndent = 2;

std::string dumped(const ordered_json &json, int indent) {
    return json.dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace

struct Json::Node {
    std::variant<bool, std::int64_t, std::uint64_t, double, std::string, Elements, Members> value;

    const std::string *name_of_pair() const {
        const auto *pair = std::get_if<Elements>(&value);
        return pair != nullptr && pair->size() == 2 && pair->front().node_ != nullptr
                   ? std::get_if<std::string>(&pair->front().node_->value)
                   : nullptr;
    }

    static ordered_json converted(const Json &json) {
        return json.node_ != nullptr
                   ? std::visit([](const auto &held) { return converted(held); }, json.node_->value)
                   : ordered_json();
    }

    template <class Plain>
    static ordered_json converted(const Plain &plain) {
        return plain;
    }

    static ordered_json converted(const Elements &elements) {
        ordered_json array = ordered_json::array();
        for (const Json &element : elements) {
            array.push_back(converted(element));
        }
        return array;
    }

    static ordered_json converted(const Members &members) {
        ordered_json object = ordered_json::object();
        for (const auto &[name, member] : members) {
            object.emplace(name, converted(member));
        }
        return object;
    }
};

Json::Json(Node node) : node_(std::make_shared<Node>(std::move(node))) {}
Json::Json(bool value) : Json(Node{value}) {}
Json::Json(double value) : Json(Node{value}) {}
Json::Json(std::string_view text) : Json(Node{std::string(text)}) {}
Json::Json(Number value) : Json(Node{value.value}) {}
Json::Json(Natural value) : Json(Node{value.value}) {}

Json::Json(std::initializer_list<Json> list) {
    const auto is_member = [](const Json &element) {
        return element.node_ != nullptr && element.node_->name_of_pair() != nullptr;
    };
    if (!std::all_of(list.begin(), list.end(), is_member)) {
        *this = array(list);
        return;
    }
    *this = object();
    for (const Json &element : list) {
        (*this)[*element.node_->name_of_pair()] = std::get<Elements>(element.node_->value).back();
    }
}

Json Json::array(std::vector<Json> elements) {
    return Json(Node{std::move(elements)});
}

Json Json::object() {
    return Json(Node{Members()});
}

Json::Node &Json::own() {
    if (node_.use_count() > 1) {
        node_ = std::make_shared<Node>(*node_);
    }
    return *node_;
}

void Json::push_back(Json element) {
    if (node_ == nullptr) {
        *this = array();
    }
    std::get<Elements>(own().value).push_back(std::move(element));
}

Json &Json::operator[](std::string_view name) {
    if (node_ == nullptr) {
        *this = object();
    }
    auto &members = std::get<Members>(own().value);
    auto found = std::ranges::find(members, name, &Members::value_type::first);
    if (found == members.end()) {
        found = members.emplace(found, name, Json());
    }
    return found->second;
}

void Json::update(const Json &other) {
    for (const auto &[name, value] : std::get<Members>(other.node_->value)) {
        (*this)[name] = value;
    }
}

std::string Json::document() const {
    return dumped(Node::converted(*this), kIndent);
}

std::vector<std::uint8_t> Json::cbor() const {
    return ordered_json::to_cbor(Node::converted(*this));
}

std::string one_line(const std::string &document) {
    const ordered_json json = ordered_json::parse(document, nullptr, false);
    return json.is_discarded() ? std::string() : dumped(json, -1);
}

std::string utf8(const std::string &text) {
    return ordered_json::parse(dumped(text, -1));
}

}  // namespace dfd_tools
