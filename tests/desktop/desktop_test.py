#!/usr/bin/env python3
"""vesto-desktop in sessions of their own, with real servers around it:  desktop_test.py VESTO [TEST…]"""
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import time
import unittest

import dbus.mainloop.glib

from session import INVOICE, PATIENCE, Session, until
from tray_watcher import TrayItem, TrayWatcher

VESTO = sys.argv.pop(1)
DATED = r"^\d{4}-\d\d-\d\d "
APPLICATION = "fr.vesto.Vesto"
NOTIFICATIONS = "org.freedesktop.Notifications"
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)


class DesktopTest(unittest.TestCase):
    def session(self, **options):
        session = Session(VESTO, **options)
        self.addCleanup(session.close)
        return session


class LifeTest(DesktopTest):
    @staticmethod
    def await_window_with(session, token):
        until(lambda: any(session.startup_id(window) == token for window in session.windows_of_vesto()),
              f"a window with the token {token}")

    def test_second_launch_shows_the_first(self):
        for bus in (True, False):
            with self.subTest(bus=bus):
                session = self.session(bus=bus)
                first = session.start_desktop("--hidden")
                self.assertEqual(session.start_desktop("--hidden", awaited=False).wait(PATIENCE), 0)
                self.assertEqual(session.windows_of_vesto(), [])
                self.assertEqual(session.start_desktop(awaited=False).wait(PATIENCE), 0)
                until(session.windows_of_vesto, "a window")
                self.assertEqual(session.ask_to_end(first), 0)

    def test_is_started_by_the_bus(self):
        session = self.session()
        bus = session.connection()

        def ask(method, signature, *values):
            return bus.call_blocking("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                                     signature, values)
        ask("UpdateActivationEnvironment", "a{ss}", {name: session.environment[name]
                                                     for name in ("DISPLAY", "QT_QPA_PLATFORM")})
        bus.call_blocking(APPLICATION, "/fr/vesto/Vesto", "org.freedesktop.Application", "Activate", "a{sv}",
                          ({"activation-token": "from the bus"},), timeout=PATIENCE)
        process = int(ask("GetConnectionUnixProcessID", "s", APPLICATION))
        self.addCleanup(lambda: os.path.exists(f"/proc/{process}") and os.kill(process, signal.SIGKILL))
        self.await_window_with(session, "from the bus")
        os.kill(process, signal.SIGTERM)
        until(lambda: not os.path.exists(f"/proc/{process}"), "the end")

    def test_a_second_launch_hands_its_token_over(self):
        session = self.session()
        session.start_desktop("--hidden")
        for name, token in (("XDG_ACTIVATION_TOKEN", "new way_TIME1"), ("DESKTOP_STARTUP_ID", "old way_TIME2")):
            session.environment[name] = token
            self.assertEqual(session.start_desktop(awaited=False).wait(PATIENCE), 0)
            del session.environment[name]
            self.await_window_with(session, token)

    def test_takes_over_from_a_watch(self):
        session = self.session()
        watch = session.spawn(VESTO, "watch", session.downloads, stdout=subprocess.DEVNULL)
        until(session.answers, "the watch")
        desktop = session.start_desktop("--hidden")
        self.assertEqual(watch.wait(PATIENCE), 0)
        session.drop("scan0001.txt")
        until(lambda: session.lines("pending"), "a proposal of the application's")
        self.assertEqual(session.ask_to_end(desktop), 0)

    def test_ends_without_losing_the_file_at_hand(self):
        session = self.session()
        desktop = session.start_desktop("--hidden")
        session.watch_downloads()
        session.rename_automatically()
        session.drop("scan0001.txt")
        time.sleep(0.5)  # within the time in which a file must stand still, or a little behind it
        self.assertEqual(session.ask_to_end(desktop), 0)
        self.assertEqual(len(list(session.downloads.iterdir())), 1)
        self.assertNotIn("pending", [line["status"] for line in session.lines("history")])

    def test_says_what_is_wrong_with_a_damaged_store(self):
        session = self.session()
        folder = session.home / "data" / "vesto"
        folder.mkdir(parents=True)
        (folder / "history.sqlite").write_bytes(b"not a database " * 1000)
        desktop = session.start_desktop("--hidden", awaited=False)
        until(session.windows, "the window that says so")
        self.assertTrue(list(folder.glob("history.sqlite.copie*")))
        self.assertEqual(session.ask_to_end(desktop), 1)

    def test_refuses_the_network_to_all_its_threads(self):
        session = self.session()
        desktop = session.start_desktop("--hidden")
        for task in pathlib.Path(f"/proc/{desktop.pid}/task").iterdir():
            with contextlib.suppress(OSError):  # it may end meanwhile
                status = (task / "status").read_text()
                self.assertRegex(status, r"\nNoNewPrivs:\t1\n", task)
                self.assertRegex(status, r"\nSeccomp:\t2\n", task)

    def test_runs_under_wayland(self):
        session = self.session(display="wayland")
        desktop = session.start_desktop()
        session.watch_downloads()
        session.drop("scan0001.txt")
        until(lambda: session.lines("pending"), "a proposal")
        self.assertEqual(session.ask_to_end(desktop), 0)


class NotificationTest(DesktopTest):
    def test_dunst_shows_and_its_actions_act(self):
        session = self.session()
        choice = session.home / "choice"
        pick = session.home / "pick"
        pick.write_text(f'#!/bin/sh\ngrep -F -m 1 -f "{choice}"\n')
        pick.chmod(0o700)
        config = session.home / "dunstrc"
        # Nothing ends but by what Vesto does.
        config.write_text(f"[global]\ndmenu = {pick}\n[urgency_normal]\ntimeout = 0\n")
        session.spawn("dunst", "-conf", str(config), stdout=subprocess.DEVNULL)
        bus = session.connection()
        until(lambda: bus.name_has_owner(NOTIFICATIONS), "dunst")
        dunst = bus.get_object(NOTIFICATIONS, "/org/freedesktop/Notifications", introspect=False)

        def shown():
            return int(dunst.Get("org.dunstproject.cmd0", "displayedLength",
                                 dbus_interface="org.freedesktop.DBus.Properties"))

        def act(label):
            choice.write_text(label)
            dunst.ContextMenuCall(dbus_interface="org.dunstproject.cmd0")

        desktop = session.start_desktop("--hidden")
        session.watch_downloads()
        session.drop("scan0001.txt")
        until(lambda: shown() == 1, "a notification")
        act("Accepter")
        until(lambda: not (session.downloads / "scan0001.txt").exists(), "the rename")
        self.assertRegex(session.lines("history")[0]["newName"], DATED + r"Énergie du Val EDF\.txt$")
        until(lambda: shown() == 0, "the end of the notification")

        session.drop("scan0002.txt")
        until(lambda: shown() == 1, "a notification")
        act("Ignorer")
        until(lambda: not session.lines("pending"), "the end of the proposal")
        until(lambda: shown() == 0, "the end of the notification")
        self.assertTrue((session.downloads / "scan0002.txt").exists())

        session.drop("scan0003.txt")  # answered elsewhere: its notification goes
        until(lambda: shown() == 1, "a notification")
        session.vesto("ignore", session.lines("pending")[0]["id"])
        until(lambda: shown() == 0, "the end of the notification")

        session.rename_automatically()
        session.drop("scan0004.txt")
        until(lambda: shown() == 1, "a notification of a rename")
        self.assertFalse((session.downloads / "scan0004.txt").exists())
        act("Annuler")
        until((session.downloads / "scan0004.txt").exists, "the undo")
        until(lambda: shown() == 0, "the end of the notification")

        session.drop("scan0005.txt")
        until(lambda: shown() == 1, "a notification")
        self.assertEqual(session.ask_to_end(desktop), 0)
        self.assertEqual(shown(), 0, "all are closed at the end")

    def mock(self, session, capabilities):
        """A server that shows nothing; gives how to see its calls and to act."""
        import dbusmock
        server = session.spawn(sys.executable, "-m", "dbusmock", "--template", "notification_daemon", "--parameters",
                               f'{{"capabilities": "{capabilities}"}}', stdout=subprocess.DEVNULL)
        bus = session.connection()
        until(lambda: bus.name_has_owner(NOTIFICATIONS), "the server")
        mocked = bus.get_object(NOTIFICATIONS, "/org/freedesktop/Notifications", introspect=False)

        def calls(method):
            return [call[2] for call in mocked.GetCalls(dbus_interface=dbusmock.MOCK_IFACE) if call[1] == method]

        def emit(signal_name, signature, *values):
            mocked.EmitSignal(NOTIFICATIONS, signal_name, signature, dbus.Array(values, signature="v"),
                              dbus_interface=dbusmock.MOCK_IFACE)
        return server, calls, emit

    def test_inline_reply_escapes_and_never_acts_twice(self):
        session = self.session()
        _, calls, emit = self.mock(session, "actions body body-markup inline-reply")
        session.start_desktop("--hidden")
        session.watch_downloads()
        session.drop("IMG_<b>&_0042.txt")
        app, replaced, icon, summary, body, actions, hints, _ = until(lambda: calls("Notify"), "a notification")[0]
        self.assertEqual((app, replaced, icon), ("Vesto", 0, "vesto"))
        self.assertRegex(summary, DATED + r"Énergie du Val EDF\.txt$")
        self.assertEqual(body, "au lieu de «\u2068 IMG_&lt;b&gt;&amp;_0042.txt \u2069»")
        self.assertEqual(actions, ["accept", "Accepter", "inline-reply", "Modifier", "ignore", "Ignorer"])
        self.assertEqual((hints["desktop-entry"], hints["x-kde-reply-placeholder-text"],
                          hints["x-kde-reply-submit-button-text"]), ("fr.vesto.Vesto", "Titre", "Renommer"))
        for nothing in ("default", "inline-reply", "undo"):
            emit("ActionInvoked", "us", dbus.UInt32(1), nothing)
        emit("ActionInvoked", "us", dbus.UInt32(77), "ignore")
        emit("NotificationReplied", "us", dbus.UInt32(1), "Courrier du fournisseur")
        emit("ActionInvoked", "us", dbus.UInt32(1), "ignore")
        until(lambda: list(session.downloads.glob("*Courrier du fournisseur.txt")), "the rename")
        self.assertEqual([call[0] for call in until(lambda: calls("CloseNotification"), "the end")], [1])
        self.assertEqual(calls("GetCapabilities"), [[]])

        session.drop("scan0002.txt")
        until(lambda: len(calls("Notify")) == 2, "a notification")
        emit("NotificationReplied", "us", dbus.UInt32(2), "   ")
        until(lambda: len(calls("CloseNotification")) == 2, "the end")
        self.assertEqual(len(session.lines("pending")), 1, "an empty title keeps the proposal")

        # A name that is read from right to left turns neither the sentence around it nor its own parts.
        session.rename_automatically()
        session.vesto("settings", "set", "genericOnly", "false")
        session.drop("חשבון חשמל.txt", "חשבונית חשמל לחודש אוקטובר\n" + INVOICE)
        until(lambda: len(calls("Notify")) == 3, "a notification")
        summary, body = calls("Notify")[2][3:5]
        self.assertEqual(body, "\u200eחשבון חשמל.txt")
        session.vesto("folders", "propose", session.downloads)
        session.drop("קבלה.txt", "קבלה על תשלום\n")
        until(lambda: len(calls("Notify")) == 4, "a notification")
        self.assertEqual(calls("Notify")[3][4], "au lieu de «\u2068 קבלה.txt \u2069»")

    def test_a_burst_is_summed_up(self):
        session = self.session()
        server, calls, emit = self.mock(session, "actions body")
        desktop = session.start_desktop("--hidden")
        session.watch_downloads()
        for number in range(12):
            session.drop(f"scan{number:04}.txt")
        until(lambda: len(session.lines("pending")) == 12, "all proposals")

        def apart():
            return [call for call in calls("Notify") if "nouvelle" not in call[3]]
        last = until(lambda: [call for call in calls("Notify") if call[3].startswith(f"{12 - len(apart())} nouvelle")],
                     "the summary")[-1]
        self.assertEqual((last[4], last[5]), ("\u2068Downloads\u2069", ["show", "Afficher"]))
        self.assertTrue(5 <= len(apart()) < 12)  # five, but for a machine so busy that they take more than ten seconds
        self.assertEqual(session.windows_of_vesto(), [])
        shown = [call[3] for call in calls("Notify") if call[1] == 0]  # the server counts them
        summary = dbus.UInt32(1 + next(number for number, text in enumerate(shown) if "nouvelle" in text))
        emit("ActionInvoked", "us", summary, "default")
        emit("ActionInvoked", "us", summary, "show")
        until(session.windows_of_vesto, "the panel")

        # A server that goes takes its notifications along; the next one is asked anew.
        session.end(server)
        _, calls, emit = self.mock(session, "body")
        time.sleep(10)  # the burst is over
        session.drop("scan0099.txt")
        shown = until(lambda: calls("Notify"), "a notification at the new server")[0]
        self.assertEqual((shown[1], shown[5]), (0, []))
        self.assertEqual(session.ask_to_end(desktop), 0)
        self.assertEqual([call[0] for call in calls("CloseNotification")], [1])


class TrayTest(DesktopTest):
    def test_status_notifier_that_comes_late(self):
        session = self.session()
        bus = session.connection()
        desktop = session.start_desktop("--hidden")
        watcher = TrayWatcher(bus)
        watcher.StatusNotifierHostRegistered()
        until(lambda: watcher.items, "the icon")
        item = TrayItem(session.connection(), *watcher.items[0])
        self.assertEqual(list(item.entries()), ["Ouvrir Vesto", "Pause", "Ajouter un dossier…", "Historique",
                                                "Réglages…", "Quitter Vesto"])

        def tool_tip():
            return str(item.property("ToolTip")[2])
        self.assertEqual(tool_tip(), "Vesto")
        item.click("Pause")
        until(lambda: tool_tip() == "Vesto : en pause", "the pause")
        self.assertIn("true", session.vesto("settings", "get", "paused").stdout)
        item.click("Pause")
        session.watch_downloads()
        session.drop("scan0001.txt")
        until(lambda: tool_tip() == "Vesto : 1 proposition en attente", "the proposal")
        item.activate()
        until(session.windows_of_vesto, "the panel")
        item.click("Quitter Vesto")
        self.assertEqual(desktop.wait(PATIENCE), 0)

    @staticmethod
    def icon(session):
        """Left, top, width and height of the icon that stands still in an X11 tray. It is made on the bare screen, then
        moved into the tray, and made anew for the next one."""
        def docked():
            tree = subprocess.run(["xwininfo", "-root", "-tree"], env=session.environment, capture_output=True,
                                  text=True, check=False).stdout
            return re.search(r'^ {6,}0x\w+ "(?:vesto-desktop|Vesto)".* (2\d)x(2\d)\+\S+ +\+(\d+)\+(\d+)$', tree, re.M)
        first = docked()
        time.sleep(0.3)
        second = docked()
        if not first or not second or first.group() != second.group():
            return None
        width, height, left, top = map(int, second.groups())
        return left, top, width, height

    @staticmethod
    def is_beside(panel, icon):
        """On the screen, near to it and not over it."""
        if panel is None:
            return False
        gaps = [max(panel[axis] - icon[axis] - icon[axis + 2], icon[axis] - panel[axis] - panel[axis + 2])
                for axis in (0, 1)]
        return 0 <= max(gaps) <= 16 and all(0 <= panel[axis] <= screen - panel[axis + 2]
                                            for axis, screen in ((0, 1280), (1, 800)))

    def test_the_panel_opens_beside_the_icon(self):
        session = self.session()
        session.onboard()
        session.start_desktop("--hidden")
        for edge in ("bottom", "top", "left", "right"):
            with self.subTest(edge=edge):
                trayer = session.spawn("trayer", "--edge", edge, "--align", "right", "--height", "24", "--width", "5",
                                       stdout=subprocess.DEVNULL)
                icon = until(lambda: self.icon(session), "the icon")
                left, top, width, height = icon
                subprocess.run(["xdotool", "mousemove", str(left + width // 2), str(top + height // 2), "click", "1"],
                               env=session.environment, check=True)
                until(lambda: any(self.is_beside(session.geometry(window), icon)
                                  for window in session.windows_of_vesto()), f"the panel beside the icon at {icon}")
                subprocess.run(["xdotool", "key", "Escape"], env=session.environment, check=True)
                until(lambda: not session.windows_of_vesto(), "the end of the panel")
                session.end(trayer)
                until(lambda: not self.icon(session), "the end of the icon")

    def test_trayer_of_x11_early_and_late(self):
        for late in (False, True):
            with self.subTest(late=late):
                session = self.session()
                start = [lambda: session.spawn("trayer", "--height", "24", stdout=subprocess.DEVNULL),
                         lambda: session.start_desktop("--hidden")]
                for step in reversed(start) if late else start:
                    step()
                until(lambda: self.icon(session), "the icon in trayer")


if __name__ == "__main__":
    unittest.main()
