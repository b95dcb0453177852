#!/usr/bin/env python3
"""Asks kopad for the current position twice: with a blocking call, then from asyncio.

Run it against the simulator:  scripts/with-sim-bus python3 examples/python_position.py
"""

import asyncio
import sys

import kopapositioning


async def from_asyncio(positioning):
    position, measurements = await asyncio.gather(positioning.current_position_async(timeout=5),
                                                  positioning.current_measurements_async())
    print(f"asyncio: {position.latitude:.6f} {position.longitude:.6f} "
          f"from {len(measurements.cells)} cells and {len(measurements.access_points)} "
          "access points")


def main():
    try:
        with kopapositioning.Positioning() as positioning:
            position = positioning.current_position(timeout=5)
            accuracy = position.horizontal_accuracy
            print(f"blocking: {position.latitude:.6f} {position.longitude:.6f}"
                  + (f" ±{accuracy:.0f} m" if accuracy is not None else "")
                  + (f" at {position.time.isoformat()}" if position.time else ""))
            asyncio.run(from_asyncio(positioning))
    except kopapositioning.KopaError as error:
        print(f"no position: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
