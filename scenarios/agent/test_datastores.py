# SPDX-License-Identifier: Apache-2.0
#
# Locks, the candidate, confirmed commits and the end of sessions, with several sessions at once.
import unittest

from configs import *
from support import AgentTest, running, wait_until

VOA = native_path("Ots0/0/0/2")


def lock(target):
    return f"<lock><target><{target}/></target></lock>"


def unlock(target):
    return f"<unlock><target><{target}/></target></unlock>"


def confirmed(timeout_s=600, more=""):
    return f"<commit><confirmed/><confirm-timeout>{timeout_s}</confirm-timeout>{more}</commit>"


class DatastoreTest(AgentTest):
    def voa(self, source="running"):
        return self.session.get_config(native(), source).get(VOA)

    def change_candidate(self, tenths, session=None):
        reply = (session or self.session).edit(controller("Ots0/0/0/2", tenths), "candidate")
        self.assertTrue(reply.ok, reply.text)


class Locks(DatastoreTest):
    def test_a_lock_keeps_others_from_editing_and_tells_who_holds_it(self):
        other = self.open()
        self.session.ok(lock("running"))
        self.assert_refused(other.rpc(lock("running")), "lock-denied", type="protocol",
                            info=[("session-id", str(self.session.session_id))])
        self.assert_refused(other.edit(controller("Ots0/0/0/2", 1)), "in-use")
        self.assert_refused(other.rpc("<commit/>"), "in-use")
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 2)).ok)
        self.assert_refused(other.rpc(unlock("running")), "operation-failed")
        self.session.ok(unlock("running"))
        self.assertTrue(other.edit(controller("Ots0/0/0/2", 3)).ok)
        self.assertEqual(self.voa(), "3")

    def test_datastores_may_be_named_as_nmda_does(self):
        named = ('<datastore xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" '
                 'xmlns:ds="urn:ietf:params:xml:ns:yang:ietf-datastores">ds:{}</datastore>')
        for name in ("running", "candidate"):
            self.session.ok(f"<lock><target>{named.format(name)}</target></lock>")
            self.assert_refused(self.open().rpc(lock(name)), "lock-denied")
            self.session.ok(f"<validate><source>{named.format(name)}</source></validate>")
            self.session.ok(f"<unlock><target>{named.format(name)}</target></unlock>")
        self.assert_refused(self.session.rpc(f"<lock><target>{named.format('operational')}</target></lock>"),
                            "invalid-value", info=[("bad-element", "datastore")])
        self.assert_refused(self.session.rpc('<lock><target><running xmlns="urn:example:other"/></target></lock>'),
                            "unknown-element")

    def test_reads_go_on_under_a_lock(self):
        self.session.ok(lock("running"))
        self.assertEqual(self.open().get_config(native())[VOA], "95")
        self.session.ok(unlock("running"))

    def test_a_session_that_holds_a_lock_is_denied_a_second_one(self):
        self.session.ok(lock("running"))
        self.assert_refused(self.session.rpc(lock("running")), "lock-denied",
                            info=[("session-id", str(self.session.session_id))])
        self.session.ok(unlock("running"))
        self.assert_refused(self.session.rpc(unlock("running")), "operation-failed")

    def test_locks_go_with_their_session(self):
        for end in ("close", "drop", "kill"):
            with self.subTest(end):
                holder = self.open()
                holder.ok(lock("running"))
                if end == "close":
                    holder.ok("<close-session/>")
                elif end == "drop":
                    holder.close()
                else:
                    self.session.ok(f"<kill-session><session-id>{holder.session_id}</session-id></kill-session>")
                wait_until(lambda: self.session.rpc(lock("running")).ok, "the lock")
                self.session.ok(unlock("running"))

    def test_a_changed_candidate_cannot_be_locked(self):
        self.change_candidate(7)
        self.assert_refused(self.open().rpc(lock("candidate")), "lock-denied", info=[("session-id", "0")])
        self.session.ok("<discard-changes/>")
        self.session.ok(lock("candidate"))
        self.assert_refused(self.open().edit(controller("Ots0/0/0/2", 1), "candidate"), "in-use")
        self.session.ok(unlock("candidate"))

    def test_unlocking_the_candidate_discards_its_changes(self):
        self.session.ok(lock("candidate"))
        self.change_candidate(7)
        self.session.ok(unlock("candidate"))
        self.assertEqual(self.voa("candidate"), "95")

    def test_locks_are_shown_in_the_monitoring_data(self):
        self.session.ok(lock("running"))
        state = self.session.ok(f'<get><filter type="subtree"><netconf-state xmlns="{MONITORING}"><datastores/>'
                                "</netconf-state></filter></get>")
        self.assertIn(f"<locked-by-session>{self.session.session_id}</locked-by-session>", state.text)
        self.session.ok(unlock("running"))


