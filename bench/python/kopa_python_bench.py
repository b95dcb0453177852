#!/usr/bin/python3
"""kopa_python_bench: what the kopapositioning module costs a Python program.

Run by make bench, on the private bus beside kopa-bench-service, after kopa-bench:

    kopa_python_bench.py BUILD_DIR [--quick]

Client CPU per current-position request (user plus system, every thread of the process that
makes it) for:
  - raw libdbus and the library's own blocking and asynchronous requests, in child processes
    (kopa-bench --profile), whose start is spread over their requests;
  - the module's blocking request, and its asyncio request (one at a time, and ten in flight);
  - a program that runs `kopa position --json` for each position and parses the output: the
    way Python programs got positions before the module.
"""

import asyncio
import json
import os
import resource
import subprocess
import sys
import time


def self_cpu():
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def children_cpu():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def measure(run, count):
    """(CPU µs, wall µs) per request of run(count), in this process and its children."""
    cpu, child, wall = self_cpu(), children_cpu(), time.perf_counter()
    run(count)
    return ((self_cpu() - cpu + children_cpu() - child) * 1e6 / count,
            (time.perf_counter() - wall) * 1e6 / count)


def kopa_bench_profile(build, what):
    def run(count):
        subprocess.run([os.path.join(build, "bench", "kopa-bench"), "--profile", what,
                        str(count)], check=True, stdout=subprocess.DEVNULL)
    return run


def module_blocking(positioning):
    def run(count):
        for _ in range(count):
            positioning.current_position(timeout=30)
    return run


def module_asyncio(positioning, in_flight):
    async def worker(count):
        for _ in range(count):
            await positioning.current_position_async(timeout=30)

    def run(count):
        async def main():
            await asyncio.gather(*(worker(count // in_flight) for _ in range(in_flight)))
        asyncio.run(main())
    return run


def kopa_json(build):
    command = [os.path.join(build, "tools", "kopa", "kopa"), "--json", "position"]

    def run(count):
        for _ in range(count):
            out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
            position = json.loads(out)
            assert position
    return run


def main():
    build = sys.argv[1]
    quick = "--quick" in sys.argv[2:]
    sys.path.insert(0, os.path.join(build, "python"))
    import kopapositioning

    calls = 1000 if quick else 3000
    spawned = 100 if quick else 300
    print(f"\nThe Python module: current position, client CPU and wall time, microseconds per "
          f"request ({calls} requests; kopa --json {spawned}); ratio to raw libdbus")
    print(f"load average (1 minute) at the start: {os.getloadavg()[0]:.2f} on "
          f"{os.cpu_count()} CPUs\n")
    print(f"  {'contender':50} {'CPU':>8} {'wall':>8} {'CPU/raw':>8}")

    with kopapositioning.Positioning() as positioning:
        module_blocking(positioning)(100)  # warm-up, and the connection opened
        rows = [
            ("raw libdbus, blocking (kopa-bench --profile raw)", kopa_bench_profile(build, "raw"),
             calls),
            ("library, blocking", kopa_bench_profile(build, "blocking"), calls),
            ("library, asynchronous, 10 in flight", kopa_bench_profile(build, "10"), calls),
            ("module, blocking", module_blocking(positioning), calls),
            ("module, asyncio, one at a time", module_asyncio(positioning, 1), calls),
            ("module, asyncio, 10 in flight", module_asyncio(positioning, 10), calls),
            ("kopa --json, a process per position", kopa_json(build), spawned),
        ]
        raw = None
        results = {}
        for name, run, count in rows:
            cpu, wall = measure(run, count)
            raw = raw or cpu
            results[name] = cpu
            print(f"  {name:50} {cpu:8.1f} {wall:8.1f} {cpu / raw:8.2f}", flush=True)

    module = results["module, blocking"]
    print(f"\n  module blocking / library blocking CPU: "
          f"{module / results['library, blocking']:.2f}; "
          f"kopa --json / module blocking CPU: {results['kopa --json, a process per position'] / module:.0f}")


if __name__ == "__main__":
    main()
