"""PDFs that hold pictures of pages: what a scanner or a telephone makes. What they say is invented."""
import io
import os
import time

import drawing

DATE = time.strptime("2026-03-09 09:00:00", "%Y-%m-%d %H:%M:%S")

SCANS = {
    "scan0004.pdf": (0.8, 10, [[
        "# Quittance de loyer", "Je soussignée Hélène Garance, propriétaire,", "reconnais avoir reçu de M. Yanis Perrault",
        "la somme de 430 euros pour le loyer", "du studio situé 7 quai des Tanneurs à Valbrune.", "Période : mars 2026",
        "Fait à Valbrune, le 5 mars 2026"]]),
    "scan0005.pdf": (-1.1, 14, [[
        "# Ordonnance", "Docteur Amélie Vautrin, médecin généraliste", "12 rue du Moulin, 00120 Valbrune",
        "Paracétamol 1 g, trois fois par jour", "Repos pendant cinq jours", "Le 9 mars 2026"]]),
    "Numérisation_20260309.pdf": (0.4, 8, [[
        "# Bail de jardin familial", "Entre la commune de Valbrune et Mme Nora Belcastel,", "pour la parcelle 17, de 80 m²,",
        "à compter du 1er avril 2026."], ["Page 2", "Règlement : ni feu ni pesticide."]]),
}


def make(target):
    for name, (tilt, grain, pages) in SCANS.items():
        images = [drawing.scanned(drawing.page(lines, 150, points=14), name + str(number), tilt, grain).crop((0, 0, 1240, 1300))
                  for number, lines in enumerate(pages)]
        images[0].save(os.path.join(target, name), save_all=True, append_images=images[1:], resolution=150, quality=35,
                       title="", creationDate=DATE, modDate=DATE)
    mixed(os.path.join(target, "scan0006.pdf"))


def mixed(path):
    """A page of text with a scanned slip on it, and a page that is one picture."""
    def jpeg(image):
        out = io.BytesIO()
        image.save(out, "JPEG", quality=40)
        return out.getvalue()

    slip = drawing.scanned(drawing.page(["Reçu la somme de 76,00 €", "le 17 mars 2026"], 120).crop((0, 60, 600, 300)), "reçu", 1.2)
    terms = drawing.scanned(drawing.page(["Conditions générales", "Le matériel est rendu propre et sec."], 100), "conditions", -0.6)
    text = "\n".join(f"BT /F1 {size} Tf 72 {y} Td ({line}) Tj ET" for size, y, line in [
        (20, 760, "Location d'un barnum pour le 20 juin"), (12, 725, "Comité des fêtes de Valbrune, le 17 mars 2026"),
        (12, 705, "Barnum de 6 m sur 3 m, montage compris : 76,00 euros"), (12, 685, "Caution : un chèque de 300 euros"),
        (12, 665, "Retrait le vendredi à 18 heures, retour le lundi.")])
    first = text.encode("cp1252") + b"\nq 300 0 0 120 72 500 cm /I0 Do Q\n"

    def stream(dictionary, data):
        return b"<<%s/Length %d>>\nstream\n%s\nendstream" % (dictionary, len(data), data)

    def picture(image):
        return stream(b"/Type/XObject/Subtype/Image/Width %d/Height %d/ColorSpace/DeviceGray/BitsPerComponent 8/Filter/DCTDecode"
                      % image.size, jpeg(image))
    objects = [
        b"<</Type/Catalog/Pages 2 0 R>>", b"<</Type/Pages/Kids[3 0 R 4 0 R]/Count 2>>",
        b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Contents 5 0 R/Resources<</Font<</F1 9 0 R>>/XObject<</I0 7 0 R>>>>>>",
        b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Contents 6 0 R/Resources<</XObject<</I1 8 0 R>>>>>>",
        stream(b"", first), stream(b"", b"q 595 0 0 842 0 0 cm /I1 Do Q\n"), picture(slip), picture(terms),
        b"<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>",
        b"<</CreationDate(D:20260317090000+01'00')>>"]
    out = bytearray(b"%PDF-1.4\n")
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    start = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    out += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    out += b"trailer\n<</Size %d/Root 1 0 R/Info %d 0 R>>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, len(objects), start)
    with open(path, "wb") as file:
        file.write(out)
