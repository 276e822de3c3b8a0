"""Screenshots, photos and pictures in every format that Vesto reads. What they say is invented."""
import os
import struct
import subprocess
import tempfile

from PIL import Image, ImageDraw

import drawing

MAKE, MODEL, ORIENTATION, EXIF_FOLDER = 0x10F, 0x110, 0x112, 0x8769
TAKEN, OFFSET, USER_COMMENT = 0x9003, 0x9011, 0x9286

RECEIPT = ["# Boulangerie du Lavoir", "4 place du Lavoir, 00120 Valbrune", "Ticket n° 00718   11/04/2026 08:42", "",
           "Baguette tradition  x2     2,60 €", "Pain de seigle             3,40 €", "Tarte aux abricots        14,50 €", "",
           "TOTAL                     20,50 €", "Payé par carte bancaire", "Merci de votre visite, à bientôt !"]
POSTER = ["# Fête de la rivière", "Samedi 20 juin 2026", "Pont des Tanneurs, Valbrune", "Concerts, guinguette,", "descente en barque",
          "Entrée libre"]


def exif_folder(start, entries):
    """An EXIF folder that stands at byte `start`: {tag: number, text or bytes}."""
    after = start + 2 + 12 * len(entries) + 4
    head, tail = struct.pack("<H", len(entries)), b""
    for tag, value in sorted(entries.items()):
        if isinstance(value, int):
            kind, count, data = (4, 1, struct.pack("<I", value)) if tag == EXIF_FOLDER else (3, 1, struct.pack("<HH", value, 0))
        else:
            data = value.encode() + b"\0" if isinstance(value, str) else value
            kind, count = 2 if isinstance(value, str) else 7, len(data)
        if len(data) > 4:
            data, tail = struct.pack("<I", after + len(tail)), tail + data + bytes(len(data) % 2)
        head += struct.pack("<HHI", tag, kind, count) + data.ljust(4, b"\0")
    return head + bytes(4) + tail


def exif(entries, details):
    start = 8 + len(exif_folder(8, entries | {EXIF_FOLDER: 0}))
    return b"Exif\0\0II*\0\x08\0\0\0" + exif_folder(8, entries | {EXIF_FOLDER: start}) + exif_folder(start, details)


def camera_exif(taken, offset=None, orientation=1):
    details = {TAKEN: taken} | ({OFFSET: offset} if offset else {})
    return exif({MAKE: "Aster", MODEL: "Aster A7", ORIENTATION: orientation}, details)


def ticket():
    paper = Image.new("L", (720, 860), 246)
    drawing.lines_on(paper, RECEIPT, (40, 40), 27, 40, "SansMono", 1.9)
    return drawing.on_table(paper, (1000, 1200), "ticket")


def poster():
    paper = Image.new("RGB", (820, 1000), (244, 226, 150))
    drawing.lines_on(paper, POSTER, (50, 120), 46, (120, 36, 50), "Sans", 1.9)
    return drawing.on_table(paper, (1000, 1200), "affiche", -1, (96, 110, 104))


def note(lines, seed, size=(1200, 900), paper=(248, 246, 236)):
    sheet = Image.new("RGB", (size[0] - 160, size[1] - 140), paper)
    drawing.lines_on(sheet, lines, (60, 60), 40, (34, 46, 110), "Sans", 1.6)
    return drawing.on_table(sheet, size, seed, 1.2)


def banner(lines, back, colour, size=(900, 420)):
    image = Image.new("RGB", size, back)
    ImageDraw.Draw(image).rectangle((20, 20, size[0] - 20, size[1] - 20), outline=colour, width=6)
    drawing.lines_on(image, lines, (70, 80), 40, colour)
    return image


