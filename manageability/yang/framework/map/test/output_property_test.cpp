// SPDX-License-Identifier: Apache-2.0
//
// Random sequences of operations on an output tree, from fixed seeds. What must hold after each step does not depend on
// the sequence.
#include "operations_fixture.hpp"

#include <algorithm>
#include <cstring>
#include <random>
#include <set>

namespace zpf::test {

namespace {

using Keys = std::vector<std::string>;

bool holds(const Node& tree, const Node* node)
{
    for (const Node& child : children(tree)) {
        if (&child == node || holds(child, node)) {
            return true;
        }
    }
    return false;
}

/// The entry's keys, or nothing when one has no value.
std::optional<Keys> keys_of(const Node& entry, const SchemaNode& list)
{
    Keys keys;
    for (const std::string& key : list.keys) {
        const Node* const leaf = find_child(entry, key);
        if (leaf == nullptr || !value_of(*leaf) || value_of(*leaf)->empty()) {
            return std::nullopt;
        }
        keys.emplace_back(*value_of(*leaf));
    }
    return keys;
}

std::string first_double(const Node& parent, const SchemaNode* above, const Schema& schema)
{
    std::set<std::pair<std::string, Keys>> seen;
    std::set<std::string_view> singles;
    for (const Node& node : children(parent)) {
        const SchemaNode* const own = above ? above->find(tag_of(node)) : schema.find_top(tag_of(node));
        if (own->kind != NodeKind::list && !singles.insert(tag_of(node)).second) {
            return "two of " + own->path();
        }
        if (own->kind == NodeKind::list) {
            const auto keys = keys_of(node, *own);
            if (keys && !seen.emplace(own->tag, *keys).second) {
                return "two entries of " + own->path() + " with the keys of " + to_text(node);
            }
        }
        if (auto below = first_double(node, own, schema); !below.empty()) {
            return below;
        }
    }
    return {};
}

} // namespace

class OutputProperties : public Operations, public ::testing::WithParamInterface<unsigned> {
protected:
    std::size_t pick(std::size_t below) { return std::uniform_int_distribution<std::size_t>{0, below - 1}(random_); }

    const char* pick_value(std::initializer_list<const char*> values) { return values.begin()[pick(values.size())]; }

    void random_step()
    {
        static const Node removal = source_with(ZPF_OP_REMOVE);
        const Node* const source = pick(4) == 0 ? &removal : nullptr;
        const auto word = static_cast<uint32_t>(pick(2));
        switch (pick(12)) {
        case 0:
            story_ += " open-cell";
            add(kCell, nullptr, 1, 0, source);
            return;
        case 1:
        case 2:
        case 3:
            add_leaf(kCellId, {"c1", "c2", "c3", "", nullptr}, word, source);
            return;
        case 4:
        case 5:
            add_leaf(kCellKind, {"led", "arc", nullptr}, word, source);
            return;
        case 6:
            add_leaf("/cells/cell/taps/tap/pin", {"1", "2", "3"}, word, source);
            return;
        case 7:
            add_leaf("/cells/cell/taps/tap/gain", {"7", "8", nullptr}, word, source);
            return;
        case 8:
            add_leaf(kCellLum, {"1", "2", "", nullptr}, word, source);
            return;
        case 9: {
            const bool by_id = pick(2) == 0;
            const char* const value = by_id ? pick_value({"c1", "c2"}) : pick_value({"led", "arc"});
            story_ += std::string(" search-") + value;
            zpf_map_search_or_add_list(ctx(), &out->root(), &request().list_ctx_current.plist, kCell, value,
                                       by_id ? "id" : "kind", kNativeNs);
            return;
        }
        case 10:
            story_ += " (";
            ++depth_;
            open_bracket();
            return;
        default:
            if (depth_ > 0 && pick(2) == 0) {
                story_ += " )";
                --depth_;
                close_bracket();
            } else {
                story_ += " update";
                zpf_map_update_current_list_node(ctx(), pick(2) == 0 ? kCell : "/cells/cell/taps/tap");
            }
        }
    }

    void add_leaf(const char* path, std::initializer_list<const char*> values, uint32_t word, const Node* source)
    {
        const char* const value = pick_value(values);
        story_ += std::string(" ") + (std::strrchr(path, '/') + 1) + "=" + (value ? value : "null");
        ASSERT_EQ(add(path, value, 0, word, source), ZPF_RC_OK) << story_;
    }

    std::string pointer_outside()
    {
        const zpf_map_request& now = request();
        const std::pair<const char*, const Node*> pointers[]{{"root_node", now.root_node},
                                                             {"parent_node", now.parent_node},
                                                             {"current_node", now.current_node},
                                                             {"plist", now.list_ctx_current.plist}};
        for (const auto& [name, node] : pointers) {
            if (node != nullptr && node != &out->root() && !holds(out->root(), node)) {
                return name;
            }
        }
        return {};
    }

    std::mt19937 random_{GetParam()};
    std::string story_;
    int depth_ = 0;
};

TEST_P(OutputProperties, InAReadNoTwoEntriesHaveTheSameKeysAndEveryPointerIsInTheTree)
{
    for (int run = 0; run < 40; ++run) {
        begin(ZPF_REQUEST_GET);
        story_.clear();
        depth_ = 0;
        for (int step = 0; step < 60; ++step) {
            random_step();
            ASSERT_EQ(first_double(out->root(), nullptr, lamp_schema()), "") << story_ << "\n" << text();
            ASSERT_EQ(pointer_outside(), "") << story_ << "\n" << text();
            ASSERT_EQ(request().sticky, ZPF_RC_OK) << story_;
        }
    }
}

TEST_P(OutputProperties, InAnEditEveryPointerIsInTheTree)
{
    for (int run = 0; run < 40; ++run) {
        begin(ZPF_REQUEST_EDIT_CONFIG);
        story_.clear();
        depth_ = 0;
        for (int step = 0; step < 60; ++step) {
            random_step();
            ASSERT_EQ(pointer_outside(), "") << story_ << "\n" << text();
        }
    }
}

/// Every key value that was ever there, with how many entries have it: brackets aside, none goes away.
TEST_P(OutputProperties, WithoutBracketsNoAddEverTakesAKeyValueAway)
{
    const auto ids = [this] {
        std::multiset<std::string> found;
        const Node* const cells = find_child(out->root(), "cells");
        for (const Node& cell : cells ? children(*cells) : std::span<const Node>{}) {
            const Node* const id = find_child(cell, "id");
            if (id != nullptr && value_of(*id)) {
                found.emplace(*value_of(*id));
            }
        }
        return found;
    };
    for (int run = 0; run < 40; ++run) {
        begin(ZPF_REQUEST_EDIT_CONFIG);
        story_.clear();
        for (int step = 0; step < 60; ++step) {
            const auto before = ids();
            depth_ = 0;
            random_step();
            if (depth_ > 0) { // keep to adds
                close_bracket();
                begin(ZPF_REQUEST_EDIT_CONFIG);
                continue;
            }
            const auto after = ids();
            ASSERT_TRUE(std::includes(after.begin(), after.end(), before.begin(), before.end())) << story_ << "\n"
                                                                                                 << text();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, OutputProperties, ::testing::Range(1u, 9u));

} // namespace zpf::test
