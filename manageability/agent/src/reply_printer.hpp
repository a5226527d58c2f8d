// SPDX-License-Identifier: Apache-2.0
//
// Replies of the mapping printed straight into the message: the tree is already cut to what was asked for, so it need
// not become libyang data first.
#pragma once

#include <array>
#include <functional>
#include <string>

#include "yang.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::agent {

/// One thread's.
class ReplyPrinter {
public:
    explicit ReplyPrinter(const Yang& yang) : yang_(yang) {}

    /// Appends the trees as XML, values in canonical form. A value that the model does not take is left out and told
    /// of.
    void print(const Node& root, std::string& out, const std::function<void(const std::string& reason)>& left_out);

private:
    /// What became of a value the last time: polled values rarely change.
    struct Known {
        const SchemaNode* leaf = nullptr;
        std::string text;
        std::string escaped; ///< canonical, as it stands in XML
        std::string complaint;
    };

    void print(const Node& node, const SchemaNode& own, const std::string* ns, std::string& out,
               const std::function<void(const std::string&)>& left_out);
    const Known& known(const SchemaNode& leaf, std::string_view text);

    static constexpr std::size_t kKnownValues = 256;

    const Yang& yang_;
    std::array<Known, kKnownValues> known_;
};

} // namespace zpf::agent
