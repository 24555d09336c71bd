# SPDX-License-Identifier: GPL-2.0-only
"""usage: new_class_upload.py FILE

Writes a capture of a MIB upload with an instance of class 300 and the bridge at which it points.
"""
import struct
import sys

OLT = bytes.fromhex("020000000001")
ONU = bytes.fromhex("020000000002")
REQUEST, RESPONSE = 0x40, 0x20
UPLOAD, UPLOAD_NEXT = 13, 14

INSTANCES = [
    (300, 7, 0xd000, struct.pack(">HIH", 0, 70000, 1)),
    (45, 1, 0x8000, b"\0"),
]


def message(transaction, kind, content):
    body = struct.pack(">HBBHH", transaction, kind, 0x0a, 2, 0) + content
    return body.ljust(40, b"\0") + bytes.fromhex("00000028")


def exchange(transaction, kind, question, report):
    request = ONU + OLT + b"\x88\xb5" + message(transaction, REQUEST | kind, question)
    response = OLT + ONU + b"\x88\xb5" + message(transaction, RESPONSE | kind, report)
    return [request, response]


def main():
    frames = exchange(1, UPLOAD, b"", struct.pack(">H", len(INSTANCES)))
    for number, (class_id, instance, mask, values) in enumerate(INSTANCES):
        frames += exchange(2 + number, UPLOAD_NEXT, struct.pack(">H", number),
                           struct.pack(">HHH", class_id, instance, mask) + values)
    with open(sys.argv[1], "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, 65535, 1))
        for number, frame in enumerate(frames):
            file.write(struct.pack("<IIII", number, 0, len(frame), len(frame)) + frame)


main()
