// SPDX-License-Identifier: Apache-2.0
//
// Who receives notifications.
#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;

namespace {

struct Case {
    const char* name;
    std::string rules; ///< of ann's rule-list
    const char* settings;
    const char* notification;
    bool permitted;
};

std::string named(const std::string& action, const std::string& notification)
{
    return rule(action, "read", "<notification-name>" + notification + "</notification-name>");
}

constexpr const char* kReadDeny = "<read-default>deny</read-default>";
constexpr const char* kBell = "<bell xmlns='urn:house'><tone>a</tone></bell>";
constexpr const char* kAnnexBell = "<bell xmlns='urn:annex'><tone>a</tone></bell>";
constexpr const char* kThief = "<thief xmlns='urn:house'><who>x</who></thief>";
constexpr const char* kReplayComplete = "<replayComplete xmlns='urn:ietf:params:xml:ns:netmod:notification'/>";
constexpr const char* kComplete = "<notificationComplete xmlns='urn:ietf:params:xml:ns:netmod:notification'/>";
constexpr const char* kElse = "<somethingElse xmlns='urn:ietf:params:xml:ns:netmod:notification'/>";
constexpr const char* kSmoke =
    "<house xmlns='urn:house'><room><name>hall</name><smoke><level>3</level></smoke></room></house>";

} // namespace

class NacmNotification : public ::testing::TestWithParam<Case> {};

TEST_P(NacmNotification, IsSentOrNot)
{
    const Case& c = GetParam();
    const Event event = parse_notification(c.notification);
    ASSERT_NE(event.node, nullptr);
    EXPECT_EQ(for_ann({c.rules}, c.settings)->may_receive(kAnn, *event.node), c.permitted);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NacmNotification,
    ::testing::Values(
        Case{"Default", "", "", kBell, true}, Case{"DefaultDeny", "", kReadDeny, kBell, false},
        Case{"Named", named("deny", "bell"), "", kBell, false},
        Case{"NamedPermit", named("permit", "bell"), kReadDeny, kBell, true},
        Case{"OtherName", named("deny", "thief"), "", kBell, true},
        Case{"AnyName", named("deny", "*"), "", kBell, false},
        Case{"RuleWithoutType", rule("deny", "read", ""), "", kBell, false},
        Case{"OtherAccess", rule("deny", "create update delete exec", ""), "", kBell, true},
        Case{"OtherModule",
             rule("deny", "*", "<module-name>annex</module-name><notification-name>bell</notification-name>"), "",
             kBell, true},
        Case{"OfTheModule",
             rule("deny", "*", "<module-name>annex</module-name><notification-name>bell</notification-name>"), "",
             kAnnexBell, false},
        Case{"RuleOnDataSaysNothing", on_path("deny", "*", "/"), "", kBell, true},
        Case{"Marked", "", "", kThief, false}, Case{"MarkedAndNamed", named("permit", "thief"), "", kThief, true},
        Case{"ReplayComplete", named("deny", "*"), kReadDeny, kReplayComplete, true},
        Case{"NotificationComplete", named("deny", "*"), kReadDeny, kComplete, true},
        Case{"OthersOfThatModule", named("deny", "*"), "", kElse, false}, Case{"InData", "", "", kSmoke, true},
        Case{"InDataDefaultDeny", "", kReadDeny, kSmoke, false},
        Case{"InDataByPath", on_path("deny", "read", "/h:house/h:room/h:smoke"), "", kSmoke, false},
        Case{"InDataByPathWithKey", on_path("deny", "read", "/h:house/h:room[h:name='hall']/h:smoke"), "", kSmoke,
             false},
        Case{"InDataByPathWithOtherKey", on_path("deny", "read", "/h:house/h:room[h:name='attic']/h:smoke"), "", kSmoke,
             true},
        Case{"InDataBelowADeniedNode",
             on_path("permit", "read", "/h:house/h:room/h:smoke") + on_path("deny", "read", "/h:house/h:room"), "",
             kSmoke, false},
        Case{"InDataRuleOnNotificationsSaysNothing", named("deny", "smoke"), "", kSmoke, true}),
    [](const auto& param) { return std::string{param.param.name}; });

TEST(NacmNotificationRecovery, GetsAll)
{
    const Event event = parse_notification(kThief);
    EXPECT_TRUE(for_ann({named("deny", "*")}, kReadDeny)->may_receive(kRecovery, *event.node));
}
