// SPDX-License-Identifier: Apache-2.0
//
// A text parsed as it is, without models: elements in document order, each with the line it begins on. What an element
// means is judged afterwards, so that messages can name its place.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "text_guard.hpp"
#include "zpf_bridge/libyang.hpp"

namespace zpf::bridge {

class Document {
public:
    /// Throws BadInput.
    Document(const Models& models, std::string_view text, const std::string& source);

    /// First top element, or null; its siblings follow it.
    const lyd_node* first() const { return lyd_child(holder_.get()); }
    std::size_t line_of(const lyd_node& node) const;
    const std::string& source() const { return source_; }
    Syntax syntax() const { return outline_.syntax; }

    [[noreturn]] void fail(const lyd_node& node, const std::string& reason) const;

private:
    void settle_metadata(lyd_node& parent);

    std::string source_;
    Outline outline_;
    DataPtr
        holder_; ///< an element of our own around the text, so that several may stand in it, with or without namespace
    std::unordered_map<const lyd_node*, std::size_t> lines_;
};

/// The element's own name, without prefix.
std::string_view name_of(const lyd_node& node);

/// The element's namespace (XML) or module (JSON), taken over from the elements around it where it has none of its own;
/// nothing when none of them has one.
std::optional<std::string_view> place_of(const lyd_node& node);

/// True when the element's namespace or module is that of the module, or is not given.
bool is_of(const lyd_node& node, const char* module_name, const char* module_ns);

/// Text without surrounding white space; nothing for an element without text.
std::optional<std::string> text_of(const lyd_node& node);

/// Value of the attribute of NETCONF's base namespace ("operation" and so on), if the element has it.
std::optional<std::string> netconf_attribute(const lyd_node& node, std::string_view name);

/// Value of an attribute without namespace, if the element has it.
std::optional<std::string> plain_attribute(const lyd_node& node, std::string_view name);

/// True for an item of a JSON array that holds objects.
bool is_array_item(const lyd_node& node);

/// Where the element stands: "/a/b/c".
std::string path_of(const lyd_node& node);

} // namespace zpf::bridge
