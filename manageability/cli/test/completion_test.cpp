// SPDX-License-Identifier: Apache-2.0
//
// Completion scripts: the shell takes them, and they offer what the parser takes.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "programs.hpp"

namespace zpf::cli::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Words = std::vector<std::string>;

std::string script_for(const std::string& shell)
{
    return run({ZPF_PROGRAM, "completion", shell}).out;
}

std::string content_of(const std::string& file)
{
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// What bash offers for the last of the words.
Words offered(const std::string& script_file, const std::string& function, const Words& words)
{
    std::string line;
    for (const std::string& word : words) {
        line += " '" + word + "'";
    }
    const Outcome outcome =
        run({"bash", "-c",
             "source '" + script_file + "'; COMP_WORDS=(" + line + "); COMP_CWORD=" + std::to_string(words.size() - 1) +
                 "; " + function + "; printf '%s\\n' \"${COMPREPLY[@]}\""});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    Words result;
    std::istringstream lines(outcome.out);
    for (std::string each; std::getline(lines, each);) {
        if (!each.empty()) {
            result.push_back(each);
        }
    }
    return result;
}

class BashCompletion : public ::testing::Test {
protected:
    Words offer(Words words) const
    {
        words.insert(words.begin(), ZPF_PROGRAM);
        return offered(script_, "_zpf", words);
    }

    TemporaryFolder folder_;
    std::string script_ = folder_.write("zpf.bash", script_for("bash"));
};

TEST_F(BashCompletion, IsTakenByTheShell)
{
    const Outcome outcome = run({"bash", "-n", script_});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(BashCompletion, OffersCommands)
{
    EXPECT_THAT(offer({"s"}), ElementsAre("show", "set", "sessions", "stats", "symbols", "store"));
    EXPECT_THAT(offer({"--colour", "never", "comp"}), ElementsAre("completion"));
    EXPECT_THAT(offer({"store", "c"}), ElementsAre("check", "compact"));
    EXPECT_THAT(offer({"sessions", ""}), ElementsAre("kill"));
}

TEST_F(BashCompletion, OffersOptionsOfTheCommandAndOfThoseAboveIt)
{
    EXPECT_THAT(offer({"edit", "--d"}), ElementsAre("--dry-run", "--default-operation"));
    EXPECT_THAT(offer({"edit", "x", "-"}), AllOf(Contains("--target"), Contains("--colour"), Not(Contains("--names"))));
}

TEST_F(BashCompletion, OffersValues)
{
    EXPECT_THAT(offer({"edit", "--target", ""}), ElementsAre("running", "candidate"));
    EXPECT_THAT(offer({"map", "--format", "x"}), ElementsAre("xml"));
    EXPECT_THAT(offer({"log", ""}), ElementsAre("off", "error", "trace"));
    EXPECT_THAT(offer({"log", "--socket", "s", "e"}), ElementsAre("error"));
    EXPECT_THAT(offer({"watch", "--count", ""}), IsEmpty());
    folder_.write("one.xml", "");
    EXPECT_THAT(offer({"edit", folder_.file("o")}), ElementsAre(folder_.file("one.xml")));
    EXPECT_THAT(offer({"fault", "x", "r"}), ElementsAre("refuse-value", "reads-nothing", "reads-slowly"));
}

TEST_F(BashCompletion, OffersTheAttenuatorsOfTheAgent)
{
    EXPECT_THAT(offer({"--colour", "never", "set", ""}), IsEmpty()); // no agent here
    const RunningAgent agent;
    ASSERT_EQ(::setenv("ZPF_SOCKET", agent.socket().c_str(), 1), 0);
    const Words names = offer({"set", "0/"});
    const Words value = offer({"set", "0/0-VOA-BST0", "0"});
    ::unsetenv("ZPF_SOCKET");
    EXPECT_THAT(names, ElementsAre("0/0-VOA-BST0", "0/0-VOA-BST2"));
    EXPECT_THAT(value, IsEmpty());
}

TEST(ZshCompletion, IsTakenByTheShellAndNamesEveryCommand)
{
    const std::string script = script_for("zsh");
    EXPECT_EQ(script.rfind("#compdef zpf\n", 0), 0U);
    for (const char* const command : {"show", "set", "get", "edit", "watch", "sessions", "stats", "log", "fault",
                                      "trace", "map", "symbols", "store", "completion"}) {
        EXPECT_THAT(script, HasSubstr("'" + std::string{command} + ":")) << command;
    }
    if (run({"sh", "-c", "command -v zsh"}).status != 0) {
        GTEST_SKIP() << "there is no zsh here to take the script";
    }
    const TemporaryFolder folder;
    const Outcome outcome = run({"zsh", "-n", folder.write("_zpf", script)});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
}

TEST(AgentsCompletion, HasEveryOptionOfTheAgentAndNoOther)
{
    const std::string help = run({ZPFD_PROGRAM, "--help"}).out;
    const std::string bash = content_of(ZPFD_COMPLETION_DIR "/zpfd.bash");
    const std::string zsh = content_of(ZPFD_COMPLETION_DIR "/_zpfd");
    const std::regex option("\n  (?:-h,)?(--[a-z-]+)");
    Words known{"-h"};
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at) {
        known.push_back((*at)[1]);
        EXPECT_THAT(zsh, HasSubstr((*at)[1].str())) << "zsh";
    }
    EXPECT_GT(known.size(), 20U);
    EXPECT_THAT(offered(ZPFD_COMPLETION_DIR "/zpfd.bash", "_zpfd", {"zpfd", "-"}),
                ::testing::UnorderedElementsAreArray(known));
    EXPECT_THAT(offered(ZPFD_COMPLETION_DIR "/zpfd.bash", "_zpfd", {"zpfd", "--sync", "r"}), ElementsAre("relaxed"));
}

} // namespace
} // namespace zpf::cli::test
