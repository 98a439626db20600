"""The main window: the settings window keeps a choice across a restart, and
Quit does not wait for a stalled server. (The sidebar and the Downloads folder
button: the history script.)"""

import time
import unittest

import pyatspi

from desktop import DesktopTest, Service, wait_for


class Shell(DesktopTest):
    def test_settings_choice_survives_a_restart(self):
        run = self.start()
        run.press(run.menu_item("Settings\u2026"))
        keep = run.wait(pyatspi.ROLE_RADIO_BUTTON, "Keep it as it was downloaded")
        convert = run.wait(pyatspi.ROLE_RADIO_BUTTON, "Convert it to H.264 MP4, which plays everywhere")
        self.assertTrue(convert.getState().contains(pyatspi.STATE_CHECKED))
        run.press(keep)
        wait_for(lambda: keep.getState().contains(pyatspi.STATE_CHECKED), what="the choice to be checked")
        run.press(run.menu_item("Quit"))
        self.assertEqual(run.process.wait(timeout=15), 0)

        again = self.start()
        again.press(again.menu_item("Settings\u2026"))
        keep = again.wait(pyatspi.ROLE_RADIO_BUTTON, "Keep it as it was downloaded")
        self.assertTrue(keep.getState().contains(pyatspi.STATE_CHECKED))

    def test_quit_does_not_wait_for_a_stalled_server(self):
        slow = Service("--latency", "watch=120000")
        try:
            run = self.start(slow.watch("UnVsZTExMF8"))  # waits for the window
            time.sleep(1.0)  # the watch page's request under way
            started = time.monotonic()
            run.press(run.menu_item("Quit"))
            self.assertEqual(run.process.wait(timeout=30), 0)
            self.assertLess(time.monotonic() - started, 10)
        finally:
            slow.stop()


if __name__ == "__main__":
    unittest.main(verbosity=2)
