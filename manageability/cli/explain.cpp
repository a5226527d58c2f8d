// SPDX-License-Identifier: Apache-2.0
//
// Telling of the story. Functions report "Start" when they begin and mostly "End" when they end.
#include "explain.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "trace_line.hpp"

namespace zpf::cli {

namespace {

const char* role_name(Role role)
{
    switch (role) {
    case Role::walker:
        return "walker";
    case Role::callback:
        return "callback";
    case Role::translation:
        return "translation";
    }
    return "";
}

const char* operation_name(int32_t edit_op)
{
    switch (edit_op) {
    case ZPF_OP_MERGE:
        return "merge";
    case ZPF_OP_REPLACE:
        return "replace";
    case ZPF_OP_CREATE:
        return "create";
    case ZPF_OP_DELETE:
        return "delete";
    case ZPF_OP_REMOVE:
        return "remove";
    default:
        return "none";
    }
}

std::string added(const Operation& op)
{
    std::string text = op.path ? op.path : "(no path)";
    if (op.value != nullptr) {
        text += fmt::format(" = \"{}\"", op.value);
    }
    if (op.op_source != nullptr) {
        text += fmt::format("  {}", operation_name(op.op_source->edit_op));
    }
    if (op.list_flag != 0) {
        text += "  (opens an entry)";
    }
    return text;
}

} // namespace

void Explainer::tell(std::string_view sign, std::string_view colour, const std::string& text)
{
    fmt::print(out_, "{:{}}{}{}{} {}\n", "", 2 + 2 * running_.size(), colour, sign, style_.off, text);
}

void Explainer::unwind_to(std::string_view function)
{
    const auto found = std::find(running_.rbegin(), running_.rend(), function);
    if (found != running_.rend()) {
        running_.erase(found.base(), running_.end());
    }
}

void Explainer::enter(std::string_view function)
{
    unwind_to(function);
    if (!running_.empty() && running_.back() == function) {
        running_.pop_back(); // it ended without a word and starts again, for the next instance
    }
    tell(role_name(role_of(function)), style_.dim, std::string(function));
    running_.emplace_back(function);
}

void Explainer::line(std::string_view text)
{
    const auto line = take_apart(text);
    if (!line) {
        return;
    }
    if (line->message == "Start") {
        enter(line->function);
        return;
    }
    unwind_to(line->function);
    if (line->message == "End") {
        if (!running_.empty() && running_.back() == line->function) {
            running_.pop_back();
        }
    } else if (line->error) {
        tell("!", style_.bad, fmt::format("{} ({})", line->message, line->function));
    }
}

void Explainer::operation(const Operation& op)
{
    const std::string_view name = op.name;
    if (name == "zpf_map_datatree_add_path_flagged") {
        tell(op.result == ZPF_RC_OK ? "+" : "!", op.result == ZPF_RC_OK ? style_.good : style_.bad, added(op));
    } else if (name == "zpf_map_search_or_add_list") {
        tell("+", style_.good, fmt::format("{}[{}='{}']  (finds or opens the entry)", op.path, op.key, op.value));
    } else if (name == "zpf_oc_error_path") {
        tell("!", style_.bad, fmt::format("refused by {}", running_.empty() ? "the host" : running_.back()));
    }
}

void Explainer::phase(Phase phase, std::string_view detail, const Node* node, qerrno result)
{
    const auto heading = [this](const std::string& text) {
        running_.clear();
        fmt::print(out_, "{}{}{}\n", style_.heading, text, style_.off);
    };
    switch (phase) {
    case Phase::low_walk:
        heading(fmt::format("OpenConfig to native: {}", detail));
        break;
    case Phase::high_walk:
        heading(fmt::format("native to OpenConfig: {}", detail));
        break;
    case Phase::probe:
        heading(node ? fmt::format("whose native entry is this?\n{}", to_text(*node, 2)) : fmt::format("{}", detail));
        break;
    case Phase::apply:
        heading("apply to the native data");
        break;
    case Phase::verdict:
        tell("!", style_.bad, std::string(detail));
        break;
    case Phase::done:
        running_.clear();
        if (result == ZPF_RC_OK) {
            tell("=", style_.good, "done");
        } else {
            tell("=", style_.bad, fmt::format("ended with 0x{:08X} {}", result, code_name(result)));
        }
        break;
    case Phase::native_tree:
        break; // printed with the result
    }
}

} // namespace zpf::cli
