"""The window with the yt-dlp engine (Debian's real yt-dlp against the stand-in):
a search and a download, yt-dlp's reason for a page without a video, no yt-dlp
left behind by a superseded search, a quality chosen in the preview; and the
classic engine's failed search offering yt-dlp."""

import json
import os
import subprocess
import unittest

import pyatspi

from desktop import DesktopTest, Service, wait_for

GLIDER, GLIDER_ID = "Game of Life: Glider Parade", "R2FtZU9mTGk"
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

    def record_pictures_and_sound_apart(self, video_id):
        """A yt-dlp on PATH that answers with what the stand-in offers, reshaped
        as the real service offers it: the 720p and 360p MP4 streams as pictures
        alone, the 360p one's sound alone too."""
        answer = json.loads(subprocess.run(["/usr/bin/yt-dlp", "--ignore-config", "-J", self.service.watch(video_id)],
                                           check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                           timeout=60).stdout)
        formats = []
        for format in answer["formats"]:
            if "itag=22&" in format["url"] or "itag=18&" in format["url"]:
                height = 720 if "itag=22&" in format["url"] else 360
                formats.append(dict(format, format_id="%dp" % height, vcodec="avc1.4d401f", acodec="none",
                                    height=height))
                if height == 360:
                    formats.append(dict(format, format_id="sound", vcodec="none", acodec="mp4a.40.2", ext="m4a",
                                        abr=96, height=None))
            else:
                formats.append(format)
        answer["formats"] = formats
        recorded = self.home + "/recorded.json"
        with open(recorded, "w") as f:
            json.dump(answer, f)
        program = self.home + "/bin/yt-dlp"
        with open(program, "w") as f:
            f.write("#!/bin/sh\nexec /usr/bin/yt-dlp --load-info-json '%s' \"$@\"\n" % recorded)
        os.chmod(program, 0o755)

    @unittest.skipIf(os.environ.get("MELODRIFT_E2E_NO_WEB_ENGINE"), "the web engine is not run under ThreadSanitizer")
    def test_a_quality_chosen_in_the_preview_is_the_one_saved(self):
        self.record_pictures_and_sound_apart(GLIDER_ID)
        run = self.start("--engine", "yt-dlp")
        run.search(self.service.watch(GLIDER_ID))
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Preview", root=run.row(GLIDER, timeout=60)))
        preview = run.wait(pyatspi.ROLE_DIALOG, GLIDER, timeout=30)
        streams = run.wait(pyatspi.ROLE_LIST, "Streams", root=preview, timeout=30)
        rows = wait_for(lambda: [item.name for item in run.find_all(pyatspi.ROLE_LIST_ITEM, root=streams)
                                 if item.name], 30, "the outline")
        self.assertEqual(rows[:3], ["Video quality", "720p \u00b7 joined", "480p \u00b7 with sound"])
        lower = run.find(pyatspi.ROLE_LIST_ITEM, "360p \u00b7 joined", root=streams)
        run.click(lower)
        wait_for(lambda: lower.getState().contains(pyatspi.STATE_SELECTED), 10, "the 360p row to be chosen")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download video", root=preview))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder")
        self.assertIn("Done", run.text_of(run.ended(GLIDER)))
        saved = os.path.join(self.home, "Downloads", GLIDER + ".mp4")
        height = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                 "stream=height", "-of", "csv=p=0", saved],
                                check=True, stdout=subprocess.PIPE, text=True).stdout.strip()
        self.assertEqual(height, "360")

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
