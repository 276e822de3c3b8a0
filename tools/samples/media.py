"""Recordings and films: speech by espeak-ng, music and pictures by ffmpeg and Pillow. What they say is invented."""
import os
import subprocess
import tempfile

from PIL import Image

import drawing
from pictures import poster

EXACT = ["-fflags", "+bitexact", "-flags:v", "+bitexact", "-flags:a", "+bitexact", "-map_metadata:g", "-1"]

# File name: what is said, tags, encoder.
SPEECH = {
    "Nouvel enregistrement 3.m4a": ("Compte rendu de la réunion du club nature. Nous avons compté dix-sept espèces d'abeilles sauvages.",
                                    {"title": "Nouvel enregistrement 3", "creation_time": "2026-04-21T18:30:00Z"}, ["-c:a", "aac", "-b:a", "32k"]),
    "voice memo 2.wav": ("Penser à rappeler le plombier pour la chaudière.", {}, ["-ar", "11025", "-c:a", "pcm_u8"]),
    "audio (2).ogg": ("Message pour Odile : la clé du local à vélos est chez la gardienne.", {}, ["-c:a", "libvorbis", "-q:a", "0"]),
    "recording.opus": ("Leçon de piano numéro quatre, les gammes mineures.", {"title": "Leçon de piano, gammes mineures", "date": "2026-02-12"},
                       ["-c:a", "libopus", "-b:a", "16k"]),
}
# File name: seconds, notes in hertz, tags, encoder.
MUSIC = {
    "audio (1).mp3": (4, (220, 277, 330), {"title": "Nuit d'orage", "artist": "Les Grèves", "album": "Marée haute", "date": "2021-05-03"},
                      ["-c:a", "libmp3lame", "-b:a", "32k"]),
    "download.flac": (1, (196, 247, 294), {"title": "Valse du lavoir", "artist": "Fanfare d'Ormeval", "date": "1998"}, ["-ar", "16000", "-c:a", "flac"]),
    # No title: artist and album have to do.
    "file.m4a": (3, (262, 330, 392), {"artist": "Trio des Écluses", "album": "Chansons du canal"}, ["-c:a", "aac", "-b:a", "32k"]),
}
H264 = ["-c:v", "libx264", "-preset", "slow", "-crf", "30", "-pix_fmt", "yuv420p", "-x264-params", "threads=1"]


def ffmpeg(*words):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *words], check=True, stdin=subprocess.DEVNULL)


def tags_of(tags):
    return [word for key, value in tags.items() for word in ("-metadata", f"{key}={value}")]


def speech(path, text):
    subprocess.run(["espeak-ng", "-v", "fr", "-s", "150", "-w", path, text], check=True)


def sounds(target, folder):
    wave = os.path.join(folder, "speech.wav")
    for name, (text, tags, encoder) in SPEECH.items():
        speech(wave, text)
        ffmpeg("-i", wave, "-ac", "1", *EXACT, *tags_of(tags), *encoder, os.path.join(target, name))
    for name, (seconds, notes, tags, encoder) in MUSIC.items():
        tune = "+".join(f"0.2*sin(2*PI*{note}*t)*exp(-mod(t,1))" for note in notes)
        ffmpeg("-f", "lavfi", "-i", f"aevalsrc='{tune}':d={seconds}:s=22050", "-ac", "1", *EXACT, *tags_of(tags), *encoder,
               os.path.join(target, name))


def films(target, folder):
    def still(image, name):
        path = os.path.join(folder, name + ".png")
        image.save(path)
        return ["-loop", "1", "-framerate", "10", "-i", path]

    black = ["-f", "lavfi", "-i", "color=black:s=960x540:d=1:r=10"]
    screen = still(drawing.window("Aide en ligne", "Fichier   Édition   Affichage", "lun. 4 mai 14:02", [
        "# Configurer l'imprimante du bureau", "Ouvrez les réglages, puis « Imprimantes ».", "Choisissez le modèle et validez.",
        "Imprimez une page d'essai."], size=(960, 540)), "screen")
    ffmpeg(*screen, "-t", "4", *EXACT, *H264, "-metadata", "creation_time=2026-05-04T12:02:11Z",
           os.path.join(target, "Enregistrement de l’écran 2026-05-04 à 14.02.11.mov"))

    wave = os.path.join(folder, "voice.wav")
    speech(wave, "Bienvenue à la fête de la rivière, la descente en barque commence dans dix minutes.")
    scene = still(poster().resize((540, 648)).transpose(Image.ROTATE_90), "scene")  # stored lying
    turned = os.path.join(folder, "turned.mp4")
    ffmpeg(*scene, "-i", wave, "-t", "5", *EXACT, *H264, "-c:a", "aac", "-b:a", "24k", "-ac", "1", turned)
    ffmpeg("-i", turned, "-c", "copy", "-fflags", "+bitexact", "-metadata:s:v", "rotate=270", "-metadata",
           "creation_time=2026-06-20T15:00:00Z", os.path.join(target, "VID_20260620_170000.mp4"))

    card = still(drawing.window("", "", "", ["# Montage de la serre", "Étape 1 : poser le cadre", "Étape 2 : fixer les vitres"],
                                size=(960, 540), points=26), "card")
    ffmpeg(*black, *card, "-filter_complex", "[1]trim=duration=2[c];[0][c]concat", *EXACT, "-c:v", "libvpx", "-b:v", "120k",
           os.path.join(target, "video (1).webm"))

    hills = still(drawing.landscape((640, 360), "montagne"), "hills")
    ffmpeg(*hills, "-t", "2", *EXACT, *H264, "-metadata", "title=Randonnée au col des Aiguilles", os.path.join(target, "MOV_0017.mp4"))


def make(target):
    with tempfile.TemporaryDirectory() as folder:
        sounds(target, folder)
        films(target, folder)
