// SPDX-License-Identifier: Apache-2.0
//
// Access control (RFC 8341): who may run which operation, read and write which data, receive which notification.
// Rules are compiled once, from the `nacm` container of the configuration, and then asked by many threads.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ly_ctx;
struct lys_module;
struct lysc_node;
struct lyd_node;

namespace zpf::agent {

/// On whose behalf something is done.
struct Who {
    std::string user;
    std::vector<std::string> groups; ///< groups that the transport reports; used unless enable-external-groups is false
    bool recovery = false;           ///< recovery session: may do everything, no rule applies
};

/// A change that was not permitted.
struct Denied {
    /// Data path of the node, or of its nearest ancestor that the user may read: an error must not reveal more than a
    /// read would. Empty when the user may not even read the top node.
    std::string path;
};

/// Refusals since the agent started, one per agent: the counters of the same names in ietf-netconf-acm. Whoever turns
/// something down counts it; Nacm itself only answers questions.
struct NacmCounters {
    std::atomic<uint32_t> denied_operations{0};
    std::atomic<uint32_t> denied_data_writes{0};
    std::atomic<uint32_t> denied_notifications{0};
};

/**
 * To be called for a context after the last module is loaded (loading one can compile others anew, which undoes this)
 * and before any data are parsed. Returns false if ietf-netconf-acm is not there.
 *
 * libyang 2 judges paths of rules as instance-identifiers of one entry or of all entries of a list. RFC 8341 lets a
 * path leave out some of the keys, lets `$USER` stand for a key, and does not ask that the node be known. Left alone,
 * libyang refuses such rules as invalid values. With this call they are kept as XPath expressions, where libyang writes
 * `$USER` as `USER`; Nacm takes both for the variable.
 */
bool accept_rule_paths(ly_ctx& ctx);

/// What is wrong with a rule's path as the configuration holds it (`/module:node[key='value']/...`); nothing when nodes
/// can be judged by it. A rule with a wrong one matches nothing, so whoever takes configuration should refuse it.
std::optional<std::string> complain_about_rule_path(const ly_ctx& ctx, std::string_view path);

struct CompiledRules;

/**
 * The rules in force: immutable, shared by threads.
 *
 * Rules name schema nodes of one libyang context, so every tree, module and schema node handed in is of the context
 * given to compile(); others are refused with std::invalid_argument. The context outlives the object and is not changed
 * meanwhile (compile anew after loading modules). Trees are only read, except by prune_unreadable().
 *
 * As RFC 8341 has it:
 *  - A user in no group at all is subject to no rule, not even to those of rule-lists for group "*": defaults hold.
 *  - A rule on a path covers the node and all below it, keys left out stand for any value, `$USER` for the user's name.
 *  - Each node is judged by the first rule that matches it, or else by marks in the models (nacm:default-deny-write,
 *    nacm:default-deny-all) and the defaults. Whoever may not read a node sees nothing below it, whatever rules permit
 *    there; to write a node, rights on its ancestors are not needed.
 * Where it leaves room:
 *  - A list entry is hidden whole when one of its keys is: without its key it could not be told from another.
 *  - A container without presence says nothing by existing: making or removing it takes no right, its content does. The
 *    same holds for values that only stem from a default of the model.
 *  - Entries of a user-ordered list are moved by updating them: those that the user may not update keep their order.
 *  - Nodes without a schema, if any, are read and written only by those who may read and write everything.
 */
class Nacm {
public:
    /**
     * @param config siblings with a /ietf-netconf-acm:nacm top node; null or without one: enabled, no groups, no rules,
     *               read permit, write deny, exec permit. Read during the call only.
     * Rules that cannot be understood match nothing; problems() names them.
     */
    static std::shared_ptr<const Nacm> compile(const ly_ctx& ctx, const lyd_node* config);

    ~Nacm();
    Nacm(const Nacm&) = delete;
    Nacm& operator=(const Nacm&) = delete;

    /// One line for each rule that matches nothing since it cannot be understood, such as a path into no known module.
    const std::vector<std::string>& problems() const noexcept;

    /**
     * Whether the user may run a top-level operation (RFC 8341, 3.4.4). close-session is open to everyone, kill-session
     * and delete-config need a rule that permits them.
     * @param module module that defines the operation
     */
    bool may_execute(const Who& who, const lys_module& module, const lysc_node& rpc) const;

    /// Whether the user may run an action, given as a node in its data tree (3.4.5): read access to the nodes above it
    /// and exec access to itself. May_execute() of the operation `action` is asked separately.
    bool may_invoke(const Who& who, const lyd_node& action) const;

    /// Nothing of any data tree could be hidden from this user, apart from what models mark (see marked()).
    bool reads_everything(const Who& who) const;

    /// check_write() could refuse nothing to this user.
    bool writes_everything(const Who& who) const;

    /// Whether a top data node of the module, or anything below one, is marked nacm:default-deny-all.
    /// Trees of other modules need no prune_unreadable() for those who read everything.
    bool marked(const lys_module& module) const;

    /// Frees what the user may not read, silently (3.2.4). `tree`: any of the siblings, at the top or inside of a tree;
    /// afterwards the first of those left, or null. To be called before a filter compares values (content match nodes,
    /// XPath predicates): selecting by what may not be read would reveal it.
    void prune_unreadable(const Who& who, lyd_node** tree) const;

    /**
     * First difference between two data trees that the user may not make (3.2.5, 3.4.5): each created, changed, moved
     * and deleted node is judged by itself. Both may be null, whole data stores or the parts of them that differ; list
     * entries have their keys. Entries of system-ordered lists may come in any order.
     */
    std::optional<Denied> check_write(const Who& who, const lyd_node* before, const lyd_node* after) const;

    /// Whether a notification goes to the user (3.4.6). `notification`: the notification node itself, at the top or
    /// inside of a data tree. replayComplete and notificationComplete go to everyone.
    bool may_receive(const Who& who, const lyd_node& notification) const;

private:
    explicit Nacm(std::unique_ptr<const CompiledRules> rules);

    std::unique_ptr<const CompiledRules> rules_;
};

} // namespace zpf::agent
