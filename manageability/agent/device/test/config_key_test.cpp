// SPDX-License-Identifier: Apache-2.0
//
// Which keys of the store mean something for a port.
#include "config_key.hpp"

using zpf::device::is_ots_port;
using zpf::device::parse_config_key;
using zpf::device::percent_decoded;

namespace {

const std::string kList = "/config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration=";
const std::string kLeaf = "/Quarn-KMT-VN-controller-ots-cfg:ots/ots-tx-voa-attenuation";

struct Case {
    const char* name;
    std::string key;
    const char* expected; ///< port, with '!' for its attenuation; empty: none
};

} // namespace

class ConfigKey : public ::testing::TestWithParam<Case> {};

TEST_P(ConfigKey, NamesThePort)
{
    const auto found = parse_config_key(GetParam().key);
    EXPECT_EQ(found ? found->port + (found->attenuation ? "!" : "") : "", GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ConfigKey,
    ::testing::Values(
        Case{"Attenuation", kList + "act,Ots0%2F0%2F0%2F2" + kLeaf, "Ots0/0/0/2!"},
        Case{"LowerCaseEncoding", kList + "act,Ots0%2f0%2f0%2f2" + kLeaf, "Ots0/0/0/2!"},
        Case{"OtherLeaf", kList + "act,Ots0%2F0%2F0%2F2/description", "Ots0/0/0/2"},
        Case{"LeafThatBeginsAlike", kList + "act,Ots0%2F1" + kLeaf + "-x", "Ots0/1"},
        Case{"EntryItself", kList + "act,Ots0%2F1", "Ots0/1"}, Case{"NotInForce", kList + "pre,Ots0%2F1" + kLeaf, ""},
        Case{"OneKeyOnly", kList + "act" + kLeaf, ""}, Case{"OtherKind", kList + "act,Optics0%2F1" + kLeaf, ""},
        Case{"BrokenEncoding", kList + "act,Ots0%2" + kLeaf, ""},
        Case{"OtherList", "/config/Quarn-KMT-VN-ifmgr-cfg:global-interface-configuration/link-status", ""},
        Case{"OtherBranch", "/oper/optics/if/Ots0_0_0_2/tx-voa-attenuation", ""}, Case{"Empty", "", ""}),
    [](const auto& param) { return std::string{param.param.name}; });

TEST(PercentDecoded, TakesTwoHexadecimalDigits)
{
    EXPECT_EQ(percent_decoded("a%2Cb%25"), "a,b%");
    EXPECT_EQ(percent_decoded(""), "");
    for (const char* broken : {"%", "%2", "%zz", "a%2", "%+1", "% 1"}) {
        EXPECT_FALSE(percent_decoded(broken).has_value()) << broken;
    }
}

TEST(OtsPort, IsAWordAndNumbersBetweenSlashes)
{
    for (const char* name : {"Ots0/0/0/2", "Ots12/3", "Ots7"}) {
        EXPECT_TRUE(is_ots_port(name)) << name;
    }
    for (const char* name : {"", "Ots", "Ots/1", "Ots1/", "Ots1//2", "Ots1/a", "ots1", "XOts1", "Ots 1"}) {
        EXPECT_FALSE(is_ots_port(name)) << name;
    }
}
