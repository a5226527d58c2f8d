// SPDX-License-Identifier: Apache-2.0
//
// Translations of the attenuator list and its names from OpenConfig to native: what each adds for which request.
#include "to_low_fixture.hpp"

namespace {

using test::kEdit;
using test::kGet;
using test::kGetConfig;
using test::oc;
using test::Spec;
using test::ToLow;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kListToLow = "oc_opt_att_attenuator_list_to_low";
constexpr const char* kKeyToLow = "oc_opt_att_attenuator_key_to_low";
constexpr const char* kConfigNameToLow = "oc_opt_att_cfg_get_attenuator_key_to_low";
constexpr const char* kStateNameToLow = "oc_opt_att_state_get_attenuator_key_to_low";

Spec keyed_request(const char* key)
{
    return oc("optical-attenuator", {oc("attenuators", {oc("attenuator", {oc("name", key)})})});
}

// ---- the list

const std::vector<std::string> kInterfaceTriples{
    "ADD IC null src:attenuator(op0) 1,0",
    R"(ADD IC/interface-name "Ots0/0/0/0" src:attenuator(op0) 0,1)",
    R"(ADD IC/active "act" - 0,1)",
    "ADD IC null src:attenuator(op0) 1,0",
    R"(ADD IC/interface-name "Ots0/0/0/2" src:attenuator(op0) 0,1)",
    R"(ADD IC/active "act" - 0,1)",
};
const std::vector<std::string> kPortTriples{
    "ADD OP null - 1,0", R"(ADD OP/name "Ots0/0/0/0" src:attenuator(op0) 0,1)", "ADD OP/info/voa null - 0,1",
    "ADD OP null - 1,0", R"(ADD OP/name "Ots0/0/0/2" src:attenuator(op0) 0,1)", "ADD OP/info/voa null - 0,1",
};

class AttenuatorListToLow : public ToLow {
protected:
    /** The request that the translation looks for a key in. */
    void stand_in_request(Tree& request) { framework.stand_in(*request.root(), 1); }
};

TEST_F(AttenuatorListToLow, OpensTheEntriesOfBothControllersWithoutAKey)
{
    Tree request{oc("optical-attenuator")};
    stand_in_request(request);
    for (uint32_t operation : {kEdit, kGetConfig}) {
        EXPECT_EQ(adds_of(kListToLow, operation, oc("attenuator")), kInterfaceTriples);
    }
    std::vector<std::string> both = kInterfaceTriples;
    both.insert(both.end(), kPortTriples.begin(), kPortTriples.end());
    EXPECT_EQ(adds_of(kListToLow, kGet, oc("attenuator")), both);
}

TEST_F(AttenuatorListToLow, WorksWithoutAHierarchyAsWithoutAKey)
{
    EXPECT_EQ(adds_of(kListToLow, kEdit, oc("attenuator")), kInterfaceTriples);
}

TEST_F(AttenuatorListToLow, OpensOneConfigurationEntryForAKeyAndNothingOperational)
{
    Tree request{keyed_request("0/0-VOA-BST2")};
    stand_in_request(request);
    for (uint32_t operation : {kEdit, kGetConfig, kGet}) {
        EXPECT_THAT(adds_of(kListToLow, operation, oc("attenuator")), ElementsAre("ADD IC null - 1,0"));
    }
}

TEST_F(AttenuatorListToLow, OpensAPortOnlyForAListNodeThatCarriesTheNameItself)
{
    Tree request{keyed_request("0/0-VOA-BST2")};
    stand_in_request(request);
    EXPECT_THAT(adds_of(kListToLow, kGet, oc("attenuator", "0/0-VOA-BST2")),
                ElementsAre("ADD IC null - 1,0", "ADD OP null - 1,0"));
    EXPECT_THAT(adds_of(kListToLow, kGet, oc("attenuator", "0/0-VOA-BST1")), ElementsAre("ADD IC null - 1,0"));
    EXPECT_THAT(adds_of(kListToLow, kGetConfig, oc("attenuator", "0/0-VOA-BST2")), ElementsAre("ADD IC null - 1,0"));
}

TEST_F(AttenuatorListToLow, GivesADeletedEntryTheClientsOperation)
{
    Tree request{keyed_request("0/0-VOA-BST2")};
    stand_in_request(request);
    EXPECT_THAT(adds_of(kListToLow, kEdit, oc("attenuator"), ZPF_OP_DELETE),
                ElementsAre("ADD IC null src:attenuator(op3) 1,0"));
    EXPECT_THAT(adds_of(kListToLow, kEdit, oc("attenuator"), ZPF_OP_REMOVE),
                ElementsAre("ADD IC null src:attenuator(op4) 1,0"));
}

TEST_F(AttenuatorListToLow, ReturnsTheResultOfTheLastAddThatCounts)
{
    qerrno code = 1;
    framework.on_add = [&code](const test::Add&) { return code++; };
    adds_of(kListToLow, kEdit, oc("attenuator"));
    EXPECT_EQ(result, 6u);
    code = 1;
    adds_of(kListToLow, kGet, oc("attenuator"));
    EXPECT_EQ(result, 12u);
    Tree request{keyed_request("0/0-VOA-BST2")};
    stand_in_request(request);
    code = 1;
    adds_of(kListToLow, kGet, oc("attenuator"));
    EXPECT_EQ(result, 1u);
}

TEST_F(AttenuatorListToLow, ReportsTheKeyItHasFound)
{
    framework.logs_trace = true;
    Tree request{keyed_request("0/0-VOA-BST2")};
    stand_in_request(request);
    adds_of(kListToLow, kGet, oc("attenuator"));
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf({"node_data key: 0/0-VOA-BST2", "Get request with key = 0/0-VOA-BST2"}));
    EXPECT_EQ(framework.messages("TRC").back(), "End");
}