class Candidate(DatastoreTest):
    def test_it_is_apart_until_it_is_committed(self):
        self.change_candidate(7)
        self.assertEqual((self.voa(), self.voa("candidate")), ("95", "7"))
        self.session.ok("<commit/>")
        self.assertEqual((self.voa(), self.voa("candidate")), ("7", "7"))

    def test_changes_are_discarded(self):
        self.change_candidate(7)
        self.session.ok("<discard-changes/>")
        self.session.ok("<commit/>")
        self.assertEqual((self.voa(), self.voa("candidate")), ("95", "95"))

    def test_both_views_of_it_are_one(self):
        self.assertTrue(self.session.edit(oc(attenuator(BST2, "6.6")), "candidate").ok)
        self.assertEqual(self.voa("candidate"), "66")
        self.change_candidate(77)
        self.assertEqual(self.session.get_config(oc(), "candidate")[oc_path(BST2)], "7.7")
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "9.5")
        self.session.ok("<discard-changes/>")

    def test_a_commit_that_the_device_refuses_changes_nothing(self):
        self.session.ok(inject("Ots0/0/0/2", "refuse-value"))
        self.addCleanup(self.session.ok, clear("Ots0/0/0/2"))
        self.change_candidate(7)
        self.assert_refused(self.session.rpc("<commit/>"), "operation-failed", app_tag="device-refused")
        self.assertEqual((self.voa(), self.voa("candidate")), ("95", "7"))
        self.session.ok("<discard-changes/>")

    def test_an_edit_of_running_shows_through_where_the_candidate_has_no_change(self):
        self.assertTrue(self.session.edit(controller("Ots0/0/0/0", 8), "candidate").ok)
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 9)).ok)
        self.assertEqual(self.voa("candidate"), "9")
        self.session.ok("<discard-changes/>")


class ConfirmedCommits(DatastoreTest):
    def setUp(self):
        super().setUp()
        self.watcher = self.open()
        self.watcher.ok(SUBSCRIBE.format(""))

    def event(self):
        content = self.watcher.notification("netconf-confirmed-commit")
        return next(child.text for child in content if child.tag.endswith("confirm-event"))

    def test_one_that_times_out_is_rolled_back(self):
        self.change_candidate(7)
        self.session.ok(confirmed(1))
        self.assertEqual(self.voa(), "7")
        self.assertEqual((self.event(), self.event()), ("start", "timeout"))
        self.assertEqual(self.voa(), "95")

    def test_one_that_is_confirmed_stays(self):
        self.change_candidate(7)
        self.session.ok(confirmed())
        self.session.ok("<commit/>")
        self.assertEqual((self.event(), self.event()), ("start", "complete"))
        self.assertEqual(self.voa(), "7")

    def test_one_that_is_cancelled_is_rolled_back(self):
        self.change_candidate(7)
        self.session.ok(confirmed())
        self.session.ok("<cancel-commit/>")
        self.assertEqual((self.event(), self.event()), ("start", "cancel"))
        self.assertEqual(self.voa(), "95")
        self.assertTrue(self.session.rpc("<cancel-commit/>").errors)

    def test_one_that_is_extended_goes_back_to_the_first_configuration(self):
        self.change_candidate(7)
        self.session.ok(confirmed())
        self.change_candidate(8)
        self.session.ok(confirmed(1))
        self.assertEqual((self.event(), self.event(), self.event()), ("start", "extend", "timeout"))
        self.assertEqual(self.voa(), "95")

    def test_it_goes_with_its_session(self):
        other = self.open()
        self.change_candidate(7, other)
        other.ok(confirmed())
        other.close()
        self.assertEqual((self.event(), self.event()), ("start", "cancel"))
        self.assertEqual(self.voa(), "95")

    def test_others_cannot_commit_while_one_waits(self):
        other = self.open()
        self.change_candidate(7)
        self.session.ok(confirmed())
        self.assert_refused(other.rpc("<commit/>"), "in-use")
        other.ok("<cancel-commit/>")  # both sessions are of whoever runs the agent
        self.assertEqual(self.voa(), "95")

    def test_a_persistent_one_is_confirmed_from_another_session(self):
        first = self.open()
        self.change_candidate(7, first)
        first.ok(confirmed(600, "<persist>tok</persist>"))
        first.ok("<close-session/>")
        self.assertTrue(first.ended())
        self.assertEqual(self.voa(), "7")
        self.assert_refused(self.session.rpc("<commit><persist-id>other</persist-id></commit>"), "invalid-value")
        self.assertTrue(self.session.rpc("<commit/>").errors)
        self.session.ok("<commit><persist-id>tok</persist-id></commit>")
        self.assertEqual((self.event(), self.event()), ("start", "complete"))
        self.assertEqual(self.voa(), "7")

    def test_a_persistent_one_is_cancelled_from_another_session(self):
        first = self.open()
        self.change_candidate(7, first)
        first.ok(confirmed(600, "<persist>tok</persist>"))
        self.assertTrue(self.session.rpc("<cancel-commit><persist-id>no</persist-id></cancel-commit>").errors)
        self.session.ok("<cancel-commit><persist-id>tok</persist-id></cancel-commit>")
        self.assertEqual(self.voa(), "95")

    def test_one_of_nothing_undoes_nobody_s_edit_and_blocks_nobody(self):
        other = self.open()
        other.ok(confirmed(600))
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 12)).ok)
        other.ok("<close-session/>")
        self.assertTrue(other.ended())
        self.assertEqual(self.voa(), "12")
        last = self.open()
        last.ok(confirmed(4294967295, "<persist>tok</persist>"))
        last.close()
        self.change_candidate(13)
        self.session.ok("<commit/>")
        self.assertEqual(self.voa(), "13")

    def test_a_persistent_one_is_cancelled_without_its_id_by_whoever_runs_the_agent(self):
        first = self.open()
        self.change_candidate(7, first)
        first.ok(confirmed(600, "<persist>tok</persist>"))
        first.ok("<close-session/>")
        self.session.ok("<cancel-commit/>")
        self.assertEqual(self.voa(), "95")

    def test_bad_timeouts_are_refused(self):
        for text in ("0", "-1", "soon", "1.5"):
            self.assert_refused(self.session.rpc(confirmed(text)), "invalid-value")

    def test_a_bare_confirm_timeout_needs_the_word_confirmed(self):
        self.change_candidate(7)
        self.session.ok("<commit><confirm-timeout>1</confirm-timeout></commit>")
        self.assertEqual(self.voa(), "7")


