"""Light: small pins and blurs by the two qualities, and the sheet of balls."""

import tempfile
from pathlib import Path

from PIL import Image

from drawing import EXAMPLES, crop, orvpaint, paint, picture, sheet


@picture("examples.jpg")
def examples():
    names = sorted(path.name for path in EXAMPLES.glob("*.json"))
    tiles = [paint(name, "--exposure", "auto", "--size", "1160x580").resize((290, 145), Image.Resampling.BOX)
             for name in names]
    return sheet(tiles, names, 3)


@picture("studio.jpg")
def studio():
    return paint("studio.json", "--exposure", "-0.6").resize((900, 450), Image.Resampling.BOX)


@picture("preview.jpg")
def preview():
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "sheet.png"
        orvpaint("preview", EXAMPLES / "studio.json", "-o", out, "--quiet")
        return Image.open(out).convert("RGB")


@picture("spot.png")
def spot():
    tiles, labels = [], []
    for width in (256, 1024, 4096):
        for quality in ("plain", "light"):
            image = paint("spot.json", "--size", f"{width}x{width // 2}", "--set", f"quality={quality}")
            # A window of 16 pixels of the smallest map, about the spot; each pixel stays to be seen.
            window = crop(image, 20.39, 35.16, 5.625, 5.625)
            tiles.append(window.resize((144, 144), Image.Resampling.NEAREST))
            labels.append(f"{width}, {quality}")
    return sheet(tiles, labels, 6)


@picture("pole.jpg")
def pole():
    tiles = []
    for quality in ("plain", "light"):
        scene = {"size": [1024, 512], "quality": quality, "background": {
            "type": "sunSky", "sun": {"azimuth": 0, "elevation": 86}, "blur": 8}}
        tiles.append(paint(scene, "--exposure", "-4.5").resize((440, 220), Image.Resampling.BOX))
    return sheet(tiles, ["plain", "light"], 2)
