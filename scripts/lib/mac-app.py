#!/usr/bin/env python3
"""Says how the macOS application is built without a Mac, for one architecture: writes a build.ninja.
Usage: mac-app.py FOLDER ARCHITECTURE COMPILER STUBS   (arm64, x86_64)
"""
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
SOURCES = ROOT / "Sources"
DECLARATIONS = ROOT / "Tests/Mac/Declarations"
# The oldest system that the adapters' frameworks allow.
TARGETS = {"arm64": "aarch64-macos.14.0", "x86_64": "x86_64-macos.14.0"}
WARNINGS = ("-Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor "
            "-Wcast-qual -Wunused -Woverloaded-virtual")
OBJECTIVE_C = ("-fno-objc-arc -fblocks -fno-objc-convert-messages-to-runtime-calls -Wno-four-char-constants "
               "-Wno-multichar -Wno-gnu-statement-expression -Wno-gnu-zero-variadic-macro-arguments")
LIBRARIES = ["fmt", "nlohmann", "tl"]  # of headers alone; libstdc++'s and glibc's beside them must not come along


def main():
    folder, architecture, compiler, stubs = Path(sys.argv[1]), sys.argv[2], sys.argv[3], Path(sys.argv[4])
    include = folder / "include"
    include.mkdir(parents=True, exist_ok=True)
    for library in LIBRARIES:
        link = include / library
        if not link.is_symlink():
            link.symlink_to(f"/usr/include/{library}")
    common = (f"-target {TARGETS[architecture]} -O1 -g1 -I{SOURCES} -isystem {include} "
              f"-isystem {DECLARATIONS}/Shared/System -DFMT_HEADER_ONLY {WARNINGS}")
    frameworks = sorted(stub.stem for stub in stubs.glob("*.framework"))
    objective_c = f"{OBJECTIVE_C} -iframework {DECLARATIONS}/Mac -iframework {DECLARATIONS}/Shared"
    parts = ["BrindleRecorderCore", "BrindleRecorderApp", "BrindleRecorderMac"]
    sources = sorted(path for part in parts for path in (SOURCES / part).rglob("*")
                     if path.suffix in (".cpp", ".mm", ".m"))
    with open(folder / "build.ninja", "w", encoding="utf-8") as out:
        def rule(name, command):
            out.write(f"rule {name}\n  command = {command}\n  depfile = $out.d\n  deps = gcc\n  description = $in\n")

        tail = "-MD -MF $out.d -c $in -o $out"
        rule("cxx", f"{compiler} c++ -std=c++20 {common} -Wold-style-cast {tail}")
        rule("objectivecxx", f"{compiler} c++ -std=c++20 {common} {objective_c} {tail}")
        rule("objectivec", f"{compiler} cc {common} {objective_c} {tail}")
        # A stub that lacks a name may yield an empty file.
        out.write(f"rule link\n  command = {compiler} c++ -target {TARGETS[architecture]} $in -o $out -F{stubs} "
                  f"-L{stubs} -lobjc {' '.join('-framework ' + name for name in frameworks)} && [ -s $out ]\n"
                  "  description = $out\n")
        objects = []
        for source in sources:
            name = f"{source.relative_to(SOURCES)}.o".replace("/", "_")
            kind = {".mm": "objectivecxx", ".m": "objectivec", ".cpp": "cxx"}[source.suffix]
            out.write(f"build {name}: {kind} {source}\n")
            objects.append(name)
        out.write(f"build program: link {' '.join(objects)}\n")


if __name__ == "__main__":
    main()
