// SPDX-License-Identifier: Apache-2.0
//
// Translations of native attenuation and of OTS ports to OpenConfig: values and their units, names, and which ports
// count.
#include "to_high_fixture.hpp"

namespace {

using test::oc;
using test::oper;
using test::ots;
using test::Spec;
using test::ToHigh;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kGet = ZPF_REQUEST_GET;
constexpr const char* kConfigAttenuationToHigh = "oc_opt_att_cfg_attenuation_to_high";
constexpr const char* kStateNameToHigh = "oc_opt_att_state_get_attenuator_key_to_high";
constexpr const char* kStateAttenuationToHigh = "oc_opt_att_state_attenuation_to_high";

// ---- attenuation

struct AttenuationCase {
    const char* tenths;
    const char* db;
    const char* enabled;
};

const AttenuationCase kAttenuations[] = {
    {"150", "15.00", "true"}, {"1", "0.10", "true"},   {"200", "20.00", "true"}, {"125", "12.50", "true"},
    {"-3", "-0.30", "false"}, {"0", "0.00", "false"},  {"12.5", "1.25", "true"}, {"", "0.00", "false"},
    {"abc", "0.00", "false"}, {"nan", "nan", "false"}, {"95", "9.50", "true"},   {"0.4", "0.04", "true"},
};

using ConfigAttenuationToHigh = ToHigh;

TEST_F(ConfigAttenuationToHigh, AddsDbWithTwoFractionDigitsWhateverIsSelected)
{
    request_state_only();
    for (const AttenuationCase& each : kAttenuations) {
        EXPECT_THAT(adds_of(kConfigAttenuationToHigh, ots("ots-tx-voa-attenuation", each.tenths)),
                    ElementsAre("ADD AT/config/attenuation \"" + std::string{each.db} + "\" - 0,0"))
            << each.tenths;
    }
}

TEST_F(ConfigAttenuationToHigh, AddsNothingWithoutAValue)
{
    EXPECT_THAT(adds_of(kConfigAttenuationToHigh, ots("ots-tx-voa-attenuation")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
}

TEST_F(ConfigAttenuationToHigh, ReportsBothValuesAndReturnsTheResultOfTheAdd)
{
    framework.logs_trace = true;
    framework.on_add = [](const test::Add&) { return ZPF_RC_BAD_TREE; };
    adds_of(kConfigAttenuationToHigh, ots("ots-tx-voa-attenuation", "125"));
    EXPECT_EQ(result, ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("TRC"),
                ElementsAre("Start", "attenuation-native = 125", "attenuation-oc = 12.50", "End"));
}

using StateAttenuationToHigh = ToHigh;

TEST_F(StateAttenuationToHigh, AddsConfigurationAndStateInAGet)
{
    framework.header.operation = kGet;
    for (const AttenuationCase& each : kAttenuations) {
        const std::string db = "\"" + std::string{each.db} + "\" - 0,0";
        EXPECT_THAT(adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation", each.tenths)),
                    ElementsAre("ADD AT/config/attenuation " + db, "ADD AT/state/attenuation " + db,
                                "ADD AT/state/actual-attenuation/instant " + db,
                                "ADD AT/state/enabled \"" + std::string{each.enabled} + "\" - 0,0"))
            << each.tenths;
    }
}

TEST_F(StateAttenuationToHigh, LeavesOutWhatIsNotSelected)
{
    EXPECT_THAT(adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation", "95")),
                ElementsAre(R"(ADD AT/config/attenuation "9.50" - 0,0)"));
    request_state_only();
    EXPECT_THAT(adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation", "95")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
    framework.header.operation = kGet;
    EXPECT_EQ(adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation", "95")).size(), 3u);
    EXPECT_THAT(adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation")), IsEmpty());
}

TEST_F(StateAttenuationToHigh, ShowsTheCurrentAttenuatorInTheTrace)
{
    framework.logs_trace = true;
    Tree entry{oc("attenuator", {oc("name", "0/0-VOA-BST0")})};
    framework.request.list_ctx_current.plist = entry.root();
    adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation", "95"));
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf({"key:  0/0-VOA-BST0 ", "controller_name:  attenuator/ ",
                                         "attenuation-native = 95", "attenuation-oc = 9.50"}));
    EXPECT_EQ(framework.calls.front(), "print(plist)");
    EXPECT_THAT(framework.printed, ElementsAre(entry.root()));
}

TEST_F(StateAttenuationToHigh, ReturnsTheResultOfTheLastAdd)
{
    qerrno code = 1;
    framework.on_add = [&code](const test::Add&) { return code++; };
    framework.header.operation = kGet;
    adds_of(kStateAttenuationToHigh, oper("tx-voa-attenuation", "95"));
    EXPECT_EQ(result, 4u);
}

// ---- ports

using StateNameToHigh = ToHigh;

TEST_F(StateNameToHigh, AddsTheNamesThatAreSelected)
{
    const auto leaf = oper("name", "Ots0/0/0/2");
    EXPECT_THAT(adds_of(kStateNameToHigh, leaf), ElementsAre(R"(ADD AT/config/name "0/0-VOA-BST2" - 0,0)"));
    framework.header.operation = kGet;
    EXPECT_THAT(adds_of(kStateNameToHigh, leaf),
                ElementsAre(R"(ADD AT/config/name "0/0-VOA-BST2" - 0,0)", R"(ADD AT/state/name "0/0-VOA-BST2" - 0,0)"));
    request_state_only();
    EXPECT_THAT(adds_of(kStateNameToHigh, leaf), ElementsAre(R"(ADD AT/state/name "0/0-VOA-BST2" - 0,0)"));
}

TEST_F(StateNameToHigh, AddsNothingForAnyOtherPortOrWithoutAValue)
{
    framework.header.operation = kGet;
    EXPECT_THAT(adds_of(kStateNameToHigh, oper("name", "Ots0/0/0/1")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
    EXPECT_THAT(adds_of(kStateNameToHigh, oper("name")), IsEmpty());
    EXPECT_EQ(result, ZPF_RC_OK);
}

TEST_F(StateNameToHigh, PrintsTheRequestAndReportsItsInput)
{
    framework.logs_trace = true;
    framework.header.operation = kGet;
    request_key("0/0-VOA-BST2");
    adds_of(kStateNameToHigh, oper("name", "Ots0/0/0/2"));
    EXPECT_EQ(framework.calls.front(), "print(reg_dup_datatree)");
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf({"qidl_zpf_datatree_get_data(input): Ots0/0/0/2",
                                         "Get request oc_opt_att_state_get_attenuator_key_to_high"}));
    adds_of(kStateNameToHigh, oper("name"));
    EXPECT_THAT(framework.messages("TRC"), ::testing::Contains("qidl_zpf_datatree_get_data(input): (null)"));
}

class PortListCallback : public ToHigh {
protected:
    void walk_port(const std::optional<std::string>& name)
    {
        Spec port = oper("ots-port");
        if (name) {
            port.children.push_back(oper("name", name->c_str()));
        }
        Tree tree{port};
        framework.hierarchy.clear();
        framework.stand_in(*tree.root(), 2);
        adds_at(test::kOtsOper + "list_lvla_otsoper_otsports_otsport", tree.root());
        framework.hierarchy.clear();
        framework.publish_hierarchy();
    }
    static constexpr const char* kPrint = "print(POST list_ctx_current.plist mapped tree) enabled";
};

TEST_F(PortListCallback, FindsTheAttenuatorInAGet)
{
    framework.header.operation = kGet;
    walk_port("Ots0/0/0/2");
    EXPECT_EQ(result, ZPF_RC_OK);
    EXPECT_THAT(framework.calls,
                ElementsAre("get_node_info(OP,name)", "search_or_add_list(AT,name=0/0-VOA-BST2)", kPrint));
    EXPECT_THAT(framework.printed, ElementsAre(framework.request.list_ctx_current.plist));
    EXPECT_EQ(framework.context.print_enabled, 1u);
}

TEST_F(PortListCallback, DropsAPortThatIsNoAttenuatorOrHasNoName)
{
    framework.header.operation = kGet;
    framework.logs_trace = true;
    walk_port("Ots0/0/0/1");
    EXPECT_EQ(result, ZPF_RC_SKIP_INSTANCE);
    EXPECT_THAT(framework.calls, ElementsAre("get_node_info(OP,name)"));
    walk_port(std::nullopt);
    EXPECT_EQ(result, ZPF_RC_SKIP_INSTANCE);
    EXPECT_THAT(framework.messages("TRC"),
                ElementsAre("Start", "controller_name: (null)", "ERROR controller_name is NULL", "End"));
    EXPECT_EQ(framework.context.print_enabled, 0u);
}

TEST_F(PortListCallback, DropsAPortThatIsNotAskedFor)
{
    framework.header.operation = kGet;
    framework.logs_error = true;
    request_key("0/0-VOA-BST2");
    walk_port("Ots0/0/0/0");
    EXPECT_EQ(result, ZPF_RC_SKIP_INSTANCE);
    EXPECT_THAT(framework.messages("ERR"),
                ElementsAre("attenautor_name [0/0-VOA-BST0] does not match with key [0/0-VOA-BST2], discard it!"));
    framework.logs_trace = true;
    walk_port("Ots0/0/0/2");
    EXPECT_EQ(result, ZPF_RC_OK);
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::IsSupersetOf({"controller_name: Ots0/0/0/2", "attenuator_name: 0/0-VOA-BST2",
                                         "reg_dup_datatree key: 0/0-VOA-BST2"}));
}

TEST_F(PortListCallback, OnlyReadsTheKeyInOtherRequests)
{
    walk_port("Ots0/0/0/2");
    EXPECT_EQ(result, ZPF_RC_OK);
    EXPECT_THAT(framework.calls, ElementsAre("get_node_info(OP,name)", kPrint));
}

TEST_F(PortListCallback, ReturnsTheResultOfTheSearch)
{
    framework.header.operation = kGet;
    framework.search_result = ZPF_RC_BAD_TREE;
    walk_port("Ots0/0/0/2");
    EXPECT_EQ(result, ZPF_RC_BAD_TREE);
}

} // namespace
