"""The window with the yt-dlp engine (Debian's real yt-dlp against the stand-in):
a search and a download, yt-dlp's reason for a page without a video, no yt-dlp
left behind by a superseded search; and the classic engine's failed search
offering yt-dlp."""

import os
import unittest

import pyatspi

from desktop import DesktopTest, Service, wait_for

GLIDER = "Game of Life: Glider Parade"
BARS = 'The "Quoted" Colour Bars'


def yt_dlp_children(pid):
    """The yt-dlp processes the program started and that still run."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open("/proc/%s/stat" % entry) as f:
                stat = f.read()
            with open("/proc/%s/cmdline" % entry, "rb") as f:
                command = f.read().split(b"\0")
        except OSError:
            continue
        fields = stat[stat.rindex(")") + 2:].split()
        if int(fields[1]) == pid and fields[0] != "Z" and any(part.endswith(b"yt-dlp") for part in command):
            found.append(int(entry))
    return found


class YtDlp(DesktopTest):
    def test_search_download_and_a_pages_reason(self):
        run = self.start("--engine", "yt-dlp")
        run.search("glider")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download audio", root=run.row(GLIDER)))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder")
        self.assertIn("Done", run.text_of(run.ended(GLIDER)))
        self.assertIn(GLIDER + ".mp3", os.listdir(os.path.join(self.home, "Downloads")))

        run.click(run.wait(pyatspi.ROLE_LIST_ITEM, "Search"))
        run.search(self.service.watch("UHJpdmF0ZTE"))
        alert = run.wait(pyatspi.ROLE_ALERT, timeout=60)
        reason = "Unsupported URL: " + self.service.watch("UHJpdmF0ZTE")
        wait_for(lambda: any(reason in text for text in run.text_of(alert)), 10, "yt-dlp's reason")
        self.assertIn("YouTube:", run.text_of(alert))
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "OK", root=alert))

    def test_a_superseded_search_leaves_no_yt_dlp_behind(self):
        self.service.stop()
        self.service = Service("--latency", "feed=5000")
        run = self.start("--engine", "yt-dlp")
        pid = run.process.pid
        run.search("glider")
        first = wait_for(lambda: yt_dlp_children(pid), 20, "the first search's yt-dlp")
        run.search("bars")
        wait_for(lambda: not set(first) & set(yt_dlp_children(pid)), 10, "the superseded yt-dlp to end")
        self.assertLessEqual(len(yt_dlp_children(pid)), 1)
        run.row(BARS, timeout=60)
        wait_for(lambda: not yt_dlp_children(pid), 10, "no yt-dlp left")

    def test_the_classic_engines_failed_search_offers_yt_dlp(self):
        base = self.service.base
        self.service.stop()  # nothing answers at its address now
        run = self.start()
        run.search("glider")
        switch = run.wait(pyatspi.ROLE_PUSH_BUTTON, "Search with yt-dlp instead", timeout=60)
        self.assertTrue(any("The search failed" in label for label in run.text_of(run.window)))
        run.press(switch)
        # yt-dlp cannot reach it either, and says so in its own words.
        wait_for(lambda: any("The search failed" in label and "Connection refused" in label
                             for label in run.text_of(run.window)), 60, "yt-dlp's failure")
        self.assertTrue(base)


if __name__ == "__main__":
    unittest.main(verbosity=2)
