#!/usr/bin/env python3
"""The installed tree, the frei0r hosts reaching the installed module, and the Debian package.

Run by ctest with one group's name (InstalledTree, Frei0rHosts, Package); the paths come from
the environment ctest sets (Tests/CMakeLists.txt). Everything is made in a temporary folder.
"""
import ctypes
import gzip
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree as ET

BUILD = os.environ["FXHOST_BUILD_DIR"]
SOURCE = os.environ["FXHOST_SOURCE_DIR"]
VERSION = os.environ["FXHOST_VERSION"]
CMAKE = os.environ.get("FXHOST_CMAKE", "cmake")
CPACK = os.environ.get("FXHOST_CPACK", "cpack")
BUILD_FXHOST = os.path.join(BUILD, "bin", "fxhost")
BUILD_BUNDLE = os.path.join(BUILD, "bin", "HueAndSaturation.plugin")
SAMPLE = os.path.join(SOURCE, "samples", "colours.png")  # 192 x 128: FFmpeg's rows come unpadded
MODULE = "ostrivane-hue-and-saturation"
# The Python module, named for Debian's python3, which it is built for.
DEBIAN_PYTHON = "/usr/bin/python3"
PYTHON_MODULE = "lib/python3/dist-packages/fxhost" + subprocess.run(
    [DEBIAN_PYTHON, "-c", "import sysconfig; print(sysconfig.get_config_var('EXT_SUFFIX'))"],
    stdout=subprocess.PIPE, text=True, check=True).stdout.strip()
# The GStreamer plug-in, in GStreamer's own plug-in folder under the prefix (lib/<multiarch>/gstreamer-1.0).
GST_PLUGIN_DIR = os.path.relpath(*[subprocess.run(
    ["pkg-config", "--variable=" + v, "gstreamer-1.0"], stdout=subprocess.PIPE, text=True, check=True).stdout.strip()
    for v in ("pluginsdir", "prefix")])
GST_PLUGIN = GST_PLUGIN_DIR + "/libgstfxhost.so"

# Built with _FORTIFY_SOURCE like the rest, but with no libc call the compiler can check: its copies
# (memcpy, memmove, memset, read) are of buffers sized at run time, so hardening-check and lintian,
# which look for a checked call, find none.
NO_FORTIFIABLE_CALL = {"usr/lib/fxhost/libfxhost_images.so"}

# What an installation holds, relative to its prefix, and nothing else.
INSTALLED_FILES = {
    "bin/fxhost": 0o755,
    "lib/fxhost/HueAndSaturation.plugin": 0o644,
    "lib/fxhost/libfxhost_images.so": 0o644,
    "lib/frei0r-1/ostrivane-hue-and-saturation.so": 0o644,
    "share/doc/fxhost/README.md": 0o644,
    "share/doc/fxhost/copyright": 0o644,
    "share/doc/fxhost/changelog.gz": 0o644,
    "share/man/man1/fxhost.1.gz": 0o644,
    "share/kdenlive/effects/frei0r_ostrivane-hue-and-saturation.xml": 0o644,
    "share/shotcut/qml/filters/ostrivane_hue_and_saturation/meta.qml": 0o644,
    "share/shotcut/qml/filters/ostrivane_hue_and_saturation/ui.qml": 0o644,
    PYTHON_MODULE: 0o644,
    GST_PLUGIN: 0o644,
}


def run(args, cwd=None, env=None, check=True, timeout=300):
    result = subprocess.run(args, cwd=cwd, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            text=True, timeout=timeout)
    if check and result.returncode != 0:
        raise AssertionError("%s exited %d\n%s%s" % (" ".join(args), result.returncode,
                                                     result.stdout, result.stderr))
    return result


def clean_env(**extra):
    """The environment of a user who has set nothing for fxhost or frei0r."""
    env = {k: v for k, v in os.environ.items()
           if not k.startswith(("FREI0R", "MLT_", "FXHOST", "LD_"))}
    env.update(extra)
    return env


def rgba(image):
    """An image's pixels as RGBA bytes, decoded by FFmpeg."""
    return subprocess.run(["ffmpeg", "-v", "error", "-i", image, "-f", "rawvideo", "-pix_fmt", "rgba", "-"],
                          stdout=subprocess.PIPE, check=True).stdout


def reference(folder, name, hue, saturation):
    """The sample through the build tree's fxhost and bundle, as RGBA bytes."""
    out = os.path.join(folder, name)
    run([BUILD_FXHOST, "-q", "render", "--plugin", BUILD_BUNDLE, "--set", "Hue Value=%g" % hue,
         "--set", "Saturation=%g" % saturation, SAMPLE, out])
    return rgba(out)


