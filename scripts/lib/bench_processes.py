"""Starts whole programs many times and prints what one start takes, as JSON.

See scripts/bench, which runs it. Measured are the median time from start to end, the instructions of
the program and its loader, and its system calls: the last two are the same in every run.
Usage: bench_processes.py DIRECTORY_OF_PROGRAMS STARTS
"""

import collections
import fcntl
import json
import os
import random
import re
import socket
import statistics
import subprocess
import sys
import tempfile
import time

MIB = 1 << 20
SO_SNDBUFFORCE = 32  # of Linux; needs root
BOUNDARY = "----------------------------735323031399963166993862"

# Programs are lists of arguments by way, as bench/bench.h names them; `body` is posted through a
# descriptor of the kind `by`; `differ` are ways that print something else than the library's.
Case = collections.namedtuple("Case", "name programs environment body by differ")


def part(parameters, content):
    head = f'--{BOUNDARY}\r\nContent-Disposition: form-data; {parameters}\r\n\r\n'
    return head.encode() + content + b"\r\n"


def upload(size):
    """A body of `size` bytes, or with an empty file when that is 0."""
    parameters = 'name="image"; filename="image.bin"'
    end = f"--{BOUNDARY}--\r\n".encode()
    room = max(0, size - len(part(parameters, b"") + end))
    return part(parameters, random.Random(1).randbytes(room)) + end


def form(fields):
    body = b"".join(part(f'name="setting{i}"', b"value of a setting") for i in range(fields))
    return body + f"--{BOUNDARY}--\r\n".encode()


def posting(directory, name, body, by, peers=True):
    programs = {"library": ["post"], "literal": ["post-literal"], "limit": ["post-plain"]}
    if peers:
        programs["peer:cgicc"] = ["post-cgicc"]
    environment = {"REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(body)),
                   "CONTENT_TYPE": f"multipart/form-data; boundary={BOUNDARY}"}
    return make_case(directory, name, programs, environment, body, by, {"limit"})


def make_case(directory, name, programs, environment={}, body=b"", by="file", differ=()):
    paths = {way: [os.path.join(directory, program[0])] + program[1:]
             for way, program in programs.items()}
    return Case(name, paths, environment, body, by, differ)


def make_cases(directory, items, peers=True):
    get = {"REQUEST_METHOD": "GET", "QUERY_STRING": "name=Ada%20%26%20Bo"}
    page = {"library": ["hello"], "limit": ["hello-plain"]}
    if peers:
        page["peer:cgicc"] = ["hello-cgicc"]
    yield make_case(directory, "page", page, get)
    yield make_case(directory, "page, static", {"library": ["hello-static"]}, get)
    for by in "file", "pipe", "socket":
        yield posting(directory, f"1 MiB, {by}", upload(MIB), by, peers)
    yield posting(directory, "20 fields, pipe", form(20), "pipe", peers)
    ways = {"library": "item", "literal": "item-literal", "limit": "item-plain"}
    read = [items, "name"]
    yield make_case(directory, "read item", {way: [name] + read for way, name in ways.items()})
    update = read + ["twenty bytes of text"]
    yield make_case(directory, "update equal item",
                    {way: [name] + update for way, name in ways.items()})


def open_body(body, by):
    """A descriptor that holds the whole body, so that no other process has to run meanwhile."""
    if by == "file":
        descriptor = os.memfd_create("body")
        os.write(descriptor, body)
        os.lseek(descriptor, 0, os.SEEK_SET)
        return descriptor
    if by == "pipe":
        out, into = os.pipe()
        fcntl.fcntl(into, fcntl.F_SETPIPE_SZ, MIB)
    else:
        pair = socket.socketpair()
        pair[1].setsockopt(socket.SOL_SOCKET, SO_SNDBUFFORCE, 4 * MIB)
        out, into = pair[0].detach(), pair[1].detach()
    os.set_blocking(into, False)
    taken = os.write(into, body)
    os.close(into)
    if taken != len(body):
        os.close(out)
        raise PermissionError(f"a {by} does not take {len(body)} bytes")
    return out


def run(case, arguments, **outputs):
    body = open_body(case.body, case.by)
    try:
        return subprocess.run(arguments, stdin=body, env=case.environment, check=True, timeout=60,
                              **outputs)
    finally:
        os.close(body)


def check(case):
    expected = run(case, case.programs["library"], capture_output=True).stdout
    for way, program in case.programs.items():
        output = run(case, program, capture_output=True).stdout
        if way not in case.differ and output != expected:
            sys.exit(f"bench_processes: {case.name}: {way} prints {output}, not {expected}")


def measure_times(case, starts):
    """Medians in nanoseconds. The ways take turns: what else the machine does hits all of them."""
    null = os.open(os.devnull, os.O_WRONLY)
    times = {way: [] for way in case.programs}
    for _ in range(starts):
        for way, program in case.programs.items():
            body = open_body(case.body, case.by)
            actions = [(os.POSIX_SPAWN_DUP2, body, 0), (os.POSIX_SPAWN_DUP2, null, 1)]
            begin = time.perf_counter_ns()
            child = os.posix_spawn(program[0], program, case.environment, file_actions=actions)
            status = os.waitpid(child, 0)[1]
            times[way].append(time.perf_counter_ns() - begin)
            os.close(body)
            if status != 0:
                sys.exit(f"bench_processes: {program[0]} failed")
    os.close(null)
    return {way: statistics.median(taken) for way, taken in times.items()}


def count_instructions(case, program):
    valgrind = ["/usr/bin/valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]
    log = run(case, valgrind + program, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr
    return int(re.search(rb"Collected : (\d+)", log).group(1))


def count_calls(case, program):
    with tempfile.NamedTemporaryFile(mode="r") as log:
        strace = ["/usr/bin/strace", "-f", "-c", "-U", "name,calls", "-o", log.name]
        run(case, strace + program, stdout=subprocess.DEVNULL)
        counts = re.findall(r"^(\w+) +(\d+)$", log.read(), re.MULTILINE)
    return sum(int(calls) for name, calls in counts if name != "total")


def measure(directory, case, starts):
    check(case)
    times = measure_times(case, starts)
    counts = {way: count_instructions(case, program) for way, program in case.programs.items()}
    calls = {way: count_calls(case, program) for way, program in case.programs.items()}
    found = [("time", times, "ns"), ("instructions", counts, ""), ("system calls", calls, "")]
    if len(case.body) == MIB:
        empty = posting(directory, "", upload(0), case.by)
        more = {way: calls[way] - count_calls(empty, program)
                for way, program in empty.programs.items()}
        found.append(("system calls per MiB", more, ""))
    return [{"case": f"{case.name}: {what}", "way": way, "value": value, "unit": unit}
            for what, values, unit in found for way, value in values.items()]


def main():
    directory, starts = sys.argv[1], int(sys.argv[2])
    results = []
    with tempfile.TemporaryDirectory() as items:
        with open(os.path.join(items, "name"), "w") as item:
            item.write("twenty bytes of text\n")
        for case in make_cases(directory, items):
            try:
                results += measure(directory, case, starts)
            except PermissionError as error:
                print(f"{case.name}: left out: {error}", file=sys.stderr)
    json.dump(results, sys.stdout, indent=1)


if __name__ == "__main__":
    main()
