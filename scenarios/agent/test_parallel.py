# SPDX-License-Identifier: Apache-2.0
#
# Many sessions at once: no update is lost, every read is of one moment, and a device that does not answer holds up
# edits only.
import threading
import time
import unittest

import ncclients
from configs import *
from support import AgentTest
from wire import Wire

SESSIONS = 64


class Worker(threading.Thread):
    """Runs `work` and keeps what went wrong."""

    def __init__(self, work, *arguments):
        super().__init__()
        self.work = work
        self.arguments = arguments
        self.problem = None
        self.start()

    def run(self):
        try:
            self.work(*self.arguments)
        except Exception as problem:  # told by the test's own thread
            self.problem = problem


class Parallel(AgentTest):
    users = ("ann",)
    extra_config = permit_all("ann")

    def join(self, workers):
        for worker in workers:
            worker.join(300)
            self.assertFalse(worker.is_alive(), "a session is stuck")
            if worker.problem:
                raise worker.problem

    def test_64_sessions_count_up_and_nothing_is_lost(self):
        rounds = 25

        def work(index):
            session = self.open()
            entry = f"Ots1/0/0/{index}"
            path = native_path(entry, "description")
            for number in range(rounds):
                found = session.get_config(native(f"<interface-configuration><interface-name>{entry}</interface-name>"
                                                  "</interface-configuration>")).get(path, "0")
                assert int(found) == number, f"{entry}: {found} in place of {number}"
                reply = session.edit(native(interface(entry, f"<description>{number + 1}</description>")))
                assert reply.ok, reply.text

        self.join([Worker(work, index) for index in range(SESSIONS)])
        leaves = self.session.get_config(native())
        for index in range(SESSIONS):
            self.assertEqual(leaves[native_path(f"Ots1/0/0/{index}", "description")], str(rounds))

    def test_sessions_over_ssh_take_part(self):
        def work(index):
            transport, channel = ncclients.over_ssh_channel(self.agent, "ann")
            try:
                session = Wire(channel)
                for number in range(10):
                    assert session.edit(native(interface(f"Ots2/0/0/{index}", f"<description>{number}</description>"))).ok
                    assert oc_path(BST2) in session.get_config(oc())
            finally:
                transport.close()

        self.join([Worker(work, index) for index in range(8)])
        leaves = self.session.get_config(native())
        self.assertEqual([leaves[native_path(f"Ots2/0/0/{n}", "description")] for n in range(8)], ["9"] * 8)

    def test_a_lock_makes_increments_of_one_leaf_exact(self):
        path = native_path("Ots1/1/0/0", "description")
        edit = lambda n: native(interface("Ots1/1/0/0", f"<description>{n}</description>"))
        self.assertTrue(self.session.edit(edit(0)).ok)

        def work():
            session = self.open()
            for _ in range(10):
                while not session.rpc("<lock><target><running/></target></lock>").ok:
                    time.sleep(0.001)  # another has it
                number = int(session.get_config(native("<interface-configuration><interface-name>Ots1/1/0/0"
                                                       "</interface-name></interface-configuration>"))[path])
                assert session.edit(edit(number + 1)).ok
                session.ok("<unlock><target><running/></target></unlock>")

        self.join([Worker(work) for _ in range(8)])
        self.assertEqual(self.session.get_config(native())[path], "80")

    def test_every_read_is_of_one_moment(self):
        stop = threading.Event()

        def write():
            session = self.open()
            for number in range(300):
                tenths = number % 200
                assert session.edit(oc(attenuator(BST0, tenths / 10)) + controller("Ots0/0/0/2", tenths)).ok
            stop.set()

        def read():
            session = self.open()
            seen = set()
            while not stop.is_set():
                leaves = session.get_config()
                values = {leaves[native_path("Ots0/0/0/0")], leaves[native_path("Ots0/0/0/2")],
                          str(round(float(leaves[oc_path(BST0)]) * 10)), str(round(float(leaves[oc_path(BST2)]) * 10))}
                assert len(values) == 1, f"of more than one moment: {values}"
                seen |= values
            assert len(seen) > 1

        self.assertTrue(self.session.edit(oc(attenuator(BST0, "0")) + controller("Ots0/0/0/2", 0)).ok)
        self.join([Worker(write)] + [Worker(read) for _ in range(4)])

    def test_reads_go_on_while_the_device_does_not_answer(self):
        self.session.ok(inject("Ots0/0/0/2", "no-answer"))
        answered = threading.Event()
        editor = self.open()
        replies = []

        def edit():
            replies.append(editor.edit(controller("Ots0/0/0/2", 60)))
            answered.set()

        worker = Worker(edit)
        reads = 0
        reader = self.open()
        while not answered.is_set():
            self.assertEqual(reader.get_config(native())[native_path("Ots0/0/0/2")], "95")
            self.assertEqual(reader.get(oc())[oc_path(BST2)], "9.5")
            reads += 1
        self.join([worker])
        self.assert_refused(replies[0], "operation-failed", app_tag="device-no-answer")
        self.assertGreater(reads, 50)
        self.session.ok(clear("Ots0/0/0/2"))
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 61)).ok)

    def test_a_lost_reading_leaves_the_rest_of_the_reply(self):
        self.session.ok(inject("Ots0/0/0/2", "reads-nothing"))
        leaves = self.session.get(oc())
        deadline = time.monotonic() + 30
        while oc_path(BST2, "state/actual-attenuation/instant") in leaves and time.monotonic() < deadline:
            leaves = self.session.get(oc())
        self.assertNotIn(oc_path(BST2, "state/actual-attenuation/instant"), leaves)
        self.assertEqual(leaves[oc_path(BST2)], "9.5")
        self.assertIn(oc_path(BST0, "state/actual-attenuation/instant"), leaves)
        self.session.ok(clear("Ots0/0/0/2"))


if __name__ == "__main__":
    unittest.main()
