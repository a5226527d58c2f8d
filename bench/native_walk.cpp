// SPDX-License-Identifier: Apache-2.0
//
// Native data of any size, and their walk.
#include "native_walk.hpp"

#include <fmt/format.h>

#include <random>

#include "device.hpp"

namespace zpf::bench {

namespace {

constexpr unsigned kSeed = 20261121;

/// Two in three are Ethernet interfaces; the rest are OTS ports, of which 0/0/0/0 and 0/0/0/2 would have attenuators.
std::string random_name(std::mt19937& random)
{
    const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    constexpr const char* kKinds[] = {"GigabitEthernet", "TenGigE", "HundredGigE", "MgmtEth", "Bundle-Ether"};
    if (below(3) != 0) {
        return fmt::format("{}{}/{}/{}/{}", kKinds[below(5)], below(4), below(16), below(2), below(1000));
    }
    return below(2) == 0 ? fmt::format("Ots0/0/0/{}", 3 + below(1000))
                         : fmt::format("Ots0/{}/{}/{}", 1 + below(15), below(2), below(1000));
}

void add_entry(Tree& native, Node& parent, const SchemaNode& list, const std::string& name)
{
    Node& entry = native.add(parent, list);
    native.add(entry, *list.find("active"), "act");
    native.add(entry, *list.find("interface-name"), name);
    if (name.starts_with("Ots")) {
        const SchemaNode& ots = *list.find("ots");
        native.add(native.add(entry, ots), *ots.find("ots-tx-voa-attenuation"), "77");
    } else {
        native.add(entry, *list.find("description"), "uplink");
    }
}

} // namespace

NativeWalk::NativeWalk(std::size_t entries) : context_(&device().schema())
{
    const SchemaNode& configurations = *device().schema().find_top("interface-configurations");
    const SchemaNode& list = *configurations.find("interface-configuration");
    top_ = &native_.add(native_.root(), configurations);
    std::mt19937 random(kSeed);
    for (std::size_t i = 0; i < entries; ++i) {
        add_entry(native_, *top_, list, random_name(random));
    }
    for (const EntryWalker& walker : device().driver().walkers().to_high) {
        walk_ = walker.top == &configurations ? walker.walk : walk_;
    }
}

qerrno NativeWalk::run()
{
    Tree reply;
    context_.begin(ZPF_REQUEST_GET, reply.arena()).reg_dup_datatree = &nothing_asked_.root();
    const qerrno result = walk_(context_.raw(), top_, &reply.root());
    return children(reply.root()).empty() ? result : ZPF_RC_BAD_TREE;
}

} // namespace zpf::bench
