// SPDX-License-Identifier: Apache-2.0
//
// Walkers over native interface configuration.
#include "walker_native_fixture.hpp"

namespace {

using test::ifmgr;
using test::NativeWalker;
using test::ots;
using test::Spec;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kInterfaces = test::kIfmgr + "lvla_interfaceconfigurations";
const std::string kGlobal = test::kIfmgr + "lvla_globalinterfaceconfiguration";
const std::string kAugment = test::kOtsCfg + "augment_lvla_interface_configuration";

Spec interface_of(const char* name, std::vector<Spec> others = {})
{
    others.insert(others.begin(), {ifmgr("active", "act"), ifmgr("interface-name", name)});
    return ifmgr("interface-configuration", std::move(others));
}

Spec interfaces(std::vector<Spec> entries)
{
    return ifmgr("interface-configurations", std::move(entries));
}

// ---- interface configuration

using InterfaceWalker = NativeWalker;

TEST_F(InterfaceWalker, GoesOnAfterInterfacesThatAreNoAttenuators)
{
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("GigabitEthernet0/0/0/0"), interface_of("Ots0/0/0/1"),
                                            interface_of("Ots0/0/0/2")})),
              ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"ADD"}), ElementsAre("ADD AT null - 1,0", R"(ADD AT/name "0/0-VOA-BST2" - 0,0)",
                                                         R"(ADD AT/config/name "0/0-VOA-BST2" - 0,0)"));
    EXPECT_EQ(framework.calls_of({"OUT+"}).size(), 3u);
    EXPECT_EQ(framework.calls_of({"OUT-"}).size(), 3u);
}

TEST_F(InterfaceWalker, DropsAnEntryByItsListCallbackWithoutABracket)
{
    answer("IC", ZPF_RC_SKIP_INSTANCE);
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("Ots0/0/0/0"), interface_of("Ots0/0/0/2")})), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb list IC"}).size(), 2u);
    EXPECT_THAT(framework.calls_of({"OUT", "cb leaf"}), IsEmpty());
}

TEST_F(InterfaceWalker, BracketsAnEntryWhoseListCallbackFails)
{
    answer("IC", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("Ots0/0/0/0"), interface_of("Ots0/0/0/2")})),
              ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls_of({"cb", "OUT", "H-"}),
                ElementsAre("cb list IC -> aaf2f400", "OUT+(interface-configuration)", "OUT-(interface-configuration)",
                            "H-(interface-configuration)", "H-(interface-configurations)"));
}

TEST_F(InterfaceWalker, StopsAtAFailureBelow)
{
    answer("interface-name", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("Ots0/0/0/0"), interface_of("Ots0/0/0/2")})),
              ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(framework.calls_of({"cb list IC"}).size(), 1u);
}

TEST_F(InterfaceWalker, EndsWithItsContainerCallback)
{
    answer("interface-configurations", ZPF_RC_SKIP_INSTANCE);
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("Ots0/0/0/0")})), ZPF_RC_OK);
    answer("interface-configurations", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("Ots0/0/0/0")})), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls_of({"cb list"}), IsEmpty());
}

TEST_F(InterfaceWalker, StopsWhenTheListIsUnknown)
{
    framework.update_results["/interface-configurations/interface-configuration"] = ZPF_RC_BAD_TREE;
    EXPECT_EQ(walk(kInterfaces, interfaces({interface_of("Ots0/0/0/0")})), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.calls_of({"cb list", "OUT"}), IsEmpty());
}

TEST_F(InterfaceWalker, WalksAnEntryWithoutChildren)
{
    EXPECT_EQ(walk(kInterfaces, interfaces({ifmgr("interface-configuration")})), ZPF_RC_OK);
    EXPECT_EQ(framework.messages("ERR").front(), "No keys specified with a list node.");
    EXPECT_THAT(framework.calls_of({"cb", "OUT"}),
                ElementsAre("cb list IC -> 0", "OUT+(interface-configuration)", "OUT-(interface-configuration)"));
}

TEST_F(InterfaceWalker, DoesNotExpandAnEmptyContainer)
{
    EXPECT_EQ(walk(kInterfaces, interfaces({})), ZPF_RC_OK);
    EXPECT_THAT(framework.calls, ElementsAre("H+(interface-configurations,1)", "H-(interface-configurations)"));
}

TEST_F(InterfaceWalker, MarksKeysAndVisitedNodes)
{
    walk(kInterfaces, interfaces({interface_of("Ots0/0/0/2", {ifmgr("description", "x")})}));
    const auto& entry = tree->at({"interface-configuration"});
    EXPECT_EQ(tree->root()->node_type, static_cast<uint32_t>(ZPF_NODE_CONTAINER));
    EXPECT_EQ(entry.node_type, static_cast<uint32_t>(ZPF_NODE_LIST_ENTRY));
    EXPECT_EQ(entry.map_flags, ZPF_MAP_VISITED);
    for (uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(entry.subtrees[i].key_handled, 1);
        EXPECT_EQ(entry.subtrees[i].state_flags2, ZPF_STATE2_KEY_TAKEN);
    }
    EXPECT_EQ(entry.subtrees[1].node_type, static_cast<uint32_t>(ZPF_NODE_LEAF));
    EXPECT_EQ(entry.subtrees[2].key_handled, 0);
}

