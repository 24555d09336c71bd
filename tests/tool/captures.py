# SPDX-License-Identifier: GPL-2.0-only
"""Files of captures and frames of OMCI messages, as bytes, for tests.

A time is the 8 bytes of a pcap record, a frame is its bytes.
"""

import struct

HEADER = 24  # bytes of a pcap file before its records
ETHERNET = 1
WHOLE = 65535  # more bytes than a frame has

OLT = bytes.fromhex("020000000001")
ONU = bytes.fromhex("020000000002")
REQUEST, RESPONSE = 0x40, 0x20


def records(data):
    """Yield time and frame of each record of a pcap file."""
    at = HEADER
    while at < len(data):
        size = struct.unpack("<I", data[at + 8:at + 12])[0]
        yield data[at:at + 8], data[at + 16:at + 16 + size]
        at += 16 + size


def time_of(seconds):
    return struct.pack("<II", seconds, 0)


def record(time, frame, most=WHOLE):
    held = frame[:most]
    return time + struct.pack("<II", len(held), len(frame)) + held


def pcap(frames, link_type=ETHERNET, most=WHOLE):
    """Return a file that holds at most this number of bytes of each frame."""
    head = struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, most, link_type)
    return head + b"".join(record(time, frame, most) for time, frame in frames)


def block(kind, body):
    body += bytes(-len(body) % 4)
    size = struct.pack("<I", len(body) + 12)
    return struct.pack("<I", kind) + size + body + size


def pcapng(frames):
    """Return a file of one section."""
    data = block(0x0a0d0d0a, struct.pack("<IHHq", 0x1a2b3c4d, 1, 0, -1))
    data += block(1, struct.pack("<HHI", ETHERNET, 0, WHOLE))
    for time, frame in frames:
        seconds, micro = struct.unpack("<II", time)
        stamp = seconds * 1000000 + micro
        head = struct.pack("<IIIII", 0, stamp >> 32, stamp & 0xffffffff, len(frame), len(frame))
        data += block(6, head + frame)
    return data


def exchange(transaction, kind, entity, request, response):
    """Return the frames of a request and of its response; an entity is a class and an instance."""
    def frame(target, source, direction, content):
        body = struct.pack(">HBBHH", transaction, direction | kind, 0x0a, *entity) + content
        return target + source + b"\x88\xb5" + body.ljust(40, b"\0") + bytes.fromhex("00000028")

    return [frame(ONU, OLT, REQUEST, request), frame(OLT, ONU, RESPONSE, response)]
