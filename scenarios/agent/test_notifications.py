# SPDX-License-Identifier: Apache-2.0
#
# Events: who is told what, filters, and subscriptions that are refused.
import unittest

import ncclients
from configs import *
from support import AgentTest
from wire import elements, local

NOTIFICATIONS = "urn:ietf:params:xml:ns:yang:ietf-netconf-notifications"


class NotificationTest(AgentTest):
    def watch(self, inner=""):
        watcher = self.open()
        watcher.ok(SUBSCRIBE.format(inner))
        return watcher

    def next(self, watcher, name=None):
        return watcher.notification(name)

    def parts(self, content):
        return {local(x): (x.text or "") for x in content.iter() if isinstance(x.tag, str)}


class Events(NotificationTest):
    def targets(self, content):
        return [x.text for x in content.iter() if isinstance(x.tag, str) and local(x) == "target"]

    def test_a_change_is_told_with_its_author_and_its_targets_in_both_models(self):
        watcher = self.watch()
        for change in (oc(attenuator(BST2, "7.7")), controller("Ots0/0/0/2", 78)):
            self.session.edit(change)
            content = self.next(watcher, "netconf-config-change")
            parts = self.parts(content)
            self.assertEqual(parts["session-id"], str(self.session.session_id))
            self.assertEqual(parts["operation"], "replace")
            seen, kept = self.targets(content)
            self.assertRegex(seen, r"attenuator\[.*name='0/0-VOA-BST2'\]/.*config/.*attenuation$")
            self.assertRegex(kept, r"'Ots0/0/0/2'\].*ots-tx-voa-attenuation$")

    def test_an_attenuator_that_comes_and_goes_is_told_as_one(self):
        watcher = self.watch()
        self.session.edit(native(interface("Ots0/0/0/2", op="delete")))
        content = self.next(watcher, "netconf-config-change")
        self.assertRegex(self.targets(content)[0], r"attenuators/[^/]*attenuator\[[^\]]*'0/0-VOA-BST2'\]$")
        self.assertEqual(self.parts(content)["operation"], "delete")

    def test_creations_and_deletions_are_told_apart(self):
        watcher = self.watch()
        self.session.edit(native(interface("Ots0/0/0/5")))
        created = self.next(watcher, "netconf-config-change")
        self.assertEqual({x.text for x in created.iter() if isinstance(x.tag, str) and local(x) == "operation"}, {"create"})
        self.session.edit(native(interface("Ots0/0/0/5", op="delete")))
        deleted = self.next(watcher, "netconf-config-change")
        self.assertEqual({x.text for x in deleted.iter() if isinstance(x.tag, str) and local(x) == "operation"}, {"delete"})

    def test_what_the_agent_undoes_by_itself_is_told_as_the_servers_change(self):
        self.session.edit(controller("Ots0/0/0/2", 33), "candidate")
        watcher = self.watch()
        self.session.ok("<commit><confirmed/><confirm-timeout>1</confirm-timeout></commit>")
        self.assertIn("username", self.parts(self.next(watcher, "netconf-config-change")))
        undone = self.parts(self.next(watcher, "netconf-config-change"))
        self.assertIn("server", undone)
        self.assertNotIn("username", undone)

    def test_an_edit_without_effect_or_refused_is_not_told(self):
        watcher = self.watch(f'<filter type="subtree"><netconf-config-change xmlns="{NOTIFICATIONS}"/></filter>')
        self.session.edit(controller("Ots0/0/0/2", 95))
        self.session.edit(controller("Ots0/0/0/2", 999))
        self.session.edit(controller("Ots0/0/0/2", 1), "candidate")
        self.session.ok("<discard-changes/>")
        self.session.edit(controller("Ots0/0/0/0", 1))
        self.assertIn("Ots0/0/0/0", self.parts(self.next(watcher))["target"])

    def test_sessions_begin_and_end(self):
        watcher = self.watch(f'<filter type="subtree"><netconf-session-start xmlns="{NOTIFICATIONS}"/>'
                             f'<netconf-session-end xmlns="{NOTIFICATIONS}"/></filter>')
        ends = (("closed", lambda s: s.ok("<close-session/>")), ("dropped", lambda s: s.close()),
                ("killed", lambda s: self.session.ok(
                    f"<kill-session><session-id>{s.session_id}</session-id></kill-session>")))
        for reason, end in ends:
            with self.subTest(reason):
                other = self.open()
                start = self.parts(self.next(watcher, "netconf-session-start"))
                self.assertEqual(start["session-id"], str(other.session_id))
                end(other)
                parts = self.parts(self.next(watcher, "netconf-session-end"))
                self.assertEqual((parts["session-id"], parts["termination-reason"]), (str(other.session_id), reason))
                if reason == "killed":
                    self.assertEqual(parts["killed-by"], str(self.session.session_id))

    def test_readings_that_change_are_told(self):
        watcher = self.watch()
        self.session.edit(controller("Ots0/0/0/2", 111))
        self.assertEqual(self.parts(self.next(watcher, "reading-change"))["port"], "Ots0/0/0/2")

    def test_ncclient_takes_them_too(self):
        manager = ncclients.over_unix(self.agent)
        manager.create_subscription()
        self.session.edit(controller("Ots0/0/0/2", 12))
        kinds = set()
        while "netconf-config-change" not in kinds:
            notification = manager.take_notification(timeout=60)
            self.assertIsNotNone(notification)
            kinds.update(local(x) for x in elements(notification.notification_ele))
        manager.close_session()

    def test_requests_are_answered_on_a_subscribed_session(self):
        watcher = self.watch()
        for tenths in range(20):
            self.session.edit(controller("Ots0/0/0/2", tenths))
            self.assertEqual(watcher.get_config(native())[native_path("Ots0/0/0/2")], str(tenths))
        changes = [x for x in watcher.notifications if local(elements(x)[1]) == "netconf-config-change"]
        self.assertGreaterEqual(len(changes), 19)


