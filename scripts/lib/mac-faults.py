#!/usr/bin/env python3
"""Plants single faults into the macOS adapters, each alone and in a copy, and says whether the tests notice.
Usage: mac-faults.py FOLDER   (where mac-tests has built)
"""
import os
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
ADAPTERS = ROOT / "Sources/BrindleRecorderMac"

# What it is, where, what stands there, what stands there instead, which tests are asked.
FAULTS = [
    ("a listener is not removed", "CoreAudio/AudioProperty.mm", "if (isRegistered_) {", "if (false) {", "CoreAudio*"),
    ("a property is misread", "CoreAudio/CoreAudioObjects.mm", "kAudioProcessPropertyIsRunningInput).flag()",
     "kAudioProcessPropertyPID).flag()", "CoreAudio*"),
    ("a number that is given again keeps its name", "CoreAudio/ObjectNumbers.cpp", "known->second.identity != identity",
     "false", "CoreAudio*"),
    ("a text is released twice", "CoreAudio/AudioProperty.mm", "        return stringOf(bridged<NSString>(text.get()));",
     "        [bridged<NSString>(text.get()) autorelease];\n        return stringOf(bridged<NSString>(text.get()));",
     "CoreAudio*"),
    ("a status is misread", "ServiceManagement/MainAppService.mm", "return LoginItemStatus::requiresApproval;",
     "return LoginItemStatus::enabled;", "MainAppService*"),
    ("an authorisation is misread", "AVFoundation/AVCaptureSystem.mm", "return AuthorizationStatus::restricted;",
     "return AuthorizationStatus::denied;", "CaptureTest*"),
    ("an answer comes on the wrong thread", "AVFoundation/AVCaptureSystem.mm",
     "DispatchMainLoop{}.post([answer, isGranted] { answer(isGranted); });", "answer(isGranted);", "CaptureTest*"),
    ("a drawn picture leaks", "AppKit/IconDrawing.mm", "auto image = taking(", "auto image = keeping(", "IconDrawing*"),
    ("what keeps itself is never let go", "AVFoundation/AVMovieOutput.mm", "            [self autorelease];\n", "",
     "SessionTest*"),
    ("what keeps itself is let go twice", "AVFoundation/AVMovieOutput.mm", "            [self autorelease];\n",
     "            [self autorelease];\n            [self autorelease];\n", "SessionTest*"),
    ("a movie that is never closed is waited for", "AVFoundation/AVMovieOutput.mm", "file->finish(PlatformError{",
     "static_cast<void>(file), static_cast<void>(PlatformError{", "SessionTest*"),
    ("an export that is not on the disk is done", "AVFoundation/AVMovieExporter.mm", "syncFailure(output) : std::nullopt",
     "std::nullopt : syncFailure(output)", "ExportTest*"),
    ("a session hears of every session's failure", "AVFoundation/AVCaptureSessionHandle.mm",
     "        session_.get(), [listener", "        nil, [listener", "SessionTest*"),
    ("sleep is allowed twice", "IOKit/PowerEvents.mm", "std::exchange(*waiting, nullptr)", "*waiting", "PowerEvents*"),
    ("time asleep does not count", "Dispatch/DispatchMainLoop.mm",
     "    lookAgain(wait, dispatch_walltime(nullptr, left));\n", "", "DispatchMainLoop*"),
    ("a clock that is set back makes waits longer", "Dispatch/DispatchMainLoop.mm",
     "    lookAgain(wait, dispatch_time(DISPATCH_TIME_NOW, left));\n", "", "DispatchMainLoop*"),
    ("a number passes for a truth value", "Foundation/UserDefaultsStore.mm",
     "value == nil || CFGetTypeID(value) != CFBooleanGetTypeID()", "![value isKindOfClass:[NSNumber class]]",
     "UserDefaultsStore*"),
    ("a line's submenu is made anew", "AppKit/MenuItems.mm", "!hasSubmenu && [line action] != nullptr",
     "[line action] != nullptr", "StatusBarItem*"),
    ("a listener is called after its end", "Foundation/NotificationObservation.mm",
     "    ~Registration() override { [center_.get() removeObserver:observer_.get()]; }",
     "    ~Registration() override { keeping(observer_.get()); static_cast<void>(new auto{listener_}); }",
     "NotificationObservation*"),
    ("an answer is completed before it is dealt with", "UserNotifications/NotificationCenter.mm",
     "                completion();\n            });", "            });\n            completion();", "NotificationCenter*"),
    ("an answer does not say what it is for", "UserNotifications/NotificationCenter.mm",
     "        answer.identifier = brindle::stringOf([request identifier]);\n", "", "*UserNotificationsContract*"),
]


def command_for(folder, target):
    lines = subprocess.run(["ninja", "-C", folder, "-t", "commands", "-s", target], check=True, capture_output=True,
                           text=True).stdout.splitlines()
    return lines[-1]


def notices(folder, number, path, old, new, tests):
    """Nothing when no test minds, else what the first complaint says."""
    source = ADAPTERS / path
    text = source.read_text()
    if text.count(old) != 1:
        raise SystemExit(f"mac-faults: {path} has not exactly one place for: {old}")
    planted = folder / f"fault-{number}{source.suffix}"
    planted.write_text(text.replace(old, new))
    object_ = f"{source.relative_to(ROOT)}.o".replace("/", "_")
    faulty, program = f"fault-{number}.o", f"fault-{number}"
    compile_ = command_for(folder, object_).replace(str(source), str(planted)).replace(object_, faulty)
    link = command_for(folder, "MacTests").replace(object_, faulty).replace("-o MacTests", f"-o {program}")
    for command in (compile_, link):
        done = subprocess.run(command, shell=True, cwd=folder, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise SystemExit(f"mac-faults: fault {number} does not build:\n{done.stderr[:2000]}")
    done = subprocess.run([folder / program, f"--gtest_filter={tests}"], capture_output=True, text=True, check=False,
                          errors="replace", env={**os.environ, "BRINDLE_PATIENCE": "3"}, timeout=600)
    for name in (planted, folder / faulty, folder / program, folder / f"{faulty}.d"):
        name.unlink(missing_ok=True)
    if done.returncode == 0:
        return None
    complaints = [line.strip() for line in (done.stdout + done.stderr).splitlines()
                  if line.startswith("[  FAILED  ]") or "ERROR: " in line or "runtime error" in line]
    return complaints[0][:110] if complaints else f"status {done.returncode}"


def main():
    folder = Path(sys.argv[1])
    missed = 0
    for number, (what, path, old, new, tests) in enumerate(FAULTS, 1):
        noticed = notices(folder, number, path, old, new, tests)
        missed += noticed is None
        print(f"{number:2}. {what}: {noticed or 'NOBODY NOTICED'}", flush=True)
    print(f"{len(FAULTS) - missed} of {len(FAULTS)} faults noticed")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
