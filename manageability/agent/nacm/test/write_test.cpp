// SPDX-License-Identifier: Apache-2.0
//
// Which changes are permitted.
#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;

namespace {

const std::string kAll = "create update delete";
constexpr const char* kWritePermit = "<write-default>permit</write-default>";

struct Change {
    const char* name;
    std::string accesses; ///< the only ones that ann has on /h:house
    std::string before;
    std::string after;
    const char* refused;
};

const std::string kA = "<queue><id>a</id></queue>";
const std::string kB = "<queue><id>b</id></queue>";
const std::string kC = "<queue><id>c</id></queue>";

std::string queue_text(const std::string& id, const std::string& text)
{
    return "<queue><id>" + id + "</id><text>" + text + "</text></queue>";
}

} // namespace

class NacmChange : public ::testing::TestWithParam<Change> {};

TEST_P(NacmChange, NeedsItsKindOfAccess)
{
    const Change& c = GetParam();
    EXPECT_EQ(refused(*for_ann({on_path("permit", c.accesses, "/h:house")}), kAnn, c.before, c.after), c.refused);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, NacmChange,
    ::testing::Values(
        Change{"Nothing", "exec", "<name>x</name>", "<name>x</name>", "permitted"},
        Change{"Create", "create", "", "<name>x</name>", "permitted"},
        Change{"CreateDenied", "update delete read", "", "<name>x</name>", "/house:house/name"},
        Change{"Update", "update", "<name>x</name>", "<name>y</name>", "permitted"},
        Change{"UpdateDenied", "create delete", "<name>x</name>", "<name>y</name>", "/house:house/name"},
        Change{"Delete", "delete", "<name>x</name>", "", "permitted"},
        Change{"DeleteDenied", "create update", "<name>x</name>", "", "/house:house/name"},
        Change{"CreateEntry", "create", "", "<room><name>hall</name></room>", "permitted"},
        Change{"CreateEntryDenied", "update", "", "<room><name>hall</name></room>", "/house:house/room[name='hall']"},
        Change{"DeleteEntryDenied", "update", "<room><name>hall</name></room>", "", "/house:house/room[name='hall']"},
        Change{"LeafInAnExistingEntry", "create", "<room><name>hall</name></room>",
               "<room><name>hall</name><size>3</size></room>", "permitted"},
        Change{"ReplaceEntryIsCreateAndDelete", "create delete", "<room><name>a</name></room>",
               "<room><name>b</name></room>", "permitted"},
        Change{"EntriesOfUnorderedListsMayCome", "exec", "<room><name>a</name></room><room><name>b</name></room>",
               "<room><name>b</name></room><room><name>a</name></room>", "permitted"},
        Change{"LeafListEntry", "create", "<word>a</word>", "<word>b</word><word>a</word>", "permitted"},
        Change{"LeafListEntryDeleted", "create", "<word>a</word><word>b</word>", "<word>b</word>",
               "/house:house/word[.='a']"},
        Change{"ContainerWithoutPresence", "exec", "", "<climate/>", "permitted"},
        Change{"ContentOfAContainer", "update", "", "<climate><target>3</target></climate>",
               "/house:house/climate/target"},
        Change{"PresenceContainer", "update", "", "<alarm/>", "/house:house/alarm"},
        Change{"PresenceContainerDeleted", "delete", "<alarm><code>1</code></alarm>", "", "permitted"},
        Change{"AnydataUpdated", "create delete", "<papers><x xmlns='urn:x'>1</x></papers>",
               "<papers><x xmlns='urn:x'>2</x></papers>", "/house:house/papers"},
        Change{"AnydataEqual", "exec", "<papers><x xmlns='urn:x'>1</x></papers>",
               "<papers><x xmlns='urn:x'>1</x></papers>", "permitted"},
        Change{"Move", "update", kA + kB, kB + kA, "permitted"},
        Change{"MoveDenied", "create delete", kA + kB, kB + kA, "/house:house/queue[id='b']"},
        Change{"MoveOfLeafListDenied", "create delete", "<tag>a</tag><tag>b</tag>", "<tag>b</tag><tag>a</tag>",
               "/house:house/tag[.='b']"},
        Change{"InsertBetween", "create", kA + kB, kA + kC + kB, "permitted"},
        Change{"InsertInFront", "create", kA + kB, kC + kA + kB, "permitted"},
        Change{"DeleteFromTheMiddle", "delete", kA + kC + kB, kA + kB, "permitted"}),
    [](const auto& param) { return std::string{param.param.name}; });

TEST(NacmWrite, DefaultsDecideWithoutRules)
{
    EXPECT_EQ(refused(*for_ann({}), kAnn, "", "<name>x</name>"), "/house:house/name");
    EXPECT_EQ(refused(*for_ann({}, kWritePermit), kAnn, "<name>x</name>", "<colour>x</colour>"), "permitted");
}

