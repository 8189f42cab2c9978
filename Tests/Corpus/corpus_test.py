"""Files as other programs write them, each through `fxhost -q render` into its own kind.

One row a file, made here by ffmpeg, oiiotool or Pillow: each renders and keeps what the file holds
(size, pixel aspect, field order, colour tags, alpha, ICC profile, parts and pages, as ffprobe and
OpenImageIO read them from the input and the output), printing nothing, or is refused before any
output exists, with exit 3 and one line. Run: corpus_test.py FXHOST [ROW...]; exits 1 if a row fails.
"""
import concurrent.futures, json, os, struct, subprocess, sys, tempfile, threading, zlib

import OpenImageIO as oiio
from PIL import Image

FXHOST = sys.argv[1]
D50 = (0.9642, 1.0, 0.8249)
D65 = (0.9505, 1.0, 1.0891)


def icc(illuminant, primaries):
    """A matrix/TRC RGB profile, ICC v2, its header's illuminant as given (libpng takes only D50)."""
    def xyz(x, y, z):
        return b"XYZ " + bytes(4) + b"".join(struct.pack(">i", round(v * 65536)) for v in (x, y, z))
    text = b"fxhost corpus"
    tags = [(b"desc", b"desc" + bytes(4) + struct.pack(">I", len(text) + 1) + text + bytes(1 + 8 + 3 + 67)),
            (b"wtpt", xyz(*D50))] + [(name, xyz(*p)) for name, p in zip((b"rXYZ", b"gXYZ", b"bXYZ"), primaries)]
    tags += [(name, b"curv" + bytes(4) + struct.pack(">IH", 1, 0x0233) + bytes(2)) for name in (b"rTRC", b"gTRC", b"bTRC")]
    tags.append((b"cprt", b"text" + bytes(4) + b"none\0\0\0\0"))
    offset, table, data = 128 + 4 + 12 * len(tags), b"", b""
    for name, body in tags:
        body += bytes(-len(body) % 4)
        table += name + struct.pack(">II", offset + len(data), len(body))
        data += body
    size = offset + len(data)
    header = struct.pack(">I4sI4s4s4s", size, b"none", 0x02100000, b"mntr", b"RGB ", b"XYZ ") + bytes(12) + b"acsp"
    header += bytes(68 - len(header)) + b"".join(struct.pack(">i", round(v * 65536)) for v in illuminant)
    return header + bytes(128 - len(header)) + struct.pack(">I", len(tags)) + table + data


SRGB = icc(D50, [(0.4361, 0.2225, 0.0139), (0.3851, 0.7169, 0.0971), (0.1431, 0.0606, 0.7141)])
P3_D65 = icc(D65, [(0.5151, 0.2412, -0.0011), (0.2920, 0.6922, 0.0419), (0.1571, 0.0666, 0.7841)])


