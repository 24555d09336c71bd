#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Write captures of the OMCI messages of many subscriber lines.

usage: generate-lines.py FOLDER COUNT [SEED]

FOLDER gets line-00001.pcap and so on, each with the bring-up of one line in September 2026, and
the file "list" with the names. The same seed gives the same files. A line has 1 to 4 services.

The lines have these faults:
  - The firmware 2.1.0, in use since 12 September, refuses every 25th GEM interworking TP.
  - From 20 September on, the filters of every 40th line compare the priority as well.
  - Every 100th capture ends within a frame, every 150th is an empty file.
"""

import calendar
import pathlib
import random
import struct
import sys

CREATE, SET, GET, MIB_RESET = 4, 8, 9, 15
REQUEST, RESPONSE = 0x40, 0x20
REFUSED = 3
NEW_FIRMWARE_DAY, WRONG_FILTER_DAY = 12, 20
PRIORITIES = 8


class Line:
    """The messages between one OLT and one ONU, as frames of a capture."""

    def __init__(self, number, source):
        self.frames = []
        self.number = number
        self.source = source
        self.transaction = 0
        self.day = source.randrange(1, 31)
        self.new_firmware = self.day >= NEW_FIRMWARE_DAY and source.randrange(4) != 0
        self.wrong_filter = self.day >= WRONG_FILTER_DAY and source.randrange(40) == 0
        self.time = calendar.timegm((2026, 9, self.day, source.randrange(24), 0, 0)) * 1000000

    def frame(self, upstream, message_type, me, instance, content):
        olt, onu = b"\x02\0\0\0\0\1", b"\x02\1" + struct.pack(">I", self.number)
        addresses = olt + onu if upstream else onu + olt
        message = struct.pack(">HBBHH", self.transaction, message_type, 0x0a, me, instance)
        frame = addresses + b"\x88\xb5" + (message + content).ljust(40, b"\0") + b"\0\0\0\x28"
        self.time += self.source.randrange(800, 4000)
        self.frames.append(struct.pack("<IIII", self.time // 1000000, self.time % 1000000,
                                       len(frame), len(frame)) + frame)

    def exchange(self, action, me, instance, request=b"", response=b"\0"):
        self.transaction += 1
        self.frame(False, action | REQUEST, me, instance, request)
        self.frame(True, action | RESPONSE, me, instance, response)

    def report(self, me, instance, mask, values):
        mask = struct.pack(">H", mask)
        self.exchange(GET, me, instance, mask, b"\0" + mask + values)

    def identify(self):
        """ONU-G, ONU2-G and two software images."""
        self.report(256, 0, 0xa000, b"GPON" + b"GPON" + struct.pack(">I", self.number))
        self.report(257, 0, 0x8000, self.source.choice((b"ONT-240", b"ONT-480")).ljust(20, b"\0"))
        versions = (b"2.0.4", b"2.1.0")
        for image, version in enumerate(versions):
            active = image == self.new_firmware
            self.report(7, image, 0xf000, version.ljust(14, b"\0") + bytes((active, active, 1)))

    def provision(self):
        self.exchange(MIB_RESET, 2, 0)
        for service in range(self.source.randrange(1, 5)):
            self.add_service(service)

    def add_service(self, service):
        interworking = 0x11 + service
        bridge, mapper, port, uni = 1 + service, 1 + service, 0x1001 + service, 0x0101 + service
        self.exchange(SET, 11, uni, struct.pack(">HB", 0x0800, 0))
        self.exchange(SET, 262, 0x8000 + service, struct.pack(">HH", 0x8000, 1024 + service))
        self.exchange(CREATE, 45, bridge,
                      struct.pack(">BBBHHHHBBI", 0, 1, 1, 0x8000, 20, 2, 15, 0, 0, 300))
        self.exchange(CREATE, 47, 0x0101 + service, self.bridge_port(bridge, 1, uni))
        self.exchange(CREATE, 268, 1 + service,
                      struct.pack(">HHBHHHHB", 1025 + service, 0x8000 + service, 3, 0, 0, 0, 0, 0))
        refused = self.new_firmware and self.source.randrange(25) == 0
        self.exchange(CREATE, 266, interworking,
                      struct.pack(">HBHHH", 1 + service, 5, mapper, 0, 0),
                      bytes((REFUSED if refused else 0,)))
        targets = struct.pack(">H", interworking) * PRIORITIES
        self.exchange(CREATE, 130, mapper, b"\xff\xff" + targets + bytes((1, 0, 0)))
        self.exchange(CREATE, 47, port, self.bridge_port(bridge, 3, mapper))
        self.add_filter(port, 100 * (1 + service))

    @staticmethod
    def bridge_port(bridge, kind, target):
        return struct.pack(">HBBHHHBBBB", bridge, 0, kind, target, 0, 0, 0, 0, 0, 0)

    def add_filter(self, port, vlan):
        operation = 0x14 if self.wrong_filter else 0x04
        self.exchange(CREATE, 84, port,
                      struct.pack(">H", vlan).ljust(24, b"\0") + bytes((operation, 1)))

    def capture(self):
        if self.number % 150 == 0:
            return b""
        head = struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, 65535, 1)
        whole = head + b"".join(self.frames)
        return whole[:-30] if self.number % 100 == 0 else whole


def write_fleet(folder, count, seed):
    folder.mkdir(parents=True, exist_ok=True)
    source = random.Random(seed)
    names = []
    for number in range(1, count + 1):
        line = Line(number, source)
        line.identify()
        line.provision()
        name = folder / f"line-{number:05}.pcap"
        name.write_bytes(line.capture())
        names.append(f"{name}\n")
    (folder / "list").write_text("".join(names), encoding="utf-8")


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__.split("\n\n", 2)[1])
    seed = int(sys.argv[3]) if len(sys.argv) == 4 else 1
    write_fleet(pathlib.Path(sys.argv[1]), int(sys.argv[2]), seed)


if __name__ == "__main__":
    main()
