// SPDX-License-Identifier: Apache-2.0
//
// Services that both mapping directions share. Names are converted by their fixed forms; a tree is searched by path;
// the data store is asked only on devices that have it.
#include "utility.hpp"

#include "kelda/kelda.h"
#include "report.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

// A device without the store has none of these: the plug-in must load there all the same.
#pragma weak _kelda_bind
#pragma weak _kelda_unbind
#pragma weak kelda_list
#pragma weak kelda_list_next
#pragma weak kelda_list_free
#pragma weak qerr_strerror

extern "C" {
const char* controller_att_ots_list[3] = {"Ots0/0/0/0", "Ots0/0/0/2", nullptr};
}

namespace oc_attenuator {
namespace {

constexpr int32_t kNoPort = -1;
constexpr char kControllerPrefix[] = "Ots0/0/0/";
constexpr std::size_t kStoreKeyBytes = 256;

/** The number behind a fixed beginning, or -1: what a scan with "<beginning>%d" reads, at a tenth of its cost. */
template <std::size_t kSize>
int32_t number_behind(const char (&beginning)[kSize], const char* text)
{
    if (std::strncmp(text, beginning, kSize - 1) != 0) {
        return kNoPort;
    }
    const char* const digits = text + kSize - 1;
    char* end = nullptr;
    const long number = std::strtol(digits, &end, 10);
    return end != digits ? static_cast<int32_t>(number) : kNoPort;
}

int32_t port_of_controller(const char* controller_name)
{
    return number_behind(kControllerPrefix, controller_name);
}

/** Port of "0/0-VOA-BST%d", or -1; of the word behind the prefix nine characters count. */
int32_t port_of_attenuator(const char* attenuator_name)
{
    constexpr char kAttenuatorPrefix[] = "0/0-VOA-";
    if (std::strncmp(attenuator_name, kAttenuatorPrefix, sizeof kAttenuatorPrefix - 1) != 0) {
        return kNoPort;
    }
    constexpr const char* kBlanks = " \t\n\v\f\r";
    const char* const begin = attenuator_name + sizeof kAttenuatorPrefix - 1;
    const char* const first = begin + std::strspn(begin, kBlanks);
    char word[10];
    const std::size_t length = std::min(std::strcspn(first, kBlanks), sizeof word - 1);
    std::memcpy(word, first, length);
    word[length] = '\0';
    return number_behind("BST", word);
}

constexpr bool is_attenuator_port(int32_t port)
{
    return (port & ~2) == 0; // 0 and 2
}

/** Writes the port of an attenuator name behind a key's fixed part; -1 for a name without one. */
template <std::size_t kSize>
void write_controller_key(const char* attenuator_name, const char (&key_prefix)[kSize], char* key)
{
    constexpr std::size_t kLongestPort = sizeof "-2147483648";
    static_assert(kSize + kLongestPort <= kControllerNameBytes);
    std::memcpy(key, key_prefix, kSize - 1);
    char* const digits = key + kSize - 1;
    *std::to_chars(digits, digits + kLongestPort, port_of_attenuator(attenuator_name)).ptr = '\0';
}

} // namespace
} // namespace oc_attenuator

using namespace oc_attenuator;

extern "C" void ots_ctrl_key_to_atten_key(const char* controller_name, char* attenuator_name)
{
    const int32_t port = port_of_controller(controller_name);
    if (is_attenuator_port(port)) {
        static_assert(sizeof "0/0-VOA-BST0" <= kAttenuatorNameBytes);
        std::memcpy(attenuator_name, port == 0 ? "0/0-VOA-BST0" : "0/0-VOA-BST2", sizeof "0/0-VOA-BST0");
    }
}

extern "C" int32_t is_controller_name_valid(zpf_map_ctx ctx, const char* controller_name, char* attenuator_name)
{
    const int32_t port = port_of_controller(controller_name); // before the context is looked at, on purpose
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "controller_name = %s", controller_name);
    if (is_attenuator_port(port)) { // so the name contains "Ots0/0/0": without it there is no port
        ots_ctrl_key_to_atten_key(controller_name, attenuator_name);
        OCATT_TRACE(ctx, __func__, "attenuator_name = %s", attenuator_name);
        return 1;
    }
    OCATT_ERROR(ctx, __func__, "Invalid controller_name [%s] and port id [%d], discard it!", controller_name, port);
    return 0;
}

extern "C" void atten_key_to_ots_ctrl_key(const char* attenuator_name, char* controller_name)
{
    write_controller_key(attenuator_name, kControllerPrefix, controller_name);
}

extern "C" void atten_key_to_kelda_ots_ctrl_key(const char* attenuator_name, char* store_key)
{
    write_controller_key(attenuator_name, "Ots0_0_0_", store_key);
}

extern "C" void convert_attenuator_key_to_otsctrl_port(const char* attenuator_name, char* port_name)
{
    write_controller_key(attenuator_name, "0/0-OtsCtrl-0/", port_name);
}

namespace oc_attenuator {
namespace {

/** Whether this node is the leaf that is searched for; if so its value is in `key`. */
bool takes_key(zpf_map_ctx ctx, const qidl_zpf_datatree& node, const char* path_to_find, const char* path, char* key)
{
    constexpr const char* kReporter = "compare_path";
    OCATT_TRACE(ctx, kReporter, "data %s", text_or_null(node._data));
    OCATT_TRACE(ctx, kReporter, "path        : <%s>", path);
    OCATT_TRACE(ctx, kReporter, "path_to_find: <%s>", path_to_find);
    if (std::strcmp(path, path_to_find) != 0) {
        return false;
    }
    zpf_strcpy_s(kReporter, key, kAttenuatorNameBytes, node._data);
    OCATT_TRACE(ctx, kReporter, "key %s,", key);
    OCATT_TRACE(ctx, kReporter, "req->_data %s,", text_or_null(node._data));
    return true;
}

} // namespace
} // namespace oc_attenuator

