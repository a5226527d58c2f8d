// SPDX-License-Identifier: Apache-2.0
//
// The client's subtree filter (RFC 6241, 6.2): whatever the maps deliver, this is what is left.
#include "driver_fixture.hpp"

namespace zpf::test {

struct Filter {
    const char* name;
    const char* request;
    const char* expected;
};

class SubtreeFilter : public DriverTest, public ::testing::WithParamInterface<Filter> {};

TEST_P(SubtreeFilter, CutsTheReply)
{
    EXPECT_EQ(get(GetParam().request), tree(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Selection, SubtreeFilter,
    ::testing::Values(
        Filter{"LeafOfEveryEntryComesWithTheKeys", "lamps\n  lamp\n    config\n      note\n",
               "lamps\n  lamp\n    name = \"L1\"\n    config\n      note = \"hall\"\n"},
        Filter{"KeyOfEveryEntry", "lamps\n  lamp\n    name\n",
               "lamps\n  lamp\n    name = \"L1\"\n  lamp\n    name = \"L3\"\n  lamp\n    name = \"L5\"\n"},
        Filter{"ContainerWhole", "lamps\n  config\n", "lamps\n  config\n    limit = \"80.0\"\n"},
        Filter{"LeafOutsideOfLists", "lamps\n  config\n    limit\n", "lamps\n  config\n    limit = \"80.0\"\n"},
        Filter{
            "TwoSelectionsInOneEntry",
            "lamps\n  lamp\n    name = \"L1\"\n    config\n      note\n    state\n      lit\n",
            "lamps\n  lamp\n    name = \"L1\"\n    config\n      note = \"hall\"\n    state\n      lit = \"true\"\n"},
        Filter{"KeysOfAnInnerList", "lamps\n  lamp\n    beams\n      beam\n        width\n",
               "lamps\n  lamp\n    name = \"L3\"\n    beams\n"
               "      beam\n        side = \"left\"\n        number = \"1\"\n        width = \"4\"\n"
               "      beam\n        side = \"right\"\n        number = \"2\"\n        width = \"6\"\n"},
        Filter{"NothingThatIsThere", "lamps\n  lamp\n    name = \"L5\"\n    beams\n      beam\n        width\n",
               "lamps\n  lamp\n    name = \"L5\"\n"}),
    CaseName{});

INSTANTIATE_TEST_SUITE_P(
    ContentMatch, SubtreeFilter,
    ::testing::Values(
        Filter{"OnTheKeyAloneSelectsTheEntryWhole", "lamps\n  lamp\n    name = \"L5\"\n",
               "lamps\n  lamp\n    name = \"L5\"\n"
               "    state\n      name = \"L5\"\n      level = \"0.7\"\n      lit = \"true\"\n"
               "    config\n      level = \"0.7\"\n"},
        Filter{"OnALeafBelow", "lamps\n  lamp\n    config\n      note = \"hall\"\n",
               "lamps\n  lamp\n    name = \"L1\"\n"
               "    config\n      name = \"L1\"\n      level = \"3.0\"\n      note = \"hall\"\n"},
        Filter{"BesideASelection", "lamps\n  lamp\n    state\n      lit = \"false\"\n      level\n",
               "lamps\n  lamp\n    name = \"L3\"\n    state\n      level = \"0.0\"\n      lit = \"false\"\n"},
        Filter{"EachOfTwoMustHold", "lamps\n  lamp\n    state\n      lit = \"true\"\n      level = \"3.1\"\n",
               "lamps\n  lamp\n    name = \"L1\"\n"
               "    state\n      name = \"L1\"\n      level = \"3.1\"\n      lit = \"true\"\n"},
        Filter{"OnTextIsByteForByte", "lamps\n  lamp\n    config\n      note = \"Hall\"\n", ""},
        Filter{"OnANumberIsNumeric", "lamps\n  lamp\n    config\n      level = \"9.50\"\n      name\n",
               "lamps\n  lamp\n    name = \"L3\"\n    config\n      name = \"L3\"\n      level = \"9.5\"\n"},
        Filter{"OnANumberWithLeadingZeros", "lamps\n  lamp\n    config\n      level = \"09.5\"\n      name\n",
               "lamps\n  lamp\n    name = \"L3\"\n    config\n      name = \"L3\"\n      level = \"9.5\"\n"},
        Filter{"OnAnotherNumber", "lamps\n  lamp\n    config\n      level = \"9.6\"\n", ""},
        Filter{"OnNoNumber", "lamps\n  lamp\n    config\n      level = \"bright\"\n", ""},
        Filter{"ThatFailsDropsTheSelectionsBesideIt",
               "lamps\n  lamp\n    name = \"L1\"\n    config\n      note = \"attic\"\n      level\n",
               "lamps\n  lamp\n    name = \"L1\"\n"},
        Filter{"OnOneKeyOfTwo", "lamps\n  lamp\n    name = \"L3\"\n    beams\n      beam\n        side = \"left\"\n",
               "lamps\n  lamp\n    name = \"L3\"\n    beams\n"
               "      beam\n        side = \"left\"\n        number = \"1\"\n        width = \"4\"\n"}),
    CaseName{});

INSTANTIATE_TEST_SUITE_P(
    SeveralFilters, SubtreeFilter,
    ::testing::Values(
        Filter{"ForOneListAddUp",
               "lamps\n  lamp\n    name = \"L1\"\n    config\n      note\n  lamp\n    name = \"L3\"\n    state\n"
               "      lit\n",
               "lamps\n  lamp\n    name = \"L1\"\n    config\n      note = \"hall\"\n"
               "  lamp\n    name = \"L3\"\n    state\n      lit = \"false\"\n"},
        Filter{"KeyedBesideUnkeyed",
               "lamps\n  lamp\n    name = \"L1\"\n    config\n      note\n  lamp\n    state\n      lit\n",
               "lamps\n"
               "  lamp\n    name = \"L1\"\n    config\n      note = \"hall\"\n    state\n      lit = \"true\"\n"
               "  lamp\n    name = \"L3\"\n    state\n      lit = \"false\"\n"
               "  lamp\n    name = \"L5\"\n    state\n      lit = \"true\"\n"},
        Filter{"OneFailingBesideOneHolding",
               "lamps\n  lamp\n    name = \"L9\"\n  lamp\n    name = \"L1\"\n    state\n      lit\n",
               "lamps\n  lamp\n    name = \"L1\"\n    state\n      lit = \"true\"\n"},
        Filter{"WholeBesidePart",
               "lamps\n  lamp\n    name = \"L5\"\n    config\n      level\n  lamp\n    name = \"L5\"\n",
               "lamps\n  lamp\n    name = \"L5\"\n"
               "    state\n      name = \"L5\"\n      level = \"0.7\"\n      lit = \"true\"\n"
               "    config\n      level = \"0.7\"\n"}),
    CaseName{});

INSTANTIATE_TEST_SUITE_P(Namespaces, SubtreeFilter,
                         ::testing::Values(Filter{"OfAnotherModelSelectNothing",
                                                  "lamps\n  lamp\n    name = \"L1\"\n    config\n      "
                                                  "{urn:other}note\n",
                                                  "lamps\n  lamp\n    name = \"L1\"\n"},
                                           Filter{"OfTheModelSpelledOut",
                                                  "lamps\n  lamp\n    name = \"L1\"\n    config\n      "
                                                  "{urn:acme:lamp}note\n",
                                                  "lamps\n  lamp\n    name = \"L1\"\n    config\n      note = "
                                                  "\"hall\"\n"}),
                         CaseName{});

} // namespace zpf::test
