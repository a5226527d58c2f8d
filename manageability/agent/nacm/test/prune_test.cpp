// SPDX-License-Identifier: Apache-2.0
//
// What is left of a reply.
#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

constexpr const char* kReadDeny = "<read-default>deny</read-default>";
constexpr const char* kHall = "<room><name>hall</name><size>9</size><secret>x</secret><light><level>5</level></light>"
                              "<a:desk><a:items>2</a:items></a:desk></room>";
constexpr const char* kAttic = "<room><name>attic</name><secret>y</secret></room>";

std::string module_rule(const std::string& action, const std::string& module)
{
    return rule(action, "read", "<module-name>" + module + "</module-name>");
}

std::vector<std::string> left(const std::vector<std::string>& rules, const std::string& data, const char* settings = "")
{
    return visible(*for_ann(rules, settings), kAnn, data);
}

} // namespace

TEST(NacmRead, DefaultsDecideWithoutRules)
{
    EXPECT_THAT(left({}, "<name>x</name>"), ElementsAre("/house:house/name = x"));
    EXPECT_THAT(left({}, "<name>x</name>", kReadDeny), IsEmpty());
}

TEST(NacmRead, MarkedNodesAreHiddenUnlessARuleOpensThem)
{
    const char* data = "<name>x</name><safe><code>1</code><inner><depth>3</depth></inner></safe>";
    EXPECT_THAT(left({}, data), ElementsAre("/house:house/name = x"));
    EXPECT_THAT(left({on_path("permit", "read", "/h:house/h:safe")}, data), ::testing::SizeIs(3));
    EXPECT_THAT(left({on_path("permit", "update", "/h:house/h:safe")}, data), ::testing::SizeIs(1));
    EXPECT_THAT(left({on_path("permit", "read", "/h:house/h:safe/h:code")}, data), ::testing::SizeIs(1))
        << "the container above is not readable";
    EXPECT_THAT(left({}, "<door>oak</door>"), ElementsAre("/house:house/door = oak")) << "only writing is closed";
}

TEST(NacmRead, AMarkHoldsBelowItsNodeAlsoForNodesWithAMarkOfTheirOwn)
{
    const std::string own = rule("permit", "read", "<module-name>house</module-name><path>/h:house/h:safe</path>");
    EXPECT_THAT(left({own}, "<safe><code>1</code><a:tip>t</a:tip></safe>"), ElementsAre("/house:house/safe/code = 1"));
}

TEST(NacmRead, TheRulesThemselvesAreHiddenByDefault)
{
    lyd_node* tree = parse_data("<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm'><read-default>permit"
                                "</read-default></nacm>")
                         .release();
    for_ann({})->prune_unreadable(kAnn, &tree);
    EXPECT_EQ(tree, nullptr);
}

TEST(NacmRead, ADeniedNodeGoesWithAllBelowIt)
{
    EXPECT_THAT(left({on_path("deny", "read", "/h:house/h:room/h:light")}, kHall),
                ElementsAre("/house:house/room[name='hall']/name = hall", "/house:house/room[name='hall']/size = 9",
                            "/house:house/room[name='hall']/secret = x",
                            "/house:house/room[name='hall']/annex:desk/items = 2"));
}

TEST(NacmRead, APermitBelowADeniedNodeShowsNothing)
{
    const std::vector<std::string> rules{on_path("permit", "read", "/h:house/h:room/h:light"),
                                         on_path("deny", "read", "/h:house/h:room")};
    EXPECT_THAT(left(rules, std::string("<name>x</name>") + kHall), ElementsAre("/house:house/name = x"));
}

TEST(NacmRead, TheFirstMatchDecides)
{
    const std::string open = on_path("permit", "read", "/h:house/h:room[h:name='hall']/h:secret");
    const std::string close = on_path("deny", "read", "/h:house/h:room/h:secret");
    const std::string data = std::string("<room><name>hall</name><secret>x</secret></room>") + kAttic;
    EXPECT_THAT(left({open, close}, data),
                ElementsAre("/house:house/room[name='hall']/name = hall", "/house:house/room[name='hall']/secret = x",
                            "/house:house/room[name='attic']/name = attic"));
    EXPECT_THAT(left({close, open}, data), ElementsAre("/house:house/room[name='hall']/name = hall",
                                                       "/house:house/room[name='attic']/name = attic"));
}

