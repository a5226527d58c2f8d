// SPDX-License-Identifier: Apache-2.0
//
// Whom rules apply to.
#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;
using ::testing::IsEmpty;

namespace {

const std::string kHideAll = rule("deny", "read", "");
const Who kStaffByTransport{"guest", {"staff"}, false};

bool hidden(const Nacm& nacm, const Who& who)
{
    return visible(nacm, who, "<name>x</name>").empty();
}

} // namespace

TEST(NacmGroups, ARuleListAppliesToMembersOfItsGroup)
{
    const auto nacm = compile(group("staff", "ann") + rules_for("staff", {kHideAll}));
    EXPECT_TRUE(hidden(*nacm, kAnn));
    EXPECT_FALSE(hidden(*nacm, kBob));
}

TEST(NacmGroups, AMemberOfSeveralGroupsIsSubjectToTheListsOfAll)
{
    const auto nacm = compile(
        "<groups><group><name>staff</name><user-name>ann</user-name></group><group><name>night</name><user-name>bob"
        "</user-name><user-name>ann</user-name></group></groups>" +
        rules_for("night", {kHideAll}) + rules_for("staff", {rule("permit", "*", "")}));
    EXPECT_TRUE(hidden(*nacm, kAnn));
    EXPECT_TRUE(hidden(*nacm, kBob));
}

TEST(NacmGroups, ARuleListWithSeveralGroupsAppliesToEach)
{
    const auto nacm = compile(group("staff", "ann") +
                              "<rule-list><name>l</name><group>night</group><group>staff"
                              "</group>" +
                              kHideAll + "</rule-list>");
    EXPECT_TRUE(hidden(*nacm, kAnn));
}

TEST(NacmGroups, ARuleListWithoutGroupsAppliesToNobody)
{
    const auto nacm = compile(group("staff", "ann") + "<rule-list><name>l</name>" + kHideAll + "</rule-list>");
    EXPECT_FALSE(hidden(*nacm, kAnn));
}

TEST(NacmGroups, AStarAppliesToMembersOfAnyGroupButNotToUsersOfNone)
{
    const auto nacm = compile(group("staff", "ann") + rules_for("*", {kHideAll}));
    EXPECT_TRUE(hidden(*nacm, kAnn));
    EXPECT_TRUE(hidden(*nacm, Who{"guest", {"unheard-of"}, false}));
    EXPECT_FALSE(hidden(*nacm, kBob)) << "a user without groups goes by the defaults";
}

TEST(NacmGroups, GroupsOfTheTransportCountUnlessTheyAreSwitchedOff)
{
    const std::string rules = rules_for("staff", {kHideAll});
    EXPECT_TRUE(hidden(*compile(rules), kStaffByTransport));
    EXPECT_FALSE(hidden(*compile("<enable-external-groups>false</enable-external-groups>" + rules), kStaffByTransport));
}

TEST(NacmGroups, TheRecoverySessionIsSubjectToNothing)
{
    const auto nacm = compile("<read-default>deny</read-default><exec-default>deny</exec-default>" +
                              rules_for("*", {rule("deny", "*", "")}));
    const Who root{"root", {"staff"}, true};
    EXPECT_FALSE(hidden(*nacm, root));
    EXPECT_EQ(refused(*nacm, root, "", "<safe><code>1</code></safe>"), "permitted");
    EXPECT_TRUE(nacm->may_execute(root, module_named("house"), schema_of("house", "blast")));
    EXPECT_TRUE(hidden(*nacm, Who{"root", {"staff"}, false})) << "it is the session, not the name";
}

TEST(NacmGroups, WhenSwitchedOffEverythingIsOpenMarksIncluded)
{
    const auto nacm =
        compile("<enable-nacm>false</enable-nacm>" + group("staff", "ann") + rules_for("staff", {kHideAll}));
    EXPECT_THAT(visible(*nacm, kAnn, "<safe><code>1</code></safe>"), ::testing::SizeIs(1));
    EXPECT_EQ(refused(*nacm, kAnn, "", "<safe><code>1</code></safe>"), "permitted");
    EXPECT_TRUE(nacm->may_execute(kBob, module_named("house"), schema_of("house", "blast")));
    EXPECT_TRUE(nacm->reads_everything(kAnn));
    EXPECT_TRUE(nacm->writes_everything(kAnn));
}

TEST(NacmGroups, ListsAreAskedInTheirOrder)
{
    const std::string open = rule("permit", "*", "");
    const std::string staff = group("staff", "ann");
    EXPECT_TRUE(hidden(*compile(staff + rules_for("staff", {kHideAll}) + rules_for("staff", {open})), kAnn));
    EXPECT_FALSE(hidden(*compile(staff + rules_for("staff", {open}) + rules_for("staff", {kHideAll})), kAnn));
}

TEST(NacmGroups, WithoutConfigurationTheDefaultsHold)
{
    for (const Tree& config : {Tree{}, house("<name>x</name>")}) {
        const auto nacm = Nacm::compile(context(), config.get());
        EXPECT_THAT(nacm->problems(), IsEmpty());
        EXPECT_FALSE(hidden(*nacm, kBob));
        EXPECT_EQ(refused(*nacm, kBob, "", "<name>x</name>"), "/house:house/name");
        EXPECT_TRUE(nacm->may_execute(kBob, module_named("house"), schema_of("house", "open")));
    }
}

TEST(NacmGroups, ATreeOfAnotherContextIsRefused)
{
    ly_ctx* other = nullptr;
    ASSERT_EQ(ly_ctx_new(nullptr, LY_CTX_NO_YANGLIBRARY, &other), LY_SUCCESS);
    const auto nacm = Nacm::compile(*other, nullptr);
    lyd_node* tree = house("<name>x</name>").release();
    const Tree owner{tree};
    EXPECT_THROW(nacm->prune_unreadable(kAnn, &tree), std::invalid_argument);
    EXPECT_THROW(nacm->check_write(kAnn, tree, nullptr), std::invalid_argument);
    EXPECT_THROW(nacm->may_execute(kAnn, module_named("house"), schema_of("house", "open")), std::invalid_argument);
    ly_ctx_destroy(other);
}
