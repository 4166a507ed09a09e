"""Painting: the arrays, their memory, sessions and threads."""

import gc
import math
import os
import subprocess
import sys
import threading
import time

import numpy as np
import orvhdri as orv
import pytest


def test_a_map_is_float32_height_width_3(lamp):
    light = orv.paint(lamp)
    assert isinstance(light, np.ndarray)
    assert (light.dtype, light.shape) == (np.float32, (128, 256, 3))


def test_a_disc_of_light_has_its_solid_angle(lamp):
    light = orv.paint(lamp, size=(1024, 512))
    lit = (light[..., 0] * orv.solid_angles(1024, 512)).sum()
    assert lit == pytest.approx(2 * math.pi * (1 - math.cos(math.radians(30))), rel=2e-3)


def test_the_size_replaces_that_of_the_scene(lamp):
    assert orv.paint(lamp, size=(64, 16)).shape == (16, 64, 3)


def test_an_azimuth_to_the_right_is_right_of_the_middle(lamp):
    scene = orv.Scene(lamp)
    scene["pins"]["key"]["azimuth"] = 90
    light = orv.paint(scene)
    assert light[64, 192, 0] == 1 and light[64, 64, 0] == 0


def test_frames_move_what_moves(lamp):
    lamp["pins"][0]["azimuth"] = {"keys": [[1, 0], [11, 90]]}
    light = orv.paint(lamp, frame=11)
    assert light[64, 192, 0] == 1 and light[64, 128, 0] == 0


def test_the_memory_of_a_map_is_the_painters(lamp):
    light = orv.paint(lamp, size=(2048, 1024))
    assert orv._core.memory_of(light) == light.ctypes.data
    assert not light.flags.owndata and light.flags.writeable and light.flags.c_contiguous


def test_a_map_outlives_its_session(lamp):
    with orv.Session() as session:
        light = session.paint(lamp)
    kept = light.copy()
    del session
    gc.collect()
    for _ in range(4):
        orv.paint(lamp, size=(256, 128))
    assert np.array_equal(light, kept)


def test_a_map_is_not_changed_by_the_next_paint(lamp):
    with orv.Session() as session:
        first = session.paint(lamp)
        kept = first.copy()
        lamp["pins"][0]["azimuth"] = 90
        second = session.paint(lamp)
    assert np.array_equal(first, kept) and not np.array_equal(first, second)


def test_a_changed_map_does_not_change_the_next_paint(lamp):
    with orv.Session() as session:
        first = session.paint(lamp)
        kept = first.copy()
        first[:] = 7
        assert np.array_equal(session.paint(lamp), kept)


def test_a_session_paints_the_bytes_of_single_paints(examples):
    scene = orv.Scene.load(examples / "studio.json")
    with orv.Session(threads=2) as session:
        for azimuth in (-120, 0, 33.5):
            scene["pins"][0]["azimuth"] = azimuth
            light = session.paint(scene, size=(256, 128))
            assert light.tobytes() == orv.paint(scene, size=(256, 128)).tobytes()


def test_the_command_line_writes_the_same_bytes(here, examples, orvpaint):
    subprocess.run([orvpaint, "paint", examples / "studio.json", "--size", "256x128", "-o", "a.pfm"], check=True)
    orv.write(orv.paint(examples / "studio.json", size=(256, 128)), "b.pfm")
    assert (here / "a.pfm").read_bytes() == (here / "b.pfm").read_bytes()


