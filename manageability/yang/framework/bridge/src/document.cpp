// SPDX-License-Identifier: Apache-2.0
//
// Parsing without models.
#include "document.hpp"

#include <functional>

namespace zpf::bridge {

namespace {

const lyd_node_opaq& opaque(const lyd_node& node)
{
    return reinterpret_cast<const lyd_node_opaq&>(node);
}

bool is_netconf(const ly_opaq_name& name, LY_VALUE_FORMAT format)
{
    const std::string_view place = name.module_ns ? name.module_ns : "";
    return place == (format == LY_VALUE_JSON ? "ietf-netconf" : kNetconfNamespace);
}

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kNowhere = "nowhere"; // namespace and module of the holder: none was given

std::string in_xml_holder(std::string_view text)
{
    return "<holder xmlns=\"" + std::string(kNowhere) + "\">" + std::string(text) + "</holder>";
}

std::string in_json_holder(std::string_view text)
{
    return "{\"" + std::string(kNowhere) + ":holder\":" + std::string(text) + "}";
}

bool is_metadata(const lyd_node& node)
{
    return name_of(node) == "operation" && is_netconf(opaque(node).name, LY_VALUE_JSON);
}

} // namespace

std::string_view name_of(const lyd_node& node)
{
    return opaque(node).name.name;
}

std::optional<std::string_view> place_of(const lyd_node& node)
{
    const lyd_node_opaq& own = opaque(node);
    const char* const place = own.name.module_ns; // of either syntax: the union's other member is the module's name
    if (place == nullptr && own.format == LY_VALUE_JSON && lyd_parent(&node) != nullptr) {
        return place_of(*lyd_parent(&node));
    }
    return place == nullptr || std::string_view{place} == kNowhere ? std::nullopt
                                                                   : std::optional<std::string_view>{place};
}

bool is_of(const lyd_node& node, const char* module_name, const char* module_ns)
{
    const auto place = place_of(node);
    return !place || *place == (opaque(node).format == LY_VALUE_JSON ? module_name : module_ns);
}

bool is_array_item(const lyd_node& node)
{
    return (opaque(node).hints & LYD_NODEHINT_LIST) != 0;
}

std::optional<std::string> text_of(const lyd_node& node)
{
    const std::string_view value = opaque(node).value ? opaque(node).value : "";
    const auto first = value.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(value.substr(first, value.find_last_not_of(" \t\r\n") - first + 1));
}

std::optional<std::string> netconf_attribute(const lyd_node& node, std::string_view name)
{
    for (const lyd_attr* attribute = opaque(node).attr; attribute != nullptr; attribute = attribute->next) {
        if (name == attribute->name.name && is_netconf(attribute->name, attribute->format)) {
            return attribute->value;
        }
    }
    return std::nullopt;
}

std::optional<std::string> plain_attribute(const lyd_node& node, std::string_view name)
{
    for (const lyd_attr* attribute = opaque(node).attr; attribute != nullptr; attribute = attribute->next) {
        if (name == attribute->name.name && attribute->name.prefix == nullptr) {
            return attribute->value;
        }
    }
    return std::nullopt;
}

std::string path_of(const lyd_node& node)
{
    const lyd_node* const parent = lyd_parent(&node);
    return parent ? path_of(*parent) + "/" + std::string(name_of(node)) : std::string{}; // the holder is not told
}

Document::Document(const Models& models, std::string_view text, const std::string& source) : source_(source)
{
    text.remove_prefix(text.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0);
    outline_ = look_over(text, source);
    const bool xml = outline_.syntax == Syntax::xml;
    ly_ctx* const ctx = models.libyang().blank.get();
    lyd_node* raw = nullptr;
    ly_err_clean(ctx, nullptr);
    const LY_ERR rc = lyd_parse_data_mem(ctx, (xml ? in_xml_holder(text) : in_json_holder(text)).c_str(),
                                         xml ? LYD_XML : LYD_JSON, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &raw);
    holder_.reset(raw);
    if (rc != LY_SUCCESS) {
        const Complaint complaint = last_complaint(*ctx);
        throw BadInput(source_, complaint.line, "", complaint.reason);
    }
    if (!xml) {
        settle_metadata(*holder_);
    }
    std::size_t index = 0;
    const std::function<void(const lyd_node*)> number = [&](const lyd_node* node) {
        for (; node != nullptr; node = node->next) {
            lines_[node] = index < outline_.lines.size() ? outline_.lines[index] : 0;
            ++index;
            number(lyd_child(node));
        }
    };
    number(first());
}

// Without a model libyang takes {"x": 1, "@x": {"ietf-netconf:operation": "delete"}} for two elements x, the second
// with an element in it. No model has elements of the protocol's module, so that is how metadata are told.
void Document::settle_metadata(lyd_node& parent)
{
    lyd_node* next = nullptr;
    for (lyd_node* node = lyd_child(&parent); node != nullptr; node = next) {
        next = node->next;
        const lyd_node* const inside = lyd_child(node);
        if (&parent == holder_.get() || inside == nullptr || !is_metadata(*inside)) {
            settle_metadata(*node);
            continue;
        }
        lyd_node* bearer = lyd_child(&parent);
        while (bearer != nullptr && (bearer == node || name_of(*bearer) != name_of(*node))) {
            bearer = bearer->next;
        }
        if (bearer == nullptr) {
            throw BadInput(source_, 0, path_of(*node), "has an operation, but the element itself is not there");
        }
        lyd_new_attr(bearer, "ietf-netconf", "ietf-netconf:operation", opaque(*inside).value, nullptr);
        lyd_free_tree(node);
    }
}

std::size_t Document::line_of(const lyd_node& node) const
{
    const auto found = lines_.find(&node);
    return found == lines_.end() ? 0 : found->second;
}

void Document::fail(const lyd_node& node, const std::string& reason) const
{
    throw BadInput(source_, line_of(node), path_of(node), reason);
}

} // namespace zpf::bridge
