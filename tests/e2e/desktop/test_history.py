"""The downloads kept across runs: a finished download outlives a kill of the
program and says what it is; the command line's downloads show in the window;
a file gone loses Play and Show in folder; Retry after the service is mended;
Open Downloads folder; Remove from list and Clear finished leave the files
where they are. (The sidebar's entries switch the views throughout.)"""

import os
import re
import signal
import socket
import subprocess
import unittest

import pyatspi

from desktop import BINARY, DesktopTest, Melodrift, Service, wait_for

CLI = os.path.join(os.path.dirname(BINARY), "melodrift-cli")
GLIDER, GLIDER_ID = "Game of Life: Glider Parade", "R2FtZU9mTGk"
RULE, RULE_ID = "Rule 110 in Five Seconds", "UnVsZTExMF8"


def saved_line(kind, title, suffix):
    """The ended row's line: kind, size, date, file name."""
    return re.compile(re.escape(kind + " \u00b7 ") + r"[\d.]+ [kM]B \u00b7 .+ \u00b7 " + re.escape(title + suffix) + "$")


class History(DesktopTest):
    def downloads_view(self, run):
        run.click(run.wait(pyatspi.ROLE_LIST_ITEM, "Downloads"))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Clear finished")

    def search_view(self, run):
        run.click(run.wait(pyatspi.ROLE_LIST_ITEM, "Search"))
        run.wait(pyatspi.ROLE_TEXT, "Search")

    def download(self, run, words, title, button):
        run.search(words)
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, button, root=run.row(title)))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Clear finished")  # the downloads view, not the result
        return run.ended(title)

    def shows(self, run, row, pattern):
        return any(pattern.search(text or "") for text in run.text_of(row))

    def buttons(self, run, row):
        return sorted(b.name for b in run.find_all(pyatspi.ROLE_PUSH_BUTTON, root=row))

    def cli(self, *arguments):
        return subprocess.run([CLI, "--service", self.service.base, *arguments], env=Melodrift.environment(self.home),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=120)

    def file(self, name):
        return os.path.join(self.home, "Downloads", name)

    def test_a_download_outlives_a_kill_then_its_file_goes(self):
        run = self.start()
        row = self.download(run, "glider", GLIDER, "Download audio")
        line = saved_line("MP3", GLIDER, ".mp3")
        wait_for(lambda: self.shows(run, row, line), 10, "kind, name and size")
        run.process.send_signal(signal.SIGKILL)
        run.process.wait()

        again = self.start()
        self.downloads_view(again)
        row = again.row(GLIDER)
        wait_for(lambda: self.shows(again, row, line), 10, "the row of the earlier run")
        self.assertEqual(self.buttons(again, row), ["Play", "Remove from list", "Show in folder"])
        again.press(again.wait(pyatspi.ROLE_PUSH_BUTTON, "Show in folder", root=row))
        # No file manager on the test's bus: the folder itself is opened.
        wait_for(lambda: self.opened() == ["file://" + os.path.join(self.home, "Downloads")], what="the folder to open")

        os.remove(self.file(GLIDER + ".mp3"))
        self.search_view(again)
        self.downloads_view(again)
        wait_for(lambda: "File moved or deleted" in again.text_of(again.row(GLIDER)), 10, "the row to say so")
        self.assertEqual(self.buttons(again, again.row(GLIDER)), ["Remove from list"])

    def test_command_line_downloads_show_then_remove_and_clear_keep_the_files(self):
        self.assertEqual(self.cli("audio", self.service.watch(GLIDER_ID)).returncode, 0)
        run = self.start()
        self.downloads_view(run)
        wait_for(lambda: self.shows(run, run.row(GLIDER), saved_line("MP3", GLIDER, ".mp3")), 10, "the CLI's row")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder"))
        wait_for(lambda: self.opened() == ["file://" + os.path.join(self.home, "Downloads")], what="the folder to open")
        # One saved while the window runs shows when the view is shown again.
        self.search_view(run)
        self.assertEqual(self.cli("video", self.service.watch(RULE_ID)).returncode, 0)
        self.downloads_view(run)
        wait_for(lambda: self.shows(run, run.row(RULE), saved_line("MP4", RULE, ".mp4")), 10, "the second CLI row")

        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Remove from list", root=run.row(RULE)))
        wait_for(lambda: run.find(pyatspi.ROLE_PUSH_BUTTON, "Play", root=run.row(GLIDER)) and not run.rows(RULE),
                 10, "the row to go")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Clear finished"))
        run.wait(pyatspi.ROLE_LABEL, "Nothing downloaded yet. Videos and sound tracks you save appear here.")
        self.assertTrue(os.path.isfile(self.file(GLIDER + ".mp3")))
        self.assertTrue(os.path.isfile(self.file(RULE + ".mp4")))
        self.assertEqual(self.cli("history").stdout, "")

    def test_retry_succeeds_once_the_service_is_mended(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = str(probe.getsockname()[1])
        self.service.stop()
        self.service = Service("--port", port, "--fail-stream", GLIDER_ID + "=404")  # not asked for again, as a 5xx would be
        run = self.start()
        row = self.download(run, "glider", GLIDER, "Download audio")
        self.assertIn("Failed", run.text_of(row))
        self.assertEqual(self.buttons(run, row), ["Remove from list", "Retry"])

        self.service.stop()
        self.service = Service("--port", port)
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Retry", root=row))
        wait_for(lambda: len(run.rows(GLIDER)) == 2, 30, "a new row")
        wait_for(lambda: any("Done" in run.text_of(n) for n in run.rows(GLIDER)), 120, "the new job to end")
        self.assertTrue(os.path.isfile(self.file(GLIDER + ".mp3")))


if __name__ == "__main__":
    unittest.main(verbosity=2)
