/* SPDX-License-Identifier: Apache-2.0
 *
 * Records shared by hosts, the framework and plug-ins. Their layout is the binary interface: plug-ins and hosts of
 * other makers are compiled against it, so field order and sizes never change; new words go to the private ends. */
#ifndef ZPF_RECORDS_H
#define ZPF_RECORDS_H

#include <stdint.h>

#include "zpf/codes.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The framework's mapping context, first argument of every callback; one thread at a time, one request at a time. */
typedef struct zpf_map_context* zpf_map_ctx;

/** Values of `qidl_zpf_datatree.edit_op`. */
enum zpf_edit_op {
    ZPF_OP_MERGE = 0,
    ZPF_OP_REPLACE = 1,
    ZPF_OP_CREATE = 2,
    ZPF_OP_DELETE = 3,
    ZPF_OP_REMOVE = 4, /**< Delete whose target may be absent; the form that delete expansions use internally. */
    ZPF_OP_NONE = 5    /**< Host only (default-operation none); never handed to a plug-in. */
};

/** Values of `zpf_request_header.operation`. Every value but the two reads is an edit. */
enum zpf_request_kind { ZPF_REQUEST_GET_CONFIG = 0, ZPF_REQUEST_EDIT_CONFIG = 1, ZPF_REQUEST_GET = 10 };

/** Edit kinds whose list keys are validated: bit n stands for request kind n (1, 8 and 15). */
#define ZPF_KEY_CHECKED_KINDS 0x8102u

/** Values of `qidl_zpf_datatree.node_type`, set by the walker that has visited the node. */
enum zpf_node_type { ZPF_NODE_LEAF = 1, ZPF_NODE_CONTAINER = 3, ZPF_NODE_LIST_ENTRY = 4 };

/** Bits of `qidl_zpf_datatree.map_flags`. */
#define ZPF_MAP_VISITED 0x04u     /**< Registered in the mapping hierarchy, or visited as a leaf. */
#define ZPF_MAP_XPATH_ERROR 0x80u /**< The store could not read this leaf; its value is unknown. */

/** Bits of `qidl_zpf_datatree.state_flags`. */
#define ZPF_STATE_PRESENT 0x01u  /**< A node without it never matches a path. */
#define ZPF_STATE_VALUE 0x02u    /**< `_data` holds the value. */
#define ZPF_STATE_CONSUMED 0x10u /**< The mapping has rewritten `edit_op`. */
#define ZPF_STATE_SUBTREES 0x40u /**< `subtrees` and `subtree_count` are valid. */

/** Bits of `qidl_zpf_datatree.state_flags2`. */
#define ZPF_STATE2_KEY_TAKEN 0x02u /**< Key leaf taken by the walker. */

/** Bits of `zpf_map_request.walk_flags`. */
#define ZPF_WALK_REPLACE_DELETE 0x40u /**< First pass of a replace: walked as a delete without children. */
#define ZPF_WALK_REPLACE_MERGE 0x80u  /**< Second pass of a replace: walked as a merge with its children. */

/**
 * One node of a data tree. Children are records laid end to end, so a record moves when its parent's array grows:
 * keep a pointer to a node of an output tree only until the next call that adds to that tree.
 */
typedef struct qidl_zpf_datatree {
    char* tag;                          /**< Element name. Null only in the root of a tree; an error anywhere else. */
    char* _data;                        /**< Value text of a leaf; valid with ZPF_STATE_VALUE. */
    char* ns;                           /**< Namespace URI of the element. */
    int32_t edit_op;                    /**< enum zpf_edit_op */
    struct qidl_zpf_datatree* subtrees; /**< Children; valid with ZPF_STATE_SUBTREES. */
    uint32_t subtree_count;
    uint32_t node_type; /**< enum zpf_node_type, or 0 before a walker came by. */
    uint8_t map_flags;
    uint8_t key_handled; /**< 1 once a walker has processed the node as a list key. */
    uint8_t state_flags;
    uint8_t state_flags2;
    uint32_t fw_mark; /**< Private to the framework. */
} qidl_zpf_datatree;

