// SPDX-License-Identifier: Apache-2.0
//
// Steps of an absolute schema path. Prefixes ("a1:tag") are cut off: steps are told apart by tag alone.
#pragma once

#include <string_view>

namespace zpf {

class PathSteps {
public:
    explicit PathSteps(std::string_view path) : rest_(path) { skip_slashes(); }

    bool done() const { return rest_.empty(); }

    /// The next step's tag; only while not done().
    std::string_view next()
    {
        const auto end = rest_.find('/');
        std::string_view step = rest_.substr(0, end);
        rest_ = end == std::string_view::npos ? std::string_view{} : rest_.substr(end);
        skip_slashes();
        if (const auto colon = step.find(':'); colon != std::string_view::npos) {
            step.remove_prefix(colon + 1);
        }
        return step;
    }

private:
    void skip_slashes()
    {
        while (!rest_.empty() && rest_.front() == '/') {
            rest_.remove_prefix(1);
        }
    }

    std::string_view rest_;
};

} // namespace zpf
