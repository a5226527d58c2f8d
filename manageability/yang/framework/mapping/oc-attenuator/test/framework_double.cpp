// SPDX-License-Identifier: Apache-2.0
//
// The recording stand-in for the framework: the operations themselves, under the framework's names.
#include "framework_double.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace test {
namespace {

FrameworkDouble* current_double = nullptr;

std::string name_of(const qidl_zpf_datatree* node)
{
    return node == nullptr ? "null" : node->tag != nullptr ? node->tag : "(no tag)";
}

std::string source_of(const qidl_zpf_datatree* source)
{
    if (source == nullptr) {
        return "-";
    }
    const char* consumed = (source->state_flags & ZPF_STATE_CONSUMED) != 0 ? "*" : "";
    return "src:" + name_of(source) + "(op" + std::to_string(source->edit_op) + consumed + ")";
}

bool same(const char* a, const char* b)
{
    return a != nullptr && b != nullptr && std::strcmp(a, b) == 0;
}

} // namespace

FrameworkDouble::FrameworkDouble()
{
    context.request = &request;
    request.header = &header;
    header.operation = ZPF_REQUEST_EDIT_CONFIG;
    out.state_flags = ZPF_STATE_PRESENT;
    current_double = this;
}

FrameworkDouble::~FrameworkDouble()
{
    clear_error();
    current_double = nullptr;
}

void FrameworkDouble::clear_error()
{
    named_free(std::exchange(request.error_tag, nullptr));
    named_free(std::exchange(request.error_message, nullptr));
}

FrameworkDouble& FrameworkDouble::current()
{
    if (current_double == nullptr) {
        std::fputs("the plug-in calls the framework outside of a test\n", stderr);
        std::abort();
    }
    return *current_double;
}

std::vector<std::string> FrameworkDouble::calls_of(std::initializer_list<const char*> words) const
{
    std::vector<std::string> found;
    for (const std::string& call : calls) {
        for (const char* word : words) {
            if (call.rfind(word, 0) == 0) {
                found.push_back(call);
                break;
            }
        }
    }
    return found;
}

std::vector<std::string> FrameworkDouble::messages(const char* level) const
{
    std::vector<std::string> found;
    for (const LogLine& line : log) {
        if (line.text.rfind(level, 0) == 0) {
            found.push_back(line.text.substr(line.text.find(',') + 1));
        }
    }
    return found;
}

void FrameworkDouble::publish_hierarchy()
{
    request.node_data = hierarchy.data();
    request.node_data_count = static_cast<uint8_t>(hierarchy.size());
    deepest_hierarchy = std::max(deepest_hierarchy, static_cast<uint32_t>(hierarchy.size()));
}

void FrameworkDouble::stand_in(qidl_zpf_datatree& node, uint32_t level)
{
    hierarchy.push_back({&node, level});
    publish_hierarchy();
}

qidl_zpf_datatree* FrameworkDouble::grow(qidl_zpf_datatree& parent, const char* tag, const char* value)
{
    auto& array = arrays_.emplace_back(parent.subtrees, parent.subtrees + parent.subtree_count);
    qidl_zpf_datatree child{};
    child.tag = texts_.emplace_back(tag).data();
    child._data = value != nullptr ? texts_.emplace_back(value).data() : nullptr;
    child.state_flags = static_cast<uint8_t>(ZPF_STATE_PRESENT | (value != nullptr ? ZPF_STATE_VALUE : 0u));
    array.push_back(child);
    parent.subtrees = array.data();
    parent.subtree_count = static_cast<uint32_t>(array.size());
    parent.state_flags |= ZPF_STATE_SUBTREES;
    return &array.back();
}

std::string short_path(const std::string& path)
{
    static const std::vector<std::pair<std::string, std::string>> names{
        {"/interface-configurations/interface-configuration", "IC"},
        {"/ots-oper/ots-ports/ots-port", "OP"},
        {"/optical-attenuator/attenuators/attenuator", "AT"}};
    for (const auto& [list, name] : names) {
        if (path.rfind(list, 0) == 0) {
            std::string rest = path.substr(list.size());
            for (const auto& [node, word] : {std::pair{"/ots/ots-tx-voa-attenuation", "/ots/voa"},
                                             std::pair{"/ots-info/tx-voa-attenuation", "/info/voa"}}) {
                if (rest == node) {
                    rest = word;
                }
            }
            return name + rest;
        }
    }
    return path;
}

std::string quoted(const char* text)
{
    return text != nullptr ? '"' + std::string{text} + '"' : "null";
}

} // namespace test

using test::FrameworkDouble;
using test::name_of;

extern "C" {

void zpf_map_add_to_node_hierarchy(zpf_map_ctx /*ctx*/, const qidl_zpf_datatree* node, uint32_t level)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("H+(" + name_of(node) + "," + std::to_string(level) + ")");
    framework.stand_in(*const_cast<qidl_zpf_datatree*>(node), level);
}

