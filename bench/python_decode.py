#!/usr/bin/python3
"""Decoding DPT 9.001 from Python: the module's decode() per call and its
decode_many() batch, against the same work in a pure-Python decoder written
only for this comparison (it handles 9.001's layout and nothing else:
no refusals, no log entries, no table).

    PYTHONPATH=build/default/python/module bench/python_decode.py [--number N]

Prints nanoseconds per value of each, best of five runs.
"""

import argparse
import timeit

import zelobjectmodel as z


def pure_python_9001(payload):
    """2-octet float: sign, 4-bit exponent, 11-bit mantissa (two's complement), 0.01 resolution."""
    raw = payload[0] << 8 | payload[1]
    if raw == 0x7FFF:
        return None  # invalid data
    mantissa = raw & 0x07FF
    if raw & 0x8000:
        mantissa -= 0x0800
    return 0.01 * mantissa * (1 << ((raw >> 11) & 0x0F))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--number", type=int, default=200_000, help="values per run")
    number = parser.parse_args().number
    payloads = [bytes([(i >> 8) & 0x7F, i & 0xFF]) for i in range(0x0C00, 0x0C00 + 1000)]
    batches = number // len(payloads)
    for payload in payloads:
        assert z.decode("9.001", payload) == round(pure_python_9001(payload), 2), payload.hex()

    names = {"z": z, "p": payloads[51], "payloads": payloads, "pure_python_9001": pure_python_9001}

    def best(statement, count):
        return min(timeit.repeat(statement, number=count, repeat=5, globals=names))

    runs = {
        "zelobjectmodel.decode('9.001', p)": best("z.decode('9.001', p)", number) / number,
        "zelobjectmodel.decode((9, 1), p)": best("z.decode((9, 1), p)", number) / number,
        "zelobjectmodel.decode('9.001', p, table=True)":
            best("z.decode('9.001', p, table=True)", number) / number,
        "zelobjectmodel.decode_many('9.001', 1000 payloads)":
            best("z.decode_many('9.001', payloads)", batches) / (batches * len(payloads)),
        "pure Python 9.001 decoder": best("pure_python_9001(p)", number) / number,
    }
    for name, seconds in runs.items():
        print(f"{seconds * 1e9:8.0f} ns/value  {name}")


if __name__ == "__main__":
    main()
