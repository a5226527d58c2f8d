/* SPDX-License-Identifier: Apache-2.0
 *
 * Result codes of the mapping framework and of every plug-in callback.
 * Codes are compared by exact value; 0 is success. */
#ifndef ZPF_CODES_H
#define ZPF_CODES_H

#include <stdint.h>

/** Result of every callback and of most framework operations; 0 is success. */
typedef uint32_t qerrno;

#define ZPF_RC_OK 0x00000000u /**< Done, or a node accepted without doing anything. */
#define ZPF_RC_BAD_TREE                                                                                                \
    0xAAF29E00u /**< Children promised but not there, a child without a tag, an entry without keys. */
#define ZPF_RC_INVALID_ARGS 0xAAF2A000u     /**< Null node or null output tree; a delete that carries a subtree. */
#define ZPF_RC_UNSUPPORTED_NODE 0xAAF2EE00u /**< The device has nothing behind this node. */
#define ZPF_RC_KEY_MISSING 0xAAF2F000u      /**< A list entry's key leaf is absent or empty. */
#define ZPF_RC_KEY_DELETE 0xAAF2F200u       /**< A key leaf carries a delete operation. */
#define ZPF_RC_INVALID_VALUE 0xAAF2F400u    /**< A key or value is outside what the device accepts. */
#define ZPF_RC_SKIP_INSTANCE 0xAAF2F600u    /**< Drop this list instance and go on; no failure. */
#define ZPF_RC_AUGMENT_CREATE 0xAAF2F800u   /**< An augment dispatcher was asked to create a node it does not know. */

#endif
