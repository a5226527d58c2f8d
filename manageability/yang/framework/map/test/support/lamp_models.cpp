// SPDX-License-Identifier: Apache-2.0
//
// The models of lamps and cells, node by node.
#include "lamp_models.hpp"

#include <initializer_list>
#include <string>

namespace zpf::test {

namespace {

struct Module {
    Schema& schema;
    const char* name;
    const char* ns;
    bool config = true;

    SchemaNode& add(SchemaNode* parent, const char* tag, NodeKind kind, std::vector<std::string> keys = {}) const
    {
        SchemaNode node;
        node.tag = tag;
        node.ns = ns;
        node.module = name;
        node.kind = kind;
        node.config = config;
        node.keys = std::move(keys);
        return schema.add(parent, std::move(node));
    }

    SchemaNode& container(SchemaNode* parent, const char* tag) const { return add(parent, tag, NodeKind::container); }

    void leaves(SchemaNode& parent, std::initializer_list<const char*> tags) const
    {
        for (const char* tag : tags) {
            add(&parent, tag, NodeKind::leaf);
        }
    }

    void number(SchemaNode& parent, const char* tag) const { add(&parent, tag, NodeKind::leaf).numeric = true; }
};

void add_lamp_model(Schema& schema)
{
    const Module module{schema, "acme-lamp", kLampNs};
    const Module state_module{schema, "acme-lamp", kLampNs, false};
    SchemaNode& lamps = module.container(nullptr, "lamps");
    module.number(module.container(&lamps, "config"), "limit");
    SchemaNode& lamp = module.add(&lamps, "lamp", NodeKind::list, {"name"});
    module.leaves(lamp, {"name"});
    SchemaNode& config = module.container(&lamp, "config");
    module.leaves(config, {"name"});
    module.number(config, "level");
    module.leaves(config, {"note", "colour", "fault", "stray"});
    SchemaNode& state = state_module.container(&lamp, "state");
    state_module.leaves(state, {"name"});
    state_module.number(state, "level");
    state_module.leaves(state, {"lit"});
    SchemaNode& beam = module.add(&module.container(&lamp, "beams"), "beam", NodeKind::list, {"side", "number"});
    module.leaves(beam, {"side", "number", "width"});
}

void add_native_models(Schema& schema)
{
    const Module module{schema, "acme-native", kNativeNs};
    SchemaNode& cell = module.add(&module.container(nullptr, "cells"), "cell", NodeKind::list, {"kind", "id"});
    module.leaves(cell, {"kind", "id"});
    module.leaves(module.container(&cell, "dimming"), {"lum"});
    module.leaves(cell, {"note", "wear"});
    SchemaNode& tap = module.add(&module.container(&cell, "taps"), "tap", NodeKind::list, {"pin"});
    module.leaves(tap, {"pin", "gain"});
    module.leaves(module.container(nullptr, "rack"), {"limit", "spare"});
    const Module oper{schema, "acme-native-oper", kOperNs, false};
    SchemaNode& gauge = oper.add(&oper.container(nullptr, "gauges"), "gauge", NodeKind::list, {"id"});
    oper.leaves(gauge, {"id", "lum"});
}

} // namespace

const Schema& lamp_schema()
{
    static const Schema schema = [] {
        Schema made;
        add_native_models(made);
        add_lamp_model(made);
        return made;
    }();
    return schema;
}

} // namespace zpf::test
