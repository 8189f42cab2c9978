"""The GStreamer plug-in (libgstfxhost.so) in gst-inspect-1.0, gst-launch-1.0, a GstController and a
GES timeline, held byte for byte to `fxhost render` with the same renderer (FXHOST_RENDERER, which
ctest sets for the element; fxhost gets --renderer with the same word). Frame n of a stream is the
one whose time stamp is (n - 1) / fps, as the README says.

Paths from ctest (Tests/CMakeLists.txt): GST_PLUGIN_PATH (the build's plug-in folder), FXHOST,
FXHOST_GST_PLUGIN, FXHOST_BUNDLE, FXHOST_FREI0R_MODULE (a shared object without EntryPointFunc) and
FXHOST_BROKEN_BUNDLE (a bundle that fails every frame).
"""
import os
import re
import shutil
import subprocess
import tempfile

import numpy as np
import pytest

TMP = tempfile.mkdtemp(prefix="fxhost-gst-")
os.environ["GST_REGISTRY"] = os.path.join(TMP, "registry.bin")  # GStreamer's cache: ours, not the user's

import gi  # noqa: E402  (GStreamer reads the environment above as it starts)
gi.require_version("Gst", "1.0")
gi.require_version("GstVideo", "1.0")
gi.require_version("GstController", "1.0")
gi.require_version("GstPbutils", "1.0")
gi.require_version("GES", "1.0")
from gi.repository import GES, Gst, GstController, GstPbutils, GstVideo  # noqa: E402

Gst.init(None)
GES.init()

FXHOST = os.environ["FXHOST"]
RENDERER = os.environ.get("FXHOST_RENDERER") or "auto"
ELEMENT = "ostrivanehueandsaturation"
FPS = 25


@pytest.fixture(scope="session", autouse=True)
def temporary_folder():
    yield
    shutil.rmtree(TMP)


def run(args, env=None, check=True):
    result = subprocess.run(args, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120)
    if check:
        assert result.returncode == 0, "%s exited %d\n%s" % (" ".join(args), result.returncode, result.stderr.decode())
    return result


def path(name):
    return os.path.join(TMP, name)


def frame(width, height, opaque=False):
    """A WxH RGBA PNG of the test pattern; alpha running through every value unless opaque."""
    name = path("in-%dx%d%s.png" % (width, height, "-opaque" if opaque else ""))
    if not os.path.exists(name):
        alpha = "" if opaque else ",geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(X*7+Y*3,256)'"
        run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
             "testsrc2=size=%dx%d:rate=1,format=rgba%s" % (width, height, alpha), "-frames:v", "1", name])
    return name


def rgba(media):
    """Every frame of an image or movie as RGBA bytes, decoded by FFmpeg."""
    return run(["ffmpeg", "-nostdin", "-v", "error", "-i", media, "-f", "rawvideo", "-pix_fmt", "rgba", "-"]).stdout


def reference(image, *sets, frames=None):
    """What `fxhost render` makes of `image` (a frame-numbered sequence where frames are given)."""
    out = path("ref-%d.png" % len(os.listdir(TMP))) if frames is None else path("ref-%d-%%02d.png" % len(os.listdir(TMP)))
    args = [FXHOST, "-q", "render", "--renderer", RENDERER]
    for assignment in sets:
        args += ["--set", assignment]
    run(args + ([] if frames is None else ["--frames", ",".join(map(str, frames))]) + [image, out])
    return rgba(out) if frames is None else [rgba(out % n) for n in frames]


def slider_table():
    """The sliders as `fxhost info` prints them: [(name, min, max, default)]."""
    out = run([FXHOST, "info"]).stdout.decode()
    return [(m[1], float(m[2]), float(m[3]), float(m[4])) for m in re.finditer(
        r"^\s*\d+\s+(.+?)\s+float slider\s+valid (\S+) to (\S+)\s+slider .*?default (\S+)", out, re.M)]


