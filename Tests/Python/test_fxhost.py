"""The Python module against `fxhost render`: the same pixels and values give the same bytes.

Run by ctest with Debian's python3 and PYTHONPATH=build/python; FXHOST, FXHOST_BUNDLE and
FXHOST_BROKEN_DIR come from Tests/CMakeLists.txt.
"""
import os
import shutil
import subprocess
import sys
import threading
import time
import tracemalloc

import numpy as np
import OpenImageIO as oiio
import pytest

import fxhost

FXHOST = os.environ["FXHOST"]
BUNDLE = os.environ["FXHOST_BUNDLE"]
BROKEN = os.environ["FXHOST_BROKEN_DIR"]
OIIO_TYPES = {np.dtype(np.uint8): oiio.UINT8, np.dtype(np.uint16): oiio.UINT16, np.dtype(np.float32): oiio.FLOAT}


@pytest.fixture(scope="module")
def effect():
    return fxhost.Effect(BUNDLE)


def pixels(dtype, height=24, width=40, seed=1, opaque=False):
    """Random RGBA pixels over the whole range of the type; floats a little outside 0 to 1."""
    rng = np.random.default_rng(seed)
    if np.dtype(dtype).kind == "f":
        frame = rng.uniform(-0.25, 1.25, (height, width, 4)).astype(dtype)
    else:
        frame = rng.integers(0, np.iinfo(dtype).max, (height, width, 4), endpoint=True, dtype=dtype)
    if opaque:
        frame[..., 3] = 1 if np.dtype(dtype).kind == "f" else np.iinfo(dtype).max
    return frame


def write_image(path, frame):
    layout = oiio.ImageSpec(frame.shape[1], frame.shape[0], 4, OIIO_TYPES[frame.dtype])
    layout.attribute("oiio:UnassociatedAlpha", 1)  # straight alpha, as it is stored
    out = oiio.ImageOutput.create(path)
    assert out.open(path, layout), oiio.geterror()
    assert out.write_image(frame), out.geterror()
    out.close()


def read_image(path, dtype):
    config = oiio.ImageSpec()
    config.attribute("oiio:UnassociatedAlpha", 1)
    image = oiio.ImageInput.open(path, config)
    assert image, oiio.geterror()
    frame = image.read_image(OIIO_TYPES[np.dtype(dtype)])
    image.close()
    return frame


def fxhost_render(folder, frames, ext, args, numbers=(0,)):
    """What `fxhost render ARGS` writes for the frames (numbered as given), read back at their depth."""
    single = numbers == (0,)
    pattern = "%04d" if not single else ""
    for number, frame in zip(numbers, frames):
        write_image(os.path.join(folder, "in%s.%s" % ("_%04d" % number if not single else "", ext)), frame)
    inp = os.path.join(folder, "in%s.%s" % ("_" + pattern if pattern else "", ext))
    out = os.path.join(folder, "out%s.%s" % ("_" + pattern if pattern else "", ext))
    frames_arg = [] if single else ["--frames", ",".join(map(str, numbers))]
    result = subprocess.run([FXHOST, "-q", "render", "--plugin", BUNDLE] + frames_arg + args + [inp, out],
                            capture_output=True, text=True)
    assert result.returncode == 0, result.stderr
    names = [out] if single else [out.replace("%04d", "%04d" % n) for n in numbers]
    return [read_image(name, frames[0].dtype) for name in names]


# The depths fxhost render reads and writes, with the values given each way Python offers.
@pytest.mark.parametrize("ext, dtype, opaque", [
    ("png", np.uint8, False),
    ("png", np.uint16, False),
    ("tif", np.float32, False),
    ("exr", np.float32, True),  # OpenEXR stores alpha associated: opaque, it is the same either way
])
@pytest.mark.parametrize("call", ["keywords", "dict", "text"])
def test_render_matches_fxhost_render_byte_for_byte(effect, tmp_path, ext, dtype, opaque, call):
    frame = pixels(dtype, opaque=opaque)
    expected = fxhost_render(str(tmp_path), [frame], ext, ["--set", "Hue Value=90", "--set", "saturation=1.5"])[0]
    if call == "keywords":
        got = effect.render(frame, hue_value=90, saturation=1.5)
    elif call == "dict":
        got = effect.render(frame, {"Hue Value": 90.0, "SATURATION": np.float32(1.5)})
    else:
        got = effect.render(frame, {"Hue Value": "90", "Saturation": "1.5"})
    assert got.dtype == frame.dtype and got.shape == frame.shape
    assert got.tobytes() == expected.tobytes()


def test_every_byte_value_through_each_depth(effect, tmp_path):
    ramp = np.arange(256, dtype=np.uint8).reshape(16, 16, 1).repeat(4, axis=2)
    for dtype, scale in [(np.uint16, 257), (np.float32, 1 / 255)]:
        frame = (ramp.astype(np.float64) * scale).astype(dtype)
        expected = fxhost_render(str(tmp_path), [frame], "tif", [])[0]
        assert effect.render(frame).tobytes() == expected.tobytes(), dtype


