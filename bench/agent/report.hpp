// SPDX-License-Identifier: Apache-2.0
//
// What was measured, beside what it is held against: one table for people, the same figures for programs.
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

#include "load.hpp"

namespace zpf::bench {

enum class Verdict { none, met, missed, failed };

struct Row {
    std::string what;
    std::string ours;   ///< figures with units
    std::string beside; ///< the same of what it is compared with; may be empty
    std::string result; ///< "1.43 x netconfd, aim 1.2"
    Verdict verdict = Verdict::none;
    nlohmann::json figures; ///< ours, beside, ratio, aim
};

/// What a ratio should be; no number: it is only told.
struct Aim {
    enum class Kind { at_least, at_most };
    Kind kind = Kind::at_least;
    std::optional<double> value;
};

inline Aim at_least(double value)
{
    return {Aim::Kind::at_least, value};
}

inline Aim at_most(double value)
{
    return {Aim::Kind::at_most, value};
}

/// Rates of two servers. The ratio is ours to theirs.
Row rate_row(const std::string& what, const Sample& ours, const std::string& other, const Sample& theirs,
             const Aim& aim);

/// One figure that is held against a number. @param unit of the figure and its aim, for instance "MB"
Row figure_row(const std::string& what, double ours, const std::string& unit, const Aim& aim,
               const std::string& beside = {});

/// A measurement that could not be made.
Row failed_row(const std::string& what, const std::string& reason);

/// Columns of one sample, as they stand in a row.
std::string text_of(const Sample& sample);

std::string print_table(const std::vector<Row>& rows);
nlohmann::json to_json(const std::vector<Row>& rows);

} // namespace zpf::bench
