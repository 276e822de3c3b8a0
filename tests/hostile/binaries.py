"""Pictures, old office files, recordings and films: lies about sizes, loops, bombs."""
import struct
import zlib

from case import ANY, NO_NAME, NOTHING, UNREADABLE, Case, deflated_zeros, noise

GIGABYTE = 1 << 30


# ---- Pictures ----

def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(width, height, data, bits=1, colour=0, more=b""):
    head = struct.pack(">IIBBBBB", width, height, bits, colour, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + more + chunk(b"IDAT", data) + chunk(b"IEND", b"")


def tiff(entries, tail=b"", following=0):
    """One folder of {tag: (kind, count, value)}."""
    folder = b"".join(struct.pack("<HHII", tag, *entry) for tag, entry in sorted(entries.items()))
    return b"II*\0" + struct.pack("<IH", 8, len(entries)) + folder + struct.pack("<I", following) + tail


def pictures():
    big = 60_000
    yield Case("enormous.png", png(big, big, zlib.compress(b"x")), UNREADABLE)
    yield Case("enormous and whole.png", png(big, big, deflated_zeros(451 << 20, raw=False)), UNREADABLE)
    yield Case("widest.png", png(0x7FFFFFFF, 0x7FFFFFFF, zlib.compress(b"x"), 16, 6), UNREADABLE)
    yield Case("nothing wide.png", png(0, 10, zlib.compress(b"x")), UNREADABLE)
    white = zlib.compress((b"\0" + b"\xff" * 50) * 300)
    yield Case("text bomb.png", png(400, 300, white, more=chunk(b"zTXt", b"Comment\0\0" + deflated_zeros(GIGABYTE, raw=False))), NOTHING)
    yield Case("profile bomb.png", png(400, 300, white, more=chunk(b"iCCP", b"x\0\0" + deflated_zeros(GIGABYTE, raw=False))), NOTHING)
    yield Case("enormous.gif", b"GIF89a" + struct.pack("<HHBBB", big, big, 0, 0, 0) + b"," + struct.pack("<HHHHB", 0, 0, big, big, 0) + b"\2\1\0\0;", UNREADABLE)
    yield Case("no end.gif", b"GIF89a" + struct.pack("<HHBBB", 9, 9, 0x80, 0, 0) + bytes(6) + b"!\xfe" + b"\xffaaa" * 500_000, UNREADABLE)
    yield Case("enormous.bmp", b"BM" + struct.pack("<IIIIiiHHIIiiII", 1 << 20, 0, 54, 40, big, big, 1, 24, 0, 0, 1, 1, 0, 0) + bytes(1000), UNREADABLE)
    yield Case("least height.bmp", b"BM" + struct.pack("<IIIIiiHHIIiiII", 1 << 20, 0, 54, 40, 100, -2_147_483_648, 1, 24, 0, 0, 1, 1, 0, 0) + bytes(1000), UNREADABLE)
    strips = {256: (4, 1, big), 257: (4, 1, big), 258: (3, 1, 8), 259: (3, 1, 1), 262: (3, 1, 1), 273: (4, 1, 8), 277: (3, 1, 1), 278: (4, 1, big), 279: (4, 1, 0xFFFFFFF0)}
    yield Case("enormous.tiff", tiff(strips), UNREADABLE)
    small = strips | {256: (4, 1, 9), 257: (4, 1, 9), 278: (4, 1, 9), 279: (4, 1, 81)}
    yield Case("folder of itself.tiff", tiff(small, bytes(100), 8), ANY)
    yield Case("many strips.tiff", tiff(small | {273: (4, 0x3FFFFFFF, 8), 279: (4, 0x3FFFFFFF, 8)}), ANY)
    yield Case("enormous.webp", b"RIFF" + struct.pack("<I", 30) + b"WEBPVP8X" + struct.pack("<I", 10) + b"\0\0\0\0\xff\x3f\0\xff\x3f\0" + b"VP8 \0\0\0\0", UNREADABLE)
    yield Case("enormous.jpg", b"\xff\xd8\xff\xc0\0\x11\x08\xff\xff\xff\xff\x03\1\x22\0\2\x11\1\3\x11\1\xff\xda\0\x0c\3\1\0\2\x11\3\x11\0\x3f\0" + noise(5000, 1) + b"\xff\xd9", ANY)
    yield Case("many scans.jpg", b"\xff\xd8\xff\xc2\0\x0b\x08\x20\0\x20\0\1\1\x11\0" + b"\xff\xda\0\x08\1\1\0\0\0\0" * 200_000, ANY)


# ---- Old office files ----

FREE, END = 0xFFFFFFFF, 0xFFFFFFFE


def compound(fat, directory_start=1, first_difat=END, difats=0, entries=b"", fats=1, shift=9):
    head = b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(16) + struct.pack("<HHHHH6xIIIIIIIII", 0x3E, 3, 0xFFFE, shift, 6, 0, fats, directory_start, 0,
                                                                         4096, END, 0, first_difat, difats)
    head += struct.pack("<I", 0) + struct.pack("<I", FREE) * 108
    table = b"".join(struct.pack("<I", sector) for sector in fat).ljust(512, b"\xff")
    return head.ljust(512, b"\0") + table[:512] + entries.ljust(512, b"\0") + bytes(1024)


def entry(name, kind, left=FREE, right=FREE, child=FREE, start=0, size=0):
    text = name.encode("utf-16-le") + b"\0\0"
    return text.ljust(64, b"\0") + struct.pack("<HBBIII36xIQ", len(text), kind, 1, left, right, child, start, size)


def compounds():
    root = entry("Root Entry", 5, child=1)
    for extension, stream in (("doc", "WordDocument"), ("xls", "Workbook"), ("ppt", "PowerPoint Document")):
        def case(name, data, extension=extension):
            return Case(f"{name}.{extension}", data, NO_NAME)
        yield case("sector after itself", compound([0xFFFFFFFD, END, 2], entries=root + entry(stream, 2, start=2, size=1 << 30)))
        yield case("ring of sectors", compound([0xFFFFFFFD, END, 3, 2], entries=root + entry(stream, 2, start=2, size=1 << 30)))
        yield case("directory in a ring", compound([0xFFFFFFFD, 1], entries=root + entry("x", 2)))
        yield case("tree in a ring", compound([0xFFFFFFFD, END], entries=root + entry("a", 2, 1, 1) + entry("b", 2, 1, 1)))
        yield case("tables in a ring", compound([0xFFFFFFFD, END], first_difat=1, difats=0xFFFFFFFF, fats=0xFFFFFFFF))
        yield case("enormous sectors", compound([0xFFFFFFFD, END], shift=0xFFFF))
        yield case("stream outside", compound([0xFFFFFFFD, END], entries=root + entry(stream, 2, start=0xFFFFFFF0, size=1 << 63)))


# ---- Recordings and films ----

def box(name, data=b"", size=None):
    return struct.pack(">I", len(data) + 8 if size is None else size) + name + data


def film(duration, width, height, times=1, rate=48_000):
    head = box(b"mvhd", struct.pack(">B3xQQIQ", 1, 0, 0, 1000, duration) + bytes(80))
    track = box(b"tkhd", struct.pack(">B3xQQIIQ", 1, 0, 0, 1, 0, duration) + bytes(52) + struct.pack(">II", width << 16 & 0xFFFFFFFF, height << 16 & 0xFFFFFFFF))
    sound = box(b"stsd", struct.pack(">II", 0, 1) + box(b"sowt", struct.pack(">6xHHHIHHHHI", 1, 0, 0, 0, 2, 16, 0, 0, rate << 16 & 0xFFFFFFFF)))
    table = sound + box(b"stts", struct.pack(">IIII", 0, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF)) + box(b"stsz", struct.pack(">III", 0, 2, 0xFFFFFFFF))
    table += box(b"stsc", struct.pack(">IIIII", 0, 0xFFFFFFFF, 1, 0xFFFFFFFF, 1)) + box(b"stco", struct.pack(">III", 0, 0xFFFFFFFF, 8))
    media = box(b"mdhd", struct.pack(">B3xQQIQI", 1, 0, 0, rate, duration, 0)) + box(b"hdlr", bytes(8) + b"soun" + bytes(13)) + box(b"minf", box(b"stbl", table))
    return box(b"ftyp", b"isom\0\0\0\0isom") + box(b"moov", head + box(b"trak", track + box(b"mdia", media)) * times) + box(b"mdat", bytes(1000))


def wave(rate, channels, bits, size=None, sound=bytes(4000), claimed=None):
    frame = channels * bits // 8 & 0xFFFF
    shape = struct.pack("<HHIIHH", 1, channels, rate, rate * frame & 0xFFFFFFFF, frame, bits)
    return b"RIFF" + struct.pack("<I", 0xFFFFFFFF) + b"WAVEfmt \x10\0\0\0" + shape + b"data" + struct.pack("<I", len(sound) if claimed is None else claimed) + sound


def ebml(name, data):
    return name + b"\x08" + struct.pack(">I", len(data))[0:0] + (struct.pack(">Q", len(data) | 1 << 56)) + data


def media(good):
    yield Case("endless.mp4", film((1 << 63) - 1, 64, 48), ANY)
    yield Case("enormous.mp4", film(1000, 65_535, 65_535), ANY)
    yield Case("fast.mp4", film(1000, 64, 48, rate=65_535), ANY)
    yield Case("many tracks.mp4", film(1000, 64, 48, times=5000), ANY)
    nested = b""
    for _ in range(3000):
        nested = box(b"moov", nested)
    yield Case("boxes in boxes.mp4", box(b"ftyp", b"isom\0\0\0\0isom") + nested, UNREADABLE)
    yield Case("box that lies.mp4", box(b"ftyp", b"isom\0\0\0\0isom") + box(b"moov", b"x" * 100, 0x7FFFFFFF), UNREADABLE)
    yield Case("box of nothing.mov", box(b"ftyp", b"qt  \0\0\0\0qt  ") + box(b"moov", b"", 0) * 1000, UNREADABLE)
    for name, arguments in {"slow": (1, 1, 16), "fast": (0x7FFFFFFF, 1, 16), "many channels": (8000, 65_535, 8), "no channels": (8000, 0, 16),
                            "wide samples": (8000, 1, 65_528)}.items():
        yield Case(f"{name}.wav", wave(*arguments), ANY)
    yield Case("long.wav", wave(8000, 1, 16, claimed=0xFFFFFFFE), NOTHING)
    tag = b"ID3\4\0\0" + bytes([0x7F] * 4)
    yield Case("tag without end.mp3", tag + b"TIT2" + bytes([0x7F] * 4) + b"\0\0\3Titre", UNREADABLE)
    frames = b"TIT2\0\0\0\2\0\0\3" + b"a"
    yield Case("many tags.mp3", b"ID3\4\0\0" + bytes([0, 0x20, 0, 0]) + frames * 43_690, ANY)
    head = ebml(b"\x1a\x45\xdf\xa3", b"\x42\x82\x84webm")
    for name, value in {"endless": b"\x7f\xf0\0\0\0\0\0\0", "not a number": b"\x7f\xf8\0\0\0\0\0\0", "before zero": struct.pack(">d", -1e300)}.items():
        yield Case(f"{name}.webm", head + ebml(b"\x18\x53\x80\x67", ebml(b"\x15\x49\xa9\x66", b"\x44\x89\x88" + value)), UNREADABLE)
    yield Case("pages of nothing.ogg", (b"OggS\0\2" + bytes(20) + b"\xff" + b"\0" * 255) * 20_000, UNREADABLE)
    yield Case("packets of nothing.aac", b"\xff\xf1\x50\x80\x00\xff\xfc" * 300_000, ANY)
    # Files that would have another one opened.
    lists = {"list.mp3": "#EXTM3U\n#EXTINF:1,\n{}\n", "live.mp4": "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\n{}\n#EXT-X-ENDLIST\n",
             "joined.mov": "ffconcat version 1.0\nfile '{}'\n", "manifest.webm": "<?xml version='1.0'?><MPD><Period><BaseURL>{}</BaseURL></Period></MPD>",
             "session.ogg": "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=audio 5004 RTP/AVP 0\n"}
    for name, text in lists.items():
        yield Case("another " + name, text.format(good).encode(), UNREADABLE)


def cases(good):
    yield from pictures()
    yield from compounds()
    yield from media(good)
