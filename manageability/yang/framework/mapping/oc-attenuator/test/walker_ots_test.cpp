// SPDX-License-Identifier: Apache-2.0
//
// Walkers over native OTS configuration and OTS state.
#include "walker_native_fixture.hpp"

namespace {

using test::kIgnoring;
using test::NativeWalker;
using test::oper;
using test::ots;
using test::Spec;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kAugment = test::kOtsCfg + "augment_lvla_interface_configuration";
const std::string kOper = test::kOtsOper + "lvla_otsoper";

// ---- OTS configuration

using OtsConfiguration = NativeWalker;

TEST_F(OtsConfiguration, MapsItsAttenuationAndNothingElse)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kAugment, ots("ots", {ots("ots-egress-amplifier-gain", "180"), ots("ots-tx-voa-attenuation", "150"),
                                         test::foreign("x")})),
              ZPF_RC_OK);
    EXPECT_THAT(framework.calls, ElementsAre("H+(ots,1)", R"(ADD AT/config/attenuation "15.00" - 0,0)", "H-(ots)"));
    EXPECT_EQ(ignored(), 1u);
}

TEST_F(OtsConfiguration, ProducesNothingFromAmplifierSettingsAlone)
{
    EXPECT_EQ(walk(kAugment, ots("ots", {ots("ots-egress-amplifier-gain", "180")})), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"ADD"}), IsEmpty());
}

TEST_F(OtsConfiguration, WalksEveryKindOfRequestAlike)
{
    for (uint32_t operation : {0u, 1u, 10u}) {
        framework.header.operation = operation;
        walk(kAugment, ots("ots", {ots("ots-tx-voa-attenuation", "150")}));
        EXPECT_EQ(framework.calls_of({"ADD"}).size(), 1u);
    }
}

TEST_F(OtsConfiguration, EntersItsListsAndProducesNothingFromThem)
{
    framework.logs_trace = true;
    struct Case {
        const char* container;
        const char* list;
        const char* key;
    };
    for (const auto& [container, list, key] :
         {Case{"ingress-channel-slice-attns", "ingress-channel-slice-attn", "ingress-channel-slice-attn"},
          Case{"raman-tx-powers", "raman-tx-power", "raman-tx-power-instance"},
          Case{"egress-channel-slice-attns", "egress-channel-slice-attn", "egress-channel-slice-attn"}}) {
        const std::string path =
            std::string{"/a1:interface-configurations/a1:interface-configuration/ots/"} + container + "/" + list;
        EXPECT_EQ(
            walk(kAugment, ots("ots", {ots(container, {ots(list, {ots(key, "1"), ots("value", "2")}), ots(list)})})),
            ZPF_RC_OK);
        const std::string entry = std::string{list};
        EXPECT_THAT(framework.calls,
                    ElementsAre("H+(ots,1)", "H+(" + std::string{container} + ",1)", "H+(" + entry + ",2)",
                                "U(" + path + ")", "cb list " + entry + " -> 0", "OUT+(" + entry + ")",
                                "OUT-(" + entry + ")", "H-(" + entry + ")", "H+(" + entry + ",2)", "U(" + path + ")",
                                "cb list " + entry + " -> 0", "OUT+(" + entry + ")", "OUT-(" + entry + ")",
                                "H-(" + entry + ")", "H-(" + std::string{container} + ")", "H-(ots)"));
        EXPECT_EQ(ignored(), 1u);
        EXPECT_EQ(tree->at({container, list, key}).key_handled, 1);
        EXPECT_THAT(framework.messages("ERR"), ElementsAre("No keys specified with a list node."));
    }
}

TEST_F(OtsConfiguration, DropsAListEntryWithoutABracket)
{
    answer("ots list", ZPF_RC_SKIP_INSTANCE);
    EXPECT_EQ(walk(kAugment, ots("ots", {ots("raman-tx-powers", {ots("raman-tx-power"), ots("raman-tx-power")})})),
              ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb list"}).size(), 2u);
    EXPECT_THAT(framework.calls_of({"OUT"}), IsEmpty());
}

TEST_F(OtsConfiguration, StopsAtAFailure)
{
    answer("ots-tx-voa-attenuation", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kAugment, ots("ots", {ots("ots-tx-voa-attenuation", "1"), ots("ots-tx-voa-attenuation", "2")})),
              ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls, ElementsAre("H+(ots,1)", "H-(ots)"));
}

