// SPDX-License-Identifier: Apache-2.0
//
// The walker templates on records of this test: what no walker of the plug-in can be brought to by its callers, which
// never hand a null node or output tree on.
#include "plugin_fixture.hpp"

#include "walker_native.hpp"
#include "walker_request_list.hpp"

namespace {

using namespace oc_attenuator;

qerrno never_called(zpf_map_ctx /*ctx*/, const qidl_zpf_datatree* /*node*/, qidl_zpf_datatree* /*out*/)
{
    ADD_FAILURE() << "called without arguments";
    return ZPF_RC_OK;
}

constexpr RequestLeaf kLeaf{function("a_leaf"), never_called};
constexpr RequestList kList{function("a_list"), "/list",      "key", "/list/key", "config",
                            never_called,       never_called, {},    never_called};
constexpr NativeLeaf kNativeLeaf{function("a_native_leaf"), never_called};
constexpr NativeList kNativeList{
    function("a_native_list"), "ns", "/list", {}, never_called, {}, never_called, ZPF_RC_OK};

class WalkerTemplate : public test::PluginTest {};

TEST_F(WalkerTemplate, RefusesAMissingNodeOrOutput)
{
    framework.logs_error = true;
    test::Tree tree{test::oc("node")};
    for (NodeCallback* walk : {walk_request_leaf<kLeaf>, walk_request_list<kList>, walk_native_leaf<kNativeLeaf>,
                               walk_native_list<kNativeList>}) {
        for (const auto& [node, out] :
             {std::pair<qidl_zpf_datatree*, qidl_zpf_datatree*>{nullptr, &framework.out}, {tree.root(), nullptr}}) {
            framework.calls.clear();
            framework.log.clear();
            EXPECT_EQ(walk(framework.ctx(), node, out), ZPF_RC_INVALID_ARGS);
            EXPECT_THAT(framework.calls, ::testing::ElementsAre("oc_error_path"));
            EXPECT_THAT(framework.messages("ERR"), ::testing::ElementsAre(test::kInvalidArguments));
        }
    }
}

} // namespace
