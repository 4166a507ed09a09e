"""Maps: reading, writing, measuring and showing them.

A map is a numpy array of float32 and of the shape (height, width, 3): scene-linear red, green and blue. Row 0 is
nearest the zenith, the middle column is ahead, longitudes grow to the right.
"""

from __future__ import annotations

import os
import tempfile
import warnings
from typing import Any, Dict, Optional, Tuple, Union

import numpy as np

from . import _core
from .errors import PaintWarning
from .scene import PathLike

Exposure = Union[float, str]


class Map(np.ndarray):
    """A map as an array that notebooks show. Whatever is worked out of it and has no shape of a map is a plain array."""

    def __array_wrap__(self, array, context=None):
        array = super().__array_wrap__(array, context)
        if array.shape == ():
            return array[()]
        return array if _is_map(array) else array.view(np.ndarray)

    def _repr_png_(self) -> Optional[bytes]:
        return _png(_core.tone_mapped(self.view(np.ndarray), None, 1024, 512)) if _is_map(self) else None


class Picture8(np.ndarray):
    """A picture of uint8, sRGB, (height, width, 3), as an array that notebooks show."""

    def _repr_png_(self) -> Optional[bytes]:
        return _png(self.view(np.ndarray)) if self.ndim == 3 and self.dtype == np.uint8 else None


def _is_map(array) -> bool:
    return array.ndim == 3 and array.shape[2] == 3 and array.dtype == np.float32 and array.size > 0


def _png(picture) -> bytes:
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "preview.png")
        _core.write(picture, path, {})
        with open(path, "rb") as file:
            return file.read()


def warn(lines, level: int = 3) -> None:
    for line in lines:
        warnings.warn(line, PaintWarning, stacklevel=level)


def read(path: PathLike, *, max_image_pixels: int = _core.MAX_IMAGE_PIXELS) -> Map:
    """Reads a map: .exr, .hdr, .pfm, .tif, .png and whatever else the image library knows.

    :return: float32 (height, width, 3), scene-linear, finite.
    :raises FileError: when it can not be read, or has more than ``max_image_pixels``.
    """
    return _core.read(os.fspath(path), max_image_pixels).view(Map)


def write(
    light: np.ndarray,
    path: PathLike,
    *,
    half: bool = False,
    layout: str = "native",
    compression: Optional[str] = None,
    clamp: Optional[float] = None,
    exposure: Exposure = 0,
    usd: Optional[PathLike] = None,
) -> None:
    """Writes a map as ``orvpaint`` does. The ending chooses the format: .exr, .hdr, .pfm and .tif hold floats, .png and
    .jpg are tone-mapped previews. The file appears when it is whole; a failure leaves an older one as it was.

    :param light: float32 (height, width, 3), any strides; or uint8 (height, width, 3), sRGB, for .png and .jpg.
    :param half: 16-bit floats in .exr.
    :param layout: how a renderer reads it: native, openexr, usd, blender, mitsuba, pbrt, three.
    :param compression: of .exr none, rle, zips, zip, piz, pxr24, b44, b44a, dwaa, dwab; of .tif none, lzw, packbits, zip.
    :param clamp: limits all values to -clamp .. clamp; what that costs is warned of.
    :param exposure: of previews, stops from -64 to 64, or ``"auto"``.
    :param usd: a file where a dome light is written, too, that shows the map.
    :raises TypeError, ValueError: for an array that is no map and for keywords that are wrong.
    :raises FileError: when the file can not be written.
    """
    keywords = {
        "half": half,
        "layout": layout,
        "compression": compression,
        "clamp": clamp,
        "exposure": exposure,
        "usd": None if usd is None else os.fspath(usd),
    }
    warn(_core.write(_plain(light), os.fspath(path), keywords))


def info(
    light: Union[np.ndarray, PathLike], *, layout: str = "native", max_image_pixels: int = _core.MAX_IMAGE_PIXELS
) -> Dict[str, Any]:
    """What can be told of a map, or of a map's file.

    :return: ``width``, ``height``; ``mean`` of red, green and blue over the sphere, by solid angle; ``peak``, the
        largest luminance (Rec. 709), and its ``longitude`` and ``latitude``, degrees; of a file its ``format``,
        ``channels``, ``pixels``, ``compression``, ``software`` and ``orientation``, too.
    :param layout: how a file's map lies.
    :raises FileError: when a file can not be read.
    """
    if isinstance(light, (str, os.PathLike)):
        return _core.info_of_file(os.fspath(light), layout, max_image_pixels)
    return _core.info_of_map(_plain(light))


