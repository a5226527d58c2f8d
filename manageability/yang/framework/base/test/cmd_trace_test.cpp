// SPDX-License-Identifier: Apache-2.0
//
// The working part of `zpf trace`, on rings written here.
#include "../../../../cli/cmd_trace.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>
#include <utility>

#include "../../../../cli/trace_format.hpp"
#include "temporary_folder.hpp"
#include "trace_handles.hpp"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using zpf::cli::run_trace;
using zpf::cli::TraceOptions;
using namespace zpf::test;

class TraceCommand : public ::testing::Test {
protected:
    void SetUp() override
    {
        write(ring_, "#1: TRC: one");
        write(ring_, "#2: ERR: two");
        write(ring_, "#3: TRC: three");
    }

    int run(const TraceOptions& options)
    {
        out_.str("");
        err_.str("");
        return run_trace(options, out_, err_);
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.file("trace.ring");
    Ring ring_ = open_ring(path_, 8);
    std::ostringstream out_;
    std::ostringstream err_;
};

const std::string kStamp = "[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+[.][0-9][0-9][0-9][0-9][0-9][0-9] .[0-9]+. ";

TEST_F(TraceCommand, PrintsAllLinesNewestLast)
{
    EXPECT_EQ(run({.file = path_}), 0);
    EXPECT_THAT(out_.str(),
                MatchesRegex(kStamp + "#1: TRC: one\n" + kStamp + "#2: ERR: two\n" + kStamp + "#3: TRC: three\n"));
    EXPECT_EQ(err_.str(), "");
}

TEST_F(TraceCommand, PrintsTheLastLinesOnly)
{
    EXPECT_EQ(run({.file = path_, .last = 2}), 0);
    EXPECT_THAT(out_.str(), MatchesRegex(kStamp + "#2: ERR: two\n" + kStamp + "#3: TRC: three\n"));
    EXPECT_EQ(run({.file = path_, .last = 0}), 0);
    EXPECT_EQ(out_.str(), "");
}

TEST_F(TraceCommand, PrintsTheLastOfTheLinesThatMatch)
{
    EXPECT_EQ(run({.file = path_, .last = 1, .grep = "TRC"}), 0);
    EXPECT_THAT(out_.str(), MatchesRegex(kStamp + "#3: TRC: three\n"));
    EXPECT_EQ(run({.file = path_, .grep = "four"}), 0);
    EXPECT_EQ(out_.str(), "");
}

TEST_F(TraceCommand, RefusesAFileThatIsNoRing)
{
    const std::string path = folder_.file("notes");
    write_file(path, "notes\n");
    EXPECT_EQ(run({.file = path}), 3);
    EXPECT_EQ(out_.str(), "");
    EXPECT_EQ(err_.str(), "zpf trace: " + path + ": not a trace ring\n");
}

TEST_F(TraceCommand, WantsAFile)
{
    EXPECT_EQ(run({}), 2);
    EXPECT_EQ(err_.str(), "zpf trace: which file?\n");
}

TEST_F(TraceCommand, SaysWhenItsOutputIsLost)
{
    out_.setstate(std::ios::badbit);
    EXPECT_EQ(run({.file = path_}), 1);
    EXPECT_EQ(err_.str(), "zpf trace: the output cannot be written\n");
}

/** A stream that lets the test act each time a batch of lines has been printed. */
class WatchedOutput : public std::stringbuf {
public:
    explicit WatchedOutput(std::function<void(const std::string&)> after_batch) : after_batch_{std::move(after_batch)}
    {}

