"""Pins: their axes and places, falloffs and modes."""

import numpy
from PIL import Image

from drawing import (COOL, WARM, crop, equator, figure, image_of, paint, picture, sheet, values)

DARK = {"type": "color", "color": [0.02, 0.022, 0.026]}

# Falloffs with the amounts that their pictures show.
CIRCLES = [("cosine", 1), ("linear", 0.3), ("quadratic", 1), ("smoothEdge", 0.5), ("gaussianEdge", 0.25),
           ("outline", None), ("solid", None)]
RECTS = [("cosine", 1), ("linear", 0.3), ("quadratic", 1), ("boxEdge", 0.4), ("boxProduct", 0.6),
         ("boxGaussian", 0.2), ("outline", None), ("solid", None)]


def color(value, **others):
    return {"type": "color", "mode": "mix", "color": value, **others}


def axes_of(azimuth, elevation, rotation):
    """Centre, first and second axis of a pin as directions."""
    a, e, r = numpy.radians([azimuth, elevation, rotation])
    centre = numpy.array([numpy.cos(a) * numpy.cos(e), numpy.sin(a) * numpy.cos(e), numpy.sin(e)])
    east = numpy.array([-numpy.sin(a), numpy.cos(a), 0])
    north = numpy.array([-numpy.cos(a) * numpy.sin(e), -numpy.sin(a) * numpy.sin(e), numpy.cos(e)])
    return centre, numpy.cos(r) * east + numpy.sin(r) * north, numpy.cos(r) * north - numpy.sin(r) * east


def arc(centre, axis, degrees):
    """Azimuths and elevations from the centre along an axis of a pin."""
    t = numpy.radians(numpy.linspace(0, degrees, 40))[:, None]
    x, y, z = (numpy.cos(t) * centre + numpy.sin(t) * axis).T
    return numpy.degrees(numpy.arctan2(y, x)), numpy.degrees(numpy.arcsin(numpy.clip(z, -1, 1)))


def arrow(axes, line, ink):
    azimuth, elevation = line
    axes.plot(azimuth[:-2], elevation[:-2], color=ink, linewidth=1.8)
    axes.annotate("", (azimuth[-1], elevation[-1]), (azimuth[-4], elevation[-4]),
                  arrowprops={"arrowstyle": "-|>", "color": ink, "linewidth": 1.8, "shrinkA": 0, "shrinkB": 0})


FIRST, SECOND = "#ff9d5c", "#6fd08c"


def show(axes, image, extent):
    axes.imshow(numpy.asarray(image), extent=extent, interpolation="bilinear", aspect="equal")
    axes.set_xlim(extent[:2])
    axes.set_ylim(extent[2:])
    axes.grid(linewidth=0.6)


@picture("pin-axes.png")
def pin_axes():
    drawn = figure(900, 400)
    left, right = drawn.subplots(1, 2)
    dim = {"fill": color([0.16, 0.2, 0.26])}
    for axes, pin, turn in (
            (left, {"shape": "rect", "halfWidth": 18, "halfHeight": 11, "rotation": 20, **dim}, 20),
            (right, {"shape": "circle", "radius": 16, **dim}, 0)):
        image = paint({"size": [4096, 2048], "background": DARK, "pins": [{"azimuth": 0, "elevation": 0, **pin}]})
        show(axes, crop(image, 0, 0, 30, 23), (-30, 30, -23, 23))
        centre, first, second = axes_of(0, 0, turn)
        across = pin.get("halfWidth", pin.get("radius"))
        up = pin.get("halfHeight", pin.get("radius"))
        arrow(axes, arc(centre, first, across), FIRST)
        arrow(axes, arc(centre, second, up), SECOND)
        axes.plot(0, 0, "o", color="white", markersize=4)
        axes.set_xlabel("azimuth")
        axes.set_ylabel("elevation")
    left.set_title("rect, rotation 20")
    left.text(6.5, -4.2, "first axis, halfWidth", color=FIRST, rotation=20, ha="center", va="center")
    left.text(-4, 18.5, "second axis, halfHeight", color=SECOND, ha="center")
    t = numpy.radians(numpy.linspace(0, 20, 30))
    left.plot([0, 29], [0, 0], color="#dedede", linewidth=0.9, linestyle="--")
    left.plot(20.5 * numpy.cos(t), 20.5 * numpy.sin(t), color="#dedede", linewidth=1.2)
    left.text(25.2, 2.6, "rotation", ha="center", va="center", fontsize=8)
    right.set_title("circle, rotation 0")
    right.text(8, -2.2, "first axis, radius", color=FIRST, ha="center", va="center")
    right.text(0.9, 8, "second axis", color=SECOND)
    return image_of(drawn)


