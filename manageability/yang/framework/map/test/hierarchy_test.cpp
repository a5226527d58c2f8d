// SPDX-License-Identifier: Apache-2.0
//
// The node hierarchy, and what is read off it.
#include "operations_fixture.hpp"

namespace zpf::test {

class Hierarchy : public Operations {
protected:
    Tree walked = tree_of(lamp_schema(), "lamps\n"
                                         "  lamp\n"
                                         "    name = \"0/L'1\"\n"
                                         "    config\n"
                                         "      level = \"1\"\n"
                                         "  lamp\n"
                                         "    name\n"
                                         "    beams\n"
                                         "      beam\n"
                                         "        number = \"2\"\n"
                                         "        side = \"left\"\n");
    Node& lamps = walked.root().subtrees[0];
    Node& lamp = lamps.subtrees[0];
    Node& nameless = lamps.subtrees[1];

    void enter(const Node& node, uint32_t level) { zpf_map_add_to_node_hierarchy(ctx(), &node, level); }
    void leave(const Node& node) { zpf_map_remove_from_node_hierarchy(ctx(), &node); }

    std::string error_path()
    {
        zpf_oc_error_path(ctx());
        return context.error_path();
    }
};

TEST_F(Hierarchy, IsTheNodeDataOfTheRequest)
{
    EXPECT_EQ(request().node_data_count, 0);
    enter(lamps, 1);
    enter(lamp, 2);
    ASSERT_EQ(request().node_data_count, 2);
    EXPECT_EQ(request().node_data[0].node, &lamps);
    EXPECT_EQ(request().node_data[0].level, 1u);
    EXPECT_EQ(request().node_data[1].node, &lamp);
    EXPECT_EQ(request().node_data[1].level, 2u);
    leave(lamp);
    ASSERT_EQ(request().node_data_count, 1);
    EXPECT_EQ(request().node_data[0].node, &lamps);
    leave(lamps);
    EXPECT_EQ(request().node_data_count, 0);
}

TEST_F(Hierarchy, ANodeEnteredTwiceLeavesOnce)
{
    enter(lamps, 1);
    enter(lamps, 1);
    leave(lamps);
    EXPECT_EQ(request().node_data_count, 1);
}

#ifndef NDEBUG
TEST_F(Hierarchy, LeavingOutOfOrderIsABrokenWalker)
{
    enter(lamps, 1);
    enter(lamp, 2);
    EXPECT_DEATH(leave(lamps), "reverse order");
}
#else
TEST_F(Hierarchy, LeavingANodeThatNeverEnteredChangesNothing)
{
    enter(lamps, 1);
    leave(lamp);
    EXPECT_EQ(request().node_data_count, 1);
}
#endif

TEST_F(Hierarchy, RefusesMoreThanItsCountCanSay)
{
    for (int i = 0; i < 255; ++i) {
        enter(lamps, 1);
    }
    EXPECT_EQ(request().sticky, ZPF_RC_OK);
    enter(lamps, 1);
    EXPECT_EQ(request().node_data_count, 255);
    EXPECT_EQ(request().sticky, ZPF_RC_BAD_TREE);
}

// ---- the entry being walked

TEST_F(Hierarchy, NodeInfoIsTheEntryBeingWalkedAndItsKey)
{
    enter(lamps, 1);
    enter(lamp, 2);
    zpf_map_node_info info{};
    EXPECT_EQ(zpf_map_get_node_info(ctx(), kLamp, "name", &info), ZPF_RC_OK);
    EXPECT_EQ(info.entry, &lamp);
    EXPECT_STREQ(info.key_value, "0/L'1");
}

TEST_F(Hierarchy, NodeInfoStripsPrefixes)
{
    enter(lamp, 2);
    zpf_map_node_info info{};
    EXPECT_EQ(zpf_map_get_node_info(ctx(), "/a1:lamps/a1:lamp", "name", &info), ZPF_RC_OK);
    EXPECT_EQ(info.entry, &lamp);
}

TEST_F(Hierarchy, NodeInfoOfAnEntryWithoutKeyHasNoKey)
{
    enter(nameless, 2);
    zpf_map_node_info info{};
    EXPECT_EQ(zpf_map_get_node_info(ctx(), kLamp, "name", &info), ZPF_RC_OK);
    EXPECT_EQ(info.entry, &nameless);
    EXPECT_EQ(info.key_value, nullptr);
    EXPECT_EQ(zpf_map_get_node_info(ctx(), kLamp, "colour", &info), ZPF_RC_OK);
    EXPECT_EQ(info.key_value, nullptr);
}

TEST_F(Hierarchy, NodeInfoTakesNoKeyThatIsNotPresent)
{
    find_child(lamp, "name")->state_flags = ZPF_STATE_VALUE;
    enter(lamp, 2);
    zpf_map_node_info info{};
    EXPECT_EQ(zpf_map_get_node_info(ctx(), kLamp, "name", &info), ZPF_RC_OK);
    EXPECT_EQ(info.key_value, nullptr);
}

TEST_F(Hierarchy, NodeInfoKnowsOnlyTheInnermostEntryOfThatList)
{
    const auto refuses = [this] {
        zpf_map_node_info info{&lamp, "left over"};
        const qerrno result = zpf_map_get_node_info(ctx(), kLamp, "name", &info);
        return result == ZPF_RC_BAD_TREE && info.entry == nullptr && info.key_value == nullptr;
    };
    EXPECT_TRUE(refuses()) << "empty hierarchy";
    enter(lamp, 1);
    EXPECT_TRUE(refuses()) << "entered as a container";
    leave(lamp);
    enter(lamp, 2);
    enter(*find_child(lamp, "config"), 1);
    EXPECT_TRUE(refuses()) << "a container below the entry";
    leave(*find_child(lamp, "config"));
    enter(find_child(nameless, "beams")->subtrees[0], 2);
    EXPECT_TRUE(refuses()) << "an entry of another list";
}

// ---- error path

TEST_F(Hierarchy, TheErrorPathHasKeyPredicates)
{
    enter(lamps, 1);
    enter(lamp, 2);
    enter(*find_child(lamp, "config"), 1);
    EXPECT_EQ(error_path(), "/lamps/lamp[name=\"0/L'1\"]/config");
}

TEST_F(Hierarchy, TheErrorPathNamesKeysInTheModelsOrderAndLeavesOutWhatHasNoValue)
{
    enter(lamps, 1);
    enter(nameless, 2);
    enter(*find_child(nameless, "beams"), 1);
    enter(find_child(nameless, "beams")->subtrees[0], 2);
    EXPECT_EQ(error_path(), "/lamps/lamp/beams/beam[side='left'][number='2']");
}

TEST_F(Hierarchy, TheLastErrorPathWins)
{
    EXPECT_EQ(context.error_path(), "");
    enter(lamps, 1);
    EXPECT_EQ(error_path(), "/lamps");
    enter(lamp, 2);
    EXPECT_EQ(context.error_path(), "/lamps") << "recorded, not read off the hierarchy later";
    leave(lamp);
    leave(lamps);
    EXPECT_EQ(error_path(), "");
}

TEST_F(Hierarchy, TheNextWalkHasNoErrorPath)
{
    enter(lamps, 1);
    EXPECT_EQ(error_path(), "/lamps");
    context.next_walk();
    EXPECT_EQ(context.error_path(), "");
    EXPECT_EQ(request().node_data_count, 0);
    EXPECT_EQ(request().node_data, nullptr);
}

} // namespace zpf::test