void zpf_map_remove_from_node_hierarchy(zpf_map_ctx /*ctx*/, const qidl_zpf_datatree* node)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("H-(" + name_of(node) + ")");
    if (framework.hierarchy.empty() || framework.hierarchy.back().node != node) {
        ++framework.hierarchy_mismatches;
        return;
    }
    framework.hierarchy.pop_back();
    framework.publish_hierarchy();
}

qerrno zpf_map_datatree_add_path_flagged(zpf_map_ctx /*ctx*/, qidl_zpf_datatree* tree, const char* path, const char* ns,
                                         const char* value, const qidl_zpf_datatree* op_source,
                                         qidl_zpf_datatree** created, uint32_t list_flag, uint32_t leaf_flag)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("ADD " + test::short_path(path) + " " + test::quoted(value) + " " + test::source_of(op_source) +
                     " " + std::to_string(list_flag) + "," + std::to_string(leaf_flag));
    const std::optional<std::string> text = value != nullptr ? std::optional<std::string>{value} : std::nullopt;
    framework.adds.push_back({tree, path, ns, text, op_source, created != nullptr, list_flag, leaf_flag});
    const qerrno result = framework.on_add ? framework.on_add(framework.adds.back()) : ZPF_RC_OK;
    if (created != nullptr && result == ZPF_RC_OK) {
        *created = framework.grow(*tree, std::strrchr(path, '/') + 1, value);
    }
    return result;
}

qerrno zpf_map_search_or_add_list(zpf_map_ctx ctx, qidl_zpf_datatree* tree, qidl_zpf_datatree** plist,
                                  const char* list_path, const char* key_value, const char* key_leaf, const char* ns)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("search_or_add_list(" + test::short_path(list_path) + "," + key_leaf + "=" + key_value + ")");
    framework.adds.push_back({tree, list_path, ns, key_value, nullptr, plist != nullptr, 1, 0});
    if (framework.search_result) {
        return *framework.search_result;
    }
    if (plist != &ctx->request->list_ctx_current.plist) {
        return ZPF_RC_BAD_TREE;
    }
    *plist = framework.grow(*tree, std::strrchr(list_path, '/') + 1, nullptr);
    framework.grow(**plist, key_leaf, key_value);
    return ZPF_RC_OK;
}

qerrno zpf_map_get_node_info(zpf_map_ctx /*ctx*/, const char* list_path, const char* key_leaf, zpf_map_node_info* out)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("get_node_info(" + test::short_path(list_path) + "," + key_leaf + ")");
    *out = {nullptr, nullptr};
    if (framework.hierarchy.empty() ||
        !test::same(framework.hierarchy.back().node->tag, std::strrchr(list_path, '/') + 1)) {
        return ZPF_RC_BAD_TREE;
    }
    const qidl_zpf_datatree& entry = *framework.hierarchy.back().node;
    out->entry = &entry;
    for (uint32_t i = 0; i < entry.subtree_count; ++i) {
        const qidl_zpf_datatree& child = entry.subtrees[i];
        if (test::same(child.tag, key_leaf) && (child.state_flags & ZPF_STATE_VALUE) != 0) {
            out->key_value = child._data;
        }
    }
    return ZPF_RC_OK;
}

qerrno zpf_map_update_current_list_node(zpf_map_ctx /*ctx*/, const char* list_path)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("U(" + test::short_path(list_path) + ")");
    const auto result = framework.update_results.find(list_path);
    return result != framework.update_results.end() ? result->second : ZPF_RC_OK;
}

void zpf_add_to_output_list_ctx(zpf_map_ctx /*ctx*/, const qidl_zpf_datatree* list_node, qidl_zpf_datatree* /*tree*/)
{
    FrameworkDouble::current().record("OUT+(" + name_of(list_node) + ")");
}

void zpf_remove_from_output_list_ctx(zpf_map_ctx ctx, const qidl_zpf_datatree* list_node, qidl_zpf_datatree* /*tree*/)
{
    FrameworkDouble::current().record("OUT-(" + name_of(list_node) + ")");
    ctx->request->list_ctx_current.plist = nullptr;
}

int zpf_map_is_request_add(zpf_map_ctx ctx, const qidl_zpf_datatree* node)
{
    const uint32_t operation = ctx->request->header->operation;
    const bool adds =
        operation != ZPF_REQUEST_GET_CONFIG && operation != ZPF_REQUEST_GET &&
        (node->edit_op == ZPF_OP_MERGE || node->edit_op == ZPF_OP_REPLACE || node->edit_op == ZPF_OP_CREATE);
    FrameworkDouble::current().record("is_request_add(" + name_of(node) + ") = " + (adds ? "1" : "0"));
    return adds ? 1 : 0;
}

