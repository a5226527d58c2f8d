// SPDX-License-Identifier: Apache-2.0
//
// The shapes that node callbacks have: a container accepts, an unsupported leaf refuses, a default stays silent, and a
// mapped node calls its translation; then the macros that put a shape under an exported name.
//
// The generated callback files choose a shape per name and say nothing else.
#ifndef OC_ATTENUATOR_CALLBACK_SHAPES_HPP
#define OC_ATTENUATOR_CALLBACK_SHAPES_HPP

#include "report.hpp"
#include "request.hpp"

namespace oc_attenuator {

/** Leaf, list, walker, augment walker and translation. */
using NodeCallback = qerrno(zpf_map_ctx, const qidl_zpf_datatree*, qidl_zpf_datatree*);

/** The third argument is the number of children that will be walked. */
using ContainerCallback = qerrno(zpf_map_ctx, const qidl_zpf_datatree*, uint32_t, qidl_zpf_datatree*);

/** Accepts the container and adds nothing: what it holds is mapped by its leaves. */
template <const Function& kSelf>
qerrno accepts_container(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    OCATT_TRACE(ctx, kSelf.name, "End");
    return ZPF_RC_OK;
}

/** Refuses a leaf that the device has nothing behind. Path before tag: an order that clients' logs rely on. */
template <const Function& kSelf>
qerrno refuses_leaf(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    zpf_oc_error_path(ctx);
    set_error_tag(ctx, node->tag, node->tag);
    OCATT_TRACE(ctx, kSelf.name, "End");
    return ZPF_RC_UNSUPPORTED_NODE;
}

/** Accepts a node without looking at it. */
template <const Function& kSelf>
qerrno passes_over(zpf_map_ctx ctx, const qidl_zpf_datatree* /*node*/, qidl_zpf_datatree* /*out*/)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    OCATT_TRACE(ctx, kSelf.name, "End");
    return ZPF_RC_OK;
}

/** Hands the node to its translation. */
template <const Function& kSelf, NodeCallback* kTranslation>
qerrno calls(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    const qerrno result = kTranslation(ctx, node, out);
    OCATT_TRACE(ctx, kSelf.name, "End");
    return result;
}

} // namespace oc_attenuator

#define OCATT_EXPORTED __attribute__((visibility("default")))
#define OCATT_WEAK __attribute__((visibility("default"), weak))

/** Defines `name` as the shape, with what the shape needs besides its own name. */
#define OCATT_NODE(binding, name, shape, ...)                                                                          \
    extern "C" binding qerrno name(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)             \
    {                                                                                                                  \
        static constexpr oc_attenuator::Function self{#name, __FILE__, __LINE__};                                      \
        OCATT_REQUIRE_CONTEXT(ctx);                                                                                    \
        return oc_attenuator::shape<self __VA_OPT__(, ) __VA_ARGS__>(ctx, node, out);                                  \
    }                                                                                                                  \
    static_assert(true)

/** Defines `name` as an accepting container. */
#define OCATT_CONTAINER(binding, name)                                                                                 \
    extern "C" binding qerrno name(zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t, qidl_zpf_datatree* out)   \
    {                                                                                                                  \
        static constexpr oc_attenuator::Function self{#name, __FILE__, __LINE__};                                      \
        OCATT_REQUIRE_CONTEXT(ctx);                                                                                    \
        return oc_attenuator::accepts_container<self>(ctx, node, out);                                                 \
    }                                                                                                                  \
    static_assert(true)

/** Exports `name` as a second, weak name of a function of the same file. */
#define OCATT_ALIAS(name, body)                                                                                        \
    extern "C" __attribute__((visibility("default"), weak, alias(#body))) decltype(body) name

/** A generated callback that a hand-written one of its name replaces: kept for reading, under a name of its own. */
#define OCATT_REPLACED_NODE(name, shape, ...)                                                                          \
    [[maybe_unused]] static qerrno name(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)        \
    {                                                                                                                  \
        static constexpr oc_attenuator::Function self{#name, __FILE__, __LINE__};                                      \
        OCATT_REQUIRE_CONTEXT(ctx);                                                                                    \
        return oc_attenuator::shape<self __VA_OPT__(, ) __VA_ARGS__>(ctx, node, out);                                  \
    }                                                                                                                  \
    static_assert(true)

#endif
