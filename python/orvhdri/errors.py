"""What can go wrong. Every message is the one that the command line gives."""

from __future__ import annotations

import re
from dataclasses import dataclass
from typing import List, Optional, Sequence, Union


class Error(Exception):
    """The base of all exceptions of this package."""


@dataclass(frozen=True)
class Problem:
    """One thing that is wrong in a scene."""

    path: str
    """Where it stands: ``pins[2].fill.color``; ``scene`` for all of it."""
    line: Optional[int]
    """The line of the file, from 1, where it is known; None for scenes that were made in Python."""
    text: str
    """What was found, and what is allowed there."""


def _problem(message: str) -> Problem:
    # file: place: finding; a file's name may hold colons, a place none that a space follows outside its quotes.
    place = r'(?:scene|line \d+, column \d+|[A-Za-z_]\w*(?:\.\w+|\[\d+\]|\["(?:[^"\\]|\\.)*"\])*(?: "(?:[^"\\]|\\.)*")?)'
    found = re.match(rf".*?: ({place}): (.*)", message, re.DOTALL)
    if not found:
        return Problem("scene", None, message)
    at = re.match(r"line (\d+), column", found[1])
    return Problem("scene" if at else found[1], int(at[1]) if at else None, found[2])


class SceneError(Error, ValueError):
    """A scene is wrong. ``str()`` is everything that is wrong in it, a line for each thing."""

    problems: List[Problem]
    """The same one by one."""

    def __init__(self, lines: Union[str, Sequence[str]]):
        lines = [lines] if isinstance(lines, str) else list(lines)
        super().__init__("\n".join(lines))
        self.problems = [_problem(line) for line in lines]

    @classmethod
    def joined(cls, errors: "Sequence[SceneError]") -> "SceneError":
        """Several in one."""
        return cls([line for error in errors for line in str(error).split("\n")])

    def __reduce__(self):
        return type(self), (str(self).split("\n"),)


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
