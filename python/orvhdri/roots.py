"""Where jobs may read and write."""

from __future__ import annotations

import os
from typing import Sequence

from . import _core
from .errors import FileError


class Roots:
    """Folders that jobs stay under: their scenes, the pictures of those, and their outputs. Links are followed first, so
    that none leads out. Without folders everything is allowed.
    """

    def __init__(self, folders: Sequence[str]):
        self._folders = [os.path.realpath(folder) for folder in folders]
        self._scenes = _core.JobScenes()

    def check(self, job: _core.Job) -> None:
        """:raises FileError: for a path that is not allowed. :raises SceneError: when the job's scene is wrong."""
        if not self._folders:
            return
        for path in job.outputs:
            self._check(path)
        # The scene's own path is looked at before it is read.
        if job.scene:
            self._check(job.scene)
        for path in self._scenes.files(job):
            self._check(path)

    def _check(self, path: str) -> None:
        if ".." in path.split(os.sep):
            raise FileError(f"{path}: \"..\" found; allowed: paths without it under {self._text}")
        real = os.path.realpath(path)
        if not any(os.path.commonpath([real, folder]) == folder for folder in self._folders):
            raise FileError(f"{path}: {real} is not under a root of this worker; allowed: {self._text}")

    @property
    def _text(self) -> str:
        return ", ".join(self._folders)
