// SPDX-License-Identifier: Apache-2.0
//
// Lets libyang take the paths of rules as RFC 8341 describes them.
#include <libyang/libyang.h>
#include <libyang/plugins_types.h>

#include <stdexcept>

#include "instance_path.hpp"
#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

namespace {

/// Values are kept as the XPath expressions that the model declares them to be.
lyplg_type path_type = {
    .id = "zpf - node-instance-identifier as XPath, version 1",
    .store = lyplg_type_store_xpath10,
    .validate = nullptr,
    .compare = lyplg_type_compare_simple,
    .sort = nullptr,
    .print = lyplg_type_print_xpath10,
    .duplicate = lyplg_type_dup_xpath10,
    .free = lyplg_type_free_xpath10,
    .lyb_data_len = -1,
};

} // namespace

bool accept_rule_paths(ly_ctx& ctx)
{
    const lysc_node* path = lys_find_path(&ctx, nullptr, "/ietf-netconf-acm:nacm/rule-list/rule/path", 0);
    if (path == nullptr || path->nodetype != LYS_LEAF) {
        return false;
    }
    // The schema is const for readers; the context is ours to set up as long as nobody reads it.
    reinterpret_cast<const lysc_node_leaf*>(path)->type->plugin = &path_type;
    return true;
}

std::optional<std::string> complain_about_rule_path(const ly_ctx& ctx, std::string_view path)
{
    try {
        parse_instance_path(ctx, path);
        return std::nullopt;
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

} // namespace zpf::agent
