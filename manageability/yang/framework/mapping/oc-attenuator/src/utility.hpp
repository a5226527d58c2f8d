// SPDX-License-Identifier: Apache-2.0
//
// Services that both mapping directions share: attenuator and controller names, the search for a requested key, and
// the question whether the data store knows an object.
//
// Buffers are the caller's; their least sizes are the constants below, and every function writes within them.
#ifndef OC_ATTENUATOR_UTILITY_HPP
#define OC_ATTENUATOR_UTILITY_HPP

#include "zpf/zpf.h"

#include <cstddef>
#include <cstdint>

namespace oc_attenuator {

constexpr std::size_t kAttenuatorNameBytes = 20;
constexpr std::size_t kControllerNameBytes = 200;
constexpr std::size_t kPathBytes = 200;

} // namespace oc_attenuator

extern "C" {
#pragma GCC visibility push(default)

/** The OTS controllers that have an attenuator; ends with null. */
extern const char* controller_att_ots_list[3];

/** "Ots0/0/0/2" -> "0/0-VOA-BST2"; leaves `attenuator_name` (20 bytes) alone for a controller without attenuator. */
void ots_ctrl_key_to_atten_key(const char* controller_name, char* attenuator_name);

/**
 * Whether the controller has an attenuator, and its name (20 bytes).
 * @return 1 with the name written, or 0 with the buffer untouched
 */
int32_t is_controller_name_valid(zpf_map_ctx ctx, const char* controller_name, char* attenuator_name);

/*
 * "0/0-VOA-BST2" -> a key of its controller, each into 200 bytes. Nothing is checked: a name that does not parse gives
 * the port -1 and any other port passes, since callers that care have checked the name before.
 */
void atten_key_to_ots_ctrl_key(const char* attenuator_name, char* controller_name);        /**< "Ots0/0/0/2" */
void atten_key_to_kelda_ots_ctrl_key(const char* attenuator_name, char* store_key);        /**< "Ots0_0_0_2" */
void convert_attenuator_key_to_otsctrl_port(const char* attenuator_name, char* port_name); /**< "0/0-OtsCtrl-0/2" */

/**
 * Searches a tree, depth first in child order, for the first present leaf with a value at the given path.
 *
 * A node's path is its ancestors' tags, each followed by "/", then its own tag; a root without tag gives only the "/".
 *
 * @param node tree to search; null counts as not found
 * @param path 200 bytes, empty before the first call; afterwards holds what the tree's own top node contributed
 * @param key  20 bytes, receives the value, cut to 19 characters
 * @return 1 found, 0 not
 */
int32_t compare_path(zpf_map_ctx ctx, const qidl_zpf_datatree* node, const char* path_to_find, char* path, char* key);

/** Prints the request's trees to the debug log. */
void print_data(zpf_map_ctx ctx);

/**
 * Whether the data store has an object of this name in the branch of optical interfaces.
 * @return 1 it has, 0 it has not or could not be asked; the reason is in the trace
 */
int32_t kelda_key_is_defined(zpf_map_ctx ctx, const char* object_name);

#pragma GCC visibility pop
}

#endif