TEST(NacmRead, OneEntryCanBeLeftOut)
{
    EXPECT_THAT(
        left({on_path("deny", "read", "/h:house/h:room[h:name='hall']")}, std::string(kHall) + kAttic),
        ElementsAre("/house:house/room[name='attic']/name = attic", "/house:house/room[name='attic']/secret = y"));
}

TEST(NacmRead, AnEntryKeepsItsKeysWhenTheRestIsHidden)
{
    const std::vector<std::string> rules{
        on_path("permit", "read", "/h:house/h:room/h:name"), on_path("deny", "read", "/h:house/h:room/h:light"),
        on_path("deny", "read", "/h:house/h:room/h:size"), on_path("deny", "read", "/h:house/h:room/h:secret"),
        module_rule("deny", "annex")};
    EXPECT_THAT(left(rules, kHall), ElementsAre("/house:house/room[name='hall']/name = hall"));
}

TEST(NacmRead, AnEntryWithAHiddenKeyIsHidden)
{
    EXPECT_THAT(left({on_path("deny", "read", "/h:house/h:room/h:name")}, std::string("<name>x</name>") + kHall),
                ElementsAre("/house:house/name = x"));
}

TEST(NacmRead, AModuleRuleSpeaksOfNodesThatTheModuleDefines)
{
    EXPECT_THAT(left({module_rule("deny", "annex")}, "<name>x</name><a:shed>y</a:shed>"),
                ElementsAre("/house:house/name = x"));
    EXPECT_THAT(left({module_rule("permit", "house")}, "<name>x</name><a:shed>y</a:shed>", kReadDeny),
                ElementsAre("/house:house/name = x"));
    EXPECT_THAT(left({module_rule("permit", "annex")}, "<name>x</name><a:shed>y</a:shed>", kReadDeny), IsEmpty());
    EXPECT_THAT(left({module_rule("deny", "nowhere")}, "<name>x</name>"), ElementsAre("/house:house/name = x"));
}

TEST(NacmRead, PathAndModuleOfARuleBothHaveToMatch)
{
    const std::string both = rule("deny", "read", "<module-name>annex</module-name><path>/h:house/h:room</path>");
    EXPECT_THAT(left({both}, "<room><name>hall</name><size>9</size><a:desk><a:items>2</a:items></a:desk></room>"),
                ElementsAre("/house:house/room[name='hall']/name = hall", "/house:house/room[name='hall']/size = 9"));
}

TEST(NacmRead, OnlyRulesOnReadingCount)
{
    EXPECT_THAT(left({rule("deny", "create update delete exec", "")}, "<name>x</name>"), ::testing::SizeIs(1));
    EXPECT_THAT(left({rule("deny", "create read", "")}, "<name>x</name>"), IsEmpty());
    EXPECT_THAT(left({rule("deny", "*", "")}, "<name>x</name>"), IsEmpty());
    EXPECT_THAT(left({rule("deny", "*", "<rpc-name>*</rpc-name>")}, "<name>x</name>"), ::testing::SizeIs(1));
    EXPECT_THAT(left({rule("deny", "*", "<notification-name>*</notification-name>")}, "<name>x</name>"),
                ::testing::SizeIs(1));
}

TEST(NacmRead, SeveralTopNodesAreJudgedEach)
{
    const auto nacm = for_ann({on_path("deny", "read", "/h:house")});
    lyd_node* tree = parse_data("<house xmlns='urn:house'/><cellar xmlns='urn:house'><note>n</note></cellar>"
                                "<yard xmlns='urn:annex'><fence>f</fence></yard>")
                         .release();
    tree = tree->next; // any of the siblings will do
    nacm->prune_unreadable(kAnn, &tree);
    const Tree rest{tree};
    EXPECT_THAT(lines_of(tree), UnorderedElementsAre("/house:cellar/note = n", "/annex:yard/fence = f"));
}

TEST(NacmRead, SiblingsInsideOfATreeAreJudgedWithWhatIsAboveThem)
{
    const Tree tree = house(kHall);
    lyd_node* inside = lyd_child(lyd_child(tree.get()));
    for_ann({on_path("deny", "read", "/h:house/h:room[h:name='hall']/h:secret")})->prune_unreadable(kAnn, &inside);
    EXPECT_THAT(lines_of(tree.get()), ::testing::SizeIs(4));
    inside = lyd_child(lyd_child(tree.get()));
    for_ann({on_path("deny", "read", "/h:house")})->prune_unreadable(kAnn, &inside);
    EXPECT_EQ(inside, nullptr);
    EXPECT_THAT(lines_of(tree.get()), ElementsAre("/house:house/room"));
}
