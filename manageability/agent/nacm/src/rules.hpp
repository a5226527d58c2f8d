// SPDX-License-Identifier: Apache-2.0
//
// The rules as compiled from the `nacm` container: names resolved to schema nodes, words to numbers.
#pragma once

#include <cstdint>
#include <libyang/libyang.h>
#include <map>
#include <string>
#include <vector>

#include "instance_path.hpp"
#include "marks.hpp"
#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

/// Kinds of access, as bits.
enum Access : unsigned {
    kCreate = 1,
    kRead = 2,
    kUpdate = 4,
    kDelete = 8,
    kExec = 16,
    kWrite = kCreate | kUpdate | kDelete,
    kAnyAccess = kWrite | kRead | kExec,
};

struct Rule {
    /// What the rule speaks of; `anything` where it has no rule-type.
    enum class Subject { anything, operation, notification, data };

    Subject subject = Subject::anything;
    bool permit = false;
    unsigned access = kAnyAccess;       ///< bits of Access
    bool every_module = true;           ///< otherwise `module`
    const lys_module* module = nullptr; ///< null: not known here, so the rule matches nothing
    std::string name;                   ///< of the operation or notification; "*": any
    InstancePath path;                  ///< of data; without steps: all

    bool is_of(const lys_module* defining) const noexcept { return every_module || module == defining; }

    /// Whether a named subject, an operation or a notification, is meant.
    bool names(Subject what, const lys_module& defining, const lysc_node& node) const
    {
        return (subject == Subject::anything || (subject == what && (name == "*" || name == node.name))) &&
               is_of(&defining);
    }
};

struct RuleList {
    bool every_group = false;
    std::vector<std::string> groups;
    std::vector<Rule> rules; ///< in order; those that cannot be understood are left out
};

/// All of it.
struct CompiledRules {
    CompiledRules(const ly_ctx& context, const lyd_node* config);

    /// Rules do not matter: access control is off, or a recovery session.
    bool waived_for(const Who& who) const noexcept { return !enabled || who.recovery; }

    /// The user's rule-lists, in order (RFC 8341, 3.4.5 steps 3 to 5).
    std::vector<const RuleList*> lists_of(const Who& who) const;

    /// The decision where no rule matches: marks, then defaults. `access` is one bit.
    bool permitted_by_default(Access access, const lysc_node& node) const noexcept;

    const ly_ctx& ctx;
    Marks marks;
    bool enabled = true;
    bool read_default = true;
    bool write_default = false;
    bool exec_default = true;
    bool external_groups = true;
    std::map<std::string, std::vector<std::string>> groups_of_user;
    std::vector<RuleList> lists;
    std::vector<std::string> problems;

private:
    void read_groups(const lyd_node& groups);
    void read_list(const lyd_node& entry);
    void read_rule(const lyd_node& entry, const std::string& list_name, std::vector<Rule>& rules);
};

} // namespace zpf::agent
