// SPDX-License-Identifier: Apache-2.0
//
// For tests of translations from native to OpenConfig: one translation, one native node, the adds it makes for the
// client's request.
#ifndef OC_ATTENUATOR_TO_HIGH_FIXTURE_HPP
#define OC_ATTENUATOR_TO_HIGH_FIXTURE_HPP

#include "plugin_fixture.hpp"

namespace test {

class ToHigh : public PluginTest {
protected:
    ToHigh() { framework.header.operation = ZPF_REQUEST_GET_CONFIG; }

    std::vector<std::string> adds_of(const std::string& function, const Spec& leaf)
    {
        Tree tree{leaf};
        return adds_at(function, tree.root());
    }
    std::vector<std::string> adds_at(const std::string& function, qidl_zpf_datatree* node)
    {
        framework.calls.clear();
        framework.adds.clear();
        framework.log.clear();
        result = call(function, node);
        for (const test::Add& add : framework.adds) {
            EXPECT_EQ(add.ns, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR);
            EXPECT_EQ(add.tree, &framework.out);
        }
        return framework.calls_of({"ADD"});
    }
    /** Makes the client's request one for this attenuator. */
    void request_key(const char* key)
    {
        requested_ = std::make_unique<Tree>(
            Spec{std::nullopt,
                 std::nullopt,
                 {oc("optical-attenuator", {oc("attenuators", {oc("attenuator", {oc("name", key)})})})},
                 std::nullopt});
        framework.request.reg_dup_datatree = requested_->root();
    }
    /** Limits the client's request to state. */
    void request_state_only()
    {
        framework.header.selection_flags = 1;
        framework.header.content_kind = 2;
    }

    qerrno result = ZPF_RC_OK;

private:
    std::unique_ptr<Tree> requested_;
};

} // namespace test

#endif
