// SPDX-License-Identifier: Apache-2.0
//
// Named strings, their books, and bounded copies.
#include "zpf_base/strings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "threads.hpp"
#include "zpf/operations.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using NamesAndTexts = std::vector<std::pair<std::string, std::string>>;

NamesAndTexts live_strings()
{
    NamesAndTexts found;
    zpf_strings_visit([](void* arg, const char* name,
                         const char* text) { static_cast<NamesAndTexts*>(arg)->emplace_back(name, text); },
                      &found);
    return found;
}

zpf_string_counts counts()
{
    zpf_string_counts result;
    zpf_strings_count(&result);
    return result;
}

TEST(NamedString, IsACopyOfItsText)
{
    std::string text = "config";
    char* const copy = zpf_strdup(text.c_str(), "ZPF MAP");
    text = "CHANGE";
    EXPECT_STREQ(copy, "config");
    named_free(copy);
}

TEST(NamedString, OfNoTextIsNull)
{
    const zpf_string_counts before = counts();
    EXPECT_EQ(zpf_strdup(nullptr, "ZPF MAP"), nullptr);
    EXPECT_EQ(counts().allocated, before.allocated);
}

TEST(NamedString, NullMayBeReleased)
{
    const zpf_string_counts before = counts();
    named_free(nullptr);
    EXPECT_EQ(counts().freed, before.freed);
}

TEST(NamedString, MayBeItsOwnAllocationName)
{
    const std::string tag = "enabled";
    char* const copy = zpf_strdup(tag.c_str(), tag.c_str());
    EXPECT_THAT(live_strings(), ElementsAre(Pair("enabled", "enabled")));
    named_free(copy);
}

TEST(NamedString, WithoutANameSaysSo)
{
    char* const copy = zpf_strdup("text", nullptr);
    EXPECT_THAT(live_strings(), ElementsAre(Pair("(unnamed)", "text")));
    named_free(copy);
}

TEST(NamedString, IsCountedFromBirthToRelease)
{
    const zpf_string_counts before = counts();
    char* const first = zpf_strdup("a", "ZPF MAP");
    char* const second = zpf_strdup("", "ocatt-tag");
    EXPECT_EQ(counts().live, before.live + 2);
    named_free(first);
    EXPECT_EQ(counts().live, before.live + 1);
    EXPECT_EQ(counts().allocated, before.allocated + 2);
    EXPECT_EQ(counts().freed, before.freed + 1);
    named_free(second);
    EXPECT_EQ(counts().live, before.live);
}

