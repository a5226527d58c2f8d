# SPDX-License-Identifier: Apache-2.0
#
# Thousands of random edits through both trees, against a reference: after each, the client's view and the native view
# have to be what the reference says, and a refused edit has to have the reference's reason.
#
# ZPF_MODEL_EDITS and ZPF_MODEL_SEED say how many and which.
import os
import random
import unittest

from configs import *
from model import ATTENUATORS, CONTROLLERS, Model, Refused
from support import Agent

EDITS = int(os.environ.get("ZPF_MODEL_EDITS", 4000))
SEED = int(os.environ.get("ZPF_MODEL_SEED", 7))
WORDS = ("merge", "replace", "create", "delete", "remove")
REMOVALS = ("delete", "remove")


class Dice:
    """Random edits: (what they say in XML, what they do to a model)."""

    def __init__(self, seed):
        self.random = random.Random(seed)

    def leaves(self):
        made = {}
        if self.random.random() < 0.4:
            made["description"] = f"text {self.random.randrange(1000)}"
        if self.random.random() < 0.6:
            made["voa"] = self.random.randrange(201)
        if self.random.random() < 0.4:
            made["gain"] = self.random.randrange(401)
        return made

    def tenths(self):
        """Of an attenuation, or None; sometimes out of range."""
        dice = self.random.random()
        return None if dice < 0.2 else self.random.randrange(201, 400) if dice < 0.25 else self.random.randrange(201)

    def db(self, tenths):
        """The device drops what is below a tenth."""
        return None if tenths is None else f"{tenths / 10:.1f}" + (str(self.random.randrange(10))
                                                                   if tenths < 200 and self.random.random() < 0.5 else "")

    @staticmethod
    def native_text(leaves):
        inner = "".join(f"<{tag}>{leaves[leaf]}</{tag}>" for leaf, tag in
                        (("voa", "ots-tx-voa-attenuation"), ("gain", "ots-egress-amplifier-gain")) if leaf in leaves)
        return (f"<description>{leaves['description']}</description>" if "description" in leaves else "") + \
            (ots(inner) if inner else "")

    def edit(self):
        op = self.random.choice(WORDS)
        kinds = (self.native_entry, self.native_entry, self.native_ots, self.native_leaf, self.native_leaf,
                 self.attenuator, self.attenuator, self.config, self.attenuation, self.attenuation)
        rare = (self.native_tree, self.client_tree)
        return self.random.choice(rare if self.random.random() < 0.06 else kinds)(op)

    def native_tree(self, op):
        names = [] if op in REMOVALS else self.random.sample(CONTROLLERS, self.random.randrange(1, 4))
        entries = [(name, self.leaves()) for name in names]
        text = native("".join(interface(name, self.native_text(leaves)) for name, leaves in entries), op)
        return text, lambda model: model.edit_native_tree(op, entries)

    def native_entry(self, op):
        name = self.random.choice(CONTROLLERS)
        leaves = {} if op in REMOVALS else self.leaves()
        return (native(interface(name, self.native_text(leaves), op)),
                lambda model: model.edit_native_entry(op, name, leaves))

    def native_ots(self, op):
        name = self.random.choice(CONTROLLERS[:3])
        leaves = {} if op in REMOVALS else {leaf: value for leaf, value in self.leaves().items() if leaf != "description"}
        inner = self.native_text(leaves) or ots()
        text = native(interface(name, inner.replace("<ots ", f"<ots{operation(op)} ", 1)))
        return text, lambda model: model.edit_native_ots(op, name, leaves)

    def native_leaf(self, op):
        name = self.random.choice(CONTROLLERS)
        leaf = self.random.choice(("description", "voa", "gain"))
        value = {"description": "leaf", "voa": self.random.randrange(201), "gain": self.random.randrange(401)}[leaf]
        tag = {"description": "description", "voa": "ots-tx-voa-attenuation", "gain": "ots-egress-amplifier-gain"}[leaf]
        text = f"<{tag}{operation(op)}>{value}</{tag}>"
        return (native(interface(name, text if leaf == "description" else ots(text))),
                lambda model: model.edit_native_leaf(op, name, leaf, value))

    def client_tree(self, op):
        names = [] if op in REMOVALS else self.random.sample(ATTENUATORS, self.random.randrange(1, 3))
        entries = [(name, self.tenths()) for name in names]
        text = oc("".join(attenuator(name, self.db(tenths)) for name, tenths in entries), op)
        return text, lambda model: model.edit_client_tree(op, entries)

    def attenuator(self, op):
        name = self.random.choice(ATTENUATORS)
        tenths = None if op in REMOVALS else self.tenths()
        return oc(attenuator(name, self.db(tenths), op)), lambda model: model.edit_attenuator(op, name, tenths)

    def config(self, op):
        name = self.random.choice(ATTENUATORS)
        tenths = None if op in REMOVALS else self.tenths()
        leaf = "" if tenths is None else f"<attenuation>{self.db(tenths)}</attenuation>"
        own = "" if op in REMOVALS else f"<name>{name}</name>"
        text = oc(f"<attenuator><name>{name}</name><config{operation(op)}>{own}{leaf}</config></attenuator>")
        return text, lambda model: model.edit_config(op, name, tenths)

    def attenuation(self, op):
        name = self.random.choice(ATTENUATORS)
        tenths = self.tenths()
        tenths = 50 if tenths is None or op in REMOVALS else tenths
        return (oc(attenuator(name, self.db(tenths), leaf_op=op)),
                lambda model: model.edit_attenuation(op, name, tenths))


