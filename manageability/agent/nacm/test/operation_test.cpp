// SPDX-License-Identifier: Apache-2.0
//
// Who may run operations and actions.
#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;

namespace {

struct Operation {
    const char* name;
    std::string rules; ///< of ann's rule-list
    const char* settings;
    const char* module;
    const char* rpc;
    bool permitted;
};

std::string named(const std::string& action, const std::string& rpc)
{
    return rule(action, "exec", "<rpc-name>" + rpc + "</rpc-name>");
}

std::string in_module(const std::string& action, const std::string& module, const std::string& rpc)
{
    return rule(action, "*", "<module-name>" + module + "</module-name><rpc-name>" + rpc + "</rpc-name>");
}

constexpr const char* kExecDeny = "<exec-default>deny</exec-default>";

constexpr const char* kDim = "<house xmlns='urn:house'><room><name>hall</name><dim><by>1</by></dim></room></house>";

} // namespace

class NacmOperation : public ::testing::TestWithParam<Operation> {};

TEST_P(NacmOperation, IsPermittedOrNot)
{
    const Operation& c = GetParam();
    const auto nacm = for_ann({c.rules}, c.settings);
    EXPECT_EQ(nacm->may_execute(kAnn, module_named(c.module), schema_of(c.module, c.rpc)), c.permitted);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NacmOperation,
    ::testing::Values(
        Operation{"Default", "", "", "house", "open", true},
        Operation{"DefaultDeny", "", kExecDeny, "house", "open", false},
        Operation{"ReadAndWriteDefaultsSayNothing", "", "<read-default>deny</read-default>", "house", "open", true},
        Operation{"Named", named("deny", "open"), "", "house", "open", false},
        Operation{"NamedPermit", named("permit", "open"), kExecDeny, "house", "open", true},
        Operation{"OtherName", named("deny", "shut"), "", "house", "open", true},
        Operation{"AnyName", named("deny", "*"), "", "house", "open", false},
        Operation{"RuleWithoutType", rule("deny", "exec", ""), "", "house", "open", false},
        Operation{"OtherAccess", rule("deny", "create read update delete", ""), "", "house", "open", true},
        Operation{"OfTheModule", in_module("deny", "house", "open"), "", "house", "open", false},
        Operation{"OfAnotherModule", in_module("deny", "house", "open"), "", "annex", "open", true},
        Operation{"OfAnUnknownModule", in_module("deny", "nowhere", "open"), "", "house", "open", true},
        Operation{"RuleOnDataSaysNothing", on_path("deny", "*", "/"), "", "house", "open", true},
        Operation{"RuleOnNotificationsSaysNothing", rule("deny", "*", "<notification-name>*</notification-name>"), "",
                  "house", "open", true},
        Operation{"FirstMatchPermits", named("permit", "open") + named("deny", "*"), "", "house", "open", true},
        Operation{"FirstMatchDenies", named("deny", "*") + named("permit", "open"), "", "house", "open", false},
        Operation{"Marked", "", "", "house", "blast", false},
        Operation{"MarkedAndNamed", named("permit", "blast"), "", "house", "blast", true},
        Operation{"KillSession", "", "", "ietf-netconf", "kill-session", false},
        Operation{"KillSessionNamed", named("permit", "kill-session"), "", "ietf-netconf", "kill-session", true},
        Operation{"DeleteConfig", "", "", "ietf-netconf", "delete-config", false},
        Operation{"DeleteConfigByAStar", rule("permit", "*", ""), "", "ietf-netconf", "delete-config", true},
        Operation{"CloseSession", named("deny", "*"), kExecDeny, "ietf-netconf", "close-session", true},
        Operation{"Get", "", "", "ietf-netconf", "get", true}),
    [](const auto& param) { return std::string{param.param.name}; });

TEST(NacmAction, NeedsExecOnItselfAndReadAbove)
{
    const Event event = parse_action(kDim);
    ASSERT_NE(event.node, nullptr);
    ASSERT_STREQ(event.node->schema->name, "dim");
    const auto may = [&](const std::vector<std::string>& rules, const char* settings = "") {
        return for_ann(rules, settings)->may_invoke(kAnn, *event.node);
    };
    EXPECT_TRUE(may({}));
    EXPECT_FALSE(may({}, kExecDeny));
    EXPECT_TRUE(may({on_path("permit", "exec", "/h:house/h:room/h:dim")}, kExecDeny));
    EXPECT_FALSE(may({on_path("deny", "exec", "/h:house/h:room[h:name='hall']")}));
    EXPECT_TRUE(may({on_path("deny", "exec", "/h:house/h:room[h:name='attic']")}));
    EXPECT_FALSE(may({on_path("deny", "read", "/h:house/h:room")}));
    EXPECT_TRUE(for_ann({rule("deny", "*", "")})->may_invoke(kRecovery, *event.node));
}
