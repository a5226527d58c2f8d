// SPDX-License-Identifier: Apache-2.0
//
// For tests of the list walker: a request with entries, walked from its root.
#ifndef OC_ATTENUATOR_WALKER_LIST_FIXTURE_HPP
#define OC_ATTENUATOR_WALKER_LIST_FIXTURE_HPP

#include "plugin_fixture.hpp"

namespace test {

constexpr uint32_t kGet = ZPF_REQUEST_GET;
constexpr uint32_t kGetConfig = ZPF_REQUEST_GET_CONFIG;
constexpr uint32_t kEdit = ZPF_REQUEST_EDIT_CONFIG;

class ListWalker : public PluginTest {
protected:
    ListWalker() { framework.logs_error = true; }

    /** Walks a request that has these entries. */
    qerrno walk(uint32_t operation, std::vector<Spec> entries)
    {
        framework.calls.clear();
        framework.adds.clear();
        framework.log.clear();
        framework.header.operation = operation;
        tree = std::make_unique<Tree>(oc("optical-attenuator", {oc("attenuators", std::move(entries))}));
        before = describe(*tree->root());
        const qerrno result = call(kOx + "lvla_opticalattenuator", tree->root());
        EXPECT_TRUE(framework.hierarchy.empty());
        EXPECT_EQ(framework.hierarchy_mismatches, 0u);
        EXPECT_TRUE(framework.itree.empty());
        EXPECT_EQ(framework.request.subtree_delete_allowed, 0u);
        return result;
    }
    qidl_zpf_datatree& entry() { return tree->at({"attenuators", "attenuator"}); }
    bool is_put_back() { return describe(*tree->root()) == before; }
    std::vector<std::string> entry_callbacks() const
    {
        return framework.calls_of({"cb list", "cb leaf", "cb cont config", "cb cont state"});
    }
    void answer(const std::string& callback, qerrno code)
    {
        framework.on_callback = [=](const std::string& called) {
            return called == callback ? std::optional{code} : std::nullopt;
        };
    }

    std::unique_ptr<Tree> tree;
    std::string before;
};

inline Spec name(const char* value = "0/0-VOA-BST2")
{
    return oc("name", value);
}

inline Spec attenuator(std::vector<Spec> children)
{
    return oc("attenuator", std::move(children));
}

} // namespace test

#endif
