"""Brushes: every kind as a background and as a fill, what turns and blurs them, and the adjustments."""

import numpy
from PIL import Image

from drawing import (VENICE, WARM, crop, equator, figure, image_of, paint, picture, sheet, values)

PHOTO = {"type": "image", "path": VENICE}
DARK = {"type": "color", "color": [0.02, 0.022, 0.026]}


def thumbnail(background, width=290, *options):
    """A map with this background, small."""
    image = paint({"size": [4 * width, 2 * width], "background": background}, *options)
    return image.resize((width, width // 2), Image.Resampling.BOX)


@picture("backgrounds.jpg")
def backgrounds():
    gradient = [{"position": 0, "color": [0.05, 0.045, 0.04]}, {"position": 0.49, "color": [0.16, 0.14, 0.12]},
                {"position": 0.5, "color": [0.9, 0.8, 0.65]}, {"position": 1, "color": [0.12, 0.2, 0.42]}]
    sky = {"type": "sunSky", "sun": {"azimuth": -50, "elevation": 30}}
    tiles = [thumbnail({"type": "color", "color": [0.35, 0.3, 0.26]}),
             thumbnail({"type": "gradient", "stops": gradient}),
             thumbnail(PHOTO),
             thumbnail(sky, 290, "--exposure", "auto")]
    return sheet(tiles, ["color", "gradient", "image", "sunSky"], 2)


@picture("fills.jpg")
def fills():
    rainbow = [{"position": 0, "color": [1, 0.95, 0.85]}, {"position": 0.5, "color": [0.9, 0.45, 0.15]},
               {"position": 1, "color": [0.15, 0.2, 0.5]}]
    fade = [{"position": 0.4, "value": 1}, {"position": 1, "value": 0}]
    circle, rect = {"shape": "circle", "radius": 10}, {"shape": "rect", "halfWidth": 10, "halfHeight": 7}
    shown = [("color", circle, {"type": "color", "color": WARM}),
             ("gradient", circle, {"type": "gradient", "stops": rainbow}),
             ("gradient, opacity", circle, {"type": "gradient", "stops": rainbow, "opacity": fade}),
             ("gradient, angle 0", rect, {"type": "gradient", "stops": rainbow}),
             ("gradient, angle 90", rect, {"type": "gradient", "stops": rainbow, "angle": 90}),
             ("image", rect, {"type": "image", "path": VENICE}),
             ("image, rotation 15", {**rect, "rotation": 15}, {"type": "image", "path": VENICE})]
    tiles = equator([{**shape, "fill": {**fill, "mode": "mix"}} for _, shape, fill in shown], DARK, 24, 12, 150)
    # A window onto the picture behind it, a quarter of a turn away.
    image = paint({"size": [2250, 1125], "background": {**PHOTO, "brightness": 0.5}, "pins": [
        {"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 10,
         "fill": {"type": "background", "mode": "mix", "turn": -90, "brightness": 2}}]})
    return sheet([*tiles, crop(image, 0, 0, 12, 12)], [name for name, _, _ in shown] + ["background"], 4)


@picture("gradient-slopes.png")
def gradient_slopes():
    drawn = figure(900, 250)
    kinds = [("slopes 1", 1, 1), ("slopeOut 0", 0, 1), ("slopeIn 0", 1, 0), ("both 0", 0, 0)]
    for (name, out, into), axes in zip(kinds, drawn.subplots(1, 4, sharex=True, sharey=True)):
        ramp = {"type": "gradient", "stops": [{"position": 0, "color": [0.02, 0.03, 0.05], "slopeOut": out},
                                              {"position": 1, "color": [0.9, 0.8, 0.6], "slopeIn": into}]}
        scene = {"size": [64, 1024], "background": ramp}
        strip = paint(scene).transpose(Image.Transpose.ROTATE_270)
        axes.imshow(numpy.asarray(strip), extent=(0, 1, 0, 1), aspect="auto", alpha=0.75)
        line = values(scene)[::-1, 32, 0]
        axes.plot((numpy.arange(1024) + 0.5) / 1024, (line - 0.02) / 0.88, color="#ee6352", linewidth=2)
        axes.set_title(name)
        axes.set_xlabel("position")
    drawn.axes[0].set_ylabel("from the one color to the other")
    return image_of(drawn)


@picture("rotation.jpg")
def rotation():
    kinds = [("as it is", {}), ("azimuth 90", {"azimuth": 90}), ("tilt 30", {"tilt": 30})]
    return sheet([thumbnail({**PHOTO, "rotation": turned}) for _, turned in kinds], [name for name, _ in kinds], 3)


@picture("blur.jpg")
def blur():
    return sheet([thumbnail({**PHOTO, "blur": amount}) for amount in (0, 2, 10)], ["blur 0", "blur 2", "blur 10"], 3)


ADJUSTMENTS = {
    "exposure": [-2, 0, 2],
    "gamma": [0.6, 1, 1.7],
    "hue": [0.9, 0, 0.4],
    "saturation": [-1, 0, 0.6],
    "tint": [[0.6, 0.85, 1.3], [1, 1, 1], [1.3, 0.95, 0.6]],
    "temperature": [3200, 6504, 12000],
}


def adjustment_sheet(key):
    amounts = ADJUSTMENTS[key]
    name = {"temperature": lambda kelvin: f"{kelvin} K"}.get(key, lambda amount: f"{key} {amount}")
    return sheet([thumbnail({**PHOTO, key: amount}) for amount in amounts], [name(amount) for amount in amounts], 3)


@picture("adjust-exposure.jpg")
def adjust_exposure():
    return adjustment_sheet("exposure")


@picture("adjust-gamma.jpg")
def adjust_gamma():
    return adjustment_sheet("gamma")


@picture("adjust-hue.jpg")
def adjust_hue():
    return adjustment_sheet("hue")


@picture("adjust-saturation.jpg")
def adjust_saturation():
    return adjustment_sheet("saturation")


@picture("adjust-tint.jpg")
def adjust_tint():
    return adjustment_sheet("tint")


@picture("adjust-temperature.jpg")
def adjust_temperature():
    return adjustment_sheet("temperature")


@picture("temperatures.png")
def temperatures():
    kelvins = [1500, 2000, 2700, 3200, 4300, 5600, 6504, 8000, 10000, 20000]
    pins = [{"shape": "rect", "halfWidth": 9, "halfHeight": 6,
             "fill": {"type": "color", "mode": "mix", "temperature": kelvin, "brightness": 0.3}} for kelvin in kelvins]
    return sheet(equator(pins, DARK, 18, 6, 86), [f"{kelvin} K" for kelvin in kelvins], 10, 3, 12)


@picture("portal.jpg")
def portal():
    return paint("portal.json").resize((720, 360), Image.Resampling.BOX)


@picture("sky-hours.jpg")
def sky_hours():
    hours = [6.5, 8, 11, 13.5, 18, 21]
    tiles = [paint("noon.json", "--size", "1160x580", "--set", f"background.sky.hours={hour}", "--exposure", "auto")
             .resize((290, 145), Image.Resampling.BOX) for hour in hours]
    return sheet(tiles, [f"hours {hour:g}" for hour in hours], 3)


@picture("sky-turbidity.jpg")
def sky_turbidity():
    amounts = [1, 2.5, 6, 10]
    tiles = [thumbnail({"type": "sunSky", "sun": {"azimuth": -40, "elevation": 25}, "sky": {"turbidity": amount}},
                       290, "--exposure", "-0.5") for amount in amounts]
    return sheet(tiles, [f"turbidity {amount:g}" for amount in amounts], 2)
