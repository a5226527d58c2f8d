// SPDX-License-Identifier: Apache-2.0
//
// Texts of result codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

#include "kelda/kelda.h"
#include "threads.hpp"

namespace {

constexpr std::array kKnownCodes{
    ZPF_RC_OK,         ZPF_RC_BAD_TREE,      ZPF_RC_INVALID_ARGS,  ZPF_RC_UNSUPPORTED_NODE, ZPF_RC_KEY_MISSING,
    ZPF_RC_KEY_DELETE, ZPF_RC_INVALID_VALUE, ZPF_RC_SKIP_INSTANCE, ZPF_RC_AUGMENT_CREATE,   KELDA_RC_NO_STORE};

TEST(ErrorText, EachKnownCodeHasItsOwn)
{
    std::set<std::string> texts;
    for (const qerrno code : kKnownCodes) {
        const std::string text = qerr_strerror(code);
        EXPECT_THAT(text, ::testing::Not(::testing::HasSubstr("0x"))) << std::hex << code;
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), kKnownCodes.size());
}

TEST(ErrorText, OfADeviceWithoutStoreSaysSo)
{
    EXPECT_STREQ(qerr_strerror(0x8081C200), "data store not present");
}

TEST(ErrorText, OfAnUnknownCodeIsItsNumber)
{
    EXPECT_STREQ(qerr_strerror(0xAAF29E01), "unknown result code 0xAAF29E01");
    EXPECT_STREQ(qerr_strerror(1), "unknown result code 0x00000001");
    EXPECT_STREQ(qerr_strerror(0xFFFFFFFF), "unknown result code 0xFFFFFFFF");
}

TEST(ErrorText, OfAnUnknownCodeLastsWhileOthersAreAskedFor)
{
    const char* const first = qerr_strerror(0x10);
    const char* const second = qerr_strerror(0x11);
    EXPECT_STREQ(first, "unknown result code 0x00000010");
    EXPECT_STREQ(second, "unknown result code 0x00000011");
    EXPECT_EQ(qerr_strerror(0x10), first);
}

TEST(ErrorText, IsTheSameForAllThreads)
{
    std::array<const char*, 4> texts{};
    {
        const zpf::test::Threads at_work{texts.size(),
                                         [&texts](std::size_t i) { texts.at(i) = qerr_strerror(0x4711); }};
    }
    EXPECT_THAT(texts, ::testing::Each(::testing::StrEq("unknown result code 0x00004711")));
}

} // namespace
