"""Downloads that stop before their end, in the window: Pause keeps what came
and Resume fetches only the rest; a download cut off with its program shows on
the next start as interrupted, with Resume, which ends it whole."""

import os
import re
import subprocess
import unittest

import pyatspi

from desktop import CATALOGUE, DesktopTest, Service, wait_for

TITLE = "One Minute of HD Colour Bars"
VIDEO_ID = "SERDb2xvdXI"


def packets(path, stream):
    """The MD5 of one stream's packets: equal for a stream copied without re-encoding."""
    return subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-map", "0:" + stream, "-c", "copy", "-f", "hash",
                           "-hash", "md5", "-"], capture_output=True, check=True).stdout


def probe(path, entries, streams="a:0"):
    out = subprocess.run(["ffprobe", "-v", "error", "-select_streams", streams, "-show_entries", entries, "-of",
                          "default=noprint_wrappers=1:nokey=1", path], capture_output=True, check=True).stdout
    return out.decode().splitlines()


class Transfers(DesktopTest):
    def setUp(self):
        super().setUp()
        # Slow enough to pause, resume and kill on the way.
        self.service.stop()
        self.service = Service("--per-connection", "96")

    def downloading(self, run):
        run.search("one minute")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download video", root=run.row(TITLE)))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Clear finished")  # the downloads view
        row = run.row(TITLE)
        return row, run.wait(pyatspi.ROLE_PUSH_BUTTON, "Pause", root=row, timeout=30)

    def test_pause_resume_and_a_download_cut_off_with_its_program(self):
        whole = open(os.path.join(CATALOGUE, "media", VIDEO_ID + "-22.mp4"), "rb").read()
        run = self.start("--engine", "classic")
        row, pause = self.downloading(run)
        run.press(pause)
        wait_for(lambda: "Paused" in run.text_of(row), 10, "the row to say Paused")
        self.assertIsNone(run.find(pyatspi.ROLE_PUSH_BUTTON, "Pause", root=row))
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Resume", root=row))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Pause", root=row, timeout=30)

        # Cut off with its program, with some of it fetched.
        cache = os.path.join(self.home, ".cache", "Melodrift")
        wait_for(lambda: any(name.endswith(".ranges") and os.path.getsize(os.path.join(cache, name)) > 40
                             for name in os.listdir(cache)), 30, "some of it in the cache")
        run.process.kill()
        run.process.wait()

        again = self.start("--engine", "classic")
        again.click(again.wait(pyatspi.ROLE_LIST_ITEM, "Downloads"))
        row = again.row(TITLE)
        wait_for(lambda: any(re.match(r"Interrupted · \d+ % · ", text) for text in again.text_of(row)), 20,
                 "the row to say it was interrupted")
        again.press(again.wait(pyatspi.ROLE_PUSH_BUTTON, "Resume", root=row))
        wait_for(lambda: any("Done" in again.text_of(r) for r in again.rows(TITLE)), 120, "the download to end")
        self.assertEqual(len(again.rows(TITLE)), 1)  # it went on in its own row
        # Its streams as they came, titled with what the feed said of the video, with its cover.
        saved = os.path.join(self.home, "Downloads", TITLE + ".mp4")
        source = os.path.join(CATALOGUE, "media", VIDEO_ID + "-22.mp4")
        for stream in ("v:0", "a:0"):
            self.assertEqual(packets(saved, stream), packets(source, stream))
        self.assertEqual(probe(saved, "format_tags=title"), [TITLE])
        self.assertNotEqual(probe(saved, "format_tags=artist"), [], "the feed's author as the artist")
        self.assertEqual(probe(saved, "stream_disposition=attached_pic", "v:1"), ["1"])
        # What the first program had was not fetched again.
        sent = sum(int(line.split()[5]) for line in self.service.stop().splitlines() if line.startswith("media "))
        self.assertLess(sent, len(whole) * 1.5)


if __name__ == "__main__":
    unittest.main(verbosity=2)