class RandomEdits(unittest.TestCase):
    def setUp(self):
        self.agent = Agent(seed=None, options=["--sync", "relaxed"])
        self.addCleanup(self.agent.remove)
        self.session = self.agent.connect()
        self.addCleanup(lambda: self.session.close())

    def step(self, number, dice, model, target="running"):
        """One edit on the agent and on the model. Returns the model afterwards, and whether the edit was done."""
        edits = [dice.edit() for _ in range(2 if dice.random.random() < 0.1 else 1)]
        text = "".join(text for text, _ in edits)
        if len(edits) == 2 and text.count("<interface-configurations ") == 2:
            text, edits = edits[0][0], edits[:1]  # a tree may stand in an edit once
        if len(edits) == 2 and text.count("<optical-attenuator ") == 2:
            text, edits = edits[0][0], edits[:1]
        expected = self.expected(model, [effect for _, effect in edits])
        reply = self.session.edit(text, target)
        where = f"edit {number} of seed {SEED}:\n{text}\non {model.entries}\n{reply.text}"
        tags = [error.tag for error in reply.errors]
        outcomes = [(tags_of_it, result) for tags_of_it, result in expected if tags_of_it == tags]
        self.assertEqual(len(outcomes), 1, f"{where}\n{[tags_of_it for tags_of_it, _ in expected]}")
        result = outcomes[0][1]
        leaves = self.session.get_config(native(), target)
        self.assertEqual(leaves, result.native_leaves(), where)
        self.assertEqual(self.session.get_config(oc(), target), result.client_leaves(), where)
        return result, not tags

    @staticmethod
    def expected(model, effects):
        """What may come of it: [(error-tags, the model afterwards)]."""
        results, tags = [], []
        for effect in effects:
            after = model.copy()
            try:
                effect(after)
                results.append(after)
            except Refused as refusal:
                tags.append(str(refusal))
        if tags:
            return [([tag], model) for tag in dict.fromkeys(tags)]
        if len(results) == 1:
            return [([], results[0])]
        together, contradicts = model.joined(*results)
        refused = (["operation-failed"], model)
        if contradicts:
            return [refused]
        # What one part removes the other may have named as it was: then they contradict each other, too.
        removes = any(model.native_leaves().keys() - result.native_leaves().keys() for result in results)
        return [([], together), refused] if removes else [([], together)]

    def test_of_the_running_configuration(self):
        dice = Dice(SEED)
        model = Model({})
        done = refused = 0
        for number in range(EDITS):
            model, changed = self.step(number, dice, model)
            done, refused = done + changed, refused + (not changed)
            if number % 1000 == 999:
                self.restart()
        self.assertGreater(done, EDITS // 3)  # the dice reach both outcomes
        self.assertGreater(refused, EDITS // 20)

    def test_of_the_candidate_with_commits_and_discards(self):
        dice = Dice(SEED + 1)
        running = Model({})
        model = running
        for number in range(EDITS // 4):
            model, _ = self.step(number, dice, model, "candidate")
            chance = dice.random.random()
            if chance < 0.1:
                self.session.ok("<commit/>")
                running = model
            elif chance < 0.2:
                self.session.ok("<discard-changes/>")
                model = running
            self.assertEqual(self.session.get_config(native()), running.native_leaves(), f"edit {number}")
        self.session.ok("<discard-changes/>")

    def restart(self):
        self.session.close()
        self.assertEqual(self.agent.stop(), 0)
        self.agent.start()
        self.session = self.agent.connect()


if __name__ == "__main__":
    unittest.main()