class Filters(NotificationTest):
    def test_an_xpath_filter_selects_events(self):
        watcher = self.watch(f'<filter type="xpath" xmlns:n="{NOTIFICATIONS}" '
                             'select="/n:netconf-session-end[n:termination-reason=\'closed\']"/>')
        self.session.edit(controller("Ots0/0/0/2", 5))
        self.open().close()
        last = self.open()
        last.ok("<close-session/>")
        self.assertEqual(self.parts(self.next(watcher))["session-id"], str(last.session_id))

    def test_a_filter_that_selects_nothing_keeps_all_away(self):
        watcher = self.watch('<filter type="subtree"><nothing xmlns="urn:example:x"/></filter>')
        self.session.edit(controller("Ots0/0/0/2", 5))
        watcher.get()  # whatever there is to tell has been sent before this reply
        watcher.get()
        self.assertEqual(watcher.notifications, [])

    def test_bad_subscriptions_are_refused(self):
        for inner, tag in (("<stream>OTHER</stream>", "invalid-value"), ("<colour/>", "unknown-element"),
                           ("<stopTime>2030-01-01T00:00:00Z</stopTime>", "missing-element")):
            self.assert_refused(self.session.rpc(SUBSCRIBE.format(inner)), tag)
        reply = self.session.rpc(SUBSCRIBE.format("<startTime>2020-01-01T00:00:00Z</startTime>"))
        self.assertTrue(reply.errors)
        reply = self.session.rpc(SUBSCRIBE.format('<filter type="xpath" select="/x:y["/>'))
        self.assertTrue(reply.errors)

    def test_broken_filters_are_refused_as_in_reads(self):
        session = self.open()
        for attributes in ('type="foo"', 'type="xpath"', 'type="xpath" select="["', 'type="xpath" select="1 + 1"'):
            with self.subTest(attributes):
                refused = session.rpc(SUBSCRIBE.format(f"<filter {attributes}/>"))
                read = session.rpc(f"<get><filter {attributes}/></get>")
                self.assertTrue(read.errors, read.text)
                self.assert_refused(refused, read.errors[0].tag, message=read.errors[0].message,
                                    info=read.errors[0].info)
        session.ok(SUBSCRIBE.format(""))  # none of those counts as the session's subscription

    def test_a_second_subscription_of_a_session_is_refused(self):
        watcher = self.watch()
        self.assertTrue(watcher.rpc(SUBSCRIBE.format("")).errors)

    def test_the_stream_is_listed(self):
        text = self.session.ok('<get><filter type="subtree"><netconf xmlns="urn:ietf:params:xml:ns:netmod:notification"/>'
                               "</filter></get>").text
        self.assertIn("<name>NETCONF</name>", text)
        self.assertIn("<replaySupport>false</replaySupport>", text)


if __name__ == "__main__":
    unittest.main()
