#!/usr/bin/env python3
"""Fails where a source file reaches into a room that it must not know.

    tools/check_rooms.py [ROOT]

Prints one line "file:line: what is wrong" for each finding; status 1 where there is any. It looks at
#include lines and at the names that are called; it does not preprocess, so an #include under #if counts.
"""
import os
import re
import sys

# A room is a folder; the longest entry that begins a path decides. The value: the rooms it may include besides
# itself. What is absent is forbidden.
ROOMS = {
    "core": (),
    "core/extraction/readers": ("core",),
    "services/ipc": ("core",),
    "services/sandbox": (),
    "services/client": ("services/ipc", "core"),
    "services/reader": ("core/extraction/readers", "services/ipc", "services/sandbox", "core"),
    "services/model": ("services/ipc", "services/sandbox", "core"),
    "app/model": ("core", "services/client"),
    "app/platform": ("app/model", "core"),
    "app/views": ("app/model", "core"),
    # The sandbox for its refusal of the network.
    "app": ("app/model", "app/platform", "app/views", "services/client", "services/ipc", "services/sandbox", "core"),
    # The sandbox for its refusal of the network.
    "cli": ("app/model", "services/client", "services/ipc", "services/sandbox", "core"),
    "tests": ("*",),
    "fuzz": ("*",),
    "bench": ("*",),
}
ROOTS = ("core", "services", "app", "cli", "tests", "fuzz", "bench")

READERS = ("core/extraction/readers/", "tests/readers/", "fuzz/", "bench/")
QT = ("app/", "tests/app/", "tests/views/", "tests/screenshots/", "tests/platform/", "tests/desktop/", "bench/")
# Foreign headers: pattern of the name between the brackets, the path prefixes that may include it, and why.
FOREIGN = [
    (r"unicode/", ("core/support/Unicode", "core/support/Charset", "tests/core/"),
     "ICU stays in core/support/Unicode*.cpp and Charset.cpp"),
    (r"(zlib|expat)\.h$|poppler|tesseract/|leptonica/|libheif/|exiv2/|opencv2/|libav|libsw|gmime/|libetonyek/|librevenge", READERS, "parsing libraries stay in core/extraction/readers"),
    (r"Q[A-Z]|Qt", QT, "Qt stays in app"),
    (r"sqlite3\.h$", ("app/model/", "tests/app/"), "SQLite stays in app/model"),
    (r"seccomp\.h$|linux/(landlock|seccomp)\.h$", ("services/sandbox/", "tests/"),
     "the sandbox stays in services/sandbox"),
    (r"dlfcn\.h$", ("services/reader/modules/", "services/model/"),
     "modules are loaded in services/reader/modules; the language model's engine names its folder"),
    (r"(llama|ggml|gguf|whisper)", ("services/model/", "tests/model/"), "the models' engines stay in services/model"),
    (r"xcb/", ("app/platform/",), "X11 stays in app/platform"),
    (r"CLI/", ("cli/",), "CLI11 stays in cli"),
    (r"(gtest|gmock)/", ("tests/",), "GoogleTest stays in tests"),
    (r"benchmark/", ("bench/",), "Google Benchmark stays in bench"),
    (r"(fmt|nlohmann)/", ("",), ""),
]
FOREIGN = [(re.compile(pattern), places, why) for pattern, places, why in FOREIGN]
# These slow every file that includes them, and tie a room's users to its library.
NOT_IN_HEADERS = re.compile(r"fmt/|nlohmann/(?!json_fwd\.hpp$)|unicode/|CLI/|poppler|zlib\.h$|expat\.h$|tesseract/|leptonica/|libheif/|exiv2/|opencv2/|libav|libsw|gmime/|lib(etonyek|revenge)")

STANDARD = re.compile(r"[a-z][a-z0-9_]*$")
POSIX = re.compile(
    r"(sys|linux)/[a-z_]+\.h$"
    r"|(unistd|fcntl|dirent|errno|poll|pwd|sched|signal|spawn|stdlib|string|time|stdio|pthread|mntent|malloc|ucontext)\.h$")
FORBIDDEN_HEADERS = {
    "regex": "use core/support/UnicodePattern.h",
    "locale": "use core/support/Unicode.h and Locale.h",
    "clocale": "use core/support/Locale.h",
    "codecvt": "use core/support/Charset.h",
    "cctype": "use core/support/Unicode.h",
    "cwctype": "use core/support/Unicode.h",
}
UNICODE = "depends on the process's locale and knows bytes only; use core/support/Unicode.h"
# Names that are not called: pattern, and what to do instead.
FORBIDDEN_NAMES = [
    (r"\b(?:is(?:alpha|alnum|digit|xdigit|space|blank|punct|upper|lower|cntrl|print|graph)|to(?:lower|upper)"
     r"|isw(?:alpha|alnum|digit|space|punct|upper|lower)|tow(?:lower|upper)|strcasecmp|strncasecmp)\s*\(", UNICODE),
    (r"\b(?:strftime|wcsftime|strptime)\s*\(|\bstd::(?:put_time|get_time)\b", "use core/support/UnicodeDates.h"),
    (r"\bstd::(?:basic_)?w?regex\w*", "use core/support/UnicodePattern.h"),
    (r"\bstd::locale\b|\bsetlocale\s*\(", "use core/support/Locale.h"),
    (r"\bstd::wstring_convert\b", "use core/support/Charset.h"),
    (r"\bstd::system\s*\(|\bpopen\s*\(", "Vesto starts no other program"),
]
FORBIDDEN_NAMES = [(re.compile(pattern), why) for pattern, why in FORBIDDEN_NAMES]
# A plain rename replaces its target. Tests may play the other program that does; and a file system that knows no
# exclusive rename leaves nothing else to move a file aside, to a name that nobody can guess. Settings are Vesto's own.
RENAME_PLACES = ("tests/", "core/files/Disk.cpp", "core/support/OwnFile.cpp")
RENAMES = re.compile(r"\bstd::(?:filesystem::)?rename\s*\(|(?<![\w>])::rename(?:at)?\s*\(|\brenameat\s*\(")

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">\n]+)[">]', re.MULTILINE)
LEXEMES = re.compile(
    r'R"(?P<raw>[^ ()\\\t\n]{0,16})\(.*?\)(?P=raw)"'
    r"|//[^\n]*|/\*.*?\*/"
    r'|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'",
    re.DOTALL)