class ConfirmedCommitsAndCrashes(unittest.TestCase):
    def test_an_agent_that_is_killed_comes_back_with_the_configuration_before(self):
        for persist in ("", "<persist>tok</persist>"):
            with self.subTest(persist), running() as agent:
                session = agent.connect()
                self.addCleanup(session.close)
                self.assertTrue(session.edit(controller("Ots0/0/0/2", 7) + native(interface("Ots0/0/0/9")),
                                             "candidate").ok)
                session.ok(confirmed(600, persist))
                self.assertEqual(session.get_config(native())[VOA], "7")
                agent.kill()
                agent.start()
                again = agent.connect()
                self.addCleanup(again.close)
                leaves = again.get_config(native())
                self.assertEqual(leaves[VOA], "95")
                self.assertNotIn(native_path("Ots0/0/0/9", "active"), leaves)

    def test_one_that_was_confirmed_survives_a_kill(self):
        with running() as agent:
            session = agent.connect()
            self.addCleanup(session.close)
            session.edit(controller("Ots0/0/0/2", 7), "candidate")
            session.ok(confirmed())
            session.ok("<commit/>")
            agent.kill()
            agent.start()
            again = agent.connect()
            self.addCleanup(again.close)
            self.assertEqual(again.get_config(native())[VOA], "7")


class Sessions(AgentTest):
    def test_a_session_can_kill_another_but_not_itself(self):
        other = self.open()
        kill = "<kill-session><session-id>{}</session-id></kill-session>"
        self.assert_refused(self.session.rpc(kill.format(self.session.session_id)), "invalid-value")
        self.assert_refused(self.session.rpc(kill.format(999999)), "invalid-value")
        self.assert_refused(self.session.rpc(kill.format("x")), "invalid-value")
        self.assert_refused(self.session.rpc("<kill-session/>"), "missing-element")
        self.session.ok(kill.format(other.session_id))
        self.assertTrue(other.ended())

    def test_a_closed_session_ends_after_its_reply(self):
        other = self.open()
        self.assertTrue(other.rpc("<close-session/>").ok)
        self.assertTrue(other.ended())

    def test_session_ids_are_never_used_twice(self):
        seen = set()
        for _ in range(20):
            session = self.open()
            self.assertNotIn(session.session_id, seen)
            seen.add(session.session_id)
            session.close()


if __name__ == "__main__":
    unittest.main()