@picture("pin-places.png")
def pin_places():
    pins = [("azimuth 0, elevation 0", 0, 0, 0), ("-60, 35, rotation 30", -60, 35, 30), ("60, 60", 60, 60, 0),
            ("-120, -30", -120, -30, 0), ("175, 0: over the seam", 175, 0, 0), ("90, -85: over a pole", 90, -85, 0)]
    image = paint({"size": [2048, 1024], "background": DARK, "pins": [
        {"shape": "rect", "azimuth": azimuth, "elevation": elevation, "rotation": rotation, "halfWidth": 18,
         "halfHeight": 12, "fill": color([0.16, 0.2, 0.26])} for _, azimuth, elevation, rotation in pins]})
    drawn = figure(900, 490)
    axes = drawn.subplots()
    show(axes, image, (-180, 180, -90, 90))
    axes.set_xticks(range(-180, 181, 30))
    axes.set_yticks(range(-90, 91, 30))
    axes.set_xlabel("azimuth")
    axes.set_ylabel("elevation")
    for text, azimuth, elevation, rotation in pins:
        centre, first, second = axes_of(azimuth, elevation, rotation)
        for axis, length, ink in ((first, 18, FIRST), (second, 12, SECOND)):
            along, up = arc(centre, axis, length)
            if numpy.ptp(along) > 180:  # across the seam: what lies beyond it, from the other edge
                beyond = along < 0
                axes.plot(along[~beyond], up[~beyond], color=ink, linewidth=1.8)
                arrow(axes, (along[beyond], up[beyond]), ink)
            else:
                arrow(axes, (along, up), ink)
        axes.plot(azimuth, elevation, "o", color="white", markersize=3)
        below = {35: 14, 60: 42, -85: -58}.get(elevation, elevation - 16)
        axes.text(min(azimuth, 140), below, text, ha="center", va="top", fontsize=9)
    return image_of(drawn)


@picture("pin-options.png")
def pin_options():
    circle, rect = {"shape": "circle", "radius": 10}, {"shape": "rect", "halfWidth": 10, "halfHeight": 7}
    options = [("rotation 30", rect, {"rotation": 30}), ("cornerRadius 3", rect, {"cornerRadius": 3}),
               ("half", rect, {"half": True}), ("half", circle, {"half": True}),
               ("half, rotation 30", circle, {"half": True, "rotation": 30})]
    tiles = equator([{**shape, **extra, "fill": color(COOL if shape is rect else WARM)}
                     for _, shape, extra in options], DARK, 26, 13, 160)
    return sheet(tiles, [name for name, _, _ in options], 5)


