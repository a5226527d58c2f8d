// SPDX-License-Identifier: Apache-2.0
//
// zpf_map_datatree_add_path_flagged: list entries and their keys.
#include "operations_fixture.hpp"

namespace zpf::test {

class AddPathEntries : public Operations {};

TEST_F(AddPathEntries, AListStepOnTheWayOpensAnEntryWhenNoneIsOpen)
{
    fill(kCellNote, "new");
    fill(kCellLum, "3");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    note = \"new\"\n"
                           "    dimming\n"
                           "      lum = \"3\"\n"));
}

TEST_F(AddPathEntries, AListAtTheEndWithoutTheFlagIsAStepOnTheWay)
{
    Node* first = nullptr;
    Node* second = nullptr;
    ASSERT_EQ(add(kCell, nullptr, 0, 0, nullptr, &first), ZPF_RC_OK);
    fill(kCellNote, "new");
    ASSERT_EQ(add(kCell, nullptr, 0, 0, nullptr, &second), ZPF_RC_OK);
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    note = \"new\"\n"));
    EXPECT_EQ(first, second);
}

TEST_F(AddPathEntries, TheFlagReusesAnEmptyOpenEntryOfTheSameOperation)
{
    const Node removal = source_with(ZPF_OP_DELETE);
    begin(ZPF_REQUEST_EDIT_CONFIG);
    open(kCell, &removal);
    open(kCell, &removal);
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell op=delete\n"));
}

TEST_F(AddPathEntries, TheFlagOpensAnotherEntryForAnotherOperation)
{
    const Node removal = source_with(ZPF_OP_DELETE);
    const Node remove = source_with(ZPF_OP_REMOVE);
    begin(ZPF_REQUEST_EDIT_CONFIG);
    open(kCell, &removal);
    open(kCell);
    open(kCell, &remove);
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell op=delete\n"
                           "  cell\n"
                           "  cell op=remove\n"));
}

TEST_F(AddPathEntries, AnUnkeyedEntryWithALeafIsNotReused)
{
    const Node remove = source_with(ZPF_OP_REMOVE);
    begin(ZPF_REQUEST_EDIT_CONFIG);
    open(kCell, &remove);
    decide(kCellLum, nullptr, &remove);
    open(kCell, &remove);
    fill(kCellId, "c1");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell op=remove\n"
                           "    dimming\n"
                           "      lum op=remove\n"
                           "  cell op=remove\n"
                           "    id = \"c1\"\n"));
}

TEST_F(AddPathEntries, AValuelessKeyIsEnoughForAnotherEntry)
{
    open(kCell);
    fill(kCellId, nullptr);
    open(kCell);
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id\n"
                           "  cell\n"));
}

TEST_F(AddPathEntries, OpenEntriesOfDifferentListsDoNotMix)
{
    open(kCell);
    fill(kCellId, "c1");
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g1");
    fill(kCellNote, "new");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    note = \"new\"\n"
                           "gauges\n"
                           "  gauge\n"
                           "    id = \"g1\"\n"));
}

TEST_F(AddPathEntries, OpenEntriesOfDifferentTreesDoNotMix)
{
    Tree other;
    open(kCell);
    fill(kCellId, "c1");
    ASSERT_EQ(zpf_map_datatree_add_path_flagged(ctx(), &other.root(), kCellNote, "", "new", nullptr, nullptr, 0, 0),
              ZPF_RC_OK);
    EXPECT_EQ(to_text(other.root()), tree("cells\n"
                                          "  cell\n"
                                          "    note = \"new\"\n"));
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"));
}

TEST_F(AddPathEntries, AnInnerListBelongsToTheOpenEntryOfTheOuter)
{
    open(kCell);
    fill(kCellId, "c1");
    fill("/cells/cell/taps/tap/pin", "1");
    open(kCell);
    fill(kCellId, "c2");
    fill("/cells/cell/taps/tap/pin", "1");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    taps\n"
                           "      tap\n"
                           "        pin = \"1\"\n"
                           "  cell\n"
                           "    id = \"c2\"\n"
                           "    taps\n"
                           "      tap\n"
                           "        pin = \"1\"\n"));
}

// ---- keys

class AddPathKeys : public Operations, public ::testing::WithParamInterface<const char*> {};

TEST_P(AddPathKeys, NothingNeverChangesAKeyThatHasAValue)
{
    const char* const nothing = GetParam();
    for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_GET_CONFIG, ZPF_REQUEST_EDIT_CONFIG}) {
        for (const uint32_t leaf_flag : {0u, 1u}) {
            begin(kind);
            open(kCell);
            fill(kCellId, "c1");
            ASSERT_EQ(add(kCellId, nothing, 0, leaf_flag), ZPF_RC_OK);
            EXPECT_EQ(text(), tree("cells\n"
                                   "  cell\n"
                                   "    id = \"c1\"\n"));
        }
    }
}

TEST_P(AddPathKeys, NothingMakesAKeyWithoutAValue)
{
    open(kCell);
    Node* leaf = nullptr;
    ASSERT_EQ(add(kCellId, GetParam(), 0, 0, nullptr, &leaf), ZPF_RC_OK);
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id\n"));
    EXPECT_EQ(leaf->state_flags, ZPF_STATE_PRESENT);
    fill(kCellId, "c1");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"));
}

INSTANTIATE_TEST_SUITE_P(Nothing, AddPathKeys, ::testing::Values(static_cast<const char*>(nullptr), ""),
                         [](const auto& one) { return std::string(one.param ? "EmptyText" : "Null"); });

