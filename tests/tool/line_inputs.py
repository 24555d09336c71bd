# SPDX-License-Identifier: GPL-2.0-only
"""usage: line_inputs.py CAPTURE TRAFFIC

Writes variants of a capture with Ethernet frames to the current folder: sll.pcap and sll2.pcap with
Linux cooked headers, new.pcapng, two.pcap with the messages of a second ONU 02:00:00:00:00:09,
requests.pcap without the messages of the ONU.
sliced.pcap has the first 18 bytes of each frame of TRAFFIC, no-tags.pcap the first 14.
traffic-sll.pcap, traffic-sll2.pcap and traffic.pcapng have its frames in other formats.
"""
import struct
import sys

ONU = bytes.fromhex("020000000002")
OTHER = bytes.fromhex("020000000009")


def records(name):
    with open(name, "rb") as file:
        data = file.read()
    at = 24
    while at < len(data):
        size = struct.unpack("<I", data[at + 8:at + 12])[0]
        yield data[at:at + 8], data[at + 16:at + 16 + size]
        at += 16 + size


def write(name, link_type, frames, most=65535):
    with open(name, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, most, link_type))
        for time, frame in frames:
            held = frame[:most]
            file.write(time + struct.pack("<II", len(held), len(frame)) + held)


def cooked(frame):
    return struct.pack(">HHH", 0, 1, 6) + frame[6:12] + bytes(2) + frame[12:]


def cooked_2(frame):
    return (frame[12:14] + bytes(2) + struct.pack(">IHBB", 2, 1, 0, 6) + frame[6:12] + bytes(2) +
            frame[14:])


def block(kind, body):
    body += bytes(-len(body) % 4)
    size = struct.pack("<I", len(body) + 12)
    return struct.pack("<I", kind) + size + body + size


def write_pcapng(name, frames):
    with open(name, "wb") as file:
        file.write(block(0x0a0d0d0a, struct.pack("<IHHq", 0x1a2b3c4d, 1, 0, -1)))
        file.write(block(1, struct.pack("<HHI", 1, 0, 65535)))
        for time, frame in frames:
            seconds, micro = struct.unpack("<II", time)
            stamp = seconds * 1000000 + micro
            head = struct.pack("<IIIII", 0, stamp >> 32, stamp & 0xffffffff, len(frame), len(frame))
            file.write(block(6, head + frame))


def main():
    frames = list(records(sys.argv[1]))
    write("sll.pcap", 113, [(time, cooked(frame)) for time, frame in frames])
    write("sll2.pcap", 276, [(time, cooked_2(frame)) for time, frame in frames])
    write_pcapng("new.pcapng", frames)
    write("two.pcap", 1, [(time, one) for time, frame in frames
                          for one in (frame, frame.replace(ONU, OTHER))])
    write("requests.pcap", 1, [(time, frame) for time, frame in frames if frame[6:12] != ONU])
    traffic = list(records(sys.argv[2]))
    write("sliced.pcap", 1, traffic, 18)
    write("traffic-sll.pcap", 113, [(time, cooked(frame)) for time, frame in traffic])
    write("traffic-sll2.pcap", 276, [(time, cooked_2(frame)) for time, frame in traffic])
    write_pcapng("traffic.pcapng", traffic)
    write("no-tags.pcap", 1, traffic, 14)


main()
