// SPDX-License-Identifier: Apache-2.0
//
// The answers that spare a walk must never promise more than the walk would give.
#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;

namespace {

struct Shortcut {
    const char* name;
    std::string rules; ///< of ann's rule-list
    const char* settings;
    bool reads;
    bool writes;
};

constexpr const char* kReadDeny = "<read-default>deny</read-default>";
constexpr const char* kWritePermit = "<write-default>permit</write-default>";

} // namespace

class NacmShortcut : public ::testing::TestWithParam<Shortcut> {};

TEST_P(NacmShortcut, SaysWhatNoWalkCanContradict)
{
    const auto nacm = for_ann({GetParam().rules}, GetParam().settings);
    EXPECT_EQ(nacm->reads_everything(kAnn), GetParam().reads);
    EXPECT_EQ(nacm->writes_everything(kAnn), GetParam().writes);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NacmShortcut,
    ::testing::Values(
        Shortcut{"NoRules", "", "", true, false}, Shortcut{"ReadDeny", "", kReadDeny, false, false},
        Shortcut{"WritePermitButMarked", "", kWritePermit, true, false},
        Shortcut{"PermitAll", rule("permit", "*", ""), kReadDeny, true, true},
        Shortcut{"PermitRoot", on_path("permit", "*", "/"), kReadDeny, true, true},
        Shortcut{"PermitRead", rule("permit", "read", ""), kReadDeny, true, false},
        Shortcut{"PermitTwoOfThree", rule("permit", "create delete", ""), "", true, false},
        Shortcut{"PermitThreeByThree",
                 rule("permit", "create", "") + rule("permit", "update", "") + rule("permit", "delete", ""), "", true,
                 true},
        Shortcut{"PermitModule", rule("permit", "*", "<module-name>house</module-name>"), kReadDeny, false, false},
        Shortcut{"DenyBeforePermit", on_path("deny", "read", "/h:house/h:name") + rule("permit", "*", ""), "", false,
                 true},
        Shortcut{"DenyAfterPermit", rule("permit", "*", "") + on_path("deny", "*", "/h:house/h:name"), "", true, true},
        Shortcut{"DenyOfWrites", rule("deny", "update", ""), kWritePermit, true, false},
        Shortcut{"DenyOfOperations", rule("deny", "*", "<rpc-name>*</rpc-name>"), "", true, false},
        Shortcut{"DenyOfAnUnknownModule", rule("deny", "*", "<module-name>nowhere</module-name>"), "", true, false}),
    [](const auto& param) { return std::string{param.param.name}; });

TEST(NacmShortcut, ModulesWithMarkedDataAreKnown)
{
    const auto nacm = compile("");
    EXPECT_TRUE(nacm->marked(module_named("house")));
    EXPECT_TRUE(nacm->marked(module_named("ietf-netconf-acm")));
    EXPECT_FALSE(nacm->marked(module_named("annex")))
        << "operations are no data, and what it adds to the other module is no top node of its own";
}
