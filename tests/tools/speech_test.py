#!/usr/bin/env python3
"""A model of speech on its way through the command line:  speech_test.py VESTO MAKE_SPEECH_MODEL"""
import array
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest
import wave

VESTO, MAKE = sys.argv.pop(1), sys.argv.pop(1)


def hosts_of(parent):
    """The processes that host models for it; each is the child of one of its threads."""
    threads = pathlib.Path(f"/proc/{parent}/task").glob("*/children")
    processes = [pid for children in threads for pid in text_of(children).split()]
    return [pid for pid in processes if text_of(pathlib.Path(f"/proc/{pid}/comm")).strip() == "vesto-model"]


def text_of(path):
    """Nothing of what has ended meanwhile."""
    try:
        return path.read_text()
    except OSError:
        return ""


class Speech(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        self.model = self.home / "data" / "vesto" / "models" / "speech.bin"
        self.environment = dict(os.environ, XDG_DATA_HOME=str(self.home / "data"),
                                XDG_CONFIG_HOME=str(self.home / "config"), LC_ALL="C")
        self.recording = self.home / "Memo vocal.wav"
        noise = random.Random(1)
        with wave.open(str(self.recording), "wb") as sound:
            sound.setparams((1, 2, 16000, 0, "NONE", ""))
            sound.writeframes(array.array("h", (noise.randrange(-9000, 9000) for _ in range(32000))).tobytes())

    def make(self, name, *words):
        subprocess.run([MAKE, self.home / name, *words], check=True, stdout=subprocess.DEVNULL)
        return self.home / name

    def vesto(self, *words):
        return subprocess.run([VESTO, *words], env=self.environment, capture_output=True, text=True, check=False)

    def test_is_added_heard_and_removed(self):
        self.assertFalse(json.loads(self.vesto("read", self.recording).stdout)["textFromSpeech"])
        done = self.vesto("model", "add", self.make("cut.bin", "--cut", "1000"))
        self.assertEqual((done.returncode, self.model.exists()), (1, False))
        self.assertIn("tronqué", done.stderr)

        done = self.vesto("model", "add", self.make("ggml-test.bin", "--says", " Budget| du| camping| municipal"))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertTrue(self.model.exists())
        self.assertIn("transcrit la parole", self.vesto("model", "list").stdout)

        done = self.vesto("read", "-v", self.recording)
        summary = json.loads(done.stdout)
        self.assertTrue(summary["textFromSpeech"])
        self.assertEqual(summary["lines"][-1], "Budget du camping municipal")
        self.assertIn("Parole transcrite (fr", done.stderr)
        proposal = json.loads(self.vesto("name", "--json", self.recording).stdout)["proposal"]
        self.assertEqual(proposal["title"], "Budget du camping municipal")

        self.model.write_bytes(self.model.read_bytes()[:100000])
        done = self.vesto("read", "-v", self.recording)
        self.assertEqual(done.returncode, 0)
        self.assertFalse(json.loads(done.stdout)["textFromSpeech"])
        self.assertIn("tronqué", done.stderr)
        self.assertEqual(self.vesto("model", "remove", "speech").returncode, 0)
        self.assertFalse(self.model.exists())

    def test_one_process_hears_for_all_programs(self):
        watch = subprocess.Popen([VESTO, "watch", "--json"], env=self.environment, stdout=subprocess.PIPE, text=True)
        self.addCleanup(watch.stdout.close)
        self.addCleanup(watch.wait)
        self.addCleanup(watch.kill)
        while json.loads(watch.stdout.readline())["event"] != "started":
            pass
        self.assertEqual(hosts_of(watch.pid), [])
        self.assertFalse(json.loads(self.vesto("read", self.recording).stdout)["textFromSpeech"])

        # A model that comes while it watches counts.
        self.model.parent.mkdir(parents=True)
        self.make(self.model, "--says", " Budget| du| camping| municipal")
        done = self.vesto("read", "-v", self.recording)
        self.assertEqual(json.loads(done.stdout)["lines"][-1], "Budget du camping municipal")
        self.assertIn("Parole transcrite (fr", done.stderr)
        host = hosts_of(watch.pid)
        self.assertEqual(len(host), 1)
        self.assertTrue(json.loads(self.vesto("read", self.recording).stdout)["textFromSpeech"])
        self.assertEqual(hosts_of(watch.pid), host)

        watch.terminate()
        self.assertEqual(watch.wait(), 0)
        self.assertTrue(json.loads(self.vesto("read", self.recording).stdout)["textFromSpeech"])


unittest.main()
