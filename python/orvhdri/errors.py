"""What can go wrong. Every message is the one that the command line gives."""

from __future__ import annotations

from dataclasses import dataclass
from typing import List, Optional, Sequence, Tuple


class Error(Exception):
    """The base of all exceptions of this package."""


@dataclass(frozen=True)
class Problem:
    """One thing that is wrong in a scene."""

    path: str
    """Where it stands: ``pins[2].fill.color``; ``scene`` for all of it."""
    line: Optional[int]
    """The line of the file, from 1, where it is known; None for scenes that were made in Python."""
    column: Optional[int]
    """The character in the line, from 1; None without one."""
    text: str
    """What was found, and what is allowed there."""


class SceneError(Error, ValueError):
    """A scene is wrong. ``str()`` is everything that is wrong in it, a line for each thing."""

    problems: List[Problem]
    """The same one by one."""

    def __init__(self, found: Sequence[Tuple[str, int, int, str, str]]):
        super().__init__("\n".join(message for *_, message in found))
        self._found = list(found)
        self.problems = [
            Problem(path or "scene", line or None, column or None, text) for path, line, column, text, _ in found
        ]

    @classmethod
    def joined(cls, errors: "Sequence[SceneError]") -> "SceneError":
        """Several in one."""
        return cls([found for error in errors for found in error._found])

    def __reduce__(self):
        return type(self), (self._found,)


class SettingError(Error, LookupError, ValueError):
    """A path leads nowhere in a scene, or a sweep can not be read."""


class FileError(Error, OSError):
    """A file can not be read or written. Nothing half-written is left of it."""


class PaintError(Error, RuntimeError):
    """A scene can not be painted."""


class FallbackError(PaintError):
    """Something is missing and would be painted as a visible colour. ``allow_fallback=True`` paints it."""


class PainterError(Error, RuntimeError):
    """The painter's library can not be loaded, or the processor lacks AVX2 or FMA."""


class JobError(Error, RuntimeError):
    """A job of ``generate`` can not be painted."""


class PaintWarning(UserWarning):
    """Something of a map that is to be known: a picture that is missing, light that is lost."""
