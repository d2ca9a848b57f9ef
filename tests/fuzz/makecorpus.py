#!/usr/bin/env python3
"""Writes the seeds of the fuzz drivers to tests/fuzz/corpus.

PNG, BMP, PNM, XPM, XBM, ICO, TGA, SVG and the texts are generated here, byte by
byte. JPEG, WebP, TIFF and GIF come from ImageMagick's convert. Other files in the
corpus, such as findings, are not changed.
"""

import base64
import gzip
import json
import pathlib
import random
import struct
import subprocess
import zlib

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
WIDTH, HEIGHT = 24, 80  # three strips


def write(kind, name, content):
    folder = CORPUS / kind
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())


def ink(x, y):
    """Whether the picture is dark at (x, y): lines of text with a blank border."""
    return 4 <= x < WIDTH - 4 and 6 <= y < HEIGHT - 6 and y % 8 < 4 and (x * 7 + y) % 5 != 0


def level(x, y, maximum):
    return maximum // 8 if ink(x, y) else maximum - (x + y) % 3 * maximum // 16


# PNG

PNG_CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
ADAM7 = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png_row(xs, y, color_type, depth):
    maximum = (1 << depth) - 1
    samples = []
    for x in xs:
        value = level(x, y, maximum)
        row = {0: [value], 2: [value, maximum - value, x * maximum // WIDTH], 3: [value],
               4: [value, y * maximum // HEIGHT], 6: [value, maximum - value, 0, y * maximum // HEIGHT]}[color_type]
        samples += row
    bits = "".join(format(sample, f"0{depth}b") for sample in samples)
    bits += "0" * (-len(bits) % 8)
    return b"\0" + int(bits, 2).to_bytes(len(bits) // 8, "big")


def png(color_type, depth, interlaced=False, extra=b"", size=(WIDTH, HEIGHT), data=None):
    passes = ADAM7 if interlaced else [(0, 0, 1, 1)]
    rows = b"".join(png_row(range(left, WIDTH, right), y, color_type, depth)
                    for left, top, right, down in passes for y in range(top, HEIGHT, down))
    palette = b""
    if color_type == 3:
        count = 1 << depth
        palette = chunk(b"PLTE", bytes(v for i in range(count) for v in (i * 255 // (count - 1), 64, i * 7 % 256)))
        palette += chunk(b"tRNS", bytes(i * 255 // (count - 1) for i in range(count)))
    return (b"\x89PNG\r\n\x1a\n"
            + chunk(b"IHDR", struct.pack(">IIBBBBB", *size, depth, color_type, 0, 0, int(interlaced)))
            + extra + palette + chunk(b"IDAT", zlib.compress(rows, 9) if data is None else data) + chunk(b"IEND", b""))


def png_seeds():
    for color_type, depths in {0: (1, 2, 4, 8, 16), 2: (8, 16), 3: (1, 2, 4, 8), 4: (8, 16), 6: (8, 16)}.items():
        for depth in depths:
            write("image", f"png-color{color_type}-depth{depth}.png", png(color_type, depth))
            write("image", f"png-color{color_type}-depth{depth}-interlaced.png", png(color_type, depth, True))
    gray = png(0, 8)
    write("image", "png-gamma.png", png(2, 8, extra=chunk(b"gAMA", struct.pack(">I", 1))))
    write("image", "png-text.png", png(0, 8, extra=chunk(b"tEXt", b"Comment\0" + b"a" * 40)
                                       + chunk(b"pHYs", struct.pack(">IIB", 1, 4_000_000_000, 1))))
    write("image", "png-text-without-key.png", png(2, 8, extra=chunk(b"tEXt", b"Key\0value") + chunk(b"tEXt", b"\0text")))
    write("image", "png-transparent-color.png", png(2, 8, extra=chunk(b"tRNS", bytes(6))))
    write("image", "png-truncated.png", gray[:len(gray) // 2])
    write("image", "png-only-signature.png", gray[:8])
    write("image", "png-no-data.png", png(2, 8, data=b""))
    write("image", "png-wrong-checksum.png", gray[:-5] + b"x" + gray[-4:])
    write("image", "png-no-palette.png", gray.replace(gray[16:33], struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 3, 0, 0, 0)
                                                      + b"\0\0\0\0"))
    write("image", "png-huge-60000x60000.png", png(2, 8, size=(60000, 60000)))
    write("image", "png-huge-2147483647x2147483647.png", png(2, 8, size=(0x7FFFFFFF, 0x7FFFFFFF)))
    write("image", "png-size-0x0.png", png(2, 8, size=(0, 0)))
    write("image", "png-too-thin-10x80.png", png(0, 8, size=(10, 80)))


# BMP

def bmp_rows(depth):
    rows = b""
    for y in reversed(range(HEIGHT)):
        if depth <= 8:
            bits = "".join(format(level(x, y, (1 << depth) - 1), f"0{depth}b") for x in range(WIDTH))
            row = int(bits, 2).to_bytes(len(bits) // 8, "big")
        elif depth == 16:
            row = b"".join(struct.pack("<H", level(x, y, 31) << 10 | x % 32) for x in range(WIDTH))
        else:
            row = b"".join(bytes([level(x, y, 255), x, y, y])[:depth // 8] for x in range(WIDTH))
        rows += row + bytes(-len(row) % 4)
    return rows


def bmp(depth, compression=0, pixels=None, size=(WIDTH, HEIGHT)):
    colors = b"".join(bytes([i, 255 - i, i // 2, 0]) for i in range(1 << depth)) if depth <= 8 else b""
    pixels = bmp_rows(depth) if pixels is None else pixels
    start = 54 + len(colors)
    return (b"BM" + struct.pack("<IHHI", start + len(pixels), 0, 0, start)
            + struct.pack("<IiiHHIIiiII", 40, *size, 1, depth, compression, len(pixels), 2835, 2835, 0, 0)
            + colors + pixels)


def bmp_seeds():
    for depth in (1, 4, 8, 16, 24, 32):
        write("image", f"bmp-{depth}bit.bmp", bmp(depth))
    line = bytes([12, 1, 12, 2, 0, 0])
    write("image", "bmp-rle8.bmp", bmp(8, 1, line * HEIGHT + b"\0\1"))
    write("image", "bmp-rle8-jump-outside.bmp", bmp(8, 1, b"\0\2\xff\xff" + line * HEIGHT))
    write("image", "bmp-rle4.bmp", bmp(4, 2, bytes([24, 0x12, 0, 0]) * HEIGHT + b"\0\1"))
    write("image", "bmp-top-down.bmp", bmp(24, size=(WIDTH, -HEIGHT)))
    write("image", "bmp-negative-width.bmp", bmp(24, size=(-WIDTH, HEIGHT)))
    write("image", "bmp-huge-100000x100000.bmp", bmp(24, size=(100000, 100000)))
    write("image", "bmp-truncated.bmp", bmp(24)[:300])


# Other simple formats

def pixmap_text():
    rows = ",\n".join('"' + "".join("#" if ink(x, y) else "." for x in range(WIDTH)) + '"' for y in range(HEIGHT))
    return f'/* XPM */\nstatic char *p[] = {{\n"{WIDTH} {HEIGHT} 2 1",\n"# c #102030",\n". c None",\n{rows}}};\n'


def bitmap_text():
    rows = [sum(ink(x + bit, y) << bit for bit in range(8)) for y in range(HEIGHT) for x in range(0, WIDTH, 8)]
    return (f"#define p_width {WIDTH}\n#define p_height {HEIGHT}\nstatic char p_bits[] = {{\n"
            + ", ".join(f"0x{row:02x}" for row in rows) + "};\n")


def pnm_seeds():
    bits = "\n".join(" ".join(str(int(ink(x, y))) for x in range(WIDTH)) for y in range(HEIGHT))
    write("image", "pnm-p1.pbm", f"P1\n# text\n{WIDTH} {HEIGHT}\n{bits}\n")
    gray = bytes(level(x, y, 255) for y in range(HEIGHT) for x in range(WIDTH))
    write("image", "pnm-p2.pgm", f"P2 {WIDTH} {HEIGHT} 255\n" + " ".join(map(str, gray)))
    write("image", "pnm-p4.pbm", b"P4\n%d %d\n" % (WIDTH, HEIGHT) + bytes(gray[i] for i in range(WIDTH * HEIGHT // 8)))
    write("image", "pnm-p5.pgm", b"P5\n%d %d\n255\n" % (WIDTH, HEIGHT) + gray)
    write("image", "pnm-p5-16bit.pgm", b"P5\n%d %d\n65535\n" % (WIDTH, HEIGHT) + gray * 2)
    write("image", "pnm-p6.ppm", b"P6\n%d %d\n255\n" % (WIDTH, HEIGHT) + gray * 3)
    write("image", "pnm-p6-huge.ppm", "P6\n2147483647 2147483647\n255\n")
    write("image", "pnm-p6-negative.ppm", "P6\n-24 -80\n255\n")


def icon(image):
    return struct.pack("<HHH", 0, 1, 1) + struct.pack("<BBBBHHII", 24, 80, 0, 0, 1, 32, len(image), 22) + image


def svg(size, body):
    return f'<svg xmlns="http://www.w3.org/2000/svg" {size}>{body}</svg>'


def svg_seeds():
    lines = "".join(f'<rect x="4" y="{y}" width="16" height="4" fill="#123"/>' for y in range(8, HEIGHT - 8, 8))
    write("image", "svg-lines.svg", svg('width="24" height="80"', lines))
    write("image", "svg-gradient.svg", svg('viewBox="0 0 24 80"', '<defs><linearGradient id="g"><stop offset="0"/>'
          '<stop offset="1" stop-color="red"/></linearGradient></defs><path d="M0 0h24v80z" fill="url(#g)"/>'))
    write("image", "svg-text.svg", svg('width="40" height="80"', '<text x="2" y="20">ab</text><use xlink:href="#n"/>'))
    write("image", "svg-self-use.svg", svg('width="24" height="80"', '<g id="a"><use href="#a"/></g>'))
    write("image", "svg-huge.svg", svg('width="1000000" height="1000000"', lines))
    write("image", "svg-external-image.svg", svg('width="24" height="80"', '<image width="9" height="9" href="/dev/zero"/>'))
    write("image", "svg-lines.svgz", gzip.compress(svg('width="24" height="80"', lines).encode(), mtime=0))


def simple_seeds():
    write("image", "xpm.xpm", pixmap_text())
    write("image", "xpm-broken.xpm", pixmap_text()[:120])
    write("image", "xbm.xbm", bitmap_text())
    write("image", "ico-png.ico", icon(png(6, 8)))
    write("image", "ico-bmp.ico", icon(bmp(32, size=(WIDTH, 2 * HEIGHT))[14:] + bytes(320)))
    write("image", "ico-points-outside.ico", icon(b"")[:-4] + struct.pack("<I", 0xFFFFFFF0))
    write("image", "tga.tga", struct.pack("<BBBHHBHHHHBB", 0, 0, 2, 0, 0, 0, 0, 0, WIDTH, HEIGHT, 24, 32)
          + bmp_rows(24) + bytes(8) + b"TRUEVISION-XFILE.\0")
    write("image", "wbmp.wbmp", b"\0\0" + bytes([WIDTH, HEIGHT]) + bytes(WIDTH * HEIGHT // 8))
    write("image", "empty", b"")
    write("image", "one-byte", b"\x89")
    write("image", "text.txt", "no image at all\n")
    write("image", "pdf.pdf", "%PDF-1.4\n1 0 obj <</Type/Catalog>> endobj\ntrailer <</Root 1 0 R>>\n")


# Formats that need an encoder

def convert(name, *options, source="ppm:-", target=None):
    ppm = b"P6\n%d %d\n255\n" % (WIDTH, HEIGHT) + b"".join(
        bytes([level(x, y, 255), 255 - y, x * 10]) for y in range(HEIGHT) for x in range(WIDTH))
    kind = name.rsplit(".", 1)[1]
    done = subprocess.run(["convert", source, *options, "-strip", target or f"{kind}:-"], input=ppm, check=True,
                          capture_output=True)
    write("image", name, done.stdout)
    return done.stdout


def oriented(jpeg, orientation):
    directory = struct.pack(">HHHIHHI", 1, 0x0112, 3, 1, orientation, 0, 0)
    exif = b"Exif\0\0MM\0\x2a\0\0\0\x08" + directory
    return jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + jpeg[2:]


def encoded_seeds():
    jpeg = convert("jpeg-baseline.jpg", "-quality", "60", "-interlace", "none")
    for orientation in range(1, 9):
        write("image", f"jpeg-orientation{orientation}.jpg", oriented(jpeg, orientation))
    write("image", "jpeg-orientation-wrong.jpg", oriented(jpeg, 65535))
    write("image", "jpeg-truncated.jpg", jpeg[:len(jpeg) * 2 // 3])
    frame = jpeg.index(b"\xff\xc0") + 5
    write("image", "jpeg-huge-65535x65535.jpg", jpeg[:frame] + b"\xff\xff\xff\xff" + jpeg[frame + 4:])
    convert("jpeg-progressive.jpg", "-quality", "50", "-interlace", "plane")
    convert("jpeg-gray.jpg", "-quality", "60", "-colorspace", "gray")
    convert("jpeg-cmyk.jpg", "-quality", "60", "-colorspace", "cmyk")
    convert("jpeg-444.jpg", "-quality", "95", "-sampling-factor", "1x1")
    convert("webp-lossy.webp", "-quality", "40")
    webp = convert("webp-lossless.webp", "-define", "webp:lossless=true")
    convert("webp-alpha.webp", "-alpha", "set", "-channel", "A", "-evaluate", "set", "50%")
    convert("webp-animated.webp", "-duplicate", "2", "-set", "delay", "10")
    write("image", "webp-truncated.webp", webp[:60])
    gif = convert("gif.gif", "-colors", "16")
    convert("gif-transparent.gif", "-colors", "8", "-transparent", "#1f007c", "-fuzz", "20%")
    convert("gif-animated.gif", "-colors", "8", "-duplicate", "2", "-set", "delay", "10")
    convert("gif-interlaced.gif", "-colors", "8", "-interlace", "gif")
    write("image", "gif-truncated.gif", gif[:len(gif) // 2])
    write("image", "gif-huge-screen.gif", gif[:6] + b"\xff\xff\xff\xff" + gif[10:])
    for name, options in {
        "none": ("-compress", "none"), "lzw": ("-compress", "lzw"), "zip": ("-compress", "zip"),
        "packbits": ("-compress", "rle"), "group4": ("-monochrome", "-compress", "group4"),
        "16bit": ("-depth", "16", "-compress", "zip"), "gray": ("-colorspace", "gray", "-compress", "zip"),
        "palette": ("-colors", "8", "-type", "palette", "-compress", "zip"),
        "cmyk": ("-colorspace", "cmyk", "-compress", "zip"), "jpeg": ("-compress", "jpeg"),
    }.items():
        convert(f"tiff-{name}.tif", *options, target="tiff:-")
    tiff = (CORPUS / "image" / "tiff-zip.tif").read_bytes()
    write("image", "tiff-truncated.tif", tiff[:len(tiff) - 40])


# Texts

def release_document(**values):
    release = {"version": "3.0.0", "title": "Quillmarch 3", "description": "<b>new</b><ul><li>a</li></ul>",
               "releaseDate": "2025-01-02", "isForced": False, "platforms": [
                   {"name": "macos", "downloadUrl": "https://host.example/a.dmg", "fileSize": 1},
                   {"name": "windows", "downloadUrl": "https://host.example/a.zip", "fileSize": 123456}]}
    return {"releases": [release | values]}


def release_seeds():
    def document(name, content):
        write("release", name, content if isinstance(content, (bytes, str)) else json.dumps(content))
    document("usual.json", release_document())
    document("forced.json", release_document(isForced=True))
    document("long-version.json", release_document(version="4." + "9" * 200))
    document("free-version.json", release_document(version="v3-beta"))
    document("wrong-types.json", release_document(version=3, title=[], description={}, isForced="yes"))
    document("size-as-text.json", release_document(platforms=[{"name": "windows", "fileSize": "99999999999999999999"}]))
    document("size-negative.json", release_document(platforms=[{"name": "windows", "fileSize": -1e300}]))
    document("no-platforms.json", release_document(platforms=None))
    document("other-platform.json", release_document(platforms=[{"name": "beos"}]))
    document("nested-table.json", release_document(description="<table><tr><td>" * 30 + "x"))
    document("table-of-many-columns.json", release_document(description='<table border=9><td colspan=99999>x'))
    document("long-description.json", release_document(description="word " * 1000))
    document("entities.json", release_document(title="&#0;&#x110000;&amp;&nosuch;", description="\u202e\ud800\uffff"))
    document("link.json", release_document(description='<a href="https://host.example/">x</a><a name=y>'))
    document("picture-from-a-file.json", release_document(description='<img src="/dev/zero">'))
    vector = ("<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' width='80' height='50'>"
              "<image width='80' height='50' xlink:href='/dev/zero'/></svg>")
    address = "data:image/svg+xml;base64," + base64.b64encode(vector.encode()).decode()
    document("picture-in-a-picture.json", release_document(description=f'<img src="{address}">'))
    document("nested-lists.json", release_document(description="<ul><li>" * 20000 + "x"))
    document("picture-in-the-version.json", release_document(version='9<img src="/dev/zero">'))
    document("sheet-from-a-file.json", release_document(description='<link rel="stylesheet" href="/dev/zero">'))
    document("style.json", release_document(description='<p style="font-size:99999pt; margin:-9999px">big</p>'))
    document("two-releases.json", {"releases": [{}, release_document()["releases"][0]]})
    document("no-releases.json", {"releases": []})
    document("releases-no-list.json", {"releases": {"a": 1}})
    document("array.json", [1, 2, 3])
    document("empty.json", "")
    document("brackets.json", "[" * 2000)
    document("truncated.json", json.dumps(release_document())[:150])
    document("not-utf8.json", json.dumps(release_document()).encode().replace(b"new", b"\xff\xfe\xc0"))
    document("byte-order-mark.json", b"\xef\xbb\xbf" + json.dumps(release_document()).encode())


def report_seeds():
    usual = {"hasUpdate": True, "forceUpdate": False, "latestVersion": "3.1.0", "updateLog": "- a\n- b",
             "publishTime": "2025-01-02T03:04:05", "packages": {"windows": {
                 "downloadUrl": "https://host.example/a.zip", "size": "123456", "minSystemVersion": "10",
                 "hash": "d41d8cd98f00b204e9800998ecf8427e"}}}
    flat = {"hasUpdate": True, "latestVersion": "2.8.0", "updateUrl": "https://host.example/b.zip",
            "updateSize": "5MB", "checksumMD5": "00", "minSystemVersion": "10"}
    for name, report in {
        "usual": usual, "flat": flat, "none": {"hasUpdate": False}, "older": usual | {"latestVersion": "1.0.0"},
        "same": usual | {"latestVersion": "2.7.1"}, "unreadable": usual | {"latestVersion": "three"},
        "big-number": usual | {"latestVersion": "99999999999.2147483647.2147483648"},
        "long-log": usual | {"updateLog": "word " * 300}, "html-log": usual | {"updateLog": "<h1>a<table><tr><td>b"},
        "html-version": flat | {"latestVersion": "", "updateLog": "<img src=x>"},
        "empty-package": usual | {"packages": {"windows": {}}}, "package-no-object": usual | {"packages": {"windows": 7}},
        "date": usual | {"publishTime": "2025/01/02"}, "date-wrong": usual | {"publishTime": "2025-13-45 99:99:99"},
        "date-far": usual | {"publishTime": "999999999-01-01"}, "size-words": flat | {"updateSize": "many"},
        "size-infinite": flat | {"updateSize": "1e308"}, "size-nan": flat | {"updateSize": "nan"},
        "size-negative": flat | {"updateSize": "-5"}, "wrong-types": {"hasUpdate": "yes", "latestVersion": 3, "packages": []},
    }.items():
        write("report", name + ".json", json.dumps(report))
    for name, text in {"version": "3.0.0", "version-spaces": " 3.0.0", "size": "1073741824", "date": "2025-01-02 03:04:05",
                       "array": "[]", "empty": ""}.items():
        write("report", name + ".txt", text)


def reader_seeds():
    facts = {"pages": 3, "scale": 0.5, "offset": 0, "cuts": [700, 1420]}
    lines = {
        "begun": {"event": "begun"}, "writing": {"event": "writing", "path": "a \"b\".part"},
        "page": {"event": "page", "page": 1, "pages": 3},
        "picture": {"event": "picture", "image": "a.tif", "index": 2, "through": [1420], "note": "first"} | facts,
        "done": {"event": "done", "pages": 3, "seconds": 0.25, "bytes": 12345} | facts,
        "failed": {"event": "failed", "code": 4, "message": "cannot write", "image": "a.png"},
        "job": {"number": 1, "images": [{"name": "a.png", "cuts": [[5, 9], None]}], "output": "a.pdf", "threads": 2},
    }
    for name, line in lines.items():
        write("readers", name + ".json", json.dumps(line))
    cuts = [{"image": "a.png", "cuts": [5, 9]}, {"image": "b.tif", "cuts": [], "index": 1}, {"event": "end", "files": 2}]
    write("readers", "cuts.jsonl", "\n".join(json.dumps(line) for line in cuts))
    for name, arguments in {
        "usual": ["-o", "all.pdf", "a1.png", "a10.png"], "window": ["--layout", "window", "--columns", "2", "a.png"],
        "paper": ["--paper", "100x200mm", "--margin", "12.5mm", "--landscape", "-o", "-", "-"],
        "unknown": ["--no-such-option"], "lossless": ["--lossless", "--quality", "101"],
        "list": ["--files-from", "list", "-0", "--jobs", "64", "-o", "out/"],
        "full-width": ["\uff11.png", "\uff12.png"], "byte-order-mark": ["-o", "a.pdf", "\ufeffa.png"],
        "completion": ["--completion", "fish"],
    }.items():
        write("readers", "arguments-" + name + ".txt", "\n".join(arguments))
    for name, text in {
        "language": "en", "autopage": "FALSE", "rule": "calm", "paper": "100x200mm", "paper-name": "letter",
        "paper-narrow": "9.9x4in", "margin": "12.5mm", "margin-percent": "30", "version": "2.7.2", "size": "1536KB",
    }.items():
        write("readers", "value-" + name + ".txt", text)


def config_seeds():
    def config(name, *lines, group="config"):
        write("config", name + ".ini", f"[{group}]\n" + "\n".join(lines) + "\n")
    config("usual", "language=en", "autopage=false", "marginsc=10", "imagedir=/home/user", "savepath=/tmp")
    config("english", "language=en")
    config("upper", "language=EN", "autopage=FALSE")
    config("autopage-0", "autopage=0")
    config("calm", "cutrule=calm")
    config("calm-twice", "cutrule=calm", "cutrule=bright")
    config("other-group", "language=en", group="General")
    for value in ("0", "5", "30", "35", "50", "100", "-5", "-2147483648", "2147483647", "4294967295", "99999999999", "ten",
                  "1e3", " 7", "@Invalid()", "@Variant(\\0\\0\\0\\n\\0\\0\\0\\x2\\0\\x31)", "\"10\"", "1, 2", "0x10"):
        name = "".join(c if c.isalnum() or c == "-" else "_" for c in value)
        config("margin-" + name[:20], "marginsc=" + value)
    config("twice", "marginsc=5", "marginsc=20", "language=zh", "language=en")
    config("list", "language=en, zh", "imagedir=a;b")
    config("escapes", "imagedir=\\x4e00\\x\\\"\\n", "language=\\x65n")
    config("percent-group", "language=en", group="%63onfig")
    config("long", "imagedir=" + "a/" * 800)
    write("config", "empty.ini", "")
    write("config", "no-group.ini", "language=en\nmarginsc=3\n")
    write("config", "open-bracket.ini", "[config\nlanguage=en")
    write("config", "binary.ini", bytes(range(256)))
    write("config", "carriage-returns.ini", "[config]\r\nlanguage=en\r\n\r\nautopage=0\r\n")
    write("config", "byte-order-mark.ini", b"\xef\xbb\xbf[config]\nlanguage=en\n")
    write("config", "not-utf8.ini", b"[config]\nimagedir=\xff\xfe\xc3\nlanguage=en\n")


def command_seeds():
    for number in range(20):
        write("commands", f"command{number:02}", bytes([number, 7, 200, 90, 19]))
    for number in range(9):
        write("commands", f"open{number}-trim-layout", bytes([0, number, 1, 2, 8, 9, 1, 128, 160, 4, 19]))
        write("commands", f"calm{number}-twice", bytes([14, 2, 0, number, 8, 8, 19]))
    write("commands", "drags-up", bytes([9, 0, 0, 0] * 10))
    write("commands", "drags-down", bytes([9, 0, 255, 255] * 10))
    write("commands", "margins-to-the-end", bytes([4] * 10 + [3] * 20))
    write("commands", "zoom-to-the-end", bytes([6] * 10 + [7] * 20))
    write("commands", "tiny-window", bytes([13, 0, 0, 19, 13, 255, 255, 19, 17, 0, 255, 17, 255, 0]))
    write("commands", "download-names", b"".join(
        bytes([16, len(url)]) + url + bytes([3]) + b"9.9" + bytes([0, 0, 0, 0])
        for url in (b"x/a.zip", b"x/..", b"x/", b"/", b"?a=b/c", b"a" * 60)))
    random.seed(1)
    for number in range(10):
        write("commands", f"random{number}", random.randbytes(60))


def search_seeds():
    """The parts of an input of fuzz_searches: places, format, size, kind, and pixels."""
    places = struct.pack(">HHHBHBBHB", 8, 30, 8, 30, 60, 60, 30, 70, 12)
    blank, text, bar, photo, noise, gradient = range(6)
    page = b"".join(bytes(stripe) for stripe in (
        (text, 20, 5), (blank, 9, 0), (text, 17, 4), (bar, 0, 0), (text, 11, 6), (gradient, 30, 8), (photo, 25, 0),
        (192 + photo, 30, 0, 4, 90, 5, 30, 40, 200), (blank, 5, 0), (noise, 40, 0)))
    white_and_black = bytes((1, 250, 1, 10))
    colors = bytes((5, 240, 230, 200, 4, 130, 20, 60, 90))
    def search(name, form, width, height, kind, pixels):
        picture = struct.pack(">BHHB", form, width - 1, height - 1, kind)
        write("searches", name, places + picture + pixels)
    random.seed(2)
    for form in range(33):
        search(f"stripes-format{form:02}", form, 60, 150, 2, bytes([form]) + white_and_black + page)
        search(f"bits-format{form:02}", form, 67, 90, 0, random.randbytes(100))
    for number, (width, height) in enumerate(((1, 1), (1, 500), (600, 20), (257, 40), (64, 180), (11, 300), (333, 36))):
        search(f"colors-{width}x{height}", number * 5, width, height, 3, bytes([number]) + colors + page)
    for name, count in (("none", 0), ("one", 1), ("short", 20), ("whole", 256)):
        table = struct.pack(">H", count) + random.randbytes(4 * count)
        search(f"palette-{name}", 0, 50, 160, 0, table + random.randbytes(60))
        search(f"palette-{name}-stripes", 0, 50, 160, 1, b"\1" + white_and_black + page * 2 + table)
    for name, pixel in (("white", b"\xff"), ("black", b"\0"), ("one-dot", b"\xff" * 80 + b"\0")):
        search(f"bits-{name}", 23, 40, 200, 0, pixel)


png_seeds()
bmp_seeds()
pnm_seeds()
svg_seeds()
simple_seeds()
encoded_seeds()
release_seeds()
report_seeds()
reader_seeds()
config_seeds()
command_seeds()
search_seeds()
