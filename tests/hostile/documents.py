"""Archives and documents with marks: bombs, nesting, entities, loops, lies, planted text."""
import plistlib
import struct

from case import ANY, NO_NAME, NOTHING, PLANTED, UNREADABLE, Case, archive, deflated_zeros

WORD = '<?xml version="1.0"?><w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"><w:body>{}</w:body></w:document>'
RUN = "<w:p><w:r>{}<w:t>{}</w:t></w:r></w:p>"
GIGABYTE = 1 << 30


def docx(body, *more):
    return archive([("word/document.xml", body if isinstance(body, bytes) else WORD.format(body).encode()), *more])


def laughs(levels=10):
    entities = '<!ENTITY a0 "haha">' + "".join(f'<!ENTITY a{i} "{f"&a{i - 1};" * 10}">' for i in range(1, levels))
    return f"<!DOCTYPE w:document [{entities}]>", f"&a{levels - 1};"


def archives():
    zeros = deflated_zeros(GIGABYTE)
    yield Case("bomb.docx", archive([("word/document.xml", zeros, GIGABYTE)]), UNREADABLE)
    yield Case("bomb that says 100.docx", archive([("word/document.xml", zeros, 100)]), UNREADABLE)
    yield Case("bomb.odt", archive([("content.xml", zeros, GIGABYTE)]), UNREADABLE)
    yield Case("bomb in metadata.docx", docx(RUN.format("", "Lettre au syndic"), ("docProps/core.xml", zeros, GIGABYTE)), "Lettre au syndic")
    inner = archive([("word/document.xml", zeros, GIGABYTE)])
    yield Case("nested.docx", archive([("word/document.xml", archive([("word/document.xml", inner)]))]), UNREADABLE)
    yield Case("many members.xlsx", archive([(f"xl/worksheets/sheet{i}.xml", b"<a/>") for i in range(60_000)]), ANY)
    yield Case("claims 65535 members.pptx", archive([("ppt/slides/slide1.xml", b"<a/>")], 65_535), UNREADABLE)
    yield Case("many slides.pptx", archive([(f"ppt/slides/slide{i}.xml", deflated_zeros(8 << 20), 8 << 20) for i in range(500)]), ANY)
    yield Case("no members.epub", archive([]), UNREADABLE)
    names = ["../../word/document.xml", "/word/document.xml", "word\\document.xml", "word/document.xml\0"]
    yield Case("escaping names.docx", archive([(name, WORD.format(RUN.format("", PLANTED)).encode()) for name in names]), UNREADABLE)


def marks():
    head, laugh = laughs()
    yield Case("billion laughs.docx", docx(WORD.replace("?>", "?>" + head, 1).format(RUN.format("", laugh)).encode()), ANY)
    yield Case("billion laughs.xhtml", f"<?xml version='1.0'?>{head}<html><body><p>{laugh}</p></body></html>".encode(), ANY)
    big = "x" * 100_000
    quadratic = f'<!DOCTYPE w:document [<!ENTITY b "{big}">]>'
    yield Case("quadratic entity.docx", docx(WORD.replace("?>", "?>" + quadratic, 1).format(RUN.format("", "&b;" * 20_000)).encode()), ANY)
    outside = '<!DOCTYPE w:document [<!ENTITY b SYSTEM "file:///etc/passwd">]>'
    yield Case("outside entity.docx", docx(WORD.replace("?>", "?>" + outside, 1).format(RUN.format("", "Bail &b;")).encode()), ANY)
    yield Case("deep.docx", docx("<w:p>" * 400_000), ANY)
    yield Case("deep.odt", archive([("content.xml", b"<o>" * 1_000_000)]), NOTHING)
    yield Case("deep.html", b"<div><b>" * 500_000 + b"fond", ANY)
    yield Case("tables.html", b"<table><tr><td>" * 200_000, ANY)
    yield Case("attributes.html", b"<p " + b"".join(b"a%d=1 " % i for i in range(200_000)) + b">x", ANY)
    yield Case("deep.json", b'[{"a":' * 1_000_000, ANY)
    yield Case("wide.json", b"[" + b"[]," * 3_000_000 + b"[]]", NOTHING)
    yield Case("deep.rtf", b"{\\rtf1" + b"{\\b" * 1_000_000, ANY)
    yield Case("bin.rtf", b"{\\rtf1 Courrier\\bin2147483647 x}", ANY)
    yield Case("one line.csv", b"a;" * 3_000_000, ANY)
    yield Case("quotes.csv", b'"' * 5_000_001, ANY)
    yield Case("stars.md", b"*_`[" * 2_000_000, ANY)
    yield Case("brackets.md", b"[a](" * 1_000_000, ANY)
    yield Case("marks.txt", "e".encode() + "\u0301".encode() * 3_000_000, ANY)
    rows = ('<table:table-row table:number-rows-repeated="1048576"><table:table-cell table:number-columns-repeated="16384" '
            'office:value-type="string"><text:p>x</text:p></table:table-cell></table:table-row>') * 1000
    yield Case("repeated.ods", archive([("content.xml", f"<o><table:table table:name='a'>{rows}</table:table></o>".encode())]), ANY)
    slides = "<p:sldIdLst>" + '<p:sldId r:id="rId1"/>' * 200_000 + "</p:sldIdLst>"
    yield Case("repeated slide.pptx", archive([
        ("ppt/presentation.xml", f"<p:presentation>{slides}</p:presentation>".encode()),
        ("ppt/_rels/presentation.xml.rels", b'<Relationships><Relationship Id="rId1" Type="t/slide" Target="slides/slide1.xml"/></Relationships>'),
        ("ppt/slides/slide1.xml", b"<p:sld><a:p><a:t>Ronde</a:t></a:p></p:sld>")]), ANY)


