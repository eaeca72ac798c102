// SPDX-License-Identifier: MIT
// What the tools write as JSON. The parser's and formatter's headers cost seconds in each file that
// includes them: they stand behind these functions, which are compiled once.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace dfd_tools {

/// A JSON value; copies share what they hold until one of them is changed. Members keep their
/// order.
class Json {
  public:
    using value_type = Json;

    Json(std::nullptr_t = nullptr) {}
    Json(bool value);
    Json(double value);
    Json(std::string_view text);
    Json(const std::string &text) : Json(std::string_view(text)) {}
    Json(const char *text) : Json(std::string_view(text)) {}
    template <std::signed_integral Integer>
    Json(Integer value) : Json(Number{value}) {}
    template <std::unsigned_integral Integer>
    Json(Integer value) : Json(Natural{value}) {}
    template <class Element>
    Json(const std::vector<Element> &elements)
        : Json(array(std::vector<Json>(elements.begin(), elements.end()))) {}
    /// {{"name", value}, ...} is an object, as every list of pairs that begin with a text; any
    /// other list is an array.
    Json(std::initializer_list<Json> list);

    static Json array(std::vector<Json> elements = {});
    static Json object();

    /// Of an array, which null becomes.
    void push_back(Json element);
    /// The member of an object, which null becomes; null when it is new.
    Json &operator[](std::string_view name);
    /// Takes the members of another object over, in place of those of the same names.
    void update(const Json &other);

    /// As a document over several lines. What is not UTF-8 in texts is replaced, for that a
    /// document is.
    std::string document() const;
    /// CBOR takes texts as they are, and says where one value ends.
    std::vector<std::uint8_t> cbor() const;

  private:
    struct Number {
        std::int64_t value;
    };
    struct Natural {
        std::uint64_t value;
    };
    struct Node;
    explicit Json(Number value);
    explicit Json(Natural value);
    explicit Json(Node node);

    Node &own();

    std::shared_ptr<Node> node_;  ///< null: null
};

/// A document on one line; empty when it is none.
std::string one_line(const std::string &document);
/// With U+FFFD in place of what is not UTF-8.
std::string utf8(const std::string &text);

}  // namespace dfd_tools
