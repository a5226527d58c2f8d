// SPDX-License-Identifier: Apache-2.0
//
// From result codes to NETCONF errors. A successful walk may leave an error tag and a path behind (expansions of reads
// meet unsupported leaves and go on), so both are read only for codes whose sources set them.
#include "refusal.hpp"

#include <array>

#include "context_priv.hpp"
#include "tree_query.hpp"

namespace zpf {

namespace {

struct CodeText {
    qerrno code;
    std::string_view name;
    std::string_view error_tag;
    bool sets_element; ///< its sources set the error tag
    bool sets_path;    ///< its sources record the error path
    std::string_view message;
};

constexpr std::array kCodes{
    CodeText{ZPF_RC_BAD_TREE, "ZPF_RC_BAD_TREE", "operation-failed", false, false,
             "The request could not be walked: an element is damaged or a path leads out of the models."},
    CodeText{ZPF_RC_INVALID_ARGS, "ZPF_RC_INVALID_ARGS", "operation-failed", false, false,
             "A delete names an element together with content; name the element alone."},
    CodeText{ZPF_RC_UNSUPPORTED_NODE, "ZPF_RC_UNSUPPORTED_NODE", "operation-not-supported", true, true,
             "The device has nothing behind this element."},
    CodeText{ZPF_RC_KEY_MISSING, "ZPF_RC_KEY_MISSING", "missing-element", true, true,
             "A list entry needs each of its keys once, with a value."},
    CodeText{ZPF_RC_KEY_DELETE, "ZPF_RC_KEY_DELETE", "bad-element", true, true,
             "A key cannot be deleted; delete the list entry."},
    CodeText{ZPF_RC_INVALID_VALUE, "ZPF_RC_INVALID_VALUE", "invalid-value", true, true,
             "The value is outside what the device accepts."},
    CodeText{ZPF_RC_SKIP_INSTANCE, "ZPF_RC_SKIP_INSTANCE", "operation-failed", false, false,
             "The mapping dropped the request as an instance that is not its own."},
    CodeText{ZPF_RC_AUGMENT_CREATE, "ZPF_RC_AUGMENT_CREATE", "unknown-namespace", true, true,
             "The element's namespace is none that can be configured here."},
};

const CodeText* text_of(qerrno code)
{
    for (const CodeText& text : kCodes) {
        if (text.code == code) {
            return &text;
        }
    }
    return nullptr;
}

/// The first node of a request that `wanted(node, schema)` is true for, with its path; nothing when there is none.
template <typename Wanted>
std::optional<std::pair<const SchemaNode*, std::string>> find_node(const Node& request, const Schema& schema,
                                                                   const Wanted& wanted)
{
    std::optional<std::pair<const SchemaNode*, std::string>> found;
    std::vector<const Node*> above;
    const auto visit = [&](const Node& node, const std::vector<const Node*>& path) {
        const SchemaNode* own = nullptr;
        for (const Node* at : path) {
            own = schema_of(schema, own, *at);
        }
        own = schema_of(schema, own, node);
        if (!found && own != nullptr && wanted(node, *own)) {
            found.emplace(own, data_path(schema, path, node));
        }
        return !found && own != nullptr;
    };
    // The walked node stands for itself: it is a child of nothing here.
    if (visit(request, above)) {
        above.push_back(&request);
        visit_nodes(request, above, visit);
    }
    return found;
}

/// In an edit, an entry without its keys is what makes a walk stop with a bad tree most often; clients are told which.
std::optional<Refusal> keyless_entry(const Node& request, const Schema& schema)
{
    const auto found = find_node(request, schema, [](const Node& node, const SchemaNode& own) {
        return own.kind == NodeKind::list && children(node).empty();
    });
    if (!found) {
        return std::nullopt;
    }
    const auto& keys = found->first->keys;
    return refuse("missing-element", found->second, "A list entry is given without its key.",
                  keys.empty() ? "" : keys.front());
}

/// Where a delete names a container together with content; walkers refuse that without a path.
std::string path_of_removal_with_content(const Node& request, const Schema& schema)
{
    const auto found = find_node(request, schema, [](const Node& node, const SchemaNode& own) {
        return own.kind == NodeKind::container && is_removal(node) && !children(node).empty();
    });
    return found ? found->second : std::string{};
}

/// The tag of the node that the error path ends with, or empty.
std::string_view last_step_of_error_path(Context& context)
{
    const zpf_context_priv& priv = *context.raw()->priv;
    return priv.error_recorded && priv.error_depth > 0 ? tag_of(*priv.error_hierarchy[priv.error_depth - 1])
                                                       : std::string_view{};
}

} // namespace

std::string_view code_name(qerrno code)
{
    const CodeText* text = text_of(code);
    return text ? text->name : std::string_view{};
}

Refusal refuse(std::string tag, std::string path, std::string message, std::string bad_element)
{
    Refusal refusal;
    refusal.tag = std::move(tag);
    refusal.path = std::move(path);
    refusal.message = std::move(message);
    refusal.bad_element = std::move(bad_element);
    return refusal;
}

Refusal refusal_of(Context& context, qerrno code, const Node& request, const Schema& schema)
{
    const zpf_map_request& state = *context.raw()->request;
    const CodeText* const text = text_of(code);
    Refusal refusal;
    refusal.code = code;
    refusal.app_tag = code_name(code);
    refusal.tag = text ? text->error_tag : "operation-failed";
    refusal.message = text ? std::string(text->message) : "The mapping failed.";
    if (state.sticky != ZPF_RC_OK) {
        refusal.tag = "operation-failed";
        refusal.message = "The mapping produced something that the models do not have, or memory is short.";
        return refusal;
    }
    const bool is_edit = !is_read(context.raw());
    if (is_edit && code == ZPF_RC_INVALID_ARGS) {
        refusal.path = path_of_removal_with_content(request, schema);
    }
    if (is_edit && code == ZPF_RC_BAD_TREE) {
        if (auto keyless = keyless_entry(request, schema)) {
            keyless->code = code;
            keyless->app_tag = code_name(code);
            return *keyless;
        }
    }
    if (text != nullptr && text->sets_path) {
        refusal.path = context.error_path();
    }
    if (text != nullptr && text->sets_element && state.error_tag != nullptr) {
        refusal.bad_element = state.error_tag;
        if (last_step_of_error_path(context) != refusal.bad_element) {
            refusal.path += "/" + refusal.bad_element;
        }
    }
    if (code == ZPF_RC_INVALID_VALUE && state.error_message != nullptr) {
        refusal.message = state.error_message;
    }
    return refusal;
}

} // namespace zpf