using OtsAugmentEntry = NativeWalker;

TEST_F(OtsAugmentEntry, PassesOtherNodesOfItsModuleOver)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kAugment, ots("other")), ZPF_RC_OK);
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "Processing tag 'other'", kIgnoring, "End"));
    EXPECT_THAT(framework.calls, IsEmpty());
}

TEST_F(OtsAugmentEntry, KeepsTheFailureOfAMissingTagUnlessALaterOneTakesItsPlace)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kAugment, Spec{}.in(ZPF_NS_CONTROLLER_OTS_CFG)), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Tag name is not available!"));
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "Processing tag '(null)'", kIgnoring, "End"));
    EXPECT_EQ(walk(kAugment, Spec{}), ZPF_RC_BAD_TREE);
    EXPECT_EQ(walk(kAugment, test::foreign("x")), ZPF_RC_OK);
    answer("ots augments", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kAugment, Spec{}), ZPF_RC_INVALID_VALUE);
}

TEST_F(OtsAugmentEntry, RefusesChildrenThatArePromisedButNotThere)
{
    tree = std::make_unique<Tree>(ots("ots"));
    tree->root()->state_flags |= ZPF_STATE_SUBTREES;
    tree->root()->subtree_count = 1;
    EXPECT_EQ(call(kAugment, tree->root()), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Failed to get subtrees!"));
}

// ---- OTS state

using OtsState = NativeWalker;

Spec port(const char* name, const char* attenuation)
{
    return oper("ots-port", {oper("name", name), oper("ots-info", {oper("tx-voa-attenuation", attenuation)})});
}

TEST_F(OtsState, IsMappedForTheAttenuatorsOfAGet)
{
    EXPECT_EQ(walk(kOper, oper("ots-oper", {oper("ots-ports", {port("Ots0/0/0/0", "95"), port("Ots0/0/0/1", "1")})})),
              ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"ADD", "search", "cb"}),
                ElementsAre("search_or_add_list(AT,name=0/0-VOA-BST0)", "cb list OP -> 0",
                            R"(ADD AT/config/name "0/0-VOA-BST0" - 0,0)", R"(ADD AT/state/name "0/0-VOA-BST0" - 0,0)",
                            R"(ADD AT/config/attenuation "9.50" - 0,0)", R"(ADD AT/state/attenuation "9.50" - 0,0)",
                            R"(ADD AT/state/actual-attenuation/instant "9.50" - 0,0)",
                            R"(ADD AT/state/enabled "true" - 0,0)", "cb list OP -> aaf2f600"));
    EXPECT_EQ(framework.calls_of({"OUT+"}).size(), 1u);
}

TEST_F(OtsState, IsNotMappedForAnyOtherRequest)
{
    framework.logs_trace = true;
    for (uint32_t operation : {0u, 1u}) {
        framework.header.operation = operation;
        EXPECT_EQ(walk(kOper, oper("ots-oper", {oper("ots-ports", {port("Ots0/0/0/0", "95")})})), ZPF_RC_OK);
        EXPECT_THAT(framework.calls, ElementsAre("H+(ots-oper,1)", "H-(ots-oper)"));
        EXPECT_EQ(ignored(), 1u);
    }
}

TEST_F(OtsState, PassesUnmappedNodesOver)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kOper, oper("ots-oper",
                               {oper("other"),
                                oper("ots-ports",
                                     {oper("other"), test::foreign("x"),
                                      oper("ots-port", {oper("name", "Ots0/0/0/2"), oper("other"), test::foreign("x"),
                                                        oper("ots-info", {oper("other")})})})})),
              ZPF_RC_OK);
    EXPECT_EQ(ignored(), 4u);
}

TEST_F(OtsState, DropsAPortWithoutChildren)
{
    EXPECT_EQ(walk(kOper, oper("ots-oper", {oper("ots-ports", {oper("ots-port")})})), ZPF_RC_OK);
    EXPECT_EQ(framework.messages("ERR").front(), "No keys specified with a list node.");
    EXPECT_THAT(framework.calls_of({"OUT"}), IsEmpty());
}

} // namespace
