"""The search view, as a person uses it: words typed into "Search", results,
downloads started from a result and from the preview, and a notice of the
service shown as an alert; a hostile feed's local link refused unread."""

import os
import unittest

import pyatspi

from desktop import DesktopTest, Service, wait_for

GLIDER = "Game of Life: Glider Parade"
MANDELBROT = "Caf\u00e9 Cr\u00e8me \u2013 Mandelbrot Zoom"  # WebM and 3GP only


class Search(DesktopTest):
    def finished(self, run, title, timeout=120):
        """Waits in the Downloads view for the newest job of the title to end Done, with Play."""
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder")
        row = run.ended(title, timeout)
        self.assertIn("Done", run.text_of(row))
        wait_for(lambda: run.find(pyatspi.ROLE_PUSH_BUTTON, "Play", root=row), 10, "the Play button")

    def downloads(self):
        folder = os.path.join(self.home, "Downloads")
        return sorted(os.listdir(folder)) if os.path.isdir(folder) else []

    def test_words_then_a_webm_only_video_saved_as_mp4(self):
        # (What the file holds, the command-line runs check: the same job. A row's
        # Download audio: the history script's first download.)
        run = self.start()
        run.search("mandelbrot")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download video", root=run.row(MANDELBROT)))
        self.finished(run, MANDELBROT)
        self.assertIn(MANDELBROT + ".mp4", self.downloads())

    @unittest.skipIf(os.environ.get("MELODRIFT_E2E_NO_WEB_ENGINE"), "the web engine is not run under ThreadSanitizer")
    def test_preview_then_its_download_audio(self):
        run = self.start()
        run.search("glider")
        row = run.row(GLIDER)
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Preview", root=row))
        preview = run.wait(pyatspi.ROLE_DIALOG, GLIDER, timeout=30)
        streams = run.wait(pyatspi.ROLE_LIST, "Streams", root=preview, timeout=30)
        wait_for(lambda: any(item.getState().contains(pyatspi.STATE_SELECTED)
                             for item in run.find_all(pyatspi.ROLE_LIST_ITEM, root=streams)),
                 30, "a stream to be chosen")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download audio", root=preview))
        self.finished(run, GLIDER)
        self.assertIn(GLIDER + ".mp3", self.downloads())

    def test_a_private_videos_address_is_an_alert(self):
        run = self.start()
        run.search(self.service.watch("UHJpdmF0ZTE"))
        alert = run.wait(pyatspi.ROLE_ALERT, timeout=30)
        wait_for(lambda: "This video is private." in run.text_of(alert), 10, "the notice's text")
        self.assertIn("YouTube:", run.text_of(alert))
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "OK", root=alert))
        wait_for(lambda: run.find(pyatspi.ROLE_ALERT) is None, 10, "the alert to close")
        # Still usable.
        run.search("glider")
        run.row(GLIDER)

    def test_a_hostile_feeds_local_link_is_refused_unread(self):
        secret = os.path.join(self.home, "secret.txt")
        with open(secret, "w") as f:
            f.write("-----BEGIN SECRET----- 7f3a9c0e -----END SECRET-----\n")
        self.service.stop()
        self.service = Service("--hostile", secret)
        run = self.start()
        run.search("hostile")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download audio", root=run.row("Local Link")))
        alert = run.wait(pyatspi.ROLE_ALERT, timeout=30)
        refusal = "Refused a non-web address: file://" + secret
        wait_for(lambda: refusal in run.text_of(alert), 10, "the refusal")
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "OK", root=alert))
        self.assertNotIn("SECRET ARRIVED", self.service.stop())
        self.assertEqual(self.downloads(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
