// SPDX-License-Identifier: Apache-2.0
//
// Random requests on random racks, from fixed seeds. A failing case prints the rack and the request.
#include "driver_fixture.hpp"

#include <algorithm>
#include <random>
#include <vector>

namespace zpf::test {

class DriverProperties : public DriverTest, public ::testing::WithParamInterface<unsigned> {
protected:
    std::size_t pick(std::size_t below) { return std::uniform_int_distribution<std::size_t>{0, below - 1}(random_); }
    bool chance(std::size_t one_in) { return pick(one_in) == 0; }

    std::string random_rack()
    {
        std::string cells;
        for (const char* const id : {"c1", "c2", "c3", "relay", "c007"}) {
            for (const char* const kind : {"led", "arc"}) {
                if (chance(2)) {
                    cells += std::string("  cell\n    kind = \"") + kind + "\"\n    id = \"" + id + "\"\n";
                    cells += chance(2) ? "    dimming\n      lum = \"" + std::to_string(pick(1001)) + "\"\n" : "";
                    cells += chance(2) ? "    note = \"n" + std::to_string(pick(3)) + "\"\n" : "";
                    cells += chance(3) ? "    wear = \"9\"\n" : "";
                }
            }
        }
        return (cells.empty() ? "" : "cells\n" + cells) + (chance(2) ? "rack\n  limit = \"5\"\n" : "");
    }

    std::string operation()
    {
        const char* const operations[] = {"",           "",           "",          " op=merge", " op=replace",
                                          " op=create", " op=delete", " op=remove"};
        return operations[pick(std::size(operations))];
    }

    std::string random_config()
    {
        std::string text = "    config" + operation() + "\n";
        text += chance(2) ? "      level = \"" + std::to_string(pick(120)) + "\"" + operation() + "\n" : "";
        text += chance(2) ? "      note = \"m\"" + operation() + "\n" : "";
        return text;
    }

    std::string random_edit()
    {
        std::string text = "lamps" + (chance(6) ? operation() : "") + "\n";
        for (std::size_t i = pick(4); i > 0; --i) {
            const char* const names[] = {"L1", "L2", "L3", "L01", "bulb", "L7"};
            text += "  lamp" + operation() + "\n    name = \"" + names[pick(std::size(names))] + "\"\n";
            text += chance(3) ? "" : random_config();
        }
        return text;
    }

    std::string random_read()
    {
        std::string text = chance(6) ? "" : "lamps\n";
        for (std::size_t i = text.empty() ? 0 : pick(4); i > 0; --i) {
            const char* const names[] = {"", "    name = \"L1\"\n", "    name = \"L2\"\n", "    name = \"L3\"\n",
                                         "    name = \"L01\"\n"};
            const char* const contents[] = {"", "    config\n", "    config\n      note\n",
                                            "    config\n      note = \"n1\"\n", "    name\n"};
            text += std::string("  lamp\n") + names[pick(std::size(names))];
            text += text.back() == '\n' && text.ends_with("lamp\n") ? contents[pick(5)] : contents[pick(4)];
        }
        return text;
    }

    /// The native text without the lamps' cells: what no edit may touch.
    static std::string untouchable(const Node& root)
    {
        std::string text;
        const Node* const cells = find_child(root, "cells");
        for (const Node& cell : cells ? children(*cells) : std::span<const Node>{}) {
            const std::string_view id = *value_of(*find_child(cell, "id"));
            const bool lamp = *value_of(*find_child(cell, "kind")) == "led" && id != "relay" && id != "c007";
            text += lamp ? "" : to_text(cell);
        }
        return text;
    }

    std::mt19937 random_{GetParam()};
};

TEST_P(DriverProperties, AReplyIsTheSameWhetherTheStoreSelectsOrNot)
{
    for (int run = 0; run < 150; ++run) {
        const std::string rack = random_rack();
        const std::string request = random_read();
        stock(rack);
        ASSERT_EQ(sorted(read(ZPF_REQUEST_GET_CONFIG, request)),
                  sorted(read(ZPF_REQUEST_GET_CONFIG, request, TreeSource::Answer::everything)))
            << rack << request;
    }
}

TEST_P(DriverProperties, OneEntryIsItsPartOfEverything)
{
    for (int run = 0; run < 100; ++run) {
        const std::string rack = random_rack();
        stock(rack);
        const std::string everything = get_config("");
        for (const char* const name : {"L1", "L2", "L3"}) {
            const std::string one = get_config(std::string("lamps\n  lamp\n    name = \"") + name + "\"\n");
            if (one.empty()) {
                ASSERT_EQ(everything.find(std::string("    name = \"") + name + "\"\n"), std::string::npos) << rack;
            } else {
                ASSERT_THAT(everything, ::testing::HasSubstr(one.substr(one.find('\n') + 1))) << rack;
            }
        }
    }
}

TEST_P(DriverProperties, AnEditTouchesNothingThatTheClientCannotName)
{
    int done = 0;
    for (int run = 0; run < 150; ++run) {
        const std::string rack = random_rack();
        const std::string request = random_edit();
        stock(rack);
        const EditResult result = edit(request);
        done += result.refusal ? 0 : 1;
        ASSERT_EQ(to_text(store.root()), tree(rack)) << request;
        if (!result.refusal) {
            ASSERT_EQ(untouchable(result.after.root()), untouchable(store.root())) << rack << request;
        } else {
            ASSERT_EQ(to_text(result.after.root()), to_text(result.before.root())) << rack << request;
            ASSERT_NE(result.refusal->tag, "") << rack << request;
            ASSERT_NE(result.refusal->message, "") << rack << request;
        }
    }
    EXPECT_GT(done, 10) << "nearly everything was refused: the test shows little";
}

TEST_P(DriverProperties, AnEditedRackHasNoDoubleEntriesAndNoEmptyContainers)
{
    for (int run = 0; run < 150; ++run) {
        const std::string rack = random_rack();
        const std::string request = random_edit();
        stock(rack);
        const EditResult result = edit(request);
        std::vector<std::string> keys;
        for (const Node& top : children(result.after.root())) {
            ASSERT_FALSE(children(top).empty()) << rack << request;
        }
        const Node* const cells = find_child(result.after.root(), "cells");
        for (const Node& cell : cells ? children(*cells) : std::span<const Node>{}) {
            const Node* const dimming = find_child(cell, "dimming");
            ASSERT_TRUE(dimming == nullptr || !children(*dimming).empty()) << rack << request;
            keys.push_back(std::string(*value_of(*find_child(cell, "kind"))) + "/" +
                           std::string(*value_of(*find_child(cell, "id"))));
        }
        std::sort(keys.begin(), keys.end());
        ASSERT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end()) << rack << request;
    }
}

TEST_P(DriverProperties, AMergeDoneTwiceIsAMergeDoneOnce)
{
    for (int run = 0; run < 100; ++run) {
        const std::string rack = random_rack();
        const std::string request = "lamps\n  lamp\n    name = \"L" + std::to_string(1 + pick(3)) +
                                    "\"\n    config\n      level = \"" + std::to_string(pick(100)) + "\"\n";
        stock(rack);
        const std::string once = after(request);
        stock(once);
        ASSERT_EQ(after(request), once) << rack << request;
        ASSERT_THAT(get_config(request), ::testing::Not("")) << rack << request;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DriverProperties, ::testing::Range(1u, 6u));

} // namespace zpf::test
