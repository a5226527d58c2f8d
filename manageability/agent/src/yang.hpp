// SPDX-License-Identifier: Apache-2.0
//
// The models that the agent implements: the mapped ones, and those of the protocol itself.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zpf_bridge/libyang.hpp"
#include "zpf_bridge/models.hpp"
#include "zpf_map/schema.hpp"

namespace zpf::agent {

/// Who keeps the data of a top node.
enum class Home {
    mapped,      ///< the client model: translated to and from native data
    native,      ///< configuration of the native models, in the store
    operational, ///< readings of the device, and state that is made up on request
    unmapped,    ///< of the device's models, but no plug-in knows it: there are no data
    agent_config ///< configuration of the agent itself (access control), in the store
};

inline bool is_key(const lysc_node& node)
{
    return (node.flags & LYS_KEY) != 0;
}

/// How much of a module's data has to be looked at to tell whether a part of them is valid.
enum class Judgement {
    by_values, ///< each value alone
    by_entries,
    whole,
};

class Yang {
public:
    /**
     * @param mapped folders of the device's models, client and native
     * @param search folders of the protocol's modules
     * Throws Failure.
     */
    Yang(const std::vector<std::string>& mapped, const std::vector<std::string>& search);

    /// Says what the plug-in maps: a top node of the client's model, or of a native one. While nobody else uses this.
    void set_mapped(const SchemaNode& top, Home home) { mapped_[compiled(top)] = home; }

    const bridge::Models& models() const { return models_; }
    const Schema& schema() const { return models_.schema(); }
    const ly_ctx& ctx() const { return *models_.libyang().models; }

    /// Implemented module, never null for those that the agent loads itself.
    const lys_module* module(std::string_view name) const;
    const lys_module* module_of_namespace(std::string_view ns) const;
    /// Top data node of a module, or null.
    static const lysc_node* top(const lys_module& module, std::string_view name);
    /// Child in data, looking through choices; null when there is none. `module` null: any.
    static const lysc_node* child(const lysc_node& parent, std::string_view name, const lys_module* module);
    /// Every top data node, in the order of the modules.
    const std::vector<const lysc_node*>& tops() const { return tops_; }
    /// Who keeps its data.
    Home home(const lysc_node& top) const;
    bool is_config(const lysc_node& node) const { return (node.flags & LYS_CONFIG_W) != 0; }

    /// The compiled node of one that the framework knows; null for others.
    const lysc_node* compiled(const SchemaNode& node) const;

    /// What the hello announces, without session id.
    const std::vector<std::string>& capabilities() const { return capabilities_; }
    /// Content of a yang-library instance: changes when the models do.
    const std::string& content_id() const { return content_id_; }

    /// True when a module's data cannot be judged piece by piece: something in it refers to something else, or its
    /// order matters. Such data are loaded and validated whole.
    bool judged_whole(const lysc_node& top) const;
    /// True when data without duplicates are valid once each value has its type.
    bool judged_by_values(const lysc_node& top) const;

private:
    void index_tops();
    void list_capabilities();
    void pair(const SchemaNode& node, const lysc_node* parent);

    bridge::Models models_;
    std::unordered_map<const lysc_node*, Home> mapped_;
    std::vector<const lysc_node*> tops_;
    std::vector<std::string> capabilities_;
    std::string content_id_;
    std::unordered_map<const SchemaNode*, const lysc_node*> compiled_;
    std::unordered_map<const lysc_node*, Judgement> judgements_;
};

} // namespace zpf::agent
