"""Makes the README's pictures of the real program against the demo service:
the search view with results, the preview, and the downloads view with a
finished job. Run by scripts/make-screenshots."""

import os
import shutil
import subprocess
import tempfile
import time

import pyatspi

from desktop import SCREENSHOTS, Melodrift, Service, wait_for


def shoot(title, path):
    """A picture of the visible window with that title."""
    ids = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^" + title + "$"],
                         capture_output=True, text=True, check=True).stdout.split()
    subprocess.run(["import", "-window", ids[-1], path], check=True)
    print("wrote", path)


def main():
    home = tempfile.mkdtemp(prefix="melodrift-screenshots-")
    service = Service()
    run = Melodrift(home, service.base)
    try:
        field = run.wait(pyatspi.ROLE_TEXT, "Search")
        field.queryEditableText().setTextContents("tone")
        run.enter(field)
        first = run.row("Tom & Jerry & the Test Card")
        time.sleep(1.5)  # the first results' animation
        shoot("Melodrift", os.path.join(SCREENSHOTS, "search.png"))

        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Preview", root=first))
        preview = run.wait(pyatspi.ROLE_DIALOG, "Tom & Jerry & the Test Card", timeout=30)
        time.sleep(4)  # a few seconds into the stream
        shoot("Tom & Jerry & the Test Card", os.path.join(SCREENSHOTS, "preview.png"))
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download audio", root=preview))

        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder")
        done = run.row("Tom & Jerry & the Test Card")
        wait_for(lambda: "Done" in [l.name for l in run.find_all(pyatspi.ROLE_LABEL, root=done)], 120, "the job")
        run.click(run.wait(pyatspi.ROLE_LIST_ITEM, "Search"))
        run.press(run.wait(pyatspi.ROLE_PUSH_BUTTON, "Download video", root=run.row("Harbour Lights at Night")))
        run.wait(pyatspi.ROLE_PUSH_BUTTON, "Open Downloads folder")
        time.sleep(1.5)
        shoot("Melodrift", os.path.join(SCREENSHOTS, "downloads.png"))
    finally:
        run.stop()
        service.stop()
        shutil.rmtree(home, ignore_errors=True)


main()
