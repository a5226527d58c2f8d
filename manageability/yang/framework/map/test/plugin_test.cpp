// SPDX-License-Identifier: Apache-2.0
//
// Loading of plug-ins, and the naming rule by which the framework finds what it calls.
#include "driver_fixture.hpp"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace zpf::test {

namespace {

/// The text of the Failure that loading (and the look-up of walkers) throws; empty when nothing is wrong.
std::string failure_of(const std::string& file)
{
    try {
        const Plugin plugin(file);
        EntryWalkers::find(plugin, lamp_schema());
    } catch (const Failure& failure) {
        return failure.what();
    }
    return {};
}

class Folder {
public:
    Folder() : path_(std::filesystem::temp_directory_path() / ("zpf-plugin-test-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(path_);
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string write(const std::string& name, std::string_view content) const
    {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return path_ / name;
    }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

std::string content_of(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

using ::testing::HasSubstr;

TEST(Plugin, KnowsItsIdAndWhatItExports)
{
    const Plugin plugin(ACME_PLUGIN);
    EXPECT_EQ(plugin.id(), "acmelamps");
    EXPECT_EQ(plugin.file(), ACME_PLUGIN);
    std::vector<std::string> names;
    for (const ExportedSymbol& symbol : plugin.exports()) {
        EXPECT_NE(symbol.address, nullptr) << symbol.name;
        if (symbol.name.starts_with("ymap_")) {
            EXPECT_TRUE(symbol.function) << symbol.name;
            EXPECT_FALSE(symbol.weak) << symbol.name;
            names.push_back(symbol.name);
        }
    }
    EXPECT_THAT(names, ::testing::ElementsAre(
                           "ymap_ox_acmelamps_acmelamp_lvla_lamps", "ymap_xo_acmelamps_acmenative_lvla_cells",
                           "ymap_xo_acmelamps_acmenative_lvla_rack", "ymap_xo_acmelamps_acmenativeoper_lvla_gauges"));
    EXPECT_NE(plugin.find("ymap_ox_acmelamps_acmelamp_lvla_lamps"), nullptr);
    EXPECT_EQ(plugin.find("ymap_ox_acmelamps_acmelamp_lvla_lamp"), nullptr);
    EXPECT_EQ(plugin.find(""), nullptr);
}

TEST(Plugin, StaysUsableWhenMoved)
{
    Plugin first(ACME_PLUGIN);
    const Plugin second = std::move(first);
    EXPECT_EQ(EntryWalkers::find(second, lamp_schema()).to_low.size(), 1u);
}

TEST(Plugin, IsFoundByABareNameInTheCurrentFolder)
{
    const Folder folder;
    std::filesystem::copy_file(ACME_PLUGIN, folder.path() / "bare.so");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(failure_of("bare.so"), "");
    std::filesystem::current_path(before);
}

TEST(Plugin, IsNotAnyLibrary)
{
    EXPECT_THAT(failure_of(ZPF_BASE_LIBRARY), HasSubstr("not a mapping plug-in"));
    EXPECT_THAT(failure_of(ZPF_BASE_LIBRARY), HasSubstr(ZPF_BASE_LIBRARY));
}

TEST(Plugin, IsNotSeveralPluginsInOneLibrary)
{
    EXPECT_THAT(failure_of(ACME_PLUGIN_MIXED), HasSubstr("\"acmelamps\" and \"acmetorches\""));
}

TEST(Plugin, MustNotNeedWhatNobodyHas)
{
    const std::string failure = failure_of(ACME_PLUGIN_UNRESOLVED);
    EXPECT_THAT(failure, HasSubstr("cannot be loaded"));
    EXPECT_THAT(failure, HasSubstr("acme_function_of_nobody"));
}

TEST(Plugin, MustBeThere)
{
    const Folder folder;
    const std::string missing = folder.path() / "missing.so";
    EXPECT_THAT(failure_of(missing), HasSubstr(missing + ": cannot be read: No such file"));
}

TEST(Plugin, IsNoFolder)
{
    const Folder folder;
    EXPECT_THAT(failure_of(folder.path()), HasSubstr(folder.path().string() + ": "));
}

TEST(Plugin, IsNoText)
{
    const Folder folder;
    EXPECT_THAT(failure_of(folder.write("notes.txt", "cells and lamps\n")), HasSubstr("not a shared library"));
    EXPECT_THAT(failure_of(folder.write("long.txt", std::string(4096, 'x'))), HasSubstr("not a shared library"));
    EXPECT_THAT(failure_of(folder.write("empty", "")), HasSubstr("not a shared library"));
}

TEST(Plugin, CutShortAnywhereIsRefused)
{
    const Folder folder;
    const std::string whole = content_of(ACME_PLUGIN);
    ASSERT_GT(whole.size(), 4096u);
    for (std::size_t size = 0; size < whole.size(); size += whole.size() / 50 + 1) {
        EXPECT_NE(failure_of(folder.write("cut.so", std::string_view{whole}.substr(0, size))), "") << size;
    }
}

/// Offsets in a damaged section table may point anywhere; they are checked before they are followed. Of the file, only
/// the header's section words are damaged: the loader does not read them, so that code runs only if the checks pass it.
TEST(Plugin, WithADamagedSectionTableIsRefusedOrRead)
{
    const Folder folder;
    const std::string whole = content_of(ACME_PLUGIN);
    constexpr std::size_t kSectionTableOffset = 40; // e_shoff
    for (const char byte : {'\x01', '\x7f', '\xff'}) {
        for (std::size_t at = 0; at < 8; ++at) {
            std::string damaged = whole;
            if (std::exchange(damaged[kSectionTableOffset + at], byte) == byte) {
                continue; // it was so before: no damage
            }
            const std::string failure = failure_of(folder.write("damaged.so", damaged));
            EXPECT_THAT(failure, HasSubstr("damaged.so")) << at;
        }
    }
}

// ---- entry walkers

TEST(EntryWalkers, AreFoundByModuleAndTopNodeConfigurationFirst)
{
    const Plugin plugin(ACME_PLUGIN);
    const EntryWalkers walkers = EntryWalkers::find(plugin, lamp_schema());
    ASSERT_EQ(walkers.to_low.size(), 1u);
    EXPECT_EQ(walkers.to_low[0].top->path(), "/lamps");
    EXPECT_EQ(walkers.to_low[0].name, "ymap_ox_acmelamps_acmelamp_lvla_lamps");
    std::vector<std::string> natives;
    for (const EntryWalker& walker : walkers.to_high) {
        EXPECT_NE(walker.walk, nullptr);
        natives.push_back(walker.top->path());
    }
    EXPECT_THAT(natives, ::testing::ElementsAre("/cells", "/rack", "/gauges"));
}

TEST(EntryWalkers, ConfigurationComesFirstWhateverTheOrderOfTheModels)
{
    Schema schema;
    for (const auto& top : {lamp_schema().find_top("gauges"), lamp_schema().find_top("cells"),
                            lamp_schema().find_top("lamps"), lamp_schema().find_top("rack")}) {
        SchemaNode node;
        node.tag = top->tag;
        node.module = top->module;
        node.config = top->config;
        schema.add(nullptr, std::move(node));
    }
    const Plugin plugin(ACME_PLUGIN);
    const EntryWalkers walkers = EntryWalkers::find(plugin, schema);
    ASSERT_EQ(walkers.to_high.size(), 3u);
    EXPECT_EQ(walkers.to_high[2].top->tag, "gauges");
}

TEST(EntryWalkers, AMissingOneIsNamed)
{
    const std::string failure = failure_of(ACME_PLUGIN_WITHOUT_RACK);
    EXPECT_THAT(failure, HasSubstr("lacks the entry walker ymap_xo_acmelamps_acmenative_lvla_rack"));
    EXPECT_THAT(failure, HasSubstr(ACME_PLUGIN_WITHOUT_RACK));
    EXPECT_THAT(failure, HasSubstr("rack"));
}

TEST(EntryWalkers, ModelsThatThePluginDoesNotMapAreLeftOut)
{
    Schema schema;
    for (const char* const tag : {"lamps", "torches"}) {
        SchemaNode node;
        node.tag = tag;
        node.module = tag == std::string_view{"lamps"} ? "acme-lamp" : "acme-torch";
        schema.add(nullptr, std::move(node));
    }
    const Plugin plugin(ACME_PLUGIN);
    const EntryWalkers walkers = EntryWalkers::find(plugin, schema);
    EXPECT_EQ(walkers.to_low.size(), 1u);
    EXPECT_TRUE(walkers.to_high.empty());
}

TEST(EntryWalkers, WithoutTheClientsModelThereIsNothingToMap)
{
    Schema schema;
    const Plugin plugin(ACME_PLUGIN);
    EXPECT_THROW(EntryWalkers::find(plugin, schema), Failure);
}

TEST(EntryWalkers, ADriverThrowsTheSame)
{
    const Plugin plugin(ACME_PLUGIN_WITHOUT_RACK);
    EXPECT_THROW(Driver(lamp_schema(), plugin), Failure);
}

// ---- naming rule

TEST(SymbolNames, PartsAreLowerCaseWithoutHyphens)
{
    EXPECT_EQ(symbol_part("Acme-Native-OPER"), "acmenativeoper");
    EXPECT_EQ(symbol_part("min-time"), "mintime");
    EXPECT_EQ(symbol_part("a_b.c"), "a_b.c");
    EXPECT_EQ(symbol_part(""), "");
}

TEST(SymbolNames, PathsHaveTopParentAndNode)
{
    const auto path_of = [](const char* path) { return symbol_path(*lamp_schema().find_path(path)); };
    EXPECT_EQ(path_of("/lamps"), "lamps");
    EXPECT_EQ(path_of("/lamps/lamp"), "lamps_lamp");
    EXPECT_EQ(path_of("/lamps/lamp/config"), "lamps_lamp_config");
    EXPECT_EQ(path_of("/lamps/lamp/config/level"), "lamps_config_level");
}

TEST(SymbolNames, AugmentingNodesStartFromTheirOwnModulesFirstNode)
{
    Schema schema;
    const auto add = [&schema](SchemaNode* parent, const char* tag, const char* module) -> SchemaNode& {
        SchemaNode node;
        node.tag = tag;
        node.module = module;
        return schema.add(parent, std::move(node));
    };
    SchemaNode& entry = add(&add(nullptr, "boxes", "base"), "box", "base");
    SchemaNode& extra = add(&entry, "ex-tra", "more");
    SchemaNode& deep = add(&add(&extra, "inner", "more"), "deep", "more");
    EXPECT_EQ(symbol_path(extra), "extra");
    EXPECT_EQ(symbol_path(deep), "extra_inner_deep");
}

} // namespace zpf::test
