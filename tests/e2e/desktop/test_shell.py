"""The main window: its sidebar switches the views, the Downloads folder button
opens the folder, and the settings window keeps a choice across a restart."""

import os
import time
import unittest

import pyatspi

from desktop import DesktopTest, Service, wait_for


class Shell(DesktopTest):
    def test_sidebar_switches_between_search_and_downloads(self):
        run = self.start()
        search_entry = run.wait(pyatspi.ROLE_LIST_ITEM, "Search")
        downloads_entry = run.wait(pyatspi.ROLE_LIST_ITEM, "Downloads")
        run.wait(pyatspi.ROLE_TEXT, "Search")
        self.assertIsNone(run.find(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder"))

        run.click(downloads_entry)
        folder = run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder")
        self.assertIsNone(run.find(pyatspi.ROLE_TEXT, "Search"))
        run.press(folder)
        wait_for(lambda: self.opened(), what="the Downloads folder to open")
        self.assertEqual(self.opened(), ["file://" + os.path.join(self.home, "Downloads")])

        run.click(search_entry)
        run.wait(pyatspi.ROLE_TEXT, "Search")
        self.assertIsNone(run.find(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder"))

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
