// SPDX-License-Identifier: Apache-2.0
//
// Every folder of golden/ is a test: what happens to its request has to be what its expected.txt says.
//
// ZPF_REWRITE_EXPECTED=1 in the environment writes the files anew instead, for a review of the difference.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "scenario.hpp"
#include "system.hpp"

namespace zpf::scenarios {

void PrintTo(const Scenario& scenario, std::ostream* os)
{
    *os << scenario.name();
}

namespace {

class Scenarios : public ::testing::TestWithParam<Scenario> {};

TEST_P(Scenarios, GoAsExpected)
{
    if (const std::string missing = missing_models(); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    const std::string report = "# SPDX-License-Identifier: Apache-2.0\n" + run_scenario(GetParam());
    EXPECT_EQ(report.find("UNLIKE"), std::string::npos) << "the store's pre-selection changes the outcome:\n" << report;
    if (std::getenv("ZPF_REWRITE_EXPECTED") != nullptr) {
        std::ofstream(GetParam().expected()) << report;
        return;
    }
    EXPECT_EQ(report, text_of_file(GetParam().expected()));
}

INSTANTIATE_TEST_SUITE_P(Golden, Scenarios, ::testing::ValuesIn(find_scenarios(ZPF_SCENARIOS_DIR)),
                         [](const auto& scenario) { return scenario.param.name(); });

} // namespace

} // namespace zpf::scenarios
