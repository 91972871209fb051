#!/usr/bin/env python3
"""The last step of the build of the DLL: makes .idata and .rsrc, which GNU ld marks writable though
nobody writes them, read-only, and sets the checksum. (GNU objcopy would mark them again; LLVM's
clears the checksum.)

usage: finish_image.py DLL
"""
import struct
import sys

WRITABLE = 0x80000000


def checksum(image, field):
    """The 16-bit words of the file without the checksum field itself, added with end-around carry,
    and the length of the file."""
    image = image[:field] + bytes(4) + image[field + 4 :] + bytes(len(image) % 2)
    total = sum(struct.unpack(f"<{len(image) // 2}H", image))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total


def main():
    with open(sys.argv[1], "r+b") as file:
        image = bytearray(file.read())
        pe = struct.unpack_from("<I", image, 0x3C)[0]
        sections, optional_size = struct.unpack_from("<H12xH", image, pe + 6)
        for header in range(pe + 24 + optional_size, pe + 24 + optional_size + 40 * sections, 40):
            if image[header : header + 8].rstrip(b"\0") in (b".idata", b".rsrc"):
                flags = struct.unpack_from("<I", image, header + 36)[0]
                struct.pack_into("<I", image, header + 36, flags & ~WRITABLE)
        field = pe + 24 + 64
        struct.pack_into("<I", image, field, checksum(image, field) + len(image))
        file.seek(0)
        file.write(image)


if __name__ == "__main__":
    main()