TEST_F(AttenuatorListToLow, ReportsEachControllerWithoutAKey)
{
    framework.logs_trace = true;
    adds_of(kListToLow, kGet, oc("attenuator"));
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf(
                    {"Get request without key", "controller_att_ots: Ots0/0/0/0", "controller_att_ots: Ots0/0/0/2"}));
}

TEST_F(AttenuatorListToLow, UsesTheNamespacesOfTheNativeModules)
{
    adds_of(kListToLow, kGet, oc("attenuator"));
    for (const test::Add& add : framework.adds) {
        EXPECT_EQ(add.ns,
                  add.path.rfind("/interface-configurations/", 0) == 0 ? ZPF_NS_IFMGR_CFG : ZPF_NS_CONTROLLER_OTS_OPER);
        EXPECT_EQ(add.tree, &framework.out);
        EXPECT_FALSE(add.wants_node);
    }
}

// ---- the key

using AttenuatorKeyToLow = ToLow;

TEST_F(AttenuatorKeyToLow, AddsTheControllerInReads)
{
    EXPECT_THAT(adds_of(kKeyToLow, kGetConfig, oc("name", "0/0-VOA-BST2")),
                ElementsAre(R"(ADD IC/interface-name "Ots0/0/0/2" - 0,0)", R"(ADD IC/active "act" - 0,0)"));
    EXPECT_THAT(adds_of(kKeyToLow, kGet, oc("name", "0/0-VOA-BST0")),
                ElementsAre(R"(ADD IC/interface-name "Ots0/0/0/0" - 0,0)", R"(ADD IC/active "act" - 0,0)",
                            R"(ADD OP/name "Ots0/0/0/0" - 0,0)"));
}

TEST_F(AttenuatorKeyToLow, AddsTheControllerWithItsSourceInAnEdit)
{
    EXPECT_THAT(adds_of(kKeyToLow, kEdit, oc("name", "0/0-VOA-BST2")),
                ElementsAre(R"(ADD IC/interface-name "Ots0/0/0/2" src:name(op0) 0,0)", R"(ADD IC/active "act" - 0,0)"));
}

TEST_F(AttenuatorKeyToLow, OpensTheEntryOfADeleteAndKeepsActive)
{
    EXPECT_THAT(adds_of(kKeyToLow, kEdit, oc("name", "0/0-VOA-BST2"), ZPF_OP_DELETE),
                ElementsAre("ADD IC null src:name(op3) 1,0", R"(ADD IC/interface-name "Ots0/0/0/2" src:name(op3) 0,0)",
                            R"(ADD IC/active "act" - 0,0)"));
}