def test_inspect_lists_every_slider_as_a_controllable_property_in_its_own_range():
    out = run(["gst-inspect-1.0", ELEMENT]).stdout.decode()
    assert re.search(r"\n  Klass\s+Filter/Effect/Video\n", out), out
    assert re.search(r"\n  Long-name\s+Ostrivane Hue And Saturation\n", out), out
    sliders = slider_table()
    assert [s[0] for s in sliders] == ["Hue Value", "Saturation"]
    for name, low, high, default in sliders:
        prop = name.lower().replace(" ", "-")
        found = re.search(r"\n  %s\s+: %s: (.*)\n\s+flags: readable, writable, controllable\n"
                          r"\s+Double\. Range:\s+(\S+) -\s+(\S+) Default:\s+(\S+)" % (prop, name), out)
        assert found, "%s is not listed as a controllable double:\n%s" % (prop, out)
        assert tuple(float(v) for v in found.group(2, 3, 4)) == (low, high, default), found.group(0)
        unit = "°" if name == "Hue Value" else ""
        assert found.group(1).startswith("%g%s to %g%s" % (low, unit, high, unit)), found.group(0)
    # Each says what it does, in the words Kdenlive and Shotcut show.
    assert re.search(r"hue-value\s+: Hue Value: .*by this many degrees", out), out


# GStreamer's layouts of the four bytes, and the RGBA order they are read back in.
LAYOUTS = {"RGBA": "RGBA", "BGRA": "BGRA", "ARGB": "ARGB", "ABGR": "ABGR", "RGBx": "RGBA", "BGRx": "BGRA"}


@pytest.mark.parametrize("width,height,fmt", [
    (321, 240, "RGBA"), (1920, 1080, "RGBA"),
    (33, 7, "BGRA"), (33, 7, "ARGB"), (33, 7, "ABGR"),
    # Opaque in, and the padding byte out as 255: read as RGBA it is the reference's alpha.
    (33, 7, "RGBx"), (33, 7, "BGRx"),
])
def test_launch_renders_what_fxhost_renders(width, height, fmt):
    image = frame(width, height, opaque=fmt.endswith("x"))
    out = path("launch-%s-%d.raw" % (fmt, width))
    run(["gst-launch-1.0", "-q", "filesrc", "location=" + image, "!", "pngdec", "!", "videoconvert", "!",
         "video/x-raw,format=" + fmt, "!", ELEMENT, "hue-value=90", "saturation=1.5", "!",
         "video/x-raw,format=" + fmt, "!", "filesink", "location=" + out])
    with open(out, "rb") as f:
        got = np.frombuffer(f.read(), np.uint8).reshape(-1, 4)
    layout = LAYOUTS[fmt]
    got = got[:, [layout.index(c) for c in "RGBA"]].tobytes()
    assert got == reference(image, "Hue Value=90", "Saturation=1.5"), "%s frame differs" % fmt


