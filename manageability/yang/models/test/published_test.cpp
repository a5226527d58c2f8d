// SPDX-License-Identifier: Apache-2.0
//
// Our modules beside the published ones: what clients can tell apart is the same, what people read is our own.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

#include "loaded_models.hpp"
#include "schema_lines.hpp"

namespace zpf::test {
namespace {

using ::testing::IsEmpty;

// Our files as they stand in the repository: a build may give its copies another namespace.
constexpr const char* kOurs = ZPF_YANG_SOURCE_DIR;
constexpr const char* kAttenuator = "openconfig-optical-attenuator";

std::string published_folder()
{
    const char* const given = std::getenv("ZPF_PUBLISHED_MODELS_DIR");
    return given != nullptr ? given : ZPF_PUBLISHED_MODELS_DIR;
}

std::vector<std::string> openconfig_modules()
{
    std::vector<std::string> names;
    for (const std::string& name : modules_in(kOurs)) {
        if (name.rfind("openconfig-", 0) == 0) {
            names.push_back(name);
        }
    }
    return names;
}

class PublishedModels : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder_ = published_folder();
        if (folder_.empty()) {
            GTEST_SKIP() << "no published modules to compare with: set the environment variable or the CMake cache "
                            "variable ZPF_PUBLISHED_MODELS_DIR to a folder that has openconfig-optical-attenuator.yang";
        }
        ours_ = load_models(kOurs, openconfig_modules());
        theirs_ = load_models(folder_, openconfig_modules());
        ASSERT_NE(find_module(theirs_, kAttenuator), nullptr) << folder_ << " does not hold the published modules";
        ASSERT_NE(find_module(ours_, kAttenuator), nullptr);
    }

    std::string folder_;
    LoadedModels ours_;
    LoadedModels theirs_;
};

TEST_F(PublishedModels, HaveTheSameSchemaTreeOfTheAttenuators)
{
    const lys_module& ours = *find_module(ours_, kAttenuator);
    const lys_module& theirs = *find_module(theirs_, kAttenuator);
    EXPECT_STREQ(ours.ns, theirs.ns);
    EXPECT_STREQ(ours.prefix, theirs.prefix);
    EXPECT_STREQ(ours.revision, theirs.revision);
    const auto own_lines = schema_lines(ours);
    const auto published_lines = schema_lines(theirs);
    EXPECT_EQ(published_lines.size(), 52U) << "48 nodes and 4 identities at the revision that ours was written from";
    for (const auto& [path, line] : published_lines) {
        const auto own = own_lines.find(path);
        EXPECT_EQ(own == own_lines.end() ? "missing" : own->second, line) << path;
    }
    for (const auto& [path, line] : own_lines) {
        EXPECT_EQ(published_lines.count(path), 1U) << path << " is ours alone: " << line;
    }
}

/// What is left out of a module we import is missing; what is there is as published.
TEST_F(PublishedModels, HaveEverythingThatOurImportedModulesHave)
{
    const auto without_children = [](const std::string& line) { return line.substr(0, line.find(" children")); };
    for (const std::string& name : openconfig_modules()) {
        const lys_module* const ours = find_module(ours_, name);
        const lys_module* const theirs = find_module(theirs_, name);
        ASSERT_TRUE(ours != nullptr && theirs != nullptr) << name;
        EXPECT_STREQ(ours->ns, theirs->ns);
        EXPECT_STREQ(ours->prefix, theirs->prefix);
        EXPECT_STREQ(ours->revision, theirs->revision) << name;
        const auto published_lines = schema_lines(*theirs);
        for (const auto& [path, line] : schema_lines(*ours)) {
            const auto other = published_lines.find(path);
            EXPECT_EQ(without_children(line),
                      other == published_lines.end() ? "not published" : without_children(other->second))
                << name << " " << path;
        }
    }
}

/// Adds the sentences of a description, white space evened out.
void add_sentences(const std::string& description, std::set<std::string>& found)
{
    std::istringstream words(description);
    std::string sentence;
    for (std::string word; words >> word;) {
        sentence += (sentence.empty() ? "" : " ") + word;
        if (word.back() == '.' || word.back() == ';') {
            found.insert(sentence.substr(0, sentence.size() - 1));
            sentence.clear();
        }
    }
    if (!sentence.empty()) {
        found.insert(sentence);
    }
}

/// Sentences of all descriptions of the OpenConfig modules in a folder.
std::set<std::string> sentences(const std::string& folder)
{
    static constexpr std::string_view kStatement = "description";
    std::set<std::string> found;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        if (file.path().filename().string().rfind("openconfig-", 0) != 0) {
            continue;
        }
        std::ostringstream all;
        all << std::ifstream(file.path()).rdbuf();
        const std::string text = all.str();
        for (auto at = text.find(kStatement); at != std::string::npos; at = text.find(kStatement, at)) {
            at += kStatement.size();
            const auto begin = text.find_first_not_of(" \t\r\n", at);
            if (begin != std::string::npos && text[begin] == '"') {
                const auto end = text.find('"', begin + 1);
                add_sentences(text.substr(begin + 1, end - begin - 1), found);
                at = end;
            }
        }
    }
    return found;
}

TEST_F(PublishedModels, ShareNoSentenceWithOurs)
{
    const auto own = sentences(kOurs);
    const auto published = sentences(folder_);
    ASSERT_GT(own.size(), 100U);
    ASSERT_GT(published.size(), 100U);
    std::vector<std::string> shared;
    std::set_intersection(own.begin(), own.end(), published.begin(), published.end(), std::back_inserter(shared));
    EXPECT_THAT(shared, IsEmpty());
}

} // namespace
} // namespace zpf::test
