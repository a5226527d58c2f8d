// SPDX-License-Identifier: Apache-2.0
//
// Reading of indented trees. The text is a test's own: a malformed line is a mistake in the test and throws.
#include "text_tree.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zpf::test {

namespace {

constexpr std::array<std::pair<std::string_view, int32_t>, 5> kOperations{{
    {"merge", ZPF_OP_MERGE},
    {"replace", ZPF_OP_REPLACE},
    {"create", ZPF_OP_CREATE},
    {"delete", ZPF_OP_DELETE},
    {"remove", ZPF_OP_REMOVE},
}};

struct Line {
    std::size_t depth = 0;
    std::string_view ns;
    std::string_view tag;
    std::optional<std::string_view> value;
    int32_t edit_op = ZPF_OP_MERGE;
};

[[noreturn]] void reject(std::string_view line)
{
    throw std::invalid_argument("no line of a tree: " + std::string(line));
}

int32_t operation_of(std::string_view word, std::string_view line)
{
    const auto* const found = std::find_if(kOperations.begin(), kOperations.end(),
                                           [word](const auto& operation) { return operation.first == word; });
    if (found == kOperations.end()) {
        reject(line);
    }
    return found->second;
}

Line parse(std::string_view line, int32_t default_operation)
{
    Line parsed;
    parsed.edit_op = default_operation;
    const std::size_t indent = line.find_first_not_of(' ');
    parsed.depth = indent / 2;
    std::string_view rest = line.substr(indent);
    if (rest.front() == '{') {
        const auto end = rest.find('}');
        parsed.ns = rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
    }
    if (const auto op = rest.rfind(" op="); op != std::string_view::npos) {
        parsed.edit_op = operation_of(rest.substr(op + 4), line);
        rest = rest.substr(0, op);
    }
    if (const auto assigned = rest.find(" = \""); assigned != std::string_view::npos) {
        parsed.value = rest.substr(assigned + 4, rest.size() - assigned - 5);
        rest = rest.substr(0, assigned);
    }
    parsed.tag = rest;
    if (indent % 2 != 0 || rest.empty() || rest.find(' ') != std::string_view::npos) {
        reject(line);
    }
    return parsed;
}

struct Level {
    std::vector<std::size_t> place; // indices from the root: records move while their siblings are added
    const SchemaNode* schema;
};

Node& at(Tree& tree, const std::vector<std::size_t>& place)
{
    Node* node = &tree.root();
    for (const std::size_t index : place) {
        node = &children(*node)[index];
    }
    return *node;
}

} // namespace

Tree tree_of(const Schema& schema, std::string_view text, int32_t default_operation)
{
    Tree tree;
    std::vector<Level> open{{{}, nullptr}};
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.find_first_not_of(' ') == std::string_view::npos) {
            continue;
        }
        const Line parsed = parse(line, default_operation);
        if (parsed.depth >= open.size()) {
            reject(line);
        }
        open.resize(parsed.depth + 1);
        const Level above = open.back();
        const SchemaNode* own = nullptr;
        if (parsed.ns.empty()) {
            own = parsed.depth == 0 ? schema.find_top(parsed.tag)
                                    : (above.schema ? above.schema->find(parsed.tag) : nullptr);
        }
        Node& parent = at(tree, above.place);
        const std::string_view ns = own ? std::string_view{own->ns} : parsed.ns.empty() ? ns_of(parent) : parsed.ns;
        tree.add(parent, parsed.tag, ns, parsed.value, parsed.edit_op);
        Level below{above.place, own};
        below.place.push_back(parent.subtree_count - 1);
        open.push_back(std::move(below));
    }
    return tree;
}

} // namespace zpf::test
