// SPDX-License-Identifier: Apache-2.0
//
// The questions that access control answers.
#include "zpf_nacm/nacm.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string_view>

#include "data_access.hpp"
#include "prune.hpp"
#include "rules.hpp"
#include "write_check.hpp"

namespace zpf::agent {

namespace {

struct FreeText {
    void operator()(char* text) const noexcept { std::free(text); }
};

bool is_base_operation(const lys_module& module, const lysc_node& rpc, std::string_view name)
{
    return std::string_view(module.name) == "ietf-netconf" && name == rpc.name;
}

/// Operations that take a rule to be permitted (RFC 8341, 3.2.7 and 3.2.10), whether or not their model is marked.
bool needs_a_rule(const lys_module& module, const lysc_node& rpc)
{
    return is_base_operation(module, rpc, "kill-session") || is_base_operation(module, rpc, "delete-config");
}

/// Notifications of RFC 5277 that only tell where a replay stands.
bool marks_a_replay(const lysc_node& notification)
{
    const std::string_view name = notification.name;
    return std::string_view(notification.module->ns) == "urn:ietf:params:xml:ns:netmod:notification" &&
           (name == "replayComplete" || name == "notificationComplete");
}

/// The path of the node or of the last above it that the user may read.
std::string readable_path(const CompiledRules& rules, const Who& who, const lyd_node* node)
{
    const DataAccess access(rules, who, kRead);
    while (node != nullptr && !access.reads_down_to(node)) {
        node = lyd_parent(node);
    }
    if (node == nullptr) {
        return {};
    }
    const std::unique_ptr<char, FreeText> path{lyd_path(node, LYD_PATH_STD, nullptr, 0)};
    if (!path) {
        throw std::bad_alloc();
    }
    return path.get();
}

void require_context(const CompiledRules& rules, const ly_ctx* ctx)
{
    if (ctx != &rules.ctx) {
        throw std::invalid_argument("access rules were compiled for another libyang context");
    }
}

/// The action of the first of the user's rules that names an operation or notification.
std::optional<bool> first_match(const CompiledRules& rules, const Who& who, Rule::Subject what, Access access,
                                const lys_module& module, const lysc_node& node)
{
    for (const RuleList* list : rules.lists_of(who)) {
        for (const Rule& rule : list->rules) {
            if ((rule.access & access) != 0 && rule.names(what, module, node)) {
                return rule.permit;
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::shared_ptr<const Nacm> Nacm::compile(const ly_ctx& ctx, const lyd_node* config)
{
    return std::shared_ptr<const Nacm>(new Nacm(std::make_unique<const CompiledRules>(ctx, config)));
}

Nacm::Nacm(std::unique_ptr<const CompiledRules> rules) : rules_(std::move(rules)) {}

Nacm::~Nacm() = default;

const std::vector<std::string>& Nacm::problems() const noexcept
{
    return rules_->problems;
}

bool Nacm::may_execute(const Who& who, const lys_module& module, const lysc_node& rpc) const
{
    require_context(*rules_, module.ctx);
    if (rules_->waived_for(who) || is_base_operation(module, rpc, "close-session")) {
        return true;
    }
    const std::optional<bool> decided = first_match(*rules_, who, Rule::Subject::operation, kExec, module, rpc);
    return decided ? *decided : !needs_a_rule(module, rpc) && rules_->permitted_by_default(kExec, rpc);
}

bool Nacm::may_invoke(const Who& who, const lyd_node& action) const
{
    require_context(*rules_, LYD_CTX(&action));
    if (rules_->waived_for(who)) {
        return true;
    }
    const DataAccess access(*rules_, who, kRead | kExec);
    return access.reads_down_to(lyd_parent(&action)) &&
           access.permits(access.scope_below(lyd_parent(&action)), action, kExec);
}

bool Nacm::reads_everything(const Who& who) const
{
    return rules_->waived_for(who) || DataAccess(*rules_, who, kRead).permits_all(kRead, true);
}

bool Nacm::writes_everything(const Who& who) const
{
    if (rules_->waived_for(who)) {
        return true;
    }
    const DataAccess access(*rules_, who, kWrite);
    constexpr std::array kKinds{kCreate, kUpdate, kDelete};
    return std::all_of(kKinds.begin(), kKinds.end(), [&](Access kind) { return access.permits_all(kind, false); });
}

bool Nacm::marked(const lys_module& module) const
{
    require_context(*rules_, module.ctx);
    return rules_->marks.module_is_marked(module);
}

void Nacm::prune_unreadable(const Who& who, lyd_node** tree) const
{
    if (*tree == nullptr) {
        return;
    }
    require_context(*rules_, LYD_CTX(*tree));
    lyd_node* first = lyd_first_sibling(*tree);
    if (rules_->waived_for(who)) {
        *tree = first;
        return;
    }
    const DataAccess access(*rules_, who, kRead);
    const lyd_node* parent = lyd_parent(first);
    if (access.permits_all(kRead, false)) {
        *tree = first;
    } else if (access.reads_down_to(parent)) {
        *tree = Pruner(access).prune(first, access.scope_below(parent));
    } else {
        lyd_free_siblings(first);
        *tree = nullptr;
    }
}

std::optional<Denied> Nacm::check_write(const Who& who, const lyd_node* before, const lyd_node* after) const
{
    for (const lyd_node* tree : {before, after}) {
        if (tree != nullptr) {
            require_context(*rules_, LYD_CTX(tree));
        }
    }
    if (rules_->waived_for(who)) {
        return std::nullopt;
    }
    const DataAccess access(*rules_, who, kWrite);
    const lyd_node* some = before != nullptr ? before : after;
    const lyd_node* refused = WriteCheck(access).find_refused(
        before == nullptr ? nullptr : lyd_first_sibling(before), after == nullptr ? nullptr : lyd_first_sibling(after),
        access.scope_below(some == nullptr ? nullptr : lyd_parent(some)));
    if (refused == nullptr) {
        return std::nullopt;
    }
    return Denied{readable_path(*rules_, who, refused)};
}

bool Nacm::may_receive(const Who& who, const lyd_node& notification) const
{
    require_context(*rules_, LYD_CTX(&notification));
    if (rules_->waived_for(who)) {
        return true;
    }
    if (notification.schema == nullptr) {
        return false;
    }
    if (lyd_parent(&notification) != nullptr) {
        return DataAccess(*rules_, who, kRead).reads_down_to(&notification);
    }
    const lysc_node& schema = *notification.schema;
    if (marks_a_replay(schema)) {
        return true;
    }
    const std::optional<bool> decided =
        first_match(*rules_, who, Rule::Subject::notification, kRead, *schema.module, schema);
    return decided ? *decided : rules_->permitted_by_default(kRead, schema);
}

} // namespace zpf::agent
