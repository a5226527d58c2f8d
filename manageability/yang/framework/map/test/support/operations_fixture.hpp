// SPDX-License-Identifier: Apache-2.0
//
// An output tree and a context to call operations with, as a plug-in does in the middle of a request.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "case_name.hpp"
#include "lamp_models.hpp"
#include "text_tree.hpp"
#include "zpf/operations.h"
#include "zpf_map/context.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::test {

inline constexpr const char* kLamp = "/lamps/lamp";
inline constexpr const char* kLampName = "/lamps/lamp/name";
inline constexpr const char* kLampLevel = "/lamps/lamp/config/level";
inline constexpr const char* kCell = "/cells/cell";
inline constexpr const char* kCellKind = "/cells/cell/kind";
inline constexpr const char* kCellId = "/cells/cell/id";
inline constexpr const char* kCellNote = "/cells/cell/note";
inline constexpr const char* kCellLum = "/cells/cell/dimming/lum";

class Operations : public ::testing::Test {
protected:
    Operations() { begin(ZPF_REQUEST_GET); }

    void begin(uint32_t kind)
    {
        out = std::make_unique<Tree>();
        context.begin(kind, out->arena());
    }

    zpf_map_ctx ctx() { return context.raw(); }
    zpf_map_request& request() { return *context.raw()->request; }

    qerrno add(const char* path, const char* value, uint32_t list_flag, uint32_t leaf_flag,
               const Node* source = nullptr, Node** created = nullptr)
    {
        return zpf_map_datatree_add_path_flagged(ctx(), &out->root(), path, "urn:argument", value, source, created,
                                                 list_flag, leaf_flag);
    }
    void open(const char* list, const Node* source = nullptr)
    {
        ASSERT_EQ(add(list, nullptr, 1, 0, source), ZPF_RC_OK);
    }
    void fill(const char* path, const char* value, const Node* source = nullptr)
    {
        ASSERT_EQ(add(path, value, 0, 0, source), ZPF_RC_OK);
    }
    void decide(const char* path, const char* value, const Node* source = nullptr)
    {
        ASSERT_EQ(add(path, value, 0, 1, source), ZPF_RC_OK);
    }
    void search(const char* list, const char* key, const char* key_leaf)
    {
        ASSERT_EQ(zpf_map_search_or_add_list(ctx(), &out->root(), &request().list_ctx_current.plist, list, key,
                                             key_leaf, "urn:argument"),
                  ZPF_RC_OK);
    }
    void open_bracket() { zpf_add_to_output_list_ctx(ctx(), nullptr, &out->root()); }
    void close_bracket() { zpf_remove_from_output_list_ctx(ctx(), nullptr, &out->root()); }

    std::string text() const { return to_text(out->root()); }
    std::string marked_text() const { return to_text(out->root(), 0, true); }
    /// The same text after a detour through a tree, so that expectations may be indented with blank lines around.
    static std::string tree(std::string_view lines) { return to_text(tree_of(lamp_schema(), lines).root()); }

    static Node source_with(int32_t edit_op)
    {
        Node node{};
        node.edit_op = edit_op;
        node.state_flags = ZPF_STATE_PRESENT;
        return node;
    }

    Context context{&lamp_schema()};
    std::unique_ptr<Tree> out;
};

} // namespace zpf::test
