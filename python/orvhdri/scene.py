"""Scenes: the documents of docs/scene-format.md as dicts and lists."""

from __future__ import annotations

import os
from typing import Any, Iterable, List, Mapping, Optional, Union

import numpy as np

from . import _core
from .errors import SettingError

PathLike = Union[str, "os.PathLike[str]"]


def _owned(value: Any) -> Any:
    """A value as a scene holds it: copied, its objects and lists ours, its arrays pictures."""
    if isinstance(value, Mapping):
        return Object({key: _picture(each) if key == "image" else each for key, each in value.items()})
    if isinstance(value, (list, tuple)):
        return Items(value)
    return value


def _picture(value: Any) -> Any:
    return _core.Picture(value) if isinstance(value, np.ndarray) else value


class Object(dict):
    """An object of a scene. What is put into it is copied, pixels of arrays too."""

    def __init__(self, *values, **keywords):
        super().__init__({key: _owned(value) for key, value in dict(*values, **keywords).items()})

    def __setitem__(self, key, value):
        super().__setitem__(key, _owned(_picture(value) if key == "image" else value))

    def setdefault(self, key, default=None):
        if key not in self:
            self[key] = default
        return self[key]

    def update(self, *values, **keywords):
        for key, value in dict(*values, **keywords).items():
            self[key] = value

    def __ior__(self, other):
        self.update(other)
        return self

    def copy(self):
        """A copy that shares nothing but pixels."""
        return type(self)(self)

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def __reduce__(self):
        return type(self), (dict(self),)


class Items(list):
    """A list of a scene, such as its pins; an item that has a name is found by it, too."""

    def __init__(self, values: Iterable[Any] = ()):
        super().__init__(_owned(value) for value in values)

    def names(self) -> List[str]:
        """The names of the items that have one."""
        return [item["name"] for item in self if isinstance(item, dict) and isinstance(item.get("name"), str)]

    def _index(self, key):
        if not isinstance(key, str):
            return key
        found = [i for i, item in enumerate(self) if isinstance(item, dict) and item.get("name") == key]
        if len(found) == 1:
            return found[0]
        if found:
            raise SettingError(f'several items are named "{key}"; give a number')
        names = self.names()
        raise SettingError(
            f'nothing is named "{key}"{_core.suggestion(key, names)}; '
            f"allowed: {', '.join(names) if names else 'a number'}"
        )

    def __getitem__(self, key):
        return super().__getitem__(self._index(key))

    def __setitem__(self, key, value):
        own = [_owned(each) for each in value] if isinstance(key, slice) else _owned(value)
        super().__setitem__(self._index(key), own)

    def __delitem__(self, key):
        super().__delitem__(self._index(key))

    def append(self, value):
        super().append(_owned(value))

    def insert(self, index, value):
        super().insert(self._index(index), _owned(value))

    def extend(self, values):
        super().extend([_owned(value) for value in values])

    def __iadd__(self, values):
        self.extend(values)
        return self

    def copy(self):
        """A copy that shares nothing but pixels."""
        return type(self)(self)

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def __reduce__(self):
        return type(self), (list(self),)


