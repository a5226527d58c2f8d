// SPDX-License-Identifier: Apache-2.0
//
// Compiles the `nacm` container, and the questions that need no walk over data.
#include "rules.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace zpf::agent {

namespace {

bool is_named(const lyd_node& node, std::string_view name)
{
    return node.schema != nullptr && name == node.schema->name;
}

const lyd_node* find_nacm(const lyd_node* config)
{
    for (const lyd_node* top = config == nullptr ? nullptr : lyd_first_sibling(config); top != nullptr;
         top = top->next) {
        if (is_named(*top, "nacm") && std::string_view(top->schema->module->name) == "ietf-netconf-acm") {
            return top;
        }
    }
    return nullptr;
}

unsigned access_bits(const std::string& words)
{
    unsigned bits = words == "*" ? kAnyAccess : 0U;
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        bits |= word == "create" ? kCreate : 0U;
        bits |= word == "read" ? kRead : 0U;
        bits |= word == "update" ? kUpdate : 0U;
        bits |= word == "delete" ? kDelete : 0U;
        bits |= word == "exec" ? kExec : 0U;
    }
    return bits;
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool shares_a_name(const std::vector<std::string>& some, const std::vector<std::string>* others)
{
    return others != nullptr && std::any_of(others->begin(), others->end(),
                                            [&some](const std::string& name) { return contains(some, name); });
}

} // namespace

CompiledRules::CompiledRules(const ly_ctx& context, const lyd_node* config) : ctx(context), marks(context)
{
    const lyd_node* nacm = find_nacm(config);
    for (const lyd_node* node = lyd_child(nacm); node != nullptr; node = node->next) {
        const std::string_view value = lyd_get_value(node) != nullptr ? lyd_get_value(node) : "";
        if (is_named(*node, "enable-nacm")) {
            enabled = value == "true";
        } else if (is_named(*node, "read-default")) {
            read_default = value == "permit";
        } else if (is_named(*node, "write-default")) {
            write_default = value == "permit";
        } else if (is_named(*node, "exec-default")) {
            exec_default = value == "permit";
        } else if (is_named(*node, "enable-external-groups")) {
            external_groups = value == "true";
        } else if (is_named(*node, "groups")) {
            read_groups(*node);
        } else if (is_named(*node, "rule-list")) {
            read_list(*node);
        }
    }
}

void CompiledRules::read_groups(const lyd_node& groups)
{
    for (const lyd_node* group = lyd_child(&groups); group != nullptr; group = group->next) {
        const std::string name = lyd_get_value(lyd_child(group)); // the key comes first
        for (const lyd_node* leaf = lyd_child(group); leaf != nullptr; leaf = leaf->next) {
            if (is_named(*leaf, "user-name")) {
                groups_of_user[lyd_get_value(leaf)].push_back(name);
            }
        }
    }
}

void CompiledRules::read_list(const lyd_node& entry)
{
    RuleList& list = lists.emplace_back();
    const std::string name = lyd_get_value(lyd_child(&entry));
    for (const lyd_node* node = lyd_child(&entry); node != nullptr; node = node->next) {
        if (is_named(*node, "group")) {
            list.groups.emplace_back(lyd_get_value(node));
            list.every_group = list.every_group || list.groups.back() == "*";
        } else if (is_named(*node, "rule")) {
            read_rule(*node, name, list.rules);
        }
    }
}

void CompiledRules::read_rule(const lyd_node& entry, const std::string& list_name, std::vector<Rule>& rules)
{
    Rule rule;
    const std::string name = lyd_get_value(lyd_child(&entry));
    for (const lyd_node* leaf = lyd_child(&entry); leaf != nullptr; leaf = leaf->next) {
        const std::string value = lyd_get_value(leaf);
        if (is_named(*leaf, "module-name")) {
            rule.every_module = value == "*";
            rule.module = ly_ctx_get_module_implemented(&ctx, value.c_str());
        } else if (is_named(*leaf, "rpc-name")) {
            rule.subject = Rule::Subject::operation;
            rule.name = value;
        } else if (is_named(*leaf, "notification-name")) {
            rule.subject = Rule::Subject::notification;
            rule.name = value;
        } else if (is_named(*leaf, "path")) {
            rule.subject = Rule::Subject::data;
            try {
                rule.path = parse_instance_path(ctx, value);
            } catch (const std::invalid_argument& wrong) {
                std::string& problem = problems.emplace_back("rule \"");
                problem.append(name).append("\" of rule-list \"").append(list_name);
                problem.append("\" matches nothing: path ").append(value).append(": ").append(wrong.what());
                return;
            }
        } else if (is_named(*leaf, "access-operations")) {
            rule.access = access_bits(value);
        } else if (is_named(*leaf, "action")) {
            rule.permit = value == "permit";
        }
    }
    rules.push_back(std::move(rule));
}

std::vector<const RuleList*> CompiledRules::lists_of(const Who& who) const
{
    std::vector<const RuleList*> found;
    const auto configured = groups_of_user.find(who.user);
    const auto* own = configured == groups_of_user.end() ? nullptr : &configured->second;
    const auto* external = external_groups && !who.groups.empty() ? &who.groups : nullptr;
    if (own == nullptr && external == nullptr) {
        return found;
    }
    for (const RuleList& list : lists) {
        if (list.every_group || shares_a_name(list.groups, own) || shares_a_name(list.groups, external)) {
            found.push_back(&list);
        }
    }
    return found;
}

bool CompiledRules::permitted_by_default(Access access, const lysc_node& node) const noexcept
{
    const unsigned closing = (access & kWrite) != 0 ? kDenyAll | kDenyWrite : kDenyAll;
    if (!marks.empty() && (marks.of(node) & closing) != 0) {
        return false;
    }
    return access == kRead ? read_default : access == kExec ? exec_default : write_default;
}

} // namespace zpf::agent
