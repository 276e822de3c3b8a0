#!/usr/bin/env python3
"""A language model's way through the command line, with models of our own:  titles_test.py VESTO MAKE_LANGUAGE_MODEL"""
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

VESTO, MAKE = sys.argv.pop(1), sys.argv.pop(1)
INVOICE = "Énergie du Val EDF\nFacture d'électricité\nDate de facture : 12/10/2026\nMontant 84,20 €\n"


class Titles(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        self.models = self.home / "data" / "vesto" / "models"
        self.environment = dict(os.environ, XDG_DATA_HOME=str(self.home / "data"),
                                XDG_CONFIG_HOME=str(self.home / "config"), LC_ALL="C")

    def make(self, name, *words):
        subprocess.run([MAKE, self.home / name, *words], check=True, stdout=subprocess.DEVNULL)
        return self.home / name

    def vesto(self, *words):
        return subprocess.run([VESTO, *words], env=self.environment, capture_output=True, text=True, check=False)

    def files(self, count):
        folder = self.home / "files"
        folder.mkdir()
        for number in range(count):
            (folder / f"scan{number:04}.txt").write_text(INVOICE, encoding="utf-8")
        return folder

    def test_adds_what_answers_and_names_with_it(self):
        for name, words, why in (("cut.gguf", ("--says", 'Titre|"', "--cut", "1000"), "tronqué"),
                                 ("endless.gguf", ("--says", "Fact|ure"), "pas donné de titre"),
                                 ("german.gguf", ("--says", 'Titre|"', "--languages", "de"), "Langue")):
            done = self.vesto("model", "add", self.make(name, *words))
            self.assertEqual(done.returncode, 1, name)
            self.assertIn(why, done.stderr)
        self.assertFalse(self.models.exists())

        good = self.make("good.gguf", "--says", 'Facture| Edf|"', "--languages", "fr")
        done = self.vesto("model", "add", good)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([path.name for path in self.models.iterdir()], ["good.gguf"])
        self.assertEqual(self.vesto("model", "add", good).returncode, 1)

        files = self.files(1)
        record = json.loads(self.vesto("name", "--json", files).stdout)["proposal"]
        self.assertEqual((record["source"], record["title"]), ("model", "Facture EDF octobre 2026"))
        tried = json.loads(self.vesto("model", "test", "--json", files).stdout)
        self.assertEqual(tried["title"], "Facture EDF octobre 2026")
        self.assertEqual(tried["tokens"], 3)
        self.assertGreater(tried["seconds"], 0)
        self.assertNotEqual(tried["fallback"], tried["title"])

        self.vesto("model", "off")
        self.assertEqual(json.loads(self.vesto("name", "--json", files).stdout)["proposal"]["source"], "fallback")
        self.vesto("model", "on")
        (self.models / "good.gguf").write_bytes(b"GGUF and no model any more")
        done = self.vesto("name", "--json", files)
        self.assertEqual(done.returncode, 0)
        self.assertEqual(json.loads(done.stdout)["proposal"]["source"], "fallback")

    def test_a_killed_host_costs_one_title(self):
        self.vesto("model", "add", self.make("good.gguf", "--says", 'Facture| Edf|"'))
        files = self.files(12)
        sources = []
        with subprocess.Popen([VESTO, "name", "--json", files], env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as run:
            for line in run.stdout:
                sources.append(json.loads(line)["proposal"]["source"])
                if len(sources) == 3:
                    os.kill(self.host_of(run.pid), signal.SIGKILL)
        self.assertEqual(run.returncode, 0)
        self.assertEqual(len(sources), 12)
        self.assertLessEqual(sources.count("fallback"), 1)

    def host_of(self, parent):
        end = time.monotonic() + 20
        while time.monotonic() < end:
            for status in pathlib.Path("/proc").glob("[0-9]*/status"):
                try:
                    text = status.read_text()
                except OSError:
                    continue
                if text.startswith("Name:\tvesto-model\n") and f"\nPPid:\t{parent}\n" in text:
                    return int(status.parent.name)
        self.fail("no host of this run was found")


unittest.main()
