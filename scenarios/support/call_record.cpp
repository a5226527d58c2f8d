// SPDX-License-Identifier: Apache-2.0
//
// Framework operations in short notation.
#include "call_record.hpp"

#include <array>
#include <cstdio>

#include "zpf_namespaces.h"

namespace zpf::scenarios {

namespace {

CallRecord* current_record = nullptr;

struct Abbreviation {
    std::string_view path;
    std::string_view shown;
};

// Longest first.
constexpr std::array kAbbreviations{
    Abbreviation{"/interface-configurations/interface-configuration/ots/ots-tx-voa-attenuation", "IC/ots/voa"},
    Abbreviation{"/interface-configurations/interface-configuration", "IC"},
    Abbreviation{"/ots-oper/ots-ports/ots-port/ots-info/tx-voa-attenuation", "OP/info/voa"},
    Abbreviation{"/ots-oper/ots-ports/ots-port", "OP"},
    Abbreviation{"/optical-attenuator/attenuators/attenuator", "AT"},
};

std::string shown(const char* path)
{
    const std::string_view text = path ? path : "(null)";
    for (const Abbreviation& abbreviation : kAbbreviations) {
        if (text.starts_with(abbreviation.path)) {
            return std::string(abbreviation.shown) + std::string(text.substr(abbreviation.path.size()));
        }
    }
    return std::string(text);
}

std::string tag(const Node* node)
{
    return node == nullptr ? "null" : node->tag == nullptr ? "(no tag)" : node->tag;
}

std::string code(qerrno result)
{
    if (result == ZPF_RC_OK) {
        return {};
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), " -> %x", result);
    return text.data();
}

std::string quoted_or_null(const char* value)
{
    return value ? "\"" + std::string(value) + "\"" : "null";
}

std::string source(const Node* node)
{
    if (node == nullptr) {
        return "-";
    }
    const bool rewritten = (node->state_flags & ZPF_STATE_CONSUMED) != 0;
    return "src:" + tag(node) + "(op" + std::to_string(node->edit_op) + (rewritten ? "*" : "") + ")";
}

/// The namespace that goes with a path; a call with another one shows it.
std::string_view usual_namespace(const std::string& short_path)
{
    if (short_path.starts_with("IC/ots")) {
        return ZPF_NS_CONTROLLER_OTS_CFG;
    }
    if (short_path.starts_with("IC")) {
        return ZPF_NS_IFMGR_CFG;
    }
    return short_path.starts_with("OP") ? ZPF_NS_CONTROLLER_OTS_OPER : ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR;
}

std::string added(const Operation& op)
{
    const std::string path = shown(op.path);
    std::string text = "  ADD " + path + " " + quoted_or_null(op.value) + " " + source(op.op_source) + " " +
                       std::to_string(op.list_flag) + "," + std::to_string(op.leaf_flag);
    if (op.ns == nullptr || op.ns != usual_namespace(path)) {
        text += " ns:" + std::string(op.ns ? op.ns : "null");
    }
    return text + code(op.result);
}

/// The operation's line; empty for those that are diagnostics only.
std::string told(const Operation& op)
{
    const std::string_view name = op.name;
    if (name == "zpf_map_add_to_node_hierarchy") {
        return "H+(" + tag(op.node) + "," + std::to_string(op.number) + ")";
    }
    if (name == "zpf_map_remove_from_node_hierarchy") {
        return "H-(" + tag(op.node) + ")";
    }
    if (name == "zpf_map_datatree_add_path_flagged") {
        return added(op);
    }
    if (name == "zpf_map_update_current_list_node") {
        return "U(" + shown(op.path) + ")" + code(op.result);
    }
    if (name == "zpf_map_search_or_add_list") {
        return "search_or_add_list(" + shown(op.path) + "," + op.key + "=" + op.value + ")" + code(op.result);
    }
    if (name == "zpf_map_get_node_info") {
        return "get_node_info(" + shown(op.path) + "," + op.key + ")" + code(op.result);
    }
    if (name == "zpf_add_to_output_list_ctx") {
        return "OUT+(" + tag(op.node) + ")";
    }
    if (name == "zpf_remove_from_output_list_ctx") {
        return "OUT-(" + tag(op.node) + ")";
    }
    if (name == "zpf_map_is_request_add") {
        return "is_request_add(" + tag(op.node) + ") = " + std::to_string(op.result);
    }
    if (name == "zpf_map_check_oc_leafref") {
        return "check_oc_leafref(" + shown(op.path) + "," + op.key + "," + tag(op.node) + ")" + code(op.result);
    }
    if (name == "zpf_map_util_itree_stack_push") {
        return "itree_push(" + tag(op.node) + "," + std::to_string(op.number) + ")";
    }
    if (name == "zpf_map_util_itree_stack_pop") {
        return "itree_pop";
    }
    if (name == "zpf_map_util_itree_stack_peak") {
        return "itree_peak = " + std::to_string(op.number);
    }
    if (name == "zpf_map_util_itree_stack_size") {
        return "itree_size = " + std::to_string(op.result);
    }
    if (name == "zpf_oc_error_path") {
        return "oc_error_path";
    }
    if (name == "zpf_map_print_datatree_internal") {
        // One of the prints at the end of a request stands for them all; the others are diagnostics.
        return std::string_view{op.value} == "root_node" ? "print(print_data)" : "";
    }
    return std::string(name) + "?"; // an operation without a notation is to be seen
}

/// "<text>" of a numbered line "#1: TRC: <function>:<line> ctx=...,<text>" of this function, or empty.
std::string_view said_by(std::string_view line, std::string_view function)
{
    const auto start = line.find(": " + std::string(function) + ":");
    const auto comma = start == std::string_view::npos ? start : line.find(',', start);
    return comma == std::string_view::npos ? std::string_view{} : line.substr(comma + 1);
}

} // namespace

