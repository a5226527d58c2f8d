// SPDX-License-Identifier: Apache-2.0
//
// What all commands print alike: headings, errors and refusals. Colour only on a terminal.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "zpf_map/driver.hpp"

namespace zpf::cli {

/// What the program tells its caller; the same numbers in every command.
enum ExitStatus { kDone = 0, kRefused = 1, kUsage = 2, kBadInput = 3 };

enum class Colour { automatic, always, never };

/// Ways to set off text; empty strings where there is no colour.
struct Style {
    std::string_view heading, good, bad, dim, off;

    static Style of(std::FILE* stream, Colour colour);
};

/// "zpf: what" on standard error, what is wrong set off.
void print_error(std::string_view what, Colour colour);

/// The refusal as a client would see it, on standard error, one field a line.
void print_refusal(const Refusal& refusal, Colour colour);

} // namespace zpf::cli
