"""Prints every DHCPv4 frame of a device as "in|out HEX", one a line, until it is told to stop."""
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
from labkit import dhcp  # noqa: E402  (the folder has to be known first)


def main(device):
    port = dhcp.Port(device)
    print("listening", flush=True)
    while True:
        frame, outgoing = port.receive(3600)
        if frame and dhcp.decode(frame):
            print("out" if outgoing else "in", frame.hex(), flush=True)


if __name__ == "__main__":
    main(sys.argv[1])
