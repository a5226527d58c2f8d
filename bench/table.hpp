// SPDX-License-Identifier: Apache-2.0
//
// The table of what was measured, what it is held against, and whether the goal is met.
#pragma once

#include <string>
#include <vector>

#include "memory.hpp"
#include "results.hpp"

namespace zpf::bench {

struct Row {
    std::string what;
    std::string ours;
    std::string reference;
    std::string ratio;
    std::string goal;
    bool met;
};

std::vector<Row> mapping_rows(const Results& results);
std::vector<Row> allocation_rows(const std::vector<CountedWork>& counts);
std::vector<Row> walk_rows(const Results& results, const WalkMemory& smallest, const WalkMemory& largest);
std::vector<Row> diagnostics_rows(const Results& results);

enum class Form { text, markdown };

std::string print(const std::vector<Row>& rows, Form form);

} // namespace zpf::bench
