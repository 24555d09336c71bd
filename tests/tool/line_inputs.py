# SPDX-License-Identifier: GPL-2.0-only
"""usage: line_inputs.py CAPTURE TRAFFIC

Writes variants of a capture with Ethernet frames to the current folder: sll.pcap and sll2.pcap with
Linux cooked headers, new.pcapng, two.pcap with the messages of a second ONU 02:00:00:00:00:09,
requests.pcap without the messages of the ONU.
sliced.pcap has the first 18 bytes of each frame of TRAFFIC, no-tags.pcap the first 14.
traffic-sll.pcap, traffic-sll2.pcap and traffic.pcapng have its frames in other formats.
"""
import pathlib
import struct
import sys

from captures import ONU, pcap, pcapng, records

OTHER = bytes.fromhex("020000000009")
COOKED, COOKED_2 = 113, 276


def cooked(frame):
    return struct.pack(">HHH", 0, 1, 6) + frame[6:12] + bytes(2) + frame[12:]


def cooked_2(frame):
    return (frame[12:14] + bytes(2) + struct.pack(">IHBB", 2, 1, 0, 6) + frame[6:12] + bytes(2) +
            frame[14:])


def main():
    frames, traffic = (list(records(pathlib.Path(name).read_bytes())) for name in sys.argv[1:3])
    files = {
        "sll.pcap": pcap([(time, cooked(frame)) for time, frame in frames], COOKED),
        "sll2.pcap": pcap([(time, cooked_2(frame)) for time, frame in frames], COOKED_2),
        "new.pcapng": pcapng(frames),
        "two.pcap": pcap([(time, one) for time, frame in frames
                          for one in (frame, frame.replace(ONU, OTHER))]),
        "requests.pcap": pcap([(time, frame) for time, frame in frames if frame[6:12] != ONU]),
        "sliced.pcap": pcap(traffic, most=18),
        "traffic-sll.pcap": pcap([(time, cooked(frame)) for time, frame in traffic], COOKED),
        "traffic-sll2.pcap": pcap([(time, cooked_2(frame)) for time, frame in traffic], COOKED_2),
        "traffic.pcapng": pcapng(traffic),
        "no-tags.pcap": pcap(traffic, most=14),
    }
    for name, data in files.items():
        pathlib.Path(name).write_bytes(data)


main()
