// SPDX-License-Identifier: Apache-2.0
//
// What operations demand of the client's view: delete must find, create must not, and default-operation none makes
// nothing on the way.
#include "driver_fixture.hpp"

namespace zpf::test {

struct Demand {
    const char* name;
    const char* request;
    const char* tag;
    const char* path;
};

class UnmetDemand : public DriverTest, public ::testing::WithParamInterface<Demand> {};

TEST_P(UnmetDemand, IsRefusedAndNothingChanges)
{
    const EditResult result = edit(GetParam().request);
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->tag, GetParam().tag);
    EXPECT_EQ(result.refusal->path, GetParam().path);
    EXPECT_EQ(result.refusal->type, "application");
    EXPECT_EQ(result.refusal->code, ZPF_RC_OK);
    EXPECT_NE(result.refusal->message, "");
    EXPECT_EQ(to_text(result.after.root()), to_text(result.before.root()));
}

INSTANTIATE_TEST_SUITE_P(
    Delete, UnmetDemand,
    ::testing::Values(
        Demand{"OfAMissingEntry", "lamps\n  lamp op=delete\n    name = \"L7\"\n", "data-missing",
               "/lamps/lamp[name='L7']"},
        Demand{"OfAMissingLeaf", "lamps\n  lamp\n    name = \"L3\"\n    config\n      note op=delete\n", "data-missing",
               "/lamps/lamp[name='L3']/config/note"},
        Demand{"OfALeafOfAMissingEntry", "lamps\n  lamp\n    name = \"L7\"\n    config\n      note op=delete\n",
               "data-missing", "/lamps/lamp[name='L7']/config/note"},
        Demand{"OfAContainerOfAMissingEntry", "lamps\n  lamp\n    name = \"L7\"\n    config op=delete\n",
               "data-missing", "/lamps/lamp[name='L7']/config"},
        Demand{"OfALooselyNamedEntry", "lamps\n  lamp op=delete\n    name = \"L01\"\n", "data-missing",
               "/lamps/lamp[name='L01']"},
        Demand{
            "OfAMissingInnerEntry",
            "lamps\n  lamp\n    name = \"L3\"\n    beams\n      beam op=delete\n        number = \"1\"\n        side "
            "= \"up\"\n",
            "data-missing", "/lamps/lamp[name='L3']/beams/beam[side='up'][number='1']"},
        Demand{"BesideOneThatIsThere",
               "lamps\n  lamp op=delete\n    name = \"L1\"\n  lamp op=delete\n    name = \"L2\"\n", "data-missing",
               "/lamps/lamp[name='L2']"}),
    CaseName{});

INSTANTIATE_TEST_SUITE_P(
    Create, UnmetDemand,
    ::testing::Values(Demand{"OfTheRoot", "lamps op=create\n", "data-exists", "/lamps"},
                      Demand{"OfAnEntryThatIsThere", "lamps\n  lamp op=create\n    name = \"L1\"\n", "data-exists",
                             "/lamps/lamp[name='L1']"},
                      Demand{"OfAContainerThatIsThere",
                             "lamps\n  lamp\n    name = \"L1\"\n    config op=create\n      note = \"x\"\n",
                             "data-exists", "/lamps/lamp[name='L1']/config"},
                      Demand{"OfALeafThatIsThere",
                             "lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"1\" op=create\n",
                             "data-exists", "/lamps/lamp[name='L1']/config/level"}),
    CaseName{});

class Demands : public DriverTest {
protected:
    std::string refusal(std::string_view request, int32_t default_operation = ZPF_OP_MERGE)
    {
        const EditResult result = edit(request, default_operation);
        return result.refusal ? result.refusal->tag + " " + result.refusal->path : "none";
    }
};

TEST_F(Demands, CreateOfWhatIsNotThereIsDone)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L3\"\n    config\n      note = \"new\" op=create\n"),
              rack_with({{"        gain = \"6\"\n", "        gain = \"6\"\n    note = \"new\"\n"}}));
}

TEST_F(Demands, DeleteTwiceFindsNothingTheSecondTime)
{
    const char* const request = "lamps\n  lamp op=delete\n    name = \"L1\"\n";
    stock(after(request));
    EXPECT_EQ(refusal(request), "data-missing /lamps/lamp[name='L1']");
}

