// SPDX-License-Identifier: Apache-2.0
//
// Translations of attenuator leaves from OpenConfig to native: the configured value with its range, and what state asks
// for.
#include "to_low_fixture.hpp"

namespace {

using test::kEdit;
using test::kGet;
using test::kGetConfig;
using test::oc;
using test::ToLow;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kAttenuationToLow = "oc_opt_att_cfg_attenuation_to_low";

// ---- attenuation

struct AttenuationCase {
    const char* db;
    const char* tenths; /**< Null for a value that is refused. */
};

void PrintTo(const AttenuationCase& each, std::ostream* os)
{
    *os << each.db << " dB";
}

class ConfigAttenuationToLow : public ToLow, public ::testing::WithParamInterface<AttenuationCase> {};

TEST_P(ConfigAttenuationToLow, AddsTheTenthsOrRefusesInEveryKindOfRequest)
{
    const auto [db, tenths] = GetParam();
    for (uint32_t operation : {kEdit, kGet, kGetConfig}) {
        const auto adds = adds_of(kAttenuationToLow, operation, oc("attenuation", db));
        if (tenths != nullptr) {
            EXPECT_EQ(result, ZPF_RC_OK);
            const char* source = operation == kEdit ? " src:attenuation(op0) 0,1" : " - 0,1";
            EXPECT_THAT(adds, ElementsAre("ADD IC/ots/voa \"" + std::string{tenths} + "\"" + source));
        } else {
            EXPECT_EQ(result, ZPF_RC_INVALID_VALUE);
            EXPECT_THAT(adds, IsEmpty());
            framework.clear_error();
        }
    }
}

TEST_P(ConfigAttenuationToLow, CarriesNoValueInADeleteButStillRefuses)
{
    const auto adds = adds_of(kAttenuationToLow, kEdit, oc("attenuation", GetParam().db), ZPF_OP_DELETE);
    if (GetParam().tenths != nullptr) {
        EXPECT_THAT(adds, ElementsAre("ADD IC/ots/voa null src:attenuation(op3) 0,1"));
    } else {
        EXPECT_EQ(result, ZPF_RC_INVALID_VALUE);
    }
}

INSTANTIATE_TEST_SUITE_P(Limits, ConfigAttenuationToLow,
                         ::testing::Values(AttenuationCase{"0", "0"}, AttenuationCase{"20.0", "200"},
                                           AttenuationCase{"20", "200"}, AttenuationCase{"20.01", nullptr},
                                           AttenuationCase{"1.99", "19"}, AttenuationCase{"12.34", "123"},
                                           AttenuationCase{"12.5", "125"}, AttenuationCase{"-0.01", nullptr},
                                           AttenuationCase{"-0.0", "0"}, AttenuationCase{"0.09", "0"},
                                           AttenuationCase{"abc", "0"}, AttenuationCase{"", "0"},
                                           AttenuationCase{"5dB", "50"}, AttenuationCase{"nan", nullptr},
                                           AttenuationCase{"inf", nullptr}, AttenuationCase{"1e300", nullptr}));

using AttenuationToLow = ToLow;

TEST_F(AttenuationToLow, GivesEveryTwoDecimalValueItsWholeTenths)
{
    for (int hundredths = 0; hundredths <= 2000; ++hundredths) {
        char db[16];
        std::snprintf(db, sizeof db, "%d.%02d", hundredths / 100, hundredths % 100);
        adds_of(kAttenuationToLow, kEdit, oc("attenuation", db));
        ASSERT_EQ(framework.adds.size(), 1u) << db;
        ASSERT_EQ(framework.adds[0].value, std::to_string(hundredths / 10)) << db;
    }
}

TEST_F(AttenuationToLow, AddsTheEmptyTextWithoutAValue)
{
    EXPECT_THAT(adds_of(kAttenuationToLow, kEdit, oc("attenuation")),
                ElementsAre(R"(ADD IC/ots/voa "" src:attenuation(op0) 0,1)"));
    EXPECT_THAT(adds_of(kAttenuationToLow, kGet, oc("attenuation")), ElementsAre(R"(ADD IC/ots/voa "" - 0,1)"));
}

TEST_F(AttenuationToLow, RefusesWithTagThenMessageThenPathAndReleasesAnEarlierTag)
{
    framework.request.error_tag = zpf_strdup("earlier", "test");
    adds_of(kAttenuationToLow, kEdit, oc("attenuation", "21"));
    EXPECT_THAT(framework.calls,
                ElementsAre(R"(free("earlier"))", R"(strdup("attenuation","ocatt-tag"))",
                            R"(strdup("Invalid argument:VN support range from 0 to 200","ZPF MAP"))", "oc_error_path"));
    EXPECT_EQ(error_tag(), "attenuation");
    EXPECT_EQ(error_message(), "Invalid argument:VN support range from 0 to 200");
    EXPECT_EQ(framework.strings_alive, 2);
}

TEST_F(AttenuationToLow, RefusesWithoutARequestToWriteTo)
{
    framework.context.request = nullptr;
    Tree tree{oc("attenuation", "21")};
    EXPECT_EQ(call(kAttenuationToLow, tree.root()), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls, ElementsAre("oc_error_path"));
    framework.context.request = &framework.request;
}

TEST_F(AttenuationToLow, UsesTheNamespaceOfTheOtsConfiguration)
{
    adds_of(kAttenuationToLow, kEdit, oc("attenuation", "1"));
    EXPECT_EQ(framework.adds.at(0).path,
              "/interface-configurations/interface-configuration/ots/ots-tx-voa-attenuation");
    EXPECT_EQ(framework.adds.at(0).ns, ZPF_NS_CONTROLLER_OTS_CFG);
}

TEST_F(AttenuationToLow, ReportsBothValuesAndTheKindOfRequest)
{
    framework.logs_trace = true;
    adds_of(kAttenuationToLow, kGet, oc("attenuation", "12.5"));
    const std::string self = kAttenuationToLow;
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "attenuation-oc = 12.5", "attenuation-native = 125",
                                                       self + ": get or get-config", "End"));
}

