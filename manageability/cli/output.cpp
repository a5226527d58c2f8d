// SPDX-License-Identifier: Apache-2.0
//
// Shared output of the commands.
#include "output.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>

namespace zpf::cli {

Style Style::of(std::FILE* stream, Colour colour)
{
    const bool wanted = std::getenv("NO_COLOR") == nullptr && isatty(fileno(stream)) != 0;
    if (colour == Colour::never || (colour == Colour::automatic && !wanted)) {
        return {};
    }
    return {.heading = "\033[1m", .good = "\033[32m", .bad = "\033[31m", .dim = "\033[2m", .off = "\033[0m"};
}

void print_error(std::string_view what, Colour colour)
{
    const Style style = Style::of(stderr, colour);
    fmt::print(stderr, "{}zpf:{} {}\n", style.bad, style.off, what);
}

void print_refusal(const Refusal& refusal, Colour colour)
{
    const Style style = Style::of(stderr, colour);
    fmt::print(stderr, "{}refused{}\n", style.bad, style.off);
    const auto field = [](std::string_view name, std::string_view value) {
        if (!value.empty()) {
            fmt::print(stderr, "  {:<14}{}\n", name, value);
        }
    };
    if (refusal.code != ZPF_RC_OK) {
        field("code", fmt::format("0x{:08X} {}", refusal.code, code_name(refusal.code)));
    }
    field("error-type", refusal.type);
    field("error-tag", refusal.tag);
    field("error-app-tag", refusal.app_tag);
    field("error-path", refusal.path);
    field("error-message", refusal.message);
    field("bad-element", refusal.bad_element);
}

} // namespace zpf::cli