class Scene(Object):
    """A scene: a dict with the keys of the scene format, read by the reader of scene files.

    ``Scene({...})`` and ``Scene.load(path)`` check what they are given; values that are set later are checked when
    the scene is painted, or by ``check()``. Angles are degrees, colors scene-linear. Pins are found by number or by
    name: ``scene["pins"]["key"]["azimuth"] = -30``. Where a picture's ``path`` may stand, ``image`` may hold an array,
    float32 (height, width, 3), which is copied when it is set.

    One thread may change a scene; many may paint it while nobody does.
    """

    path: Optional[str]
    """The file that it was read from; paths of pictures are relative to its folder, else to the working directory."""

    def __init__(self, document: Optional[Mapping[str, Any]] = None, *, check: bool = True):
        """
        :param document: the scene; a copy is taken. None is ``{"version": 1}`` and a black background.
        :raises SceneError: with everything that is wrong in it.
        """
        if document is None:
            document = {"version": 1, "background": {"type": "color", "color": [0, 0, 0]}}
        if not isinstance(document, Mapping):
            raise TypeError(f"scene: {type(document).__name__} found; allowed: a dict with the keys of a scene")
        super().__init__(document)
        self.path = getattr(document, "path", None)
        if check:
            _core.check(self, self._name, self._folder)

    @classmethod
    def load(cls, path: PathLike) -> "Scene":
        """Reads a scene file.

        :raises FileError: when it can not be read. :raises SceneError: with everything that is wrong in it.
        """
        name = os.fspath(path)
        scene = cls(_core.load(name), check=False)
        scene.path = name
        return scene

    def save(self, path: PathLike) -> None:
        """Writes a scene file; an older one stays until the new one is whole. Paths of pictures stay as they are.

        :raises SceneError: when the scene is wrong or shows an array. :raises FileError: when it can not be written.
        """
        _core.save(self, self._name, os.fspath(path))

    def check(self) -> List[str]:
        """Reads the scene, at every key of values that change with time.

        :return: a line for each picture that is not there.
        :raises SceneError: with everything that is wrong in it.
        """
        return _core.check(self, self._name, self._folder)

    def set(self, path: str, value: Any) -> None:
        """Changes a value as ``orvpaint --set`` does: ``scene.set("pins.key.fill.brightness", 12)``. Objects that are
        missing are added.

        :raises SceneError: when the path leads nowhere.
        """
        held = {picture.name: picture for picture in _pictures(self)}
        value = _owned(value)
        held.update((picture.name, picture) for picture in _pictures(value))
        changed = _core.apply(self, self._name, path, value)
        super().clear()
        self.update(_with_pictures(changed, held))

    def copy(self) -> "Scene":
        """A copy that shares nothing but pixels."""
        return Scene(self, check=False)

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def __reduce__(self):
        return _restored, (dict(self), self.path)

    @property
    def _name(self) -> str:
        return self.path or "scene"

    @property
    def _folder(self) -> str:
        return os.path.dirname(self.path) if self.path else ""

    def __repr__(self) -> str:
        size = self.get("size", [2048, 1024])
        size = " x ".join(str(side) for side in size) if isinstance(size, list) else str(size)
        if "sizeFromImage" in self:
            size = f"size of {self['sizeFromImage']}"
        background = self.get("background")
        kind = background.get("type", "?") if isinstance(background, dict) else "no"
        pins = self.get("pins", [])
        pins = pins if isinstance(pins, list) else []
        names = ", ".join(str(pin.get("name", i)) if isinstance(pin, dict) else "?" for i, pin in enumerate(pins[:8]))
        names = f" ({names}{', ...' if len(pins) > 8 else ''})" if pins else ""
        return f"<Scene {self._name}: {size}, {kind} background, {len(pins)} pin{'s'[:len(pins) != 1]}{names}>"

    def _repr_png_(self) -> Optional[bytes]:
        from .session import paint

        try:
            return paint(self, size=(512, 256), allow_fallback=True)._repr_png_()
        except Exception:  # a notebook shows the text then
            return None


def _restored(document, path):
    scene = Scene(document, check=False)
    scene.path = path
    return scene


def _pictures(value: Any) -> List[Any]:
    if isinstance(value, dict):
        return [picture for each in value.values() for picture in _pictures(each)]
    if isinstance(value, list):
        return [picture for each in value for picture in _pictures(each)]
    return [value] if isinstance(value, _core.Picture) else []


def _with_pictures(value: Any, held: Mapping[str, Any]) -> Any:
    """The value with pictures in the place of their names."""
    if isinstance(value, list):
        return [_with_pictures(each, held) for each in value]
    if not isinstance(value, dict):
        return value
    picture = held.get(value.get("path")) if isinstance(value.get("path"), str) else None
    return {
        ("image" if picture is not None and key == "path" else key): (
            picture if picture is not None and key == "path" else _with_pictures(each, held)
        )
        for key, each in value.items()
    }


def as_scene(scene: Any) -> Scene:
    """A scene, the document of one, or the path of its file."""
    if isinstance(scene, Scene):
        return scene
    if isinstance(scene, Mapping):
        return Scene(scene, check=False)
    if isinstance(scene, (str, os.PathLike)):
        return Scene.load(scene)
    raise TypeError(f"scene: {type(scene).__name__} found; allowed: a Scene, a dict, the path of a scene file")
