#!/usr/bin/env python3
"""A peer to measure against: the conversion as one would write it in Python in an afternoon.

It knows the files that make_mapping.py writes and checks nothing.

usage: peer_plain.py MAPPING OUTPUT
"""
import re
import sys

DATA_TYPES = {
    "Floating Point HI/LO": ("2", "BIG", "FLOAT"),
    "Floating Point LO/HI": ("2", "LITTLE", "FLOAT"),
    "32 Bit Unsigned Integer HI/LO": ("2", "BIG", "UNSIGNED"),
    "32 Bit Unsigned Integer LO/HI": ("2", "LITTLE", "UNSIGNED"),
    "32 Bit Signed Integer HI/LO": ("2", "BIG", "SIGNED"),
    "32 Bit Signed Integer LO/HI": ("2", "LITTLE", "SIGNED"),
    "16 Bit Unsigned Integer": ("1", "BIG", "UNSIGNED"),
    "16 Bit Signed Integer": ("1", "BIG", "SIGNED"),
    "Bit16": ("1", "BIG", "UNSIGNED"),
    "Bit32 HI/LO": ("2", "BIG", "UNSIGNED"),
    "Bit32 LO/HI": ("2", "LITTLE", "UNSIGNED"),
}

# In the order in which they are written.
DEFAULTS = {
    "chn_type": "INPUT_MCD_HREG", "bac_type": "ANALOG_INPUT", "bac_units": "NO_UNITS",
    "bac_cov_inc": "0", "bac_desc": "Default channel description", "scl_dev_lo": "0",
    "scl_dev_hi": "1", "scl_usr_lo": "0", "scl_usr_hi": "1", "inp_filter": "0",
    "inp_level_lo": "0", "inp_level_hi": "1", "pulse_period": "1", "temp_offset": "0",
    "temp_units": "FAHRENHEIT", "reg_group_en": "0", "reg_mask": "0", "reg_restart": "0",
    "reg_num": "40001", "reg_size": "1", "reg_endian": "BIG", "reg_format": "UNSIGNED",
    "reg_fcn": "6", "initial_val": "OFF", "alarm_lo": "OFF", "alarm_hi": "OFF",
    "hoa_switch": "AUTO", "override_val": "0", "limit_lo": "0", "limit_hi": "65535",
    "persistent": "0",
}

SEPARATORS = re.compile('[,"\r\n]+')


class Unit:
    def __init__(self, text):
        self.ip_address, _, self.address = text.rpartition("/")
        self.place = self.ip_address, int(self.address)
        self.channels = []

    def is_before(self, other):
        same_kind = bool(self.ip_address) == bool(other.ip_address)
        return same_kind and self.place < other.place


class Channel:
    def __init__(self, fields):
        self.name, self.instance = fields[2], fields[7]
        self.settings = dict(DEFAULTS)
        self.settings.update(bac_cov_inc=fields[1], bac_type=fields[6], bac_units=fields[8],
                             reg_restart=fields[16])
        if fields[9] != "0":
            self.settings["bac_desc"] = fields[9]
        if fields[11:15] != ["0", "0", "0", "0"]:
            self.settings.update(zip(("scl_dev_lo", "scl_dev_hi", "scl_usr_lo", "scl_usr_hi"),
                                     fields[11:15]))
        self.set_register(fields)
        self.set_type()

    def set_register(self, fields):
        reference, bit = int(fields[4]), int(fields[10])
        is_bit = "Bit16" in fields[5] or "Bit32" in fields[5]
        mask = 1 << bit if is_bit and bit < 31 else 0
        size, endian, number_format = DATA_TYPES[fields[5]]
        self.place = reference, mask
        self.settings.update(reg_num=f"{reference:05}", reg_mask=str(mask), reg_size=size,
                             reg_endian=endian, reg_format=number_format,
                             reg_fcn="16" if size == "2" else "6",
                             reg_group_en="1" if is_bit else fields[15])

    def set_type(self):
        reg_class, bac_type = self.settings["reg_num"][0], self.settings["bac_type"]
        if reg_class == "0":
            is_input = bac_type == "BINARY_INPUT"
            self.settings["chn_type"] = "INPUT_MCD_BIN" if is_input else "OUTPUT_MCD_BIN"
            self.settings["reg_fcn"] = "5"
        elif reg_class == "1":
            self.settings["chn_type"] = "INPUT_MCD_BIN"
        elif reg_class == "3":
            self.settings["chn_type"] = "INPUT_MCD_IREG"
        elif bac_type != "ANALOG_INPUT":
            self.settings["chn_type"] = "OUTPUT_MCD_HREG"


def read_units(path):
    units, by_text = [], {}
    with open(path, encoding="latin-1") as mapping:
        for line in mapping:
            fields = [field.rstrip(" ") for field in SEPARATORS.split(line) if field]
            unit = by_text.get(fields[3])
            if unit is None:
                unit = by_text[fields[3]] = Unit(fields[3])
                greater = (at for at, other in enumerate(units) if unit.is_before(other))
                units.insert(next(greater, len(units)), unit)
            unit.channels.append(Channel(fields))
    for unit in units:
        unit.channels.sort(key=lambda channel: channel.place)
    return units


def write_unit(out, unit):
    kind, ip_address = "Modbus", ""
    if unit.ip_address:
        kind, ip_address = "Modbus/TCP", f' ip_address="{unit.ip_address}"'
    out.write(f'\t<unit_cfg name="Default {kind} CSV Unit Name" '
              f'type="{kind.upper().replace("/", "_")}"{ip_address} '
              f'address="{unit.address}" poll_delay="0">\r\n')
    for channel in unit.channels:
        out.write(f'\t\t<chn_cfg name="{channel.name}" instance="{channel.instance}">\r\n')
        for tag, text in channel.settings.items():
            out.write(f"\t\t\t<{tag}>{text}</{tag}>\r\n")
        out.write("\t\t</chn_cfg>\r\n")
    out.write("\t</unit_cfg>\r\n")


def main():
    units = read_units(sys.argv[1])
    with open(sys.argv[2], "w", encoding="latin-1", newline="") as out:
        for unit in units:
            write_unit(out, unit)


if __name__ == "__main__":
    main()
