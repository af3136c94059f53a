"""A serial line with several ends, pseudo-terminals whose paths it prints: hub.py COUNT

What is said at one end is heard at all others.
"""
import os
import select
import sys
import tty

ends = {}
held = []  # the devices stay, whoever opens and closes them
for _ in range(int(sys.argv[1])):
    end, device = os.openpty()
    tty.setraw(device)
    held.append(device)
    ends[end] = os.ttyname(device)
print(*ends.values(), flush=True)
while True:
    for speaker in select.select(ends, [], [])[0]:
        said = os.read(speaker, 512)
        for other in ends.keys() - {speaker}:
            os.write(other, said)