TEST_F(AttenuatorKeyToLow, PassesLooseNamesOnAsTheySpell)
{
    EXPECT_THAT(adds_of(kKeyToLow, kEdit, oc("name", "0/0-VOA-BST01")).front(),
                R"(ADD IC/interface-name "Ots0/0/0/1" src:name(op0) 0,0)");
    EXPECT_THAT(adds_of(kKeyToLow, kEdit, oc("name", "x0/0-VOA-BST2y")).front(),
                R"(ADD IC/interface-name "Ots0/0/0/-1" src:name(op0) 0,0)");
}

TEST_F(AttenuatorKeyToLow, RefusesAMalformedNameInAGetOnly)
{
    for (const char* name : {"0/0-VOA-BST1", "ABC", ""}) {
        EXPECT_THAT(adds_of(kKeyToLow, kEdit, oc("name", name)), IsEmpty());
        EXPECT_EQ(result, ZPF_RC_OK);
        EXPECT_THAT(adds_of(kKeyToLow, kGetConfig, oc("name", name)), IsEmpty());
        EXPECT_EQ(result, ZPF_RC_OK);
        EXPECT_THAT(adds_of(kKeyToLow, kGet, oc("name", name)), IsEmpty());
        EXPECT_EQ(result, ZPF_RC_INVALID_VALUE);
        framework.clear_error();
    }
}

TEST_F(AttenuatorKeyToLow, RefusesWithTagThenMessageThenPath)
{
    adds_of(kKeyToLow, kGet, oc("name", "ABC"));
    const std::string message = R"(strdup("Invalid key input:accept only 0/0-VOA-BST0 or 0/0-VOA-BST2","ZPF MAP"))";
    EXPECT_THAT(framework.calls, ElementsAre(R"(strdup("name","ocatt-tag"))", message, "oc_error_path"));
    EXPECT_EQ(error_tag(), "name");
    EXPECT_EQ(error_message(), "Invalid key input:accept only 0/0-VOA-BST0 or 0/0-VOA-BST2");
}

TEST_F(AttenuatorKeyToLow, AddsAnEmptyPortNameForAGetWithoutValue)
{
    EXPECT_THAT(adds_of(kKeyToLow, kGet, oc("name")), ElementsAre(R"(ADD OP/name "" - 0,0)"));
    EXPECT_THAT(adds_of(kKeyToLow, kGetConfig, oc("name")), IsEmpty());
    EXPECT_THAT(adds_of(kKeyToLow, kEdit, oc("name")), IsEmpty());
}

TEST_F(AttenuatorKeyToLow, ReturnsTheResultOfTheLastAdd)
{
    qerrno code = 1;
    framework.on_add = [&code](const test::Add&) { return code++; };
    adds_of(kKeyToLow, kEdit, oc("name", "0/0-VOA-BST2"));
    EXPECT_EQ(result, 2u);
    code = 1;
    adds_of(kKeyToLow, kGet, oc("name", "0/0-VOA-BST2"));
    EXPECT_EQ(result, 3u);
}

TEST_F(AttenuatorKeyToLow, ReportsTheConversionAndTheKindOfRequest)
{
    framework.logs_trace = true;
    const auto reported = [this](uint32_t operation, int32_t edit_op) {
        framework.log.clear();
        adds_of(kKeyToLow, operation, oc("name", "0/0-VOA-BST2"), edit_op);
        return framework.messages("TRC");
    };
    const std::string name = "attenuator_name = 0/0-VOA-BST2";
    const std::string controller = "controller_name = Ots0/0/0/2";
    const std::string self = kKeyToLow;
    EXPECT_THAT(reported(kGet, 0), ElementsAre("Start", name, controller, self + ": get or get-config", "End"));
    EXPECT_THAT(reported(kEdit, 3), ElementsAre("Start", name, controller, self + ": delete", "End"));
    EXPECT_THAT(reported(kEdit, 0), ElementsAre("Start", name, controller, self + ": edit-config", "End"));
}

