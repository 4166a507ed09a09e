"""Maps as arrays: files, figures, previews, directions."""

import math

import numpy as np
import orvhdri as orv
import pytest


def gradient(width=64, height=32):
    """A map whose every value is different."""
    return np.arange(width * height * 3, dtype=np.float32).reshape(height, width, 3) / 1024


@pytest.mark.parametrize("ending", [".exr", ".pfm", ".tif"])
def test_floats_come_back_as_they_were(here, ending):
    orv.write(gradient(), "map" + ending)
    assert np.array_equal(orv.read("map" + ending), gradient())


def test_any_strides_are_written_as_the_array_reads(here):
    wide = gradient()
    orv.write(wide[::-2, ::3], "map.exr")
    assert np.array_equal(orv.read("map.exr"), wide[::-2, ::3])
    turned = np.asfortranarray(wide)
    orv.write(turned, "map.exr")
    assert np.array_equal(orv.read("map.exr"), wide)


def test_halves_are_those_of_numpy(here):
    orv.write(gradient(), "map.exr", half=True)
    assert np.array_equal(orv.read("map.exr"), gradient().astype(np.float16).astype(np.float32))


def test_a_layout_turns_the_file_and_not_the_array(here):
    light = gradient()
    orv.write(light, "usd.exr", layout="usd")
    assert np.array_equal(light, gradient())
    assert np.array_equal(np.sort(orv.read("usd.exr").ravel()), np.sort(light.ravel()))
    assert not np.array_equal(orv.read("usd.exr"), light)
    assert orv.info("usd.exr", layout="usd")["longitude"] == pytest.approx(orv.info(light)["longitude"])


def test_a_painted_map_written_in_a_layout_stays_as_it_was(here, lamp):
    light = orv.paint(lamp)
    kept = light.copy()
    orv.write(light, "three.exr", layout="three")
    assert np.array_equal(light, kept)


def test_clamping_warns_of_what_it_costs(here):
    light = np.ones((16, 32, 3), np.float32)
    light[8, 16] = 100
    with pytest.warns(orv.PaintWarning, match="map.exr: 1 pixel above 10 was clamped"):
        orv.write(light, "map.exr", clamp=10)
    assert orv.read("map.exr").max() == 10


def test_a_dome_light_is_written_beside(here):
    orv.write(gradient(), "map.exr", usd="dome.usda", layout="usd")
    assert "map.exr" in (here / "dome.usda").read_text()


def test_compressions_are_those_of_the_format(here):
    sizes = {}
    for name in ("none", "zip", "piz"):
        orv.write(np.ones((64, 128, 3), np.float32), f"{name}.exr", compression=name)
        sizes[name] = (here / f"{name}.exr").stat().st_size
        assert orv.info(f"{name}.exr")["compression"] == name
    assert sizes["zip"] < sizes["none"] / 10


@pytest.mark.parametrize(
    "array, text",
    [
        (np.zeros((4, 8, 3)), "array: an array of float64 found; allowed: a numpy array of float32"),
        (np.zeros((4, 8, 3), np.int32), "array: an array of int32 found"),
        (np.zeros((4, 8, 3), ">f4"), "array: an array of >f4 found"),
        ([[[1.0, 2.0, 3.0]]], "array: list found"),
        (None, "array: NoneType found"),
    ],
)
def test_a_wrong_type_is_refused(here, array, text):
    with pytest.raises(TypeError) as error:
        orv.write(array, "map.exr")
    assert text in str(error.value)
    assert not (here / "map.exr").exists()


@pytest.mark.parametrize("shape", [(), (3,), (4, 8), (4, 8, 4), (0, 8, 3), (4, 0, 3), (1, 4, 8, 3), (1, 70000, 3)])
def test_a_wrong_shape_is_refused(here, shape):
    with pytest.raises(ValueError, match="array: an array of the shape "):
        orv.write(np.zeros(shape, np.float32), "map.exr")
    assert not (here / "map.exr").exists()


@pytest.mark.parametrize(
    "path, keywords, text",
    [
        ("map.xyz", {}, '"map.xyz" has no ending that names a format; allowed: .exr, .hdr'),
        ("map", {}, '"map" has no ending'),
        ("map.exr", {"compression": "zpi"}, 'compression: "zpi" is not a compression (did you mean "zip"?)'),
        ("map.pfm", {"compression": "zip"}, 'compression: no output\'s format knows "zip"'),
        ("map.png", {"half": True}, "half: no output is an EXR file"),
        ("map.exr", {"layout": "vulcan"}, 'layout: "vulcan" is not a layout; allowed: native'),
        ("map.exr", {"clamp": -1}, "clamp: -1 found; allowed: a number above 0"),
        ("map.exr", {"clamp": math.nan}, "clamp: nan found"),
        ("map.png", {"exposure": 65}, "exposure: 65 found; allowed: a number of stops from -64 to 64, auto"),
        ("map.png", {"exposure": "bright"}, "exposure: 'bright' found"),
        ("map.png", {"usd": "dome.usda"}, "usd: no output holds floats"),
        ("map.exr", {"half": "yes"}, "half: 'yes' found; allowed: True, False"),
    ],
)
def test_a_wrong_keyword_is_refused(here, path, keywords, text):
    with pytest.raises((ValueError, TypeError)) as error:
        orv.write(gradient(), path, **keywords)
    assert text in str(error.value)
    assert list(here.iterdir()) == []


def test_a_folder_that_is_not_there_is_named(here):
    with pytest.raises(orv.FileError, match="^nowhere/map.exr: cannot be written: the folder nowhere does not exist$"):
        orv.write(gradient(), "nowhere/map.exr")


