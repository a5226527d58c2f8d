// SPDX-License-Identifier: Apache-2.0
//
// Configuration held against the models: whole modules where pieces refer to each other, single entries elsewhere.
#include <set>

#include "config_edit.hpp"
#include "event.hpp"
#include "rpc_error.hpp"

namespace zpf::agent {

namespace {

/// RFC 7950, 15, as far as libyang tells the cases apart.
Refused complaint_of(const ly_ctx& ctx)
{
    const ly_err_item* const item = ly_err_last(&ctx);
    const bridge::Complaint complaint = bridge::last_complaint(ctx);
    RpcError error;
    error.app_tag = item != nullptr && item->apptag != nullptr ? item->apptag : "";
    error.tag = error.app_tag == "instance-required" || error.app_tag == "missing-choice" ? "data-missing"
                : error.app_tag.empty()                                                   ? "invalid-value"
                                                                                          : "operation-failed";
    error.path = complaint.path;
    error.message = complaint.reason;
    return Refused(std::move(error));
}

void validate_module(const Yang& yang, const lys_module& module, bridge::DataPtr tree)
{
    lyd_node* raw = tree.release();
    const LY_ERR rc = lyd_validate_module(&raw, &module, LYD_VALIDATE_NO_STATE, nullptr);
    tree.reset(raw);
    if (rc != LY_SUCCESS) {
        throw complaint_of(yang.ctx());
    }
}

const lysc_node* top_of(const Yang& yang, std::string_view name)
{
    const std::string_view rest = name.substr(std::min(name.size(), kConfigBranch.size()));
    const PathStep step = parse_step(rest.substr(0, rest.find('/')));
    const lys_module* const module = yang.module(step.module);
    return module ? Yang::top(*module, step.name) : nullptr;
}

/// Name of the outermost list entry that the record belongs to, or the record's own.
std::string_view entry_of(std::string_view name)
{
    const auto equals = name.find('=');
    return equals == std::string_view::npos ? name : name.substr(0, name.find('/', equals));
}

void validate_at(const Yang& yang, const kelda::Reader& config, const lysc_node& top, std::string_view name)
{
    TreeBuilder builder(yang);
    builder.load(config, name);
    if (!builder.problems().empty()) {
        throw refused("invalid-value", "The models do not take this record.", builder.problems().front());
    }
    bridge::DataPtr tree = builder.take();
    if (tree || yang.judged_whole(top)) {
        validate_module(yang, *top.module, std::move(tree));
    }
}

} // namespace

void check_rule_paths(const Yang& yang, const ChangeMap& changes)
{
    const std::string lists = std::string{kConfigBranch} + "ietf-netconf-acm:nacm/rule-list=";
    for (auto change = changes.lower_bound(lists); change != changes.end() && change->first.starts_with(lists);
         ++change) {
        const auto& [name, value] = *change;
        const bool is_path = name.ends_with("/path"); // keys are encoded: no name of a rule ends like this
        if (const auto wrong = is_path && value ? complain_about_rule_path(yang.ctx(), *value) : std::nullopt) {
            throw refused("invalid-value", "No rule can be judged by the path " + *value + ": " + *wrong,
                          instance_identifier(yang, name), "path");
        }
    }
}

void validate(const Yang& yang, const kelda::Reader& after, const ChangeMap& changes)
{
    check_rule_paths(yang, changes);
    std::set<std::string, std::less<>> seen;
    for (const auto& [name, value] : changes) {
        const lysc_node* const top = name.starts_with(kConfigBranch) ? top_of(yang, name) : nullptr;
        if (top == nullptr) {
            continue;
        }
        const std::string part = yang.judged_whole(*top) ? record_name(*top) : std::string{entry_of(name)};
        if (seen.insert(part).second) {
            validate_at(yang, after, *top, part);
        }
    }
}

void validate_all(const Yang& yang, const kelda::Reader& config)
{
    for (const lysc_node* top : yang.tops()) {
        const Home home = yang.home(*top);
        if (home == Home::native || home == Home::agent_config) {
            validate_at(yang, config, *top, record_name(*top));
        }
    }
}

} // namespace zpf::agent
