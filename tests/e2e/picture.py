"""Pictures as raw pixels: screenshots, pages of a PDF file, PNG files."""

import pathlib
import struct
import zlib

XWD_HEADER = struct.Struct(">25I")


class Picture:
    """Pixels of four bytes: blue, green, red and an unused one."""

    def __init__(self, width, height, stride, data):
        self.width = width
        self.height = height
        self.stride = stride
        self.data = data

    @classmethod
    def from_xwd(cls, data):
        """The screen from the frame buffer file of Xvfb."""
        words = XWD_HEADER.unpack_from(data)
        header_size, width, height = words[0], words[4], words[5]
        bits, stride, colors = words[11], words[12], words[19]
        if bits != 32:
            raise ValueError(f"unsupported screen: {bits} bits per pixel")
        start = header_size + colors * 12
        return cls(width, height, stride, bytes(data[start : start + stride * height]))

    @classmethod
    def from_ppm(cls, data):
        magic, width, height, max_value, pixels = data.split(maxsplit=4)
        if magic != b"P6" or max_value != b"255":
            raise ValueError("not a PPM picture with 8 bits per channel")
        width, height = int(width), int(height)
        pixels = data[len(data) - width * height * 3 :]  # split() also removes pixels that look like spaces
        bgrx = bytearray(width * height * 4)
        for channel in range(3):
            bgrx[2 - channel :: 4] = pixels[channel::3]
        return cls(width, height, width * 4, bytes(bgrx))

    @classmethod
    def of_rows(cls, width, rows):
        """A picture from rows of colors; each row is a list of runs: (color, length)."""
        data = b"".join(
            b"".join(bytes((blue, green, red, 0)) * length for (red, green, blue), length in row) for row in rows
        )
        return cls(width, len(data) // (width * 4), width * 4, data)

    def at(self, x, y):
        """Red, green and blue of one pixel."""
        if not (0 <= x < self.width and 0 <= y < self.height):
            raise IndexError(f"({x}, {y}) is outside {self.width} x {self.height}")
        start = y * self.stride + x * 4
        return self.data[start + 2], self.data[start + 1], self.data[start]

    def row(self, y, left, right):
        return [self.at(x, y) for x in range(left, right)]

    def column(self, x, top, bottom):
        return [self.at(x, y) for y in range(top, bottom)]

    def part(self, left, top, width, height):
        rows = []
        for y in range(top, top + height):
            start = y * self.stride + left * 4
            rows.append(self.data[start : start + width * 4])
        return Picture(width, height, width * 4, b"".join(rows))

    def rgb_rows(self):
        """The rows as bytes, three for each pixel."""
        for y in range(self.height):
            row = self.data[y * self.stride : y * self.stride + self.width * 4]
            rgb = bytearray(self.width * 3)
            for channel in range(3):
                rgb[channel::3] = row[2 - channel :: 4]
            yield bytes(rgb)

    def write_png(self, path):
        data = zlib.compress(b"".join(b"\0" + row for row in self.rgb_rows()), 6)
        pathlib.Path(path).write_bytes(png_file(self.width, self.height, data))

    def write_small_png(self, path):
        """Writes the smallest of a few forms of the file, for pictures that are kept."""
        rows = list(self.rgb_rows())
        forms = [png_file(self.width, self.height, filtered(rows, above)) for above in (False, True)]
        colors = sorted({row[i : i + 3] for row in rows for i in range(0, len(row), 3)})
        if len(colors) <= 256:
            index = {color: i for i, color in enumerate(colors)}
            indexes = [bytes(index[row[i : i + 3]] for i in range(0, len(row), 3)) for row in rows]
            forms.append(png_file(self.width, self.height, filtered(indexes, False), b"".join(colors)))
        pathlib.Path(path).write_bytes(min(forms, key=len))


def filtered(rows, above):
    """Packed rows of a PNG file, as they are or as differences from the row above."""
    last = bytes(len(rows[0]))
    lines = []
    for row in rows:
        lines.append(b"\2" + bytes((a - b) & 255 for a, b in zip(row, last)) if above else b"\0" + row)
        last = row
    return zlib.compress(b"".join(lines), 9)


def png_file(width, height, data, palette=b""):
    """A PNG file of packed rows: colors, or indexes of a palette."""
    chunks = [(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 3 if palette else 2, 0, 0, 0))]
    if palette:
        chunks.append((b"PLTE", palette))
    chunks += [(b"IDAT", data), (b"IEND", b"")]
    file = b"\x89PNG\r\n\x1a\n"
    for name, content in chunks:
        file += struct.pack(">I", len(content)) + name + content + struct.pack(">I", zlib.crc32(name + content))
    return file


def runs_of(flags):
    """The runs of true values in a list, as (start, end) with the end excluded."""
    runs = []
    start = None
    for i, flag in enumerate(flags):
        if flag and start is None:
            start = i
        elif not flag and start is not None:
            runs.append((start, i))
            start = None
    if start is not None:
        runs.append((start, len(flags)))
    return runs
