# SPDX-License-Identifier: Apache-2.0
#
# Every scenario of ../golden, with ncclient against a running agent, over the UNIX socket and over SSH: reply, refusal
# or native configuration afterwards have to be what the scenario's expected.txt says.
#
# One agent serves all scenarios with the same native data. Reads come first: edits move the simulated attenuators, and
# only a fresh agent has the readings that the scenario begins with.
import unittest

from lxml import etree

import ncclients
from configs import BST0, BST2, OPER, permit_all
from ncclient.operations import RPCError
from ncclient.xml_ import to_ele
from support import GOLDEN, running, seed_config, wait_until
from wire import elements, leaves_of, local

USER = "ann"

# What the offline tool refuses as input it cannot read, with no error of NETCONF's. The agent answers with one: its tag
# and bad-element.
UNREADABLE = {
    "child_of_no_model": ("unknown-element", "colour"),
    "entry_with_two_names": ("bad-element", "name"),
    "foreign_child": ("unknown-element", "note"),
    "foreign_namespace": ("unknown-namespace", "optical-attenuator"),
    "operation_of_nobody": ("bad-attribute", "attenuator"),
    "text_in_container": ("bad-element", "config"),
    "value_below_zero": ("invalid-value", "attenuation"),
    "value_no_number": ("invalid-value", "attenuation"),
    "value_three_digits": ("invalid-value", "attenuation"),
}

# The offline tool maps one client model, so a filter for another is a mistake there. A NETCONF server's answer to a
# filter that selects nothing is nothing (RFC 6241, 6.2).
SELECTS_NOTHING = {"get_config_foreign_namespace", "get_config_other_module"}


def measured(name, db, enabled, config=None):
    """An attenuator in a reply to a get, as nodes_of() has it; without `config`, the reading stands for it."""
    return [(2, "attenuator", ""), (3, "name", name), (3, "config", ""), (4, "name", name),
            (4, "attenuation", config or db), (3, "state", ""), (4, "name", name), (4, "attenuation", db),
            (4, "actual-attenuation", ""), (5, "instant", db), (4, "enabled", enabled)]


ROOT = [(0, "optical-attenuator", ""), (1, "attenuators", "")]

# A running device measures its two attenuators, also where the offline tool is given no readings. An attenuator that is
# not configured rests at nought. And a reading that the model does not take is left out of the reply (-0.3 dB), where
# the offline tool shows what the mapping made of it.
ON_A_RUNNING_DEVICE = {
    "get_from_empty_store": ROOT + measured(BST0, "0.0", "false") + measured(BST2, "0.0", "false"),
    "get_from_store_without_readings": ROOT + measured(BST0, "3.0", "true") + measured(BST2, "0.0", "false"),
    "get_from_store_without_configuration":
        ROOT + [node for node in measured(BST0, "-0.3", "false") if node[1:] != ("attenuation", "-0.3")]
        + measured(BST2, "20.0", "true"),
}

# A request in JSON has no counterpart on the wire; the XML of the same edit goes in its place.
IN_XML = {"delete_entry_json": "delete_entry", "merge_attenuation_json": "merge_attenuation"}