    int sync() override
    {
        after_batch_(str());
        return 0;
    }

private:
    std::function<void(const std::string&)> after_batch_;
};

TEST_F(TraceCommand, FollowsUntilItIsInterrupted)
{
    int step = 0;
    WatchedOutput watched{[&](const std::string& printed) {
        if (++step == 1) {
            EXPECT_THAT(printed, AllOf(HasSubstr("three"), Not(HasSubstr("four"))));
            write(ring_, "#4: TRC: four");
        } else if (printed.find("four") != std::string::npos) {
            raise(SIGINT); // kept back until the command asks for it
        }
    }};
    std::ostream out{&watched};
    EXPECT_EQ(run_trace({.file = path_, .follow = true, .last = 1}, out, err_), 0);
    EXPECT_THAT(watched.str(), MatchesRegex(kStamp + "#3: TRC: three\n" + kStamp + "#4: TRC: four\n"));
}

TEST_F(TraceCommand, SaysWhereLinesAreMissing)
{
    int step = 0;
    WatchedOutput watched{[&](const std::string& printed) {
        if (++step == 1) {
            for (int i = 4; i < 14; ++i) {
                write(ring_, "line " + std::to_string(i));
            }
        } else if (printed.find("line 13") != std::string::npos) {
            raise(SIGINT);
        }
    }};
    std::ostream out{&watched};
    EXPECT_EQ(run_trace({.file = path_, .follow = true, .last = 0, .grep = "line 13"}, out, err_), 0);
    EXPECT_THAT(watched.str(), MatchesRegex("-- 2 lines lost here\n" + kStamp + "line 13\n"));
}

/** Local time is three and a half hours behind UTC while it lives. */
class Newfoundland {
public:
    Newfoundland() { set("XST3:30"); }
    Newfoundland(const Newfoundland&) = delete;
    Newfoundland& operator=(const Newfoundland&) = delete;
    ~Newfoundland() { set(before_.c_str()); }

private:
    static void set(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    std::string before_ = std::getenv("TZ") != nullptr ? std::getenv("TZ") : "";
};

zpf_trace_line line_with(const std::string& text)
{
    zpf_trace_line line{.sequence = 7, .time_ns = 1714572187'000250999, .flags = 0x10101000000, .pid = 42, .text = {}};
    text.copy(line.text, sizeof line.text - 1);
    return line;
}

TEST(TraceFormat, ShowsLocalTimeWithMicroseconds)
{
    const Newfoundland zone;
    EXPECT_EQ(zpf::cli::trace_text(line_with("Start")), "2024-05-01 10:33:07.000250 [42] Start\n");
    EXPECT_EQ(zpf::cli::trace_json(line_with("Start"), 3),
              "{\"sequence\":7,\"lost\":3,\"time\":\"2024-05-01T10:33:07.000250-03:30\","
              "\"time_ns\":\"1714572187000250999\",\"pid\":42,\"flags\":\"0x10101000000\",\"text\":\"Start\"}\n");
}

TEST(TraceFormat, CountsLostLines)
{
    EXPECT_EQ(zpf::cli::lost_text(0), "");
    EXPECT_EQ(zpf::cli::lost_text(1), "-- 1 line lost here\n");
    EXPECT_EQ(zpf::cli::lost_text(2), "-- 2 lines lost here\n");
}

struct HostileText {
    const char* name;
    std::string text;
    std::string printed;
    std::string json;
};

void PrintTo(const HostileText& hostile, std::ostream* out)
{
    *out << hostile.name;
}

class TraceFormatOf : public ::testing::TestWithParam<HostileText> {};

TEST_P(TraceFormatOf, HarmsNeitherTerminalNorDocument)
{
    EXPECT_THAT(zpf::cli::trace_text(line_with(GetParam().text)),
                ::testing::EndsWith("[42] " + GetParam().printed + "\n"));
    EXPECT_THAT(zpf::cli::trace_json(line_with(GetParam().text), 0),
                ::testing::EndsWith("\"text\":\"" + GetParam().json + "\"}\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TraceFormatOf,
    ::testing::Values(HostileText{"LineEnd", "a\nb", "a\\x0ab", "a\\u000ab"},
                      HostileText{"Escape", "\x1b[2J", "\\x1b[2J", "\\u001b[2J"},
                      HostileText{"Quotes", R"("\)", R"("\)", R"(\"\\)"},
                      HostileText{"Utf8", "\u00e9\u20ac\U0001F600", "\u00e9\u20ac\U0001F600", "\u00e9\u20ac\U0001F600"},
                      HostileText{"ControlBeyondAscii", "\xC2\x9B", "\\xc2\\x9b", "\xC2\x9B"},
                      HostileText{"CutCharacter", "a\xE2\x82", "a\\xe2\\x82", "a\\ufffd\\ufffd"},
                      HostileText{"Overlong", "\xC0\x80", "\\xc0\\x80", "\\ufffd\\ufffd"},
                      HostileText{"OverlongOfThree", "\xE0\x80\x80", "\\xe0\\x80\\x80", "\\ufffd\\ufffd\\ufffd"},
                      HostileText{"Surrogate", "\xED\xA0\x80", "\\xed\\xa0\\x80", "\\ufffd\\ufffd\\ufffd"},
                      HostileText{"BeyondUnicode", "\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80",
                                  "\\ufffd\\ufffd\\ufffd\\ufffd"}),
    [](const auto& one) { return std::string{one.param.name}; });

} // namespace
