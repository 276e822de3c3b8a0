"""Pages, windows and snapshots, drawn with Pillow. The same call gives the same pixels."""
import random

from PIL import Image, ImageChops, ImageDraw, ImageFilter, ImageFont

FOLDER = "/usr/share/fonts/truetype/dejavu/DejaVu"
LIGHT = {"back": (250, 250, 248), "bar": (222, 222, 226), "text": (30, 30, 34), "faint": (110, 110, 118)}
DARK = {"back": (28, 29, 34), "bar": (46, 47, 54), "text": (232, 232, 236), "faint": (150, 152, 162)}


def font(size, style="Sans"):
    return ImageFont.truetype(f"{FOLDER}{style}.ttf", size)


def lines_on(image, lines, at, size, colour, style="Sans", spacing=1.45):
    """Draws lines one below the other; one that begins with "# " is a heading. Returns where the next would go."""
    pen = ImageDraw.Draw(image)
    x, y = at
    for line in lines:
        heading = line.startswith("# ")
        height = int(size * 1.5) if heading else size
        pen.text((x, y), line[2:] if heading else line, font=font(height, style + ("-Bold" if heading else "")), fill=colour)
        y += int(height * spacing)
    return y


def page(lines, dpi=150, style="Serif", points=12):
    """An A4 page of black text."""
    size = (int(8.27 * dpi), int(11.69 * dpi))
    image = Image.new("L", size, 255)
    lines_on(image, lines, (dpi * 9 // 10, dpi), points * dpi // 72, 20, style)
    return image


def noisy(image, seed, strength):
    """With grain of up to `strength` of 255."""
    grain = Image.frombytes("L", image.size, random.Random(seed).randbytes(image.size[0] * image.size[1]))
    grain = grain.filter(ImageFilter.GaussianBlur(0.6)).point(lambda v: 128 + (v - 128) * strength // 64)
    bands = [ImageChops.add(band, grain, 1, -128) for band in image.split()]
    return Image.merge(image.mode, bands)


def scanned(image, seed, tilt=0.7, strength=10):
    """As a scanner gives it: tilted (degrees), grey, soft, with grain."""
    image = image.convert("L").point(lambda v: 28 + v * 215 // 255)
    image = image.rotate(tilt, Image.BICUBIC, fillcolor=236).filter(ImageFilter.GaussianBlur(0.5))
    return noisy(image, seed, strength)


def window(title, menu, clock, lines, colours=LIGHT, size=(1100, 640), points=20, buttons=False):
    """A desktop with one window, its menu bar and a clock, as a screenshot of a fine screen shows it."""
    image = Image.new("RGB", size, (70, 96, 130) if colours is LIGHT else (16, 18, 26))
    pen = ImageDraw.Draw(image)
    width, height = size
    pen.rectangle((0, 0, width, 34), fill=colours["bar"])
    pen.text((16, 7), menu, font=font(17), fill=colours["text"])
    pen.text((width - 170, 7), clock, font=font(17), fill=colours["text"])
    pen.rounded_rectangle((70, 66, width - 70, height - 40), 10, fill=colours["back"])
    pen.rounded_rectangle((70, 66, width - 70, 104), 10, fill=colours["bar"])
    pen.rectangle((70, 94, width - 70, 104), fill=colours["bar"])
    for i, colour in enumerate(((226, 92, 84), (222, 170, 60), (96, 178, 86)) if buttons else ()):
        pen.ellipse((86 + 24 * i, 78, 100 + 24 * i, 92), fill=colour)
    pen.text((width // 2, 85), title, font=font(18), fill=colours["faint"], anchor="mm")
    lines_on(image, lines, (110, 130), points, colours["text"])
    return image


def landscape(size, seed):
    """Sky, hills and a sun; nothing to read."""
    width, height = size
    image = Image.linear_gradient("L").resize(size)
    image = Image.merge("RGB", (image.point(lambda v: 120 + v // 3), image.point(lambda v: 160 + v // 4),
                                image.point(lambda v: 235 - v // 6)))
    pen = ImageDraw.Draw(image)
    pen.ellipse((width * 7 // 10, height // 8, width * 8 // 10, height // 8 + width // 10), fill=(255, 236, 170))
    chance = random.Random(seed)
    for depth, colour in enumerate(((110, 140, 120), (78, 118, 84), (52, 92, 58))):
        base = height * (5 + depth) // 9
        points = [(0, height)]
        level = base
        for x in range(0, width + 40, 40):
            level += chance.randint(-14, 14)
            points.append((x, level))
        pen.polygon(points + [(width, height)], fill=colour)
    return noisy(image.filter(ImageFilter.GaussianBlur(1.2)), seed, 4)


def on_table(paper, size, seed, turn=2.0, wood=(128, 92, 62)):
    """A snapshot of a sheet of paper that lies, a little turned, on a table."""
    image = Image.new("RGB", size, wood)
    pen = ImageDraw.Draw(image)
    chance = random.Random(seed)
    for y in range(0, size[1], 9):
        shade = chance.randint(-12, 12)
        pen.line((0, y, size[0], y + chance.randint(-6, 6)), fill=tuple(c + shade for c in wood), width=5)
    sheet = paper.convert("RGB").convert("RGBA").rotate(turn, Image.BICUBIC, expand=True)
    image.paste(sheet, ((size[0] - sheet.size[0]) // 2, (size[1] - sheet.size[1]) // 2), sheet)
    shadow = Image.linear_gradient("L").resize(size).rotate(180).point(lambda v: 205 + v // 5)
    image = ImageChops.multiply(image, Image.merge("RGB", (shadow, shadow, shadow)))
    return noisy(image.filter(ImageFilter.GaussianBlur(0.7)), seed, 8)
