# SPDX-License-Identifier: GPL-2.0-only
"""usage: new_class_upload.py FILE

Writes a capture of a MIB upload with an instance of class 300 and the bridge at which it points.
"""
import pathlib
import struct
import sys

from captures import exchange, pcap, time_of

UPLOAD, UPLOAD_NEXT = 13, 14
ONU_DATA = (2, 0)

INSTANCES = [
    (300, 7, 0xd000, struct.pack(">HIH", 0, 70000, 1)),
    (45, 1, 0x8000, b"\0"),
]


def main():
    frames = exchange(1, UPLOAD, ONU_DATA, b"", struct.pack(">H", len(INSTANCES)))
    for number, (class_id, instance, mask, values) in enumerate(INSTANCES):
        frames += exchange(2 + number, UPLOAD_NEXT, ONU_DATA, struct.pack(">H", number),
                           struct.pack(">HHH", class_id, instance, mask) + values)
    pathlib.Path(sys.argv[1]).write_bytes(
        pcap((time_of(number), frame) for number, frame in enumerate(frames)))


main()