def play(pipeline, feed=None):
    """Plays the pipeline to its end, which must be end-of-stream, not an error."""
    assert pipeline.set_state(Gst.State.PLAYING) != Gst.StateChangeReturn.FAILURE
    if feed:
        feed()
    message = pipeline.get_bus().timed_pop_filtered(60 * Gst.SECOND, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    pipeline.set_state(Gst.State.NULL)
    assert message and message.type == Gst.MessageType.EOS, message and message.parse_error()


def run_pipeline(pipeline, feed=None):
    """Plays the pipeline to its end; the frames its appsink `sink` received."""
    frames = []
    pipeline.get_by_name("sink").connect(
        "new-sample", lambda s: frames.append(_bytes(s.emit("pull-sample"))) or Gst.FlowReturn.OK)
    play(pipeline, feed)
    return frames


def _bytes(sample):
    buffer = sample.get_buffer()
    ok, info = buffer.map(Gst.MapFlags.READ)
    assert ok
    data = bytes(info.data)
    buffer.unmap(info)
    return data


def test_rows_are_read_at_their_stride():
    # A frame whose rows lie 44 bytes further apart than their pixels, the gap full of other bytes.
    width, height, gap = 31, 9, 44
    pixels = rgba(frame(width, height))
    row = width * 4
    padded = b"".join(pixels[y * row:(y + 1) * row] + bytes([0x5A]) * gap for y in range(height))
    pipeline = Gst.parse_launch(
        "appsrc name=src format=time caps=video/x-raw,format=RGBA,width=%d,height=%d,framerate=1/1 ! %s "
        "hue-value=90 saturation=1.5 ! appsink name=sink emit-signals=true sync=false" % (width, height, ELEMENT))

    def feed():
        buffer = Gst.Buffer.new_wrapped(padded)
        buffer.pts, buffer.duration = 0, Gst.SECOND
        GstVideo.buffer_add_video_meta_full(buffer, GstVideo.VideoFrameFlags.NONE, GstVideo.VideoFormat.RGBA,
                                            width, height, 1, [0, 0, 0, 0], [row + gap, 0, 0, 0])
        pipeline.get_by_name("src").emit("push-buffer", buffer)
        pipeline.get_by_name("src").emit("end-of-stream")

    assert run_pipeline(pipeline, feed) == [reference(frame(width, height), "Hue Value=90", "Saturation=1.5")]


def keyed_hue(scale=1.0):
    """Hue Value keyed 0 at frame 1 and 120 at frame 48 (times `scale`), linearly between."""
    source = GstController.InterpolationControlSource()
    source.props.mode = GstController.InterpolationMode.LINEAR
    source.set(0, 0.0)
    source.set(47 * Gst.SECOND // FPS, 120.0 * scale)
    return source


KEYED = ["Hue Value=0@1,120@48", "Saturation=1.5"]
CHECKED = [1, 24, 48]


def fxhost_keyed(image):
    # The same image as frames 1, 24 and 48 of a sequence.
    sequence = path("seq-%02d.png")
    for n in CHECKED:
        shutil.copy(image, sequence % n)
    return reference(sequence, *KEYED, frames=CHECKED)


def test_controlled_hue_follows_its_keys_frame_by_frame():
    image = frame(40, 24)
    pipeline = Gst.parse_launch(
        "filesrc location=%s ! pngdec ! imagefreeze num-buffers=48 ! video/x-raw,framerate=%d/1 ! videoconvert ! "
        "video/x-raw,format=RGBA ! %s name=fx saturation=1.5 ! appsink name=sink emit-signals=true sync=false"
        % (image, FPS, ELEMENT))
    fx = pipeline.get_by_name("fx")
    source = keyed_hue()
    assert fx.add_control_binding(GstController.DirectControlBinding.new_absolute(fx, "hue-value", source))
    frames = run_pipeline(pipeline)
    assert len(frames) == 48
    assert [frames[n - 1] for n in CHECKED] == fxhost_keyed(image)


def test_ges_timeline_renders_the_keyed_effect_to_a_lossless_file():
    # What Pitivi does: the effect on a clip, its hue keyed on the effect's child property with a
    # plain "direct" binding (keys as fractions of the property's range: Pitivi's keyframes), the
    # timeline rendered through GES's pipeline. Opaque: the timeline mixes over black.
    image = frame(48, 32, opaque=True)
    timeline = GES.Timeline.new()
    track = GES.VideoTrack.new()
    track.set_restriction_caps(Gst.Caps.from_string("video/x-raw,format=RGBA,width=48,height=32,framerate=%d/1" % FPS))
    timeline.add_track(track)
    clip = timeline.append_layer().add_asset(GES.UriClipAsset.request_sync(Gst.filename_to_uri(image)), 0, 0,
                                             48 * Gst.SECOND // FPS, GES.TrackType.VIDEO)
    effect = GES.Effect.new(ELEMENT + " saturation=1.5")
    assert clip.add(effect)
    low, high = [(s[1], s[2]) for s in slider_table() if s[0] == "Hue Value"][0]
    assert low == 0
    assert effect.set_control_source(keyed_hue(1 / high), "hue-value", "direct")
    timeline.commit_sync()
    pipeline = GES.Pipeline()
    pipeline.set_timeline(timeline)
    profile = GstPbutils.EncodingContainerProfile.new("mkv", None, Gst.Caps.from_string("video/x-matroska"), None)
    profile.add_profile(GstPbutils.EncodingVideoProfile.new(Gst.Caps.from_string("video/x-ffv,ffvversion=1"), None,
                                                           Gst.Caps.from_string("video/x-raw,format=BGRA"), 0))
    out = path("ges.mkv")
    assert pipeline.set_render_settings(Gst.filename_to_uri(out), profile)
    assert pipeline.set_mode(GES.PipelineFlags.RENDER)
    play(pipeline)
    frames = rgba(out)
    size = 48 * 32 * 4
    assert len(frames) == 48 * size
    assert [frames[(n - 1) * size:n * size] for n in CHECKED] == fxhost_keyed(image)


def plugin_beside(name, bundles):
    """The plug-in as the build lays it out, in a folder of its own with these bundles beside it
    (name -> bytes), and an environment that finds it with GStreamer's core elements and
    videotestsrc alone, scanning in this process."""
    root = path(name)
    os.makedirs(os.path.join(root, "system"))
    for plugin in ["coreelements", "videotestsrc"]:
        system = Gst.Registry.get().find_plugin(plugin).get_filename()
        os.symlink(system, os.path.join(root, "system", os.path.basename(system)))
    os.makedirs(os.path.join(root, "lib", "gstreamer-1.0"))
    shutil.copy(os.environ["FXHOST_GST_PLUGIN"], os.path.join(root, "lib", "gstreamer-1.0"))
    os.makedirs(os.path.join(root, "bin"))
    for file, data in bundles.items():
        with open(os.path.join(root, "bin", file), "wb") as f:
            f.write(data)
    return dict(os.environ, GST_PLUGIN_PATH=os.path.join(root, "lib", "gstreamer-1.0"),
                GST_PLUGIN_SYSTEM_PATH=os.path.join(root, "system"), GST_REGISTRY=os.path.join(root, "registry.bin"),
                GST_REGISTRY_FORK="no", GST_DEBUG="fxhost:ERROR", GST_DEBUG_NO_COLOR="1"), os.path.join(root, "bin")


def read(file):
    with open(file, "rb") as f:
        return f.read()


def test_damaged_bundles_are_left_out_in_one_line_each_and_the_rest_listed():
    good = read(os.environ["FXHOST_BUNDLE"])
    env, folder = plugin_beside("damaged", {"Cut.plugin": good[:5000], "HueAndSaturation.plugin": good,
                                            "NoEntry.plugin": read(os.environ["FXHOST_FREI0R_MODULE"])})
    result = run(["gst-inspect-1.0", "fxhost"], env=env)
    assert re.search(r"\n  %s: Ostrivane Hue And Saturation\n" % ELEMENT, result.stdout.decode()), result.stdout
    errors = [line for line in result.stderr.decode().splitlines() if " ERROR " in line]
    assert len(errors) == 2, result.stderr
    assert "'%s/Cut.plugin': cut short" % folder in errors[0]
    assert "'%s/NoEntry.plugin' does not export EntryPointFunc" % folder in errors[1]


@pytest.mark.parametrize("bundle,renderer,why", [
    # A bundle that writes past its output's last row on every frame: the host's guard bytes catch it.
    ("FXHOST_BROKEN_BUNDLE", None, r"failed on the frame at 0:00:00.000000000: .*bytes outside the output world were written"),
    ("FXHOST_BUNDLE", "bogus", r": FXHOST_RENDERER: unknown renderer \"bogus\""),
])
def test_an_effect_that_fails_on_a_frame_or_its_set_up_stops_the_stream_naming_the_bundle(bundle, renderer, why):
    env, folder = plugin_beside("failing-" + bundle, {"Effect.plugin": read(os.environ[bundle])})
    if renderer:
        env["FXHOST_RENDERER"] = renderer
    # A sink that does not wait to preroll: gst-launch-1.0 1.22 now and then hangs on an error that
    # comes while the pipeline prerolls, whatever element posts it (identity error-after=1 does too).
    result = run(["gst-launch-1.0", "videotestsrc", "num-buffers=3", "!", "video/x-raw,format=RGBA,width=32,height=8",
                  "!", ELEMENT, "!", "fakesink", "async=false"], env=env, check=False)
    assert result.returncode in (1, 255), result.stderr
    assert re.search(r"ERROR: from element .*%s\d*: effect bundle '%s/Effect.plugin'.*%s" % (ELEMENT, re.escape(folder), why),
                     result.stderr.decode()), result.stderr
