"""A long picture in which the color of each pixel identifies its row.

Red and blue are triangle waves, shifted by a quarter of a period, and green
increases from top to bottom: together they identify a row, even in a scaled-down
view. There are black lines along both edges. Red stays below the level of bright
pixels, except in the white lines across the picture, where the cuts belong.
"""

import functools

from picture import Picture

WIDTH = 700  # strips of 1000 rows
HEIGHT = 4650
EDGE = 10
WHITE_LINES = (950, 2060, 2940, 4080)  # their first rows
WHITE_LINE_HEIGHT = 8
PERIOD = 400
WHITE = (255, 255, 255)
BLACK = (0, 0, 0)


def triangle(y):
    """Rises from 20 to 180 and falls again within a period."""
    phase = y % PERIOD / PERIOD
    return round(20 + 320 * min(phase, 1 - phase))


def color_of(y):
    return triangle(y), round(20 + 180 * y / HEIGHT), triangle(y + PERIOD / 4)


def is_white_line(y):
    return any(top <= y < top + WHITE_LINE_HEIGHT for top in WHITE_LINES)


COLORS = [color_of(y) for y in range(HEIGHT)]


def paint(path, border=0):
    """Writes the picture as PNG, with a white border around it."""
    width = WIDTH + 2 * border
    blank = [(WHITE, width)]

    def row(y):
        if is_white_line(y):
            return blank
        return [(WHITE, border), (BLACK, EDGE), (COLORS[y], WIDTH - 2 * EDGE), (BLACK, EDGE), (WHITE, border)]

    rows = [blank] * border + [row(y) for y in range(HEIGHT)] + [blank] * border
    Picture.of_rows(width, rows).write_png(path)


@functools.lru_cache(maxsize=None)
def row_of(color):
    """The row that has this color, or None if no row does."""
    red, green, blue = color
    guess = (green - 20) * HEIGHT / 180

    def distance(y):
        r, g, b = COLORS[y]
        return abs(red - r) + abs(green - g) + abs(blue - b)

    rows = range(max(0, int(guess) - PERIOD // 3), min(HEIGHT, int(guess) + PERIOD // 3))
    best = min(rows, key=distance, default=None)
    return None if best is None or distance(best) > 12 else best


def rows_of(colors):
    """The rows that a column of a picture shows, from top to bottom.

    A pixel that is blended with the paper next to it can look like any row. It is
    skipped because none of its neighbors is from a nearby row.
    """
    rows = [row_of(color) for color in colors]

    def is_near(row, other):
        return other is not None and abs(row - other) < 30

    return [
        row
        for before, row, after in zip([None, *rows], rows, [*rows[1:], None])
        if row is not None and (is_near(row, before) or is_near(row, after))
    ]
