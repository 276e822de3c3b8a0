"""Office files and PDFs of content.py, by LibreOffice; texts in another charset than UTF-8."""
import html
import io
import os
import re
import subprocess
import tempfile
import zipfile

import content

TARGET = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), "samples")
PASSWORD = "canal"
LOCKED = "scan0003.pdf"
SPACES = {name: f"urn:oasis:names:tc:opendocument:xmlns:{urn}:1.0" for name, urn in [
    ("office", "office"), ("text", "text"), ("table", "table"), ("draw", "drawing"), ("meta", "meta"),
    ("presentation", "presentation"), ("style", "style")]}
SPACES.update({"svg": "urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0",
               "fo": "urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0",
               "dc": "http://purl.org/dc/elements/1.1/"})


def escaped(text):
    return html.escape(str(text), quote=True)


def cell(value):
    if isinstance(value, (int, float)):
        return f'<table:table-cell office:value-type="float" office:value="{value}"><text:p>{value}</text:p></table:table-cell>'
    return f'<table:table-cell office:value-type="string"><text:p>{escaped(value)}</text:p></table:table-cell>'


def table(name, rows):
    body = "".join("<table:table-row>" + "".join(map(cell, row)) + "</table:table-row>" for row in rows)
    columns = max(map(len, rows))
    return (f'<table:table table:name="{escaped(name)}">'
            f'<table:table-column table:number-columns-repeated="{columns}"/>{body}</table:table>')


def text_body(blocks):
    out = []
    for number, block in enumerate(blocks):
        if isinstance(block, list):
            out.append(table(f"T{number}", block))
        elif match := re.match(r"(#+) (.*)", block):
            out.append(f'<text:h text:outline-level="{len(match[1])}">{escaped(match[2])}</text:h>')
        elif block.startswith("- "):
            out.append(f"<text:list><text:list-item><text:p>{escaped(block[2:])}</text:p></text:list-item></text:list>")
        else:
            out.append(f"<text:p>{escaped(block)}</text:p>")
    return f"<office:text>{''.join(out)}</office:text>"


def frame(kind, top, height, paragraphs):
    lines = "".join(f"<text:p>{escaped(line)}</text:p>" for line in paragraphs)
    return (f'<draw:frame presentation:class="{kind}" svg:x="2cm" svg:y="{top}cm" svg:width="24cm" '
            f'svg:height="{height}cm"><draw:text-box>{lines}</draw:text-box></draw:frame>')


def slides_body(slides):
    pages = "".join(f'<draw:page draw:name="page{number}" draw:master-page-name="M">'
                    f'{frame("title", 1, 3, [title])}{frame("outline", 5, 9, points)}</draw:page>'
                    for number, (title, points) in enumerate(slides, 1))
    return f"<office:presentation>{pages}</office:presentation>"


def flat_document(mime, date, title, body):
    """A flat OpenDocument file without any author."""
    spaces = "".join(f' xmlns:{name}="{uri}"' for name, uri in SPACES.items())
    meta = f"<meta:creation-date>{date}T09:00:00</meta:creation-date><dc:date>{date}T09:00:00</dc:date>"
    if title:
        meta = f"<dc:title>{escaped(title)}</dc:title>" + meta
    master = ""
    if "presentation" in mime:
        master = ('<office:automatic-styles><style:page-layout style:name="L"><style:page-layout-properties '
                  'fo:page-width="28cm" fo:page-height="15.75cm"/></style:page-layout></office:automatic-styles>'
                  '<office:master-styles><style:master-page style:name="M" style:page-layout-name="L"/>'
                  "</office:master-styles>")
    return (f'<?xml version="1.0" encoding="UTF-8"?><office:document{spaces} office:version="1.3" '
            f'office:mimetype="application/vnd.oasis.opendocument.{mime}"><office:meta>{meta}</office:meta>'
            f"{master}<office:body>{body}</office:body></office:document>")


def tidied_xml(name, data, date):
    """A member without the moment and the program's build that made it."""
    stamp = f"{date}T09:00:00".encode()
    if name in ("meta.xml", "docProps/core.xml"):
        data = re.sub(rb"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?", stamp, data)
        data = re.sub(rb"<(meta:(generator|editing-duration|editing-cycles)|cp:revision)>.*?</\1>", b"", data)
        data = re.sub(rb"<(dc:creator|cp:lastModifiedBy|meta:initial-creator|meta:printed-by)>.*?</\1>", b"", data)
    elif name == "docProps/app.xml":
        data = re.sub(rb"<(Application|TotalTime|AppVersion)>.*?</\1>", b"", data)
    elif name == "settings.xml":
        data = re.sub(rb'("Rsid(?:Root)?" config:type="int">)\d+', rb"\g<1>1", data)
    elif name.startswith("ppt/"):
        data = re.sub(rb'(<a:fld id="\{)[-0-9A-F]{36}', rb"\g<1>00000000-0000-4000-8000-000000000000", data)
    return data


