#!/usr/bin/env python3
"""Shows Vesto at work on copies of the samples, and proves that nothing was lost.

    tools/demo.py VESTO SAMPLES BUILD_FOLDER

Status 0 only where every sample got a name or the refusal that it is there to show, where a taken name got a
number, and where undo brought back every name and every byte.
"""
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "samples"))
from expected import EXPECTED, LOCKED, NOTHING  # noqa: E402  (found through the path above)

MARKER = "user.com.vesto.processed"
KINDS = {"pdf": "PDF", "document": "document", "spreadsheet": "tableur", "presentation": "présentation",
         "screenshot": "capture", "photo": "photo", "image": "image", "email": "e-mail", "audio": "audio",
         "video": "vidéo", "ebook": "livre"}
SOURCES = {"fallback": "titre ou premières lignes du fichier", "model": "modèle"}
ERRORS = {"locked": "protégé par un mot de passe", "unreadable": "illisible", "unsupportedType": "type inconnu"}


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


def contents(folder):
    """{name: SHA-256 of the bytes}."""
    found = {}
    for name in sorted(os.listdir(folder)):
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


def rename_all(vesto, folder, before):
    """Renames every file and returns {old name: new name}."""
    records, status = ask(vesto, "rename", "--json", *(os.path.join(folder, name) for name in before))
    require(len(records) == len(before), f"{len(records)} réponses pour {len(before)} fichiers")
    renamed, left = {}, 0
    width = max(map(len, before))
    for record in records:
        old = os.path.basename(record["path"])
        if record.get("to"):
            new = os.path.basename(record["to"])
            proposal = record["proposal"]
            summary, source = proposal["summary"], SOURCES[proposal["source"]]
            kind = KINDS[summary["kind"]] + (f" ({summary['formatName']})" if "formatName" in summary else "")
            confidence = f"{round(proposal['confidence'] * 100)} %"
            print(f"  {old:{width}}  →  {new}\n  {'':{width}}     {kind} · {source} · confiance {confidence}")
            require(record["marked"], f"{old} : la marque n'a pas pu être écrite")
            renamed[old] = new
        else:
            reason = ERRORS.get(record.get("error"), record.get("reason") or record.get("outcome"))
            print(f"  {old:{width}}  –  laissé tel quel : {reason}")
            require(EXPECTED[old] == (record.get("error") or record.get("outcome")), f"{old} devait recevoir un nom ({reason})")
            left += 1
    require(left == sum(1 for expected in EXPECTED.values() if expected in (LOCKED, NOTHING)),
            "un fichier protégé ou vide de texte a reçu un nom")
    require(status == (1 if left else 0), f"état de sortie inattendu : {status}")
    return renamed


def check_renamed(folder, before, renamed):
    after = contents(folder)
    require(sorted(after.values()) == sorted(before.values()), "des contenus manquent ou ont changé")
    for old, digest in before.items():
        new = renamed.get(old, old)
        require(after.get(new) == digest, f"{new} n'a pas le contenu de {old}")
        if old in renamed:
            marker = json.loads(os.getxattr(os.path.join(folder, new), MARKER))
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


def main():
    vesto, samples, build = sys.argv[1:4]
    folder = fresh_folder(build)
    profile = tempfile.mkdtemp(prefix="vesto-profile-")  # the demonstration is no part of anybody's history
    os.environ["XDG_DATA_HOME"] = os.environ["XDG_CONFIG_HOME"] = profile
    os.environ.pop("XDG_RUNTIME_DIR", None)
    try:
        for name in os.listdir(samples):
            shutil.copyfile(os.path.join(samples, name), os.path.join(folder, name))
        before = contents(folder)
        print(f"Vesto renomme {len(before)} fichiers copiés dans {folder}\n")
        renamed = rename_all(vesto, folder, before)
        check_renamed(folder, before, renamed)
        show_number(renamed)

        done = subprocess.run([vesto, "undo", *(os.path.join(folder, new) for new in renamed.values())],
                              capture_output=True, stdin=subprocess.DEVNULL, check=False)
        require(done.returncode == 0, "l'annulation a échoué : " + (done.stdout + done.stderr).decode(errors="replace"))
        require(contents(folder) == before, "l'annulation n'a pas rendu les noms et les contenus d'origine")
    except Failure as failure:
        print(f"\nÉchec : {failure}\nLe dossier reste là pour être examiné : {folder}", file=sys.stderr)
        return 1
    shutil.rmtree(folder)
    shutil.rmtree(profile, ignore_errors=True)
    print(f"\n{len(renamed)} fichiers renommés, {len(before) - len(renamed)} laissés tels quels, puis tout annulé.")
    print("Empreintes SHA-256 comparées : chaque contenu est présent une fois, chaque nom est revenu, rien n'est perdu.")
    return 0


if __name__ == "__main__":
    try:
        sys.stdout.reconfigure(encoding="utf-8", errors="surrogateescape", line_buffering=True)
        sys.stderr.reconfigure(encoding="utf-8", errors="surrogateescape")
        sys.exit(main())
    except Failure as failure:
        sys.exit(f"Échec : {failure}")
