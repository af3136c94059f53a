#!/usr/bin/env python3
"""Writes a mapping file for measuring to standard output: points of both kinds of unit.

The four orders hold the same points: `ordered` in the order of the units' channels, `reversed`
backwards, `shuffled` at random but the same every time. `equal` gives every point of a unit the
same place, so that only the order of the lines is left to sort them by; all other texts stay.
Points of one unit differ in their reference while it has fewer than 10,000, or is the only one.
"""
import argparse
import random
import sys

TYPES = [
    "Floating Point HI/LO", "Floating Point LO/HI", "32 Bit Unsigned Integer HI/LO",
    "32 Bit Signed Integer LO/HI", "16 Bit Unsigned Integer", "16 Bit Signed Integer", "Bit16",
    "Bit32 HI/LO",
]
ENGINEERING_UNITS = [
    "DEGREES_FAHRENHEIT", "PERCENT", "KILOWATTS", "NO_UNITS", "AMPERES", "PASCALS",
]
OBJECTS = ["ANALOG_INPUT", "ANALOG_VALUE", "ANALOG_OUTPUT", "BINARY_INPUT", "BINARY_OUTPUT"]
# Where the references of each object type begin. Each range has 9,999 of them.
REFERENCES = [40001, 30001, 400001, 10001, 1]
REFERENCE_COUNT = 9999
MOST_CHANNELS = 32767

UNIT, REFERENCE, DATA_TYPE, BIT = 3, 4, 5, 10


def unit_text(unit):
    if unit % 2:
        return f"10.{unit // 8000}.{unit // 40 % 200}.{unit % 40 + 1}/{unit % 7 + 1}"
    return str(unit // 2 + 1)


def mapping_fields(point, units):
    unit, index = point % units, point // units
    kind = point % len(OBJECTS)
    data_type = TYPES[point % len(TYPES)]
    return [
        str(point), "1", f"Plant {unit} Supply Air Temperature {index}", unit_text(unit),
        str(REFERENCES[kind] + index % REFERENCE_COUNT), data_type, OBJECTS[kind], str(point),
        ENGINEERING_UNITS[point % len(ENGINEERING_UNITS)],
        "0" if point % 3 else f"Sensor in duct {index}",
        str(point % 16 if data_type.startswith("Bit") else 0),
        *(("0", "27648", "-50", "150") if point % 4 == 0 else ("0", "0", "0", "0")), "0", "0",
    ]


def place(fields):
    """What the point is sorted by: its unit, its reference and its mask."""
    ip_address, _, address = fields[UNIT].rpartition("/")
    mask = 1 << int(fields[BIT]) if fields[DATA_TYPE].startswith("Bit") else 0
    return ip_address, int(address), int(fields[REFERENCE]), mask


def with_equal_place(fields):
    fields[REFERENCE] = "40001"
    if fields[DATA_TYPE].startswith("Bit"):
        fields[BIT] = "32"  # beyond the mask, which becomes 0 as it is for all others
    return fields


def ordered_points(points, units, order):
    numbers = list(range(points))
    if order == "shuffled":
        random.Random(1).shuffle(numbers)
    elif order in ("ordered", "reversed"):
        numbers.sort(key=lambda point: place(mapping_fields(point, units)),
                     reverse=order == "reversed")
    return numbers


def parse_arguments():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("points", type=int)
    parser.add_argument("order", nargs="?", default="shuffled",
                        choices=["shuffled", "ordered", "reversed", "equal"])
    parser.add_argument("units", type=int, nargs="?", help="one for 100 points, if not given")
    arguments = parser.parse_args()
    if arguments.units is None:
        arguments.units = max(1, arguments.points // 100)
    if arguments.points < 0 or arguments.units < 1:
        parser.error("no points or no units to write")
    if arguments.points > arguments.units * MOST_CHANNELS:
        parser.error(f"more than {MOST_CHANNELS} points in one unit")
    return arguments


def main():
    arguments = parse_arguments()
    for point in ordered_points(arguments.points, arguments.units, arguments.order):
        fields = mapping_fields(point, arguments.units)
        if arguments.order == "equal":
            fields = with_equal_place(fields)
        sys.stdout.write(",".join(fields) + "\n")


if __name__ == "__main__":
    main()