// The search needs no presence flag of the child array: it looks at pointer and count as they stand.
extern "C" int32_t compare_path(zpf_map_ctx ctx, const qidl_zpf_datatree* node, const char* path_to_find, char* path,
                                char* key)
{
    if (node == nullptr) {
        OCATT_REQUIRE_CONTEXT(ctx);
        OCATT_ERROR(ctx, __func__, "return, req is NULL");
        return 0;
    }
    if ((node->state_flags & ZPF_STATE_PRESENT) == 0) {
        return 0;
    }
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "TAG <%s>, NS <%s>", text_or_null(node->tag), text_or_null(node->ns));
    if (node->tag != nullptr) {
        zpf_strcat_s(__func__, path, kPathBytes, node->tag);
    }
    if ((node->state_flags & ZPF_STATE_VALUE) != 0 && takes_key(ctx, *node, path_to_find, path, key)) {
        return 1;
    }
    zpf_strcat_s(__func__, path, kPathBytes, "/");
    OCATT_TRACE(ctx, __func__, "subtree_count %d", static_cast<int32_t>(node->subtree_count));
    for (int32_t i = 0; i < static_cast<int32_t>(node->subtree_count); ++i) {
        char child_path[kPathBytes];
        child_path[0] = '\0';
        zpf_strcpy_s(__func__, child_path, sizeof child_path, path);
        if (compare_path(ctx, node->subtrees + i, path_to_find, child_path, key) == 1) {
            return 1;
        }
    }
    return 0;
}

extern "C" void print_data(zpf_map_ctx ctx)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    ctx->print_enabled = 1;
    const zpf_map_request* request = ctx->request;
    if (request == nullptr) {
        return;
    }
    for (uint32_t i = 0; i < request->node_data_count; ++i) {
        OCATT_TRACE(ctx, __func__, "iteration %d", static_cast<int32_t>(i));
        zpf_map_print_datatree_internal(ctx, request->node_data[i].node, "node_data");
    }
    zpf_map_print_datatree_internal(ctx, request->root_node, "root_node");
    zpf_map_print_datatree_internal(ctx, request->parent_node, "parent_node");
    zpf_map_print_datatree_internal(ctx, request->current_node, "current_node");
    zpf_map_print_datatree_internal(ctx, request->reg_dup_datatree, "reg_dup_datatree");
    zpf_map_print_datatree_internal(ctx, request->list_ctx_current.plist, "plist");
}

namespace oc_attenuator {
namespace {

constexpr const char* kStoreReporter = "kelda_key_is_defined";

// Set once the library file has been seen and never again cleared. A plain byte: a race only probes the file twice.
uint8_t store_library_seen = 0;

/** Whether this process has a store; while it has none, each call looks at the device anew. */
bool store_is_present()
{
    if (store_library_seen == 0 && access(KELDA_LIBRARY_FILE, R_OK) == 0) {
        store_library_seen = 1;
    }
    const bool is_linked = _kelda_bind != nullptr && _kelda_unbind != nullptr && kelda_list != nullptr &&
                           kelda_list_next != nullptr && kelda_list_free != nullptr;
    return store_library_seen == 1 && is_linked;
}

const char* store_error_text(qerrno code)
{
    return text_or_null(qerr_strerror != nullptr ? qerr_strerror(code) : nullptr);
}

/** Looks for the object in a listing, and releases the iterator. */
bool listing_has(zpf_map_ctx ctx, void* iterator, const char* object)
{
    bool found = false;
    bool more = true;
    while (more && !found) {
        const char* item = nullptr;
        int32_t type = 0;
        more = kelda_list_next(iterator, &item, &type, 0) == 0 && item != nullptr;
        if (more) {
            OCATT_TRACE(ctx, kStoreReporter, "Item: '%s', datatype: %d", item, type);
            found = std::strcmp(item, object) == 0;
        }
    }
    if (found) {
        OCATT_TRACE(ctx, kStoreReporter, "Object %s present in kelda", object);
    }
    kelda_list_free(iterator);
    return found;
}

bool bound_store_has(zpf_map_ctx ctx, void* handle, const char* object)
{
    int32_t found_count = -1; // stays for a store that does not answer
    void* iterator = nullptr;
    const qerrno listed = kelda_list(handle, "", object, &found_count, &iterator, 0);
    OCATT_TRACE(ctx, kStoreReporter, "found %d object(s)", found_count);
    if (listed != ZPF_RC_OK) {
        OCATT_TRACE(ctx, kStoreReporter, "kelda_list failed %s", store_error_text(listed));
        return false;
    }
    return listing_has(ctx, iterator, object);
}

} // namespace
} // namespace oc_attenuator

// Everything is reported at trace level, failures included: that an object is missing is normal.
extern "C" int32_t kelda_key_is_defined(zpf_map_ctx ctx, const char* object_name)
{
    void* handle = nullptr;
    const qerrno bound = store_is_present() ? _kelda_bind(&handle, "/oper/optics/if/", 0) : KELDA_RC_NO_STORE;
    if (bound != ZPF_RC_OK) {
        OCATT_REQUIRE_CONTEXT(ctx);
        OCATT_TRACE(ctx, __func__, "kelda_bind failed %s", store_error_text(bound));
        return 0;
    }
    if (handle == nullptr) {
        return 0;
    }
    char key[kStoreKeyBytes];
    std::snprintf(key, sizeof key, "%s/", object_name);
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "key: %s", key);
    const bool found = bound_store_has(ctx, handle, key);
    if (store_is_present()) {
        _kelda_unbind(handle);
    }
    return found ? 1 : 0;
}
