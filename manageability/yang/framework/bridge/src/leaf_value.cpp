// SPDX-License-Identifier: Apache-2.0
//
// Values are judged one by one, so a reference is taken for what it may refer to and not for what is there.
#include "zpf_bridge/leaf_value.hpp"

#include <functional>
#include <string_view>

namespace zpf::bridge {

namespace {

const lysc_type& type_of(const lysc_node& leaf)
{
    const lysc_type* type = reinterpret_cast<const lysc_node_leaf&>(leaf).type;
    while (type->basetype == LY_TYPE_LEAFREF) {
        type = reinterpret_cast<const lysc_type_leafref*>(type)->realtype;
    }
    return *type;
}

bool is_derived(const lysc_ident& base, std::string_view name)
{
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(base.derived, u)
    {
        if (name == base.derived[u]->name || is_derived(*base.derived[u], name)) {
            return true;
        }
    }
    return false;
}

/// Prefixes of identities are bound by the text around them, which is gone; identities of one base have no two of a
/// name.
bool is_identity(const lysc_type_identityref& type, std::string_view value)
{
    const std::string_view name = value.substr(value.find(':') == std::string_view::npos ? 0 : value.find(':') + 1);
    LY_ARRAY_COUNT_TYPE u = 0;
    LY_ARRAY_FOR(type.bases, u)
    {
        if (is_derived(*type.bases[u], name)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<std::string> complain_about(const ly_ctx& ctx, const lysc_node& leaf, const std::string& value,
                                          std::string& canonical)
{
    const lysc_type& type = type_of(leaf);
    if (type.basetype == LY_TYPE_IDENT) {
        canonical = value;
        if (is_identity(reinterpret_cast<const lysc_type_identityref&>(type), value)) {
            return std::nullopt;
        }
        return "\"" + value + "\" is no identity that the model has here";
    }
    ly_err_clean(const_cast<ly_ctx*>(&ctx), nullptr); // errors are kept beside the context, not in it
    const char* text = nullptr;
    const LY_ERR rc = lyd_value_validate(&ctx, &leaf, value.c_str(), value.size(), nullptr, nullptr, &text);
    if (rc != LY_SUCCESS && rc != LY_EINCOMPLETE) {
        return last_complaint(ctx).reason;
    }
    canonical = text ? text : value;
    lydict_remove(&ctx, text);
    return std::nullopt;
}

} // namespace zpf::bridge
