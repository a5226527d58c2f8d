// SPDX-License-Identifier: Apache-2.0
//
// The agent's models and what is announced of them.
#include "yang.hpp"

#include <functional>

#include <fmt/format.h>

#include "zpf_map/plugin.hpp"
#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

namespace {

bridge::ModelSet model_set(const std::vector<std::string>& mapped, const std::vector<std::string>& search)
{
    bridge::ModelSet set;
    set.directories = mapped;
    set.search = search;
    set.yang_library = true;
    set.host_modules = {
        {"ietf-netconf",
         "2011-06-01",
         {"writable-running", "candidate", "confirmed-commit", "rollback-on-error", "validate", "xpath"}},
        {"ietf-netconf-with-defaults", "2011-06-01", {}},
        {"ietf-netconf-acm", "2018-02-14", {}},
        {"ietf-netconf-monitoring", "2010-10-04", {}},
        {"ietf-datastores", "", {}},
        {"ietf-netconf-nmda", "2019-01-07", {}},
        {"notifications", "2008-07-14", {}},
        {"nc-notifications", "2008-07-14", {}},
        {"ietf-netconf-notifications", "2012-02-06", {}},
        {"zpf-agent", "", {}},
    };
    return set;
}

/// True when the validity of a node below depends on data elsewhere, or users order it.
bool refers_elsewhere(const lysc_node& node)
{
    if (lysc_node_musts(&node) != nullptr || lysc_node_when(&node) != nullptr) {
        return true;
    }
    if ((node.flags & LYS_MAND_TRUE) != 0 && !is_key(node)) {
        return true; // pieces are loaded without what is mandatory beside them
    }
    const bool user_ordered = (node.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0 && (node.flags & LYS_ORDBY_USER) != 0;
    if (node.nodetype == LYS_LEAF || node.nodetype == LYS_LEAFLIST) {
        const auto base = reinterpret_cast<const lysc_node_leaf&>(node).type->basetype;
        return user_ordered || base == LY_TYPE_LEAFREF || base == LY_TYPE_INST;
    }
    if (node.nodetype == LYS_LIST) {
        const auto& list = reinterpret_cast<const lysc_node_list&>(node);
        if (user_ordered || list.min > 0 || list.max != UINT32_MAX || list.uniques != nullptr) {
            return true;
        }
    }
    for (const lysc_node* child = lysc_node_child(&node); child != nullptr; child = child->next) {
        if (refers_elsewhere(*child)) {
            return true;
        }
    }
    return false;
}

/// True when the validity of an entry depends on more than the value of each of its leaves.
bool has_groups(const lysc_node& node)
{
    if ((node.nodetype & (LYS_CHOICE | LYS_LEAFLIST | LYS_ANYDATA)) != 0) {
        return true;
    }
    if (node.nodetype == LYS_LEAF) { // a union may hold references
        return reinterpret_cast<const lysc_node_leaf&>(node).type->basetype == LY_TYPE_UNION;
    }
    for (const lysc_node* child = lysc_node_child(&node); child != nullptr; child = child->next) {
        if (has_groups(*child)) {
            return true;
        }
    }
    return false;
}

Judgement judgement_of(const lysc_node& top)
{
    return refers_elsewhere(top) ? Judgement::whole : has_groups(top) ? Judgement::by_entries : Judgement::by_values;
}

std::string features_of(const lys_module& module)
{
    std::string names;
    uint32_t index = 0;
    const lysp_feature* feature = nullptr;
    while ((feature = lysp_feature_next(feature, module.parsed, &index)) != nullptr) {
        if (lys_feature_value(&module, feature->name) == LY_SUCCESS) {
            names += (names.empty() ? "" : ",") + std::string{feature->name};
        }
    }
    return names;
}

/// Another number for other modules, revisions or features (RFC 8525, 3).
std::string identity_of_modules(const ly_ctx& ctx)
{
    std::string text;
    uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&ctx, &index)) {
        text += fmt::format("{}@{}:{}:{};", module->name, module->revision ? module->revision : "", module->implemented,
                            features_of(*module));
    }
    return fmt::format("{:016x}", std::hash<std::string>{}(text));
}

} // namespace

Yang::Yang(const std::vector<std::string>& mapped, const std::vector<std::string>& search)
    : models_(model_set(mapped, search))
{
    accept_rule_paths(*models_.libyang().models);
    index_tops();
    list_capabilities();
    for (const auto& top : schema().tops()) {
        pair(*top, nullptr);
    }
}

