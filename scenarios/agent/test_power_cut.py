# SPDX-License-Identifier: Apache-2.0
#
# A power cut while an edit is on its way to disk, played on the store's file: the edit's pages are there or not, as a
# disk may leave them. The agent starts with the configuration before that edit, which nobody was told of, or with it.
import itertools
import os
import pathlib
import subprocess
import unittest

from configs import *
from support import Agent, AgentFailed

PAGE = 4096
ANOTHER_BOOT = "4711\n00000000-0000-0000-0000-000000000000\n"


class PowerCut(unittest.TestCase):
    def setUp(self):
        self.agent = Agent()
        self.addCleanup(self.agent.remove)
        self.data = pathlib.Path(self.agent.store) / "data.mdb"
        session = self.agent.connect()
        for number in range(12):
            self.assertTrue(session.edit(oc(attenuator(BST2, number / 2))).ok)
        self.before = self.data.read_bytes()
        self.assertTrue(session.edit(oc(attenuator(BST2, 12.5))).ok)
        self.after = self.data.read_bytes()
        self.agent.kill()
        self.assertEqual(len(self.before), len(self.after))
        self.written = [at for at in range(0, len(self.after), PAGE)
                        if self.before[at:at + PAGE] != self.after[at:at + PAGE]]
        (self.header,) = [at for at in self.written if at < 2 * PAGE]

    def cut(self, arrived, note=ANOTHER_BOOT):
        """The store as the cut leaves it: only the pages at these offsets have arrived."""
        data = bytearray(self.before)
        for at in arrived:
            data[at:at + PAGE] = self.after[at:at + PAGE]
        self.data.write_bytes(data)
        (self.data.parent / "lock").write_text(note)

    def attenuation(self):
        session = self.agent.connect()
        try:
            return session.get_config(oc())[oc_path(BST2)]
        finally:
            session.close()

    def test_the_edit_is_there_or_undone_whatever_has_arrived(self):
        self.assertIn(len(self.written), range(3, 9))
        undone = 0
        for lost in range(len(self.written) + 1):
            for missing in itertools.islice(itertools.combinations(self.written, lost), 4):
                self.cut([at for at in self.written if at not in missing])
                log_before = len(self.agent.log())
                self.agent.start()
                told = "cut short on its way to disk" in self.agent.log()[log_before:]
                value = self.attenuation()
                # A page that only lists free ones may be missing: that is as good.
                self.assertIn(value, ("12.5", "5.5") if missing else ("12.5",), missing)
                self.assertEqual(told, value == "5.5" and self.header not in missing, missing)
                undone += told
                session = self.agent.connect()
                self.assertTrue(session.edit(oc(attenuator(BST2, 3.5))).ok)
                session.close()
                self.agent.kill()
        self.assertGreaterEqual(undone, 3)

    def test_without_a_power_cut_it_is_damage_and_stops_the_start(self):
        own_note = (self.data.parent / "lock").read_text()
        self.cut([self.header], own_note)
        with self.assertRaises(AgentFailed) as failed:
            self.agent.start()
        self.assertEqual(failed.exception.status, 1)
        self.assertRegex(failed.exception.log, "damaged.*restore the store from a dump")

    def test_tools_that_only_read_say_what_to_do(self):
        self.cut([self.header])
        for command in (["check"], ["dump"]):
            done = subprocess.run([os.environ["ZPF"], "store", *command, "--store", self.agent.store],
                                  capture_output=True, text=True)
            self.assertNotEqual(done.returncode, 0, command)
            self.assertIn("start the agent, or run zpf store compact", done.stdout + done.stderr, command)
        done = subprocess.run([os.environ["ZPF"], "store", "compact", "--store", self.agent.store],
                              capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("is undone", done.stdout)
        self.agent.start()
        self.assertEqual(self.attenuation(), "5.5")


if __name__ == "__main__":
    unittest.main()
