// SPDX-License-Identifier: Apache-2.0
//
// Edits end to end: what delete and remove take away at each level, and what they never touch.
#include "driver_fixture.hpp"

namespace zpf::test {

namespace {

constexpr const char* kCell1 = "  cell\n"
                               "    kind = \"led\"\n"
                               "    id = \"c1\"\n"
                               "    dimming\n"
                               "      lum = \"30\"\n"
                               "    note = \"hall\"\n"
                               "    wear = \"5\"\n";

} // namespace

class Removal : public DriverTest, public ::testing::WithParamInterface<const char*> {
protected:
    /// The request with "OP" replaced by the operation of this run.
    static std::string with_op(std::string request)
    {
        request.replace(request.find("OP"), 2, GetParam());
        return request;
    }
};

TEST_P(Removal, OfALeafTakesTheLeaf)
{
    EXPECT_EQ(after(with_op("lamps\n  lamp\n    name = \"L1\"\n    config\n      note op=OP\n")),
              rack_with({{"    note = \"hall\"\n", ""}}));
}

TEST_P(Removal, OfALeafTakesTheContainerThatItLeavesEmpty)
{
    EXPECT_EQ(after(with_op("lamps\n  lamp\n    name = \"L1\"\n    config\n      level op=OP\n")),
              rack_with({{"    dimming\n      lum = \"30\"\n", ""}}));
}

TEST_P(Removal, OfALeafKeepsAnEntryThatHasNothingElse)
{
    stock("cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"hall\"\n");
    EXPECT_EQ(after(with_op("lamps\n  lamp\n    name = \"L1\"\n    config\n      note op=OP\n")),
              "cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n");
}

TEST_P(Removal, OfAContainerTakesItsLeaves)
{
    EXPECT_EQ(after(with_op("lamps\n  lamp\n    name = \"L1\"\n    config op=OP\n")),
              rack_with({{"    dimming\n      lum = \"30\"\n    note = \"hall\"\n", ""}}));
}

TEST_P(Removal, OfAnEntryTakesTheNativeEntryWhole)
{
    const EditResult result = edit(with_op("lamps\n  lamp op=OP\n    name = \"L1\"\n"));
    ASSERT_FALSE(result.refusal) << result.refusal->message;
    EXPECT_THAT(to_text(result.edit.root(), 0, true), ::testing::HasSubstr("[OWN]"));
    EXPECT_EQ(to_text(result.after.root()), rack_with({{kCell1, ""}}));
}

TEST_P(Removal, OfTheLastEntryTakesTheContainer)
{
    stock("cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n");
    EXPECT_EQ(after(with_op("lamps\n  lamp op=OP\n    name = \"L1\"\n")), "");
}

TEST_P(Removal, OfTheRootTakesWhatTheMappingKnowsOfEveryLamp)
{
    const EditResult result = edit(with_op("lamps op=OP\n"));
    ASSERT_FALSE(result.refusal) << result.refusal->message;
    EXPECT_EQ(to_text(result.edit.root(), 0, true), "cells\n"
                                                    "  cell op=remove [ALL]\n"
                                                    "    dimming\n"
                                                    "      lum op=remove\n"
                                                    "    note op=remove\n"
                                                    "rack\n"
                                                    "  limit op=remove\n");
    EXPECT_EQ(to_text(result.after.root()), rack_with({{"    dimming\n      lum = \"30\"\n    note = \"hall\"\n", ""},
                                                       {"    dimming\n      lum = \"95\"\n", ""},
                                                       {"  limit = \"800\"\n", ""}}));
}

TEST_P(Removal, OfTheRootPrunesEntriesThatHaveNothingElse)
{
    stock("cells\n"
          "  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"hall\"\n"
          "  cell\n    kind = \"led\"\n    id = \"c3\"\n    note = \"attic\"\n    wear = \"1\"\n"
          "  cell\n    kind = \"led\"\n    id = \"c4\"\n"
          "  cell\n    kind = \"led\"\n    id = \"relay\"\n"
          "  cell\n    kind = \"arc\"\n    id = \"c1\"\n    note = \"spark\"\n");
    EXPECT_EQ(after(with_op("lamps op=OP\n")), "cells\n"
                                               "  cell\n    kind = \"led\"\n    id = \"c3\"\n    wear = \"1\"\n"
                                               "  cell\n    kind = \"led\"\n    id = \"relay\"\n"
                                               "  cell\n    kind = \"arc\"\n    id = \"c1\"\n    note = \"spark\"\n");
}

TEST_P(Removal, OfTheRootLeavesNoEmptyContainers)
{
    stock("cells\n"
          "  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"hall\"\n"
          "rack\n"
          "  limit = \"1\"\n");
    EXPECT_EQ(after(with_op("lamps op=OP\n")), "");
}

TEST_P(Removal, OfAnInnerEntryTakesThatEntry)
{
    EXPECT_EQ(after(with_op("lamps\n  lamp\n    name = \"L3\"\n    beams\n      beam op=OP\n        side = \"left\"\n"
                            "        number = \"1\"\n")),
              rack_with({{"      tap\n        pin = \"left1\"\n        gain = \"4\"\n", ""}}));
}

TEST_P(Removal, OfALeafOutsideOfEveryList)
{
    EXPECT_EQ(after(with_op("lamps\n  config\n    limit op=OP\n")), rack_with({{"  limit = \"800\"\n", ""}}));
}

TEST_P(Removal, OfAContainerWithContentIsRefused)
{
    const EditResult result = edit(with_op("lamps\n  lamp\n    name = \"L1\"\n    config op=OP\n      note = \"x\"\n"));
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->tag, "operation-failed");
    EXPECT_EQ(result.refusal->code, ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(to_text(result.after.root()), to_text(result.before.root()));
}

TEST_P(Removal, BesideAMergeOfAnotherEntry)
{
    EXPECT_EQ(after(with_op("lamps\n  lamp op=OP\n    name = \"L1\"\n  lamp\n    name = \"L3\"\n    config\n"
                            "      level = \"1\"\n")),
              rack_with({{kCell1, ""}, {"lum = \"95\"", "lum = \"10\""}}));
}

INSTANTIATE_TEST_SUITE_P(Operations, Removal, ::testing::Values("delete", "remove"),
                         [](const auto& one) { return std::string(one.param); });

// ---- what is not there

class Remove : public DriverTest {};

TEST_F(Remove, OfWhatIsNotThereChangesNothing)
{
    for (const char* request :
         {"lamps\n  lamp op=remove\n    name = \"L7\"\n", "lamps\n  lamp\n    name = \"L7\"\n    config op=remove\n",
          "lamps\n  lamp\n    name = \"L7\"\n    config\n      level op=remove\n",
          "lamps\n  lamp\n    name = \"L3\"\n    config\n      note op=remove\n",
          "lamps\n  lamp\n    name = \"L7\"\n    beams\n      beam op=remove\n        side = \"up\"\n"
          "        number = \"1\"\n",
          "lamps\n  lamp\n    name = \"L3\"\n    beams\n      beam op=remove\n        side = \"up\"\n"
          "        number = \"1\"\n",
          "lamps\n  lamp\n    name = \"L1\"\n    beams\n      beam op=remove\n        side = \"up\"\n"
          "        number = \"1\"\n"}) {
        EXPECT_EQ(after(request), kRack) << request;
    }
}

TEST_F(Remove, OfWhatIsNotThereMakesNothingInAnEmptyRack)
{
    stock("");
    for (const char* request : {"lamps op=remove\n", "lamps\n  lamp op=remove\n    name = \"L7\"\n",
                                "lamps\n  lamp\n    name = \"L7\"\n    config\n      level op=remove\n",
                                "lamps\n  config\n    limit op=remove\n"}) {
        EXPECT_EQ(after(request), "") << request;
    }
}

TEST_F(Remove, BesideABareNameStillCreatesThatEntry)
{
    stock("");
    EXPECT_EQ(after("lamps\n"
                    "  lamp op=remove\n"
                    "    name = \"L1\"\n"
                    "  lamp\n"
                    "    name = \"L3\"\n"
                    "    config\n"
                    "      note op=remove\n"
                    "  lamp\n"
                    "    name = \"L7\"\n"),
              "cells\n  cell\n    kind = \"led\"\n    id = \"c7\"\n");
}

TEST_F(Remove, KeepsAContainerThatWasEmptyBefore)
{
    stock("cells\nrack\n");
    EXPECT_EQ(after("lamps op=remove\n"), "cells\nrack\n");
}

TEST_F(Remove, TwiceIsOnce)
{
    const std::string once = after("lamps op=remove\n");
    stock(once);
    EXPECT_EQ(after("lamps op=remove\n"), once);
}

TEST_F(Remove, AReplaceIsARemoveAndAMerge)
{
    const char* const content = "    name = \"L1\"\n    config\n      note = \"attic\"\n";
    const std::string replaced = after(std::string("lamps\n  lamp op=replace\n") + content);
    stock(after("lamps\n  lamp\n    name = \"L1\"\n    config op=remove\n"));
    EXPECT_EQ(after(std::string("lamps\n  lamp\n") + content), replaced);
}

TEST_F(Remove, ThenMergeOfTheSameEntryInOneEditEndsWithTheMerge)
{
    EXPECT_EQ(after("lamps\n"
                    "  lamp op=remove\n"
                    "    name = \"L1\"\n"
                    "  lamp\n"
                    "    name = \"L1\"\n"
                    "    config\n"
                    "      note = \"attic\"\n"),
              rack_with({{kCell1, ""},
                         {"        gain = \"6\"\n", "        gain = \"6\"\n  cell\n    kind = \"led\"\n    id = "
                                                    "\"c1\"\n    note = \"attic\"\n"}}));
}

} // namespace zpf::test