def without_comments(source, strings):
    """The source with comments and raw strings blanked, line numbers kept; strings and characters too where not
    `strings` (an #include needs them)."""
    def blank(match):
        lexeme = match.group()
        if strings and lexeme[0] in "\"'":
            return lexeme
        return " " + "\n" * lexeme.count("\n")
    return LEXEMES.sub(blank, source)


def line_of(source, offset):
    return source.count("\n", 0, offset) + 1


def room_of(path):
    """The room of a path, or None for a file that stands in no room."""
    parts = path.split("/")[:-1]
    for length in range(len(parts), 0, -1):
        if "/".join(parts[:length]) in ROOMS:
            return "/".join(parts[:length])
    return None


def check_include(path, kind, name, files):
    """What is wrong with one #include, or None."""
    header = path.endswith(".h")
    if kind == '"':
        if name.split("/")[0] not in ROOTS or name not in files:
            return f'"{name}": includes are written from the root and name a file of the project'
        mine, theirs = room_of(path), room_of(name)
        allowed = ROOMS[mine]
        if mine != theirs and theirs not in allowed and "*" not in allowed:
            return f'"{name}": {mine} must not include {theirs}'
        return None
    if name in FORBIDDEN_HEADERS:
        return f"<{name}>: {FORBIDDEN_HEADERS[name]}"
    if header and NOT_IN_HEADERS.match(name) and not path.startswith(("tests/", "fuzz/", "bench/")):
        return f"<{name}>: only in .cpp files"
    for pattern, places, why in FOREIGN:
        if pattern.match(name):
            return None if path.startswith(places) else f"<{name}>: {why}"
    if STANDARD.match(name) or POSIX.match(name):
        return None
    return f"<{name}>: a foreign header that no room is allowed; see FOREIGN in tools/check_rooms.py"


def check_names(path, source):
    """Findings (line, text) of names that are not called."""
    rules = list(FORBIDDEN_NAMES)
    if not path.startswith(RENAME_PLACES):
        rules.append((RENAMES, "replaces an existing file; use the exclusive rename of core/files"))
    if not any(pattern.search(source) for pattern, _ in rules):
        return
    code = without_comments(source, strings=False)
    for pattern, why in rules:
        for match in pattern.finditer(code):
            yield line_of(code, match.start()), f"{match.group().rstrip('( ')}: {why}"


def find_cycle(graph):
    """The first cycle of headers as a list of paths that ends where it begins, or None."""
    done, trail, on_trail = set(), [], set()
    for start in sorted(graph):
        stack = [(start, iter(graph[start]))] if start not in done else []
        if stack:
            trail, on_trail = [start], {start}
        while stack:
            node, following = stack[-1]
            target = next(following, None)
            if target is None:
                stack.pop()
                done.add(node)
                on_trail.discard(trail.pop())
            elif target in on_trail:
                return trail[trail.index(target):] + [target]
            elif target not in done and target in graph:
                stack.append((target, iter(graph[target])))
                trail.append(target)
                on_trail.add(target)
    return None


def source_files(root):
    for folder in ROOTS:
        for directory, _, names in os.walk(os.path.join(root, folder)):
            for name in names:
                if name.endswith((".h", ".cpp")):
                    yield os.path.relpath(os.path.join(directory, name), root)


def check(root):
    """Every finding as "file:line: text"."""
    files = set(source_files(root))
    findings, graph, lines = [], {}, {}
    for path in sorted(files):
        with open(os.path.join(root, path), encoding="utf-8", errors="replace") as stream:
            source = stream.read()
        if room_of(path) is None:
            findings.append(f"{path}:1: stands in no room")
            continue
        code = without_comments(source, strings=True) if "/*" in source or 'R"' in source else source
        graph[path] = []
        for match in INCLUDE.finditer(code):
            line = line_of(code, match.start())
            problem = check_include(path, match.group(1), match.group(2), files)
            if problem:
                findings.append(f"{path}:{line}: {problem}")
            if match.group(1) == '"':
                graph[path].append(match.group(2))
                lines[path, match.group(2)] = line
        findings += [f"{path}:{line}: {text}" for line, text in check_names(path, source)]
    cycle = find_cycle({path: [t for t in targets if t.endswith(".h")]
                        for path, targets in graph.items() if path.endswith(".h")})
    if cycle:
        findings.append(f"{cycle[0]}:{lines[cycle[0], cycle[1]]}: cycle of headers: {' -> '.join(cycle)}")
    return findings


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    findings = check(root)
    for finding in findings:
        print(finding)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