TEST(NamedString, LeavesTheListFromAnyPlace)
{
    std::array<std::size_t, 3> order{0, 1, 2};
    do {
        const std::array<char*, 3> strings{zpf_strdup("0", "n0"), zpf_strdup("1", "n1"), zpf_strdup("2", "n2")};
        EXPECT_THAT(live_strings(), ElementsAre(Pair("n2", "2"), Pair("n1", "1"), Pair("n0", "0")));
        named_free(strings.at(order[0]));
        const std::string young = std::to_string(std::max(order[1], order[2]));
        const std::string old = std::to_string(std::min(order[1], order[2]));
        EXPECT_THAT(live_strings(), ElementsAre(Pair("n" + young, young), Pair("n" + old, old)));
        named_free(strings.at(order[1]));
        const std::string last = std::to_string(order[2]);
        EXPECT_THAT(live_strings(), ElementsAre(Pair("n" + last, last)));
        named_free(strings.at(order[2]));
        EXPECT_THAT(live_strings(), IsEmpty());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(NamedString, IsCountedRightByManyThreads)
{
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kStrings = 2000;
    const zpf_string_counts before = counts();
    {
        const zpf::test::Threads at_work{kThreads, [](std::size_t) {
                                             for (std::size_t i = 0; i < kStrings; ++i) {
                                                 named_free(zpf_strdup("text", "ZPF MAP"));
                                             }
                                         }};
    }
    EXPECT_EQ(counts().allocated, before.allocated + kThreads * kStrings);
    EXPECT_EQ(counts().live, before.live);
}

TEST(NamedStringDeathTest, OfAnotherMakerIsNotReleased)
{
    alignas(16) std::array<char, 128> memory{};
    EXPECT_DEATH(named_free(&memory[64]), "no string of zpf_strdup");
}

struct CopyCase {
    const char* name;
    const char* source;
    std::size_t size;
    const char* expected;
};

void PrintTo(const CopyCase& copy, std::ostream* out)
{
    *out << copy.name;
}

class BoundedCopy : public ::testing::TestWithParam<CopyCase> {};

TEST_P(BoundedCopy, CutsAndTerminates)
{
    std::array<char, 16> target;
    target.fill('#');
    zpf_strcpy_s("test", target.data(), GetParam().size, GetParam().source);
    EXPECT_STREQ(target.data(), GetParam().expected);
    EXPECT_EQ(target[GetParam().size], '#') << "wrote beyond the destination";
}

INSTANTIATE_TEST_SUITE_P(Sizes, BoundedCopy,
                         ::testing::Values(CopyCase{"Fits", "voa", 8, "voa"}, CopyCase{"FitsExactly", "voa", 4, "voa"},
                                           CopyCase{"OneTooLong", "voas", 4, "voa"},
                                           CopyCase{"OnlyTheEnd", "voa", 1, ""}, CopyCase{"Empty", "", 4, ""},
                                           CopyCase{"NoSource", nullptr, 4, ""}),
                         [](const auto& one) { return std::string{one.param.name}; });

TEST(BoundedCopyTo, NothingOfNoSizeIsDone)
{
    char target = '#';
    zpf_strcpy_s("test", &target, 0, "voa");
    zpf_strcat_s("test", &target, 0, "voa");
    EXPECT_EQ(target, '#');
}

struct AppendCase {
    const char* name;
    const char* before;
    const char* source;
    std::size_t size;
    const char* expected;
};

void PrintTo(const AppendCase& append, std::ostream* out)
{
    *out << append.name;
}

class BoundedAppend : public ::testing::TestWithParam<AppendCase> {};

TEST_P(BoundedAppend, StaysWithinTheDestination)
{
    std::array<char, 16> target;
    target.fill('#');
    zpf_strcpy_s("test", target.data(), target.size() - 1, GetParam().before);
    target[std::char_traits<char>::length(GetParam().before) + 1] = '#';
    zpf_strcat_s("test", target.data(), GetParam().size, GetParam().source);
    EXPECT_STREQ(target.data(), GetParam().expected);
    EXPECT_EQ(target[GetParam().size], '#') << "wrote beyond the destination";
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, BoundedAppend,
    ::testing::Values(AppendCase{"Fits", "/a", "/b", 8, "/a/b"}, AppendCase{"FitsExactly", "/a", "/b", 5, "/a/b"},
                      AppendCase{"OneTooLong", "/a", "/bc", 5, "/a/b"}, AppendCase{"IsFull", "/a", "/b", 3, "/a"},
                      AppendCase{"NoSource", "/a", nullptr, 5, "/a"}, AppendCase{"ToEmpty", "", "/b", 8, "/b"}),
    [](const auto& one) { return std::string{one.param.name}; });

TEST(BoundedAppendTo, EndsATextThatHadNoEndAndReportsItsCaller)
{
    std::array<char, 4> target{'a', 'b', 'c', 'd'};
    ::testing::internal::CaptureStderr();
    zpf_strcat_s("compare_path", target.data(), target.size(), "e");
    EXPECT_STREQ(target.data(), "abc");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ERR: ZPF: compare_path: append to a text without an end\n");
}

TEST(BoundedCopyTo, WithoutADestinationReportsItsCaller)
{
    ::testing::internal::CaptureStderr();
    zpf_strcpy_s("compare_path", nullptr, 4, "e");
    zpf_strcat_s(nullptr, nullptr, 4, "e");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ERR: ZPF: compare_path: copy without a destination\n"
                                                        "ERR: ZPF: (null): append without a destination\n");
}

} // namespace
