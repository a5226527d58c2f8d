// SPDX-License-Identifier: Apache-2.0
//
// Data paths for people.
#include "short_path.hpp"

#include <gtest/gtest.h>

namespace zpf::cli {
namespace {

TEST(ShortPath, NamesAModuleOnlyWhereItChanges)
{
    EXPECT_EQ(short_path("/m:a/m:b/n:c/n:d"), "/m:a/b/n:c/d");
    EXPECT_EQ(short_path("/m:a/m:b[m:k='x'][m:l=\"y\"]/m:c"), "/m:a/b[k='x'][l=\"y\"]/c");
    EXPECT_EQ(short_path("/a/b"), "/a/b");
    EXPECT_EQ(short_path(""), "");
}

TEST(ShortPath, LeavesValuesAlone)
{
    EXPECT_EQ(short_path("/m:a[m:k='x/m:y[z]:w']/m:b"), "/m:a[k='x/m:y[z]:w']/b");
    EXPECT_EQ(short_path("/m:a[.='m:x']"), "/m:a[.='m:x']");
}

TEST(KeyInPath, FindsTheValueWhateverThePrefix)
{
    const char* const path = "/m:a/m:b[m:active='act'][m:name='Ots0/0/0/2']/c";
    EXPECT_EQ(key_in_path(path, "name"), "Ots0/0/0/2");
    EXPECT_EQ(key_in_path(path, "active"), "act");
    EXPECT_EQ(key_in_path(path, "nothing"), "");
    EXPECT_EQ(key_in_path("/a/b", "name"), "");
}

TEST(TopOf, IsTheFirstStepWithoutItsPrefix)
{
    EXPECT_EQ(top_of("/m:a/m:b"), "a");
    EXPECT_EQ(top_of("/a[m:k='x/y']/n:c"), "a");
    EXPECT_EQ(top_of("/m:a"), "a");
    EXPECT_EQ(top_of("a/b"), "");
    EXPECT_EQ(top_of(""), "");
}

} // namespace
} // namespace zpf::cli
