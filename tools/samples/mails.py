"""E-mails as different programs write them, down to the encoding. What they say is invented."""
import base64
import os
import quopri

PDF = base64.b64encode(b"%PDF-1.4\nFacture secrete de la piece jointe\n").decode()


def word(text, charset, encoding="B"):
    data = text.encode(charset)
    if encoding == "B":
        return f"=?{charset}?B?{base64.b64encode(data).decode()}?="
    coded = "".join("_" if byte == 32 else chr(byte) if chr(byte).isascii() and chr(byte).isalnum() else f"={byte:02X}" for byte in data)
    return f"=?{charset}?Q?{coded}?="


def quoted(text, charset):
    return quopri.encodestring(text.encode(charset)).decode().replace("\n", "\r\n")


# One subject in two charsets and both encodings; text beside HTML that says the same.
MIXED = f"""\
Return-Path: <accueil@eaux-du-plateau.example>
From: {word("Régie des eaux", "utf-8", "Q")} <accueil@eaux-du-plateau.example>
To: odile.marceau@courrier.example
Subject: {word("Coupure d’eau ", "utf-8")} {word("à l'école des Écluses", "iso-8859-1", "Q")}
Date: Tue, 3 Mar 2026 08:15:00 +0100
MIME-Version: 1.0
Content-Type: multipart/alternative; boundary="=_trait"

Ce texte est pour les vieux programmes.
--=_trait
Content-Type: text/plain; charset=utf-8
Content-Transfer-Encoding: quoted-printable

{quoted('''Madame,
l'eau sera coupée le vendredi 13 mars 2026 de 9 h à midi, rue de l'Écluse et quai des Tanneurs.
Pensez à remplir quelques bouteilles la veille. La régie s'excuse de la gêne occasionnée.
''', "utf-8")}
--=_trait
Content-Type: text/html; charset=utf-8
Content-Transfer-Encoding: quoted-printable

{quoted("<p>Madame,<br>l'eau sera coupée le vendredi 13 mars 2026.</p>", "utf-8")}
--=_trait--
"""

# A message in a message, with an attachment that nobody wants in a name.
NESTED = f"""\
From: "Perrault, Yanis" <yanis.perrault@courrier.example>
To: garance@courrier.example
Subject: {word("Départ du studio : état des lieux", "windows-1252", "Q")}
Date: 24 May 2026 19:02:11 +0200
MIME-Version: 1.0
Content-Type: multipart/mixed; boundary=dehors

--dehors
Content-Type: multipart/related; boundary="milieu"

--milieu
Content-Type: multipart/alternative; boundary="dedans"

--dedans
Content-Type: text/plain; charset="windows-1252"
Content-Transfer-Encoding: base64

{base64.b64encode('''Bonjour Madame Garance,
je vous propose le samedi 30 mai à 10 h pour l’état des lieux de sortie.
Les clés et la télécommande du portail vous seront remises sur place.
'''.encode("windows-1252")).decode()}
--dedans
Content-Type: text/html; charset="windows-1252"
Content-Transfer-Encoding: 7bit

<p>Bonjour</p>
--dedans--
--milieu
Content-Type: image/png; name="logo.png"
Content-Transfer-Encoding: base64
Content-ID: <logo>

iVBORw0KGgo=
--milieu--
--dehors
Content-Type: application/pdf; name="facture.pdf"
Content-Disposition: attachment; filename="facture.pdf"
Content-Transfer-Encoding: base64

{PDF}
--dehors--
"""

# HTML alone, in the charset that its header names.
HTML = f"""\
From: =?iso-8859-1?Q?Librairie_de_l'=C9toile?= <commandes@librairie-etoile.example>
To: nora@courrier.example
Subject: =?iso-8859-1?Q?Votre_commande_est_pr=EAte?=
Date: Sat, 7 Feb 2026 12:00 +0100
MIME-Version: 1.0
Content-Type: text/html; charset=iso-8859-1
Content-Transfer-Encoding: quoted-printable

{quoted('''<html><head><style>p { color: #333 }</style><title>Commande</title></head><body>
<p>Bonjour,</p><p>le recueil de contes que vous avez réservé vous attend jusqu'au 21 février.</p>
<p style="display:none">Offre : réduction immédiate</p><p>À bientôt à la librairie !</p></body></html>''', "iso-8859-1")}
"""

# No encoding at all and a date that names no day; old programs did so.
BROKEN = """\
From: secretariat@club-nature.example
To: membres@club-nature.example
Subject: Sortie champignons du dimanche
Date: hier soir vers 9 h

Rendez-vous à 8 h 30 devant la mairie, avec panier et bottes.
La sortie est annulée en cas de vent.
"""

MAILS = {"message.eml": MIXED, "message (1).eml": NESTED, "message (2).eml": HTML, "mail attachment.eml": BROKEN}


def make(target):
    for name, text in MAILS.items():
        with open(os.path.join(target, name), "wb") as file:
            file.write(text.replace("\r\n", "\n").replace("\n", "\r\n").encode("utf-8"))
