#!/usr/bin/env python3
"""Draws VlMr.ico: two sheets, one the mirror of the other, on a round ground. Run it after a change and commit the file."""
import pathlib
import struct


def pixel(x, y, size):
    """BGRA of one pixel; coordinates run from -1 to 1."""
    u, v = (2 * x + 1) / size - 1, (2 * y + 1) / size - 1
    if u * u + v * v > 0.96:
        return 0, 0, 0, 0
    for left, colour in ((-0.58, (250, 250, 250)), (0.1, (225, 200, 150))):
        if left <= u <= left + 0.48 and -0.6 <= v <= 0.6:
            line = abs((v * 5) % 1 - 0.5) < 0.14 and left + 0.08 <= u <= left + 0.4
            return (140, 90, 40, 255) if line else (*colour, 255)
    return 120, 80, 30, 255


def image(size):
    rows = [b"".join(bytes(pixel(x, y, size)) for x in range(size)) for y in reversed(range(size))]
    mask = bytes((size + 31) // 32 * 4) * size
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    return header + b"".join(rows) + mask


def main():
    images = [(size, image(size)) for size in (16, 32, 48)]
    offset = 6 + 16 * len(images)
    entries = b""
    for size, data in images:
        entries += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    icon = struct.pack("<HHH", 0, 1, len(images)) + entries + b"".join(data for _, data in images)
    pathlib.Path(__file__).with_name("VlMr.ico").write_bytes(icon)


if __name__ == "__main__":
    main()
