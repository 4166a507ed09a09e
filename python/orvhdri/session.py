"""Painting scenes."""

from __future__ import annotations

import sys
import threading
from typing import Any, Callable, Optional, Tuple, Union

from . import _core
from .maps import Map, warn
from .scene import PathLike, as_scene

Progress = Union[None, bool, Callable[[str, float], Any]]


class Session:
    """Paints one scene after another with as little work as possible: pictures, the sky's tables and, while it stays
    the same, the background are kept. Maps are the bytes that a new session would paint.

    The interpreter is free while it paints. One thread at a time paints, others wait; several sessions paint in
    several threads. Maps outlive their session. A context manager; ``close()`` gives the memory back.
    """

    def __init__(
        self,
        threads: Optional[int] = None,
        *,
        painter: Optional[PathLike] = None,
        max_image_pixels: int = _core.MAX_IMAGE_PIXELS,
    ):
        """
        :param threads: at most so many paint; None: as many as the process may use processors.
        :param painter: the painter's library, instead of the one that came with the package.
        :param max_image_pixels: larger pictures are refused.
        :raises PainterError: when no painter can run here.
        """
        if threads is not None and (isinstance(threads, bool) or not isinstance(threads, int) or threads < 1):
            raise ValueError(f"threads: {threads!r} found; allowed: None, an integer from 1")
        self._session = _core.PaintSession(threads or 0, "" if painter is None else str(painter), max_image_pixels, True)

    def paint(
        self,
        scene: Any,
        size: Optional[Tuple[int, int]] = None,
        frame: Optional[float] = None,
        *,
        progress: Progress = None,
        allow_fallback: bool = False,
    ) -> Map:
        """Paints a scene.

        :param scene: a Scene, a dict, or the path of a scene file.
        :param size: (width, height) in pixels, instead of the scene's.
        :param frame: of values that change with time; 1 by default.
        :param progress: a function that hears of the phase and the amount done in it, 0 to 1, from any thread, one call
            at a time; True: a bar of tqdm, where that is installed and somebody looks.
        :param allow_fallback: paint the map although something missing is painted as a visible colour.
        :return: float32 (height, width, 3), scene-linear. Its memory is the painter's; it is not copied.
        :raises SceneError, FileError, PaintError, FallbackError: with the text of the command line.
        """
        return _paint(self._session, scene, size, frame, progress, allow_fallback)

    def close(self) -> None:
        """Gives the memory back. Maps stay."""
        self._session.close()

    def __enter__(self) -> "Session":
        return self

    def __exit__(self, *_) -> None:
        self.close()


def _paint(session, scene, size, frame, progress, allow_fallback) -> Map:
    scene = as_scene(scene)
    bar = None
    if progress is True:
        bar = progress = _bar()
    try:
        light, lines = session.paint(
            scene, scene._name, scene._folder, size, frame, bool(allow_fallback), progress or None
        )
    finally:
        if bar is not None:
            bar.close()
    if lines:
        warn(lines, 4)
    return light.view(Map)


_here = threading.local()


def paint(
    scene: Any,
    size: Optional[Tuple[int, int]] = None,
    frame: Optional[float] = None,
    *,
    progress: Progress = None,
    allow_fallback: bool = False,
) -> Map:
    """Paints one scene and keeps nothing; ``Session.paint`` tells of the arguments, and is faster for several."""
    session = getattr(_here, "session", None)
    if session is None:
        session = _here.session = _core.PaintSession(0, "", _core.MAX_IMAGE_PIXELS, False)
    return _paint(session, scene, size, frame, progress, allow_fallback)


class _Bar:
    """Shows progress with tqdm."""

    def __init__(self, tqdm):
        self._tqdm = tqdm(total=100, unit="%", bar_format="{desc}: {percentage:3.0f}%|{bar}| {elapsed}", leave=False)

    def __call__(self, phase: str, amount: float) -> None:
        self._tqdm.set_description_str(phase, refresh=False)
        self._tqdm.n = round(100 * amount)
        self._tqdm.refresh()

    def close(self) -> None:
        self._tqdm.close()


def is_watched() -> bool:
    """Whether somebody sees a progress bar: on a terminal, or in a notebook."""
    return sys.stderr is not None and sys.stderr.isatty() or "ipykernel" in sys.modules


def _bar() -> Optional[_Bar]:
    if not is_watched():
        return None
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return None
    return _Bar(tqdm)
