// SPDX-License-Identifier: Apache-2.0
//
// Request trees that no walk can be trusted with: refused with one clear message, nothing touched.
#include "driver_fixture.hpp"

namespace zpf::test {

class Damage : public DriverTest {
protected:
    void expect_refused(const Node* request, std::string_view message, std::string_view path)
    {
        const TreeSource source(schema(), store.root(), TreeSource::Answer::everything);
        const EditResult edited = lamp_driver().edit(context, request, source, options);
        const ReadResult read_back = lamp_driver().read(context, ZPF_REQUEST_GET, request, source);
        for (const auto& refusal : {edited.refusal, read_back.refusal}) {
            ASSERT_TRUE(refusal);
            EXPECT_THAT(refusal->message, ::testing::HasSubstr(message));
            EXPECT_EQ(refusal->path, path);
            EXPECT_EQ(refusal->tag, "operation-failed");
            EXPECT_EQ(refusal->code, ZPF_RC_BAD_TREE);
            EXPECT_EQ(refusal->app_tag, "ZPF_RC_BAD_TREE");
        }
        EXPECT_EQ(to_text(edited.after.root()), to_text(edited.before.root()));
        EXPECT_EQ(to_text(read_back.reply.root()), "");
    }

    Tree asked = edit_of(schema(), "lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"1\"\n");
    Node& lamp = asked.root().subtrees[0].subtrees[0];
};

TEST_F(Damage, NoTreeAtAll)
{
    expect_refused(nullptr, "no request tree", "");
}

TEST_F(Damage, AnElementWithoutName)
{
    find_child(lamp, "config")->tag = nullptr;
    expect_refused(&asked.root(), "has no name", "/lamps/lamp");
}

TEST_F(Damage, ATopElementWithoutName)
{
    asked.root().subtrees[0].tag = nullptr;
    expect_refused(&asked.root(), "has no name", "");
}

TEST_F(Damage, ChildrenThatAreCountedAndNotThere)
{
    Node& config = *find_child(lamp, "config");
    config.subtrees = nullptr;
    config.subtree_count = 4000000000u;
    expect_refused(&asked.root(), "counted that are not there", "/lamps/lamp/config");
}

TEST_F(Damage, ARootWhoseCountLies)
{
    Node root{};
    root.state_flags = ZPF_STATE_PRESENT | ZPF_STATE_SUBTREES;
    root.subtree_count = 1;
    expect_refused(&root, "counted that are not there", "");
}

TEST_F(Damage, AnEmptyArrayIsNone)
{
    Node& config = *find_child(lamp, "config");
    config.subtrees = nullptr;
    config.subtree_count = 0;
    const TreeSource source(schema(), store.root());
    EXPECT_FALSE(lamp_driver().edit(context, &asked.root(), source, options).refusal);
}

TEST_F(Damage, CountsThatAreNotDeclaredValidAreIgnored)
{
    Node& config = *find_child(lamp, "config");
    config.subtrees = nullptr;
    config.subtree_count = 77;
    config.state_flags = ZPF_STATE_PRESENT;
    const TreeSource source(schema(), store.root());
    EXPECT_FALSE(lamp_driver().edit(context, &asked.root(), source, options).refusal);
}

TEST_F(Damage, TenThousandLevels)
{
    Tree deep;
    Node* node = &deep.add(deep.root(), "lamps", kLampNs);
    for (int i = 0; i < 10000; ++i) {
        node = &deep.add(*node, "lamps", kLampNs);
    }
    const TreeSource source(schema(), store.root(), TreeSource::Answer::everything);
    const EditResult edited = lamp_driver().edit(context, &deep.root(), source, options);
    ASSERT_TRUE(edited.refusal);
    EXPECT_THAT(edited.refusal->message, ::testing::HasSubstr("nested too deeply"));
    EXPECT_LT(edited.refusal->path.size(), 1000u);
    const ReadResult read_back = lamp_driver().read(context, ZPF_REQUEST_GET, &deep.root(), source);
    ASSERT_TRUE(read_back.refusal);
    EXPECT_THAT(read_back.refusal->message, ::testing::HasSubstr("nested too deeply"));
}

TEST_F(Damage, TenThousandEntriesAreNoDamage)
{
    Tree wide;
    Node& lamps = wide.add(wide.root(), "lamps", kLampNs);
    for (int i = 0; i < 10000; ++i) {
        Node& entry = wide.add(lamps, "lamp", kLampNs, std::nullopt, ZPF_OP_NONE);
        wide.add(entry, "note", kLampNs, "x", ZPF_OP_NONE);
    }
    const TreeSource source(schema(), store.root(), TreeSource::Answer::everything);
    const EditResult edited = lamp_driver().edit(context, &wide.root(), source, options);
    ASSERT_TRUE(edited.refusal);
    EXPECT_EQ(edited.refusal->code, ZPF_RC_KEY_MISSING);
}

} // namespace zpf::test