TEST_F(AttenuatorKeyToLow, TakesAContextWithoutRequestForAnEdit)
{
    framework.context.request = nullptr;
    Tree tree{oc("name", "0/0-VOA-BST2")};
    EXPECT_EQ(call(kKeyToLow, tree.root()), ZPF_RC_OK);
    EXPECT_EQ(framework.adds.size(), 2u);
    EXPECT_EQ(framework.adds[0].source, tree.root());
    framework.context.request = &framework.request;
}

// ---- names of config and state

using ConfigNameToLow = ToLow;

TEST_F(ConfigNameToLow, AddsTheController)
{
    EXPECT_THAT(adds_of(kConfigNameToLow, kGet, oc("name", "0/0-VOA-BST2")),
                ElementsAre(R"(ADD IC/interface-name "Ots0/0/0/2" - 0,0)", R"(ADD IC/active "act" - 0,0)"));
    EXPECT_THAT(adds_of(kConfigNameToLow, kEdit, oc("name", "0/0-VOA-BST2")),
                ElementsAre(R"(ADD IC/interface-name "Ots0/0/0/2" src:name(op0) 0,0)", R"(ADD IC/active "act" - 0,0)"));
    EXPECT_THAT(adds_of(kConfigNameToLow, kEdit, oc("name", "0/0-VOA-BST2"), ZPF_OP_DELETE),
                ElementsAre(R"(ADD IC/interface-name "Ots0/0/0/2" src:name(op3) 0,0)", R"(ADD IC/active "act" - 0,0)"));
}

TEST_F(ConfigNameToLow, IgnoresAnyOtherName)
{
    for (uint32_t operation : {kGet, kGetConfig, kEdit}) {
        EXPECT_THAT(adds_of(kConfigNameToLow, operation, oc("name", "0/0-VOA-BST1")), IsEmpty());
        EXPECT_EQ(result, ZPF_RC_OK);
        EXPECT_THAT(adds_of(kConfigNameToLow, operation, oc("name")), IsEmpty());
        EXPECT_EQ(result, ZPF_RC_OK);
    }
}

TEST_F(ConfigNameToLow, ReportsTheKindOfRequest)
{
    framework.logs_trace = true;
    adds_of(kConfigNameToLow, kGet, oc("name", "0/0-VOA-BST2"));
    adds_of(kConfigNameToLow, kEdit, oc("name", "0/0-VOA-BST2"));
    adds_of(kConfigNameToLow, kEdit, oc("name", "0/0-VOA-BST2"), ZPF_OP_DELETE);
    const std::string self = kConfigNameToLow;
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf({self + ": get or get-config", self + ": edit-config", self + ": delete"}));
}

using StateNameToLow = ToLow;

TEST_F(StateNameToLow, AddsThePortInReadsWhateverTheName)
{
    for (uint32_t operation : {kGet, kGetConfig}) {
        EXPECT_THAT(adds_of(kStateNameToLow, operation, oc("name", "0/0-VOA-BST2")),
                    ElementsAre(R"(ADD OP/name "Ots0/0/0/2" - 0,0)"));
        EXPECT_THAT(adds_of(kStateNameToLow, operation, oc("name", "ABC")),
                    ElementsAre(R"(ADD OP/name "Ots0/0/0/-1" - 0,0)"));
        EXPECT_THAT(adds_of(kStateNameToLow, operation, oc("name")), IsEmpty());
    }
    EXPECT_THAT(adds_of(kStateNameToLow, kEdit, oc("name", "0/0-VOA-BST2")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
}

TEST_F(StateNameToLow, ReportsUnderItsOwnName)
{
    framework.logs_trace = true;
    adds_of(kStateNameToLow, kGet, oc("name", "0/0-VOA-BST2"));
    const std::string self = kStateNameToLow;
    EXPECT_THAT(framework.messages("TRC"),
                ElementsAre("Start", self + " - attenuator_name = 0/0-VOA-BST2",
                            self + " - controller_name = Ots0/0/0/2", "get request " + self, "End"));
}

using NamesToLow = ToLow;

TEST_F(NamesToLow, ReportTheEndAlsoAfterMissingNodes)
{
    framework.logs_trace = true;
    for (const char* translation : {kListToLow, kKeyToLow, kConfigNameToLow, kStateNameToLow}) {
        framework.log.clear();
        call(translation, nullptr);
        EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "End")) << translation;
    }
}

} // namespace
