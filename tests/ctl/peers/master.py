"""A master with another maker's client: master.py pymodbus|libmodbus PORT|DEVICE < REQUESTS

A request is "CODE UNIT ADDRESS COUNT", or, to write, "CODE UNIT ADDRESS = VALUE..."; A..B/C stands for
the numbers from A to B in steps of C. "?" in front says that no slave of a line answers, which is not
waited for as long as answers are. A request is printed again with what came of it: bits as the
numbers of those that are on, and numbers at equal distances in the form above.
"""
import ctypes
import sys


LONG, SHORT = 10, 0.3  # seconds


def numbers(word):
    first, _, rest = word.partition("..")
    last, _, step = rest.partition("/")
    return range(int(first), int(last or first) + 1, int(step or 1))


def shown(values):
    steps = {after - before for before, after in zip(values, values[1:])}
    if len(values) > 2 and len(steps) == 1 and 0 not in steps:
        return f"{values[0]}..{values[-1]}/{steps.pop()}"
    return " ".join(map(str, values)) or "none"


class Pymodbus:
    def __init__(self, where):
        from pymodbus.client import ModbusSerialClient, ModbusTcpClient
        once = {"timeout": LONG, "retries": 0}
        self.client = ModbusTcpClient("127.0.0.1", port=int(where), **once) if where.isdigit() else \
            ModbusSerialClient(where, baudrate=19200, **once)
        if not self.client.connect():
            sys.exit("no connection")

    def wait(self, seconds):
        self.client.params.timeout = seconds
        self.client.connect()  # again, after silence
        self.client.socket.timeout = seconds

    def ask(self, code, unit, address, wanted):
        name = {1: "read_coils", 2: "read_discrete_inputs", 3: "read_holding_registers",
                4: "read_input_registers", 5: "write_coil", 6: "write_register",
                15: "write_coils", 16: "write_registers"}[code]
        answer = getattr(self.client, name)(
            address, wanted[0] if code in (5, 6) else wanted, slave=unit)
        if not hasattr(answer, "function_code"):
            return "no answer"
        if answer.isError():
            return f"exception {answer.exception_code}"
        return "written" if code > 4 else answer.registers if code > 2 else answer.bits[:wanted]


class Libmodbus:
    first_error = 112345678  # of those that it has in common with exceptions

    def __init__(self, where):
        self.calls = ctypes.CDLL("libmodbus.so.5", use_errno=True)
        self.calls.modbus_new_tcp.restype = self.calls.modbus_new_rtu.restype = ctypes.c_void_p
        self.client = ctypes.c_void_p(
            self.calls.modbus_new_tcp(b"127.0.0.1", int(where)) if where.isdigit() else
            self.calls.modbus_new_rtu(where.encode(), 19200, ctypes.c_char(b"E"), 8, 1))
        self.wait(LONG)
        if self.calls.modbus_connect(self.client) != 0:
            sys.exit("no connection")

    def wait(self, seconds):
        self.calls.modbus_set_response_timeout(
            self.client, int(seconds), int(seconds % 1 * 1000000))

    def ask(self, code, unit, address, wanted):
        name = {1: "read_bits", 2: "read_input_bits", 3: "read_registers",
                4: "read_input_registers", 5: "write_bit", 6: "write_register",
                15: "write_bits", 16: "write_registers"}[code]
        self.calls.modbus_set_slave(self.client, unit)
        count = wanted if code < 5 else len(wanted)
        element = ctypes.c_uint8 if code in (1, 2, 15) else ctypes.c_uint16
        data = (element * count)(*(wanted if code > 4 else ()))
        operands = (int(wanted[0]),) if code in (5, 6) else (count, data)
        result = getattr(self.calls, "modbus_" + name)(self.client, address, *operands)
        if result != count:
            error = ctypes.get_errno() - self.first_error
            return f"exception {error}" if error > 0 else "no answer"
        return "written" if code > 4 else list(data)


master = {"pymodbus": Pymodbus, "libmodbus": Libmodbus}[sys.argv[1]](sys.argv[2])
is_line = not sys.argv[2].isdigit()
for text in sys.stdin:
    code, unit, address, *rest = text.removeprefix("?").split()
    wanted = int(rest[0]) if rest[0] != "=" else [n for word in rest[1:] for n in numbers(word)]
    if code == "15":
        wanted = [at in wanted[1:] for at in range(wanted[0])]
    if code == "5":
        wanted = [bool(wanted[0])]
    if is_line:
        master.wait(SHORT if text[0] == "?" else LONG)
    answer = master.ask(int(code), int(unit), int(address), wanted)
    if isinstance(answer, list):
        answer = shown([at for at, bit in enumerate(answer) if bit] if code in "12" else answer)
    print(f"{text.strip()}: {answer}")
