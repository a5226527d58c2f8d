// SPDX-License-Identifier: Apache-2.0
//
// Data trees for tests, written down as nested descriptions.
//
// A description says what differs from an ordinary node: present, in the module's namespace, merge, without value.
#ifndef OC_ATTENUATOR_TEST_TREE_HPP
#define OC_ATTENUATOR_TEST_TREE_HPP

#include "zpf/zpf.h"
#include "zpf_namespaces.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

/** One node and what is below it. */
struct Spec {
    std::optional<std::string> tag;
    std::optional<std::string> value;
    std::vector<Spec> children;
    std::optional<std::string> ns;
    int32_t edit_op = ZPF_OP_MERGE;
    bool is_present = true;

    Spec op(int32_t operation) const
    {
        Spec copy = *this;
        copy.edit_op = operation;
        return copy;
    }
    Spec absent() const
    {
        Spec copy = *this;
        copy.is_present = false;
        return copy;
    }
    Spec in(const char* name_space) const
    {
        Spec copy = *this;
        copy.ns = name_space;
        return copy;
    }
};

/** Nodes of the four modules, and one of a module that nobody knows. */
Spec oc(const char* tag, std::vector<Spec> children = {});
Spec oc(const char* tag, const char* value);
Spec ifmgr(const char* tag, std::vector<Spec> children = {});
Spec ifmgr(const char* tag, const char* value);
Spec ots(const char* tag, std::vector<Spec> children = {});
Spec ots(const char* tag, const char* value);
Spec oper(const char* tag, std::vector<Spec> children = {});
Spec oper(const char* tag, const char* value);
Spec foreign(const char* tag);

/** A tree in memory; its nodes stay where they are. */
class Tree {
public:
    explicit Tree(const Spec& spec);
    qidl_zpf_datatree* root() { return &root_; }
    /** Node by the tags on the way from the root; the test ends when there is none. */
    qidl_zpf_datatree& at(std::initializer_list<const char*> tags);

private:
    void build(qidl_zpf_datatree& node, const Spec& spec);
    char* keep(const std::optional<std::string>& text);

    std::deque<std::string> texts_;
    std::deque<std::vector<qidl_zpf_datatree>> arrays_;
    qidl_zpf_datatree root_{};
};

/** The tree as text, one line a node, with everything a walk has to put back. */
std::string describe(const qidl_zpf_datatree& node, const std::string& indent = "");

} // namespace test

#endif