def test_keyed_look_at_three_times(effect, tmp_path):
    look = tmp_path / "look.json"
    look.write_text('{"format": "fxhost look", "version": 1, "effect": "%s", "parameters": {'
                    '"Hue Value": [{"frame": 1, "value": 0}, {"frame": 48, "value": 120}], "Saturation": 0.5}}'
                    % effect.name)
    frame = pixels(np.uint8)
    numbers = (1, 24, 48)
    expected = fxhost_render(str(tmp_path), [frame] * 3, "png", ["--look", str(look)], numbers)
    loaded = fxhost.Look.load(look)
    assert loaded.parameters == {"Hue Value": [(1, 0.0), (48, 120.0)], "Saturation": 0.5}
    for number, want in zip(numbers, expected):
        assert effect.render(frame, look=loaded, time=number).tobytes() == want.tobytes(), number
    # Keys given in Python are the look's keys.
    keyed = effect.render(frame, {"Hue Value": [(1, 0), (48, 120)]}, saturation=0.5, time=24)
    assert keyed.tobytes() == expected[1].tobytes()


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float32])
@pytest.mark.parametrize("view", ["slice", "fortran", "transposed", "reversed"])
def test_any_strides_give_the_pixels_of_a_copy(effect, dtype, view):
    base = pixels(dtype, 48, 120, seed=2)
    frame = {"slice": base[::2, 1::3], "fortran": np.asfortranarray(base), "transposed": base.transpose(1, 0, 2),
             "reversed": base[::-1, ::-1]}[view]
    expected = effect.render(np.ascontiguousarray(frame), hue_value=200)
    assert effect.render(frame, hue_value=200).tobytes() == expected.tobytes()
    out = np.zeros((frame.shape[1], frame.shape[0], 4), dtype).transpose(1, 0, 2)  # a strided out, too
    assert effect.render(frame, hue_value=200, out=out) is out
    assert np.ascontiguousarray(out).tobytes() == expected.tobytes()


def test_a_c_ordered_frame_is_read_where_it_lies(effect):
    frame = pixels(np.float32, 256, 256, seed=7)
    out = np.empty_like(frame)
    tracemalloc.start()  # NumPy reports its buffers to it
    effect.render(frame, out=out)
    peak = tracemalloc.get_traced_memory()[1]
    tracemalloc.stop()
    assert peak < frame.nbytes / 4, peak


def test_out_in_place_and_defaults(effect):
    frame = pixels(np.uint8, seed=3)
    want = effect.render(frame, hue_value=45)
    effect.render(frame, hue_value=45, out=frame)
    assert frame.tobytes() == want.tobytes()
    # A parameter left out takes the effect's default, whatever an earlier call set.
    defaults = {p.name: p.default for p in effect.parameters}
    assert effect.render(want).tobytes() == effect.render(want, defaults).tobytes()


@pytest.mark.parametrize("renderer", ["gl", "cpu"])
def test_each_renderer_as_fxhost_render_uses_it(tmp_path, renderer):
    # A bundle serves one renderer per process: each has a process of its own.
    frame = pixels(np.uint8, seed=8)
    expected = fxhost_render(str(tmp_path), [frame], "png", ["--renderer", renderer, "--set", "Saturation=1.75"])[0]
    np.save(tmp_path / "frame.npy", frame)
    code = ("import sys, numpy as np, fxhost; effect = fxhost.Effect(sys.argv[1], renderer=sys.argv[2]); "
            "np.save(sys.argv[3], effect.render(np.load(sys.argv[3]), saturation=1.75)); print(effect.renderer)")
    served = subprocess.run([sys.executable, "-c", code, BUNDLE, renderer, str(tmp_path / "frame.npy")],
                            capture_output=True, text=True, check=True).stdout
    assert served == renderer + "\n"
    assert np.load(tmp_path / "frame.npy").tobytes() == expected.tobytes()


def test_the_other_renderer_is_refused_while_one_serves(effect):
    other = "gl" if effect.renderer == "cpu" else "cpu"
    with pytest.raises(fxhost.BundleError, match="set up in this process with its %s renderer" % effect.renderer):
        fxhost.Effect(BUNDLE, renderer=other)
    assert fxhost.Effect(BUNDLE, renderer=effect.renderer).render(pixels(np.uint8)).shape == (24, 40, 4)


def test_parameters_as_fxhost_info_lists_them(effect):
    info = subprocess.run([FXHOST, "info", "--plugin", BUNDLE], capture_output=True, text=True, check=True).stdout
    # auto, settled as fxhost settles it on this machine
    assert "Renderer:   %s (%s)" % (effect.renderer, effect.renderer_reason) in info
    assert effect.name == info.strip().split("\n\n")[0].splitlines()[-1]
    for p in effect.parameters:
        line = "%d  %-12s float slider  valid %g to %g  slider %g to %g  default %g" % (
            p.index, p.name, *p.range, *p.slider_range, p.default)
        assert line in info, line
    assert [p.kind for p in effect.parameters] == ["float slider"] * 2


