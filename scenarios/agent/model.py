# SPDX-License-Identifier: Apache-2.0
#
# What edits have to do, in a few words of Python: the reference for random edits.
#
# The model is {controller: {leaf: value}} of the native entries in force. Attenuators are a view of it.
"""A reference for edits through both trees."""
from configs import BST0, BST2, CONTROLLER, native_path, oc_path

LEAVES = {"description": "description", "voa": "ots/ots-tx-voa-attenuation", "gain": "ots/ots-egress-amplifier-gain"}
OTS_LEAVES = ("voa", "gain")


class Refused(Exception):
    """The edit is refused; the text is the error-tag."""


class Model:
    def __init__(self, entries):
        self.entries = entries

    def copy(self):
        return Model({name: dict(leaves) for name, leaves in self.entries.items()})

    def joined(self, one, other):
        """Both changes of this model at once, and whether they ask for two values of the same, or for a leaf of an entry
        that goes."""
        before, first, second = (model.settings() for model in (self, one, other))
        names = before.keys() | first.keys() | second.keys()
        made = {}
        contradicts = False
        for name in names:
            old, a, b = before.get(name), first.get(name), second.get(name)
            contradicts = contradicts or (a != old and b != old and a != b)
            made[name] = a if a != old else b
        entries = {}
        for (entry, leaf), value in made.items():
            if leaf is None and value is not None:
                entries.setdefault(entry, {})
        for (entry, leaf), value in made.items():
            if leaf is not None and value is not None:
                contradicts = contradicts or entry not in entries
                entries.setdefault(entry, {})[leaf] = value
        return Model(entries), contradicts

    def settings(self):
        """{(entry, leaf): value}, with the leaf None for the entry itself."""
        made = {(name, None): True for name in self.entries}
        made.update({(name, leaf): value for name, entry in self.entries.items() for leaf, value in entry.items()})
        return made

    def native_leaves(self):
        leaves = {}
        for name, entry in self.entries.items():
            leaves[native_path(name, "active")] = "act"
            leaves[native_path(name, "interface-name")] = name
            leaves.update({native_path(name, LEAVES[leaf]): str(value) for leaf, value in entry.items()})
        return leaves

    def client_leaves(self):
        leaves = {}
        for name, controller in CONTROLLER.items():
            if controller in self.entries:
                leaves[oc_path(name, "name")] = leaves[oc_path(name, "config/name")] = name
                tenths = self.entries[controller].get("voa")
                if tenths is not None:
                    leaves[oc_path(name)] = f"{tenths // 10}.{tenths % 10}"
        return leaves

    # The native trees: RFC 6241, 7.2.

    def demand(self, op, there):
        if op == "create" and there:
            raise Refused("data-exists")
        if op == "delete" and not there:
            raise Refused("data-missing")

    def edit_native_tree(self, op, entries):
        self.demand(op, bool(self.entries))
        if op in ("delete", "remove", "replace"):
            self.entries.clear()
        if op not in ("delete", "remove"):
            for name, leaves in entries:
                self.edit_native_entry("merge", name, leaves)

    def edit_native_entry(self, op, name, leaves):
        self.demand(op, name in self.entries)
        if op in ("delete", "remove"):
            self.entries.pop(name, None)
            return
        if op == "replace":
            self.entries.pop(name, None)
        self.entries.setdefault(name, {}).update(leaves)

    def edit_native_ots(self, op, name, leaves):
        entry = self.entries.setdefault(name, {})
        self.demand(op, any(leaf in entry for leaf in OTS_LEAVES))
        if op in ("delete", "remove", "replace"):
            for leaf in OTS_LEAVES:
                entry.pop(leaf, None)
        if op not in ("delete", "remove"):
            entry.update(leaves)

    def edit_native_leaf(self, op, name, leaf, value):
        entry = self.entries.setdefault(name, {})
        self.demand(op, leaf in entry)
        if op in ("delete", "remove"):
            entry.pop(leaf, None)
        else:
            entry[leaf] = value

    # The client's tree. Its attenuators share their controllers with settings that it does not know.

    def thin(self, controller):
        """Takes the attenuation; an entry that is left with its keys alone goes."""
        if controller in self.entries:
            self.entries[controller].pop("voa", None)
            if not self.entries[controller]:
                del self.entries[controller]

    def edit_client_tree(self, op, attenuators):
        if any(tenths is not None and tenths > 200 for _, tenths in attenuators):
            raise Refused("invalid-value")
        self.demand(op, any(controller in self.entries for controller in CONTROLLER.values()))
        if op in ("delete", "remove", "replace"):
            for controller in CONTROLLER.values():
                self.thin(controller)
        if op not in ("delete", "remove"):
            for name, tenths in attenuators:
                self.set_attenuator(name, tenths)

    def set_attenuator(self, name, tenths):
        if tenths is not None and tenths > 200:
            raise Refused("invalid-value")
        entry = self.entries.setdefault(CONTROLLER[name], {})
        if tenths is not None:
            entry["voa"] = tenths

    def edit_attenuator(self, op, name, tenths):
        controller = CONTROLLER[name]
        if tenths is not None and tenths > 200:
            raise Refused("invalid-value")
        self.demand(op, controller in self.entries)
        if op in ("delete", "remove"):
            self.entries.pop(controller, None)  # the entry stands for the attenuator and goes whole
            return
        if op == "replace":
            self.entries.get(controller, {}).pop("voa", None)
        self.set_attenuator(name, tenths)

    def edit_config(self, op, name, tenths):
        controller = CONTROLLER[name]
        if tenths is not None and tenths > 200:
            raise Refused("invalid-value")
        self.demand(op, controller in self.entries)
        if op in ("delete", "remove", "replace"):
            self.entries.get(controller, {}).pop("voa", None)
        # Giving way to nothing is a removal, and a removal makes no entry.
        if op in ("merge", "create") or (op == "replace" and (tenths is not None or controller in self.entries)):
            self.set_attenuator(name, tenths)

    def edit_attenuation(self, op, name, tenths):
        controller = CONTROLLER[name]
        there = "voa" in self.entries.get(controller, {})
        if op in ("delete", "remove"):
            self.demand(op, there)
            if there:
                del self.entries[controller]["voa"]
            return
        if tenths > 200:
            raise Refused("invalid-value")
        self.demand(op, there)
        self.set_attenuator(name, tenths)


ATTENUATORS = (BST0, BST2)
CONTROLLERS = ("Ots0/0/0/0", "Ots0/0/0/1", "Ots0/0/0/2", "Ots0/0/0/20", "GigabitEthernet0/0/0/0")
