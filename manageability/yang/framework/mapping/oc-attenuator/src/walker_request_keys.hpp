// SPDX-License-Identifier: Apache-2.0
//
// A list of the OpenConfig model and the rules for its key: counted and compared before anything is mapped, then walked
// like any leaf.
//
// Only the kinds of edit that name their entries are held to the rules in full; a read may leave the key out.
#ifndef OC_ATTENUATOR_WALKER_REQUEST_KEYS_HPP
#define OC_ATTENUATOR_WALKER_REQUEST_KEYS_HPP

#include "walker_request.hpp"

namespace oc_attenuator {

/** A list of the OpenConfig model with one key leaf. */
struct RequestList {
    Function function;
    const char* list_path;
    const char* key_tag;
    const char* key_path;
    const char* key_container; /**< Holds the leaf that the key refers to. */
    NodeCallback* callback;
    NodeCallback* walk_key;
    std::span<const Child> children; /**< Without the key. */
    NodeCallback* augments;
};

/** What the children of an entry are, counted before anything is called. */
struct KeyScan {
    uint32_t keys = 0;
    uint32_t valued_keys = 0;
    bool has_others = false;
};

template <const RequestList& kSelf>
bool is_key(const qidl_zpf_datatree& child)
{
    return zpf_map_do_these_match(child.tag, kSelf.key_tag) != 0;
}

/** Marks and counts the keys. @return the code of a key that differs from the leaf it refers to */
template <const RequestList& kSelf>
qerrno scan_keys(zpf_map_ctx ctx, const qidl_zpf_datatree& entry, Children children, KeyScan& scan)
{
    const zpf_map_request& request = *ctx->request;
    for (qidl_zpf_datatree& child : children) {
        if (request.walk_mode == kExpanding || request.subtree_delete_allowed != 0) {
            return ZPF_RC_OK;
        }
        if (!is_key<kSelf>(child)) {
            scan.has_others = true;
            continue;
        }
        if (checks_keys(operation_of(ctx))) {
            const qerrno checked =
                zpf_map_check_oc_leafref(ctx, kSelf.list_path, kSelf.key_container, kSelf.key_tag, &entry);
            if (checked != ZPF_RC_OK) {
                return checked;
            }
        }
        ++scan.keys;
        mark_key(child);
        if ((child.state_flags & ZPF_STATE_VALUE) != 0) {
            ++scan.valued_keys;
        }
    }
    return ZPF_RC_OK;
}

/** Refuses an entry with too many keys and, in validated edits, one without exactly one key value. */
template <const RequestList& kSelf>
qerrno check_keys(zpf_map_ctx ctx, Children children, const KeyScan& scan)
{
    if (is_expanding(ctx) || children.count == 0 || ctx->request->subtree_delete_allowed != 0) {
        return ZPF_RC_OK;
    }
    const bool has_enough = !checks_keys(operation_of(ctx)) || scan.valued_keys == 1;
    if (has_enough && scan.valued_keys < 2 && scan.keys < 2) {
        return ZPF_RC_OK;
    }
    OCATT_ERROR(ctx, kSelf.function.name, "List key node error.");
    return refuse(ctx, kSelf.key_tag, ZPF_RC_KEY_MISSING);
}

template <const RequestList& kSelf>
qerrno walk_key_leaf(zpf_map_ctx ctx, qidl_zpf_datatree& key, qidl_zpf_datatree* out)
{
    if (checks_keys(operation_of(ctx)) && (key.state_flags & ZPF_STATE_VALUE) == 0) {
        OCATT_ERROR(ctx, kSelf.function.name, "Empty list key specified.");
        return refuse(ctx, key.tag, ZPF_RC_KEY_MISSING);
    }
    if (zpf_map_is_request_delete(&key) != 0) {
        OCATT_ERROR(ctx, kSelf.function.name, "The key node should not have delete operation.");
        return refuse(ctx, key.tag, ZPF_RC_KEY_DELETE);
    }
    const qerrno result = kSelf.walk_key(ctx, &key, out);
    mark_key(key);
    return result;
}

} // namespace oc_attenuator

#endif