def heic(target, name, image, block):
    with tempfile.TemporaryDirectory() as folder:
        source = os.path.join(folder, "source.jpg")
        image.save(source, quality=92, exif=block)
        subprocess.run(["heif-enc", "-q", "40", "-o", os.path.join(target, name), source], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def screenshots(target):
    def save(image, name, **options):
        image.save(os.path.join(target, name), optimize=True, **options)

    menu = "Fichier   Édition   Affichage   Fenêtre   Aide"
    save(drawing.window("Gîtes de la vallée", menu, "lun. 2 mars 09:14", [
        "# Réservation confirmée", "Gîte de l'Étang aux Hérons, du 11 au 18 juillet 2026", "Deux chambres, quatre personnes",
        "Arrhes versées : 184,50 €", "Référence du séjour : GV-00418"], buttons=True), "Capture d’écran 2026-03-02 à 09.14.22.png")
    save(drawing.window("Rappels", menu, "jeu. 5 mars 21:40", [
        "# Rendez-vous chez le vétérinaire", "Vendredi 13 mars à 17 h 30, clinique des Écluses", "Prévoir le carnet de santé du chat",
        "Rappel de vaccin et contrôle des dents"], drawing.DARK), "Capture d’écran 2026-03-05 à 21.40.03.png")
    save(drawing.window("Sauvegarde", "File   Edit   View   Help", "Sat 11 Apr 10:15", [
        "# Échec de la sauvegarde", "L'espace disponible sur le disque « Archives » est insuffisant.",
        "Il manque 3,2 Go. Libérez de la place, puis réessayez."], size=(1000, 460)), "Screenshot 2026-04-11 101512.png")
    comment = exif({}, {USER_COMMENT: b"ASCII\0\0\0Screenshot"})
    save(drawing.window("Bus de Valbrune", "", "18:02", [
        "# Horaires de la ligne 4", "Mairie : 18 h 07, 18 h 22, 18 h 37", "Gare : 18 h 15, 18 h 30, 18 h 45"], size=(800, 460)),
         "image (2).png", exif=comment)


def photos(target):
    def save(image, name, taken, offset=None, orientation=1):
        image.save(os.path.join(target, name), quality=52, optimize=True, exif=camera_exif(taken, offset, orientation))

    # Held upright, stored lying, as telephones do: 6 says to turn it a quarter clockwise.
    save(ticket().transpose(Image.ROTATE_90), "IMG_0042.jpg", "2026:04:11 08:45:10", "+02:00", 6)
    save(drawing.landscape((1000, 750), "collines"), "IMG_0043.jpg", "2026:04:11 15:20:00")
    save(poster(), "PXL_20260522_184100.jpg", "2026:05:22 18:41:00", "+02:00")
    heic(target, "IMG_1207.HEIC", note(["# Liste pour la rentrée", "cahiers à grands carreaux", "compas et équerre",
                                        "étiquettes pour les manuels"], "rentrée"), camera_exif("2026:08:29 10:02:00", "+02:00"))
    heic(target, "IMG_1208.HEIC", note(["# Confiture de mirabelles", "août 2025, 60 % de fruits", "à garder au frais"],
                                       "confiture", (1100, 700)), camera_exif("2026:01:10 19:30:00"))
    heic(target, "IMG_1209.HEIC", drawing.landscape((1024, 768), "prairie"), camera_exif("2026:06:01 07:15:00", "+02:00"))


def pictures(target):
    def save(image, name, **options):
        image.save(os.path.join(target, name), **options)

    def letter(lines, seed, tilt):
        return drawing.scanned(drawing.page(lines, 150).crop((0, 0, 1240, 900)), seed, tilt)

    save(drawing.page(["# Certificat de scolarité", "École élémentaire des Tanneurs, Valbrune",
                       "La directrice certifie que l'élève Lucie Diallo", "est inscrite en classe de CM1 pour l'année 2025-2026.",
                       "Fait à Valbrune, le 5 septembre 2025."], 200).crop((0, 0, 1654, 900)).convert("1"),
         "scan 1.tiff", compression="group4", dpi=(200, 200))
    save(letter(["# Avis de passage du ramoneur", "Le technicien passera le mardi 6 octobre 2026", "entre 9 h et 11 h, bâtiment C.",
                 "Merci de dégager l'accès à la cheminée."], "ramoneur", 0.8), "scan 2.tif", compression="jpeg", quality=60, dpi=(150, 150))
    second = drawing.page(["Page 2", "Signatures des parties"], 100).crop((0, 0, 827, 400)).convert("1")
    save(drawing.page(["# Constat amiable de dégât des eaux", "Appartement 12, résidence Les Amandiers", "Fuite du chauffe-eau le 3 mai 2026"],
                      150).crop((0, 0, 1240, 620)).convert("1"), "Numérisation 3.tiff", save_all=True, append_images=[second],
         compression="group4", dpi=(150, 150))

    save(banner(["# Vide-grenier de Valbrune", "Dimanche 7 juin, place du Lavoir", "Inscriptions en mairie"], (255, 248, 220), (150, 60, 30), (1040, 420)),
         "image.gif")
    frames = [banner(["# Soldes à la librairie", text], (230, 240, 250), (20, 60, 110), (860, 300)) for text in
              ("Romans à moitié prix", "Jusqu'au 30 juin")]
    save(frames[0], "image (1).gif", save_all=True, append_images=frames[1:], duration=900, loop=0)
    save(drawing.landscape((480, 320), "dessin").quantize(32), "download.gif")

    save(banner(["# Menu de la cantine", "Lundi : gratin de courge", "Mardi : poisson et épinards", "Jeudi : lentilles, œuf mollet"],
                (240, 250, 240), (20, 90, 50)), "download.webp", quality=70)
    save(note(["# Code du portail", "à demander à la gardienne", "bâtiment B, rez-de-chaussée"], "portail", (1000, 640)), "image (3).webp", quality=45)
    save(drawing.landscape((800, 600), "lac"), "photo.webp", quality=40)

    save(banner(["# Plan d'évacuation", "Sortie de secours : escalier nord"], (255, 255, 255), (0, 0, 0), (800, 360)).convert("1"), "image.bmp")
    save(banner(["# Atelier de reliure", "Couture, encollage, dorure", "12 places"], (245, 245, 245), (70, 40, 110), (700, 360)).quantize(16, dither=Image.Dither.NONE),
         "Sans titre.bmp")
    save(drawing.window("Calculatrice", "", "", ["# Conversion de mesures", "12 pieds = 3,66 mètres"],
                        size=(760, 400)).quantize(64, dither=Image.Dither.NONE), "Capture d'écran (4).bmp")


def make(target):
    screenshots(target)
    photos(target)
    pictures(target)