const lys_module* Yang::module(std::string_view name) const
{
    return ly_ctx_get_module_implemented(&ctx(), std::string{name}.c_str());
}

const lys_module* Yang::module_of_namespace(std::string_view ns) const
{
    return ly_ctx_get_module_implemented_ns(&ctx(), std::string{ns}.c_str());
}

const lysc_node* Yang::top(const lys_module& module, std::string_view name)
{
    return lys_find_child(nullptr, &module, name.data(), name.size(), 0, 0);
}

const lysc_node* Yang::child(const lysc_node& parent, std::string_view name, const lys_module* module)
{
    if (module != nullptr) {
        return lys_find_child(&parent, module, name.data(), name.size(), 0, 0);
    }
    const lysc_node* child = nullptr;
    while ((child = lys_getnext(child, &parent, nullptr, 0)) != nullptr) {
        if (child->name == name) {
            return child;
        }
    }
    return nullptr;
}

void Yang::index_tops()
{
    uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&ctx(), &index)) {
        if (!module->implemented || module->compiled == nullptr) {
            continue;
        }
        const lysc_node* node = nullptr;
        while ((node = lys_getnext(node, nullptr, module->compiled, 0)) != nullptr) {
            if ((node->nodetype & (LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST)) != 0) {
                tops_.push_back(node);
                judgements_[node] = judgement_of(*node);
            }
        }
    }
}

Home Yang::home(const lysc_node& top) const
{
    if (const auto found = mapped_.find(&top); found != mapped_.end()) {
        return found->second;
    }
    if (schema().find_top(top.name) != nullptr && schema().find_top(top.name)->module == top.module->name) {
        return Home::unmapped;
    }
    return is_config(top) ? Home::agent_config : Home::operational;
}

bool Yang::judged_whole(const lysc_node& top) const
{
    const auto found = judgements_.find(&top);
    return found == judgements_.end() || found->second == Judgement::whole;
}

bool Yang::judged_by_values(const lysc_node& top) const
{
    const auto found = judgements_.find(&top);
    return found != judgements_.end() && found->second == Judgement::by_values;
}

void Yang::list_capabilities()
{
    static constexpr std::string_view kCapability = "urn:ietf:params:netconf:capability:";
    capabilities_ = {"urn:ietf:params:netconf:base:1.0", "urn:ietf:params:netconf:base:1.1"};
    for (const char* name :
         {"writable-running:1.0", "candidate:1.0", "confirmed-commit:1.1", "rollback-on-error:1.0", "validate:1.1",
          "xpath:1.0", "with-defaults:1.0?basic-mode=explicit&also-supported=report-all,report-all-tagged,trim",
          "notification:1.0", "interleave:1.0"}) {
        capabilities_.push_back(std::string{kCapability} + name);
    }
    content_id_ = identity_of_modules(ctx());
    capabilities_.push_back(std::string{kCapability} +
                            "yang-library:1.1?revision=2019-01-04&content-id=" + content_id_);
    uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&ctx(), &index)) {
        // Modules of YANG 1.1 are announced by the library alone (RFC 7950, 5.6.4).
        if (!module->implemented || module->parsed->version == LYS_VERSION_1_1 ||
            module->name == std::string_view{"yang"}) {
            continue;
        }
        std::string uri = fmt::format("{}?module={}", module->ns, module->name);
        if (module->revision != nullptr) {
            uri += fmt::format("&revision={}", module->revision);
        }
        if (const std::string features = features_of(*module); !features.empty()) {
            uri += "&features=" + features;
        }
        capabilities_.push_back(std::move(uri));
    }
}

void Yang::pair(const SchemaNode& node, const lysc_node* parent)
{
    const lys_module* const own = module(node.module);
    const lysc_node* const found = own == nullptr ? nullptr : lys_find_child(parent, own, node.tag.c_str(), 0, 0, 0);
    compiled_[&node] = found;
    for (const auto& child : node.children) {
        pair(*child, found);
    }
}

const lysc_node* Yang::compiled(const SchemaNode& node) const
{
    const auto found = compiled_.find(&node);
    return found == compiled_.end() ? nullptr : found->second;
}

} // namespace zpf::agent