def gradient(mode, width=48, height=32):
    image = Image.new("RGBA", (width, height))
    image.putdata([(x * 255 // width, y * 255 // height, 128, 64 + x * 191 // width) for y in range(height) for x in range(width)])
    return image if mode == "RGBA" else image.convert(mode)


def pillow(mode, **options):
    return lambda path: gradient(mode).save(path, **options)


def palette_with_transparency(path):
    image = gradient("RGB").convert("P", palette=Image.ADAPTIVE, colors=16)
    image.save(path, transparency=bytes([0, 255, 128] + [255] * 13))


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode:
        raise RuntimeError(" ".join(command) + ": " + done.stderr.strip().splitlines()[-1])
    return done.stdout


def oiiotool(*args):
    return lambda path: run("oiiotool", *args, "-o", path)


def ffmpeg(source, *args, frames=3):
    return lambda path: run("ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", source, "-frames:v", str(frames), *args, path)


def testsrc(size, rate=25, alpha=False):
    return ("testsrc2=size=%s:rate=%d" % (size, rate)) + (",format=rgba,geq=r='r(X,Y)':a='X*255/W'" if alpha else "")


# Row: name, input file, how it is made, output name, what must hold ("kept": the output reads as the
# input; "sizes": each image keeps its size, in the output's own type; "refused": exit 3, one line,
# nothing written; "warns:TEXT": the first image keeps its size, and without -q the warning says
# TEXT, once).
ROWS = [
    ("icc-srgb", "in.png", lambda p: gradient("RGB").save(p, icc_profile=SRGB), "out.png", "kept"),
    ("icc-p3-d65", "in.png", lambda p: gradient("RGB").save(p, icc_profile=P3_D65), "out.png", "kept"),
    ("icc-p3-tiff-into-png", "in.tif", lambda p: gradient("RGB").save(p, icc_profile=P3_D65, tiffinfo={270: "P3\tD65", 315: "fxhost"}),
     "out.png", "kept"),
    ("icc-p3-jpeg-into-png", "in.jpg", lambda p: gradient("RGB").save(p, icc_profile=P3_D65), "out.png", "kept"),
    ("grey", "in.png", pillow("L"), "out.png", "kept"),
    ("grey-alpha-16", "in.png", oiiotool("--pattern", "fill:top=0.1,1:bottom=0.9,0.2", "40x30", "2", "-d", "uint16"), "out.png", "kept"),
    ("palette-transparent", "in.png", palette_with_transparency, "out.png", "kept"),
    ("one-bit", "in.png", pillow("1"), "out.png", "kept"),
    ("interlaced-png", "in.png", ffmpeg(testsrc("40x30"), "-flags", "+ildct", frames=1), "out.png", "kept"),
    ("cmyk-jpeg", "in.jpg", pillow("CMYK"), "out.jpg", "kept"),
    ("progressive-jpeg", "in.jpg", pillow("RGB", progressive=True), "out.jpg", "kept"),
    ("dpx-10bit", "in.dpx", oiiotool("--pattern", "fill:top=0.1,0.5,0.9:bottom=0.9,0.2,0.1", "48x32", "3", "-d", "uint10"), "out.dpx", "kept"),
    ("exr-two-parts", "in.exr", oiiotool("--pattern", "fill:top=0.1,0.5,0.9,1:bottom=0.9,0.2,0.1,0.5", "48x32", "4", "-d", "half",
                                         "--pattern", "fill:top=2,0:bottom=9,1", "48x32", "2", "--chnames", "Z,mask",
                                         "--attrib", "oiio:subimagename", "depth", "--siappend"), "out.exr", "kept"),
    ("tiff-two-pages", "in.tif", oiiotool("--pattern", "checker", "48x32", "3", "-d", "uint8",
                                          "--pattern", "constant:color=0.9,0.1,0.5", "20x10", "3", "-d", "uint8", "--siappend"), "out.tif", "kept"),
    ("tiff-pages-into-exr", "in.tif", oiiotool("--pattern", "checker", "48x32", "3", "-d", "uint8",
                                               "--pattern", "checker", "20x10", "3", "--siappend"), "out.exr", "sizes"),
    ("exr-parts-into-png", "in.exr", oiiotool("--pattern", "checker", "48x32", "4", "--pattern", "checker", "48x32", "1",
                                              "--chnames", "Z", "--siappend"), "out.png", "warns:parts or pages after the first"),
    ("pfm-output", "in.png", pillow("RGB"), "out.pfm", "refused"),
    ("jxl-output", "in.png", pillow("RGB"), "out.jxl", "refused"),
    ("folder-missing", "in.png", pillow("RGB"), "frames/out_%04d.png", "refused"),
    ("prores-422", "in.mov", ffmpeg(testsrc("128x72"), "-c:v", "prores_ks", "-profile:v", "2"), "out.mov", "kept"),
    ("prores-4444", "in.mov", ffmpeg(testsrc("128x72", alpha=True), "-c:v", "prores_ks", "-pix_fmt", "yuva444p10le"), "out.mov", "kept"),
    ("dnxhr-hq", "in.mxf", ffmpeg(testsrc("256x144"), "-c:v", "dnxhd", "-profile:v", "dnxhr_hq", "-pix_fmt", "yuv422p"), "out.mxf", "kept"),
    ("hevc-10bit-pq", "in.mp4", ffmpeg(testsrc("128x72"), "-c:v", "libx265", "-pix_fmt", "yuv420p10le", "-x265-params", "log-level=error",
                                       "-color_primaries", "bt2020", "-color_trc", "smpte2084", "-colorspace", "bt2020nc"), "out.mp4", "kept"),
    ("vp9-10bit", "in.webm", ffmpeg(testsrc("128x72"), "-c:v", "libvpx-vp9", "-pix_fmt", "yuv420p10le", "-deadline", "realtime"), "out.webm", "kept"),
    ("vp9-alpha", "in.webm", ffmpeg(testsrc("128x72", alpha=True), "-c:v", "libvpx-vp9", "-pix_fmt", "yuva420p", "-deadline", "realtime"), "out.webm", "kept"),
    ("av1", "in.mp4", ffmpeg(testsrc("128x72"), "-c:v", "libsvtav1"), "out.mp4", "kept"),
    ("av1-32", "in.mkv", ffmpeg(testsrc("32x18"), "-c:v", "libaom-av1", "-cpu-used", "8"), "out.mkv", "kept"),
    ("mpeg2-interlaced-pal", "in.mpg", ffmpeg(testsrc("720x576"), "-vf", "setsar=16/15", "-c:v", "mpeg2video", "-flags", "+ildct+ilme",
                                              "-top", "0", "-b:v", "4M"), "out.mpg", "kept"),
    ("mjpeg", "in.avi", ffmpeg(testsrc("128x72"), "-c:v", "mjpeg", "-pix_fmt", "yuvj422p"), "out.avi", "kept"),
    ("qtrle-argb-700", "in.mov", ffmpeg(testsrc("700x8", alpha=True), "-c:v", "qtrle", "-pix_fmt", "argb"), "out.mov", "kept"),
    ("ffv1-rgb-60", "in.mkv", ffmpeg(testsrc("60x8"), "-c:v", "ffv1", "-pix_fmt", "bgr0"), "out.mkv", "kept"),
    ("qtrle-rgb24-60", "in.mov", ffmpeg(testsrc("60x8"), "-c:v", "qtrle", "-pix_fmt", "rgb24"), "out.mov", "kept"),
    ("ffv1-rgba-1", "in.mkv", ffmpeg(testsrc("1x8", alpha=True), "-c:v", "ffv1", "-pix_fmt", "bgra"), "out.mkv", "kept"),
    ("ffv1-2", "in.mkv", ffmpeg(testsrc("2x8"), "-c:v", "ffv1", "-pix_fmt", "yuv420p"), "out.mkv", "kept"),
    ("ffv1-853", "in.mkv", ffmpeg(testsrc("853x8"), "-c:v", "ffv1", "-pix_fmt", "yuv420p"), "out.mkv", "kept"),
    ("gif-700", "in.gif", ffmpeg(testsrc("700x8"), "-pix_fmt", "pal8"), "out.gif", "kept"),
]

STREAM = ("codec_name,width,height,sample_aspect_ratio,field_order,pix_fmt,color_range,color_space,color_transfer,"
          "color_primaries,nb_read_packets")


def movie(path):
    probe = json.loads(run("ffprobe", "-v", "error", "-select_streams", "v:0", "-count_packets", "-show_entries",
                           "stream=" + STREAM, "-of", "json", path))
    return probe["streams"][0]


OIIO_LOCK = threading.Lock()  # OpenImageIO's module hung when two threads read at once


def picture(path):
    """Each image's header as OpenImageIO reads it, what a writer may rightly change left out, and
    the pixels of the images after the first, which are copied unchanged."""
    with OIIO_LOCK:
        return read_picture(path)


def read_picture(path):
    whole = oiio.ImageBuf(path)
    if whole.has_error:
        raise RuntimeError(whole.geterror())
    images = []
    for index in range(whole.nsubimages):
        source = oiio.ImageBuf(path, index, 0)
        header = source.nativespec()
        kept = {a.name: str(a.value) for a in header.extra_attribs
                if a.name in ("ICCProfile", "PixelAspectRatio", "oiio:BitsPerSample", "oiio:subimagename", "ImageDescription", "Artist")}
        if kept.get("oiio:BitsPerSample") == "8":  # said by some readers (TIFF) of every 8-bit file, by others never
            del kept["oiio:BitsPerSample"]
        pixels = source.get_pixels(oiio.FLOAT).tobytes() if images else None
        images.append((header.width, header.height, header.nchannels, str(header.format), kept, pixels))
    return images


def png_profile(path):
    """The ICC profile a PNG's iCCP chunk holds, read from the file's bytes; None without one."""
    data, at = open(path, "rb").read(), 8
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        if kind == b"iCCP":
            body = data[at + 8:at + 8 + length]
            return zlib.decompress(body[body.index(b"\0") + 2:])
        at += 12 + length
    return None


def source_profile(path):
    with OIIO_LOCK:
        value = oiio.ImageBuf(path).nativespec().getattribute("ICCProfile")
    return bytes(value) if value is not None else None


def describe(path):
    return movie(path) if path.endswith((".mov", ".mp4", ".mkv", ".webm", ".mxf", ".mpg", ".avi", ".gif")) else picture(path)


def check(row, folder):
    name, source, make, target, expect = row
    os.makedirs(folder)
    source, target = os.path.join(folder, source), os.path.join(folder, target)
    make(source)
    render = [FXHOST, "-q", "render", "--renderer", "cpu", source, target]
    if expect == "refused":  # before the effect is loaded: a bundle that is not there is never reached
        render[3:3] = ["--plugin", os.path.join(folder, "absent.plugin")]
    done = subprocess.run(render, capture_output=True, text=True)
    files = sorted(os.listdir(folder))
    if expect == "refused":
        lines = done.stderr.splitlines()
        ok = done.returncode == 3 and len(lines) == 1 and target in lines[0] and files == [os.path.basename(source)]
        return ok, "exit %d, %s, files %s" % (done.returncode, done.stderr.strip(), files)
    if done.returncode or done.stderr:
        return False, "exit %d: %s" % (done.returncode, done.stderr.strip())
    before, after = describe(source), describe(target)
    if expect == "sizes":
        before, after = [image[:2] for image in before], [image[:2] for image in after]
    if expect.startswith("warns:"):  # the first image alone, in the output's own type
        before, after = before[0][:2], after[0][:2]
    if before != after:
        return False, "input %s\n      output %s" % (str(before)[:600], str(after)[:600])
    # The profile byte for byte, as another reader finds it in the chunk, whatever the input's format.
    if target.endswith(".png") and expect == "kept" and png_profile(target) != source_profile(source):
        return False, "the output's iCCP is not the input's ICC profile"
    if expect.startswith("warns:"):
        loud = subprocess.run(render[:1] + render[2:], capture_output=True, text=True).stderr
        if loud.count(expect[6:]) != 1:
            return False, "warning '%s' not said once: %s" % (expect[6:], loud)
    return True, ""


def main():
    wanted = sys.argv[2:]
    rows = [row for row in ROWS if not wanted or row[0] in wanted]
    with tempfile.TemporaryDirectory(prefix="fxhost-corpus-") as root, \
            concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        def attempt(row):
            try:
                return check(row, os.path.join(root, row[0]))
            except Exception as e:  # a fixture that could not be made or read fails its row
                return False, str(e)
        failed = 0
        for row, (ok, why) in zip(rows, pool.map(attempt, rows)):
            failed += not ok
            print("%s  %-22s %s" % ("PASS" if ok else "FAIL", row[0], why))
    print("%d of %d rows failed" % (failed, len(rows)))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