int zpf_map_is_request_delete(const qidl_zpf_datatree* node)
{
    const bool deletes = node->edit_op == ZPF_OP_DELETE || node->edit_op == ZPF_OP_REMOVE;
    FrameworkDouble::current().record("is_request_delete(" + name_of(node) + ") = " + (deletes ? "1" : "0"));
    return deletes ? 1 : 0;
}

int zpf_map_do_these_match(const char* a, const char* b)
{
    return test::same(a, b) ? 1 : 0;
}

qerrno zpf_map_check_oc_leafref(zpf_map_ctx /*ctx*/, const char* list_path, const char* container, const char* key_tag,
                                const qidl_zpf_datatree* entry)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    const bool is_walked_entry = !framework.hierarchy.empty() && framework.hierarchy.back().node == entry;
    framework.record("check_oc_leafref(" + test::short_path(list_path) + "," + container + "," + key_tag + "," +
                     (is_walked_entry ? "entry" : name_of(entry)) + ")");
    return framework.leafref_result;
}

void zpf_map_util_itree_stack_push(zpf_map_ctx /*ctx*/, qidl_zpf_datatree* entries, uint32_t count,
                                   zpf_itree_handler handler)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    std::string names;
    for (uint32_t i = 0; i < count; ++i) {
        names += name_of(&entries[i]) + " ";
    }
    framework.record("itree_push(" + names + std::to_string(count) + (handler != nullptr ? ", handler)" : ", 0)"));
    framework.itree.push_back({entries, count, handler});
}

void zpf_map_util_itree_stack_pop(zpf_map_ctx /*ctx*/)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("itree_pop");
    if (!framework.itree.empty()) {
        framework.itree.pop_back();
    }
}

qerrno zpf_map_util_itree_stack_peak(zpf_map_ctx /*ctx*/, zpf_itree_record* out)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("itree_peak");
    if (framework.itree.empty()) {
        *out = {};
        return ZPF_RC_BAD_TREE;
    }
    *out = framework.itree.back();
    return ZPF_RC_OK;
}

uint32_t zpf_map_util_itree_stack_size(zpf_map_ctx /*ctx*/)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    const auto size = static_cast<uint32_t>(framework.itree.size());
    framework.record("itree_size = " + std::to_string(size));
    return size;
}

void zpf_oc_error_path(zpf_map_ctx /*ctx*/)
{
    FrameworkDouble::current().record("oc_error_path");
}

void zpf_map_print_datatree_internal(zpf_map_ctx ctx, const qidl_zpf_datatree* node, const char* label)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("print(" + std::string{label} + ")" + (ctx->print_enabled != 0 ? " enabled" : ""));
    framework.printed.push_back(node);
}

char* zpf_strdup(const char* text, const char* allocation_name)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("strdup(" + test::quoted(text) + "," + test::quoted(allocation_name) + ")");
    if (text == nullptr) {
        return nullptr;
    }
    ++framework.strings_alive;
    return ::strdup(text);
}

void named_free(void* p)
{
    if (p == nullptr) {
        return;
    }
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("free(" + test::quoted(static_cast<const char*>(p)) + ")");
    --framework.strings_alive;
    std::free(p);
}

void zpf_strcpy_s(const char* /*caller*/, char* dst, size_t size, const char* src)
{
    std::snprintf(dst, size, "%s", src != nullptr ? src : "");
}

void zpf_strcat_s(const char* /*caller*/, char* dst, size_t size, const char* src)
{
    const size_t used = std::strlen(dst);
    std::snprintf(dst + used, size - used, "%s", src);
}

int zpf_debug_should_log(const zpf_log_filter* filter, int level)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    ++framework.filter_questions;
    const bool admits = level == ZPF_LEVEL_TRACE ? framework.logs_trace : framework.logs_error;
    return filter == &framework.context.log_filter && admits ? 1 : 0;
}

void log_filter_emit(void* log, unsigned long a, unsigned long b, unsigned long c, unsigned long d, unsigned long e,
                     uint32_t* slot, const char* fmt, ...)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    char text[2000];
    va_list arguments;
    va_start(arguments, fmt);
    std::vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
    framework.log.push_back({log, slot, *slot, (a | b | c | d | e) == 0, text});
    if (framework.on_log) {
        framework.on_log(text);
    }
}

uint32_t ret_nc_zpf_trace_index_incr(void)
{
    static uint32_t next = 0;
    FrameworkDouble::current().record("trace_index");
    return ++next;
}

void trace_ring_write(void* trace_buf, uint64_t flags, const char* line)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    framework.record("ring_write");
    framework.ring.push_back({trace_buf, flags, line});
}

} // extern "C"
