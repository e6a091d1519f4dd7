#!/usr/bin/env python3
"""What recordings, and pictures of the screen, show: measured for the scenes and the benchmarks.

Usage: measurements.py volume MOVIE [FREQUENCY]    mean volume of the sound in decibels, or of a band of 40 Hz
       measurements.py lost MOVIE MOMENT           seconds from the last picture of clock-devices to a moment of
                                                   its clock, which is that of /proc/uptime
       measurements.py begins MOVIE                what that clock shows in the first picture, in seconds
       measurements.py missing MOVIE               how many seconds the movie is shorter than what the clock shows
                                                   from its first picture to its last
       measurements.py pictures MOVIE              how many pictures there are, and how many differ from the one before
                                                   in what the clock shows
       measurements.py sync MOVIE PLAYER           how far the beeps of clock-devices are behind its flashes, as
                                                   "ffmpeg" or "gstreamer" decodes them
       measurements.py points COLOUR               how many points of a picture have a colour of the icon; the
                                                   picture comes in three bytes a point
       measurements.py greenness                   how strong the green of such a picture is
       measurements.py spread                      least, median, greatest and count of numbers, one a line
       measurements.py growth WINDOW               greatest of such numbers, the least of the second WINDOW of them,
                                                   the least of the last
"""
import array
import re
import subprocess
import sys
import tempfile

PICTURES_A_SECOND = 30
SAMPLES_A_SECOND = 48_000
CLOCK_BITS = 32  # of milliseconds, a stripe each

COLOURS = {
    "green": lambda red, green, blue: green > red + 30 and green > blue + 30,
    "strong-green": lambda red, green, blue: red < 100 and green > 150 and blue < 130,
    "grey": lambda red, green, blue: (red, green, blue) == (142, 142, 147),
}


class Unmeasurable(Exception):
    """There is nothing to measure."""


# --- sound


def mean_volume(report):
    """Decibels of full scale, from what ffmpeg's volumedetect reports."""
    found = re.search(r"mean_volume: (-?[\d.]+|-inf) dB", report)
    if found is None:
        raise Unmeasurable("there is no sound")
    return max(float(found.group(1)), -200.0)


def volume_of(movie, frequency=None):
    band = f"bandpass=f={frequency}:width_type=h:w=40," if frequency else ""
    return mean_volume(run(
        "ffmpeg", "-v", "info", "-i", movie, "-vn", "-af", f"{band}{band}volumedetect", "-f", "null", "-").stderr.decode())


def beeps_in(samples):
    """When each beep begins, in seconds: half a second of silence comes before it."""
    begins, last = [], 0
    for index, sample in enumerate(samples, 1):
        if sample > 6500 or sample < -6500:
            if index - last > SAMPLES_A_SECOND // 2:
                begins.append((index - 1) / SAMPLES_A_SECOND)
            last = index
    return begins


# --- pictures


def clock_on(stripes):
    """The milliseconds that the stripes of a picture show, from their brightness, the highest bit first."""
    if len(stripes) != CLOCK_BITS:
        raise Unmeasurable("there is no picture")
    milliseconds = 0
    for brightness in stripes:
        milliseconds = 2 * milliseconds + (brightness > 128)
    return milliseconds


def seconds_lost(shown, moment):
    """From what the clock shows, in milliseconds, to a moment in seconds. The clock goes round."""
    half = 1 << (CLOCK_BITS - 1)
    return ((round(moment * 1000) - shown + half) % (2 * half) - half) / 1000


def stripes_of(movie, *part):
    """Those of each picture in that part of the movie, one after the other."""
    return run(
        "ffmpeg", "-v", "error", *part, "-i", movie,
        "-vf", f"crop=iw:ih/4:0:ih/8,scale={CLOCK_BITS}:1:flags=area,format=gray", "-f", "rawvideo", "-").stdout


def first_clock_of(movie):
    return clock_on(stripes_of(movie, "-t", "0.5")[:CLOCK_BITS])


def last_clock_of(movie):
    return clock_on(stripes_of(movie, "-sseof", "-2")[-CLOCK_BITS:])


def lost_of(movie, moment):
    return seconds_lost(last_clock_of(movie), moment)


def seconds_missing(first, last, length):
    """Of a movie of so many seconds, from what the clock shows at either end. The last picture is shown, too."""
    return seconds_lost(first, last / 1000) + 1 / PICTURES_A_SECOND - length


def missing_of(movie):
    length = run("ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", movie).stdout
    return seconds_missing(first_clock_of(movie), last_clock_of(movie), float(length or 0))


def clocks_in(stripes):
    """What the clock shows in each picture, in milliseconds."""
    return [clock_on(stripes[begin: begin + CLOCK_BITS]) for begin in range(0, len(stripes), CLOCK_BITS)]


def pictures_report(clocks):
    new = sum(1 for index, clock in enumerate(clocks) if index == 0 or clock != clocks[index - 1])
    return f"{new} different ones among {len(clocks)}"


def flashes_in(brightness):
    """When each flash begins, in seconds, from the brightness of each picture. One from the start is none."""
    return [
        index / PICTURES_A_SECOND
        for index in range(1, len(brightness))
        if brightness[index] > 128 >= brightness[index - 1]
    ]


def points_of(picture):
    return zip(picture[0::3], picture[1::3], picture[2::3])


def count_points(picture, colour):
    return sum(1 for point in points_of(picture) if COLOURS[colour](*point))


