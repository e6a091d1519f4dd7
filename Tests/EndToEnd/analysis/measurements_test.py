#!/usr/bin/env python3
"""Known sounds, pictures and numbers, measured."""
import math
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

import measurements
from measurements import Unmeasurable

PROGRAM = pathlib.Path(measurements.__file__)


def make(output, *arguments, given=b""):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *arguments, output], input=given, check=True)


def flash_and_beep(folder, name, size, sound_codec):
    """A movie in whose lower half each second's first tenth is light; it sounds as long, 12 ms later."""
    width, height = size
    dark, light = bytes([16]) * width, bytes([235]) * width
    pictures = b"".join(
        dark * (height // 2) + (light if index % 30 < 3 else dark) * (height // 2) for index in range(100))
    sounds = b"".join(
        struct.pack("<h", round(16_000 * math.cos(index * math.tau / 48)))
        if 576 <= index % 48_000 < 576 + 4800 else bytes(2) for index in range(160_000))
    (pathlib.Path(folder) / "sounds").write_bytes(sounds)
    make(f"{folder}/{name}", "-f", "rawvideo", "-pix_fmt", "gray", "-s", f"{width}x{height}", "-r", "30", "-i", "-",
         "-f", "s16le", "-ar", "48000", "-ac", "1", "-i", f"{folder}/sounds", "-c:v", "libx264", "-preset", "ultrafast",
         "-pix_fmt", "yuv420p", "-c:a", sound_codec, given=pictures)
    return f"{folder}/{name}"


class Numbers(unittest.TestCase):
    def test_spread_has_the_lower_of_two_medians(self):
        self.assertEqual(measurements.spread_of([5, 1, 4, 2]), (1, 2, 5, 4))
        self.assertEqual(measurements.spread_of([3.5]), (3.5, 3.5, 3.5, 1))

    def test_spread_of_nothing_is_refused(self):
        with self.assertRaises(Unmeasurable):
            measurements.spread_of([])

    def test_growth_compares_the_second_window_with_the_last(self):
        self.assertEqual(measurements.growth_of([1, 1, 10, 11, 90, 14, 13], 2), (90, 10, 13))

    def test_growth_wants_a_second_window(self):
        with self.assertRaises(Unmeasurable):
            measurements.growth_of([1, 2, 3], 3)


class Points(unittest.TestCase):
    green, strong_green, pale, grey = (60, 120, 80), (52, 199, 89), (200, 229, 200), (142, 142, 147)

    def picture(self, *points):
        return bytes(part for point in points for part in point)

    def test_colours_are_counted(self):
        picture = self.picture(self.green, self.strong_green, self.pale, self.grey, self.grey, (142, 142, 146))
        self.assertEqual(measurements.count_points(picture, "green"), 2)
        self.assertEqual(measurements.count_points(picture, "strong-green"), 1)
        self.assertEqual(measurements.count_points(picture, "grey"), 2)

    def test_greenness_sums_what_green_has_more_than_red(self):
        self.assertEqual(measurements.greenness_of(self.picture(*[self.green] * 10, self.grey, (9, 50, 51))), 6)
        self.assertEqual(measurements.greenness_of(b""), 0)


class Clock(unittest.TestCase):
    def test_stripes_are_bits_from_the_highest(self):
        self.assertEqual(measurements.clock_on(bytes([16] * 29 + [235, 16, 235])), 5)
        self.assertEqual(measurements.clock_on(bytes([235] + [16] * 31)), 1 << 31)

    def test_what_is_missing_is_what_the_clock_shows_more_than_the_movie_lasts(self):
        self.assertAlmostEqual(measurements.seconds_missing(5_000, 14_967, 10.0), 0, places=2)
        self.assertAlmostEqual(measurements.seconds_missing(5_000, 14_967, 7.5), 2.5, places=2)
        self.assertAlmostEqual(measurements.seconds_missing((1 << 32) - 1_000, 8_967, 10.0), 0, places=2)

    def test_pictures_that_show_the_same_moment_are_not_different(self):
        five, six = bytes([16] * 29 + [235, 16, 235]), bytes([16] * 29 + [235, 235, 16])
        self.assertEqual(measurements.clocks_in(five + five + six), [5, 5, 6])
        self.assertEqual(measurements.pictures_report([5, 5, 6, 6, 7]), "3 different ones among 5")
        self.assertEqual(measurements.pictures_report([]), "0 different ones among 0")

    def test_a_picture_that_is_not_there_is_refused(self):
        with self.assertRaises(Unmeasurable):
            measurements.clock_on(b"")

    def test_what_is_lost_lies_between_the_picture_and_the_moment(self):
        self.assertEqual(measurements.seconds_lost(98_500, 100.0), 1.5)
        self.assertEqual(measurements.seconds_lost(100_250, 100.0), -0.25)

    def test_the_clock_goes_round(self):
        once_round = (1 << 32) / 1000
        self.assertAlmostEqual(measurements.seconds_lost(0xFFFF_FF00, once_round + 0.1), 0.356, places=3)
        self.assertAlmostEqual(measurements.seconds_lost(100, once_round - 0.1), -0.2, places=3)


class FlashAndBeep(unittest.TestCase):
    def test_flashes_begin_where_it_becomes_light(self):
        self.assertEqual(measurements.flashes_in(bytes([16] * 30 + [235] * 3 + [16] * 27 + [235])), [1.0, 2.0])

    def test_light_from_the_start_is_no_flash(self):
        self.assertEqual(measurements.flashes_in(bytes([235, 235, 16, 129])), [0.1])

    def test_beeps_begin_after_half_a_second_of_silence(self):
        beep = [7000, 0, -7000] * 1000
        silence = [6500] * 45_000
        self.assertEqual(measurements.beeps_in(silence + beep + silence + beep), [45_000 / 48_000, 93_000 / 48_000])

    def test_sound_without_silence_before_it_is_no_beep(self):
        self.assertEqual(measurements.beeps_in([7000] * 48_000), [])
        self.assertEqual(measurements.beeps_in([0] * 24_000 + [7000] + [0] * 23_999 + [7000, 0]), [0.5])

    def test_samples_have_their_lower_byte_first(self):
        self.assertEqual(list(measurements.samples_of(b"\x02\x01\xff\xff\x07")), [0x0102, -1])

    def test_offsets_are_those_of_pairs(self):
        offsets = measurements.offsets_between([1.0, 2.0, 3.0], [1.01, 2.5, 2.995])
        self.assertEqual([round(offset, 3) for offset in offsets], [10.0, -5.0])

    def test_report_tells_median_extremes_and_drift(self):
        self.assertEqual(
            measurements.sync_report([1, 1, 2, 2, 2, 3, 3, 3, 21, 9]),
            "  +2.0 ms, from   +1.0 to  +21.0, drift  +8.0 ms, 10 pairs, 1 of them beyond 20 ms")
        with self.assertRaises(Unmeasurable):
            measurements.sync_report([])


class Movies(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name

    def movie(self, name):
        return f"{self.folder}/{name}"

    def test_a_tone_is_as_loud_as_it_was_made(self):
        # ffmpeg's tone has an eighth of full scale; its mean is 3 dB below.
        tone = self.movie("tone.wav")
        make(tone, "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000:duration=2", "-af", "volume=8dB")
        level = 20 * math.log10(1 / 8 / math.sqrt(2)) + 8
        self.assertAlmostEqual(measurements.volume_of(tone), level, delta=0.2)
        self.assertAlmostEqual(measurements.volume_of(tone, 440), level, delta=0.5)
        self.assertLess(measurements.volume_of(tone, 3000), -60)

    def test_silence_is_silent(self):
        silence = self.movie("silence.wav")
        make(silence, "-f", "lavfi", "-i", "anullsrc=sample_rate=48000", "-t", "1")
        self.assertLess(measurements.volume_of(silence), -90)

    def test_a_movie_without_sound_has_no_volume(self):
        silent = self.movie("silent.mp4")
        make(silent, "-f", "lavfi", "-i", "color=size=64x64:rate=30", "-t", "0.5", "-c:v", "libx264")
        with self.assertRaises(Unmeasurable):
            measurements.volume_of(silent)

    def test_the_last_picture_tells_its_time(self):
        shown = 0xA5C3_1E77
        pictures = []
        for milliseconds in (shown - 66, shown - 33, shown):
            stripes = b"".join(
                bytes([235 if milliseconds >> bit & 1 else 16]) * 10 for bit in reversed(range(32)))
            pictures.append(stripes * 90 + bytes([16]) * 320 * 90)
        movie = self.movie("clock.mp4")
        make(movie, "-f", "rawvideo", "-pix_fmt", "gray", "-s", "320x180", "-r", "30", "-i", "-", "-c:v", "libx264",
             "-pix_fmt", "yuv420p", given=b"".join(pictures))
        self.assertAlmostEqual(measurements.lost_of(movie, shown / 1000 + 2.5), 2.5, places=3)

    def test_nothing_is_lost_of_a_file_that_is_no_movie(self):
        broken = pathlib.Path(self.movie("broken.mov"))
        broken.write_bytes(b"no movie")
        with self.assertRaises(Unmeasurable):
            measurements.lost_of(str(broken), 1.0)

    def test_the_beep_is_as_far_behind_the_flash_as_it_was_made(self):
        movie = flash_and_beep(self.folder, "exact.mov", (320, 180), "pcm_s16le")
        self.assertEqual(
            measurements.sync_of(movie, "ffmpeg"),
            " +12.0 ms, from  +12.0 to  +12.0, drift  +0.0 ms, 3 pairs, 0 of them beyond 20 ms")


class CommandLine(unittest.TestCase):
    def run_it(self, *arguments, given=""):
        return subprocess.run(
            [sys.executable, PROGRAM, *arguments], input=given, capture_output=True, text=True, check=False)

    def test_a_result_is_printed(self):
        self.assertEqual(self.run_it("spread", given="2.5\n1\n\n9\n").stdout, "1 2.5 9 3\n")
        self.assertEqual(self.run_it("growth", "1", given="4\n2\n3\n").stdout, "4 2 3\n")
        self.assertEqual(self.run_it("points", "grey", given="").stdout, "0\n")

    def test_what_cannot_be_measured_is_an_error(self):
        failed = self.run_it("spread")
        self.assertEqual((failed.returncode, failed.stdout), (1, ""))
        self.assertEqual(failed.stderr, "measurements: spread: there are no numbers\n")

    def test_an_unknown_command_is_an_error(self):
        failed = self.run_it("guess")
        self.assertEqual(failed.returncode, 1)
        self.assertIn("Usage: measurements.py volume", failed.stderr)


if __name__ == "__main__":
    unittest.main()