def preview(light: np.ndarray, *, name: str = "", exposure: Exposure = "auto", camera: float = 180) -> Picture8:
    """A map, balls of three materials in its light and a caption, in one picture.

    :param name: of the map, for the caption.
    :param exposure: stops from -64 to 64, or ``"auto"``.
    :param camera: longitude along which the balls are seen, degrees; 180 lights them with the map's middle.
    :return: uint8 (900, 1024, 3), sRGB; ``orv.write(sheet, "sheet.png")`` writes it.
    """
    return _core.preview(_plain(light), name, _stops(exposure), camera).view(Picture8)


def tone_map(light: np.ndarray, *, exposure: Exposure = "auto", size: Optional[Tuple[int, int]] = None) -> Picture8:
    """A map as a picture for screens.

    :param size: (width, height) in pixels at most; each of them is the mean of the light that it covers.
    :return: uint8 (height, width, 3), sRGB.
    """
    width, height = size if size is not None else (_core.MAX_SIDE, _core.MAX_SIDE)
    return _core.tone_mapped(_plain(light), _stops(exposure), width, height).view(Picture8)


def _stops(exposure: Exposure) -> Optional[float]:
    _core.check_write_options({"exposure": exposure})
    return None if exposure == "auto" else float(exposure)


def _plain(light: Any) -> Any:
    return light.view(np.ndarray) if isinstance(light, np.ndarray) else light


def _sides(width: int, height: int) -> Tuple[int, int]:
    for name, side in (("width", width), ("height", height)):
        if not isinstance(side, (int, np.integer)) or not 1 <= side <= _core.MAX_SIDE:
            raise ValueError(f"{name}: {side!r} found; allowed: an integer from 1 to {_core.MAX_SIDE}")
    if int(width) * int(height) > _core.MAX_PIXELS:
        raise ValueError(f"{width} x {height} is more than {_core.MAX_PIXELS} pixels")
    return int(width), int(height)


def directions(width: int, height: int, *, layout: str = "native") -> np.ndarray:
    """The direction of each pixel of a map: float32 (height, width, 3), unit vectors (ahead, right, up).

    Ahead is the middle of the map, up its zenith; a host with right-handed axes takes the second as -y.
    """
    width, height = _sides(width, height)
    longitude = np.radians(_core.longitudes(width, layout))
    latitude = np.radians(_core.latitudes(0.0, height, height, layout))
    result = np.empty((height, width, 3), np.float32)
    result[..., 0] = np.outer(np.cos(latitude), np.cos(longitude))
    result[..., 1] = np.outer(np.cos(latitude), np.sin(longitude))
    result[..., 2] = np.sin(latitude)[:, None]
    return result


def solid_angles(width: int, height: int, *, layout: str = "native") -> np.ndarray:
    """The solid angle of each pixel of a map: float32 (height, width), steradians, 4 pi in all."""
    width, height = _sides(width, height)
    edges = np.sin(np.radians(_core.latitudes(-0.5, height + 1, height, layout)))
    rows = edges[:-1] - edges[1:]
    longitude = _core.longitudes(width, layout)
    columns = np.ones(width)
    if width > 1 and longitude[0] == longitude[-1]:
        columns[[0, -1]] = 0.5  # the two ends of a row are one longitude
    columns *= 2 * np.pi / columns.sum()
    return np.outer(rows, columns).astype(np.float32)


def random_directions(n: int, seed: int) -> np.ndarray:
    """Directions that are uniform on the sphere: float64 (n, 2), azimuth in [-180, 180) and elevation in [-90, 90],
    degrees, as pins and suns have them. The same for the same seed; the first of more are the same as well.
    """
    uniform = np.random.default_rng(seed).random((n, 2))
    return np.stack([360 * uniform[:, 0] - 180, np.degrees(np.arcsin(2 * uniform[:, 1] - 1))], axis=1)
