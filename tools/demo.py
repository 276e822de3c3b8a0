#!/usr/bin/env python3
"""Shows Vesto at work on copies of the samples as a user has it: a watched folder in which files arrive. Proves that
nothing was lost.

    tools/demo.py VESTO SAMPLES BUILD_FOLDER

Status 0 only where every sample got a name, or a proposal, or the refusal that it is there to show, where a taken name
got a number, where the history tells what happened, and where undo brought back every name and every byte.
"""
import hashlib
import json
import os
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "samples"))
from expected import EXPECTED, LOCKED, NOTHING  # noqa: E402  (found through the path above)

MARKER = "user.com.vesto.processed"
SOURCES = {"fallback": "titre ou premières lignes du fichier", "model": "modèle"}
THRESHOLD = "0.5"
MOVED, SLOW = "document.txt", "export.md"  # how these two samples arrive
ASKED = ("file.csv", "export.json")  # these arrive in a folder where Vesto only proposes
PATIENCE = 900  # seconds for all samples, on a slow machine


class Failure(Exception):
    pass


def require(condition, message):
    if not condition:
        raise Failure(message)


def carries_attributes(folder):
    """Whether files in `folder` can carry user attributes (a tmpfs of Debian 12 cannot)."""
    try:
        with tempfile.NamedTemporaryFile(dir=folder) as probe:
            os.setxattr(probe.name, "user.vesto.probe", b"1")
        return True
    except OSError:
        return False


def fresh_folder(build):
    for place in (os.environ.get("TMPDIR"), "/var/tmp", os.environ.get("HOME"), build):
        if place and os.path.isdir(place) and carries_attributes(place):
            return tempfile.mkdtemp(prefix="vesto-demo-", dir=place)
    raise Failure("aucun dossier temporaire ne garde les attributs étendus ; indiquez-en un par TMPDIR")


def contents(*folders):
    """{name: SHA-256 of the bytes}; no name stands in two of the folders."""
    found = {}
    for folder in folders:
        for name in sorted(os.listdir(folder)):
            require(name not in found, f"« {name} » existe deux fois")
            with open(os.path.join(folder, name), "rb") as stream:
                found[name] = hashlib.sha256(stream.read()).hexdigest()
    return found


def ask(vesto, *words):
    """The objects that a verb prints, one a line, and its exit status."""
    done = subprocess.run([vesto, *words], capture_output=True, stdin=subprocess.DEVNULL, check=False)
    require(done.returncode in (0, 1),
            f"« vesto {words[0]} » s'est terminé avec l'état {done.returncode} : {done.stderr.decode(errors='replace')}")
    try:
        return [json.loads(line) for line in done.stdout.decode().splitlines()], done.returncode
    except ValueError as error:
        raise Failure(f"« vesto {words[0]} --json » n'a pas répondu en JSON : {error}") from error


def order(vesto, *words):
    """The same of a verb that must succeed."""
    records, status = ask(vesto, *words)
    require(status == 0, f"« vesto {' '.join(words)} » a échoué : {records}")
    return records


class Watch:
    """`vesto watch`, whose events come as they happen."""

    def __init__(self, vesto, *folders):
        self.events = queue.Queue()
        self.process = subprocess.Popen([vesto, "watch", "--json", *folders], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL,
                                        text=True, encoding="utf-8", errors="surrogateescape")
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.process.stdout:
            self.events.put(json.loads(line))
        self.events.put(None)

    def next(self, until):
        """The next event; None where none came in time."""
        try:
            event = self.events.get(timeout=max(0.0, until - time.monotonic()))
        except queue.Empty:
            return None
        require(event is not None, "« vesto watch » s'est arrêté tout seul")
        return event

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        require(self.process.wait(timeout=60) == 0, f"« vesto watch » s'est terminé avec l'état {self.process.returncode}")


