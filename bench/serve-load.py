#!/usr/bin/python3
"""Load on `zelknx serve`: a recorded log of RATE telegrams a second for
SECONDS seconds, replayed at its pace (--pace) to CLIENTS clients of
/api/events, each in a process of its own.

Reports whether every client received every telegram in order, the latency
from the moment the log schedules a telegram to its arrival at a client
(p50, p99, max), and the server's resident memory sampled once a second.

The log's first telegram comes 3 s before the others, while the clients
connect. The server's clock is not visible from here: the moment the replay
started is taken as the earliest arrival minus its scheduled offset, so the
latencies leave out the fastest delivery (tens of microseconds on loopback).

    bench/serve-load.py [--zelknx build/default/tools/zelknx] [--rate 1000]
                        [--seconds 60] [--clients 10]
Not part of the tests: run it by hand from a RelWithDebInfo build.
"""
import argparse
import multiprocessing
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time

LEAD_IN = 3.0  # seconds between the first telegram and the rest


def write_log(path, rate, seconds):
    """The log; each telegram's scheduled offset in seconds, by sequence number - 1."""
    offsets = [0.0]
    with open(path, "w", encoding="ascii") as log:
        log.write("2024-03-15 08:30:00.000 Write from 1.1.5 to 1/2/3: 0C 33\n")
        start_ms = int(LEAD_IN * 1000)
        for i in range(rate * seconds):
            ms = start_ms + i * 1000 // rate
            offsets.append(ms / 1000)
            stamp = f"2024-03-15 08:{30 + ms // 60000:02d}:{ms // 1000 % 60:02d}.{ms % 1000:03d}"
            address = f"1/2/{3 + i % 4}"
            log.write(f"{stamp} Write from 1.1.{1 + i % 200} to {address}: 0C {i % 256:02X}\n")
    return offsets


def client(port, expected, queue):
    """Reads the event stream until `expected` events; (ids in order?, arrival times)."""
    sock = socket.create_connection(("127.0.0.1", port))
    sock.sendall(b"GET /api/events HTTP/1.1\r\nHost: bench\r\n\r\n")
    arrivals = []
    last = 0
    in_order = True
    buffer = b""
    while len(arrivals) < expected:
        chunk = sock.recv(1 << 16)
        if not chunk:
            break
        now = time.monotonic()
        buffer += chunk
        cut = buffer.rfind(b"\n\n")  # the complete events; the rest waits for more
        if cut < 0:
            continue
        complete, buffer = buffer[:cut + 2], buffer[cut + 2:]
        for match in re.finditer(rb"(?:^|\n)id: (\d+)\n", complete):
            seq = int(match.group(1))
            in_order = in_order and seq == last + 1
            last = seq
            arrivals.append(now)
    sock.close()
    queue.put((in_order and len(arrivals) == expected, arrivals))


def rss_kib(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmRSS:\s+(\d+)", status.read()).group(1))


def percentile(values, p):
    return values[min(len(values) - 1, int(p / 100 * len(values)))]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--zelknx", default="build/default/tools/zelknx")
    parser.add_argument("--rate", type=int, default=1000)
    parser.add_argument("--seconds", type=int, default=60)
    parser.add_argument("--clients", type=int, default=10)
    args = parser.parse_args()

    folder = tempfile.mkdtemp(prefix="zelknx-serve-load-")
    ga = os.path.join(folder, "ga.csv")
    with open(ga, "w", encoding="utf-8") as out:
        out.write("Group name;Address;DatapointType\n")
        out.writelines(f"Temperatur {n};1/2/{n};DPST-9-1\n" for n in range(3, 7))
    offsets = write_log(os.path.join(folder, "bus.log"), args.rate, args.seconds)
    err = open(os.path.join(folder, "serve.err"), "w+", encoding="utf-8")
    server = subprocess.Popen([args.zelknx, "serve", "--listen", "127.0.0.1:0", "--ga-csv", ga, "--replay",
                               os.path.join(folder, "bus.log"), "--pace"], stderr=err)
    try:
        port = None
        while port is None:
            time.sleep(0.01)
            err.seek(0)
            found = re.search(r"serving on http://127\.0\.0\.1:(\d+)/", err.read())
            port = found and int(found.group(1))
        queue = multiprocessing.Queue()
        clients = [multiprocessing.Process(target=client, args=(port, len(offsets), queue))
                   for _ in range(args.clients)]
        for process in clients:
            process.start()
        rss = []
        results = []
        deadline = time.monotonic() + LEAD_IN + args.seconds + 30
        while len(results) < len(clients) and time.monotonic() < deadline:
            rss.append(rss_kib(server.pid))
            try:
                results.append(queue.get(timeout=1))
            except Exception:  # queue.Empty: sample again
                pass
        for process in clients:
            process.join(timeout=5)
    finally:
        os.kill(server.pid, signal.SIGTERM)
        status = server.wait(timeout=10)
        shutil.rmtree(folder, ignore_errors=True)

    complete = sum(1 for ok, _ in results if ok)
    start = min(arrival - offsets[i] for _, arrivals in results for i, arrival in enumerate(arrivals))
    latencies = sorted(arrival - offsets[i] - start for _, arrivals in results
                       for i, arrival in enumerate(arrivals) if i > 0)
    print(f"telegrams: {len(offsets)} ({args.rate}/s for {args.seconds} s), clients: {args.clients}")
    print(f"clients that received every telegram in order: {complete} of {args.clients}")
    if latencies:
        print("latency schedule -> client: p50 {:.2f} ms, p99 {:.2f} ms, max {:.2f} ms".format(
            percentile(latencies, 50) * 1000, percentile(latencies, 99) * 1000, latencies[-1] * 1000))
    print("server RSS (KiB) every 10 s:", " ".join(str(kib) for kib in rss[::10]), f"last {rss[-1]}")
    print(f"  (the ring of 10,000 telegrams is full after {10000 // args.rate + LEAD_IN:.0f} s)")
    print(f"server exit status on SIGTERM: {status}")
    return 0 if complete == args.clients and status == 0 else 1


if __name__ == "__main__":
    raise SystemExit(main())
