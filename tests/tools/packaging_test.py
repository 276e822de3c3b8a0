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


def verbs(*above):
    """The words of a verb, and of what stands below it: ("model",), ("model", "add")."""
    for word in re.findall(r"^  ([a-z]+)  ", output(VESTO, *above, "--help").partition("Commandes:")[2], re.MULTILINE):
        yield (*above, word)
        yield from verbs(*above, word)


def options_of(verb):
    return set(re.findall(r"^  .*?--([a-z-]+)", output(VESTO, *verb, "--help").split("Options:")[1], re.MULTILINE))


def bash_offers(words):
    script = PACKAGING / "completions" / "vesto.bash"
    function = "_" + words[0].replace("-", "_")
    return output("bash", "-c", f'compopt() {{ :; }}; source "{script}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
                  f'{function}; echo "${{COMPREPLY[*]}}"', "bash", *words).split()


class Packaging(unittest.TestCase):
    def test_descriptions_are_valid(self):
        for words in (["desktop-file-validate", PACKAGING / "fr.vesto.Vesto.desktop"],
                      ["appstreamcli", "validate", "--no-net", "--pedantic", PACKAGING / "fr.vesto.Vesto.metainfo.xml"],
                      ["bash", "-n", PACKAGING / "completions" / "vesto.bash"]):
            done = subprocess.run(words, capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_manuals_and_completions_know_every_verb_and_option(self):
        known = list(verbs())
        self.assertGreater(len(known), 30)
        texts = [(path, path.read_text().replace("\\-", "-"))
                 for path in (*(PACKAGING / "completions" / name for name in ("_vesto", "vesto.fish")),
                              PACKAGING / "man" / "vesto.1", PACKAGING / "man" / "fr" / "vesto.1")]
        for verb in known:
            options = options_of(verb)
            with self.subTest(verb=verb, path="vesto.bash"):
                self.assertIn(verb[-1], bash_offers(["vesto", *verb[:-1], verb[-1][:1]]))
                self.assertEqual(set(bash_offers(["vesto", *verb, "--"])), {f"--{name}" for name in options})
            for path, text in texts:
                with self.subTest(verb=verb, path=path.name):
                    self.assertRegex(text, rf"\b{verb[-1]}\b")
                    # fish writes "-l option".
                    missing = [name for name in options if not re.search(rf"(--|-l ){name}\b", text)]
                    self.assertEqual(missing, [])

    def test_bash_completes_values(self):
        for words, expected in (("vesto settings set ge", "genericOnly"), ("vesto batch --also no", "no-title"),
                                ("vesto-desktop --hi", "--hidden")):
            self.assertIn(expected, bash_offers(words.split()), words)


if __name__ == "__main__":
    unittest.main()
