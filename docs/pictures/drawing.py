"""What the pictures of the documents are made of: maps that orvpaint paints, curves, sheets and labels.

Nothing here depends on the time or the machine, so that the same program gives the same files.
"""

import json
import math
import subprocess
import tempfile
from pathlib import Path

import matplotlib
import matplotlib.figure
import matplotlib.font_manager
import numpy
from matplotlib.backends.backend_agg import FigureCanvasAgg
from PIL import Image, ImageDraw, ImageFont

ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"
VENICE = str(EXAMPLES / "venice.exr")

GROUND = (27, 29, 33)
INK = (222, 222, 222)
WARM = [1.0, 0.86, 0.62]
COOL = [0.62, 0.82, 1.0]

program = ROOT / "build/release/bin/orvpaint"
pictures = {}  # name: what draws it

matplotlib.rcParams.update({
    "font.family": "DejaVu Sans", "font.size": 9, "text.color": "#dedede", "axes.labelcolor": "#dedede",
    "axes.edgecolor": "#80848c", "axes.facecolor": "#1b1d21", "figure.facecolor": "#1b1d21",
    "xtick.color": "#a0a4ac", "ytick.color": "#a0a4ac", "grid.color": "#3a3d44", "axes.grid": True,
    "axes.titlesize": 10, "legend.frameon": False, "savefig.dpi": 100, "figure.dpi": 100,
})


def picture(name):
    """Makes a function without arguments, which returns an image, the one that draws docs/images/NAME."""
    def enter(draw):
        pictures[name] = draw
        return draw
    return enter


def orvpaint(*arguments):
    subprocess.run([str(program), *map(str, arguments)], check=True)


def scene_file(scene, folder):
    """The file of a scene: of a dict, or of the name of an example."""
    if isinstance(scene, str):
        return EXAMPLES / scene
    path = Path(folder) / "scene.json"
    path.write_text(json.dumps({"version": 1, **scene}))
    return path


def paint(scene, *options):
    """The painted map as a preview."""
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "map.png"
        orvpaint("paint", scene_file(scene, folder), "-o", out, "--quiet", *options)
        return Image.open(out).convert("RGB")


def values(scene, *options):
    """The painted map's numbers, height x width x 3, row 0 at the top."""
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "map.pfm"
        orvpaint("paint", scene_file(scene, folder), "-o", out, "--quiet", *options)
        with open(out, "rb") as file:
            assert file.readline() == b"PF\n"
            width, height = map(int, file.readline().split())
            kind = "<f4" if float(file.readline()) < 0 else ">f4"
            numbers = numpy.frombuffer(file.read(), kind).reshape(height, width, 3)
        return numbers[::-1]


def crop(image, azimuth, elevation, half_width, half_height):
    """The part of a map around a place, degrees."""
    scale = image.width / 360
    left, top = (azimuth - half_width + 180) * scale, (90 - elevation - half_height) * scale
    return image.crop((round(left), round(top), round(left + 2 * half_width * scale),
                       round(top + 2 * half_height * scale)))


def equator(pins, background, pitch, half_height, pixels):
    """Pins side by side on the equator, where the map shows them as they are, `pitch` degrees and `pixels` pixels
    apart; each gets its azimuth here. One tile each."""
    width = 2 * round(180 * pixels / pitch)
    middle = (len(pins) - 1) / 2
    placed = [{"azimuth": (i - middle) * pitch, "elevation": 0, **pin} for i, pin in enumerate(pins)]
    image = paint({"size": [width, width // 2], "quality": "plain", "background": background, "pins": placed})
    return [crop(image, pin["azimuth"], 0, pitch / 2, half_height) for pin in placed]


def font(size):
    return ImageFont.truetype(matplotlib.font_manager.findfont("DejaVu Sans"), size)


def sheet(tiles, labels, columns, gap=8, size=13):
    """Tiles of one size in rows, a label under each; without labels where they are None."""
    strip = size + 11 if labels else 0
    wide, high = tiles[0].width + gap, tiles[0].height + strip + gap
    rows = math.ceil(len(tiles) / columns)
    image = Image.new("RGB", (columns * wide + gap, rows * high + gap), GROUND)
    draw = ImageDraw.Draw(image)
    for i, tile in enumerate(tiles):
        x, y = gap + i % columns * wide, gap + i // columns * high
        image.paste(tile, (x, y))
        if labels:
            draw.text((x + tile.width / 2, y + tile.height + 5), labels[i], INK, font(size), "ma")
    return image


def figure(width, height):
    """A figure of so many pixels."""
    drawn = matplotlib.figure.Figure(figsize=(width / 100, height / 100), layout="constrained")
    FigureCanvasAgg(drawn)
    return drawn


def image_of(drawn):
    drawn.canvas.draw()
    return Image.fromarray(numpy.asarray(drawn.canvas.buffer_rgba())[..., :3].copy())


def save(image, path):
    """Photographs and soft light as .jpg; what is drawn, as .png of a palette."""
    if path.suffix == ".jpg":
        image.save(path, quality=88, subsampling=0, optimize=True)
    else:
        image.quantize(128, Image.Quantize.MEDIANCUT, dither=Image.Dither.NONE).save(path, optimize=True)
