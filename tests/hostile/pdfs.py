"""PDFs: loops, bombs, lies, and text that nobody sees."""
import zlib

from case import ANY, PLANTED, UNREADABLE, Case, deflated_zeros

FONT = b"<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>"


def pdf(objects, trailer=b"", root=1):
    """Objects are numbered from 1."""
    out, offsets = bytearray(b"%PDF-1.5\n"), []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    start = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1) + b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    return bytes(out + b"trailer\n<</Size %d/Root %d 0 R%s>>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, root, trailer, start))


def stream(data, dictionary=b"", length=None):
    return b"<<%s/Length %d>>\nstream\n%s\nendstream" % (dictionary, len(data) if length is None else length, data)


def one_page(content, resources=b"", box=b"0 0 595 842", more=()):
    page = b"<</Type/Page/Parent 2 0 R/MediaBox[%s]/Contents 4 0 R/Resources<</Font<</F 5 0 R>>%s>>>>" % (box, resources)
    return pdf([b"<</Type/Catalog/Pages 2 0 R>>", b"<</Type/Pages/Kids[3 0 R]/Count 1>>", page,
                content if content.startswith(b"<<") else stream(content), FONT, *more])


def text(words, size=14, at=(72, 700), before=b""):
    return b"BT %s /F %d Tf %d %d Td (%s) Tj ET\n" % (before, size, *at, words.encode("cp1252"))


def picture(width, height, data, bits=1):
    return stream(data, b"/Type/XObject/Subtype/Image/Width %d/Height %d/ColorSpace/DeviceGray/BitsPerComponent %d/Filter/FlateDecode"
                  % (width, height, bits))


def cases():
    catalog = b"<</Type/Catalog/Pages 2 0 R>>"
    yield Case("page tree of itself.pdf", pdf([catalog, b"<</Type/Pages/Kids[2 0 R]/Count 1>>"]), UNREADABLE)
    yield Case("page tree in a ring.pdf", pdf([catalog, b"<</Type/Pages/Kids[3 0 R]/Count 9>>", b"<</Type/Pages/Kids[2 0 R]/Parent 2 0 R/Count 9>>"]), ANY)
    yield Case("object is itself.pdf", pdf([b"1 0 R"]), UNREADABLE)
    yield Case("length of itself.pdf", one_page(b"<</Length 4 0 R>>\nstream\nx\nendstream"), ANY)
    yield Case("many pages claimed.pdf", pdf([catalog, b"<</Type/Pages/Kids[]/Count 2147483647>>"]), ANY)
    deep = b"<</Type/Catalog/Pages 2 0 R/X " + b"[" * 300_000 + b"]" * 300_000 + b">>"
    yield Case("deep arrays.pdf", pdf([deep, b"<</Type/Pages/Kids[]/Count 0>>"]), ANY)
    yield Case("deep dictionaries.pdf", pdf([b"<</A" * 200_000 + b" 1" + b">>" * 200_000]), UNREADABLE)
    whole = one_page(text("Bail du moulin"))
    yield Case("previous table is this one.pdf", whole.replace(b"/Root 1 0 R", b"/Root 1 0 R/Prev %d" % whole.rindex(b"xref\n0")), "Bail du moulin")
    yield Case("no table.pdf", whole.replace(b"xref\n0", b"fxre\n0"), "Bail du moulin")
    yield Case("bomb.pdf", one_page(stream(deflated_zeros(1 << 30, raw=False), b"/Filter/FlateDecode")), ANY)
    nested = zlib.compress(zlib.compress(zlib.compress(bytes(100 << 20), 9), 9), 9)
    yield Case("filters on filters.pdf", one_page(stream(nested, b"/Filter[" + b"/FlateDecode" * 3 + b"]")), ANY)
    yield Case("form draws itself.pdf", one_page(b"/X Do " + text("Ronde de formes"), b"/XObject<</X 6 0 R>>", more=[
        stream(b"/X Do /X Do", b"/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<</XObject<</X 6 0 R>>>>")]), ANY)
    doubling = [stream(b"/X Do /X Do", b"/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<</XObject<</X %d 0 R>>>>" % (7 + i)) for i in range(40)]
    yield Case("forms double.pdf", one_page(b"/X Do", b"/XObject<</X 6 0 R>>", more=[*doubling, stream(b"", b"/Type/XObject/Subtype/Form/BBox[0 0 9 9]")]), ANY)
    pages = [catalog, b"<</Type/Pages/Kids[3 0 R 5 0 R]/Count 2>>",
             b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Contents 4 0 R/Resources<</Font<</F 6 0 R>>>>>>", stream(text("Bail du moulin")),
             b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Contents 7 0 R/Resources<</XObject<</X 8 0 R>>>>>>", FONT, stream(b"/X Do")]
    doubling = [stream(b"/X Do /X Do", b"/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<</XObject<</X %d 0 R>>>>" % (9 + i)) for i in range(60)]
    yield Case("second page without end.pdf", pdf([*pages, *doubling, stream(b"", b"/Type/XObject/Subtype/Form/BBox[0 0 9 9]")]), "Bail du moulin")
    yield Case("many operators.pdf", one_page(stream(zlib.compress(b"0 0 m 9 9 l S " * 2_000_000), b"/Filter/FlateDecode")), ANY)
    yield Case("save without end.pdf", one_page(stream(zlib.compress(b"q " * 5_000_000), b"/Filter/FlateDecode")), ANY)
    yield Case("enormous page.pdf", one_page(text("Grand plan du quartier"), box=b"0 0 200000000 200000000"), ANY)
    yield Case("page without end.pdf", one_page(text("Plan de nulle part"), box=b"0 0 1e38 -1e38"), ANY)
    rows = deflated_zeros(450 << 20, raw=False)
    yield Case("enormous picture.pdf", one_page(b"q 595 0 0 842 0 0 cm /X Do Q", b"/XObject<</X 6 0 R>>", more=[picture(60_000, 60_000, rows)]), ANY)
    yield Case("picture that lies.pdf", one_page(b"q 595 0 0 842 0 0 cm /X Do Q", b"/XObject<</X 6 0 R>>",
                                                 more=[picture(2_147_483_647, 2_147_483_647, b"x", 8)]), ANY)
    yield Case("length that lies.pdf", one_page(stream(text("Lettre au propriétaire"), length=1 << 40)), ANY)
    yield Case("many objects.pdf", pdf([catalog, b"<</Type/Pages/Kids[]/Count 0>>"] + [b"null"] * 200_000), ANY)

    seen = "Avis de fermeture du gymnase"
    for way, planted in {
        "white": text(PLANTED, 20, (72, 760), b"1 1 1 rg"), "tiny": text(PLANTED, 1, (72, 760)),
        "outside": text(PLANTED, 20, (72, 2000)), "invisible": text(PLANTED, 20, (72, 760), b"3 Tr"),
        "under a box": text(PLANTED, 20, (72, 760)) + b"1 1 1 rg 60 750 400 40 re f ",
    }.items():
        yield Case(f"planted {way}.pdf", one_page(planted + b"0 0 0 rg " + text(seen, 14, (72, 700), b"0 Tr")), seen)
