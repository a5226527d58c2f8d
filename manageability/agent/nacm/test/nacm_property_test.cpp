// SPDX-License-Identifier: Apache-2.0
//
// Random rules on random trees, against the naive evaluator.
#include <random>

#include "nacm_testing.hpp"
#include "naive_access.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;

namespace {

/// Draws trees and rules; the same ones in every run.
class Dice {
public:
    explicit Dice(unsigned seed) : random_(seed) {}

    bool chance(unsigned percent) { return below(100) < percent; }
    unsigned below(unsigned n) { return static_cast<unsigned>(random_() % n); }
    std::string letter() { return std::string(1, "abcd"[below(4)]); }

    template <typename T>
    const T& of(const std::vector<T>& all)
    {
        return all[below(static_cast<unsigned>(all.size()))];
    }

    std::string leaf(const std::string& name, unsigned percent = 50)
    {
        return chance(percent) ? "<" + name + ">" + std::to_string(below(3)) + "</" + name + ">" : "";
    }

    std::string room(const std::string& name)
    {
        std::string lamps;
        for (const char* column : {"1", "2"}) {
            if (chance(40)) {
                lamps += std::string("<lamp><row>1</row><column>") + column + "</column>" + leaf("level") + "</lamp>";
            }
        }
        return "<room><name>" + name + "</name>" + leaf("size") + leaf("secret") +
               (chance(50) ? "<light>" + leaf("level") + "</light>" : "") + lamps +
               (chance(40) ? "<a:desk>" + leaf("a:items") + "</a:desk>" : "") + "</room>";
    }

    std::string house()
    {
        std::string text = leaf("name") + leaf("colour") + leaf("door", 20) + leaf("a:shed") +
                           (chance(40) ? "<climate>" + leaf("target") + leaf("mode") + "</climate>" : "") +
                           (chance(30) ? "<alarm>" + leaf("code") + "</alarm>" : "") +
                           (chance(20) ? "<safe>" + leaf("code") + "<inner>" + leaf("depth") + "</inner></safe>" : "");
        for (const std::string& name : shuffled(60)) {
            text += room(name);
        }
        for (const std::string& id : shuffled(60)) {
            text += "<queue><id>" + id + "</id>" + leaf("text", 30) + "</queue>";
        }
        for (const std::string& tag : shuffled(50)) {
            text += "<tag>" + tag + "</tag>";
        }
        for (const std::string& word : shuffled(30)) {
            text += "<word>" + word + "</word>";
        }
        return text;
    }

    NaiveAccess access()
    {
        NaiveAccess access{chance(70), chance(50), {}};
        const unsigned count = below(6);
        for (unsigned i = 0; i < count; ++i) {
            access.rules.push_back(rule());
        }
        return access;
    }

private:
    std::vector<std::string> shuffled(unsigned percent)
    {
        std::vector<std::string> names;
        for (const char* name : {"a", "b", "c", "d"}) {
            if (chance(percent)) {
                names.insert(names.begin() + below(static_cast<unsigned>(names.size()) + 1), name);
            }
        }
        return names;
    }

    NaiveRule rule()
    {
        static const std::vector<std::vector<NaiveStep>> kPaths{
            {},
            {{"house:house", {}}},
            {{"house:house", {}}, {"house:name", {}}},
            {{"house:house", {}}, {"house:door", {}}},
            {{"house:house", {}}, {"annex:shed", {}}},
            {{"house:house", {}}, {"house:climate", {}}},
            {{"house:house", {}}, {"house:alarm", {}}},
            {{"house:house", {}}, {"house:safe", {}}},
            {{"house:house", {}}, {"house:safe", {}}, {"house:inner", {}}},
            {{"house:house", {}}, {"house:room", {}}},
            {{"house:house", {}}, {"house:room", {{"name", ""}}}},
            {{"house:house", {}}, {"house:room", {{"name", ""}}}, {"house:light", {}}},
            {{"house:house", {}}, {"house:room", {}}, {"house:name", {}}},
            {{"house:house", {}}, {"house:room", {}}, {"house:lamp", {{"column", "1"}}}},
            {{"house:house", {}}, {"house:room", {{"name", ""}}}, {"house:lamp", {{"column", "2"}, {"row", "1"}}}},
            {{"house:house", {}}, {"house:room", {}}, {"annex:desk", {}}},
            {{"house:house", {}}, {"house:queue", {{"id", ""}}}},
            {{"house:house", {}}, {"house:queue", {}}, {"house:text", {}}},
            {{"house:house", {}}, {"house:tag", {{".", ""}}}},
            {{"house:house", {}}, {"house:word", {}}},
        };
        NaiveRule rule;
        rule.module = of<std::string>({"*", "*", "house", "annex"});
        rule.has_path = chance(80);
        rule.path = rule.has_path ? of(kPaths) : std::vector<NaiveStep>{};
        for (NaiveStep& step : rule.path) {
            for (auto& [key, value] : step.keys) {
                value = value.empty() ? letter() : value;
            }
        }
        rule.accesses = of<std::string>(
            {"*", "*", "read", "create", "update", "delete", "create update delete", "read update", "create delete"});
        rule.permit = chance(55);
        return rule;
    }

    std::mt19937 random_;
};

} // namespace

TEST(NacmProperty, RandomRulesOnRandomTreesAgreeWithTheNaiveEvaluator)
{
    Dice dice(8341);
    std::size_t hidden = 0;
    std::size_t permitted = 0;
    constexpr std::size_t kRuns = 3000;
    for (std::size_t run = 0; run < kRuns; ++run) {
        const NaiveAccess naive = dice.access();
        const std::string rules = naive.as_xml();
        const auto nacm = compile(rules);
        ASSERT_TRUE(nacm->problems().empty()) << nacm->problems()[0];
        const std::string text = dice.house();
        const Tree before = house(text);
        const Tree after = house(dice.chance(20) ? text : dice.house());

        const std::vector<std::string> expected = naive.visible(before.get());
        ASSERT_EQ(visible(*nacm, kAnn, text), expected) << rules << "\n" << text;
        const bool all_shown = expected == lines_of(before.get());
        hidden += all_shown ? 0U : 1U;
        const bool has_safe = text.find("<safe>") != std::string::npos;
        EXPECT_TRUE(!nacm->reads_everything(kAnn) || all_shown || has_safe) << rules << "\n" << text;

        const bool may = naive.may_write(before.get(), after.get());
        ASSERT_EQ(!nacm->check_write(kAnn, before.get(), after.get()).has_value(), may)
            << rules << "\n"
            << lines_of(before.get()).size() << text << "\n";
        EXPECT_TRUE(!nacm->writes_everything(kAnn) || may) << rules;
        permitted += may ? 1U : 0U;
    }
    // Runs that never hide or never permit anything would prove nothing.
    EXPECT_GT(hidden, kRuns / 4);
    EXPECT_LT(hidden, kRuns * 9 / 10);
    EXPECT_GT(permitted, kRuns / 20);
    EXPECT_LT(permitted, kRuns * 9 / 10);
}
