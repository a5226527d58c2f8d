// SPDX-License-Identifier: Apache-2.0
//
// What an edit's list entries note when they are created: how a removal is meant, and the request entry they belong to.
#include "operations_fixture.hpp"

namespace zpf::test {

struct Moment {
    const char* name;
    uint32_t kind;
    int32_t edit_op;
    uint32_t walk_mode;
    uint32_t walk_flags;
    const char* expected;
};

class Marks : public Operations {
protected:
    uint32_t ordinal_of(std::size_t index) const
    {
        return children(*find_child(out->root(), "cells"))[index].fw_mark >> 8;
    }
};

class RemovalMarks : public Operations, public ::testing::WithParamInterface<Moment> {};

TEST_P(RemovalMarks, SayHowTheRemovalIsMeant)
{
    const Moment& moment = GetParam();
    begin(moment.kind);
    request().walk_mode = moment.walk_mode;
    request().walk_flags = moment.walk_flags;
    const Node source = source_with(moment.edit_op);
    open(kCell, &source);
    const std::string marks = marked_text();
    const auto bracket = marks.find('[');
    EXPECT_EQ(bracket == std::string::npos ? "" : marks.substr(bracket, marks.find(']') - bracket + 1),
              moment.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Moments, RemovalMarks,
    ::testing::Values(
        Moment{"DeleteInAnExpansion", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_DELETE, 1, 0, "[ALL]"},
        Moment{"RemoveInAnExpansion", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_REMOVE, 1, 0, "[ALL]"},
        Moment{"ExpansionOfAReplaceAbove", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_REMOVE, 1, ZPF_WALK_REPLACE_DELETE, "[ALL]"},
        Moment{"FirstPassOfAReplacedEntry", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_REMOVE, 0, ZPF_WALK_REPLACE_DELETE,
               "[REPL]"},
        Moment{"ClientsDelete", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_DELETE, 0, 0, "[OWN]"},
        Moment{"ClientsRemove", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_REMOVE, 0, 0, "[OWN]"},
        Moment{"DeleteInTheSecondPass", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_DELETE, 0, ZPF_WALK_REPLACE_MERGE, "[OWN]"},
        Moment{"MergeInAnExpansion", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_MERGE, 1, 0, ""},
        Moment{"MergeInTheFirstPass", ZPF_REQUEST_EDIT_CONFIG, ZPF_OP_MERGE, 0, ZPF_WALK_REPLACE_DELETE, ""},
        Moment{"Read", ZPF_REQUEST_GET, ZPF_OP_DELETE, 1, 0, ""}),
    CaseName{});

TEST_F(Marks, TellTheRequestEntriesApartInTheOrderInWhichTheyWereWalked)
{
    begin(ZPF_REQUEST_EDIT_CONFIG);
    Tree walked = tree_of(lamp_schema(), "lamps\n"
                                         "  lamp\n"
                                         "    config\n"
                                         "  lamp\n");
    Node& lamps = walked.root().subtrees[0];
    zpf_map_add_to_node_hierarchy(ctx(), &lamps, 1);
    open(kCell);
    fill(kCellNote, "above any entry");
    for (Node& lamp : children(lamps)) {
        zpf_map_add_to_node_hierarchy(ctx(), &lamp, 2);
        ASSERT_EQ(zpf_map_update_current_list_node(ctx(), kLamp), ZPF_RC_OK);
        open(kCell);
        fill(kCellNote, "first");
        zpf_map_add_to_node_hierarchy(ctx(), &walked.root(), 1); // a container below the entry
        open(kCell);
        fill(kCellNote, "second");
        zpf_map_remove_from_node_hierarchy(ctx(), &walked.root());
        zpf_map_remove_from_node_hierarchy(ctx(), &lamp);
    }
    ASSERT_EQ(children(*find_child(out->root(), "cells")).size(), 5u);
    EXPECT_EQ(ordinal_of(0), 0u);
    EXPECT_EQ(ordinal_of(1), 1u);
    EXPECT_EQ(ordinal_of(2), 1u);
    EXPECT_EQ(ordinal_of(3), 2u);
    EXPECT_EQ(ordinal_of(4), 2u);
}

TEST_F(Marks, AnEntryOpenedByItsKeyBelongsToTheRequestEntryToo)
{
    begin(ZPF_REQUEST_EDIT_CONFIG);
    Tree walked = tree_of(lamp_schema(), "lamps\n"
                                         "  lamp\n");
    zpf_map_add_to_node_hierarchy(ctx(), walked.root().subtrees[0].subtrees, 2);
    fill(kCellId, "c1");
    fill(kCellId, "c2");
    EXPECT_EQ(ordinal_of(0), 1u);
    EXPECT_EQ(ordinal_of(1), 1u);
}

TEST_F(Marks, AReusedEntryKeepsItsMark)
{
    begin(ZPF_REQUEST_EDIT_CONFIG);
    const Node removal = source_with(ZPF_OP_DELETE);
    request().subtree_delete_allowed = 2;
    open(kCell, &removal);
    request().subtree_delete_allowed = 0;
    open(kCell, &removal);
    EXPECT_EQ(marked_text(), "cells\n"
                             "  cell op=delete [OWN]\n");
}

} // namespace zpf::test
