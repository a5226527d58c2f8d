// SPDX-License-Identifier: Apache-2.0
//
// From a client's text to a request tree: the elements around it first, then what is in them.
#include <vector>

#include "document.hpp"
#include "operation_words.hpp"
#include "reader.hpp"
#include "zpf_bridge/data.hpp"

namespace zpf::bridge {

namespace {

/// Finds the model's top elements inside of what is wrapped around them, and notes what the wrapping says.
class Unwrapper {
public:
    Unwrapper(const Document& document, Request& request) : document_(document), request_(request) {}

    std::vector<const lyd_node*> run()
    {
        open(document_.first());
        if (filter_ != nullptr && is_edit()) {
            document_.fail(*filter_, "a filter belongs to a get or a get-config, and the request is taken for an edit");
        }
        return std::move(tops_);
    }

    bool is_edit() const { return request_.kind.value_or(ZPF_REQUEST_EDIT_CONFIG) == ZPF_REQUEST_EDIT_CONFIG; }

private:
    bool is_wrapper(const lyd_node& node, std::string_view name) const
    {
        return name_of(node) == name && is_of(node, "ietf-netconf", kNetconfNamespace);
    }

    void set_kind(const lyd_node& node, uint32_t kind)
    {
        if (request_.kind && *request_.kind != kind) {
            document_.fail(node, "the request says two things about what it is");
        }
        request_.kind = kind;
    }

    void set_default_operation(const lyd_node& node)
    {
        const std::string text = text_of(node).value_or("");
        request_.default_operation = find_operation(kDefaultOperations, text);
        if (!request_.default_operation) {
            document_.fail(node, "\"" + text + "\" is no operation that can stand here");
        }
    }

    void open(const lyd_node* first)
    {
        for (const lyd_node* node = first; node != nullptr; node = node->next) {
            if (is_wrapper(*node, "edit-config")) {
                set_kind(*node, ZPF_REQUEST_EDIT_CONFIG);
                open(lyd_child(node));
            } else if (is_wrapper(*node, "get-config")) {
                set_kind(*node, ZPF_REQUEST_GET_CONFIG);
                open(lyd_child(node));
            } else if (is_wrapper(*node, "get")) {
                set_kind(*node, ZPF_REQUEST_GET);
                open(lyd_child(node));
            } else if (is_wrapper(*node, "default-operation")) {
                set_default_operation(*node);
            } else if (is_wrapper(*node, "filter")) {
                if (plain_attribute(*node, "type").value_or("subtree") != "subtree") {
                    document_.fail(*node, "only subtree filters are taken here");
                }
                filter_ = node;
                open(lyd_child(node));
            } else if (is_wrapper(*node, "rpc") || is_wrapper(*node, "config") || is_wrapper(*node, "data")) {
                open(lyd_child(node));
            } else if (is_wrapper(*node, "target") || is_wrapper(*node, "source") || is_wrapper(*node, "test-option") ||
                       is_wrapper(*node, "error-option")) {
                continue; // a datastore's business, not the mapping's
            } else {
                tops_.push_back(node);
            }
        }
    }

    const Document& document_;
    Request& request_;
    const lyd_node* filter_ = nullptr;
    std::vector<const lyd_node*> tops_;
};

} // namespace

Request parse_request(const Models& models, std::string_view text, const std::string& source,
                      std::optional<uint32_t> kind)
{
    const Document document(models, text, source);
    Request request{kind, std::nullopt, Tree{}};
    Unwrapper unwrapper(document, request);
    const auto tops = unwrapper.run();
    if (unwrapper.is_edit() && tops.empty()) {
        throw BadInput(source, 0, "", "the edit holds no configuration");
    }
    Reader reader(models, document, unwrapper.is_edit() ? Purpose::edit : Purpose::filter, request.tree);
    for (const lyd_node* top : tops) {
        reader.read_top(*top);
    }
    return request;
}

} // namespace zpf::bridge
