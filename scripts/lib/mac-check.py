#!/usr/bin/env python3
"""Looks at a bundle of the macOS application and says what it is made of; fails where something is not as it must be.
Usage: mac-check.py BUNDLE STUBS ARCHITECTURE...
"""
import hashlib
import plistlib
import re
import struct
import sys
from pathlib import Path

ARCHITECTURES = {0x0100000C: "arm64", 0x01000007: "x86_64"}
UNIVERSAL, MACH_O = 0xCAFEBABE, 0xFEEDFACF
LOAD_LIBRARY, SYMBOLS, SIGNATURE, BUILD_VERSION, REQUIRED = 0xC, 0x2, 0x1D, 0x32, 0x80000000
MACOS = 1
# Whoever brings the C library brings these.
SYSTEM = "/usr/lib/libSystem.B.dylib"


class Problem(Exception):
    pass


def slices(data):
    """The program of each architecture."""
    if struct.unpack_from(">I", data)[0] != UNIVERSAL:
        raise Problem("the program is not universal")
    for index in range(struct.unpack_from(">I", data, 4)[0]):
        cpu, _, offset, size, _ = struct.unpack_from(">5I", data, 8 + 20 * index)
        yield ARCHITECTURES[cpu], data[offset:offset + size]


def text_at(data, offset):
    return data[offset:data.index(b"\0", offset)].decode()


def commands(program):
    magic, _, _, _, count = struct.unpack_from("<5I", program)
    if magic != MACH_O:
        raise Problem("not a 64-bit Mach-O program")
    at = 32
    for _ in range(count):
        command, size = struct.unpack_from("<2I", program, at)
        yield command & ~REQUIRED, at
        at += size


def undefined_symbols(program, at):
    """Each name that the program asks of a library, with the number of that library."""
    symbols, count, strings = struct.unpack_from("<3I", program, at + 8)
    for index in range(count):
        name, kind, _, description, _ = struct.unpack_from("<IBBHQ", program, symbols + 16 * index)
        is_external, type_ = kind & 0x01, kind & 0x0E
        if is_external and type_ == 0:
            yield text_at(program, strings + name), description >> 8


def signature_of(program, at):
    """What the signature says, with every page of the program held to its hash."""
    offset, size = struct.unpack_from("<2I", program, at + 8)
    blob = program[offset:offset + size]
    if struct.unpack_from(">I", blob)[0] != 0xFADE0CC0:
        raise Problem("the signature cannot be read")
    directory = blob[struct.unpack_from(">2I", blob, 12)[1]:]
    _, _, _, flags, hashes, _, _, pages, limit = struct.unpack_from(">9I", directory)
    hash_size, _, _, page_bits = struct.unpack_from(">4B", directory, 36)
    page = 1 << page_bits
    for index in range(pages):
        said = directory[hashes + hash_size * index:hashes + hash_size * (index + 1)]
        if said != hashlib.sha256(program[index * page:min((index + 1) * page, limit)]).digest():
            raise Problem(f"page {index} is not the one that was signed")
    return f"{'ad hoc' if flags & 2 else 'by somebody'}, {pages} pages"


def declared_names(stubs):
    """The names that the stubs have, by the library that they stand for."""
    names = {}
    for stub in stubs.rglob("*.tbd"):
        text = stub.read_text()
        library = re.search(r"install-name: '(.+)'", text)[1]
        listed = {kind: [name for name in re.split(r"[\s,]+", found) if name]
                  for kind, found in re.findall(r"(symbols|objc-classes|objc-eh-types): \[(.*?)\]", text)}
        names[library] = set(listed["symbols"]) | {
            f"_OBJC_{kind}_$_{name}" for name in listed["objc-classes"] for kind in ("CLASS", "METACLASS")} | {
            f"_OBJC_EHTYPE_$_{name}" for name in listed["objc-eh-types"]}
    return names


def check_program(architecture, program, declared):
    libraries, platform, symbols, signature = [], None, [], None
    for command, at in commands(program):
        if command in (LOAD_LIBRARY, 0x18, 0x1F):
            libraries.append(text_at(program, at + struct.unpack_from("<I", program, at + 8)[0]))
        elif command == BUILD_VERSION:
            platform, oldest = struct.unpack_from("<2I", program, at + 8)
        elif command == SYMBOLS:
            symbols = list(undefined_symbols(program, at))
        elif command == SIGNATURE:
            signature = signature_of(program, at)
    if platform != MACOS:
        raise Problem(f"{architecture}: not for macOS")
    if architecture == "arm64" and signature is None:
        raise Problem("arm64: not signed, and so not run by any Mac")
    used = dict.fromkeys(libraries, 0)
    for name, number in symbols:
        if not 1 <= number <= len(libraries):
            raise Problem(f"{architecture}: nobody has {name}")
        library = libraries[number - 1]
        used[library] += 1
        if library != SYSTEM and name not in declared.get(library, ()):
            raise Problem(f"{architecture}: {name} is not declared for {library}")
    print(f"{architecture}: {len(program):,} bytes, macOS {oldest >> 16}.{oldest >> 8 & 255} or later; "
          f"signed: {signature or 'no'}")
    for library, count in used.items():
        print(f"    {count:4} names of {library}")


def check_description(bundle, program):
    with open(bundle / "Contents/Info.plist", "rb") as file:
        info = plistlib.load(file)
    wanted = {"CFBundleIdentifier": "com.tamsworth.brindlerecorder", "CFBundleExecutable": program.name,
              "CFBundlePackageType": "APPL", "LSUIElement": True, "LSMinimumSystemVersion": "14.0"}
    for key, value in wanted.items():
        if info.get(key) != value:
            raise Problem(f"Info.plist: {key} is {info.get(key)}")
    for key in ("NSCameraUsageDescription", "NSMicrophoneUsageDescription"):
        if not info.get(key):
            raise Problem(f"Info.plist: without {key} the system ends the program")
    if not re.fullmatch(r"\d+(\.\d+)+", info["CFBundleShortVersionString"]):
        raise Problem("Info.plist: no version")
    print(f"{info['CFBundleName']} {info['CFBundleShortVersionString']}, {info['CFBundleIdentifier']}")


def main():
    bundle, stubs = Path(sys.argv[1]), Path(sys.argv[2])
    program = bundle / "Contents/MacOS/Brindle Recorder"
    try:
        check_description(bundle, program)
        found = []
        for architecture, one in slices(program.read_bytes()):
            check_program(architecture, one, declared_names(stubs))
            found.append(architecture)
        if sorted(found) != sorted(sys.argv[3:]):
            raise Problem(f"only for {', '.join(found)}")
    except Problem as problem:
        print(f"mac-check: {problem}", file=sys.stderr)
        return 1
    print("nothing unresolved, nothing that is not declared")
    return 0


if __name__ == "__main__":
    sys.exit(main())