class Expected:
    """expected.txt, as far as a client can see it."""

    def __init__(self, file):
        self.sections = {}
        heading = None
        for line in file.read_text().splitlines():
            if line.endswith(":") and not line.startswith(" "):
                heading = line[:-1]
                self.sections[heading] = []
            elif heading and line.startswith("  "):
                self.sections[heading].append(line[2:])

    @property
    def refusal(self):
        """{part: text}, or None."""
        lines = self.sections.get("refused")
        return None if lines is None else {line.split()[0]: line[15:].strip() for line in lines}

    @property
    def reply(self):
        """(depth, name, value) of every node, in document order."""
        nodes = []
        for line in self.sections["reply"]:
            if line == "(nothing)":
                continue
            name, _, value = line.strip().partition(" = ")
            nodes.append(((len(line) - len(line.lstrip())) // 2, name, canonical(value.strip('"'))))
        return nodes

    @property
    def changes(self):
        """(sign, path, value) of native leaves."""
        found = []
        for line in self.sections["native changes"]:
            if line[:2] in ("+ ", "- ", "~ "):
                path, _, value = line[2:].partition(" = ")
                found.append((line[0], path, value))
        return found


def canonical(value):
    """Attenuations are decimal64, which is printed without trailing noughts (RFC 7950, 9.3.2)."""
    whole, point, fraction = value.partition(".")
    if point and whole.lstrip("-").isdigit() and fraction.isdigit():
        return whole + "." + (fraction.rstrip("0") or "0")
    return value


def nodes_of(data):
    nodes = []

    def visit(element, depth):
        for child in elements(element):
            below = elements(child)
            nodes.append((depth, local(child), "" if below else (child.text or "").strip()))
            visit(child, depth + 1)
    visit(data, 0)
    return nodes


def in_order(nodes, depth=0):
    """Siblings by name; those of one name, the entries of a list, stay as they were."""
    groups = []
    for node in nodes:
        if node[0] == depth:
            groups.append([node])
        else:
            groups[-1].append(node)
    groups.sort(key=lambda group: group[0][1])
    return [node for group in groups for node in group[:1] + in_order(group[1:], depth + 1)]


def error_parts(error):
    """An ncclient error in the words of expected.txt."""
    info = etree.fromstring(error.info.encode()) if error.info else []
    bad = [x.text for x in elements(info) if local(x) == "bad-element"] if len(info) else []
    return {"error-type": error.type, "error-tag": error.tag, "error-app-tag": error.app_tag or "",
            "error-path": (error.path or "").strip(), "error-message": error.message or "",
            "bad-element": bad[0] if bad else ""}


def native_file(folder):
    own = folder / "native.xml"
    return own if own.exists() else GOLDEN / "native.xml"


def readings_in(native):
    """Leaves of the readings in a file of native data; the two attenuators have theirs in any case."""
    found = [top for top in elements(etree.parse(str(native)).getroot()) if local(top) == "ots-oper"]
    return max(4, len(leaves_of(found[0])) if found else 0)


def scenarios():
    """{native data: folders}, reads before edits."""
    groups = {}
    for folder in sorted(GOLDEN.iterdir()):
        if folder.is_dir():
            groups.setdefault(native_file(folder), []).append(folder)
    for folders in groups.values():
        folders.sort(key=lambda folder: (not folder.name.startswith("get") and "_get_" not in folder.name, folder.name))
    return groups


def request_of(folder):
    root = etree.parse(str((GOLDEN / IN_XML.get(folder.name, folder.name)) / "request.xml")).getroot()
    return to_ele(etree.tostring(root, encoding="unicode"))


class Scenarios(unittest.TestCase):
    over = None  # makes a manager from an agent
    ran = 0

    def check_reply(self, name, reply, expected):
        data = to_ele(reply.xml)[0]
        for top in elements(data):  # a request without a filter asks for the device's own trees as well
            if local(top) != "optical-attenuator":
                data.remove(top)
        wanted = ON_A_RUNNING_DEVICE.get(name) or expected.reply
        self.assertEqual(in_order(nodes_of(data)), in_order(wanted))

    def check_refusal(self, name, expected, error):
        if name in UNREADABLE:
            tag, bad = UNREADABLE[name]
            self.assertEqual((error_parts(error)["error-tag"], error_parts(error)["bad-element"]), (tag, bad), error)
            return
        self.assertIsNotNone(expected.refusal, f"refused, though it should not be: {error}")
        self.assertEqual(error_parts(error), expected.refusal)

    def check_native(self, before, after, expected):
        wanted = dict(before)
        for sign, path, _ in expected.changes if "native changes" in expected.sections else []:
            if sign in "-~":
                wanted.pop(path)
        for sign, path, value in expected.changes if "native changes" in expected.sections else []:
            if sign in "+~":
                wanted[path] = value.split(" -> ")[-1].strip('"')
        self.assertEqual(after, wanted)

    def run_one(self, folder, manager, look):
        expected = Expected(folder / "expected.txt")
        request = request_of(folder)
        is_edit = local(request) == "edit-config"
        before = look()
        try:
            reply = manager.rpc(request)
        except RPCError as error:
            self.check_refusal(folder.name, expected, error)
        else:
            self.assertNotIn(folder.name, UNREADABLE)
            if is_edit:
                self.assertIsNone(expected.refusal, "done, though it should be refused")
            elif folder.name in SELECTS_NOTHING:
                self.assertEqual(nodes_of(to_ele(reply.xml)[0]), [])
            else:
                self.assertIsNone(expected.refusal, "answered, though it should be refused: " + reply.xml)
                self.check_reply(folder.name, reply, expected)
        self.check_native(before, look(), expected)
        return is_edit

    def run_group(self, native, folders):
        with running(seed=native, users=[USER]) as agent:
            session = agent.connect()
            wait_until(lambda: len(session.get(f'<ots-oper xmlns="{OPER}"/>')) >= readings_in(native), "readings")
            start = seed_config(native) + permit_all(USER)
            reset = (f"<copy-config><target><running/></target><source><config>{start}</config></source></copy-config>")
            session.ok(reset)

            def look():
                leaves = session.ok("<get-config><source><running/></source></get-config>").leaves()
                return {path: value for path, value in leaves.items() if path.startswith("/interface-conf")}

            manager = type(self).over(agent)
            for folder in folders:
                with self.subTest(folder.name):
                    type(self).ran += 1
                    try:
                        self.run_one(folder, manager, look)
                    finally:
                        session.ok(reset)
            manager.close_session()

    def run_all(self):
        type(self).ran = 0
        for native, folders in scenarios().items():
            self.run_group(native, folders)
        self.assertGreaterEqual(type(self).ran, 184)


class OverUnix(Scenarios):
    over = staticmethod(ncclients.over_unix)

    def test_every_scenario_goes_as_expected(self):
        self.run_all()


class OverSsh(Scenarios):
    over = staticmethod(lambda agent: ncclients.over_ssh(agent, USER))

    def test_every_scenario_goes_as_expected(self):
        self.run_all()


if __name__ == "__main__":
    unittest.main()
