"""A Modbus server for the tests: pymodbus_server.py tcp PORT | rtu DEVICE

Slave 17 with 100 of everything; input register n holds 100 + n, every third input is on.
"""
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server import StartSerialServer, StartTcpServer
from pymodbus.transaction import ModbusRtuFramer


def block(values):
    return ModbusSequentialDataBlock(0, values)


slave = ModbusSlaveContext(
    di=block([n % 3 == 0 for n in range(100)]), co=block([False] * 100),
    hr=block([0] * 100), ir=block([100 + n for n in range(100)]), zero_mode=True)
context = ModbusServerContext(slaves={17: slave}, single=False)
if sys.argv[1] == "tcp":
    StartTcpServer(context=context, address=("127.0.0.1", int(sys.argv[2])))
else:
    StartSerialServer(context=context, framer=ModbusRtuFramer, port=sys.argv[2], baudrate=115200)
