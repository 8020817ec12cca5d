"""Prints what scripts/bench measured as tables.

Usage: bench_table.py FUNCTIONS.json PROCESSES.json BUILD_DIR SMALL_BUILD_DIR
"""

import collections
import json
import pathlib
import re
import subprocess
import sys
import tempfile


def function_results(path):
    """The least processor time of all repetitions: what else the machine does only adds to it."""
    least = {}
    for run in json.loads(pathlib.Path(path).read_text())["benchmarks"]:
        if run["run_type"] == "iteration" and not run.get("error_occurred"):
            case, way = run["name"].rsplit("/", 1)
            time = run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6}[run["time_unit"]]
            least[case, way] = min(time, least.get((case, way), time))
    return [{"case": case, "way": way, "value": value, "unit": "ns"}
            for (case, way), value in sorted(least.items())]


def readable(value, unit):
    if value is None:
        return "-"
    if unit != "ns":
        return f"{value:,}"
    for limit, divisor, name in (1e3, 1, "ns"), (1e6, 1e3, "us"), (float("inf"), 1e6, "ms"):
        if value < limit:
            return f"{value / divisor:.3g} {name}" if value / divisor < 100 else \
                f"{value / divisor:.0f} {name}"


def ratio(value, base):
    return "-" if value is None or not base else f"{value / base:.2f}"


def print_table(rows):
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    for row in rows:
        print("  ".join(cell.ljust(width) if i == 0 else cell.rjust(width)
                        for i, (cell, width) in enumerate(zip(row, widths))))
    print()


def print_results(title, results):
    cases = collections.defaultdict(dict)
    units = {}
    for result in results:
        cases[result["case"]][result["way"]] = result["value"]
        units[result["case"]] = result["unit"]
    rows = [[title, "library", "literal", "literal/library", "limit", "library/limit", "best peer",
             "peer/library", "peer's name"]]
    for case, ways in cases.items():
        peers = [(value, way[len("peer:"):]) for way, value in ways.items()
                 if way.startswith("peer:")]
        peer, name = min(peers, default=(None, "-"))
        library, literal, limit = (ways.get(way) for way in ("library", "literal", "limit"))
        unit = units[case]
        rows.append([case, readable(library, unit), readable(literal, unit), ratio(literal, library),
                     readable(limit, unit), ratio(library, limit), readable(peer, unit),
                     ratio(peer, library), name])
    print_table(rows)


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def section_sizes(build):
    """Bytes of the objects' code and read-only data by source folder."""
    sizes = collections.defaultdict(lambda: [0, 0])
    for directory in "qmv_objects.dir", "qmv.dir":
        root = build / "CMakeFiles" / directory
        for file in root.glob("*/*.o"):
            folder = sizes[file.parent.name]
            for name, size in re.findall(r"^(\.\S+) +(\d+)", output("size", "-A", str(file)), re.M):
                if name.startswith(".text"):
                    folder[0] += int(size)
                elif name.startswith((".rodata", ".data.rel.ro")):
                    folder[1] += int(size)
    return sizes


def library_facts(build):
    library = str(build / "libqmv.so")
    with tempfile.NamedTemporaryFile() as stripped:
        output("strip", "-o", stripped.name, library)
        size = pathlib.Path(stripped.name).stat().st_size
    relocations = re.findall(r"contains (\d+) entr", output("readelf", "-rW", library))
    return size, sum(map(int, relocations))


def print_sizes(build, small):
    normal_sizes, small_sizes = section_sizes(build), section_sizes(small)
    rows = [["folder", "code", "read-only data", "code, small", "read-only data, small"]]
    for folder in sorted(normal_sizes):
        rows.append([folder] + [f"{size:,}"
                                for size in normal_sizes[folder] + small_sizes[folder]])
    totals = [sum(column) for sizes in (normal_sizes, small_sizes) for column in zip(*sizes.values())]
    rows.append(["all"] + [f"{total:,}" for total in totals])
    print_table(rows)
    facts = zip(("libqmv.so, stripped: bytes", "libqmv.so: dynamic relocations"),
                library_facts(build), library_facts(small))
    print_table([["", "as it is", "small"]] +
                [[name, f"{normal:,}", f"{smaller:,}"] for name, normal, smaller in facts])


def main():
    functions, processes, build, small = sys.argv[1:]
    print_results("function", function_results(functions))
    print_results("program", json.loads(pathlib.Path(processes).read_text()))
    print_sizes(pathlib.Path(build), pathlib.Path(small))


if __name__ == "__main__":
    main()
