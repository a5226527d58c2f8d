// SPDX-License-Identifier: Apache-2.0
//
// Look-up in the models.
#include "lamp_models.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace zpf::test {

TEST(Schema, FindsNodesByTagPath)
{
    const SchemaNode* const level = lamp_schema().find_path("/lamps/lamp/config/level");
    ASSERT_NE(level, nullptr);
    EXPECT_EQ(level->tag, "level");
    EXPECT_EQ(level->ns, kLampNs);
    EXPECT_TRUE(level->numeric);
    EXPECT_EQ(level->kind, NodeKind::leaf);
    EXPECT_EQ(level->path(), "/lamps/lamp/config/level");
}

TEST(Schema, IgnoresPrefixesAndDoubleSlashes)
{
    const SchemaNode* const cell = lamp_schema().find_path("/cells/cell");
    EXPECT_EQ(lamp_schema().find_path("/a1:cells/a1:cell"), cell);
    EXPECT_EQ(lamp_schema().find_path("cells//cell/"), cell);
}

TEST(Schema, FindsNothingElse)
{
    for (const char* path : {"", "/", "/cell", "/cells/cel", "/cells/cell/", "/cells/cell/id/deeper", ":", "/a:"}) {
        const bool is_there = std::string_view{path} == "/cells/cell/";
        EXPECT_EQ(lamp_schema().find_path(path) != nullptr, is_there) << path;
    }
    EXPECT_EQ(lamp_schema().find_top("cell"), nullptr);
    EXPECT_EQ(lamp_schema().find_top(""), nullptr);
}

TEST(Schema, KnowsKeysInTheModelsOrder)
{
    const SchemaNode& cell = *lamp_schema().find_path("/cells/cell");
    EXPECT_EQ(cell.keys, (std::vector<std::string>{"kind", "id"}));
    EXPECT_TRUE(cell.is_key("id"));
    EXPECT_FALSE(cell.is_key("note"));
}

TEST(Schema, ANodeAddedTwiceStaysAsItWas)
{
    Schema schema;
    SchemaNode first;
    first.tag = "box";
    first.ns = "urn:one";
    SchemaNode second = SchemaNode{};
    second.tag = "box";
    second.ns = "urn:two";
    SchemaNode& added = schema.add(nullptr, std::move(first));
    EXPECT_EQ(&schema.add(nullptr, std::move(second)), &added);
    EXPECT_EQ(added.ns, "urn:one");
    EXPECT_EQ(schema.tops().size(), 1u);
}

TEST(Schema, MovesKeepAddresses)
{
    Schema schema;
    EXPECT_TRUE(schema.empty());
    SchemaNode box;
    box.tag = "box";
    const SchemaNode* const added = &schema.add(nullptr, std::move(box));
    const Schema moved = std::move(schema);
    EXPECT_EQ(moved.find_top("box"), added);
    EXPECT_EQ(added->path(), "/box");
}

} // namespace zpf::test
