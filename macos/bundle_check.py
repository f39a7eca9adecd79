"""Inspects a built Quelto.app the way a Mac would judge it, with LLVM's Mach-O tools (or
Apple's own): its architectures, each slice's minimum macOS, the libraries it loads, the
arm64 signature, unresolved symbols, Info.plist and the resources the app looks up by name.

Used by scripts/check-macos; every function returns a list of problems, empty when all is well.
"""

import plistlib
import xml.parsers.expat
import re
import subprocess
import tempfile
from pathlib import Path

MINIMUM_MACOS = "13.0"
ALLOWED_LIBRARIES = ("/usr/lib/libSystem.B.dylib", "/usr/lib/libc++.1.dylib",
                     "/usr/lib/libobjc.A.dylib")
ALLOWED_LIBRARY_FOLDER = "/System/Library/Frameworks/"
# The images the status item and the About tab load by name.
RESOURCES = ("menubar-active.png", "menubar-active@2x.png", "menubar-paused.png",
             "menubar-paused@2x.png")


def run(command):
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} failed:\n{result.stderr.strip()}")
    return result.stdout


def architectures(lipo, binary):
    return run([lipo, "-archs", str(binary)]).split()


def load_commands(otool, binary):
    """A thin binary's load commands as a list of {field: value} dictionaries."""
    commands, current = [], None
    for line in run([otool, "-l", str(binary)]).splitlines():
        words = line.split(None, 1)
        if not words:
            continue
        if words[0] == "cmd":
            current = {"cmd": words[1].strip() if len(words) > 1 else ""}
            commands.append(current)
        elif current is not None and len(words) == 2:
            current.setdefault(words[0], words[1].strip())
    return commands


def minimum_macos(commands):
    for command in commands:
        if command["cmd"] == "LC_BUILD_VERSION":
            return command.get("minos")
        if command["cmd"] == "LC_VERSION_MIN_MACOSX":
            return command.get("version")
    return None


def linked_libraries(otool, binary):
    lines = run([otool, "-L", str(binary)]).splitlines()[1:]
    return [line.strip().split(" (compatibility")[0] for line in lines if line.strip()]


def check_slice(lipo_arch, commands, libraries):
    problems = []
    minos = minimum_macos(commands)
    if minos != MINIMUM_MACOS:
        problems.append(f"the {lipo_arch} slice's minimum macOS is {minos or 'not recorded'}, "
                        f"not {MINIMUM_MACOS}")
    for library in libraries:
        if not (library.startswith(ALLOWED_LIBRARY_FOLDER) or library in ALLOWED_LIBRARIES):
            problems.append(f"the {lipo_arch} slice loads {library}, which a Mac does not have "
                            "(only system frameworks, libSystem, libc++ and libobjc may be loaded)")
    if lipo_arch == "arm64" and not any(c["cmd"] == "LC_CODE_SIGNATURE" for c in commands):
        problems.append("the arm64 slice has no code signature (macOS refuses to run it)")
    return problems


def check_symbols(nm, binary, arch):
    """Undefined symbols that no library provides (looked up only at run time)."""
    output = run([nm, "-m", "-u", str(binary)])
    lost = [line.split("external", 1)[-1].strip() for line in output.splitlines()
            if "dynamically looked up" in line or re.search(r"\(undefined\)(?!.*\(from )", line)]
    return [f"the {arch} slice leaves {name} undefined" for name in lost]


def check_binary(tools, binary, expected_archs):
    problems = []
    archs = architectures(tools["lipo"], binary)
    if sorted(archs) != sorted(expected_archs):
        problems.append(f"{binary.name} holds {' '.join(archs) or 'nothing'}, "
                        f"not {' '.join(expected_archs)}")
    # Each slice on its own: LLVM's otool reads only the first slice of a universal binary.
    with tempfile.TemporaryDirectory() as scratch:
        for arch in archs:
            thin = binary
            if len(archs) > 1:
                thin = Path(scratch) / arch
                run([tools["lipo"], "-thin", arch, str(binary), "-output", str(thin)])
            problems += check_slice(arch, load_commands(tools["otool"], thin),
                                    linked_libraries(tools["otool"], thin))
            problems += check_symbols(tools["nm"], thin, arch)
    return problems


def check_info_plist(app, expected):
    """`expected`: the values the build configured (executable, identifier, versions,
    copyright)."""
    path = app / "Contents" / "Info.plist"
    try:
        with open(path, "rb") as f:
            info = plistlib.load(f)
    except (OSError, ValueError, plistlib.InvalidFileException, xml.parsers.expat.ExpatError) as error:
        return [f"Info.plist does not parse: {error}"]
    if not isinstance(info, dict):
        return ["Info.plist is not a dictionary"]
    problems = []

    def want(key, value):
        if key not in info:
            problems.append(f"Info.plist lacks {key}")
        elif info[key] != value:
            problems.append(f"Info.plist's {key} is {info[key]!r}, not {value!r}")

    want("CFBundleExecutable", expected["executable"])
    want("CFBundleIdentifier", expected["identifier"])
    want("CFBundleShortVersionString", expected["version"])
    want("CFBundleVersion", expected["build"])
    want("LSMinimumSystemVersion", MINIMUM_MACOS)
    want("LSUIElement", True)
    want("NSHumanReadableCopyright", expected["copyright"])
    executable = info.get("CFBundleExecutable")
    if isinstance(executable, str) and not (app / "Contents" / "MacOS" / executable).is_file():
        problems.append(f"Contents/MacOS/{executable}, named by CFBundleExecutable, is missing")
    icon = info.get("CFBundleIconFile")
    if not isinstance(icon, str) or not icon:
        problems.append("Info.plist lacks CFBundleIconFile")
    else:
        name = icon if icon.endswith(".icns") else icon + ".icns"
        if not (app / "Contents" / "Resources" / name).is_file():
            problems.append(f"the icon Contents/Resources/{name} is missing")
    return problems


def check_resources(app):
    return [f"the status image Contents/Resources/{name} is missing" for name in RESOURCES
            if not (app / "Contents" / "Resources" / name).is_file()]


def check_app(tools, app, expected, archs):
    binary = app / "Contents" / "MacOS" / expected["executable"]
    if not binary.is_file():
        return [f"{binary.relative_to(app.parent)} is missing"]
    return (check_binary(tools, binary, archs) + check_info_plist(app, expected) +
            check_resources(app))
