"""Writes cabinet files, the compressed containers inside an installer package. The same files give the same bytes."""
import datetime
import struct
import zlib

BLOCK = 32768
MSZIP = 1
ARCHIVE_ATTRIBUTE = 0x20
UTF8_NAME = 0x80


def checksum(data):
    """The XOR of all 32-bit words; the bytes that are left over count from the highest place down."""
    whole = len(data) // 4 * 4
    result = 0
    for (word,) in struct.iter_unpack("<I", data[:whole]):
        result ^= word
    rest = 0
    for byte in data[whole:]:
        rest = rest << 8 | byte
    return result ^ rest


def compressed(block):
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return b"CK" + packer.compress(block) + packer.flush()


def dos_time(timestamp):
    """Seconds since 1970 as the two halves of a DOS time, in UTC."""
    when = datetime.datetime.fromtimestamp(timestamp, datetime.timezone.utc)
    return ((when.year - 1980) << 9 | when.month << 5 | when.day,
            when.hour << 11 | when.minute << 5 | when.second // 2)


def cabinet(files, timestamp):
    """A cabinet of one folder from (name, bytes) pairs, in their order, all dated `timestamp`."""
    content = b"".join(data for _, data in files)
    blocks = []
    for start in range(0, len(content), BLOCK):
        raw = content[start:start + BLOCK]
        packed = compressed(raw)
        sizes = struct.pack("<HH", len(packed), len(raw))
        # The sum covers the packed bytes first, then the sizes.
        total = checksum(packed) ^ checksum(sizes)
        blocks.append(struct.pack("<I", total) + sizes + packed)
    day, time = dos_time(timestamp)
    entries = []
    offset = 0
    for name, data in files:
        attributes = ARCHIVE_ATTRIBUTE | (0 if name.isascii() else UTF8_NAME)
        entries.append(struct.pack("<IIHHHH", len(data), offset, 0, day, time, attributes) + name.encode("utf-8") + b"\0")
        offset += len(data)
    header_size, folder_size = 36, 8
    first_entry = header_size + folder_size
    first_block = first_entry + sum(map(len, entries))
    size = first_block + sum(map(len, blocks))
    header = struct.pack("<4sIIIIIBBHHHHH", b"MSCF", 0, size, 0, first_entry, 0, 3, 1, 1, len(files), 0, 0, 0)
    folder = struct.pack("<IHH", first_block, len(blocks), MSZIP)
    return header + folder + b"".join(entries) + b"".join(blocks)
