#!/usr/bin/env python3
"""Feeds tools/check_rooms.py small bad trees and looks for the finding."""
import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/check_rooms.py")


def findings(tree):
    """Status and printed lines for a tree given as {path: source}."""
    with tempfile.TemporaryDirectory() as root:
        for path, source in tree.items():
            full = os.path.join(root, path)
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w", encoding="utf-8") as stream:
                stream.write(source)
        done = subprocess.run([sys.executable, PROGRAM, root], capture_output=True, text=True, check=False)
        return done.returncode, done.stdout.splitlines()


class CheckRooms(unittest.TestCase):
    def test_what_is_refused(self):
        empty = "#pragma once\n"
        header = "core/extraction/readers/Zip.h"
        rows = [
            # the tree, where the finding must stand, a word of it
            ({"core/naming/A.cpp": f'\n#include "{header}"\n', header: empty}, "core/naming/A.cpp:2", "must not"),
            ({"services/ipc/A.cpp": f'#include "{header}"\n', header: empty}, "services/ipc/A.cpp:1", "must not"),
            ({"core/files/A.cpp": '#include "cli/B.h"\n', "cli/B.h": empty}, "core/files/A.cpp:1", "must not"),
            ({"app/views/A.cpp": f'#include "{header}"\n', header: empty}, "app/views/A.cpp:1", "must not"),
            ({"cli/A.cpp": '#include "B.h"\n', "cli/B.h": empty}, "cli/A.cpp:1", "from the root"),
            ({"cli/A.cpp": '#include "cli/Gone.h"\n'}, "cli/A.cpp:1", "name a file"),
            ({"core/naming/A.cpp": "#include <unicode/uchar.h>\n"}, "core/naming/A.cpp:1", "ICU"),
            ({"core/support/Unicode.h": "#include <unicode/uchar.h>\n"}, "core/support/Unicode.h:1", ".cpp"),
            ({"core/support/Json.h": "#include <nlohmann/json.hpp>\n"}, "core/support/Json.h:1", ".cpp"),
            ({"cli/A.cpp": '#include "core/extraction/readers/B.h"\n', "core/extraction/readers/B.h": empty},
             "cli/A.cpp:1", "must not"),
            ({"cli/A.cpp": "#include <poppler-document.h>\n"}, "cli/A.cpp:1", "parsing"),
            ({"cli/A.cpp": "#include <poppler/cpp/poppler-document.h>\n"}, "cli/A.cpp:1", "parsing"),
            ({"core/files/A.cpp": "#include <zlib.h>\n"}, "core/files/A.cpp:1", "parsing"),
            ({"core/files/A.cpp": "#include <QString>\n"}, "core/files/A.cpp:1", "Qt"),
            ({"core/files/A.cpp": "#include <QtCore/qstring.h>\n"}, "core/files/A.cpp:1", "Qt"),
            ({"core/files/A.cpp": "#include <CLI/CLI.hpp>\n"}, "core/files/A.cpp:1", "CLI11"),
            ({"core/files/A.cpp": "#include <curl/curl.h>\n"}, "core/files/A.cpp:1", "foreign"),
            ({"core/files/A.cpp": "#include <netdb.h>\n"}, "core/files/A.cpp:1", "foreign"),
            ({"core/files/A.cpp": "#  include <regex>\n"}, "core/files/A.cpp:1", "UnicodePattern"),
            ({"core/files/A.cpp": "#include <locale>\n"}, "core/files/A.cpp:1", "Locale"),
            ({"core/files/A.cpp": "/* a\n b */ int x = std::tolower ('A');\n"}, "core/files/A.cpp:2", "tolower"),
            ({"core/files/A.cpp": "bool b = isalpha(c);\n"}, "core/files/A.cpp:1", "isalpha"),
            ({"core/files/A.cpp": "int n = 1'000; auto k = strftime(b, n, f, t);\n"}, "core/files/A.cpp:1", "strftime"),
            ({"core/files/A.cpp": "std::regex r;\n"}, "core/files/A.cpp:1", "std::regex"),
            ({"core/files/A.cpp": "::rename(a, b);\n"}, "core/files/A.cpp:1", "exclusive"),
            ({"core/files/A.cpp": "std::filesystem::rename(a, b);\n"}, "core/files/A.cpp:1", "exclusive"),
            ({"core/A.h": '#include "core/B.h"\n', "core/B.h": '\n#include "core/C.h"\n',
              "core/C.h": '#include "core/B.h"\n'}, "core/B.h:2", "cycle"),
            ({"core/A.h": '#include "core/A.h"\n'}, "core/A.h:1", "cycle"),
            ({"services/A.cpp": ""}, "services/A.cpp:1", "no room"),
        ]
        for tree, place, word in rows:
            with self.subTest(place=place, word=word):
                status, lines = findings(tree)
                self.assertEqual(status, 1)
                self.assertEqual(len(lines), 1, lines)
                self.assertTrue(lines[0].startswith(place + ": "), lines)
                self.assertIn(word, lines[0])

    def test_what_is_allowed(self):
        tree = {
            "core/support/Unicode.cpp": '#include "core/support/Unicode.h"\n#include <unicode/uchar.h>\n'
                                        "bool b = u_isalpha(c); // not isalpha(c)\n",
            "core/support/Unicode.h": "#pragma once\n#include <nlohmann/json_fwd.hpp>\n#include <string>\n",
            "core/naming/A.cpp": '#include "core/files/B.h"\n#include <fmt/format.h>\n#include <sys/stat.h>\n'
                                 'const char* s = "std::regex"; /*\n#include <regex>\n*/\n'
                                 "auto r = Renamer::rename(a); renamer.rename(b);\n",
            "core/naming/A.h": '#include "core/files/B.h"\n',
            "core/files/B.h": '#include "core/support/Unicode.h"\n',
            "core/extraction/readers/Zip.cpp": '#include "core/files/B.h"\n#include <zlib.h>\n'
                                               'auto t = R"x(\n#include <regex>\nstd::regex)x";\n',
            "core/extraction/readers/Zip.h": "#pragma once\n",
            "cli/main.cpp": '#include "services/client/Remote.h"\n#include <CLI/CLI.hpp>\n',
            "services/client/Remote.h": "",
            "tests/core/A.cpp": '#include "core/extraction/readers/Zip.h"\n#include <gtest/gtest.h>\n'
                                "std::filesystem::rename(a, b);\n",
        }
        self.assertEqual(findings(tree), (0, []))


if __name__ == "__main__":
    unittest.main()
