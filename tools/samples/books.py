"""E-books and archived web pages. What they tell is invented."""
import os
import plistlib
import zipfile

CONTAINER = ('<?xml version="1.0"?><container version="1.0" xmlns="urn:oasis:names:tc:opendocument:xmlns:container"><rootfiles>'
             '<rootfile full-path="{}" media-type="application/oebps-package+xml"/></rootfiles></container>')

# File name: package folder, title, creator, date, chapters (heading, paragraphs); the first may be a cover or contents.
BOOKS = {
    "download.epub": ("OEBPS", "Le Passeur de brume", "Élise Corvin", "2024-10-03", [
        ("Chapitre premier", ["La barque quitta le quai des Tanneurs avant l'aube.", "Personne, sur la rive, ne vit la lanterne s'éteindre."]),
        ("Chapitre deux", ["Au matin, le fleuve avait monté d'un mètre."])]),
    "document.epub": ("EPUB", "Manuel du petit potager", "Marius Delorme", "2023-03-21", [
        ("Préparer la terre", ["On bêche à l'automne, on griffe au printemps.", "Un sol vivant se reconnaît à ses vers."]),
        ("Semer", ["Radis, laitues et carottes se sèment en place."])]),
    # No title that says anything: the first chapter has to do.
    "sans titre.epub": ("", "sans titre", "", "", [
        ("Contes du moulin d'Ormeval", ["Il était une fois un meunier qui comptait les étoiles."])]),
}


def page(title, paragraphs):
    body = "".join(f"<p>{text}</p>" for text in paragraphs)
    return (f'<?xml version="1.0" encoding="utf-8"?><!DOCTYPE html><html xmlns="http://www.w3.org/1999/xhtml"><head>'
            f"<title>{title}</title></head><body><h1>{title}</h1>{body}</body></html>")


def book(path, folder, title, creator, date, chapters):
    prefix = folder + "/" if folder else ""
    names = [f"chapitre{number}.xhtml" for number in range(1, len(chapters) + 1)]
    items = "".join(f'<item id="c{i}" href="{name}" media-type="application/xhtml+xml"/>' for i, name in enumerate(names))
    spine = "".join(f'<itemref idref="c{i}"/>' for i in range(len(names)))
    meta = f"<dc:title>{title}</dc:title><dc:language>fr</dc:language>"
    meta += f"<dc:creator>{creator}</dc:creator>" if creator else ""
    meta += f"<dc:date>{date}</dc:date>" if date else ""
    package = ('<?xml version="1.0" encoding="utf-8"?><package xmlns="http://www.idpf.org/2007/opf" version="3.0" unique-identifier="id">'
               f'<metadata xmlns:dc="http://purl.org/dc/elements/1.1/"><dc:identifier id="id">urn:example:{len(title)}</dc:identifier>{meta}'
               f"</metadata><manifest>{items}</manifest><spine>{spine}</spine></package>")
    members = [("mimetype", "application/epub+zip"), ("META-INF/container.xml", CONTAINER.format(prefix + "livre.opf")),
               (prefix + "livre.opf", package)]
    # The archive's order is not the book's.
    members += [(prefix + name, page(*chapter)) for name, chapter in reversed(list(zip(names, chapters)))]
    with zipfile.ZipFile(path, "w") as target:
        for name, text in members:
            member = zipfile.ZipInfo(name, (2026, 1, 1, 0, 0, 0))
            member.compress_type = zipfile.ZIP_STORED if name == "mimetype" else zipfile.ZIP_DEFLATED
            target.writestr(member, text.encode())


# File name: charset, title, what the page shows.
PAGES = {
    "download.webarchive": ("UTF-8", "Comment affûter un ciseau à bois", "<h1>Affûter un ciseau à bois</h1><p>La planche se mouille d'abord.</p>"),
    "document.webarchive": ("ISO-8859-1", "Horaires de la piscine des Écluses", "<h1>Piscine des Écluses</h1><p>Fermée le lundi, même l'été.</p>"),
    "untitled.webarchive": ("UTF-8", "", "<nav>Accueil Plan</nav><h1>Recette du pain d'épices</h1><p>Miel, seigle, cannelle, anis étoilé.</p>"),
}


def make(target):
    for name, content in BOOKS.items():
        book(os.path.join(target, name), *content)
    for name, (charset, title, body) in PAGES.items():
        text = f"<html><head><title>{title}</title></head><body>{body}</body></html>"
        archive = {"WebMainResource": {"WebResourceData": text.encode(charset), "WebResourceMIMEType": "text/html",
                                       "WebResourceTextEncodingName": charset, "WebResourceFrameName": "",
                                       "WebResourceURL": "https://pages.example/" + name.split(".")[0]}}
        with open(os.path.join(target, name), "wb") as file:
            plistlib.dump(archive, file, fmt=plistlib.FMT_BINARY)