TEST_F(AddPathEntries, TheSameKeyAgainChangesNothing)
{
    open(kCell);
    fill(kCellId, "c1");
    fill(kCellNote, "new");
    decide(kCellId, "c1");
    fill(kCellLum, "3");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    note = \"new\"\n"
                           "    dimming\n"
                           "      lum = \"3\"\n"));
}

TEST_F(AddPathEntries, AKeyNeverTakesAnOperation)
{
    const Node removal = source_with(ZPF_OP_DELETE);
    begin(ZPF_REQUEST_EDIT_CONFIG);
    open(kCell);
    decide(kCellId, "c1", &removal);
    fill(kCellKind, "led", &removal);
    decide(kCellId, "c1", &removal);
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    kind = \"led\"\n"));
}

TEST_F(AddPathEntries, AnotherKeyInAReadSelectsTheEntryThatHasIt)
{
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g1");
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g2");
    fill("/gauges/gauge/id", "g1");
    fill("/gauges/gauge/lum", "7");
    EXPECT_EQ(text(), tree("gauges\n"
                           "  gauge\n"
                           "    id = \"g1\"\n"
                           "    lum = \"7\"\n"
                           "  gauge\n"
                           "    id = \"g2\"\n"));
}

TEST_F(AddPathEntries, AnotherKeyInAReadOpensAnEntryWhenNoneHasIt)
{
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g1");
    fill("/gauges/gauge/id", "g2");
    fill("/gauges/gauge/lum", "7");
    EXPECT_EQ(text(), tree("gauges\n"
                           "  gauge\n"
                           "    id = \"g1\"\n"
                           "  gauge\n"
                           "    id = \"g2\"\n"
                           "    lum = \"7\"\n"));
}

TEST_F(AddPathEntries, AnotherKeyInAnEditAlwaysOpensAnEntry)
{
    begin(ZPF_REQUEST_EDIT_CONFIG);
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g1");
    fill("/gauges/gauge/id", "g2");
    fill("/gauges/gauge/id", "g1");
    fill("/gauges/gauge/lum", "7");
    EXPECT_EQ(text(), tree("gauges\n"
                           "  gauge\n"
                           "    id = \"g1\"\n"
                           "  gauge\n"
                           "    id = \"g2\"\n"
                           "  gauge\n"
                           "    id = \"g1\"\n"
                           "    lum = \"7\"\n"));
}

// ---- entries that come to the same keys

TEST_F(AddPathEntries, InAReadAnEntryWithTheKeysOfAnOlderOneFillsThatOne)
{
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g1");
    fill("/gauges/gauge/lum", "1");
    open("/gauges/gauge");
    fill("/gauges/gauge/id", "g2");
    open("/gauges/gauge");
    fill("/gauges/gauge/lum", "2");
    fill("/gauges/gauge/id", "g1");
    EXPECT_EQ(text(), tree("gauges\n"
                           "  gauge\n"
                           "    id = \"g1\"\n"
                           "    lum = \"1\"\n"
                           "  gauge\n"
                           "    id = \"g2\"\n"));
}

TEST_F(AddPathEntries, EntriesAreTheSameOnlyWithAllKeys)
{
    for (const char* const kind : {"led", "arc", "led"}) {
        open(kCell);
        fill(kCellId, "c1");
        fill(kCellKind, kind);
    }
    fill(kCellNote, "last");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    kind = \"led\"\n"
                           "    note = \"last\"\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    kind = \"arc\"\n"));
}

TEST_F(AddPathEntries, MergingFillsWhatTheOlderLacksAtEveryLevel)
{
    open(kCell);
    fill(kCellId, "c1");
    fill(kCellKind, "led");
    fill("/cells/cell/taps/tap/pin", "1");
    fill("/cells/cell/taps/tap/gain", nullptr);
    fill(kCellNote, "old");
    open(kCell);
    fill(kCellNote, "new");
    fill(kCellLum, "3");
    fill("/cells/cell/taps/tap/pin", "1");
    fill("/cells/cell/taps/tap/gain", "9");
    fill("/cells/cell/taps/tap/pin", "2");
    fill(kCellId, "c1");
    fill(kCellKind, "led");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    kind = \"led\"\n"
                           "    taps\n"
                           "      tap\n"
                           "        pin = \"1\"\n"
                           "        gain = \"9\"\n"
                           "      tap\n"
                           "        pin = \"2\"\n"
                           "    note = \"old\"\n"
                           "    dimming\n"
                           "      lum = \"3\"\n"));
}

TEST_F(AddPathEntries, AYoungerEntryWithTheSameKeysIsTakenIn)
{
    open(kCell);
    fill(kCellKind, "led");
    search(kCell, "c1", "id");
    fill(kCellKind, "led");
    fill(kCellNote, "young");
    search(kCell, "led", "kind"); // the first entry is open again
    fill(kCellId, "c1");
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    kind = \"led\"\n"
                           "    id = \"c1\"\n"
                           "    note = \"young\"\n"));
}

TEST_F(AddPathEntries, InAnEditEntriesWithEqualKeysStayApart)
{
    const Node remove = source_with(ZPF_OP_REMOVE);
    begin(ZPF_REQUEST_EDIT_CONFIG);
    for (const Node* source : {&remove, static_cast<const Node*>(nullptr)}) {
        open(kCell, source);
        fill(kCellId, "c1");
        fill(kCellKind, "led");
    }
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell op=remove\n"
                           "    id = \"c1\"\n"
                           "    kind = \"led\"\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    kind = \"led\"\n"));
}

} // namespace zpf::test
