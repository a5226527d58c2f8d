# SPDX-License-Identifier: Apache-2.0
#
# Edit streams with kill -9 at random moments: no acknowledged edit is lost, none is half there, the store opens at once.
#
# Every edit sets three leaves of one number: by OpenConfig in one attenuator, natively in another controller and in a
# text. ZPF_CRASH_ROUNDS says how often the agent is killed.
import contextlib
import os
import random
import threading
import time
import unittest

from configs import *
from support import Agent, AgentFailed
from wire import Ended

ROUNDS = int(os.environ.get("ZPF_CRASH_ROUNDS", 40))
SEED = int(os.environ.get("ZPF_CRASH_SEED", 20261121))
LONGEST_START_S = 5  # far above what it takes: a start that repairs or replays would be beyond it


def edit_of(number, stream):
    tenths = number % 201
    return (oc(attenuator(BST2, tenths / 10)) if stream == 0 else "") + native(
        interface(f"Ots0/1/0/{stream}", f"<description>{number}</description>" + ots(
            voa(tenths) + f"<ots-egress-amplifier-gain>{number % 401}</ots-egress-amplifier-gain>")))


def number_in(leaves, stream):
    """The number that the stream's leaves hold; None before the first edit. Fails when they do not belong together."""
    entry = f"Ots0/1/0/{stream}"
    text = leaves.get(native_path(entry, "description"))
    if text is None:
        assert not [path for path in leaves if entry in path], f"half an edit: {leaves}"
        return None
    number = int(text)
    found = (leaves[native_path(entry)], leaves[native_path(entry, "ots/ots-egress-amplifier-gain")])
    assert found == (str(number % 201), str(number % 401)), f"half of edit {number}: {found}"
    if stream == 0:
        assert float(leaves[oc_path(BST2)]) == (number % 201) / 10, f"half of edit {number}: {leaves[oc_path(BST2)]}"
    return number


class Stream(threading.Thread):
    """Edits one after the other until the agent goes. `acknowledged` and `sent` are the last numbers."""

    def __init__(self, agent, index, first, candidate):
        super().__init__()
        self.session = agent.connect()
        self.index = index
        self.sent = self.acknowledged = first
        self.candidate = candidate
        self.problem = None

    def run(self):
        try:
            while True:
                number = self.sent + 1
                config = edit_of(number, self.index)
                self.sent = number
                if self.candidate:
                    replies = [self.session.edit(config, "candidate"), self.session.rpc("<commit/>")]
                else:
                    replies = [self.session.edit(config)]
                for reply in replies:
                    if not reply.ok:
                        self.problem = reply.text
                        return
                self.acknowledged = number
        except (Ended, BrokenPipeError, ConnectionResetError):
            pass
        finally:
            self.session.close()


class Kills(unittest.TestCase):
    def run_rounds(self, rounds, streams, candidate):
        dice = random.Random(SEED + streams + (1000 if candidate else 0))
        agent = Agent()
        self.addCleanup(agent.remove)
        starts = []
        known = [0] * streams
        acknowledged = 0
        for round_number in range(rounds):
            writers = [Stream(agent, index, known[index], candidate) for index in range(streams)]
            for writer in writers:
                writer.start()
            time.sleep(dice.uniform(0, 0.08))  # the moment of the kill is the point, not a wait
            agent.kill()
            for writer in writers:
                writer.join()
                self.assertIsNone(writer.problem)
            begin = time.monotonic()
            agent.start()
            starts.append(time.monotonic() - begin)
            session = agent.connect()
            leaves = session.get_config()
            session.close()
            for index, writer in enumerate(writers):
                number = number_in(leaves, index) or 0
                self.assertGreaterEqual(number, writer.acknowledged, f"round {round_number}: an acknowledged edit is lost")
                self.assertLessEqual(number, writer.sent, f"round {round_number}")
                acknowledged += writer.acknowledged - known[index]
                known[index] = number
        self.assertGreater(acknowledged, rounds)  # the kills hit streams of edits, not idle agents
        self.assertLess(max(starts), LONGEST_START_S)
        starts.sort()
        print(f"{rounds} kills, {acknowledged} acknowledged edits; start to ready: median "
              f"{starts[len(starts) // 2] * 1000:.0f} ms, longest {starts[-1] * 1000:.0f} ms")
        self.assertEqual(agent.stop(), 0)

    def test_one_stream_of_edits(self):
        self.run_rounds(ROUNDS, 1, False)

    def test_four_streams_that_are_committed_together(self):
        self.run_rounds(ROUNDS, 4, False)

    def test_a_stream_of_commits_of_the_candidate(self):
        self.run_rounds(max(1, ROUNDS // 2), 1, True)

    def test_kills_while_it_starts(self):
        """A new store that is killed before it is ready is either new or seeded, never half of it."""
        dice = random.Random(SEED)
        for _ in range(max(10, ROUNDS // 4)):
            agent = Agent(start=False)
            try:
                killer = threading.Timer(dice.uniform(0.002, 0.04), lambda: agent.process and agent.process.kill())
                starter = threading.Thread(target=self.try_start, args=(agent,))
                starter.start()
                killer.start()
                starter.join()
                killer.join()
                if agent.alive():  # it was ready before the timer had anything to kill
                    agent.kill()
                agent.start()
                session = agent.connect()
                self.assertEqual(session.get_config(native())[native_path("Ots0/0/0/2")], "95")
                session.close()
            finally:
                agent.remove()

    @staticmethod
    def try_start(agent):
        with contextlib.suppress(AgentFailed):
            agent.start()


if __name__ == "__main__":
    unittest.main()