CallRecord::CallRecord()
{
    current_record = this;
}

CallRecord::~CallRecord()
{
    current_record = nullptr;
}

CallRecord* CallRecord::active()
{
    return current_record;
}

void CallRecord::add(const std::string& text)
{
    if (open_) {
        entries_.push_back({text});
    }
}

void CallRecord::operation(const Operation& op)
{
    if (const std::string text = told(op); !text.empty()) {
        add(text);
    }
}

/// The search of the state translation decides nothing, so that only its own words tell what it has found.
void CallRecord::line(std::string_view text)
{
    const std::string_view said = said_by(text, "oc_opt_att_state_attenuation_to_high");
    if (said.starts_with("key:  ")) {
        found_key_ = said.substr(6, said.size() - 7);
    } else if (said.starts_with("controller_name:  ")) {
        add("   plist key=" + found_key_ + " path=" + std::string(said.substr(18, said.size() - 19)));
    }
}

void CallRecord::phase(Phase phase, std::string_view detail, const Node* node, qerrno)
{
    switch (phase) {
    case Phase::low_walk:
        if (to_high_ && open_) {
            entries_.push_back({"--- OpenConfig to native"});
        }
        to_high_ = false;
        break;
    case Phase::high_walk:
        if (!to_high_ && open_) {
            entries_.push_back({"--- native to OpenConfig"});
        }
        to_high_ = true;
        break;
    case Phase::probe: {
        open_ = false;
        std::string probed(detail);
        for (const Node& key : node ? children(*node) : std::span<const Node>{}) {
            probed += (probed.empty() ? "" : ",") + std::string(value_of(key).value_or(""));
        }
        entries_.push_back({"probe(" + probed + ")"});
        break;
    }
    case Phase::apply:
        open_ = false;
        entries_.push_back({"apply"});
        break;
    case Phase::verdict:
        entries_.push_back({"verdict: " + std::string(detail)});
        break;
    case Phase::native_tree:
    case Phase::done:
        break;
    }
}

void CallRecord::removal_question(const Node* node, int answer)
{
    add("is_request_delete(" + tag(node) + ") = " + std::to_string(answer));
}

void CallRecord::refusal(const Node& leaf, bool in_expansion, std::size_t first)
{
    if (!open_) {
        return;
    }
    if (!in_expansion) {
        add("cb leaf " + tag(&leaf) + " refused, error_tag := " + tag(&leaf));
        return;
    }
    if (entries_.size() != first + 1 || entries_.back().text != "oc_error_path") {
        add("refused with other calls than oc_error_path");
        return;
    }
    entries_.pop_back();
    const std::string text = ": oc_error_path, error_tag := " + tag(&leaf) + ", result discarded)";
    if (entries_.empty() || entries_.back().refusals == 0 || entries_.back().text != text) {
        entries_.push_back({text});
    }
    ++entries_.back().refusals;
}

/// Expansions meet many leaves that are refused, to no effect; neighbours are one line with their number.
std::vector<std::string> CallRecord::lines() const
{
    std::vector<std::string> lines;
    for (const Entry& entry : entries_) {
        lines.push_back(entry.refusals == 0 ? entry.text
                                            : "(unsupported leaf x" + std::to_string(entry.refusals) + entry.text);
    }
    return lines;
}

} // namespace zpf::scenarios
