#!/usr/bin/env python3
"""What is installed beside the programs, held against them:  packaging_test.py VESTO SOURCE_FOLDER"""
import pathlib
import re
import subprocess
import sys
import unittest

VESTO, SOURCE = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
PACKAGING = SOURCE / "packaging"


def output(*words):
    return subprocess.run(words, capture_output=True, text=True, check=True).stdout


def verbs():
    return re.findall(r"^  ([a-z]+)  ", output(VESTO, "--help").split("Commandes:")[1], re.MULTILINE)


class Packaging(unittest.TestCase):
    def test_descriptions_are_valid(self):
        for words in (["desktop-file-validate", PACKAGING / "fr.vesto.Vesto.desktop"],
                      ["appstreamcli", "validate", "--no-net", "--pedantic", PACKAGING / "fr.vesto.Vesto.metainfo.xml"],
                      ["bash", "-n", PACKAGING / "completions" / "vesto.bash"]):
            done = subprocess.run(words, capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_manuals_and_completions_know_every_verb_and_option(self):
        self.assertGreater(len(verbs()), 10)
        completions = [(path, path.read_text()) for path in (PACKAGING / "completions").iterdir()]
        manuals = [(path, path.read_text().replace("\\-", "-"))
                   for path in (PACKAGING / "man" / "vesto.1", PACKAGING / "man" / "fr" / "vesto.1")]
        self.assertEqual((len(completions), len(manuals)), (3, 2))
        for verb in verbs():
            options = set(re.findall(r"--([a-z-]+)", output(VESTO, verb, "--help").split("Options:")[1]))
            for path, text in completions + manuals:
                with self.subTest(verb=verb, path=path.name):
                    self.assertRegex(text, rf"\b{verb}\b")
                    # fish writes "-l option".
                    missing = [name for name in options if not re.search(rf"(--|-l ){name}\b", text)]
                    self.assertEqual(missing, [])

    def test_bash_completes(self):
        script = PACKAGING / "completions" / "vesto.bash"
        for words, expected in (("vesto ba", "batch"), ("vesto folders au", "auto"), ("vesto accept --ti", "--title"),
                                ("vesto settings set ge", "genericOnly"), ("vesto batch --also no", "no-title"),
                                ("vesto-desktop --hi", "--hidden")):
            parts = words.split()
            function = "_" + parts[0].replace("-", "_")
            done = output("bash", "-c", f'compopt() {{ :; }}; source "{script}"; COMP_WORDS=({words}); '
                          f'COMP_CWORD={len(parts) - 1}; {function}; echo "${{COMPREPLY[*]}}"')
            self.assertIn(expected, done.split(), words)


if __name__ == "__main__":
    unittest.main()
