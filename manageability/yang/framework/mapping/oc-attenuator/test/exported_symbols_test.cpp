// SPDX-License-Identifier: Apache-2.0
//
// The symbol table as a golden file: what hosts can find, what they can replace, and which names share a body.
#include "exported_symbols.hpp"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>

namespace {

/** One line a symbol: its binding, its name, and for a second name the body behind it. */
std::vector<std::string> table_of(const std::vector<test::ExportedSymbol>& symbols)
{
    std::map<uint64_t, std::string> bodies;
    for (const auto& symbol : symbols) {
        if (!symbol.is_weak) {
            bodies[symbol.address] = symbol.name;
        }
    }
    std::vector<std::string> lines;
    lines.reserve(symbols.size());
    for (const auto& symbol : symbols) {
        const auto body = bodies.find(symbol.address);
        const bool is_second_name = body != bodies.end() && body->second != symbol.name;
        lines.push_back(std::string{symbol.is_weak ? "weak " : "strong "} + (symbol.is_function ? "" : "data ") +
                        symbol.name + (is_second_name ? " -> " + body->second : ""));
    }
    return lines;
}

std::vector<std::string> golden_table()
{
    std::ifstream file{OC_ATTENUATOR_GOLDEN "/exported_symbols.txt"};
    EXPECT_TRUE(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind('#', 0) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

/** What is in `these` and not in `those`. */
std::vector<std::string> only_in(std::vector<std::string> these, std::vector<std::string> those)
{
    std::sort(these.begin(), these.end());
    std::sort(those.begin(), those.end());
    std::vector<std::string> rest;
    std::set_difference(these.begin(), these.end(), those.begin(), those.end(), std::back_inserter(rest));
    return rest;
}

TEST(ExportedSymbols, AreTheGoldenOnes)
{
    const auto table = table_of(test::exported_symbols(OC_ATTENUATOR_PLUGIN));
    EXPECT_THAT(only_in(golden_table(), table), ::testing::IsEmpty()) << "lost";
    EXPECT_THAT(only_in(table, golden_table()), ::testing::IsEmpty()) << "leaked";
}

TEST(ExportedSymbols, CountAsTheModelsDo)
{
    const auto is_callback = [](const std::string& name) {
        return name.find("_lvla_") == std::string::npos || name.find("_cont_") != std::string::npos ||
               name.find("_list_") != std::string::npos || name.find("_leaf_") != std::string::npos;
    };
    const auto callbacks = test::exported_names({"ymap_ox_"});
    EXPECT_EQ(std::count_if(callbacks.begin(), callbacks.end(), is_callback), 46);
    EXPECT_EQ(test::exported_names({"oc_opt_att_"}).size(), 14u);
    EXPECT_EQ(golden_table().size(), 180u);
}

} // namespace
