// SPDX-License-Identifier: Apache-2.0
//
// Compiled schema to lines.
#include "schema_lines.hpp"

#include <algorithm>
#include <vector>

namespace zpf::test {

namespace {

using Lines = std::map<std::string, std::string>;

std::string type_text(const lysc_type& type);

std::string range_text(const lysc_range* range, bool is_unsigned)
{
    std::string text;
    if (range == nullptr) {
        return text;
    }
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(range->parts, u)
    {
        const auto& part = range->parts[u];
        text += is_unsigned ? " [" + std::to_string(part.min_u64) + ".." + std::to_string(part.max_u64) + "]"
                            : " [" + std::to_string(part.min_64) + ".." + std::to_string(part.max_64) + "]";
    }
    return text;
}

std::string identity_text(const lysc_ident& identity)
{
    return std::string(identity.module->name) + ":" + identity.name;
}

std::string string_text(const lysc_type_str& type)
{
    std::string text = range_text(type.length, true);
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(type.patterns, u)
    {
        text += " /" + std::string(type.patterns[u]->expr) + "/";
    }
    return text;
}

std::string enum_text(const lysc_type_enum& type)
{
    std::string text;
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(type.enums, u)
    {
        text += " " + std::string(type.enums[u].name) + "=" + std::to_string(type.enums[u].value);
    }
    return text;
}

std::string identityref_text(const lysc_type_identityref& type)
{
    std::string text;
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(type.bases, u)
    {
        text += " " + identity_text(*type.bases[u]);
    }
    return text;
}

std::string union_text(const lysc_type_union& type)
{
    std::string text;
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(type.types, u)
    {
        text += " (" + type_text(*type.types[u]) + ")";
    }
    return text;
}

std::string restrictions(const lysc_type& type)
{
    switch (type.basetype) {
    case LY_TYPE_DEC64: {
        const auto& decimal = reinterpret_cast<const lysc_type_dec&>(type);
        return " fraction-digits " + std::to_string(decimal.fraction_digits) + range_text(decimal.range, false);
    }
    case LY_TYPE_STRING:
        return string_text(reinterpret_cast<const lysc_type_str&>(type));
    case LY_TYPE_ENUM:
        return enum_text(reinterpret_cast<const lysc_type_enum&>(type));
    case LY_TYPE_IDENT:
        return identityref_text(reinterpret_cast<const lysc_type_identityref&>(type));
    case LY_TYPE_LEAFREF: {
        const auto& reference = reinterpret_cast<const lysc_type_leafref&>(type);
        return " " + std::string(lyxp_get_expr(reference.path)) + (reference.require_instance != 0 ? " required" : "") +
               " -> " + type_text(*reference.realtype);
    }
    case LY_TYPE_UNION:
        return union_text(reinterpret_cast<const lysc_type_union&>(type));
    case LY_TYPE_UINT8:
    case LY_TYPE_UINT16:
    case LY_TYPE_UINT32:
    case LY_TYPE_UINT64:
        return range_text(reinterpret_cast<const lysc_type_num&>(type).range, true);
    case LY_TYPE_INT8:
    case LY_TYPE_INT16:
    case LY_TYPE_INT32:
    case LY_TYPE_INT64:
        return range_text(reinterpret_cast<const lysc_type_num&>(type).range, false);
    default:
        return "";
    }
}

std::string type_text(const lysc_type& type)
{
    static constexpr const char* kNames[] = {
        "unknown", "binary",      "uint8",    "uint16",   "uint32",  "uint64", "string", "bits",  "bool",  "decimal",
        "empty",   "enumeration", "identity", "instance", "leafref", "union",  "int8",   "int16", "int32", "int64"};
    static_assert(std::size(kNames) == LY_DATA_TYPE_COUNT);
    return kNames[type.basetype] + restrictions(type);
}

std::string leaf_text(const lysc_node& node)
{
    const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(node);
    std::string text = " type " + type_text(*leaf.type);
    if (leaf.units != nullptr) {
        text += " units " + std::string(leaf.units);
    }
    if (leaf.dflt != nullptr) {
        text += " default " + std::string(lyd_value_get_canonical(node.module->ctx, leaf.dflt));
    }
    return text;
}

std::string facts(const lysc_node& node)
{
    std::string text = lys_nodetype2str(node.nodetype);
    text += (node.flags & LYS_CONFIG_R) != 0 ? " ro" : " rw";
    text += (node.flags & LYS_STATUS_DEPRC) != 0 ? " deprecated" : "";
    // One bit has several meanings, by kind of node.
    if (node.nodetype == LYS_CONTAINER) {
        text += (node.flags & LYS_PRESENCE) != 0 ? " presence" : "";
    } else if (node.nodetype == LYS_LEAF) {
        text += (node.flags & LYS_MAND_TRUE) != 0 ? " mandatory" : ""; // others inherit the bit from their children
        text += (node.flags & LYS_KEY) != 0 ? " key" : "";
        text += leaf_text(node);
    }
    for (const lysc_node* child = lysc_node_child(&node); child != nullptr; child = child->next) {
        text += child == lysc_node_child(&node) ? " children" : "";
        text += " " + std::string(child->name);
    }
    return text;
}

void add_lines(const lysc_node* first, const std::string& above, Lines& lines)
{
    for (const lysc_node* node = first; node != nullptr; node = node->next) {
        const bool same = node->parent != nullptr && node->parent->module == node->module;
        const std::string path = above + "/" + (same ? "" : std::string(node->module->name) + ":") + node->name;
        lines[path] = facts(*node);
        add_lines(lysc_node_child(node), path, lines);
    }
}

} // namespace

Lines schema_lines(const lys_module& module)
{
    Lines lines;
    add_lines(module.compiled->data, "", lines);
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(module.identities, u)
    {
        std::vector<std::string> derived;
        LY_ARRAY_COUNT_TYPE v = 0;
        LY_ARRAY_FOR(module.identities[u].derived, v)
        {
            derived.push_back(identity_text(*module.identities[u].derived[v]));
        }
        std::sort(derived.begin(), derived.end());
        std::string& line = lines["identity " + std::string(module.identities[u].name)];
        for (const std::string& name : derived) {
            line += name + " ";
        }
    }
    LY_ARRAY_FOR(module.parsed->features, u)
    {
        lines["feature " + std::string(module.parsed->features[u].name)] = "";
    }
    return lines;
}

} // namespace zpf::test
