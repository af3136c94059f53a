"""A Modbus master for the tests: pymodbus_master.py DEVICE

Writes to the slaves 17 and 18 of one RTU line and reads them in turn. Its exit status is the number of
exchanges that went wrong.
"""
import sys

from pymodbus.client import ModbusSerialClient

client = ModbusSerialClient(sys.argv[1], baudrate=115200, timeout=1, retries=0)
client.connect()
wrong = 0
for turn in range(20):
    for unit in (18, 17):
        values = [turn, 256 * unit + turn, 3]
        written = client.write_registers(10, values, slave=unit)
        read = client.read_holding_registers(10, 3, slave=unit)
        wrong += written.isError() or read.isError() or read.registers != values
sys.exit(wrong)
