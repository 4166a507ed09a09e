"""Makes a dataset of skies and the directions of their suns, and a contact sheet to look at.

    ./dev python examples/dataset.py [FOLDER]
"""

import pathlib
import sys

import numpy as np
import orvhdri as orv

out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
noon = pathlib.Path(__file__).parent / "noon.json"
suns = [(a, e) for a, e in orv.random_directions(200, seed=7) if e > 5][:24]
jobs = [
    {"scene": noon, "size": [256, 128], "set": {"background.sun": {"azimuth": a, "elevation": e}}, "values": {"sun": [a, e]}}
    for a, e in suns
]
skies, directions = [], []
for light, values in orv.generate(jobs):
    azimuth, elevation = np.radians(values["sun"])
    skies.append(light)
    directions.append([np.cos(elevation) * np.cos(azimuth), np.cos(elevation) * np.sin(azimuth), np.sin(elevation)])
skies, directions = np.stack(skies), np.array(directions, np.float32)
np.savez_compressed(out / "dataset.npz", skies=skies.astype(np.float16), directions=directions)

# Each map's brightest pixel lies along its sun.
rays = orv.directions(256, 128).reshape(-1, 3)
found = rays[skies.sum(axis=3).reshape(len(skies), -1).argmax(axis=1)]
print("skies", skies.shape, skies.dtype, "directions", directions.shape, directions.dtype)
print("largest angle between a sun and its brightest pixel: %.2f degrees"
      % np.degrees(np.arccos(np.clip((found * directions).sum(axis=1), -1, 1))).max())

pictures = [orv.tone_map(sky, exposure=0) for sky in skies]
rows = [np.concatenate(pictures[i : i + 4], axis=1) for i in range(0, len(pictures), 4)]
orv.write(np.concatenate(rows), out / "contact_sheet.png")
orv.write(orv.preview(skies[0], name="the first sky"), out / "first_sky.png")