def test_a_failed_write_keeps_the_old_file(here):
    orv.write(gradient(), "map.jpg")
    before = (here / "map.jpg").read_bytes()
    with pytest.raises(orv.FileError, match="65500"):
        orv.write(np.zeros((1, 65536, 3), np.float32), "map.jpg")
    assert (here / "map.jpg").read_bytes() == before and len(list(here.iterdir())) == 1


def test_a_map_that_is_not_there_is_named(here):
    for reader in (orv.read, orv.info):
        with pytest.raises(orv.FileError, match="missing.exr"):
            reader("missing.exr")


def test_a_file_that_is_no_map_is_named(here):
    (here / "map.exr").write_bytes(b"not a picture")
    with pytest.raises(orv.FileError, match="map.exr"):
        orv.read("map.exr")


def test_larger_pictures_than_allowed_are_refused(here):
    orv.write(gradient(), "map.exr")
    with pytest.raises(orv.FileError, match="map.exr"):
        orv.read("map.exr", max_image_pixels=100)


def test_nan_is_written_as_one_and_read_as_black(here):
    light = np.ones((4, 8, 3), np.float32)
    light[1, 2] = np.nan
    orv.write(light, "map.pfm")
    assert np.isnan(np.frombuffer((here / "map.pfm").read_bytes()[-384:], "<f4")).sum() == 3


def test_info_weighs_by_solid_angle():
    light = np.zeros((180, 360, 3), np.float32)
    light[90, 270] = (1, 2, 3)
    weight = math.sin(math.radians(1)) / 720  # of a pixel below the equator
    info = orv.info(light)
    assert info["mean"] == pytest.approx((weight, 2 * weight, 3 * weight))
    assert info["peak"] == pytest.approx(0.2126 + 2 * 0.7152 + 3 * 0.0722)
    assert (info["longitude"], info["latitude"]) == pytest.approx((90.5, -0.5))
    assert (info["width"], info["height"]) == (360, 180)


def test_info_of_a_file_is_that_of_its_map(here):
    orv.write(gradient(), "map.exr", half=True)
    of_file = orv.info("map.exr")
    of_map = orv.info(orv.read("map.exr"))
    assert {key: of_file[key] for key in of_map} == of_map
    assert (of_file["channels"], of_file["compression"]) == (3, "zip")
    assert of_file["software"].startswith("orvhdri ")


def test_directions_are_unit_vectors_of_the_pixels():
    rays = orv.directions(8, 4)
    assert rays.shape == (4, 8, 3) and rays.dtype == np.float32
    assert np.allclose(np.linalg.norm(rays, axis=2), 1, atol=1e-6)
    latitude, longitude = math.radians(67.5), math.radians(22.5)
    assert rays[0, 4] == pytest.approx(
        (math.cos(latitude) * math.cos(longitude), math.cos(latitude) * math.sin(longitude), math.sin(latitude))
    )


def test_solid_angles_cover_the_sphere():
    for layout in ("native", "openexr", "usd"):
        assert orv.solid_angles(64, 32, layout=layout).sum(dtype=np.float64) == pytest.approx(4 * math.pi, rel=1e-6)
    rows = orv.solid_angles(8, 2)
    assert rows == pytest.approx(np.full((2, 8), 2 * math.pi / 8), rel=1e-6)


@pytest.mark.parametrize("sides", [(0, 4), (4, 0), (-1, 4), (2.5, 4), (10**6, 4), (65536, 65536)])
def test_wrong_sides_are_refused(sides):
    for function in (orv.directions, orv.solid_angles):
        with pytest.raises(ValueError):
            function(*sides)


def test_random_directions_are_uniform_and_the_same_for_a_seed():
    drawn = orv.random_directions(20000, seed=1)
    assert drawn.shape == (20000, 2)
    assert np.array_equal(drawn[:50], orv.random_directions(50, seed=1))
    assert not np.array_equal(drawn, orv.random_directions(20000, seed=2))
    azimuth, elevation = np.radians(drawn).T
    vectors = np.stack([np.cos(elevation) * np.cos(azimuth), np.cos(elevation) * np.sin(azimuth), np.sin(elevation)])
    assert np.abs(vectors.mean(axis=1)).max() < 4 / math.sqrt(3 * 20000)
    assert (vectors**2).mean(axis=1) == pytest.approx((1 / 3,) * 3, abs=0.01)


def test_a_preview_is_a_picture_of_its_size(here):
    sheet = orv.preview(gradient(), name="gradient")
    assert (sheet.shape, sheet.dtype) == ((900, 1024, 3), np.uint8)
    orv.write(sheet, "sheet.png")
    assert orv.info("sheet.png")["width"] == 1024


def test_a_preview_is_written_to_pictures_only(here):
    with pytest.raises(ValueError, match="a picture of uint8 is no light"):
        orv.write(orv.preview(gradient()), "sheet.exr")


def test_a_tone_mapped_map_has_the_size_that_is_asked_for():
    light = np.full((64, 128, 3), 0.18, np.float32)
    picture = orv.tone_map(light, exposure=0, size=(32, 16))
    # sRGB of 0.18 is 117.6.
    assert picture.shape == (16, 32, 3) and abs(picture.mean() - 117.64) < 0.2


def test_notebooks_show_maps_and_nothing_else(lamp):
    light = orv.paint(lamp)
    assert light._repr_png_().startswith(b"\x89PNG\r\n")
    assert light[0]._repr_png_() is None
    assert isinstance(light.mean(), np.float32)
    assert type(light.sum(axis=2)) is np.ndarray
    assert type(light * 2) is orv.Map
