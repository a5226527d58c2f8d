// SPDX-License-Identifier: Apache-2.0
//
// From trees to libyang data, validated or as they are.
#include "zpf_bridge/build.hpp"

#include <array>

namespace zpf::bridge {

namespace {

/// Adopts a fresh node into a tree whose first node may change.
void adopt(DataPtr& tree, lyd_node* fresh)
{
    lyd_node* first = tree.release();
    lyd_insert_sibling(first, fresh, &first);
    tree.reset(first);
}

std::string with_keys(const Node& node, const SchemaNode& own)
{
    std::string text;
    for (const std::string& key : own.keys) {
        const Node* const leaf = find_child(node, key);
        const auto value = leaf ? value_of(*leaf) : std::nullopt;
        const char quote = value && value->find('\'') != std::string_view::npos ? '"' : '\'';
        text += "[" + key + "=" + quote + std::string(value.value_or("")) + quote + "]";
    }
    return text;
}

class DataBuilder {
public:
    DataBuilder(const Models& models, const std::function<void(const Unfit&)>& left_out)
        : ctx_(*models.libyang().models), schema_(models.schema()), left_out_(left_out)
    {}

    DataPtr run(const Node& root)
    {
        DataPtr tree;
        for (const Node& top : children(root)) {
            const SchemaNode* const own = schema_.find_top(tag_of(top));
            if (own == nullptr) {
                throw Unfit("/" + std::string(tag_of(top)), "no model has this element");
            }
            adopt(tree, build(top, *own, nullptr, ""));
        }
        return tree;
    }

private:
    lyd_node* build(const Node& node, const SchemaNode& own, lyd_node* parent, const std::string& above)
    {
        const std::string path = above + "/" + own.tag + (own.kind == NodeKind::list ? with_keys(node, own) : "");
        const lys_module* const module = ly_ctx_get_module_implemented(&ctx_, own.module.c_str());
        lyd_node* made = nullptr;
        if (own.kind == NodeKind::list) {
            check(new_entry(parent, module, node, own, path, &made), path);
        } else if (own.kind == NodeKind::container) {
            check(lyd_new_inner(parent, module, own.tag.c_str(), 0, &made), path);
        } else {
            build_leaf(node, own, parent, module, path, &made);
        }
        // A top node is nobody's until it is adopted.
        DataPtr owned{parent == nullptr ? made : nullptr};
        for (const Node& child : children(node)) {
            const SchemaNode* const below = own.find(tag_of(child));
            if (below == nullptr) {
                throw Unfit(path + "/" + std::string(tag_of(child)), "the model has no such element here");
            }
            if (!own.is_key(below->tag)) {
                build(child, *below, made, path);
            }
        }
        static_cast<void>(owned.release());
        return made;
    }

    void build_leaf(const Node& node, const SchemaNode& own, lyd_node* parent, const lys_module* module,
                    const std::string& path, lyd_node** made) const
    {
        const std::string value(value_of(node).value_or(""));
        const LY_ERR rc = lyd_new_term(parent, module, own.tag.c_str(), value.c_str(), 0, made);
        if (rc != LY_SUCCESS && left_out_) {
            left_out_(Unfit(path, last_complaint(ctx_).reason));
        } else {
            check(rc, path);
        }
    }

    /// libyang reads as many of the values as the list has keys; as arguments they may hold any quotes.
    static LY_ERR new_entry(lyd_node* parent, const lys_module* module, const Node& node, const SchemaNode& own,
                            const std::string& path, lyd_node** made)
    {
        std::array<const char*, 8> keys{};
        if (own.keys.size() > keys.size()) {
            throw Unfit(path, "lists with more than " + std::to_string(keys.size()) + " keys are not built here");
        }
        for (std::size_t i = 0; i < own.keys.size(); ++i) {
            const Node* const leaf = find_child(node, own.keys[i]);
            if (leaf == nullptr || !value_of(*leaf)) {
                throw Unfit(path, "the key \"" + own.keys[i] + "\" has no value");
            }
            keys[i] = leaf->_data;
        }
        return lyd_new_list(parent, module, own.tag.c_str(), 0, made, keys[0], keys[1], keys[2], keys[3], keys[4],
                            keys[5], keys[6], keys[7]);
    }