TEST_F(Demands, DeleteOfTheRootNeedsSomethingThatTheClientSees)
{
    stock("cells\n  cell\n    kind = \"arc\"\n    id = \"c2\"\n");
    EXPECT_EQ(refusal("lamps op=delete\n"), "data-missing /lamps");
}

TEST_F(Demands, WhatTheDeviceDoesNotHaveIsUnsupportedAndNotMissing)
{
    const EditResult result = edit("lamps\n  lamp\n    name = \"L1\"\n    config\n      colour op=delete\n");
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->tag, "operation-not-supported");
    EXPECT_EQ(result.refusal->bad_element, "colour");
}

TEST_F(Demands, NothingBelowACreateOrAReplaceDemandsMore)
{
    EXPECT_EQ(refusal("lamps\n  lamp op=create\n    name = \"L7\"\n    config\n      note = \"x\" op=create\n"),
              "none");
    EXPECT_EQ(refusal("lamps\n  lamp op=replace\n    name = \"L1\"\n    config\n      note = \"x\" op=create\n"),
              "none");
    EXPECT_EQ(refusal("lamps\n  lamp op=replace\n    name = \"L1\"\n    config\n      level = \"1\" op=delete\n"),
              "none");
}

TEST_F(Demands, OperationalDataAreNoConfiguration)
{
    EXPECT_EQ(refusal("lamps\n  lamp op=delete\n    name = \"L5\"\n"), "data-missing /lamps/lamp[name='L5']");
    EXPECT_EQ(refusal("lamps\n  lamp op=create\n    name = \"L5\"\n"), "none");
}

TEST_F(Demands, AnOperationOnTheKeyIsTheWalkersBusiness)
{
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L7\" op=create\n"), "none");
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L1\" op=create\n"), "none");
    const EditResult result = edit("lamps\n  lamp op=replace\n    name = \"L1\" op=delete\n");
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->code, ZPF_RC_KEY_DELETE);
}

// ---- default-operation none

TEST_F(Demands, NoneLeavesAloneWhatCarriesNoOperation)
{
    EXPECT_EQ(after("lamps\n"
                    "  config\n"
                    "    limit = \"1\"\n"
                    "  lamp\n"
                    "    name = \"L1\"\n"
                    "    config\n"
                    "      note = \"x\"\n"
                    "      level = \"1\" op=merge\n"
                    "  lamp\n"
                    "    name = \"L9\"\n",
                    ZPF_OP_NONE),
              rack_with({{"lum = \"30\"", "lum = \"10\""}}));
}

TEST_F(Demands, NoneDoesWhatAnExplicitOperationSaysForAllBelow)
{
    EXPECT_EQ(after("lamps\n  lamp op=merge\n    name = \"L7\"\n    config\n      note = \"x\"\n", ZPF_OP_NONE),
              after("lamps\n  lamp\n    name = \"L7\"\n    config\n      note = \"x\"\n"));
    EXPECT_EQ(after("lamps\n  lamp op=delete\n    name = \"L1\"\n", ZPF_OP_NONE),
              after("lamps\n  lamp op=delete\n    name = \"L1\"\n"));
}

TEST_F(Demands, NoneWithoutAnyOperationChangesNothing)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L9\"\n    config\n      level = \"bright\"\n", ZPF_OP_NONE), kRack);
}

TEST_F(Demands, NoneNeedsTheAncestorsOfWhatItIsToDo)
{
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L7\"\n    config\n      note = \"x\" op=merge\n", ZPF_OP_NONE),
              "data-missing /lamps/lamp[name='L7']");
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L7\"\n    config\n      note op=remove\n", ZPF_OP_NONE),
              "data-missing /lamps/lamp[name='L7']");
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L3\"\n    config\n      note = \"x\" op=merge\n", ZPF_OP_NONE),
              "none");
    stock("");
    EXPECT_EQ(refusal("lamps\n  lamp op=create\n    name = \"L7\"\n", ZPF_OP_NONE), "data-missing /lamps");
}

} // namespace zpf::test
