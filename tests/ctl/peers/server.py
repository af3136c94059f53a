"""Another maker's server of site.csv and values.csv: server.py pymodbus | libmodbus [DEVICE UNIT]

Says where it listens, and keeps the function codes that it is asked for in the file "codes". Without
a device it is one of Modbus/TCP.
"""
import asyncio
import csv
import ctypes
import struct
import sys

SIZE = 2000
COILS, INPUTS, INPUT_REGISTERS, HOLDING_REGISTERS = tables = "0134"
FORMATS = {"16 Bit Unsigned Integer": ">H", "16 Bit Signed Integer": ">h",
           "32 Bit Unsigned Integer": ">I", "32 Bit Signed Integer": ">i", "Floating Point": ">f"}


def words(data_type, value):
    number, order = data_type.removesuffix(" HI/LO").removesuffix(" LO/HI"), data_type[-5:]
    packed = struct.pack(FORMATS[number], float(value) if number[0] == "F" else int(value))
    found = struct.unpack(f">{len(packed) // 2}H", packed)
    return found[::-1] if order == "LO/HI" else found


def units():
    found = {}
    for point, (_, _, value) in zip(csv.reader(open("site.csv")), csv.reader(open("values.csv"))):
        unit, reference, data_type = int(point[3]), point[4], point[5]
        table = found.setdefault(unit, {key: [0] * SIZE for key in tables})[reference[0]]
        at = int(reference[1:]) - 1
        put = [int(value)] if reference[0] in (COILS, INPUTS) else words(data_type, value)
        table[at:at + len(put)] = put
    return found


def listens_on(where):
    print("listening on", where, flush=True)


codes = set()


def note(code):
    codes.add(code)
    with open("codes", "w") as file:
        print(*sorted(codes), file=file)


async def serve_pymodbus():
    from pymodbus.datastore import (ModbusSequentialDataBlock, ModbusServerContext,
                                    ModbusSlaveContext)
    from pymodbus.factory import ServerDecoder
    from pymodbus.server.async_io import ModbusTcpServer

    class Decoder(ServerDecoder):
        def decode(self, message):
            note(message[0])
            return super().decode(message)

    names = {COILS: "co", INPUTS: "di", INPUT_REGISTERS: "ir", HOLDING_REGISTERS: "hr"}
    slaves = {unit: ModbusSlaveContext(zero_mode=True, **{
        names[key]: ModbusSequentialDataBlock(0, found[key]) for key in tables})
        for unit, found in units().items()}
    server = ModbusTcpServer(ModbusServerContext(slaves, single=False), address=("127.0.0.1", 0))
    server.decoder = Decoder()
    serving = asyncio.create_task(server.serve_forever())
    await server.serving
    listens_on("127.0.0.1:%d" % server.server.sockets[0].getsockname()[1])
    await serving


class Mapping(ctypes.Structure):
    """modbus_mapping_t"""
    _fields_ = [(name, ctypes.c_int) for name in
                ("nb0", "start0", "nb1", "start1", "nb3", "start3", "nb4", "start4")]
    _fields_ += [(key, ctypes.POINTER(ctypes.c_uint8 if key in (COILS, INPUTS) else
                                      ctypes.c_uint16)) for key in tables]


class Libmodbus:
    def __init__(self):
        self.calls = ctypes.CDLL("libmodbus.so.5")
        for name in ("modbus_new_tcp", "modbus_new_rtu"):
            getattr(self.calls, name).restype = ctypes.c_void_p
        self.calls.modbus_mapping_new.restype = ctypes.POINTER(Mapping)
        self.mappings = {}
        for unit, found in units().items():
            mapping = self.mappings[unit] = self.calls.modbus_mapping_new(SIZE, SIZE, SIZE, SIZE)
            for key in tables:
                for at, value in enumerate(found[key]):
                    getattr(mapping.contents, key)[at] = value

    def call(self, name, *operands):
        result = getattr(self.calls, name)(self.context, *operands)
        if result < 0:
            sys.exit(f"{name} has failed")
        return result

    def answer_all(self):
        query = (ctypes.c_uint8 * 260)()
        head = self.call("modbus_get_header_length")
        while (length := self.calls.modbus_receive(self.context, query)) >= 0:
            if length > 0:
                note(query[head])
                self.call("modbus_reply", query, length, self.mappings[query[head - 1]])

    def serve_tcp(self):
        self.context = ctypes.c_void_p(self.calls.modbus_new_tcp(b"127.0.0.1", 0))
        listener = ctypes.c_int(self.call("modbus_tcp_listen", 1))
        address, size = (ctypes.c_uint8 * 16)(), ctypes.c_int(16)
        self.calls.getsockname(listener, address, ctypes.byref(size))
        listens_on("127.0.0.1:%d" % (address[2] << 8 | address[3]))
        while True:
            self.call("modbus_tcp_accept", ctypes.byref(listener))
            self.answer_all()

    def serve_line(self, device, unit):
        self.context = ctypes.c_void_p(self.calls.modbus_new_rtu(
            device.encode(), 19200, ctypes.c_char(b"E"), 8, 1))
        self.call("modbus_set_slave", int(unit))
        self.call("modbus_connect")
        listens_on(device)
        self.answer_all()


maker, *line = sys.argv[1:]
if maker == "pymodbus":
    asyncio.run(serve_pymodbus())
elif line:
    Libmodbus().serve_line(*line)
else:
    Libmodbus().serve_tcp()