TEST_F(InterfaceWalker, PassesUnmappedNodesOver)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kInterfaces, interfaces({ifmgr("unknown"), interface_of("Ots0/0/0/2", {ifmgr("description", "x")}),
                                            test::foreign("interface-configuration")})),
              ZPF_RC_OK);
    EXPECT_EQ(ignored(), 3u); // unknown, active, description
    EXPECT_EQ(framework.calls_of({"cb list IC"}).size(), 1u);
}

TEST_F(InterfaceWalker, WalksTheContainersOfAnEntry)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kInterfaces,
                   interfaces({interface_of(
                       "Ots0/0/0/2", {ifmgr("dampening", {ifmgr("half-life", "1"), test::foreign("x")}),
                                      ifmgr("encapsulation", {ifmgr("encapsulation", "ppp")}),
                                      ifmgr("mtus", {ifmgr("mtu", {ifmgr("owner", "o"), ifmgr("mtu", "9")})})})})),
              ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"H+", "H-", "U(", "OUT", "cb list mtu"}),
                ElementsAre("H+(interface-configurations,1)", "H+(interface-configuration,2)", "U(IC)",
                            "OUT+(interface-configuration)", "H+(dampening,1)", "H-(dampening)", "H+(encapsulation,1)",
                            "H-(encapsulation)", "H+(mtus,1)", "H+(mtu,2)", "U(IC/mtus/mtu)", "cb list mtu -> 0",
                            "OUT+(mtu)", "OUT-(mtu)", "H-(mtu)", "H-(mtus)", "OUT-(interface-configuration)",
                            "H-(interface-configuration)", "H-(interface-configurations)"));
    EXPECT_EQ(ignored(), 4u); // active, half-life, encapsulation, mtu; the key of mtu is one
}

TEST_F(InterfaceWalker, GoesOnAfterAnMtuThatIsDropped)
{
    answer("mtu", ZPF_RC_SKIP_INSTANCE);
    EXPECT_EQ(
        walk(kInterfaces, interfaces({interface_of("Ots0/0/0/2", {ifmgr("mtus", {ifmgr("mtu", {ifmgr("owner", "a")}),
                                                                                 ifmgr("mtu", {ifmgr("owner", "b")})}),
                                                                  ots("ots")})})),
        ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb list mtu"}).size(), 2u);
    EXPECT_EQ(framework.calls_of({"H+(ots,1)"}).size(), 1u);
}

TEST_F(InterfaceWalker, RefusesBadTrees)
{
    EXPECT_EQ(walk(kInterfaces, interfaces({Spec{}})), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Tag name is not available!"));
    EXPECT_EQ(walk(kInterfaces, interfaces({ifmgr("interface-configuration", {Spec{}})})), ZPF_RC_BAD_TREE);
    tree = std::make_unique<Tree>(interfaces({ifmgr("interface-configuration")}));
    for (qidl_zpf_datatree* node : {&tree->at({"interface-configuration"}), tree->root()}) {
        framework.log.clear();
        node->state_flags |= ZPF_STATE_SUBTREES;
        node->subtrees = nullptr;
        node->subtree_count = 1;
        EXPECT_EQ(call(kInterfaces, tree->root()), ZPF_RC_BAD_TREE);
        EXPECT_THAT(framework.messages("ERR"), ElementsAre("Failed to get subtrees!"));
        EXPECT_THAT(framework.calls_of({"oc_error_path"}), IsEmpty());
    }
}

TEST_F(InterfaceWalker, ReportsAndRemembersALeafThatTheStoreCouldNotRead)
{
    framework.logs_trace = true;
    tree = std::make_unique<Tree>(interfaces({interface_of("Ots0/0/0/2")}));
    tree->at({"interface-configuration", "interface-name"}).map_flags = ZPF_MAP_XPATH_ERROR;
    EXPECT_EQ(call(kInterfaces, tree->root()), ZPF_RC_OK);
    EXPECT_THAT(framework.messages("TRC"), ::testing::Contains("got xpath error node "));
    EXPECT_EQ(framework.request.xpath_error_seen, 1u);
    EXPECT_EQ(framework.calls_of({"cb leaf"}).size(), 1u);
}

TEST_F(InterfaceWalker, WorksWithoutARequest)
{
    framework.context.request = nullptr;
    tree = std::make_unique<Tree>(ots("ots", {ots("ots-tx-voa-attenuation", "30")}));
    tree->at({"ots-tx-voa-attenuation"}).map_flags = ZPF_MAP_XPATH_ERROR;
    EXPECT_EQ(call(kAugment, tree->root()), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"ADD"}), ElementsAre(R"(ADD AT/config/attenuation "3.00" - 0,0)"));
    framework.context.request = &framework.request;
}

TEST_F(InterfaceWalker, StaysOutOfTheHierarchyInAnExpansion)
{
    framework.request.walk_mode = 1;
    walk(kInterfaces, interfaces({interface_of("Ots0/0/0/2")}));
    EXPECT_THAT(framework.calls_of({"H+", "H-"}), IsEmpty());
}

using GlobalInterfaceWalker = NativeWalker;

TEST_F(GlobalInterfaceWalker, PassesEverythingOver)
{
    framework.logs_trace = true;
    EXPECT_EQ(walk(kGlobal, ifmgr("global-interface-configuration", {ifmgr("link-status", "x"), test::foreign("y")})),
              ZPF_RC_OK);
    EXPECT_EQ(ignored(), 1u);
    EXPECT_THAT(framework.calls,
                ElementsAre("H+(global-interface-configuration,1)", "H-(global-interface-configuration)"));
}

} // namespace