def test_sessions_in_several_threads_paint_what_one_paints(lamp):
    scenes = []
    for azimuth in range(-180, 180, 15):
        scenes.append(orv.Scene(lamp))
        scenes[-1]["pins"]["key"]["azimuth"] = azimuth
    wanted = [orv.paint(scene).tobytes() for scene in scenes]
    painted = [None] * len(scenes)

    def paint(part):
        with orv.Session(threads=1) as session:
            for i in range(part, len(scenes), 4):
                painted[i] = session.paint(scenes[i]).tobytes()

    threads = [threading.Thread(target=paint, args=(part,)) for part in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert painted == wanted


def test_one_session_in_several_threads_paints_one_after_another(lamp):
    wanted = orv.paint(lamp).tobytes()
    painted = []
    with orv.Session() as session:
        threads = [threading.Thread(target=lambda: painted.append(session.paint(lamp).tobytes())) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert painted == [wanted] * 8


def test_other_threads_run_while_a_map_is_painted(examples):
    scene = orv.Scene.load(examples / "venice.json")
    scene["background"]["blur"] = 10
    turns = 0
    with orv.Session(threads=1) as session:
        painter = threading.Thread(target=lambda: session.paint(scene, size=(4096, 2048)))
        painter.start()
        while painter.is_alive():
            time.sleep(0.001)
            turns += 1
    # A thread that keeps the interpreter to itself gives it away before and after the paint alone.
    assert turns > 20


def test_progress_hears_phases_and_amounts(examples):
    heard = []
    orv.paint(examples / "studio.json", progress=lambda phase, amount: heard.append((phase, amount)))
    assert heard and all(isinstance(phase, str) and 0 <= amount <= 1 for phase, amount in heard)


def test_what_a_progress_function_throws_arrives(examples):
    def fail(phase, amount):
        raise KeyError("mine")

    with pytest.raises(KeyError, match="mine"):
        orv.paint(examples / "studio.json", size=(512, 256), progress=fail)


@pytest.mark.parametrize("size", [(0, 32), (64, 0), (-1, 4), (100000, 100000), (64, 32.5), "64x32", (64,), (1, 2, 3)])
def test_a_wrong_size_is_refused(lamp, size):
    with pytest.raises(orv.SceneError, match=r"paint: size: .* found; allowed: \[width, height\]"):
        orv.paint(lamp, size=size)


def test_a_wrong_frame_is_refused(lamp):
    with pytest.raises(orv.SceneError, match="paint: frame: "):
        orv.paint(lamp, frame="first")


@pytest.mark.parametrize("threads", [0, -3, 1.5, True, "2"])
def test_a_wrong_number_of_threads_is_refused(threads):
    with pytest.raises(ValueError, match="threads: "):
        orv.Session(threads=threads)


@pytest.mark.parametrize("scene", [None, 3, [1, 2]])
def test_what_is_no_scene_is_refused(scene):
    with pytest.raises(TypeError, match="scene: "):
        orv.paint(scene)


def test_a_picture_that_was_deleted_is_named(here, examples, lamp):
    orv.write(orv.paint(lamp), "sky.exr")
    scene = orv.Scene({"version": 1, "background": {"type": "image", "path": "sky.exr"}})
    orv.paint(scene, size=(64, 32))
    (here / "sky.exr").unlink()
    assert scene.check() != []
    with pytest.raises(orv.FallbackError, match="sky.exr"):
        orv.paint(scene, size=(64, 32))
    with pytest.warns(orv.PaintWarning, match="sky.exr"):
        light = orv.paint(scene, size=(64, 32), allow_fallback=True)
    assert np.all(light == 1)


def test_a_session_goes_on_after_an_error(lamp):
    with orv.Session() as session:
        wanted = session.paint(lamp).tobytes()
        with pytest.raises(orv.SceneError):
            session.paint({"version": 1, "background": {"type": "nothing"}})
        assert session.paint(lamp).tobytes() == wanted


def test_a_closed_session_says_so(lamp):
    session = orv.Session()
    session.close()
    with pytest.raises(RuntimeError, match="closed"):
        session.paint(lamp)


def test_a_painter_that_is_not_there_is_named():
    with pytest.raises(orv.PainterError, match="the painter cannot be loaded"):
        orv.Session(painter="/nowhere/painter.so")


def test_a_forked_process_is_told_so_instead_of_hanging(lamp):
    script = f"""
import os, sys, orvhdri as orv
scene = {lamp!r}
orv.paint(scene)
if os.fork() == 0:
    try:
        orv.paint(scene)
    except RuntimeError as error:
        os._exit(42 if "spawn" in str(error) else 1)
    os._exit(0)
sys.exit(os.waitstatus_to_exitcode(os.wait()[1]))
"""
    assert subprocess.run([sys.executable, "-c", script], timeout=60).returncode == 42


def test_a_dict_is_painted_as_its_file_is(here, examples, orvpaint):
    for path in sorted(examples.glob("*.json")):
        subprocess.run([orvpaint, "paint", path, "--size", "64x32", "-o", "a.pfm"], check=True)
        orv.write(orv.paint(orv.Scene.load(path), size=(64, 32)), "b.pfm")
        assert (here / "a.pfm").read_bytes() == (here / "b.pfm").read_bytes(), path


def image_scene(array, **more):
    return {"version": 1, "background": {"type": "image", "image": array, **more}}


def test_an_array_is_a_background_as_its_file_is(here, examples):
    sky = orv.read(examples / "venice.exr")
    orv.write(sky, "sky.exr")
    for more in ({}, {"blur": 20}, {"brightness": 2, "rotation": {"azimuth": 30}}):
        shown = orv.paint(image_scene(sky, **more), size=(128, 64))
        of_file = {"version": 1, "background": {"type": "image", "path": "sky.exr", **more}}
        assert shown.tobytes() == orv.paint(of_file, size=(128, 64)).tobytes()


def test_an_array_of_any_strides_is_a_background(lamp):
    sky = orv.paint(lamp, size=(64, 32))
    turned = orv.Scene(image_scene(sky[:, ::-1]))
    assert np.array_equal(orv.paint(turned, size=(64, 32)), sky[:, ::-1])


def test_an_array_that_changes_later_does_not_change_the_scene(lamp):
    sky = orv.paint(lamp, size=(64, 32))
    kept = sky.copy()
    scene = orv.Scene(image_scene(sky))
    sky[:] = 9
    with orv.Session() as session:
        assert np.array_equal(session.paint(scene, size=(64, 32)), kept)
        scene["background"]["image"] = sky
        assert np.all(session.paint(scene, size=(64, 32)) == 9)


def test_an_array_is_a_fill_of_a_pin(lamp):
    lamp["pins"][0]["fill"] = {"type": "image", "image": np.full((8, 16, 3), 3, np.float32)}
    assert orv.paint(lamp)[64, 128] == pytest.approx((3, 3, 3))


@pytest.mark.skipif("ORVHDRI_SANITIZED" in os.environ, reason="sanitizers keep freed memory back")
def test_arrays_of_many_scenes_do_not_pile_up(lamp):
    sky = np.ones((512, 1024, 3), np.float32)
    with orv.Session() as session:
        session.paint(image_scene(sky), size=(64, 32))
        before = resident()
        for i in range(40):
            sky[:] = i
            assert session.paint(image_scene(sky), size=(64, 32))[0, 0, 0] == i
        assert resident() - before < 20 * sky.nbytes


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * 4096


@pytest.mark.parametrize("value", [np.nan, np.inf, -np.inf])
def test_an_array_that_is_not_finite_is_refused(value):
    sky = np.ones((8, 16, 3), np.float32)
    sky[2, 5, 1] = value
    with pytest.raises(ValueError, match="image: the pixel in row 2, column 5 is not finite"):
        orv.Scene(image_scene(sky))


@pytest.mark.parametrize("sky", [np.ones((8, 16, 3)), np.ones((8, 16, 3), np.uint8), np.ones((8, 16), np.float32),
                                 np.ones((0, 16, 3), np.float32)])
def test_an_array_that_is_no_map_is_refused(sky):
    with pytest.raises((TypeError, ValueError), match="image: an array of "):
        orv.Scene(image_scene(sky))


def test_a_path_beside_an_array_is_refused():
    with pytest.raises(orv.SceneError, match="background.image: the object has a path, too"):
        orv.Scene(image_scene(np.ones((8, 16, 3), np.float32), path="sky.exr"))


def test_a_scene_with_an_array_is_changed_by_paths_and_copied(lamp):
    scene = orv.Scene(image_scene(np.ones((8, 16, 3), np.float32)))
    scene.set("background.brightness", 4)
    other = scene.copy()
    assert isinstance(other["background"]["image"], orv.Picture)
    assert np.all(orv.paint(other, size=(16, 8)) == 4)


def test_a_scene_with_an_array_is_not_saved(here):
    with pytest.raises(orv.SceneError, match="an array as a picture found"):
        orv.Scene(image_scene(np.ones((8, 16, 3), np.float32))).save("scene.json")
    assert list(here.iterdir()) == []


SLOW = """
import signal, sys, threading, time, os
import orvhdri as orv
scene = orv.Scene({"version": 1, "background": {"type": "sunSky", "blur": 30}})
wanted = orv.paint(scene, size=(2048, 1024)).tobytes()
threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT)).start()
%s
"""


def test_ctrl_c_cancels_a_paint():
    script = SLOW % """
start = time.monotonic()
try:
    while True:
        orv.paint(scene, size=(4096, 2048))
except KeyboardInterrupt:
    print("interrupted")
print(orv.paint(scene, size=(64, 32)).shape)
"""
    said = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=120)
    assert said.stdout == "interrupted\n(32, 64, 3)\n", said.stderr


def test_a_handler_that_lets_an_interrupt_pass_gets_its_map():
    script = SLOW % """
heard = []
signal.signal(signal.SIGINT, lambda *_: heard.append(1))
while not heard:
    light = orv.paint(scene, size=(2048, 1024))
print(heard, light.tobytes() == wanted)
"""
    said = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=120)
    assert said.stdout == "[1] True\n", said.stderr


def test_a_progress_function_can_not_paint_with_its_session(examples):
    with orv.Session() as session:
        with pytest.raises(RuntimeError, match="can not paint with the session that it hears of"):
            session.paint(
                examples / "studio.json", progress=lambda *_: session.paint(examples / "noon.json"), size=(512, 256)
            )
