// SPDX-License-Identifier: Apache-2.0
//
// Names of records.
#include "confirmed_record.hpp"
#include "record_path.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace {

using namespace zpf::agent;

TEST(RecordPath, EncodesAllButUnreservedCharacters)
{
    std::string out;
    append_encoded(out, "Ots0/0/0/2,=%\xC3\xA9~-._");
    EXPECT_EQ(out, "Ots0%2F0%2F0%2F2%2C%3D%25%C3%A9~-._");
    EXPECT_EQ(decoded(out), "Ots0/0/0/2,=%\xC3\xA9~-._");
}

TEST(RecordPath, DecodesWhatItHasEncoded)
{
    std::mt19937 random(11);
    for (int i = 0; i < 500; ++i) {
        std::string text(random() % 20, '\0');
        for (char& c : text) {
            c = static_cast<char>(random());
        }
        std::string out;
        append_encoded(out, text);
        EXPECT_EQ(decoded(out), text);
        EXPECT_EQ(out.find_first_of("/,="), std::string::npos);
    }
}

TEST(RecordPath, LeavesBrokenEncodingsAsTheyAre)
{
    EXPECT_EQ(decoded("a%2"), "a%2");
    EXPECT_EQ(decoded("%zz%"), "%zz%");
}

TEST(RecordPath, TakesStepsApart)
{
    const PathStep step = parse_step("m:list=a%2C,,c");
    EXPECT_EQ(step.module, "m");
    EXPECT_EQ(step.name, "list");
    EXPECT_THAT(step.keys, testing::ElementsAre("a,", "", "c"));
    EXPECT_TRUE(parse_step("leaf").keys.empty());
}

TEST(RecordPath, IsBelowOnlyAtASlash)
{
    EXPECT_TRUE(is_at_or_below("/a/b", "/a/b"));
    EXPECT_TRUE(is_at_or_below("/a/b/c", "/a/b"));
    EXPECT_FALSE(is_at_or_below("/a/bc", "/a/b"));
    EXPECT_FALSE(is_at_or_below("/a", "/a/b"));
}

TEST(ConfirmedRecord, ComesBackAsItWas)
{
    Confirmed confirmed;
    confirmed.undo = {{"/config/a=x\ny", std::nullopt}, {"/config/b", "1 = 2\n%"}, {"/config/c", ""}};
    EXPECT_EQ(from_record(to_record(confirmed)).undo, confirmed.undo);
    EXPECT_TRUE(from_record("").undo.empty());
}

} // namespace