@picture("pin-edges.png")
def pin_edges():
    kinds = [("smoothing false", "plain", False), ("smoothing, plain", "plain", True), ("smoothing, light", "light", True)]
    tiles = []
    for _, quality, smoothing in kinds:
        image = paint({"size": [512, 256], "quality": quality, "smoothing": smoothing, "background": DARK, "pins": [
            {"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 4, "fill": color(WARM)}]})
        tiles.append(crop(image, 0, 0, 5.625, 5.625).resize((192, 192), Image.Resampling.NEAREST))
    return sheet(tiles, [name for name, _, _ in kinds], 3)


def falloff_sheet(shape, size, names, ink):
    pins = [{"shape": shape, **size, "falloff": name, **({} if amount is None else {"falloffAmount": amount}),
             "fill": color(ink)} for name, amount in names]
    tiles = equator(pins, DARK, 24, 12, 150)
    return sheet(tiles, [name if amount is None else f"{name} {amount:g}" for name, amount in names], 4)


@picture("falloffs-circle.jpg")
def falloffs_circle():
    return falloff_sheet("circle", {"radius": 11}, CIRCLES, WARM)


@picture("falloffs-rect.jpg")
def falloffs_rect():
    return falloff_sheet("rect", {"halfWidth": 11, "halfHeight": 11}, RECTS, COOL)


def weights(pin, degrees):
    """What a pin weighs along its first axis: white on black, read from the row at the equator."""
    width = 4096
    numbers = values({"size": [width, width // 2], "quality": "plain", "smoothing": False,
                      "background": {"type": "color", "color": [0, 0, 0]},
                      "pins": [{"azimuth": 0, "elevation": 0, "fill": color([1, 1, 1]), **pin}]})
    row = numbers[width // 4 - 1, width // 2:, 0]
    angles = (numpy.arange(len(row)) + 0.5) * 360 / width
    return angles[angles < degrees], row[angles < degrees]


def falloff_curves(shape, size, names, label):
    drawn = figure(900, 480)
    panels = drawn.subplots(2, 4, sharex=True, sharey=True).flatten()
    inks = ["#5b6ee1", "#3fa7d6", "#59cd90", "#fac05e", "#ee6352"]
    for (name, amount), axes in zip(names, panels):
        for p, ink in zip((0.1, 0.3, 0.5, 0.75, 1), inks):
            angles, weight = weights({"shape": shape, **size, "falloff": name, "falloffAmount": p}, 22)
            axes.plot(angles / 20, weight, color=ink if amount is not None else "#dedede", linewidth=1.6,
                      label=f"amount {p:g}")
        axes.set_title(name)
        axes.set_xlim(0, 1.1)
        axes.set_ylim(-0.04, 1.06)
        if name == "cosine":
            handles = axes.get_legend_handles_labels()
    if len(names) == 7:
        panels[7].set_axis_off()
        panels[7].legend(*handles, loc="center", fontsize=10)
    else:
        panels[7].legend(*handles, loc="center", fontsize=9)
    drawn.supylabel("weight", fontsize=9)
    drawn.supxlabel(label, fontsize=9)
    return image_of(drawn)


@picture("falloff-curves-circle.png")
def falloff_curves_circle():
    return falloff_curves("circle", {"radius": 20}, CIRCLES, "distance from the centre, 1 at the rim (radius 20)")


@picture("falloff-curves-rect.png")
def falloff_curves_rect():
    return falloff_curves("rect", {"halfWidth": 20, "halfHeight": 20}, RECTS,
                          "distance from the centre along the first axis, 1 at the side (halfWidth 20)")


MODES = ["add", "multiply", "mix", "screen"]


@picture("modes.jpg")
def modes():
    steps = [[0, 0, 0], [0.04, 0.05, 0.07], [0.22, 0.22, 0.22], [0.1, 0.3, 0.6]]
    stops = [{"position": p, "color": c} for i, c in enumerate(steps) for p in (0.4 + 0.05 * i, 0.45 + 0.05 * i)]
    tiles = []
    for mode in MODES:
        pins = [{"shape": "circle", "azimuth": -20, "elevation": 0, "radius": 16, "falloff": "solid"},
                {"shape": "circle", "azimuth": 20, "elevation": 0, "radius": 18, "falloff": "smoothEdge",
                 "falloffAmount": 1}]
        image = paint({"size": [2048, 1024], "background": {"type": "gradient", "stops": stops},
                       "pins": [{**pin, "fill": {**color([0.75, 0.45, 0.15]), "mode": mode}} for pin in pins]})
        tiles.append(crop(image, 0, 0, 40, 18))
    return sheet([tile.resize((430, 194), Image.Resampling.LANCZOS) for tile in tiles], MODES, 2)


@picture("mode-curves.png")
def mode_curves():
    drawn = figure(900, 260)
    for mode, axes in zip(MODES, drawn.subplots(1, 4, sharex=True, sharey=True)):
        ramp = {"type": "gradient", "stops": [{"position": 0, "color": [0, 0, 0]}, {"position": 1, "color": [1, 1, 1]}]}
        before = values({"size": [64, 1024], "background": ramp})[:, 32, 0]
        for weight, ink in ((0, "#80848c"), (0.5, "#3fa7d6"), (1, "#fac05e")):
            pin = {"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 180, "falloff": "solid",
                   "fill": {"type": "gradient", "mode": mode, "stops": [{"position": 0, "color": [0.5, 0.5, 0.5]}],
                            "opacity": [{"position": 0, "value": weight}]}}
            after = values({"size": [64, 1024], "background": ramp, "pins": [pin]})[:, 32, 0]
            axes.plot(before, after, color=ink, linewidth=1.8, label=f"weight {weight:g}")
        axes.set_title(mode)
        axes.set_xlim(0, 1)
        axes.set_ylim(0, 1.6)
        axes.set_xlabel("map before")
    drawn.axes[0].set_ylabel("map after")
    drawn.axes[0].legend(loc="upper left", fontsize=8)
    return image_of(drawn)
