#!/usr/bin/env python3
"""Says how the tests of the macOS adapters are built over GNUstep: writes a build.ninja.
Usage: mac-tests.py FOLDER [SANITIZERS]
"""
import os
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
ADAPTERS = ROOT / "Sources/BrindleRecorderMac"
TESTS = ROOT / "Tests/Mac"
CONTRACT = ROOT / "Tests/Contract"

SUPPORT = ROOT / "Tests/Support/TemporaryFolder.cpp"
# Core and application as Linux's own tests are linked with them: they are tried with sanitizers there.
LIBRARIES = [ROOT / f"build/dev/Sources/{name}/lib{name}.a" for name in ("BrindleRecorderApp", "BrindleRecorderCore")]

OBJECTIVE_C = " ".join([
    "-fobjc-runtime=gcc", "-fblocks", "-fexceptions", "-fobjc-exceptions",
    "-fconstant-string-class=NSConstantString", "-D_NATIVE_OBJC_EXCEPTIONS", "-DGNUSTEP", "-DGNUSTEP_BASE_LIBRARY=1",
    "-DGNU_GUI_LIBRARY=1", f"-iframework {TESTS}/Declarations/Shared", "-isystem /usr/include/GNUstep",
    "-idirafter /usr/lib/gcc/x86_64-linux-gnu/12/include"])
WARNINGS = ("-Wall -Wextra -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wcast-qual "
            "-Woverloaded-virtual -Wno-four-char-constants -Wno-multichar -Wno-deprecated-declarations "
            "-Wno-incomplete-implementation -Wno-protocol")


def main():
    folder = Path(sys.argv[1])
    sanitizers = sys.argv[2] if len(sys.argv) > 2 else ""
    sanitize = f"-fsanitize={sanitizers} -fno-sanitize=vptr -fno-sanitize-recover=all" if sanitizers else ""
    common = (f"-gline-tables-only -O0 -fPIC -fno-omit-frame-pointer -pthread {sanitize} -DBRINDLE_STAND_IN "
              f"-I{ROOT}/Sources -I{ROOT}/Tests -I{TESTS} -I{TESTS}/GNUstep -isystem {TESTS}/Declarations/Shared/System")
    sources = [*ADAPTERS.rglob("*.mm"), *ADAPTERS.rglob("*.m"), *ADAPTERS.rglob("*.cpp"),
               *TESTS.glob("*.mm"), *(TESTS / "GNUstep").glob("*.mm"), *CONTRACT.glob("*.cpp"), SUPPORT]
    sources = sorted(source for source in sources if source.name != "main.mm")
    launcher = os.environ.get("BRINDLE_LAUNCHER", "")
    with open(folder / "build.ninja", "w", encoding="utf-8") as out:
        def rule(name, command):
            out.write(f"rule {name}\n  command = {command}\n  depfile = $out.d\n  deps = gcc\n  description = $in\n")

        c_plus_plus = f"{launcher} clang++ -std=c++20 {common} {WARNINGS} -MD -MF $out.d"
        rule("header", f"{c_plus_plus} -x objective-c++-header {OBJECTIVE_C} $in -o $out")
        rule("objectivecxx", f"{c_plus_plus} {OBJECTIVE_C} -include-pch prefix.pch -c $in -o $out")
        rule("objectivec", f"{launcher} clang {common} {OBJECTIVE_C} -Wall -Wextra -Werror -MD -MF $out.d -c $in -o $out")
        rule("cxx", f"{c_plus_plus} -c $in -o $out")
        out.write(f"rule link\n  command = clang++ -pthread {sanitize} $in -o $out $libraries\n  description = $out\n")
        out.write(f"build prefix.pch: header {TESTS}/GNUstep/Precompiled.h\n")
        objects = []
        for source in sources:
            name = f"{source.relative_to(ROOT)}.o".replace("/", "_")
            kind = {".mm": "objectivecxx", ".m": "objectivec", ".cpp": "cxx"}[source.suffix]
            out.write(f"build {name}: {kind} {source}{' | prefix.pch' if kind == 'objectivecxx' else ''}\n")
            objects.append(name)
        out.write(f"build MacTests: link {' '.join(objects)} {' '.join(map(str, LIBRARIES))}\n"
                  "  libraries = -lgtest -lgmock -lfmt -lBlocksRuntime -lgnustep-gui -lgnustep-base -lobjc\n")


if __name__ == "__main__":
    main()
