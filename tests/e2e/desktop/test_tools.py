"""The tools Melodrift keeps current, in the window, from a release folder
served on loopback: the settings window shows the yt-dlp and the JavaScript
runtime that run and gets the current releases with Update now; a search with
no usable yt-dlp offers to get them (sizes shown) and searches again once they
are there."""

import os
import re
import subprocess
import unittest

import pyatspi

from desktop import DesktopTest, wait_for

MAKE_RELEASE = os.path.join(os.path.dirname(__file__), "..", "..", "support", "make-release")
BARS = 'The "Quoted" Colour Bars'


class Tools(DesktopTest):
    def setUp(self):
        super().setUp()
        folder = self.home + "/releases"
        subprocess.run([MAKE_RELEASE, folder + "/keys", folder + "/latest", "2026.11.20", "2.5.6"], check=True)
        self.releases = subprocess.Popen(["/usr/bin/python3", "-u", "-m", "http.server", "0", "--bind", "127.0.0.1",
                                          "--directory", folder + "/latest"],
                                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        port = re.search(r"port (\d+)", self.releases.stdout.readline()).group(1)
        base = "http://127.0.0.1:%s/" % port
        self.saved = {name: os.environ.get(name) for name in
                      ("MELODRIFT_YTDLP_RELEASES", "MELODRIFT_DENO_RELEASES", "MELODRIFT_YTDLP_KEY",
                       "MELODRIFT_TEST_YTDLP_LOG")}
        os.environ.update(MELODRIFT_YTDLP_RELEASES=base, MELODRIFT_DENO_RELEASES=base,
                          MELODRIFT_YTDLP_KEY=folder + "/keys/key.asc",
                          MELODRIFT_TEST_YTDLP_LOG=self.home + "/yt-dlp arguments")

    def tearDown(self):
        super().tearDown()
        self.releases.terminate()
        self.releases.wait()
        for name, value in self.saved.items():
            if value is None:
                os.environ.pop(name, None)
            else:
                os.environ[name] = value

    def labels(self, run, root):
        return run.text_of(root)

    def test_the_settings_window_shows_the_tools_and_updates_them(self):
        run = self.start()
        run.press(run.menu_item("Settings…"))
        settings = run.wait(pyatspi.ROLE_PUSH_BUTTON, "Update now")
        dialog = wait_for(lambda: run.find(pyatspi.ROLE_DIALOG, "Settings"), 10, "the settings window")
        # Debian's yt-dlp, years old, and said to be.
        wait_for(lambda: any(label.startswith("yt-dlp 2023.03.04, from PATH") and "older than 90 days" in label
                             for label in run.text_of(dialog)), 30, "Debian's yt-dlp")
        run.press(settings)
        wait_for(lambda: "Up to date: yt-dlp 2026.11.20, Deno 2.5.6" in run.text_of(dialog), 60, "the update's end")
        wait_for(lambda: any(re.fullmatch(r"yt-dlp 2026\.11\.20, Melodrift's own, \d+ days old", label)
                             for label in run.text_of(dialog)), 30, "the new yt-dlp")
        self.assertIn("Deno 2.5.6, Melodrift's own, 0 days old", run.text_of(dialog))
        self.assertTrue(any(box.name.startswith("Keep yt-dlp up to date") and
                            box.getState().contains(pyatspi.STATE_CHECKED)
                            for box in run.find_all(pyatspi.ROLE_CHECK_BOX, root=dialog)))
        with open(self.home + "/melodrift.log", encoding="utf-8", errors="replace") as f:
            self.assertIn("Tools: installed yt-dlp 2026.11.20", f.read())

    def test_a_search_without_yt_dlp_offers_to_get_it_then_searches_again(self):
        # A yt-dlp on PATH that does not run: there is no usable one.
        broken = self.home + "/bin/yt-dlp"
        with open(broken, "w") as f:
            f.write("#!/bin/sh\nexit 1\n")
        os.chmod(broken, 0o755)
        run = self.start("--engine", "yt-dlp")
        run.search("bars")
        offer = wait_for(lambda: next((b for b in run.find_all(pyatspi.ROLE_PUSH_BUTTON)
                                       if re.fullmatch(r"Get yt-dlp and Deno \([\d.]+ MB \+ \d+ bytes\)", b.name)),
                                      None), 30, "the offer with its sizes")
        self.assertTrue(any("read through yt-dlp" in label for label in run.text_of(run.window)))
        run.press(offer)
        run.row(BARS, timeout=90)
        with open(self.home + "/yt-dlp arguments", encoding="utf-8") as f:
            self.assertIn("--js-runtimes\tdeno:" + self.home + "/.local/share/Melodrift/Melodrift/tools/deno", f.read())


if __name__ == "__main__":
    unittest.main(verbosity=2)
