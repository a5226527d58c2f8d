// SPDX-License-Identifier: Apache-2.0
//
// Elements of messages.
#include "element.hpp"

#include "rpc_error.hpp"

namespace zpf::agent {

namespace {

constexpr std::size_t kDeepestMessage = 128; // levels; the parser is recursive, and no model comes near

/// The parser recurses, so a message is looked over before: tags that open without closing, and what XML forbids here.
void check_depth(std::string_view text)
{
    std::size_t depth = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
        const std::string_view rest = text.substr(at + 1);
        if (rest.starts_with("!--")) {
            at = text.find("-->", at);
        } else if (rest.starts_with("![CDATA[")) {
            at = text.find("]]>", at);
        } else if (rest.starts_with("!")) {
            throw refused_message("document type declarations are not taken");
        } else if (rest.starts_with("/")) {
            depth -= depth > 0 ? 1 : 0;
            at += 2;
        } else {
            const std::size_t end = text.find('>', at);
            if (end == std::string_view::npos) {
                return;
            }
            // A ">" inside of an attribute's value ends the search early, which only counts one level too many.
            if (text[end - 1] != '/' && text[end - 1] != '?') {
                if (++depth > kDeepestMessage) {
                    throw refused_message("elements are nested more than " + std::to_string(kDeepestMessage) +
                                          " levels deep");
                }
            }
            at = end;
        }
    }
}

} // namespace

std::string_view Element::text() const
{
    std::string_view text = raw_text();
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

Element Element::child(std::string_view name, std::string_view ns) const
{
    for (const Element element : children()) {
        if (element.is(name, ns)) {
            return element;
        }
    }
    return {};
}

const lyd_attr* Element::find_attribute(std::string_view name, std::string_view ns) const
{
    for (const lyd_attr* attribute = node_->attr; attribute != nullptr; attribute = attribute->next) {
        if (attribute->name.name == name && (attribute->name.module_ns ? attribute->name.module_ns : "") == ns) {
            return attribute;
        }
    }
    return nullptr;
}

std::optional<std::string_view> Element::attribute(std::string_view name, std::string_view ns) const
{
    const lyd_attr* const found = find_attribute(name, ns);
    return found ? std::optional<std::string_view>{found->value} : std::nullopt;
}

std::string Element::path() const
{
    const Element above = parent();
    // The envelope and its operation's own elements are not part of a data path.
    const bool data = above && ns() != kBaseNamespace;
    return data ? above.path() + "/" + std::string{name()} : std::string{};
}

Message::Message(const bridge::Models& models, std::string_view text)
{
    if (text.find('\0') != std::string_view::npos) { // the parser would take it for the end
        throw refused_message("there is a zero byte in the message");
    }
    check_depth(text);
    const ly_ctx& blank = *models.libyang().blank;
    ly_in* raw = nullptr;
    const std::string terminated{text}; // libyang wants a zero at the end
    if (ly_in_new_memory(terminated.c_str(), &raw) != LY_SUCCESS) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<ly_in, void (*)(ly_in*)> in(raw, [](ly_in* handle) { ly_in_free(handle, 0); });
    lyd_node* tree = nullptr;
    const LY_ERR rc = lyd_parse_data(&blank, nullptr, in.get(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &tree);
    tree_.reset(tree);
    if (rc != LY_SUCCESS) {
        const bridge::Complaint complaint = bridge::last_complaint(blank);
        throw refused_message(complaint.reason +
                              (complaint.line > 0 ? " (line " + std::to_string(complaint.line) + ")" : std::string{}));
    }
    if (!tree_ || tree_->next != nullptr) {
        throw refused_message("a message is one element");
    }
}

} // namespace zpf::agent