def tidied_archive(data, date):
    out = io.BytesIO()
    with zipfile.ZipFile(io.BytesIO(data)) as source, zipfile.ZipFile(out, "w") as target:
        for entry in source.infolist():
            if entry.filename.startswith(("Thumbnails/", "Configurations2/", "layout-cache")):
                continue
            member = zipfile.ZipInfo(entry.filename, (2026, 1, 1, 0, 0, 0))
            member.compress_type = zipfile.ZIP_STORED if entry.filename == "mimetype" else zipfile.ZIP_DEFLATED
            member.external_attr = 0o644 << 16
            target.writestr(member, tidied_xml(entry.filename, source.read(entry), date), compresslevel=9)
    return out.getvalue()


def tidied_pdf(data, date):
    """The same number of bytes, or the cross-reference table would be wrong."""
    stamp = (date.replace("-", "") + "090000").encode()
    data = re.sub(rb"(/CreationDate\(D:)\d{14}", lambda match: match[1] + stamp, data)
    data = re.sub(rb"(/ID \[ <)([0-9A-F]{32})(>\s*<)([0-9A-F]{32})",
                  lambda m: m[1] + b"0" * 32 + m[3] + b"0" * 32, data)
    return re.sub(rb"(/DocChecksum /)([0-9A-F]{32})", lambda m: m[1] + b"0" * 32, data)


def tidied_rtf(data, date):
    year, month, day = (int(part) for part in date.split("-"))
    stamp = rb"\\yr%d\\mo%d\\dy%d\\hr9\\min0" % (year, month, day)
    data = re.sub(rb"\\yr\d+\\mo\d+\\dy\d+\\hr\d+\\min\d+", stamp, data)
    return re.sub(rb"\{\\\*\\generator [^}]*\}|\{\\author [^}]*\}|\{\\operator [^}]*\}", b"", data)


def export_filter(extension, module, locked):
    if extension != "pdf":
        return extension
    options = ""
    if locked:
        options = (':{"EncryptFile":{"type":"boolean","value":"true"},'
                   f'"DocumentOpenPassword":{{"type":"string","value":"{PASSWORD}"}}}}')
    return f"pdf:{module}_pdf_Export{options}"


def convert(folder, name, source_extension, module, source, date):
    stem, extension = os.path.splitext(name)
    path = os.path.join(folder, "source." + source_extension)
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(source)
    extension = extension[1:]
    # A profile of its own, so that nothing of the person who runs this gets into a sample.
    subprocess.run(
        ["soffice", f"-env:UserInstallation=file://{folder}/profile", "--headless", "--convert-to",
         export_filter(extension, module, name == LOCKED), "--outdir", os.path.join(folder, "out"), path],
        check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    with open(os.path.join(folder, "out", "source." + extension), "rb") as stream:
        data = stream.read()
    keep = lambda data, _: data  # the old binary formats carry no name of a person here
    tidy = {"pdf": tidied_pdf, "rtf": tidied_rtf, "doc": keep, "xls": keep, "ppt": keep}.get(extension, tidied_archive)
    with open(os.path.join(TARGET, name), "wb") as stream:
        stream.write(data if name == LOCKED else tidy(data, date))
    print(name)


def make(_):
    with tempfile.TemporaryDirectory() as folder:
        for name, (date, title, blocks) in content.TEXTS.items():
            convert(folder, name, "fodt", "writer", flat_document("text", date, title, text_body(blocks)), date)
        for name, (date, title, sheets) in content.SHEETS.items():
            body = "".join(table(sheet, rows) for sheet, rows in sheets.items())
            body = f"<office:spreadsheet>{body}</office:spreadsheet>"
            convert(folder, name, "fods", "calc", flat_document("spreadsheet", date, title, body), date)
        for name, (date, title, slides) in content.SLIDES.items():
            body = slides_body(slides)
            convert(folder, name, "fodp", "impress", flat_document("presentation", date, title, body), date)
    for name, (charset, text) in content.CHARSETS.items():
        with open(os.path.join(TARGET, name), "wb") as stream:
            stream.write(text.replace("\n", "\r\n").encode(charset))

