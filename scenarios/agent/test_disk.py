# SPDX-License-Identifier: Apache-2.0
#
# A disk that fills up in the middle of edits: they are refused, what was is still there, and the agent goes on when
# there is space again. On a small tmpfs where the tests run as root and may mount; else with a limit to file sizes.
import pathlib
import resource
import signal
import subprocess
import tempfile
import unittest

from configs import *
from support import Agent, AgentFailed, running, wait_until


def filler(number):
    return native("".join(interface(f"Fill{number}/{n}", f"<description>{'x' * 200}</description>") for n in range(100)))


class SmallDisk(unittest.TestCase):
    MIB = 6

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zpfd-disk-"))
        self.addCleanup(self.folder.rmdir)
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={self.MIB}m", "tmpfs", str(self.folder)],
                                 capture_output=True)
        if mounted.returncode != 0:
            self.skipTest("no tmpfs can be mounted here: " + mounted.stderr.decode().strip())
        self.addCleanup(subprocess.run, ["umount", str(self.folder)], check=True)
        self.ballast = self.folder / "ballast"

    def fill_disk(self):
        with open(self.ballast, "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(4096))
            except OSError:
                pass

    def start(self):
        agent = Agent(store=self.folder / "store")
        self.addCleanup(agent.remove)
        return agent

    def test_edits_are_refused_until_there_is_space_again(self):
        agent = self.start()
        session = agent.connect()
        self.addCleanup(session.close)
        self.fill_disk()
        done = 0
        refused = None
        for number in range(1000):
            reply = session.edit(filler(number))
            if reply.errors:
                refused = (number, reply.errors[0])
                break
            done += 1
        self.assertIsNotNone(refused, "the disk was never full")
        number, error = refused
        self.assertEqual(error.tag, "resource-denied", error)
        before = session.get_config()
        self.assertFalse([path for path in before if f"Fill{number}/" in path], "half an edit")
        for n in range(5):
            self.assertTrue(session.edit(filler(2000 + n)).errors)
            self.assertTrue(session.edit(oc(attenuator(BST2, "1.1")) + filler(3000 + n)).errors)
        self.assertEqual(session.get_config(), before)
        # What the device was given for refused edits has been taken back.
        wait_until(lambda: session.get(oc())[oc_path(BST2, "state/attenuation")] != "1.1", "the device")
        self.ballast.unlink()
        self.assertTrue(session.edit(filler(4000)).ok)
        agent.kill()
        agent.start()
        again = agent.connect()
        self.addCleanup(again.close)
        leaves = again.get_config()
        self.assertEqual({path: value for path, value in leaves.items() if "Fill4000/" not in path}, before)
        self.assertEqual(len([path for path in leaves if "Fill4000/" in path]), 300)

    def test_a_full_disk_stops_a_start_with_a_word_about_it(self):
        (self.folder / "store").mkdir()
        self.fill_disk()
        with self.assertRaises(AgentFailed) as failed:
            self.start()
        self.assertEqual(failed.exception.status, 1)
        self.assertRegex(failed.exception.log, "(?i)space|full")


class SizeLimit(unittest.TestCase):
    """The same with a limit to the size of files, which needs no rights."""

    def test_edits_are_refused_and_the_old_state_stays(self):
        limit = 4 * 1024 * 1024

        def confine():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, resource.getrlimit(resource.RLIMIT_FSIZE)[1]))

        with running(preexec=confine) as agent:
            session = agent.connect()
            self.addCleanup(session.close)
            refused = None
            for number in range(1000):
                before = session.get_config()
                reply = session.edit(filler(number))
                if reply.errors:
                    refused = reply.errors[0]
                    break
            self.assertIsNotNone(refused, "the limit was never met")
            self.assertIn(refused.tag, ("resource-denied", "operation-failed"), refused)
            self.assertEqual(session.get_config(), before)
            agent.kill()
            agent.preexec = None
            agent.start()
            again = agent.connect()
            self.addCleanup(again.close)
            self.assertEqual(again.get_config(), before)
            self.assertTrue(again.edit(filler(5000)).ok)


if __name__ == "__main__":
    unittest.main()