TEST(NacmWrite, MarksCloseNodesUnlessARuleOpensThem)
{
    EXPECT_EQ(refused(*for_ann({}, kWritePermit), kAnn, "", "<door>oak</door>"), "/house:house/door");
    EXPECT_EQ(refused(*for_ann({on_path("permit", "create", "/h:house/h:door")}), kAnn, "", "<door>oak</door>"),
              "permitted");
    EXPECT_EQ(refused(*for_ann({}, kWritePermit), kAnn, "", "<safe><inner><depth>1</depth></inner></safe>"),
              "/house:house")
        << "the path does not go below what may be read";
    EXPECT_EQ(refused(*for_ann({on_path("permit", kAll, "/h:house/h:safe")}), kAnn, "<safe><code>1</code></safe>", ""),
              "permitted")
        << "rights on the nodes above are not needed";
}

TEST(NacmWrite, EachNodeOfASubtreeIsJudged)
{
    const std::vector<std::string> rules{on_path("deny", "delete", "/h:house/h:room/h:light/h:level"),
                                         on_path("permit", kAll, "/h:house/h:room")};
    EXPECT_EQ(refused(*for_ann(rules), kAnn, "<room><name>a</name><light><level>1</level></light></room>", ""),
              "/house:house/room[name='a']/light/level");
    EXPECT_EQ(refused(*for_ann(rules), kAnn, "<room><name>a</name><light/></room>", ""), "permitted");
}

TEST(NacmWrite, WholeTreesComeAndGo)
{
    const Tree tree = house("<name>x</name>");
    const auto create = for_ann({on_path("permit", "create", "/")});
    EXPECT_FALSE(create->check_write(kAnn, nullptr, tree.get()).has_value());
    EXPECT_EQ(create->check_write(kAnn, tree.get(), nullptr).value().path, "/house:house/name");
    EXPECT_FALSE(create->check_write(kAnn, nullptr, nullptr).has_value());
}

TEST(NacmWrite, EntriesAreProtectedOneByOne)
{
    const auto nacm =
        for_ann({on_path("deny", "update", "/h:house/h:room[h:name='a']"), on_path("permit", "*", "/h:house/h:room")});
    const auto rooms = [](int a, int b) {
        return "<room><name>a</name><size>" + std::to_string(a) + "</size></room><room><name>b</name><size>" +
               std::to_string(b) + "</size></room>";
    };
    EXPECT_EQ(refused(*nacm, kAnn, rooms(1, 1), rooms(1, 2)), "permitted");
    EXPECT_EQ(refused(*nacm, kAnn, rooms(1, 1), rooms(2, 1)), "/house:house/room[name='a']/size");
}

TEST(NacmWrite, EntriesThatMayNotBeUpdatedKeepTheirOrder)
{
    const auto nacm =
        for_ann({on_path("deny", "update", "/h:house/h:queue[h:id='a']"),
                 on_path("deny", "update", "/h:house/h:queue[h:id='c']"), on_path("permit", "*", "/h:house/h:queue")});
    EXPECT_EQ(refused(*nacm, kAnn, kA + kB + kC, kB + kA + kC), "permitted");
    EXPECT_EQ(refused(*nacm, kAnn, kA + kB + kC, kA + kC + kB), "permitted");
    EXPECT_EQ(refused(*nacm, kAnn, kA + kB + kC, kC + kB + kA), "/house:house/queue[id='c']");
    EXPECT_EQ(refused(*nacm, kAnn, kA + kB, kB + queue_text("a", "new")), "permitted") << "the text is created";
    EXPECT_EQ(refused(*nacm, kAnn, queue_text("a", "x") + kB, kB + queue_text("a", "y")),
              "/house:house/queue[id='a']/text");
}

TEST(NacmWrite, ValuesThatOnlyStemFromDefaultsAreNoChange)
{
    const auto with_defaults = [](const std::string& children) {
        lyd_node* raw = house(children).release();
        lyd_new_implicit_all(&raw, &context(), 0, nullptr);
        return Tree{raw};
    };
    const auto nobody = for_ann({});
    EXPECT_FALSE(nobody->check_write(kAnn, house("").get(), with_defaults("").get()).has_value());
    EXPECT_FALSE(nobody->check_write(kAnn, with_defaults("").get(), house("").get()).has_value());
    EXPECT_EQ(nobody->check_write(kAnn, with_defaults("").get(), house("<colour>white</colour>").get()).value().path,
              "/house:house/colour")
        << "setting it by itself is one";
    const auto updater = for_ann({on_path("permit", "update", "/")});
    EXPECT_EQ(updater->check_write(kAnn, house("<colour>red</colour>").get(), with_defaults("").get()).value().path,
              "/house:house/colour")
        << "going back to the default is a deletion";
}

TEST(NacmWrite, AnErrorNamesNothingThatIsHidden)
{
    const auto nacm = for_ann({on_path("deny", "read", "/h:house/h:room[h:name='vault']")});
    EXPECT_EQ(refused(*nacm, kAnn, "<room><name>vault</name><size>1</size></room>", ""), "/house:house");
    const auto blind = for_ann({on_path("deny", "read", "/")});
    EXPECT_EQ(refused(*blind, kAnn, "<name>x</name>", ""), "");
}

TEST(NacmWrite, PartsOfTreesAreJudgedWithWhatIsAboveThem)
{
    const auto nacm = for_ann({on_path("permit", "update", "/h:house/h:climate")});
    const Tree before = house("<climate><target>1</target></climate>");
    const Tree after = house("<climate><target>2</target></climate>");
    EXPECT_FALSE(nacm->check_write(kAnn, lyd_child(before.get()), lyd_child(after.get())).has_value());
}
