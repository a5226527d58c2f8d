// SPDX-License-Identifier: Apache-2.0
//
// The lamp plug-in with a rack to map to: reads and edits as text in, text out.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "case_name.hpp"
#include "lamp_models.hpp"
#include "text_tree.hpp"
#include "zpf_map/driver.hpp"

namespace zpf::test {

/// Two lamps (c1, c3), two cells that are none, a rack, and gauges of which one has no cell.
inline constexpr const char* kRack = "cells\n"
                                     "  cell\n"
                                     "    kind = \"led\"\n"
                                     "    id = \"c1\"\n"
                                     "    dimming\n"
                                     "      lum = \"30\"\n"
                                     "    note = \"hall\"\n"
                                     "    wear = \"5\"\n"
                                     "  cell\n"
                                     "    kind = \"arc\"\n"
                                     "    id = \"c2\"\n"
                                     "    note = \"spark\"\n"
                                     "  cell\n"
                                     "    kind = \"led\"\n"
                                     "    id = \"relay\"\n"
                                     "    dimming\n"
                                     "      lum = \"1\"\n"
                                     "  cell\n"
                                     "    kind = \"led\"\n"
                                     "    id = \"c3\"\n"
                                     "    dimming\n"
                                     "      lum = \"95\"\n"
                                     "    taps\n"
                                     "      tap\n"
                                     "        pin = \"left1\"\n"
                                     "        gain = \"4\"\n"
                                     "      tap\n"
                                     "        pin = \"right2\"\n"
                                     "        gain = \"6\"\n"
                                     "rack\n"
                                     "  limit = \"800\"\n"
                                     "  spare = \"yes\"\n"
                                     "gauges\n"
                                     "  gauge\n"
                                     "    id = \"c1\"\n"
                                     "    lum = \"31\"\n"
                                     "  gauge\n"
                                     "    id = \"c3\"\n"
                                     "    lum = \"0\"\n"
                                     "  gauge\n"
                                     "    id = \"c5\"\n"
                                     "    lum = \"7\"\n";

inline const Driver& lamp_driver()
{
    static const Plugin plugin(ACME_PLUGIN);
    static const Driver driver(lamp_schema(), plugin);
    return driver;
}

class DriverTest : public ::testing::Test {
protected:
    static const Schema& schema() { return lamp_schema(); }
    /// Lines of a tree, checked and in normal form.
    static std::string tree(std::string_view lines) { return to_text(tree_of(schema(), lines).root()); }

    void stock(std::string_view native) { store = tree_of(schema(), native); }

    ReadResult read(uint32_t kind, std::string_view request, TreeSource::Answer answer = TreeSource::Answer::selected)
    {
        const Tree asked = tree_of(schema(), request);
        const TreeSource source(schema(), store.root(), answer);
        return lamp_driver().read(context, kind, &asked.root(), source);
    }
    std::string get(std::string_view request) { return reply_text(read(ZPF_REQUEST_GET, request)); }
    std::string get_config(std::string_view request) { return reply_text(read(ZPF_REQUEST_GET_CONFIG, request)); }

    static std::string reply_text(const ReadResult& result)
    {
        return result.refusal ? "refused: " + result.refusal->tag + " " + result.refusal->message
                              : to_text(result.reply.root());
    }

    /// The reply with siblings in alphabetical order: what a reply says does not hang on the order of system-ordered
    /// lists.
    static std::string sorted(const ReadResult& result)
    {
        return result.refusal ? reply_text(result) : sorted_text(result.reply.root());
    }

    EditResult edit(std::string_view request, int32_t default_operation = ZPF_OP_MERGE)
    {
        options.default_operation = default_operation;
        const Tree asked = edit_of(schema(), request);
        const TreeSource source(schema(), store.root(), TreeSource::Answer::everything);
        return lamp_driver().edit(context, &asked.root(), source, options);
    }

    /// The native data after an edit that must succeed.
    std::string after(std::string_view request, int32_t default_operation = ZPF_OP_MERGE)
    {
        const EditResult result = edit(request, default_operation);
        return result.refusal
                   ? "refused: " + result.refusal->tag + " " + result.refusal->path + ": " + result.refusal->message
                   : to_text(result.after.root());
    }

    /// The native data as they are, with pieces of the text replaced; each piece must be there.
    static std::string rack_with(std::initializer_list<std::pair<std::string_view, std::string_view>> changes)
    {
        std::string text = kRack;
        for (const auto& [from, to] : changes) {
            const auto at = text.find(from);
            EXPECT_NE(at, std::string::npos) << from;
            text.replace(at, from.size(), to);
        }
        return text;
    }

    static std::string sorted_text(const Node& parent, std::size_t indent = 0)
    {
        std::vector<std::string> lines;
        for (const Node& node : children(parent)) {
            const std::string whole = to_text(node, indent);
            lines.push_back(whole.substr(0, whole.find('\n') + 1) + sorted_text(node, indent + 2));
        }
        std::sort(lines.begin(), lines.end());
        return std::accumulate(lines.begin(), lines.end(), std::string{});
    }

    Tree store = tree_of(schema(), kRack);
    Context context{&schema()};
    EditOptions options;
};

} // namespace zpf::test
