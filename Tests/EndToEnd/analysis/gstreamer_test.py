#!/usr/bin/env python3
"""What GStreamer decodes is measured as it was made. Ends with 77 where its decoders are missing."""
import shutil
import subprocess
import sys
import tempfile
import unittest

import measurements
from measurements_test import flash_and_beep


def can_decode():
    return shutil.which("gst-inspect-1.0") and all(
        subprocess.run(["gst-inspect-1.0", "--exists", element], check=False).returncode == 0
        for element in ("qtdemux", "avdec_h264", "avdec_aac"))


class GStreamer(unittest.TestCase):
    def test_the_beep_is_behind_the_flash(self):
        with tempfile.TemporaryDirectory() as folder:
            movie = flash_and_beep(folder, "coded.mp4", (1920, 1080), "aac")
            self.assertRegex(
                measurements.sync_of(movie, "gstreamer"),
                r"^ \+1\d\.\d ms, .*, 3 pairs, 0 of them beyond 20 ms$")


if __name__ == "__main__":
    if not can_decode():
        print("skipped: this needs GStreamer's decoders (gstreamer1.0-plugins-good, gstreamer1.0-libav)")
        sys.exit(77)
    unittest.main()
