// SPDX-License-Identifier: Apache-2.0
//
// The search for a leaf by its path, first case by case, then against a reference over random trees.
#include "plugin_fixture.hpp"

#include <cstring>
#include <random>

namespace {

using test::describe;
using test::oc;
using test::Plugin;
using test::Spec;
using test::Tree;

constexpr const char* kAbsolute = "/optical-attenuator/attenuators/attenuator/name";

using ComparePathFunction = int32_t(zpf_map_ctx, const qidl_zpf_datatree*, const char*, char*, char*);

struct Found {
    int32_t result;
    std::string key;
    std::string path;
    friend bool operator==(const Found&, const Found&) = default;
};

void PrintTo(const Found& found, std::ostream* os)
{
    *os << found.result << " key <" << found.key << "> path <" << found.path << ">";
}

class ComparePath : public test::PluginTest {
protected:
    Found search(const qidl_zpf_datatree* node, const char* path_to_find)
    {
        char path[200] = "";
        char key[20] = "";
        auto* compare = Plugin::shared().get<ComparePathFunction>("compare_path");
        const int32_t result = compare(framework.ctx(), node, path_to_find, path, key);
        return {result, key, path};
    }
    static Spec without_tag(std::vector<Spec> children)
    {
        return Spec{std::nullopt, std::nullopt, std::move(children), std::nullopt};
    }
    static Spec request_for(const std::vector<const char*>& names)
    {
        std::vector<Spec> entries;
        entries.reserve(names.size());
        for (const char* name : names) {
            entries.push_back(oc("attenuator", {oc("name", name)}));
        }
        return oc("optical-attenuator", {oc("attenuators", entries)});
    }
};

TEST_F(ComparePath, FindsTheKeyBelowARootWithoutTag)
{
    Tree tree{without_tag({request_for({"0/0-VOA-BST2"})})};
    EXPECT_EQ(search(tree.root(), kAbsolute), (Found{1, "0/0-VOA-BST2", "/"}));
}

TEST_F(ComparePath, NeedsNoLeadingSlashFromANodeThatIsTheFirstStep)
{
    Tree tree{request_for({"0/0-VOA-BST2"})};
    EXPECT_EQ(search(tree.root(), kAbsolute + 1), (Found{1, "0/0-VOA-BST2", "optical-attenuator/"}));
    EXPECT_EQ(search(tree.root(), kAbsolute).result, 0);
}

TEST_F(ComparePath, TakesTheFirstOfSeveralInChildOrder)
{
    Tree tree{request_for({"0/0-VOA-BST2", "0/0-VOA-BST0"})};
    EXPECT_EQ(search(tree.root(), kAbsolute + 1).key, "0/0-VOA-BST2");
}

TEST_F(ComparePath, MatchesTheSearchedNodeItself)
{
    Tree tree{oc("name", "x")};
    EXPECT_EQ(search(tree.root(), "name"), (Found{1, "x", "name"}));
}

TEST_F(ComparePath, DoesNotFindANullNodeAndSaysSo)
{
    framework.logs_error = true;
    EXPECT_EQ(search(nullptr, kAbsolute), (Found{0, "", ""}));
    EXPECT_THAT(framework.messages("ERR"), ::testing::ElementsAre("return, req is NULL"));
}

TEST_F(ComparePath, DoesNotFindALeafThatIsNotPresentAndStaysSilent)
{
    framework.logs_trace = true;
    Tree tree{oc("attenuator", {oc("name", "x").absent()})};
    EXPECT_EQ(search(&tree.at({"name"}), "name"), (Found{0, "", ""}));
    EXPECT_THAT(framework.messages("TRC"), ::testing::IsEmpty());
    EXPECT_EQ(search(tree.root(), "attenuator/name").result, 0);
}

TEST_F(ComparePath, DoesNotFindALeafWithoutValue)
{
    Tree tree{oc("attenuator", {oc("name")})};
    EXPECT_EQ(search(tree.root(), "attenuator/name").result, 0);
}

TEST_F(ComparePath, LooksAtChildrenThatAreNotFlagged)
{
    Tree tree{oc("attenuator", {oc("name", "x")})};
    tree.root()->state_flags &= static_cast<uint8_t>(~ZPF_STATE_SUBTREES);
    EXPECT_EQ(search(tree.root(), "attenuator/name").key, "x");
}

TEST_F(ComparePath, TakesACountWithTheHighestBitAsNoChildren)
{
    Tree tree{oc("attenuator", {oc("name", "x")})};
    tree.root()->subtree_count = 0x80000001u;
    EXPECT_EQ(search(tree.root(), "attenuator/name").result, 0);
}

TEST_F(ComparePath, CutsTheKeyToItsBuffer)
{
    Tree tree{oc("name", "0123456789012345678901234")};
    EXPECT_EQ(search(tree.root(), "name").key, "0123456789012345678");
}

TEST_F(ComparePath, CutsALongPathWhichThenMatchesNothingLonger)
{
    const std::string tag(150, 'a');
    const std::string whole = tag + "/" + tag;
    Tree tree{oc(tag.c_str(), {oc(tag.c_str(), "x")})};
    EXPECT_EQ(search(tree.root(), whole.c_str()).result, 0);
    EXPECT_EQ(search(tree.root(), whole.substr(0, 199).c_str()).result, 1);
}

TEST_F(ComparePath, ReportsEachStepOfTheSearch)
{
    framework.logs_trace = true;
    Tree tree{without_tag({oc("name", "x")})};
    search(tree.root(), "/name");
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::ElementsAre("TAG <(null)>, NS <(null)>", "subtree_count 1",
                                       "TAG <name>, NS <" ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR ">", "data x",
                                       "path        : </name>", "path_to_find: </name>", "key x,", "req->_data x,"));
}

