// SPDX-License-Identifier: Apache-2.0
//
// Request trees that no text can make, as other hosts may hand them over: each gets one refusal with what a client is
// told, and the native data stay as they are.
#include <gtest/gtest.h>

#include <functional>

#include "device.hpp"
#include "leaves.hpp"
#include "system.hpp"

namespace zpf::scenarios {

namespace {

constexpr const char* kEntryPath = "/optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST2']";

/// A request for one attenuator, with the nodes that cases damage.
struct Request {
    Tree tree;
    Node* top = nullptr;
    Node* attenuators = nullptr;
    Node* entry = nullptr;

    Request()
    {
        const Schema& schema = System::shared().schema();
        const SchemaNode& root = *schema.find_top("optical-attenuator");
        const SchemaNode& above = *root.find("attenuators");
        const SchemaNode& list = *above.find("attenuator");
        top = &tree.add(tree.root(), root, std::nullopt, ZPF_OP_NONE);
        attenuators = &tree.add(*top, above, std::nullopt, ZPF_OP_NONE);
        entry = &tree.add(*attenuators, list, std::nullopt, ZPF_OP_NONE);
        tree.add(*entry, *list.find("name"), "0/0-VOA-BST2", ZPF_OP_NONE);
    }
};

struct Case {
    const char* name;
    std::function<void(Request&)> damage;
    const char* tag;
    const char* app_tag;
    std::string path;
    const char* bad_element;
};

void PrintTo(const Case& one, std::ostream* os)
{
    *os << one.name;
}

class Trees : public ::testing::TestWithParam<Case> {};

TEST_P(Trees, AreRefusedAndChangeNothing)
{
    if (const std::string missing = missing_models(); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    const System& system = System::shared();
    Dice dice(1);
    const Tree native = native_data(system.schema(), random_device(dice));
    const auto leaves_before = leaves_of(system.schema(), native.root());
    const TreeSource source(system.schema(), native.root());
    Request request;
    GetParam().damage(request);
    Context context(&system.schema());
    const EditResult result = system.driver().edit(context, &request.tree.root(), source, system.judged_edit());
    ASSERT_TRUE(result.refusal.has_value());
    EXPECT_EQ(result.refusal->type, "application");
    EXPECT_EQ(result.refusal->tag, GetParam().tag);
    EXPECT_EQ(result.refusal->app_tag, GetParam().app_tag);
    EXPECT_EQ(result.refusal->path, GetParam().path);
    EXPECT_EQ(result.refusal->bad_element, GetParam().bad_element);
    EXPECT_NE(result.refusal->message, "");
    EXPECT_EQ(leaves_of(system.schema(), native.root()), leaves_before);
    EXPECT_TRUE(changes_between(system.schema(), result.before.root(), result.after.root()).lines.empty());
}

std::vector<Case> cases()
{
    const std::string entry = kEntryPath;
    return {
        {"ForeignChildOfAnEntry",
         [](Request& request) { request.tree.add(*request.entry, "note", "urn:notes", "hello", ZPF_OP_NONE); },
         "unknown-namespace", "ZPF_RC_AUGMENT_CREATE", entry + "/note", "note"},
        {"ForeignChildOfTheRoot",
         [](Request& request) { request.tree.add(*request.top, "note", "urn:notes", "hello", ZPF_OP_MERGE); },
         "unknown-namespace", "ZPF_RC_AUGMENT_CREATE", "/optical-attenuator/note", "note"},
        {"UnknownTagOfTheModel",
         [](Request& request) { request.tree.add(*request.entry, "colour", ns_of(*request.top), "red", ZPF_OP_NONE); },
         "operation-not-supported", "ZPF_RC_UNSUPPORTED_NODE", entry + "/colour", "colour"},
        {"TwoNames",
         [](Request& request) {
             request.tree.add(*request.entry, "name", ns_of(*request.top), "0/0-VOA-BST0", ZPF_OP_NONE);
         },
         "missing-element", "ZPF_RC_KEY_MISSING", entry + "/name", "name"},
    };
}

INSTANTIATE_TEST_SUITE_P(ThatNoTextCanMake, Trees, ::testing::ValuesIn(cases()),
                         [](const auto& one) { return one.param.name; });

/// Damage that would make a walk read where nothing is.
TEST(DamagedTrees, AreRefusedInReadsAndEdits)
{
    if (const std::string missing = missing_models(); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    const System& system = System::shared();
    const Tree nothing;
    const TreeSource source(system.schema(), nothing.root());
    const std::vector<std::pair<const char*, std::function<void(Request&)>>> damages{
        {"a tag is null", [](Request& request) { request.entry->tag = nullptr; }},
        {"a count without children",
         [](Request& request) {
             request.entry->subtrees = nullptr;
             request.entry->subtree_count = 3;
         }},
    };
    for (const auto& [what, damage] : damages) {
        Request request;
        damage(request);
        Context context(&system.schema());
        const auto edit = system.driver().edit(context, &request.tree.root(), source, system.judged_edit());
        ASSERT_TRUE(edit.refusal.has_value()) << what;
        EXPECT_FALSE(edit.refusal->message.empty()) << what;
        const auto read = system.driver().read(context, ZPF_REQUEST_GET, &request.tree.root(), source);
        ASSERT_TRUE(read.refusal.has_value()) << what;
        EXPECT_FALSE(read.refusal->message.empty()) << what;
    }
    Context context(&system.schema());
    EXPECT_TRUE(system.driver().edit(context, nullptr, source, {}).refusal.has_value());
    EXPECT_TRUE(system.driver().read(context, ZPF_REQUEST_GET, nullptr, source).refusal.has_value());
}

} // namespace

} // namespace zpf::scenarios
