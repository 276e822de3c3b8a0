"""What a hostile file is, and small tools to make one."""
import dataclasses
import random
import struct
import zlib

PLANTED = "PLANTED"  # never to be seen in a summary
UNREADABLE, NOTHING, LOCKED = "unreadable", "nothing", "locked"
NO_NAME = "no name"  # one of the first two
ANY = "any"  # whatever a reader makes of it, within its limits


@dataclasses.dataclass
class Case:
    name: str
    data: bytes
    expected: str  # one of the above, or words that the title must hold


def noise(size, seed):
    return random.Random(seed).randbytes(size)


def deflated_zeros(size, raw=True):
    """A stream that inflates to `size` zeros; made by saying one block over and over."""
    block_size = 1 << 20
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    block = packer.compress(bytes(block_size)) + packer.flush(zlib.Z_FULL_FLUSH)
    body = block * (size // block_size) + b"\x03\x00"  # an empty last block
    return body if raw else b"\x78\xda" + body + struct.pack(">I", (size % 65521) << 16 | 1)


def archive(members, count=None):
    """A ZIP of (name, content) or (name, packed, size): the last two let a member lie or be a bomb."""
    out, directory = bytearray(), bytearray()
    for name, content, *claimed in members:
        name = name.encode()
        if claimed:
            packed, size, crc = content, claimed[0], 0
        else:
            packer = zlib.compressobj(6, zlib.DEFLATED, -15)
            packed, size, crc = packer.compress(content) + packer.flush(), len(content), zlib.crc32(content)
        shape = struct.pack("<HHHHHIIIHH", 20, 0, 8, 0, 0x5A21, crc, len(packed), size, len(name), 0)
        directory += b"PK\1\2\x14\0" + shape + struct.pack("<HHHII", 0, 0, 0, 0, len(out)) + name
        out += b"PK\3\4" + shape + name + packed
    entries = len(members) if count is None else count
    end = struct.pack("<HHHHIIH", 0, 0, entries & 0xFFFF, entries & 0xFFFF, len(directory), len(out), 0)
    return bytes(out + directory) + b"PK\5\6" + end
