// SPDX-License-Identifier: Apache-2.0
//
// The story of a request, told while it happens from what the framework and the plug-in report: who ran, what each
// added, what was refused and by whom.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "output.hpp"
#include "zpf_map/context.hpp"

namespace zpf::cli {

class Explainer : public Observer {
public:
    Explainer(std::FILE* out, Colour colour) : out_(out), style_(Style::of(out, colour)) {}

    void line(std::string_view text) override;
    void operation(const Operation& op) override;
    void phase(Phase phase, std::string_view detail, const Node* node, qerrno result) override;

private:
    void enter(std::string_view function);
    /// A function that reports is the one that runs: whatever it had called has returned, with or without a word.
    void unwind_to(std::string_view function);
    void tell(std::string_view sign, std::string_view colour, const std::string& text);

    std::FILE* out_;
    Style style_;
    std::vector<std::string> running_;
};

} // namespace zpf::cli
