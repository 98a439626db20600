"""One Melodrift per desktop session: a second start brings the running window
to the front and ends; without a session bus every start has its own window.
(A killed program leaving nothing in the way: the history script's restart.)"""

import subprocess
import time
import unittest

import pyatspi
from Xlib import X, display

from desktop import BINARY, DesktopTest, Melodrift, wait_for


def stacking():
    """The names of the mapped top-level windows, bottom to top."""
    d = display.Display()
    names = []
    for window in d.screen().root.query_tree().children:
        try:
            if window.get_attributes().map_state == X.IsViewable:
                names.append(window.get_wm_name())
        except Exception:
            pass
    d.close()
    return names


def above(upper, lower):
    order = stacking()
    return upper in order and lower in order and \
        len(order) - 1 - order[::-1].index(upper) > len(order) - 1 - order[::-1].index(lower)


class Instance(DesktopTest):
    def test_a_second_start_raises_the_first_and_ends(self):
        run = self.start()
        run.press(run.menu_item("Settings\u2026"))
        run.wait(pyatspi.ROLE_DIALOG, "Settings")
        wait_for(lambda: above("Settings", "Melodrift"), 10, "the settings window over the main window")

        started = time.monotonic()
        second = subprocess.run([BINARY, "--service", self.service.base], env=Melodrift.environment(self.home),
                                capture_output=True, timeout=30)
        self.assertEqual(second.returncode, 0, second.stderr)
        self.assertLess(time.monotonic() - started, 10)
        wait_for(lambda: above("Melodrift", "Settings"), 10, "the main window to come to the front")
        self.assertIsNone(run.process.poll())

        # With an address, the running one shows that video.
        third = subprocess.run([BINARY, self.service.watch("UnVsZTExMF8")], env=Melodrift.environment(self.home),
                               capture_output=True, timeout=30)
        self.assertEqual(third.returncode, 0, third.stderr)
        run.row("Rule 110 in Five Seconds")

    def test_without_a_session_bus_each_start_has_its_own_window(self):
        env = Melodrift.environment(self.home)
        env.pop("DBUS_SESSION_BUS_ADDRESS", None)
        runs = [subprocess.Popen([BINARY, "--service", self.service.base], env=env,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) for _ in range(2)]
        try:
            wait_for(lambda: stacking().count("Melodrift") == 2, 30, "two windows")
            self.assertEqual([run.poll() for run in runs], [None, None])
        finally:
            for run in runs:
                run.terminate()
                run.wait(timeout=15)


if __name__ == "__main__":
    unittest.main(verbosity=2)