def arrive(samples, folder, asking, aside):
    """Puts copies of the samples into the watched folders: most at once, one moved in, one written slowly."""
    for name in sorted(os.listdir(samples)):
        source = os.path.join(samples, name)
        if name == MOVED:
            shutil.copyfile(source, os.path.join(aside, name))
            os.rename(os.path.join(aside, name), os.path.join(folder, name))
        elif name != SLOW:
            shutil.copyfile(source, os.path.join(asking if name in ASKED else folder, name))
    with open(os.path.join(samples, SLOW), "rb") as source, open(os.path.join(folder, SLOW), "wb") as target:
        data = source.read()
        for i in range(5):
            target.write(data[len(data) * i // 5:len(data) * (i + 1) // 5])
            target.flush()
            time.sleep(1)


def was_skipped(path):
    try:
        return json.loads(os.getxattr(path, MARKER))["state"] == "skipped"
    except OSError:
        return False


def follow(vesto, watch, folder, before):
    """Prints what happens until every sample has met its fate. {old name: event of the rename}, {old name: proposal}."""
    renamed, proposed = {}, {}
    telling = {answer["name"] for answer in ask(vesto, "generic", "--json", "--", *EXPECTED)[0] if not answer["generic"]}
    named = {name for name, expected in EXPECTED.items() if expected not in (LOCKED, NOTHING)} - telling
    empty = {name for name, expected in EXPECTED.items() if expected == NOTHING}
    end = time.monotonic() + PATIENCE
    while named - set(renamed) - set(proposed) or not all(was_skipped(os.path.join(folder, name)) for name in empty):
        require(time.monotonic() < end, f"sans nouvelles de : {', '.join(sorted(named - set(renamed) - set(proposed)))}")
        event = watch.next(min(end, time.monotonic() + 1))
        kind = event["event"] if event else ""
        if kind == "renamed":
            old, new = event["originalName"], event["newName"]
            require(event["automatic"], f"{old} : renommé sans y avoir été autorisé")
            renamed[old] = event
            print(f"  {old}  →  {new}\n      {evidence(event)}")
        elif kind == "proposed":
            old = os.path.basename(event["path"])
            proposed[old] = event
            print(f"  {old}  ?  {event['fileName']}\n      {evidence(event)} · proposé")
        elif kind == "error":
            raise Failure(event["message"])
    for old in before:
        require(old in named or (old not in renamed and old not in proposed), f"{old} ne devait pas recevoir de nom")
    require(set(proposed) == set(ASKED), "les propositions attendues ne sont pas celles-ci : " + ", ".join(proposed))
    return renamed, proposed, telling


def evidence(event):
    return f"{SOURCES[event['source']]} · confiance {round(event['confidence'] * 100)} %"


def check_renamed(folders, before, renamed):
    after = contents(*folders)
    require(sorted(after.values()) == sorted(before.values()), "des contenus manquent ou ont changé")
    for old, digest in before.items():
        new = renamed.get(old, old)
        require(after.get(new) == digest, f"{new} n'a pas le contenu de {old}")
        if old in renamed:
            path = next(path for path in (os.path.join(folder, new) for folder in folders) if os.path.exists(path))
            marker = json.loads(os.getxattr(path, MARKER))
            require((marker["state"], marker["originalName"]) == ("renamed", old), f"{new} : marque inexacte")


def show_number(renamed):
    """The taken name that got a number."""
    names = set(renamed.values())
    for new in sorted(names):
        stem, extension = os.path.splitext(new)
        match = re.fullmatch(r"(.*) 2", stem)
        if match and match[1] + extension in names:
            print(f"\n« {match[1]}{extension} » était déjà pris : le second fichier s'appelle « {new} ».")
            return
    raise Failure("deux fichiers de même titre n'ont pas reçu de numéro")


def check_history(vesto, folders, names, undone):
    """Gives the ids of the rows that are done."""
    rows = order(vesto, "history", "--json", "--limit", "1000")
    done = {row["originalName"]: row["newName"] for row in rows if row["status"] == "done"}
    require(done == names, "l'historique ne dit pas ce qui s'est passé")
    require([row["originalName"] for row in rows if row["status"] == "undone"] == [undone], "l'annulation n'est pas dans l'historique")
    require(all(row["folderPath"] in folders for row in rows), "l'historique nomme un autre dossier")
    return [row["id"] for row in rows if row["status"] == "done"]


def show(vesto, samples, place):
    folder, asking, aside = (os.path.join(place, name) for name in ("Téléchargements", "Bureau", "ailleurs"))
    folders = (folder, asking)
    for path in (*folders, aside):
        os.mkdir(path)
    order(vesto, "settings", "set", "autoThreshold", THRESHOLD, "--json")
    print(f"Vesto surveille {folder} (automatique) et {asking} (propose).\nSeuil des renommages automatiques : {THRESHOLD}, "
          "car un titre pris des premières lignes ne dépasse jamais 0,55.\n")
    watch = Watch(vesto, *folders)
    try:
        watched = 0
        while watched < len(folders):
            event = watch.next(time.monotonic() + 60)
            require(event is not None, "la surveillance ne commence pas")
            watched += event["event"] == "watching"
        order(vesto, "folders", "auto", folder, "--json")
        arrive(samples, folder, asking, aside)
        before = contents(samples)
        renamed, proposed, telling = follow(vesto, watch, folder, before)
        names = {old: event["newName"] for old, event in renamed.items()}
        check_renamed(folders, before, names)
        for old in sorted(set(before) - set(names) - set(proposed)):
            why = "nom déjà parlant" if old in telling else "protégé par un mot de passe" if EXPECTED[old] == LOCKED else "rien à en tirer"
            print(f"  {old}  –  laissé tel quel : {why}")
        show_number(names)

        chosen = order(vesto, "pending", "--json")
        chosen = [record for record in chosen if record["outcome"] == "proposal"]
        accepted = order(vesto, "accept", "--json", chosen[0]["id"])[0]
        old = os.path.basename(accepted["from"])
        names[old] = os.path.basename(accepted["to"])
        print(f"Proposition acceptée : {old}  →  {names[old]}")
        check_renamed(folders, before, names)
        last = order(vesto, "undo", "--json", "--last")[0]
        undone = last["originalName"]
        require(undone == old and names.pop(undone), "l'annulation porte sur un autre fichier")
        print(f"Dernier renommage annulé : {last['newName']}  →  {undone}")
        check_renamed(folders, before, names)
        rows = check_history(vesto, folders, names, undone)
        watch.stop()
    finally:
        watch.process.kill()
        watch.process.wait()

    # Without an engine that runs, the history serves as well.
    order(vesto, "undo", "--json", *rows)
    require(contents(*folders) == before, "l'annulation n'a pas rendu les noms et les contenus d'origine")
    print(f"\n{len(renamed)} fichiers renommés d'office, {len(proposed)} proposés, "
          f"{len(before) - len(renamed) - len(proposed)} laissés tels quels, puis tout annulé.")
    print("Empreintes SHA-256 comparées : chaque contenu est présent une fois, chaque nom est revenu, rien n'est perdu.")


def main():
    vesto, samples, build = sys.argv[1:4]
    place = fresh_folder(build)
    # A profile of its own: the demonstration is no part of anybody's history.
    for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"):
        os.environ[name] = os.path.join(place, name.lower())
        os.mkdir(os.environ[name], 0o700)
    try:
        show(vesto, samples, place)
    except Failure as failure:
        print(f"\nÉchec : {failure}\nLe dossier reste là pour être examiné : {place}", file=sys.stderr)
        return 1
    shutil.rmtree(place)
    return 0


if __name__ == "__main__":
    try:
        sys.stdout.reconfigure(encoding="utf-8", errors="surrogateescape", line_buffering=True)
        sys.stderr.reconfigure(encoding="utf-8", errors="surrogateescape")
        sys.exit(main())
    except Failure as failure:
        sys.exit(f"Échec : {failure}")
