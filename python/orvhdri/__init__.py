"""Paints high-dynamic-range environment maps of scenes into numpy arrays.

    import orvhdri as orv

    scene = orv.Scene.load("studio.json")
    scene["pins"]["key"]["azimuth"] = -30
    light = orv.paint(scene, size=(2048, 1024))  # float32 (height, width, 3)
    orv.write(light, "key.exr")
"""

from ._core import __version__, Picture
from .errors import (
    Error,
    FallbackError,
    FileError,
    JobError,
    PainterError,
    PaintError,
    PaintWarning,
    Problem,
    SceneError,
    SettingError,
)
from .batch import Result, Results, batch, generate
from .jobs import sweep
from .maps import Map, directions, info, preview, random_directions, read, solid_angles, tone_map, write
from .scene import Scene
from .session import Session, paint

__all__ = [
    "Error",
    "FallbackError",
    "FileError",
    "JobError",
    "Map",
    "PaintError",
    "PaintWarning",
    "PainterError",
    "Picture",
    "Problem",
    "Result",
    "Results",
    "Scene",
    "SceneError",
    "Session",
    "SettingError",
    "__version__",
    "batch",
    "directions",
    "generate",
    "info",
    "paint",
    "preview",
    "random_directions",
    "read",
    "solid_angles",
    "sweep",
    "tone_map",
    "write",
]