def effect_table(fxhost):
    """The effect's name and sliders as `fxhost info` prints them:
    [(index, name, min, max, default, precision)]."""
    out = run([fxhost, "info"], env=clean_env()).stdout
    name = out.split("\n\n")[0].strip().splitlines()[-1]
    sliders = [(int(m[1]), m[2], float(m[3]), float(m[4]), float(m[5]), int(m[6])) for m in re.finditer(
        r"^\s*(\d+)\s+(.+?)\s+float slider\s+valid (\S+) to (\S+)\s+slider .*?default (\S+)\s+precision (\d+)",
        out, re.M)]
    return name, sliders


def module_info(module_path):
    """The frei0r module's f0r_plugin_info_t, read as MLT scans it: before f0r_init."""
    class PluginInfo(ctypes.Structure):  # f0r_plugin_info_t, frei0r.h 1.2
        _fields_ = [("name", ctypes.c_char_p), ("author", ctypes.c_char_p), ("plugin_type", ctypes.c_int),
                    ("color_model", ctypes.c_int), ("frei0r_version", ctypes.c_int),
                    ("major_version", ctypes.c_int), ("minor_version", ctypes.c_int),
                    ("num_params", ctypes.c_int), ("explanation", ctypes.c_char_p)]
    info = PluginInfo()
    ctypes.CDLL(module_path).f0r_get_plugin_info(ctypes.byref(info))
    return info


KDENLIVE_DESCRIPTION = "share/kdenlive/effects/frei0r_%s.xml" % MODULE
SHOTCUT_FOLDER = "share/shotcut/qml/filters/ostrivane_hue_and_saturation"
QML_VALUE = r"qsTr\('((?:[^'\\]|\\.)*)'[^)]*\)|'((?:[^'\\]|\\.)*)'|\[([^\]]*)\]|(-?[\d.]+|true|false|Metadata\.\w+)"


def qml_fields(text):
    """`name: value` pairs of a piece of QML, values as strings, lists as lists of strings."""
    fields = {}
    for m in re.finditer(r"\b(\w+):\s*(?:" + QML_VALUE + ")", text):
        text_value = m[2] if m[2] is not None else m[3]
        if text_value is not None:
            fields[m[1]] = re.sub(r"\\(.)", r"\1", text_value)
        elif m[4] is not None:
            fields[m[1]] = re.findall(r"'([^']*)'", m[4])
        else:
            fields[m[1]] = m[5]
    return fields


def shotcut_description(prefix):
    """Shotcut's filter description and panel as installed: (meta.qml's fields, [its keyframe
    Parameter blocks' fields], [the panel's sliders' fields])."""
    with open(os.path.join(prefix, SHOTCUT_FOLDER, "meta.qml")) as f:
        meta = f.read()
    with open(os.path.join(prefix, SHOTCUT_FOLDER, "ui.qml")) as f:
        panel = f.read()
    top = qml_fields(re.sub(r"Parameter\s*\{[^}]*\}", "", meta))
    keyframes = [qml_fields(b) for b in re.findall(r"Parameter\s*\{([^}]*)\}", meta)]
    table = re.search(r"sliders:\s*\[(.*?)\n\s*\]", panel, re.S)
    sliders = [qml_fields(b) for b in re.findall(r"\{([^{}]*)\}", table[1])] if table else []
    return top, keyframes, sliders


def nine_places(value):
    """A value as the panel's arithmetic and ours both give it."""
    return round(value, 9)


def installed_prefix(folder):
    prefix = os.path.join(folder, "prefix")
    run([CMAKE, "--install", BUILD, "--prefix", prefix])
    return prefix


class InstalledTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.mkdtemp(prefix="fxhost-install-")
        cls.prefix = installed_prefix(cls.tmp)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tmp)

    def test_installs_exactly_its_files(self):
        found, folders = {}, set()
        for root, dirs, files in os.walk(self.prefix):
            for d in dirs:
                folders.add(os.path.relpath(os.path.join(root, d), self.prefix))
            for f in files:
                path = os.path.join(root, f)
                found[os.path.relpath(path, self.prefix)] = os.lstat(path).st_mode & 0o7777
        self.assertEqual(found, INSTALLED_FILES)
        expected_folders = {os.path.dirname(f) for f in INSTALLED_FILES}
        expected_folders |= {p for f in expected_folders for p in self._parents(f)}
        self.assertEqual(folders, expected_folders)

    @staticmethod
    def _parents(path):
        while "/" in path:
            path = os.path.dirname(path)
            yield path

    def test_fxhost_moved_to_another_prefix_finds_its_bundle(self):
        moved = os.path.join(self.tmp, "elsewhere", "opt")
        shutil.copytree(self.prefix, moved, symlinks=True)
        cwd = tempfile.mkdtemp(dir=self.tmp)
        fxhost = os.path.join(moved, "bin", "fxhost")
        self.assertEqual(run([fxhost, "--version"], cwd=cwd, env=clean_env()).stdout.strip(),
                         "fxhost " + VERSION)
        name, sliders = effect_table(fxhost)
        self.assertEqual(name, "Ostrivane Hue And Saturation")
        self.assertEqual([s[1] for s in sliders], ["Hue Value", "Saturation"])
        out = os.path.join(cwd, "out.png")
        run([fxhost, "-q", "render", "--set", "Hue Value=90", "--set", "Saturation=1.5", SAMPLE, "out.png"],
            cwd=cwd, env=clean_env())
        self.assertEqual(rgba(out), reference(self.tmp, "reference.png", 90, 1.5))

    def test_fxhost_without_its_bundle_names_where_it_looked(self):
        lonely = os.path.join(self.tmp, "lonely", "bin")
        os.makedirs(lonely)
        shutil.copy2(os.path.join(self.prefix, "bin", "fxhost"), lonely)
        result = run([os.path.join(lonely, "fxhost"), "info"], env=clean_env(), check=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn(os.path.join(lonely, "HueAndSaturation.plugin"), result.stderr)
        # Without its image library it still renders PNG (read and written without it), but a TIFF it
        # does not write, saying which file it missed.
        bundle = os.path.join(self.prefix, "lib", "fxhost", "HueAndSaturation.plugin")
        result = run([os.path.join(lonely, "fxhost"), "render", "--plugin", bundle, SAMPLE,
                      os.path.join(lonely, "out.png")], env=clean_env(), check=False)
        self.assertEqual(result.returncode, 0, result.stderr)
        result = run([os.path.join(lonely, "fxhost"), "render", "--plugin", bundle, SAMPLE,
                      os.path.join(lonely, "out.tif")], env=clean_env(), check=False)
        self.assertEqual((result.returncode, result.stderr.count("\n")), (1, 1), result.stderr)
        self.assertIn("libfxhost_images.so is neither in " + lonely, result.stderr)

    def test_gstreamer_finds_the_plugin_in_its_folder_and_the_plugin_its_bundle(self):
        # GStreamer's plug-in folder under this prefix stands for the system's, and nothing else is set.
        env = clean_env(GST_PLUGIN_SYSTEM_PATH=os.path.join(self.prefix, GST_PLUGIN_DIR),
                        GST_REGISTRY=os.path.join(self.tmp, "gst-registry.bin"))
        env.pop("GST_PLUGIN_PATH", None)
        out = run(["gst-inspect-1.0", "fxhost"], env=env).stdout
        self.assertIn("Filename                 %s\n" % os.path.join(self.prefix, GST_PLUGIN), out)
        self.assertIn("Version                  %s\n" % VERSION, out)
        self.assertRegex(out, r"\n  ostrivanehueandsaturation: Ostrivane Hue And Saturation\n")

    def test_every_part_carries_the_project_version(self):
        # VERSION is project()'s, as ctest was given it; the package's own is checked by Package.
        major_minor = ".".join(VERSION.split(".")[:2])
        fxhost = os.path.join(self.prefix, "bin", "fxhost")
        self.assertEqual(run([fxhost, "--version"], env=clean_env()).stdout.strip(), "fxhost " + VERSION)
        # The effect's declared version is its own and not among these; info names the host's beside it.
        info = run([fxhost, "info"], env=clean_env()).stdout
        self.assertIn("\nHost:       fxhost %s\n" % VERSION, info)
        code = "import sys; sys.path.insert(0, %r); import fxhost; print(fxhost.__version__)" % (
            os.path.join(self.prefix, os.path.dirname(PYTHON_MODULE)))
        self.assertEqual(run([DEBIAN_PYTHON, "-c", code], env=clean_env()).stdout.strip(), VERSION)
        module = module_info(os.path.join(self.prefix, "lib", "frei0r-1", MODULE + ".so"))
        self.assertEqual("%d.%d" % (module.major_version, module.minor_version), major_minor)
        doc = os.path.join(self.prefix, "share", "doc", "fxhost")
        with gzip.open(os.path.join(doc, "changelog.gz"), "rt") as changelog:
            self.assertEqual(changelog.readline().split()[:2], ["fxhost", "(%s)" % VERSION])
        with gzip.open(os.path.join(self.prefix, "share", "man", "man1", "fxhost.1.gz"), "rt") as page:
            self.assertIn('"fxhost %s"' % VERSION, page.readline())
        # Kdenlive offers the effect only where the module reports at least the description's version.
        description = ET.parse(os.path.join(self.prefix, "share", "kdenlive", "effects",
                                            "frei0r_%s.xml" % MODULE)).getroot()
        self.assertEqual(description.get("version"), major_minor)
        with open(os.path.join(doc, "copyright")) as copyright:
            self.assertTrue(copyright.readline().startswith("Format: https://www.debian.org/doc/"))

    def test_editor_descriptions_show_each_slider_as_fxhost_info_reports_it(self):
        # Kdenlive's and Shotcut's, each held to `fxhost info`, and to each other where it says nothing.
        name, sliders = effect_table(os.path.join(self.prefix, "bin", "fxhost"))
        root = ET.parse(os.path.join(self.prefix, KDENLIVE_DESCRIPTION)).getroot()
        self.assertEqual(root.tag, "effect")
        self.assertEqual(root.get("tag"), "frei0r." + MODULE)
        self.assertEqual(root.get("id"), "frei0r." + MODULE)
        self.assertEqual(root.get("LC_NUMERIC"), "C")  # numbers read with a point whatever the locale
        self.assertEqual(root.findtext("name"), name)
        self.assertTrue(root.findtext("description"))
        meta, keyframes, panel = shotcut_description(self.prefix)
        self.assertEqual((meta.get("type"), meta.get("name"), meta.get("mlt_service"), meta.get("qml")),
                         ("Metadata.Filter", name, "frei0r." + MODULE, "ui.qml"))
        self.assertEqual(meta.get("simpleProperties"), [str(n) for n in range(len(sliders))])
        self.assertNotIn(meta.get("isAudio"), ("true", "1"))  # listed under Video
        parameters = root.findall("parameter")
        self.assertEqual([len(parameters), len(keyframes), len(panel)], [len(sliders)] * 3)
        # frei0r parameter i is the effect's slider i + 1 (0 is the input layer), 0 to 1 over its
        # range. Kdenlive shows value x factor + offset to the slider's precision, and keeps the
        # frei0r value as default; Shotcut's panel shows the effect's own units, and its keyframes
        # (what it saves) are frei0r values.
        for number, (parameter, key, row, slider) in enumerate(zip(parameters, keyframes, panel, sliders)):
            index, label, low, high, default, precision = slider
            with self.subTest(parameter=label):
                self.assertEqual(index, number + 1)
                self.assertEqual(parameter.get("name"), str(number))
                self.assertEqual(parameter.get("type"), "animated")  # keyframable
                self.assertEqual(parameter.findtext("name"), label)
                self.assertEqual(float(parameter.get("min")), low)
                self.assertEqual(float(parameter.get("max")), high)
                self.assertEqual(float(parameter.get("factor")), high - low)
                self.assertEqual(float(parameter.get("offset", "0")), low)
                self.assertAlmostEqual(float(parameter.get("default")), (default - low) / (high - low))
                self.assertEqual(parameter.get("decimals"), str(precision))
                self.assertGreater(len((parameter.findtext("comment") or "").split()), 3)
                self.assertEqual((row.get("property"), row.get("label"), float(row.get("minimum")),
                                  float(row.get("maximum")), float(row.get("defaultValue")), row.get("decimals")),
                                 (str(number), label, low, high, default, str(precision)))
                self.assertEqual((key.get("property"), key.get("name"), key.get("isCurve"), key.get("minimum"),
                                  key.get("maximum")), (str(number), label, "true", "0", "1"))
                self.assertEqual(row.get("suffix").strip(), parameter.get("suffix", ""))
                self.assertEqual(row.get("help"), parameter.findtext("comment"))

    def test_shotcut_panel_shows_the_effects_units_and_sets_frei0r_values(self):
        # The installed panel, loaded by Qt's qmlscene with Shotcut's own controls and stand-ins for the
        # objects Shotcut hands it (Tests/Install/shotcut/panel-harness.qml), driven as a user would.
        controls = "/usr/share/shotcut/qml/modules/Shotcut/Controls"
        if not (shutil.which("qmlscene") and os.path.isdir(controls)):
            self.skipTest("qmlscene or Shotcut is not installed")
        folder = tempfile.mkdtemp(dir=self.tmp)
        harness = os.path.join(SOURCE, "Tests", "Install", "shotcut")
        shutil.copy(os.path.join(self.prefix, SHOTCUT_FOLDER, "ui.qml"), folder)
        shutil.copy(os.path.join(harness, "panel-harness.qml"), folder)
        # Shotcut's controls as Debian installs them, and one that Shotcut makes in C++ stood in for.
        module = os.path.join(folder, "modules", "Shotcut", "Controls")
        os.makedirs(module)
        for name in os.listdir(controls):
            if name.endswith(".qml"):
                os.symlink(os.path.join(controls, name), os.path.join(module, name))
        shutil.copy(os.path.join(harness, "EditContextMenu.qml"), module)
        with open(os.path.join(controls, "qmldir")) as f, open(os.path.join(module, "qmldir"), "w") as out:
            out.write(f.read() + "\nEditContextMenu 1.0 EditContextMenu.qml\n")
        env = clean_env(QT_QPA_PLATFORM="offscreen", QT_QUICK_BACKEND="software")
        result = run(["qmlscene", "-I", os.path.join(folder, "modules"), os.path.join(folder, "panel-harness.qml")],
                     env=env, check=False, timeout=60)
        lines = [l[len("qml: "):].split() for l in result.stderr.splitlines() if l.startswith("qml: ")]
        self.assertEqual((result.returncode, lines[-1:]), (0, [["done"]]), result.stderr)
        _name, sliders = effect_table(os.path.join(self.prefix, "bin", "fxhost"))
        unit = [lambda shown, s=s: (shown - s[2]) / (s[3] - s[2]) for s in sliders]  # frei0r value of a shown one
        sets = [(l[1], float(l[2]), l[3:] == ["keyed"]) for l in lines if l[0] == "set"]
        shown = [l for l in lines if l[0] == "shown"]
        # New: each parameter set to its default, and each slider showing the effect's own range.
        self.assertEqual([[s[0], nine_places(s[1])] for s in sets[:2]],
                         [[str(n), nine_places(unit[n](sliders[n][4]))] for n in range(2)])
        for n, (_index, _label, low, high, default, precision) in enumerate(sliders):
            self.assertEqual([float(v) for v in shown[n][2:5]] + [int(shown[n][5])], [default, low, high, precision])
        self.assertIn("°", " ".join(shown[0][6:]))  # Hue Value in degrees
        # Typed: 90 degrees and 1.37 set as frei0r values; the resets, the defaults; keyed, 45 degrees
        # at the position; the filter changed under the panel, its frei0r values shown in units.
        rest = [(name, nine_places(value), keyed) for name, value, keyed in sets[2:]]
        self.assertEqual(rest, [("0", nine_places(unit[0](90)), False), ("1", nine_places(unit[1](1.37)), False),
                                ("0", nine_places(unit[0](sliders[0][4])), False),
                                ("1", nine_places(unit[1](sliders[1][4])), False),
                                ("0", nine_places(unit[0](sliders[0][4])), True),
                                ("0", nine_places(unit[0](45)), True)])
        self.assertEqual([float(l[2]) for l in shown[2:]], [sliders[0][2] + 0.75 * (sliders[0][3] - sliders[0][2]),
                                                            sliders[1][2] + 0.25 * (sliders[1][3] - sliders[1][2])])


class Frei0rHosts(unittest.TestCase):
    """FFmpeg and melt reach the installed module (and through it the installed bundle)."""

    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.mkdtemp(prefix="fxhost-frei0r-")
        # Installed, then moved: the module finds its bundle from where it is, not where it was put.
        cls.prefix = os.path.join(cls.tmp, "moved")
        shutil.move(installed_prefix(cls.tmp), cls.prefix)
        cls.env = clean_env(FREI0R_PATH=os.path.join(cls.prefix, "lib", "frei0r-1"))

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tmp)

    def setUp(self):
        if not shutil.which("ffmpeg"):
            self.skipTest("ffmpeg is not installed")

    def test_module_names_the_effect_and_its_sliders(self):
        info = module_info(os.path.join(self.prefix, "lib", "frei0r-1", MODULE + ".so"))
        self.assertEqual(info.name.decode(), "Ostrivane Hue And Saturation")
        self.assertEqual(info.num_params, 2)

    def test_ffmpeg_renders_what_fxhost_renders(self):
        got = subprocess.run(["ffmpeg", "-v", "error", "-i", SAMPLE, "-vf",
                              "format=rgba,frei0r=%s:0.25|0.75" % MODULE, "-f", "rawvideo", "-pix_fmt",
                              "rgba", "-"], env=self.env, stdout=subprocess.PIPE, check=True).stdout
        self.assertTrue(got == reference(self.tmp, "ffmpeg-reference.png", 90, 1.5),
                        "FFmpeg's frame differs from fxhost render at Hue Value 90, Saturation 1.5")

    def test_gstreamer_finds_the_element_and_its_properties(self):
        if not shutil.which("gst-inspect-1.0"):
            self.skipTest("gst-inspect-1.0 is not installed")
        env = dict(self.env, GST_REGISTRY=os.path.join(self.tmp, "registry.bin"))  # not the user's cache
        out = run(["gst-inspect-1.0", "frei0r-filter-" + MODULE], env=env).stdout
        self.assertRegex(out, r"Long-name\s+Ostrivane Hue And Saturation\n")
        self.assertRegex(out, r"\n\s+hue-value\s+:")
        self.assertRegex(out, r"\n\s+saturation\s+:")

    def test_shotcut_lists_the_filter(self):
        if not (shutil.which("shotcut") and shutil.which("xvfb-run")):
            self.skipTest("shotcut or xvfb-run is not installed")
        # Shotcut reads filters only from share/shotcut/qml beside its own program: Debian's program
        # copied into a prefix whose qml folder links Debian's own folders and the installed one.
        home = os.path.join(self.tmp, "shotcut")
        filters = os.path.join(home, "share", "shotcut", "qml", "filters")
        os.makedirs(filters)
        os.makedirs(os.path.join(home, "bin"))
        shutil.copy2(shutil.which("shotcut"), os.path.join(home, "bin"))
        for folder, into in (("/usr/share/shotcut/qml", os.path.dirname(filters)), ("/usr/share/shotcut/qml/filters", filters)):
            for entry in os.listdir(folder):
                if entry != "filters":
                    os.symlink(os.path.join(folder, entry), os.path.join(into, entry))
        os.symlink(os.path.join(self.prefix, SHOTCUT_FOLDER), os.path.join(filters, os.path.basename(SHOTCUT_FOLDER)))
        appdata = os.path.join(home, "appdata")
        log = os.path.join(appdata, "shotcut-log.txt")
        shotcut = subprocess.Popen(["xvfb-run", "-a", "-s", "-screen 0 1280x800x24", os.path.join(home, "bin", "shotcut"),
                                    "--noupgrade", "--appdata", appdata], env=self.env, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        text, listed = "", 'added filter "%s"' % "Ostrivane Hue And Saturation"
        try:
            for _ in range(120):  # Shotcut reads its filters once its window is up
                time.sleep(0.5)
                if os.path.exists(log):
                    with open(log, errors="replace") as f:
                        text = f.read()
                if listed in text or shotcut.poll() is not None:
                    break
        finally:
            os.killpg(shotcut.pid, signal.SIGTERM)
            shotcut.wait()
        self.assertIn('reading filter metadata "%s" "meta.qml"' % os.path.basename(SHOTCUT_FOLDER), text)
        self.assertIn(listed, text)

    def test_melt_renders_editor_projects_at_their_keyed_values(self):
        # What the user set in each editor's controls: Hue Value from 0 degrees on the clip's first frame
        # to 180 on its last, Saturation 1.37, a value only its two decimals show. Saved in the editor's
        # project and rendered by melt, every frame is what fxhost render makes of the same clip with the
        # same keys: MLT's frame 0 is fxhost's frame 1, and both interpolate linearly.
        if not shutil.which("melt"):
            self.skipTest("melt is not installed")
        for editor, width, height, frames, write_project in (
                ("Kdenlive", 192, 128, 5, self._kdenlive_project),
                ("Shotcut", 160, 90, 10, self._shotcut_project)):  # the size and length Shotcut saved
            with self.subTest(editor=editor):
                folder = tempfile.mkdtemp(dir=self.tmp)
                clip, out, expected = (os.path.join(folder, f) for f in ("clip.mkv", "melt.mkv", "fxhost.mkv"))
                run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=size=%dx%d:rate=25" % (width, height),
                     "-frames:v", str(frames), "-c:v", "ffv1", "-pix_fmt", "bgra", clip])
                project = write_project(folder, frames)
                run(["melt", "-quiet", project, "-consumer", "avformat:" + out, "vcodec=ffv1", "pix_fmt=bgra",
                     "real_time=-1"], cwd=folder, env=self.env)
                run([os.path.join(self.prefix, "bin", "fxhost"), "-q", "render", "--set", "Hue Value=0@1,180@%d" % frames,
                     "--set", "Saturation=1.37", clip, expected], env=clean_env())
                pixels, reference_pixels = rgba(out), rgba(expected)
                self.assertEqual(len(pixels), frames * width * height * 4)
                size = width * height * 4
                for n in range(frames):
                    self.assertTrue(pixels[n * size:(n + 1) * size] == reference_pixels[n * size:(n + 1) * size],
                                    "melt's frame %d differs from fxhost's frame %d" % (n, n + 1))

    def _kdenlive_project(self, folder, frames):
        # Kdenlive saves each shown value divided by the description's factor, under the description's
        # parameter name, on the playlist's entry, keyframes as times.
        description = ET.parse(os.path.join(self.prefix, KDENLIVE_DESCRIPTION)).getroot()
        controls = {p.findtext("name"): (p.get("name"), float(p.get("factor")))
                    for p in description.iter("parameter")}
        hue_name, hue_factor = controls["Hue Value"]
        saturation_name, saturation_factor = controls["Saturation"]
        last = "00:00:00.%03d" % ((frames - 1) * 40)  # 25 fps
        project = os.path.join(folder, "project.kdenlive")
        with open(project, "w") as f:
            f.write("""<?xml version="1.0" encoding="utf-8"?>
<mlt LC_NUMERIC="C" producer="main_bin" version="7.12.0" root="{root}">
 <profile description="192x128 25 fps" width="192" height="128" progressive="1" sample_aspect_num="1"
  sample_aspect_den="1" display_aspect_num="3" display_aspect_den="2" frame_rate_num="25" frame_rate_den="1"
  colorspace="709"/>
 <producer id="producer0" in="00:00:00.000" out="{last}">
  <property name="length">{frames}</property>
  <property name="resource">clip.mkv</property>
  <property name="mlt_service">avformat</property>
 </producer>
 <playlist id="playlist0">
  <entry producer="producer0" in="00:00:00.000" out="{last}">
   <filter id="filter0">
    <property name="mlt_service">frei0r.{module}</property>
    <property name="kdenlive_id">frei0r.{module}</property>
    <property name="{hue_name}">00:00:00.000={h0:g};{last}={h1:g}</property>
    <property name="{saturation_name}">{saturation:g}</property>
    <property name="kdenlive:collapsed">0</property>
   </filter>
  </entry>
 </playlist>
 <tractor id="tractor0" in="00:00:00.000" out="{last}">
  <track producer="playlist0"/>
 </tractor>
</mlt>
""".format(root=folder, last=last, frames=frames, module=MODULE, hue_name=hue_name, h0=0 / hue_factor,
           h1=180 / hue_factor, saturation_name=saturation_name, saturation=1.37 / saturation_factor))
        return project

    @staticmethod
    def _shotcut_project(folder, _frames):
        # Saved by Shotcut 22.12 itself (under Xvfb, through the installed panel): the clip on a timeline
        # track, the filter added, Hue Value keyed at the first and last frame, Saturation typed in.
        project = os.path.join(folder, "project.mlt")
        shutil.copy(os.path.join(SOURCE, "Tests", "Install", "shotcut-project.mlt"), project)
        return project


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.mkdtemp(prefix="fxhost-package-")
        made = run([CPACK, "-G", "DEB", "--config", os.path.join(BUILD, "CPackConfig.cmake"), "-B", cls.tmp])
        cls.cpack_output = made.stdout + made.stderr
        arch = run(["dpkg", "--print-architecture"]).stdout.strip()
        cls.deb = os.path.join(cls.tmp, "fxhost_%s_%s.deb" % (VERSION, arch))
        cls.arch = arch

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tmp)

    def test_holds_the_installed_files_under_usr_and_nothing_else(self):
        listing = run(["dpkg-deb", "-c", self.deb]).stdout.splitlines()
        entries = {}
        for line in listing:
            mode, owner, _size, _date, _time, path = line.split(None, 5)
            self.assertEqual(owner, "root/root", line)
            entries[path] = mode
        expected = {"./usr/" + f: "-" + self._mode(m) for f, m in INSTALLED_FILES.items()}
        for f in list(expected):
            folder = os.path.dirname(f)
            while folder != ".":
                expected[folder + "/"] = "d" + self._mode(0o755)
                folder = os.path.dirname(folder)
        self.assertEqual(entries, expected)

    @staticmethod
    def _mode(bits):
        return "".join(c if bits & (1 << (8 - i)) else "-" for i, c in enumerate("rwxrwxrwx"))

    def test_control_names_version_dependencies_and_hosts(self):
        fields = {}
        for name in ["Package", "Version", "Architecture", "Maintainer", "Depends", "Recommends", "Enhances",
                     "Section"]:
            fields[name] = run(["dpkg-deb", "-f", self.deb, name]).stdout.strip()
        self.assertEqual(fields["Package"], "fxhost")
        self.assertEqual(fields["Version"], VERSION)
        self.assertEqual(fields["Architecture"], self.arch)
        self.assertRegex(fields["Maintainer"], r"^[^<>]+ <[^@<>\s]+@[^@<>\s]+>$")
        self.assertEqual(fields["Section"], "video")
        # Worked out by dpkg-shlibdeps from what fxhost, the bundle and the module link.
        depends = {d.split()[0] for d in fields["Depends"].split(", ")}
        self.assertTrue({"libc6", "libstdc++6", "libegl1", "libopenimageio2.4", "libavformat59"} <= depends,
                        fields["Depends"])
        self.assertIn("libgl1-mesa-dri", fields["Recommends"])
        self.assertEqual(set(fields["Enhances"].split(", ")), {"ffmpeg", "gstreamer1.0-plugins-bad", "kdenlive",
                                                               "melt", "pitivi", "shotcut"})
        # No maintainer scripts: plug-ins need no ldconfig, and apt's remove takes the files. Made
        # without a word of warning from CPack.
        control = run(["dpkg-deb", "-I", self.deb]).stdout
        self.assertNotRegex(control, r"\b(preinst|postinst|prerm|postrm)\b")
        self.assertNotIn("Warning", self.cpack_output)

    def test_debian_python_imports_the_module_and_finds_its_bundle(self):
        root = os.path.join(self.tmp, "root")
        run(["dpkg-deb", "-x", self.deb, root])
        usr = os.path.join(root, "usr")
        # From /, with nothing set for fxhost: the module finds the bundle from its own file.
        code = "import sys; sys.path.insert(0, %r); import fxhost; print(fxhost.Effect().bundle)" % (
            os.path.dirname(os.path.join(usr, PYTHON_MODULE)))
        bundle = run([DEBIAN_PYTHON, "-c", code], cwd="/", env=clean_env()).stdout.strip()
        installed = os.path.join(usr, "lib/fxhost/HueAndSaturation.plugin")
        self.assertEqual(os.path.realpath(bundle), os.path.realpath(installed))

    def test_lintian_finds_no_error_warning_or_hardening_note(self):
        if not shutil.which("lintian"):
            self.skipTest("lintian is not installed")
        # Alone it takes 20 s; on a loaded machine a minute or more. Bounded here, with nothing to
        # read on its input and in a session of its own, so that a lintian that does not finish
        # ends this test with that message, its helpers with it, well inside ctest's limit.
        limit = 120  # cpack before it takes up to 35 s on a loaded machine; ctest allows 180 s in all
        try:
            result = subprocess.run(["lintian", "--display-info", "--tag-display-limit", "0", self.deb],
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                    text=True, timeout=limit, start_new_session=True)
        except subprocess.TimeoutExpired as expired:
            self.fail("lintian did not finish in %d s: %s" % (limit, expired.output))
        # Errors and warnings, and at any level the hardening tags (hardening-no-relro,
        # hardening-no-fortify-functions, hardening-no-bindnow, ...), but the one NO_FORTIFIABLE_CALL names.
        complaints = [l for l in result.stdout.splitlines()
                      if (l.startswith(("E:", "W:")) or re.match(r"\w: \S+: hardening-", l))
                      and not any(l.endswith(": hardening-no-fortify-functions [%s]" % f) for f in NO_FORTIFIABLE_CALL)]
        self.assertEqual(complaints, [], result.stdout)

    def test_every_binary_is_hardened(self):
        # fxhost, the bundle, the frei0r module and any other ELF file in the package, as Debian 12's
        # own packages are: hardening-check's every check passes (a shared object's PIE is n/a) but
        # control-flow protection, which Debian 12's build flags do not turn on.
        if not shutil.which("hardening-check"):
            self.skipTest("hardening-check (devscripts) is not installed")
        root = os.path.join(self.tmp, "contents")
        run(["dpkg-deb", "-x", self.deb, root])
        binaries = []
        for folder, _dirs, files in os.walk(root):
            for name in files:
                with open(os.path.join(folder, name), "rb") as f:
                    if f.read(4) == b"\x7fELF":
                        binaries.append(os.path.relpath(os.path.join(folder, name), root))
        self.assertTrue({"usr/bin/fxhost", "usr/lib/fxhost/HueAndSaturation.plugin",
                         "usr/lib/frei0r-1/%s.so" % MODULE} <= set(binaries), binaries)
        for binary in sorted(binaries):
            with self.subTest(binary=binary):
                fortified = binary not in NO_FORTIFIABLE_CALL
                result = run(["hardening-check", "--nocfprotection"] + ([] if fortified else ["--nofortify"]) +
                             [os.path.join(root, binary)], check=False)
                self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
                self.assertRegex(result.stdout, r"Immediate binding: yes")
                if fortified:
                    self.assertRegex(result.stdout, r"Fortify Source functions: yes")
                if binary.startswith("usr/bin/"):
                    self.assertRegex(result.stdout, r"Position Independent Executable: yes")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"] + sys.argv[1:])
