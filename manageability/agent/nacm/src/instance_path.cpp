// SPDX-License-Identifier: Apache-2.0
//
// Parser and matcher of rule paths.
#include "instance_path.hpp"

#include <algorithm>
#include <stdexcept>

namespace zpf::agent {

namespace {

constexpr int kPathNodes = LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST | LYS_ANYDATA | LYS_ACTION | LYS_NOTIF;

class PathParser {
public:
    PathParser(const ly_ctx& ctx, std::string_view text) : ctx_(ctx), rest_(text) {}

    InstancePath parse()
    {
        InstancePath path;
        if (rest_ == "/") {
            return path;
        }
        do {
            expect("/");
            const lysc_node* parent = path.empty() ? nullptr : path.back().schema;
            path.push_back({find(parent, name()), {}});
            while (take("[")) {
                path.back().keys.push_back(key_match(*path.back().schema));
            }
        } while (!rest_.empty());
        return path;
    }

private:
    struct Name {
        std::string_view module; ///< empty: the parent's
        std::string_view node;
    };

    [[noreturn]] void fail(const std::string& what) const
    {
        throw std::invalid_argument(what + (rest_.empty() ? " at the end" : " before \"" + std::string(rest_) + "\""));
    }

    bool take(std::string_view token)
    {
        if (!rest_.starts_with(token)) {
            return false;
        }
        rest_.remove_prefix(token.size());
        return true;
    }

    void expect(std::string_view token)
    {
        if (!take(token)) {
            fail("'" + std::string(token) + "' is missing");
        }
    }

    void skip_space() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size())); }

    std::string_view identifier()
    {
        const std::size_t length = std::min(rest_.find_first_of("/[]:='\" \t\r\n"), rest_.size());
        if (length == 0) {
            fail("a name is missing");
        }
        const std::string_view found = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return found;
    }

    Name name()
    {
        const std::string_view first = identifier();
        return take(":") ? Name{first, identifier()} : Name{{}, first};
    }

    const lysc_node* find(const lysc_node* parent, const Name& name) const
    {
        if (name.module.empty() && parent == nullptr) {
            fail("no module is given for node " + std::string(name.node));
        }
        const lys_module* module = name.module.empty()
                                       ? parent->module
                                       : ly_ctx_get_module_implemented(&ctx_, std::string(name.module).c_str());
        if (module == nullptr) {
            fail("module " + std::string(name.module) + " is not known");
        }
        const lysc_node* found = lys_find_child(parent, module, name.node.data(), name.node.size(), kPathNodes, 0);
        if (found == nullptr) {
            fail("node " + std::string(name.node) + " does not exist");
        }
        return found;
    }

    /// What stands in brackets, the opening one taken already.
    KeyMatch key_match(const lysc_node& node)
    {
        skip_space();
        KeyMatch match;
        if (take(".")) {
            if (node.nodetype != LYS_LEAFLIST) {
                fail(std::string(node.name) + " is no leaf-list");
            }
        } else {
            match.key = find_key(node, name());
        }
        skip_space();
        expect("=");
        skip_space();
        match.users_name = takes_users_name();
        if (!match.users_name) {
            match.value = canonical(match.key != nullptr ? *match.key : node, literal());
        }
        skip_space();
        expect("]");
        return match;
    }

    const lysc_node* find_key(const lysc_node& node, const Name& name) const
    {
        const lysc_node* found = node.nodetype == LYS_LIST ? find(&node, name) : nullptr;
        if (found == nullptr || !lysc_is_key(found)) {
            fail(std::string(name.node) + " is no key of " + node.name);
        }
        return found;
    }

    bool takes_users_name()
    {
        // libyang loses the dollar sign of a variable when it writes an expression anew. A bare word can be nothing
        // else.
        take("$");
        return take("USER");
    }

    std::string_view literal()
    {
        if (!rest_.starts_with('\'') && !rest_.starts_with('"')) {
            fail("a value in quotes or $USER is missing");
        }
        const std::size_t end = rest_.find(rest_.front(), 1);
        if (end == std::string_view::npos) {
            fail("a quote does not end");
        }
        const std::string_view found = rest_.substr(1, end - 1);
        rest_.remove_prefix(end + 1);
        return found;
    }

    std::string canonical(const lysc_node& leaf, std::string_view value) const
    {
        const char* text = nullptr;
        const LY_ERR rc = lyd_value_validate(&ctx_, &leaf, value.data(), value.size(), nullptr, nullptr, &text);
        if (rc != LY_SUCCESS && rc != LY_EINCOMPLETE) { // incomplete: a reference whose target is not looked up here
            fail("'" + std::string(value) + "' is no value of " + leaf.name);
        }
        std::string result = text != nullptr ? text : std::string(value);
        lydict_remove(&ctx_, text);
        return result;
    }

    const ly_ctx& ctx_;
    std::string_view rest_;
};

const lyd_node* find_key_leaf(const lyd_node& entry, const lysc_node* key)
{
    for (const lyd_node* child = lyd_child(&entry); child != nullptr && lysc_is_key(child->schema);
         child = child->next) {
        if (child->schema == key) {
            return child;
        }
    }
    return nullptr;
}

} // namespace

InstancePath parse_instance_path(const ly_ctx& ctx, std::string_view text)
{
    return PathParser(ctx, text).parse();
}

bool matches_step(const PathStep& step, const lyd_node& node, const std::string& user)
{
    if (step.schema != node.schema) {
        return false;
    }
    for (const KeyMatch& match : step.keys) {
        const lyd_node* leaf = match.key == nullptr ? &node : find_key_leaf(node, match.key);
        if (leaf == nullptr || (match.users_name ? user : match.value) != lyd_get_value(leaf)) {
            return false;
        }
    }
    return true;
}

} // namespace zpf::agent
