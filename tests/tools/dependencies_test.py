#!/usr/bin/env python3
"""The programs for people link no parser:  dependencies_test.py READER PROGRAM…

READER is the one program that does; the same look at it must find them. What takes long to load stands in its
modules and not in READER itself.
"""
import os
import re
import subprocess
import sys

# What a program may need of its own. A parser that is not named here is refused like any other library.
ALLOWED = re.compile(
    r"lib(c|m|stdc\+\+|gcc_s|pthread|dl|rt|icu(uc|i18n|data)|fmt|seccomp|asan|ubsan|tsan|Qt[0-9A-Za-z]+|sqlite3|xcb)\.so[.0-9]*$"
    r"|ld-linux[-a-z0-9_.]*$")


# What each module beside READER is there to hold.
MODULES = {
    "vesto-pictures.so": ("tesseract", "lept", "heif", "exiv2"),
    "vesto-labels.so": ("opencv_dnn",),
    "vesto-media.so": ("avcodec", "avformat"),
}


def needed(program):
    out = subprocess.run(["readelf", "-d", program], capture_output=True, text=True, check=True).stdout
    return re.findall(r"\(NEEDED\)[^\[]*\[([^\]]+)\]", out)


def has_readers(program):
    """Whether code of the readers' own room is in it, by the names that debug and type information leave."""
    with open(program, "rb") as stream:
        return b"5vesto7readers" in stream.read()


def main():
    reader, programs = sys.argv[1], sys.argv[2:]
    refused = [library for library in needed(reader) if not ALLOWED.match(library)]
    if not any("poppler" in library for library in refused) or not has_readers(reader):
        sys.exit(f"{reader}: its parsers were not found, so this test finds nothing: {refused}")
    status = 0
    own = " ".join(needed(reader))
    for module, names in MODULES.items():
        libraries = " ".join(needed(os.path.join(os.path.dirname(reader), module)))
        for name in names:
            if f"lib{name}." not in libraries:
                print(f"{module}: {name} was not found")
                status = 1
            if f"lib{name}." in own:
                print(f"{reader}: loads {name} at its start, which {module} is there to put off")
                status = 1
    for program in programs:
        libraries = needed(program)
        if not libraries:
            sys.exit(f"{program}: no dependencies were found")
        for library in libraries:
            if not ALLOWED.match(library):
                print(f"{program}: depends on {library}")
                status = 1
        if has_readers(program):
            print(f"{program}: contains readers")
            status = 1
    sys.exit(status)


main()