def books():
    container = '<container><rootfiles><rootfile full-path="{}"/></rootfiles></container>'
    yield Case("its own package.epub", archive([("META-INF/container.xml", container.format("META-INF/container.xml").encode())]), NO_NAME)
    package = ('<package><metadata><dc:title xmlns:dc="http://purl.org/dc/elements/1.1/">Ronde de nuit</dc:title></metadata><manifest>'
               '<item id="a" href="a.xhtml" media-type="application/xhtml+xml"/></manifest><spine>{}</spine></package>')
    yield Case("endless spine.epub", archive([
        ("META-INF/container.xml", container.format("p.opf").encode()), ("p.opf", package.format('<itemref idref="a"/>' * 200_000).encode()),
        ("a.xhtml", b"<html><body>" + b"<p></p>" * 100_000 + b"</body></html>")]), "Ronde de nuit")


def web_archives():
    def trailer(objects, top=0, count=None, table=None):
        body, offsets = b"bplist00", []
        for data in objects:
            offsets.append(len(body))
            body += data
        start = len(body)
        body += b"".join(struct.pack(">I", offset) for offset in offsets)
        return body + struct.pack(">6xBBQQQ", 4, 1, len(objects) if count is None else count, top, start if table is None else table)
    yield Case("itself.webarchive", trailer([b"\xd1\1\0", b"\x5fWebMainResource"[:1] + b"\x10\x0fWebMainResource"]), UNREADABLE)
    yield Case("array of itself.webarchive", trailer([b"\xa2\0\0"]), UNREADABLE)
    yield Case("doubling arrays.webarchive", trailer([b"\xa2" + bytes([i + 1, i + 1]) for i in range(60)] + [b"\x50"]), UNREADABLE)
    yield Case("many claimed.webarchive", trailer([b"\x50"], count=1 << 62), UNREADABLE)
    yield Case("table outside.webarchive", trailer([b"\x50"], table=1 << 63), UNREADABLE)
    yield Case("long string.webarchive", trailer([b"\x4f\x13\x7f\xff\xff\xff\xff\xff\xff\xff"]), UNREADABLE)
    yield Case("deep.webarchive", b"<plist>" + b"<array>" * 300_000, UNREADABLE)
    page = {"WebMainResource": {"WebResourceData": b"<div>" * 300_000 + b"Piscine municipale", "WebResourceMIMEType": "text/html"}}
    yield Case("deep page.webarchive", plistlib.dumps(page, fmt=plistlib.FMT_BINARY), ANY)


def planted():
    seen = "Règlement de la cantine scolaire"
    hidden = {
        "display": "<p style='display: none'>{}</p>", "visibility": "<p style='visibility:hidden'>{}</p>", "attribute": "<p hidden>{}</p>",
        "template": "<template>{}</template>", "comment": "<!-- {} -->", "noscript in head": "<script>var x = '{}'</script>",
    }
    for way, mark in hidden.items():
        yield Case(f"planted {way}.html", f"<html><body>{mark.format(PLANTED)}<h1>{seen}</h1></body></html>".encode(), seen)
    yield Case("planted.docx", docx(RUN.format("<w:rPr><w:vanish/></w:rPr>", PLANTED) + RUN.format("", seen)), seen)
    yield Case("planted tiny.docx", docx(RUN.format('<w:rPr><w:sz w:val="2"/></w:rPr>', PLANTED) + RUN.format("", seen)), seen)
    yield Case("planted.rtf", ("{\\rtf1\\ansi {\\v " + PLANTED + "\\par}R\\'e8glement de la cantine scolaire\\par}").encode(), seen)
    sheet = "<worksheet><sheetData><row><c t='inlineStr'><is><t>{}</t></is></c></row></sheetData></worksheet>"
    relations = "".join(f'<Relationship Id="r{i}" Type="t/worksheet" Target="worksheets/sheet{i}.xml"/>' for i in (1, 2))
    yield Case("planted.xlsx", archive([
        ("xl/workbook.xml", b'<workbook xmlns:r="r"><sheets><sheet name="x" state="veryHidden" r:id="r1"/><sheet name="y" r:id="r2"/></sheets></workbook>'),
        ("xl/_rels/workbook.xml.rels", f"<Relationships>{relations}</Relationships>".encode()),
        ("xl/worksheets/sheet1.xml", sheet.format(PLANTED).encode()), ("xl/worksheets/sheet2.xml", sheet.format(seen).encode())]), seen)
    slide = '<p:sld xmlns:p="p" xmlns:a="a"{}><p:cSld><p:spTree><p:sp><p:txBody><a:p><a:r><a:t>{}</a:t></a:r></a:p></p:txBody></p:sp></p:spTree></p:cSld></p:sld>'
    yield Case("planted.pptx", archive([("ppt/slides/slide1.xml", slide.format(' show="0"', PLANTED).encode()),
                                        ("ppt/slides/slide2.xml", slide.format("", seen).encode())]), seen)
    mail = "From: a@b.example\r\nSubject: {}\r\nMIME-Version: 1.0\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<div style='display:none'>{}</div><p>Bonjour</p>"
    yield Case("planted.eml", mail.format("Menu de la semaine", PLANTED).encode(), "Menu de la semaine")


def cases():
    for part in (archives, marks, books, web_archives, planted):
        yield from part()
