// SPDX-License-Identifier: Apache-2.0
//
// Printing of trees to the debug log.
#include "operations_fixture.hpp"

#include <vector>

#include "zpf/diagnostics.h"
#include "zpf_base/log.h"

namespace zpf::test {

class Print : public Operations {
protected:
    Print() { context.set_log(1u << ZPF_LEVEL_TRACE, log); }
    ~Print() override
    {
        context.set_log(0, nullptr);
        zpf_log_close(log);
    }

    static void keep(void* lines, const char* line) { static_cast<std::vector<std::string>*>(lines)->push_back(line); }

    std::vector<std::string> lines;
    zpf_log* log = zpf_log_to_sink(&Print::keep, &lines);
    Tree shown = tree_of(lamp_schema(), "rack\n"
                                        "  limit = \"5\" op=delete\n");
};

TEST_F(Print, WritesALineForEachNodeWhenAsked)
{
    ctx()->print_enabled = 1;
    zpf_map_print_datatree_internal(ctx(), shown.root().subtrees, "rack_node");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(lines[0], ::testing::HasSubstr("rack_node: rack"));
    EXPECT_THAT(lines[1], ::testing::HasSubstr("rack_node:   limit = \"5\" op=delete"));
    EXPECT_THAT(lines[0], ::testing::HasSubstr("TRC: ZPF: ctx="));
}

TEST_F(Print, AcceptsANullNode)
{
    ctx()->print_enabled = 1;
    zpf_map_print_datatree_internal(ctx(), nullptr, "plist");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0], ::testing::HasSubstr("plist: (none)"));
}

TEST_F(Print, IsSilentUnlessAsked)
{
    ctx()->print_enabled = 0;
    zpf_map_print_datatree_internal(ctx(), shown.root().subtrees, "rack_node");
    EXPECT_TRUE(lines.empty());
}

TEST_F(Print, IsSilentWhenTheFilterKeepsTracesOut)
{
    context.set_log(1u << ZPF_LEVEL_ERROR, log);
    ctx()->print_enabled = 1;
    zpf_map_print_datatree_internal(ctx(), shown.root().subtrees, "rack_node");
    EXPECT_TRUE(lines.empty());
}

} // namespace zpf::test
