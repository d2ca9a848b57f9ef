"""Pictures as raw pixels: screenshots, pages of a PDF file, PNG files."""

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

    def write_png(self, path):
        lines = bytearray()
        for y in range(self.height):
            row = self.data[y * self.stride : y * self.stride + self.width * 4]
            rgb = bytearray(self.width * 3)
            for channel in range(3):
                rgb[channel::3] = row[2 - channel :: 4]
            lines += b"\0" + rgb
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n")
            for name, content in ((b"IHDR", header), (b"IDAT", zlib.compress(bytes(lines), 6)), (b"IEND", b"")):
                check = zlib.crc32(name + content)
                file.write(struct.pack(">I", len(content)) + name + content + struct.pack(">I", check))


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