def greenness_of(picture):
    return sum(
        green - red for red, green, blue in points_of(picture) if green > red and green > blue
    ) // 100


# --- sound against picture


def offsets_between(flashes, beeps):
    """Milliseconds of each beep after the flash that belongs to it, in their order."""
    offsets = [(beep - flash) * 1000 for beep in beeps for flash in flashes]
    return [offset for offset in offsets if -400 < offset < 400]


def sync_report(offsets):
    """The median, the extremes, and how the first fifth differs from the last."""
    if not offsets:
        raise Unmeasurable("no flash and beep were found")
    fifth = len(offsets) // 5 + 1
    drift = spread_of(offsets[-fifth:])[1] - spread_of(offsets[:fifth])[1]
    least, median, greatest, count = spread_of(offsets)
    beyond = sum(1 for offset in offsets if abs(offset) > 20)
    return (f"{median:+6.1f} ms, from {least:+6.1f} to {greatest:+6.1f}, drift {drift:+5.1f} ms, "
            f"{count} pairs, {beyond} of them beyond 20 ms")


def decode_with_ffmpeg(movie, _folder):
    brightness = run(
        "ffmpeg", "-v", "error", "-i", movie, "-map", "0:v", "-vf",
        f"crop=iw:ih/4:0:ih*5/8,scale=1:1:flags=area,fps={PICTURES_A_SECOND}:start_time=0,format=gray",
        "-f", "rawvideo", "-").stdout
    sound = run(
        "ffmpeg", "-v", "error", "-i", movie, "-map", "0:a", "-af",
        f"aresample={SAMPLES_A_SECOND}:async=1:first_pts=0", "-ac", "1", "-f", "s16le", "-").stdout
    return brightness, sound


def decode_with_gstreamer(movie, folder):
    pictures, sound = f"{folder}/pictures", f"{folder}/sound"
    play(movie, pictures, "d.video_0 ! queue ! avdec_h264 ! videorate "
         f"! video/x-raw,framerate={PICTURES_A_SECOND}/1 ! videoconvert ! video/x-raw,format=GRAY8 "
         "! videocrop top=800 bottom=200 left=900 right=900 ! videoscale ! video/x-raw,width=4,height=4")
    play(movie, sound, "d.audio_0 ! queue ! avdec_aac ! audioconvert ! audiorate "
         f"! audio/x-raw,format=S16LE,channels=1,rate={SAMPLES_A_SECOND}")
    with open(pictures, "rb") as file:
        brightness = file.read()[:: 4 * 4]
    with open(sound, "rb") as file:
        return brightness, file.read()


def play(movie, output, road):
    run("gst-launch-1.0", "-q", "filesrc", f"location={movie}", "!", "qtdemux", "name=d", *road.split(),
        "!", "filesink", f"location={output}")


def sync_of(movie, player):
    decode = {"ffmpeg": decode_with_ffmpeg, "gstreamer": decode_with_gstreamer}[player]
    with tempfile.TemporaryDirectory() as folder:
        brightness, sound = decode(movie, folder)
    return sync_report(offsets_between(flashes_in(brightness), beeps_in(samples_of(sound))))


def samples_of(sound):
    """Of two bytes each, the lower first."""
    samples = array.array("h", sound[: len(sound) // 2 * 2])
    if sys.byteorder == "big":
        samples.byteswap()
    return samples


# --- numbers


def spread_of(numbers):
    """Least, median (the lower of the two in the middle), greatest and count."""
    if not numbers:
        raise Unmeasurable("there are no numbers")
    ordered = sorted(numbers)
    return ordered[0], ordered[(len(ordered) - 1) // 2], ordered[-1], len(ordered)


def growth_of(numbers, window):
    """The greatest, the least of the second window of them, and the least of the last window."""
    if not 0 < window < len(numbers):
        raise Unmeasurable(f"{len(numbers)} numbers have no second window of {window}")
    return max(numbers), min(numbers[window: 2 * window]), min(numbers[-window:])


# --- the command line


def run(*command):
    """What the command says, whatever its status: what it could decode counts."""
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False)


def numbers_given():
    return [float(line) for line in sys.stdin if line.strip()]


def plainly(*numbers):
    return " ".join(f"{number:g}" for number in numbers)


def picture_given():
    return sys.stdin.buffer.read()


COMMANDS = {
    "volume": lambda movie, frequency=None: f"{volume_of(movie, frequency):.1f}",
    "lost": lambda movie, moment: f"{lost_of(movie, float(moment)):.2f}",
    "begins": lambda movie: f"{first_clock_of(movie) / 1000:.3f}",
    "missing": lambda movie: f"{missing_of(movie):.2f}",
    "pictures": lambda movie: pictures_report(clocks_in(stripes_of(movie))),
    "sync": sync_of,
    "points": lambda colour: count_points(picture_given(), colour),
    "greenness": lambda: greenness_of(picture_given()),
    "spread": lambda: plainly(*spread_of(numbers_given())),
    "growth": lambda window: plainly(*growth_of(numbers_given(), int(window))),
}


def main(command="", *arguments):
    if command not in COMMANDS:
        sys.exit(__doc__)
    try:
        print(COMMANDS[command](*arguments))
    except Unmeasurable as reason:
        sys.exit(f"measurements: {' '.join([command, *arguments])}: {reason}")


if __name__ == "__main__":
    main(*sys.argv[1:])
