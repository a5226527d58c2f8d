// SPDX-License-Identifier: Apache-2.0
//
// A message as libyang parses it without models: elements with names, namespaces, texts and attributes. What they mean
// is judged element by element afterwards, so that a refusal can name the one that is wrong.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zpf_bridge/libyang.hpp"

namespace zpf::agent {

/// A view of one element; good while its message lives.
class Element {
public:
    Element() = default;
    explicit Element(const lyd_node* node) : node_(reinterpret_cast<const lyd_node_opaq*>(node)) {}

    explicit operator bool() const { return node_ != nullptr; }
    std::string_view name() const { return node_->name.name; }
    std::string_view ns() const { return node_->name.module_ns ? node_->name.module_ns : ""; }
    bool is(std::string_view name, std::string_view ns) const { return this->name() == name && this->ns() == ns; }

    /// Text without surrounding white space.
    std::string_view text() const;
    /// Text as it stands.
    std::string_view raw_text() const { return node_->value ? node_->value : ""; }

    Element first_child() const { return Element{node_->child}; }
    Element next() const { return Element{node_->node.next}; }
    Element parent() const { return Element{reinterpret_cast<const lyd_node*>(node_->node.parent)}; }
    /// First child with this name in the parent's namespace.
    Element child(std::string_view name) const { return child(name, ns()); }
    Element child(std::string_view name, std::string_view ns) const;
    bool has_children() const { return node_->child != nullptr; }

    /// Value of an attribute of the namespace (empty: none).
    std::optional<std::string_view> attribute(std::string_view name, std::string_view ns = "") const;
    const lyd_attr* find_attribute(std::string_view name, std::string_view ns = "") const;
    const lyd_attr* attributes() const { return node_->attr; }

    const lyd_node_opaq& opaque() const { return *node_; }
    const lyd_node* node() const { return node_ ? &node_->node : nullptr; }

    /// Where it stands below the message's data, "/a/b".
    std::string path() const;

    class Iterator;
    struct Range;
    Range children() const;

private:
    const lyd_node_opaq* node_ = nullptr;
};

class Element::Iterator {
public:
    explicit Iterator(Element at) : at_(at) {}
    Element operator*() const { return at_; }
    Iterator& operator++()
    {
        at_ = at_.next();
        return *this;
    }
    bool operator!=(const Iterator& other) const { return at_.node_ != other.at_.node_; }

private:
    Element at_;
};

struct Element::Range {
    Element first;
    Iterator begin() const { return Iterator{first}; }
    Iterator end() const { return Iterator{Element{}}; }
};

inline Element::Range Element::children() const
{
    return {first_child()};
}

/// A parsed message; owns its elements.
class Message {
public:
    Message() = default;
    /// Throws Refused (malformed-message) with the place in the text.
    Message(const bridge::Models& models, std::string_view text);
    Element top() const { return Element{tree_.get()}; }

private:
    bridge::DataPtr tree_;
};

} // namespace zpf::agent
