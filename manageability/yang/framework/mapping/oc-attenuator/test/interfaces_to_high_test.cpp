// SPDX-License-Identifier: Apache-2.0
//
// Translations of native interfaces to OpenConfig: which are attenuators, their names, and the way to their controller.
#include "to_high_fixture.hpp"

namespace {

using test::ifmgr;
using test::ots;
using test::ToHigh;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kListToHigh = "oc_opt_att_attenuator_list_to_high";
constexpr const char* kKeyToHigh = "oc_opt_att_attenuator_key_to_high";

class AttenuatorListToHigh : public ToHigh {
protected:
    /** Calls it as the walker does: the entry is the second record of the hierarchy. */
    std::vector<std::string> adds_for(const char* interface_name, int32_t edit_op = ZPF_OP_MERGE)
    {
        Tree tree{
            ifmgr("interface-configurations",
                  {ifmgr("interface-configuration", {ifmgr("active", "act"), ifmgr("interface-name", interface_name)})
                       .op(edit_op)})};
        framework.hierarchy.clear();
        framework.stand_in(*tree.root(), 1);
        framework.stand_in(tree.at({"interface-configuration"}), 2);
        auto adds = adds_at(kListToHigh, &tree.at({"interface-configuration"}));
        framework.hierarchy.clear();
        framework.publish_hierarchy();
        return adds;
    }
};

TEST_F(AttenuatorListToHigh, OpensAnEntryForTheTwoControllersOnly)
{
    for (const char* name : {"Ots0/0/0/0", "Ots0/0/0/2"}) {
        EXPECT_THAT(adds_for(name), ElementsAre("ADD AT null - 1,0")) << name;
        EXPECT_EQ(result, ZPF_RC_OK);
    }
    for (const char* name : {"Ots0/0/0/1", "GigabitEthernet0/0/0/0", "Ots0/0/0/", ""}) {
        EXPECT_THAT(adds_for(name), IsEmpty()) << name;
        EXPECT_EQ(result, ZPF_RC_OK);
    }
}

TEST_F(AttenuatorListToHigh, MirrorsADelete)
{
    EXPECT_THAT(adds_for("Ots0/0/0/2", ZPF_OP_DELETE), ElementsAre("ADD AT null src:interface-configuration(op3) 1,0"));
}

TEST_F(AttenuatorListToHigh, DoesNotAskForAnEntryThatIsNotInTheHierarchy)
{
    Tree tree{ifmgr("interface-configuration", {ifmgr("interface-name", "GigabitEthernet0/0/0/0")})};
    framework.stand_in(*tree.root(), 1);
    EXPECT_THAT(adds_at(kListToHigh, tree.root()), ElementsAre("ADD AT null - 1,0"));
}

TEST_F(AttenuatorListToHigh, ReportsWhatItDecides)
{
    framework.logs_trace = true;
    adds_for("Ots0/0/0/1");
    EXPECT_THAT(framework.messages("TRC"), ::testing::IsSupersetOf({"interface_key: Ots0/0/0/1",
                                                                    "controller name is not good, attenuator_name: "}));
    adds_for("Ots0/0/0/2");
    EXPECT_THAT(framework.messages("TRC"), ::testing::Contains("not a delete request set high node"));
    adds_for("Ots0/0/0/2", ZPF_OP_DELETE);
    EXPECT_THAT(framework.messages("TRC"), ::testing::Contains("delete request set high node"));
}

TEST_F(AttenuatorListToHigh, ReturnsTheResultOfTheAdd)
{
    framework.on_add = [](const test::Add&) { return ZPF_RC_BAD_TREE; };
    adds_for("Ots0/0/0/2");
    EXPECT_EQ(result, ZPF_RC_BAD_TREE);
}

using AttenuatorKeyToHigh = ToHigh;

TEST_F(AttenuatorKeyToHigh, AddsTheNames)
{
    EXPECT_THAT(adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/0")),
                ElementsAre(R"(ADD AT/name "0/0-VOA-BST0" - 0,0)", R"(ADD AT/config/name "0/0-VOA-BST0" - 0,0)"));
    request_key("0/0-VOA-BST2");
    EXPECT_THAT(adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/2")),
                ElementsAre(R"(ADD AT/name "0/0-VOA-BST2" - 0,0)", R"(ADD AT/config/name "0/0-VOA-BST2" - 0,0)"));
}

TEST_F(AttenuatorKeyToHigh, LeavesConfigurationOutOnlyWhenStateAloneIsSelected)
{
    const auto leaf = ifmgr("interface-name", "Ots0/0/0/0");
    request_state_only();
    EXPECT_THAT(adds_of(kKeyToHigh, leaf), ElementsAre(R"(ADD AT/name "0/0-VOA-BST0" - 0,0)"));
    framework.header.selection_flags = 0x80000000u;
    EXPECT_EQ(adds_of(kKeyToHigh, leaf).size(), 1u);
    framework.header.selection_flags = 0;
    EXPECT_EQ(adds_of(kKeyToHigh, leaf).size(), 2u);
    framework.header.selection_flags = 1;
    framework.header.content_kind = 1;
    EXPECT_EQ(adds_of(kKeyToHigh, leaf).size(), 2u);
}

TEST_F(AttenuatorKeyToHigh, DropsAnInterfaceThatIsNoAttenuator)
{
    EXPECT_THAT(adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/1")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_SKIP_INSTANCE);
}

TEST_F(AttenuatorKeyToHigh, AddsNothingWithoutAValue)
{
    EXPECT_THAT(adds_of(kKeyToHigh, ifmgr("interface-name")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
}

TEST_F(AttenuatorKeyToHigh, AddsNothingForAnAttenuatorThatIsNotAskedForAndDoesNotDropIt)
{
    framework.logs_error = true;
    request_key("0/0-VOA-BST2");
    EXPECT_THAT(adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/0")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
    EXPECT_THAT(framework.messages("ERR"),
                ElementsAre("attenuator_name [0/0-VOA-BST0] does not match with key [0/0-VOA-BST2], discard it!"));
}

TEST_F(AttenuatorKeyToHigh, TakesALongRequestedKeyForAnother)
{
    request_key("0/0-VOA-BST0 and a long tail");
    EXPECT_THAT(adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/0")), IsEmpty());
}

TEST_F(AttenuatorKeyToHigh, ReportsKeyAndPathInTheirOwnWords)
{
    framework.logs_trace = true;
    request_key("0/0-VOA-BST2");
    adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/2"));
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf(
                    {" attenuator_key= 0/0-VOA-BST2", "controller_name = /", "reg_dup_datatree key: 0/0-VOA-BST2"}));
}

TEST_F(AttenuatorKeyToHigh, ReturnsTheResultOfTheLastAdd)
{
    qerrno code = 1;
    framework.on_add = [&code](const test::Add&) { return code++; };
    adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/2"));
    EXPECT_EQ(result, 2u);
    request_state_only();
    code = 1;
    adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/2"));
    EXPECT_EQ(result, 1u);
}

TEST_F(AttenuatorKeyToHigh, WorksWithoutARequest)
{
    framework.context.request = nullptr;
    EXPECT_EQ(adds_of(kKeyToHigh, ifmgr("interface-name", "Ots0/0/0/2")).size(), 2u);
    framework.context.request = &framework.request;
}

const std::string kInterfaceAugments =
    test::kIfmgr + "lvla_interfaceconfigurations_interfaceconfiguration_parse_augments";

using InterfaceAugments = ToHigh;

TEST_F(InterfaceAugments, HandOtsConfigurationOnAndIgnoreTheRest)
{
    EXPECT_THAT(adds_of(kInterfaceAugments, ots("ots", {ots("ots-tx-voa-attenuation", "30")})),
                ElementsAre(R"(ADD AT/config/attenuation "3.00" - 0,0)"));
    EXPECT_THAT(adds_of(kInterfaceAugments, test::foreign("ots")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
    framework.on_add = [](const test::Add&) { return ZPF_RC_BAD_TREE; };
    adds_of(kInterfaceAugments, ots("ots", {ots("ots-tx-voa-attenuation", "30")}));
    EXPECT_EQ(result, ZPF_RC_BAD_TREE);
}

} // namespace