TEST_F(ComparePath, ReportsAMissingTextBehindAValueFlag)
{
    framework.logs_trace = true;
    Tree tree{oc("name")};
    tree.root()->state_flags |= ZPF_STATE_VALUE;
    EXPECT_EQ(search(tree.root(), "name"), (Found{1, "", "name"}));
    EXPECT_THAT(framework.messages("TRC"), ::testing::IsSupersetOf({"data (null)", "req->_data (null),"}));
}

// ---- against a reference

std::string cut(const std::string& text, std::size_t size)
{
    return text.substr(0, size - 1);
}

/** The rule in its plainest form: all paths with their values, in order; the first that matches. */
void list_leaves(const qidl_zpf_datatree& node, std::string path, std::vector<std::pair<std::string, std::string>>& all)
{
    if ((node.state_flags & ZPF_STATE_PRESENT) == 0) {
        return;
    }
    path = cut(path + (node.tag != nullptr ? node.tag : ""), 200);
    if ((node.state_flags & ZPF_STATE_VALUE) != 0) {
        all.emplace_back(path, cut(node._data, 20));
    }
    path = cut(path + "/", 200);
    for (uint32_t i = 0; i < node.subtree_count; ++i) {
        list_leaves(node.subtrees[i], path, all);
    }
}

Spec random_tree(std::mt19937& random, int depth)
{
    const auto below = [&random](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
    static const char* const tags[] = {"a", "b", "name"};
    Spec node;
    const uint32_t kind = below(12);
    if (kind == 0) {
        node.tag = std::string(70 + below(80), 'l');
    } else if (kind != 1) {
        node.tag = tags[below(3)];
    }
    node.is_present = below(8) != 0;
    if (below(3) == 0) {
        node.value = std::string(below(30), static_cast<char>('0' + below(10)));
    }
    for (uint32_t i = 0, count = depth > 0 ? below(4) : 0; i < count; ++i) {
        node.children.push_back(random_tree(random, depth - 1));
    }
    return node;
}

TEST_F(ComparePath, AgreesWithTheReferenceOverRandomTrees)
{
    int found = 0;
    for (uint32_t seed = 1; seed <= 3000; ++seed) {
        std::mt19937 random{seed};
        Tree tree{random_tree(random, 4)};
        std::vector<std::pair<std::string, std::string>> all;
        list_leaves(*tree.root(), "", all);
        std::vector<std::string> paths{"a/b/name", "/a/name", "name"};
        if (!all.empty()) {
            paths.push_back(all[random() % all.size()].first);
        }
        for (const std::string& path : paths) {
            const auto first =
                std::find_if(all.begin(), all.end(), [&](const auto& leaf) { return leaf.first == path; });
            const Found result = search(tree.root(), path.c_str());
            ASSERT_EQ(result.result, first != all.end() ? 1 : 0) << "seed " << seed << " path " << path << '\n'
                                                                 << describe(*tree.root());
            ASSERT_EQ(result.key, first != all.end() ? first->second : "")
                << "seed " << seed << " path " << path << '\n'
                << describe(*tree.root());
            found += result.result;
        }
    }
    EXPECT_GT(found, 1000); // the trees are worth searching
}

// ---- printing

class PrintData : public test::PluginTest {};

TEST_F(PrintData, PrintsTheHierarchyThenTheTreesOfTheRequest)
{
    framework.logs_trace = true;
    Tree first{oc("first")};
    Tree second{oc("second")};
    framework.stand_in(*first.root(), 1);
    framework.stand_in(*second.root(), 2);
    framework.request.root_node = first.root();
    framework.request.current_node = second.root();
    Plugin::shared().get<void(zpf_map_ctx)>("print_data")(framework.ctx());
    EXPECT_THAT(framework.calls, ::testing::ElementsAre("print(node_data) enabled", "print(node_data) enabled",
                                                        "print(root_node) enabled", "print(parent_node) enabled",
                                                        "print(current_node) enabled",
                                                        "print(reg_dup_datatree) enabled", "print(plist) enabled"));
    EXPECT_THAT(framework.printed, ::testing::ElementsAre(first.root(), second.root(), first.root(), nullptr,
                                                          second.root(), nullptr, nullptr));
    EXPECT_THAT(framework.messages("TRC"), ::testing::ElementsAre("iteration 0", "iteration 1"));
    EXPECT_EQ(framework.context.print_enabled, 1u);
}

TEST_F(PrintData, PrintsNothingWithoutARequest)
{
    framework.context.request = nullptr;
    Plugin::shared().get<void(zpf_map_ctx)>("print_data")(framework.ctx());
    EXPECT_THAT(framework.calls, ::testing::IsEmpty());
    framework.context.request = &framework.request;
}

} // namespace