    void check(LY_ERR rc, const std::string& path) const
    {
        if (rc != LY_SUCCESS) {
            throw Unfit(path, last_complaint(ctx_).reason);
        }
    }

    const ly_ctx& ctx_;
    const Schema& schema_;
    const std::function<void(const Unfit&)>& left_out_;
};

const char* operation_word(int32_t op)
{
    switch (op) {
    case ZPF_OP_REPLACE:
        return "replace";
    case ZPF_OP_CREATE:
        return "create";
    case ZPF_OP_DELETE:
        return "delete";
    case ZPF_OP_REMOVE:
        return "remove";
    default:
        return nullptr;
    }
}

/// libyang 2.1 prints texts of JSON elements without a schema as they are, so they are escaped before.
std::string json_escaped(std::string_view text)
{
    static constexpr char kHex[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            escaped += {'\\', c};
        } else if (static_cast<unsigned char>(c) < 0x20) {
            escaped += {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xF]};
        } else {
            escaped += c;
        }
    }
    return escaped;
}

class OpaqueBuilder {
public:
    OpaqueBuilder(const Models& models, LYD_FORMAT format)
        : ctx_(*models.libyang().models), schema_(models.schema()), json_(format == LYD_JSON)
    {}

    DataPtr run(const Node& root)
    {
        DataPtr tree;
        for (const Node& top : children(root)) {
            adopt(tree, build(top, schema_.find_top(tag_of(top)), nullptr, ""));
        }
        return tree;
    }

private:
    lyd_node* build(const Node& node, const SchemaNode* own, lyd_node* parent, const std::string& above)
    {
        const std::string tag(tag_of(node));
        const std::string place = json_ ? (own ? own->module : std::string{}) : std::string(ns_of(node));
        const std::string_view text = value_of(node).value_or("");
        const std::string value = json_ ? json_escaped(text) : std::string(text);
        const bool qualified = json_ && place != above;
        lyd_node* made = nullptr;
        const LY_ERR rc = json_
                              ? lyd_new_opaq(parent, &ctx_, tag.c_str(), value.c_str(),
                                             qualified ? place.c_str() : nullptr, place.c_str(), &made)
                              : lyd_new_opaq2(parent, &ctx_, tag.c_str(), value.c_str(), nullptr, place.c_str(), &made);
        if (rc != LY_SUCCESS) {
            throw Unfit("/" + tag, last_complaint(ctx_).reason);
        }
        hint(*made, node, own);
        if (const char* op = operation_word(node.edit_op)) {
            json_ ? lyd_new_attr(made, "ietf-netconf", "ietf-netconf:operation", op, nullptr)
                  : lyd_new_attr2(made, kNetconfNamespace, "nc:operation", op, nullptr);
        }
        for (const Node& child : children(node)) {
            build(child, own ? own->find(tag_of(child)) : nullptr, made, place);
        }
        return made;
    }

    /// JSON tells lists, empty values and numbers apart; the printer goes by these hints.
    void hint(lyd_node& made, const Node& node, const SchemaNode* own) const
    {
        auto& hints = reinterpret_cast<lyd_node_opaq&>(made).hints;
        if (own != nullptr && own->kind == NodeKind::list) {
            hints |= LYD_NODEHINT_LIST;
        } else if (own != nullptr && own->kind == NodeKind::leaf_list) {
            hints |= LYD_NODEHINT_LEAFLIST;
        } else if (own == nullptr || own->kind != NodeKind::container) {
            hints |= static_cast<uint32_t>(value_of(node) ? LYD_VALHINT_STRING : LYD_VALHINT_EMPTY);
        }
    }

    const ly_ctx& ctx_;
    const Schema& schema_;
    bool json_;
};

} // namespace

DataPtr build_data(const Models& models, const Node& root, const std::function<void(const Unfit&)>& left_out)
{
    return DataBuilder(models, left_out).run(root);
}

DataPtr build_opaque(const Models& models, const Node& root, LYD_FORMAT format)
{
    return OpaqueBuilder(models, format).run(root);
}

} // namespace zpf::bridge