// ---- state leaves

using StateLeavesToLow = ToLow;

TEST_F(StateLeavesToLow, AskForTheNativeLeafOfEachStateLeafInReadsOnly)
{
    for (const auto& [translation, leaf] : {std::pair{"oc_opt_att_state_attenuation_to_low", "OP/info/voa"},
                                            std::pair{"oc_opt_att_enabled_to_low", "OP/info/voa"},
                                            std::pair{"oc_opt_att_state_egress_port_to_low", "OP/name"},
                                            std::pair{"oc_opt_att_state_actual_atten_instant_to_low", "OP/info/voa"}}) {
        for (uint32_t operation : {kGet, kGetConfig}) {
            EXPECT_THAT(adds_of(translation, operation, oc("leaf", "unread")),
                        ElementsAre("ADD " + std::string{leaf} + " null - 0,0"));
            EXPECT_EQ(framework.adds[0].ns, ZPF_NS_CONTROLLER_OTS_OPER);
        }
        EXPECT_THAT(adds_of(translation, kEdit, oc("leaf", "unread")), IsEmpty());
        EXPECT_THAT(adds_of(translation, kEdit, oc("leaf", "unread"), ZPF_OP_DELETE), IsEmpty());
        EXPECT_EQ(result, ZPF_RC_OK);
        framework.on_add = [](const test::Add&) { return ZPF_RC_BAD_TREE; };
        adds_of(translation, kGet, oc("leaf"));
        EXPECT_EQ(result, ZPF_RC_BAD_TREE);
        framework.on_add = nullptr;
    }
}

TEST_F(StateLeavesToLow, ReportNoEndAfterMissingNodes)
{
    framework.logs_trace = true;
    for (const char* translation : {kAttenuationToLow, "oc_opt_att_enabled_to_low"}) {
        framework.log.clear();
        call(translation, nullptr);
        EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start")) << translation;
    }
}

} // namespace
