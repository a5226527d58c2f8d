// SPDX-License-Identifier: Apache-2.0
//
// What models tell about how their data are judged.
#include "yang.hpp"

#include <fstream>

#include "agent_testing.hpp"

namespace {

using namespace test;
using zpf::agent::Yang;

/// One top container for each kind of content.
constexpr std::string_view kModule = R"(
module kinds {
  namespace "urn:kinds";
  prefix k;
  container values {
    list entry {
      key name;
      leaf name { type string; }
      container inner { leaf level { type uint8 { range "1..5"; } } leaf word { type enumeration { enum a; } } }
    }
  }
  container with-union { leaf x { type union { type uint8; type string; } } }
  container with-choice { choice c { leaf x { type string; } leaf y { type string; } } }
  container with-leaf-list { leaf-list x { type string; } }
  container with-must { leaf x { type string; must "../y"; } leaf y { type string; } }
  container with-when { leaf x { type string; when "../y"; } leaf y { type string; } }
  container with-reference { leaf x { type leafref { path "../y"; } } leaf y { type string; } }
  container with-mandatory { container inner { presence "p"; leaf x { mandatory true; type string; } } }
  container with-unique { list e { key k; unique x; leaf k { type string; } leaf x { type string; } } }
  container with-limit { list e { key k; max-elements 2; leaf k { type string; } } }
}
)";

class Kinds : public ::testing::Test {
protected:
    Kinds()
    {
        std::ofstream{folder_.path() + "/kinds.yang"} << kModule;
        yang_.emplace(std::vector<std::string>{folder_.path()},
                      std::vector<std::string>{TEST_AGENT_YANG_DIR, TEST_IETF_YANG_DIR});
    }
    const lysc_node& top(const char* name) const { return *Yang::top(*yang_->module("kinds"), name); }

    Folder folder_;
    std::optional<Yang> yang_;
};

TEST_F(Kinds, DataAreJudgedValueByValueWhereNothingElseIsDemanded)
{
    EXPECT_TRUE(yang_->judged_by_values(top("values")));
    EXPECT_FALSE(yang_->judged_whole(top("values")));
}

TEST_F(Kinds, DataAreJudgedByEntriesWhereNodesExcludeEachOtherOrMayRefer)
{
    for (const char* const name : {"with-union", "with-choice", "with-leaf-list"}) {
        EXPECT_FALSE(yang_->judged_by_values(top(name))) << name;
        EXPECT_FALSE(yang_->judged_whole(top(name))) << name;
    }
}

TEST_F(Kinds, DataAreJudgedWholeWhereNodesDemandOthers)
{
    for (const char* const name :
         {"with-must", "with-when", "with-reference", "with-mandatory", "with-unique", "with-limit"}) {
        EXPECT_FALSE(yang_->judged_by_values(top(name))) << name;
        EXPECT_TRUE(yang_->judged_whole(top(name))) << name;
    }
}

TEST(DeviceModels, AreJudgedValueByValue) // which is what makes edits of attenuators cheap
{
    const lys_module* const module = yang().module("Quarn-KMT-VN-ifmgr-cfg");
    EXPECT_TRUE(yang().judged_by_values(*Yang::top(*module, "interface-configurations")));
}

} // namespace
