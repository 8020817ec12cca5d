"""Compares what can be counted exactly with bench/budget.json, or writes that file.

See scripts/check-budget, which runs it. Usage:
bench_budget.py check|update BUDGET.json BUILD_DIR SMALL_BUILD_DIR
"""

import json
import pathlib
import sys
import tempfile

import bench_processes
import bench_table

# By how much a count may pass its budget: compilers and C libraries of one release differ a little.
TOLERANCE = {"system calls": 0, "relocations": 0, "bytes": 0.01, "instructions": 0.05}
FUNCTIONS = ["html_print_text", "utf8_length", "cgidecode", "base64_encode", "base64_decode", "crc32",
             "xml_data_element"]


# Without them the C library takes the same copies of its functions on every x86-64 processor.
ONE_PROCESSOR = {"GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX,-AVX2,-AVX512F,-AVX512VL,-AVX512BW,-BMI1,"
                                   "-BMI2,-ERMS,-FSRM,-SSE4_1,-SSE4_2,-SSSE3,-MOVBE,-RTM,"
                                   "-AVX_Fast_Unaligned_Load"}


def count_instructions(case, program):
    case = case._replace(environment={**case.environment, **ONE_PROCESSOR})
    return bench_processes.count_instructions(case, program)


def count_programs(directory, found):
    """Returns the names of the programs that only root can run."""
    left_out = []
    with tempfile.TemporaryDirectory() as items:
        pathlib.Path(items, "name").write_text("twenty bytes of text\n")
        for case in bench_processes.make_cases(directory, items, peers=False):
            program = case.programs["library"]
            try:
                bench_processes.check(case)
            except PermissionError as error:
                print(f"{case.name}: left out: {error}")
                left_out.append(case.name)
                continue
            found["system calls"][case.name] = bench_processes.count_calls(case, program)
            found["instructions"][case.name] = count_instructions(case, program)
    return left_out


def count_functions(directory, found):
    programs = {name: ["work", name] for name in ["nothing"] + FUNCTIONS}
    case = bench_processes.make_case(directory, "work", programs)
    counts = {name: count_instructions(case, program)
              for name, program in case.programs.items()}
    for name in FUNCTIONS:
        found["instructions"][name] = counts[name] - counts["nothing"]


def count_all(build, small):
    found = {kind: {} for kind in TOLERANCE}
    for name, directory in ("libqmv.so", build), ("libqmv.so, small", small):
        found["bytes"][name], found["relocations"][name] = bench_table.library_facts(directory)
    directory = str(build / "bench")
    left_out = count_programs(directory, found)
    count_functions(directory, found)
    return found, left_out


def judge(found, budget):
    """Prints every count that is not the budget's. Returns how many pass it."""
    passed = 0
    if {kind: set(names) for kind, names in found.items()} != \
            {kind: set(names) for kind, names in budget.items()}:
        print("what is counted and what has a budget are not the same")
        passed += 1
    for kind, counts in found.items():
        for name, count in counts.items():
            allowed = budget.get(kind, {}).get(name, 0)
            if count > allowed * (1 + TOLERANCE[kind]):
                print(f"{name}: {count:,} {kind}, budget {allowed:,}")
                passed += 1
            elif count < allowed * (1 - TOLERANCE[kind]):
                print(f"{name}: {count:,} {kind}; the budget of {allowed:,} can be lowered")
    return passed


def main():
    action, file, build, small = sys.argv[1], *map(pathlib.Path, sys.argv[2:])
    found, left_out = count_all(build, small)
    if action == "update":
        file.write_text(json.dumps(found, indent=2) + "\n")
        return 0
    budget = {kind: {name: count for name, count in counts.items() if name not in left_out}
              for kind, counts in json.loads(file.read_text()).items()}
    passed = judge(found, budget)
    print(f"{sum(map(len, found.values()))} counts, {passed} above their budget")
    return 1 if passed else 0


sys.exit(main())
