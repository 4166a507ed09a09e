"""Scenes as dicts: how they are read, changed, checked and kept."""

import copy
import json
import pickle

import numpy as np
import orvhdri as orv
import pytest


def test_pins_are_found_by_name_and_by_number(lamp):
    scene = orv.Scene(lamp)
    scene["pins"]["key"]["azimuth"] = -30
    assert scene["pins"][0]["azimuth"] == -30


def test_a_list_that_was_set_later_is_found_by_name_too(lamp):
    scene = orv.Scene(lamp)
    scene["pins"] = [dict(lamp["pins"][0], name="rim")]
    scene["pins"].append(dict(lamp["pins"][0], name="top"))
    scene["pins"]["top"]["elevation"] = 80
    assert [pin["elevation"] for pin in scene["pins"]] == [0, 80]


def test_a_name_that_is_not_there_tells_which_are(lamp):
    scene = orv.Scene(lamp)
    with pytest.raises(orv.SettingError) as error:
        scene["pins"]["kye"]
    assert str(error.value) == 'nothing is named "kye" (did you mean "key"?); allowed: key'


def test_what_is_set_is_copied(lamp):
    pin = dict(lamp["pins"][0])
    scene = orv.Scene(lamp)
    scene["pins"].append(pin)
    pin["azimuth"] = 77
    assert scene["pins"][1]["azimuth"] == 0


def test_copies_share_nothing(lamp):
    scene = orv.Scene(lamp)
    for other in (scene.copy(), copy.copy(scene), copy.deepcopy(scene), pickle.loads(pickle.dumps(scene))):
        assert isinstance(other, orv.Scene) and other == scene
        other["pins"]["key"]["azimuth"] = 5
        assert scene["pins"]["key"]["azimuth"] == 0


def test_a_file_is_read_with_its_comments(here, lamp):
    (here / "scene.json").write_text("// a lamp\n" + json.dumps(lamp))
    scene = orv.Scene.load("scene.json")
    assert scene["pins"]["key"]["radius"] == 30
    assert scene.path == "scene.json"


def test_saved_and_loaded_is_the_same(here, lamp):
    orv.Scene(lamp).save("scene.json")
    assert orv.Scene.load("scene.json") == lamp


def test_a_wrong_scene_names_everything_that_is_wrong(lamp):
    lamp["pins"][0]["radius"] = -4
    lamp["pins"][0]["colour"] = 1
    with pytest.raises(orv.SceneError) as error:
        orv.Scene(lamp)
    paths = [problem.path for problem in error.value.problems]
    assert paths == ["pins[0].radius", "pins[0].colour"]
    assert "-4" in error.value.problems[0].text


def test_a_wrong_file_gives_the_text_of_the_command_line(here, lamp, orvpaint):
    import subprocess

    lamp["pins"][0]["radius"] = -4
    (here / "scene.json").write_text(json.dumps(lamp))
    said = subprocess.run([orvpaint, "check", "scene.json"], capture_output=True, text=True)
    with pytest.raises(orv.SceneError) as error:
        orv.Scene.load("scene.json")
    assert str(error.value).splitlines()[0] in said.stderr.splitlines()


def test_a_file_that_is_no_json_tells_the_line(here):
    (here / "scene.json").write_text('{\n  "version": 1,\n  nonsense\n}\n')
    with pytest.raises(orv.SceneError) as error:
        orv.Scene.load("scene.json")
    assert error.value.problems[0].line == 3


def test_a_file_that_is_not_there_is_named(here):
    with pytest.raises(orv.FileError, match="^missing.json: cannot be read: No such file or directory$"):
        orv.Scene.load("missing.json")


def test_values_are_checked_when_the_scene_is_painted(lamp):
    scene = orv.Scene(lamp)
    scene["pins"]["key"]["radius"] = -1
    with pytest.raises(orv.SceneError, match=r'pins\[0\] "key": radius'):
        orv.paint(scene)
    with pytest.raises(orv.SceneError, match=r'pins\[0\] "key": radius'):
        scene.check()


@pytest.mark.parametrize("number", [float("nan"), float("inf"), 10**400, -(10**400)])
def test_numbers_that_are_not_finite_are_refused(lamp, number):
    scene = orv.Scene(lamp)
    scene["pins"]["key"]["azimuth"] = number
    with pytest.raises(orv.SceneError, match=r'pins\[0\] "key": azimuth'):
        scene.check()


@pytest.mark.parametrize("value", [{1, 2}, 1j, b"bytes", object(), {1: 2}, "\ud800"])
def test_what_no_file_holds_is_refused(lamp, value):
    scene = orv.Scene(lamp)
    scene["pins"]["key"]["azimuth"] = value
    with pytest.raises(orv.SceneError, match=r"pins\[0\].azimuth"):
        scene.check()


def test_a_list_that_holds_itself_is_refused(lamp):
    endless = []
    endless.append(endless)
    lamp["pins"][0]["azimuth"] = endless
    with pytest.raises((orv.SceneError, RecursionError)):
        orv.paint(lamp)


def test_numbers_of_numpy_are_numbers(lamp):
    lamp["pins"][0]["azimuth"] = np.float32(12.5)
    lamp["pins"][0]["fill"]["color"] = np.array([1, 2, 3])
    lamp["size"] = [np.int64(64), np.int32(32)]
    assert orv.paint(lamp)[16, 33].tolist() == [1, 2, 3]


def test_set_follows_paths_as_the_command_line_does(lamp):
    scene = orv.Scene(lamp)
    scene.set("pins.key.fill.brightness", 12)
    scene.set("background.rotation.azimuth", 5)
    assert scene["pins"]["key"]["fill"]["brightness"] == 12
    assert scene["background"]["rotation"] == {"azimuth": 5}
    with pytest.raises(orv.SceneError, match='nothing in pins is named "kye"'):
        scene.set("pins.kye.azimuth", 1)


def test_repr_tells_what_a_scene_holds(lamp):
    assert repr(orv.Scene(lamp)) == "<Scene scene: 256 x 128, color background, 1 pin (key)>"


def test_repr_of_a_broken_scene_does_not_fail(lamp):
    scene = orv.Scene(lamp)
    scene["pins"] = 3
    scene["size"] = None
    scene["background"] = []
    assert repr(scene).startswith("<Scene scene")


def test_a_notebook_shows_a_scene_as_a_picture(lamp):
    assert orv.Scene(lamp)._repr_png_().startswith(b"\x89PNG\r\n")