BAD = [
    (dict(frame=np.zeros((4, 4, 3), np.uint8)), ValueError, "H x W x 4"),
    (dict(frame=np.zeros((4, 4), np.uint8)), ValueError, "got shape (4, 4)"),
    (dict(frame=np.zeros((0, 4, 4), np.uint8)), ValueError, "H x W x 4"),
    (dict(frame=np.zeros((4, 4, 4), np.float64)), TypeError, "uint8, uint16 or float32"),
    (dict(frame=np.zeros((4, 4, 4), ">u2")), TypeError, "native byte order"),
    (dict(frame=[[[0, 0, 0, 0]]]), TypeError, "NumPy array"),
    (dict(out=np.zeros((4, 4, 4), np.uint8)), ValueError, "shape (2, 3, 4), got (4, 4, 4)"),
    (dict(out=np.zeros((2, 3, 4), np.uint16)), TypeError, "dtype uint8"),
    (dict(out=np.broadcast_to(np.zeros(4, np.uint8), (2, 3, 4))), ValueError, "read-only"),
    (dict(no_such_slider=1), ValueError, "unknown parameter \"no_such_slider\""),
    (dict(hue_value=1000), ValueError, "out of range"),
    (dict(hue_value="ninety"), ValueError, "not a number"),
    (dict(hue_value=object()), TypeError, "\"Hue Value\": a value is a number"),
    (dict(values={"Hue Value": [(1, 0), (1, 90)]}), ValueError, "Hue Value"),
    (dict(time=0.5), ValueError, "whole frame"),
    (dict(look="/nonexistent/look.json"), ValueError, "/nonexistent/look.json"),
    (dict(renderer="vulkan"), ValueError, "vulkan"),
]


@pytest.mark.parametrize("arguments, error, words", BAD)
def test_bad_input_is_refused_naming_what_was_expected(effect, arguments, error, words):
    arguments = dict(arguments)
    frame = arguments.pop("frame", np.zeros((2, 3, 4), np.uint8))
    with pytest.raises(error) as raised:
        if "renderer" in arguments:
            fxhost.Effect(BUNDLE, **arguments)
        effect.render(frame, **arguments)
    assert words in str(raised.value)


def test_the_gil_is_released_while_a_frame_renders(effect):
    frame = pixels(np.float32, 1080, 1920, seed=4)
    effect.render(frame)  # the effect's GL set-up for this size is not what is measured
    ticks, stop = [], threading.Event()

    def count():
        while not stop.is_set():
            ticks.append(time.perf_counter())
            time.sleep(0.001)

    counter = threading.Thread(target=count)
    counter.start()
    time.sleep(0.02)
    start = time.perf_counter()
    effect.render(frame, hue_value=30)
    end = time.perf_counter()
    time.sleep(0.02)
    stop.set()
    counter.join()
    during = [t for t in ticks if start <= t <= end] + [end]
    gaps = np.diff([start] + during)
    # Held, the counter would stand still for the whole call.
    assert gaps.max() < (end - start) / 2, (gaps.max(), end - start)


def test_threads_render_at_once_each_its_own_values(effect):
    frames = [pixels(np.uint8, 64, 96, seed=s) for s in range(4)]
    alone = [effect.render(f, hue_value=40 * i) for i, f in enumerate(frames)]
    results, errors = {}, []

    def work(i):
        try:
            for _ in range(5):
                results[i] = effect.render(frames[i], hue_value=40 * i)
        except Exception as e:  # noqa: BLE001 - reported below
            errors.append(e)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert not errors
    assert all(results[i].tobytes() == alone[i].tobytes() for i in range(4))


def resident_kib():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") // 1024


def test_ten_thousand_renders_keep_memory_flat(effect):
    frame = pixels(np.uint8, 16, 16, seed=5)
    for _ in range(500):
        effect.render(frame, hue_value=10)
    before = resident_kib()
    for i in range(10000):
        effect.render(frame, hue_value=i % 360)
    # A frame a call is 10,000 KiB of frames; the allocator's own slack is far below that.
    assert resident_kib() - before < 2048


@pytest.mark.parametrize("bundle, error, words", [
    ("missing", fxhost.BundleError, "no such readable file"),
    ("truncated", fxhost.BundleError, "cut short"),
    ("text", fxhost.BundleError, "cannot load effect bundle"),
    ("BrokenWritesPastRows", fxhost.EffectError, "host fault: "),
])
def test_a_damaged_bundle_raises(tmp_path, bundle, error, words):
    path = str(tmp_path / "Damaged.plugin")
    if bundle == "truncated":
        with open(BUNDLE, "rb") as whole, open(path, "wb") as part:
            part.write(whole.read()[:20000])
    elif bundle == "text":
        open(path, "w").write("not a bundle\n")
    elif bundle.startswith("Broken"):
        shutil.copy(os.path.join(BROKEN, bundle + ".plugin"), path)
    with pytest.raises(error) as raised:
        fxhost.Effect(path).render(pixels(np.uint8, seed=6))
    assert words in str(raised.value) and isinstance(raised.value, fxhost.EffectError)


def test_without_arguments_it_loads_the_bundle_fxhost_uses():
    assert os.path.realpath(fxhost.Effect().bundle) == os.path.realpath(BUNDLE)
