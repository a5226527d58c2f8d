// SPDX-License-Identifier: Apache-2.0
//
// The guard: the plug-in takes names loosely, and no edit may reach a native entry that the client did not name.
#include "driver_fixture.hpp"

namespace zpf::test {

class Guard : public DriverTest {
protected:
    std::string refusal(std::string_view request)
    {
        const EditResult result = edit(request);
        EXPECT_EQ(to_text(result.after.root()),
                  result.refusal ? to_text(result.before.root()) : to_text(result.after.root()));
        return result.refusal ? result.refusal->tag + " " + result.refusal->path + " " + result.refusal->bad_element
                              : "none";
    }
};

struct Name {
    const char* name;
    const char* lamp;
};

class LooseName : public DriverTest, public ::testing::WithParamInterface<Name> {
protected:
    static std::string request(const char* text)
    {
        std::string made = text;
        made.replace(made.find("NAME"), 4, GetParam().lamp);
        return made;
    }
};

TEST_P(LooseName, IsRefusedWhereSomethingIsToBeSet)
{
    for (const char* text :
         {"lamps\n  lamp\n    name = \"NAME\"\n", "lamps\n  lamp op=merge\n    name = \"NAME\"\n",
          "lamps\n  lamp op=create\n    name = \"NAME\"\n", "lamps\n  lamp op=replace\n    name = \"NAME\"\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    config\n      level = \"1\"\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    config\n      note = \"x\" op=create\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    config op=replace\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    config\n      note op=remove\n      level = \"1\"\n"}) {
        const EditResult result = edit(request(text));
        ASSERT_TRUE(result.refusal) << text;
        EXPECT_EQ(result.refusal->tag, "invalid-value") << text;
        EXPECT_EQ(result.refusal->bad_element, "name") << text;
        EXPECT_EQ(result.refusal->path, std::string("/lamps/lamp[name='") + GetParam().lamp + "']") << text;
        EXPECT_THAT(result.refusal->message, ::testing::HasSubstr(std::string("\"") + GetParam().lamp + "\"")) << text;
        EXPECT_EQ(to_text(result.after.root()), to_text(result.before.root())) << text;
    }
}

TEST_P(LooseName, IsMissingWhereSomethingIsToBeDeleted)
{
    for (const char* text : {"lamps\n  lamp op=delete\n    name = \"NAME\"\n",
                             "lamps\n  lamp\n    name = \"NAME\"\n    config op=delete\n",
                             "lamps\n  lamp\n    name = \"NAME\"\n    config\n      note op=delete\n"}) {
        const EditResult result = edit(request(text));
        ASSERT_TRUE(result.refusal) << text;
        EXPECT_EQ(result.refusal->tag, "data-missing") << text;
    }
}

TEST_P(LooseName, HasNothingToRemove)
{
    for (const char* text :
         {"lamps\n  lamp op=remove\n    name = \"NAME\"\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    config op=remove\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    config\n      note op=remove\n      level op=remove\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    beams\n      beam op=remove\n        side = \"left\"\n"
          "        number = \"1\"\n",
          "lamps\n  lamp\n    name = \"NAME\"\n    beams\n      beam\n        side = \"left\"\n        number = \"1\"\n"
          "        width op=remove\n"}) {
        EXPECT_EQ(after(request(text)), kRack) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Names, LooseName,
                         ::testing::Values(Name{"LeadingZero", "L01"}, Name{"TrailingText", "L3x"},
                                           Name{"Malformed", "bulb"}, Name{"Negative", "L-1"},
                                           Name{"OutOfRange", "L100"}, Name{"WithoutNumber", "L"},
                                           Name{"WithSlash", "L1/2"}),
                         CaseName{});

TEST_F(Guard, AStrayBesideTheRealEntryDoesNotHide)
{
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"1\"\n"
                      "  lamp\n    name = \"L01\"\n    config\n      level = \"2\"\n"),
              "invalid-value /lamps/lamp[name='L01'] name");
}

TEST_F(Guard, ARemovalThatStraysIsDroppedAndTheRestIsDone)
{
    EXPECT_EQ(after("lamps\n"
                    "  lamp op=remove\n"
                    "    name = \"L01\"\n"
                    "  lamp\n"
                    "    name = \"L1\"\n"
                    "    config\n"
                    "      note = \"attic\"\n"
                    "  lamp op=remove\n"
                    "    name = \"bulb\"\n"),
              rack_with({{"note = \"hall\"", "note = \"attic\""}}));
}

TEST_F(Guard, WhatIsDroppedIsNoLongerPartOfTheNativeEdit)
{
    const EditResult result = edit("lamps\n  lamp op=remove\n    name = \"L01\"\n");
    ASSERT_FALSE(result.refusal);
    EXPECT_THAT(to_text(result.edit.root()), ::testing::Not(::testing::HasSubstr("c1")));
}

TEST_F(Guard, TellsItsVerdictToTheWatcher)
{
    struct Verdicts : Observer {
        std::string text;
        void phase(Phase phase, std::string_view detail, const Node*, qerrno) override
        {
            text += phase == Phase::verdict ? std::string(detail) : "";
        }
    } verdicts;
    context.observe(&verdicts);
    EXPECT_EQ(after("lamps\n  lamp op=remove\n    name = \"L01\"\n"), kRack);
    context.observe(nullptr);
    EXPECT_THAT(verdicts.text, ::testing::HasSubstr("/lamps/lamp[name='L01']"));
}

TEST_F(Guard, AnEditWithoutEntriesHasNothingToGuard)
{
    EXPECT_EQ(refusal("lamps\n  config\n    limit = \"1\"\n"), "none");
    EXPECT_EQ(refusal("lamps op=remove\n"), "none");
}

TEST_F(Guard, AnInnerEntryOfARealOneIsFine)
{
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L1\"\n    beams\n      beam\n        side = \"left\"\n"
                      "        number = \"1\"\n"),
              "none");
}

TEST_F(Guard, NamesWithQuotesAreQuotedInPaths)
{
    EXPECT_EQ(refusal("lamps\n  lamp\n    name = \"L'1\"\n"), "invalid-value /lamps/lamp[name=\"L'1\"] name");
}

} // namespace zpf::test