/** What is asked for. */
typedef struct zpf_request_header {
    uint32_t operation;       /**< enum zpf_request_kind */
    uint32_t selection_flags; /**< Non-zero: the reply is limited to what `content_kind` says. */
    uint32_t content_kind;    /**< 0 everything, 1 configuration, 2 state. */
} zpf_request_header;

/** One level of the node hierarchy. */
typedef struct zpf_node_record {
    qidl_zpf_datatree* node; /**< Points into the walked tree. */
    uint32_t level;          /**< 1 container, 2 list entry. */
} zpf_node_record;

struct zpf_list_frames;

/** The list instance being mapped. */
typedef struct zpf_list_ctx {
    qidl_zpf_datatree* plist;       /**< Entry of the output tree, or null. */
    struct zpf_list_frames* frames; /**< Private to the framework. */
} zpf_list_ctx;

struct zpf_request_priv;

/** State of the request being mapped; zero-initialised by the host but for what it sets. */
typedef struct zpf_map_request {
    zpf_request_header* header;
    qidl_zpf_datatree* reg_dup_datatree; /**< Untouched copy of the request under a root without a tag. */
    qidl_zpf_datatree* root_node;        /**< Root of the output tree. */
    qidl_zpf_datatree* parent_node;      /**< Parent of the node produced last. */
    qidl_zpf_datatree* current_node;     /**< Node produced last. */
    char* error_tag; /**< Name of the element in error (NETCONF's bad-element); released with named_free(). */
    uint32_t walk_flags;
    zpf_list_ctx list_ctx_current;
    zpf_node_record* node_data; /**< The node hierarchy, outermost first. */
    uint8_t node_data_count;
    uint32_t subtree_delete_allowed; /**< Non-zero lets a delete carry children. */
    uint32_t walk_mode;              /**< 1 while a walker expands a node that names no children. */
    uint32_t list_state;
    char* error_message; /**< Text reported with an error; released with named_free(). */
    uint32_t list_entry_mapped;
    uint32_t xpath_error_seen; /**< 1 once a leaf with ZPF_MAP_XPATH_ERROR was met. */
    qerrno sticky;             /**< First failure of the framework itself; a walk with it set has failed. */
    struct zpf_request_priv* priv;
} zpf_map_request;

/** Levels that the debug log of one context admits; all zero admits none. */
typedef struct zpf_log_filter {
    uint32_t levels; /**< Bit n admits level n. */
    uint32_t reserved;
} zpf_log_filter;

struct zpf_context_priv;

/** The mapping context. Zero-initialised it is a context without logs, traces and models. */
struct zpf_map_context {
    zpf_map_request* request; /**< May be null. */
    zpf_log_filter log_filter;
    void* err_log;   /**< Log for error lines; null is standard error. */
    void* trc_log;   /**< Log for trace lines; null is standard error. */
    void* trace_buf; /**< Trace ring for numbered lines; null drops them. */
    uint32_t trace_enabled;
    uint32_t print_enabled; /**< Set by a plug-in right before it asks for a print. */
    int32_t list_edit_op;   /**< Edit operation of the list entry whose list callback succeeded last. */
    struct zpf_context_priv* priv;
};

/** Called by a list walker for each entry of an itree record that carries one. */
typedef qerrno (*zpf_itree_handler)(zpf_map_ctx ctx, qidl_zpf_datatree* entry, qidl_zpf_datatree* out, uint32_t zero);

/** One level of the itree stack: list entries that stand for a request node. */
typedef struct zpf_itree_record {
    qidl_zpf_datatree* entries;
    uint32_t count;
    zpf_itree_handler handler; /**< May be null. */
} zpf_itree_record;

/** Answer of zpf_map_get_node_info(). */
typedef struct zpf_map_node_info {
    const qidl_zpf_datatree* entry; /**< The list entry being walked. */
    const char* key_value;          /**< Its key, or null; points into the entry. */
} zpf_map_node_info;

#ifdef __cplusplus
}
#endif
#endif
