#!/usr/bin/env python3
"""Measures the library beside what a user would pick instead, in one run on the same data.

    bench/run.py [--build DIR] [--only WORD] [--minutes N] [--disk DIR] [--report FILE]

Prints one table. With --report it also writes the tables into the document, between their marks, and a
chart beside it (FILE with .svg). Contestants take turns. A ratio is the time of the library divided
by the other's: below 1 the library is faster.
"""

import argparse
import contextlib
import json
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
import report  # noqa: E402

LIBRARY = "qvcommon"
PLANNED_MINUTES = 5
SHARES = {"log": 35, "values": 60, "web": 85, "trees": 80, "disk": 35}  # of the time, by steps
PROGRAMS = [f"bench/bench_{name}" for name in (
    "launch", "jobs", "start", "start_empty", "start_desktop", "log", "values", "requests",
    "identifiers")] + ["src/apps/qvtool/qvtool"]
COMMANDS = ["aria2c", "chattr", "cp", "curl", "md5sum", "nginx", "rm", "rsync", "sync", "taskset",
            "wget"]


class Bench:
    """What all measurements share: where things are, how long they may take, what came of them."""

    def __init__(self, build, folder, disk, minutes):
        self.build, self.folder, self.disk = build, folder, disk
        self.pace = minutes / PLANNED_MINUTES
        self.end = self.step_end = time.monotonic() + minutes * 60
        self.times = {}   # by work and size, then contestant: seconds
        self.memory = {}  # the same: peaks in KiB of whole commands

    def add(self, work, size, contestant, seconds, memory=None):
        self.times.setdefault((work, size), {}).setdefault(contestant, []).append(seconds)
        if memory is not None:
            self.memory.setdefault((work, size), {}).setdefault(contestant, []).append(memory)

    def take_step(self, names, step):
        """Measures the first of the steps that are left, which share the time that is left."""
        left = sum(SHARES[name] for name in names)
        self.step_end = time.monotonic() + (self.end - time.monotonic()) * SHARES[names[0]] / left
        step(self)

    def time_left(self):
        return self.step_end - time.monotonic()

    def until(self, seconds):
        return min(time.monotonic() + seconds * self.pace, self.step_end)

    def program(self, name):
        return self.build / "bench" / f"bench_{name}"

    def run(self, commands):
        """Runs the commands one after the other: seconds, of processor time, largest peak in KiB."""
        seconds, processor, peak = 0, 0, 0
        for command in commands:
            done = subprocess.run([self.program("launch"), *command], stdout=subprocess.PIPE, text=True)
            if done.returncode != 0:
                sys.exit(f"bench: exit code {done.returncode} of {' '.join(map(str, command))}")
            figures = done.stdout.split()
            seconds += float(figures[0])
            processor += float(figures[1])
            peak = max(peak, int(figures[2]))
        return seconds, processor, peak

    def compare(self, work, size, contestants, seconds, before=None, processor=False, most=40):
        """Times whole commands in turn, for so long, but three rounds if the step has time.

        A step that is late has one round of the sizes that the first table shows, and no others.
        """
        if self.time_left() <= 0 and size != report.WORKS[work].shown:
            return
        names = list(contestants)
        start, until = time.monotonic(), self.until(seconds)
        turn = 0
        while turn == 0 or (turn < most and has_time(start, turn, until if turn >= 3 else self.step_end)):
            shift = turn % len(names)
            for name in names[shift:] + names[:shift]:
                commands = contestants[name]
                if before:
                    before(name)
                wall, used, peak = self.run(commands(turn) if callable(commands) else commands)
                self.add(work, size, name, used if processor else wall, peak)
            turn += 1

    def run_benchmark(self, name, seconds, only=".", arguments=(), min_time=0.02):
        """Runs a Google Benchmark program, for so long, but once at least."""
        start, until = time.monotonic(), self.until(seconds)
        turn = 0
        while turn == 0 or has_time(start, turn, until):
            self.repeat_benchmark(name, only, arguments, min_time)
            turn += 1

    def repeat_benchmark(self, name, only, arguments, min_time):
        """Three rounds of it on one processor, its contestants interleaved at random."""
        output = subprocess.run(
            ["taskset", "-c", "1" if os.cpu_count() > 1 else "0", self.program(name), *arguments,
             "--benchmark_format=json", f"--benchmark_filter={only}",
             "--benchmark_repetitions=3", "--benchmark_enable_random_interleaving=true",
             f"--benchmark_min_time={min_time}"],
            check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        for run in json.loads(output)["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                sys.exit(f"bench: {run['name']} failed")
            parts = [part for part in run["name"].split("/")
                     if not part.startswith(("repeats:", "real_time", "process_time"))]
            size = parts[2] if len(parts) > 2 else ""
            if parts[-1].startswith("threads:"):
                size = parts[-1].removeprefix("threads:")
            self.add(parts[0], int(size) if size else "", parts[1],
                     run["cpu_time"] / 1e9)


def has_time(start, turns, until):
    """Whether one more turn, as long as those since the start, ends in time."""
    now = time.monotonic()
    return now + (now - start) / turns <= until


@contextlib.contextmanager
def web_server(folder):
    """nginx on a free port of the loopback and the first processor; the folder has its documents."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    config = folder / "nginx.conf"
    config.write_text(
        f"daemon off; master_process off; pid {folder}/nginx.pid; error_log {folder}/nginx.log;"
        " events {} http { access_log off; sendfile on; keepalive_requests 1000000;"
        f" client_body_temp_path {folder}/body; proxy_temp_path {folder}/proxy;"
        f" fastcgi_temp_path {folder}/fastcgi; uwsgi_temp_path {folder}/uwsgi;"
        f" scgi_temp_path {folder}/scgi;"
        f" server {{ listen 127.0.0.1:{port}; root {folder}/www; }} }}")
    (folder / "www").mkdir()
    server = subprocess.Popen(["taskset", "-c", "0", find("nginx"), "-e", folder / "nginx.log", "-c", config],
                              stderr=subprocess.DEVNULL)
    try:
        for _ in range(100):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port)):
                break
            time.sleep(0.05)
        yield folder / "www", f"http://127.0.0.1:{port}"
    finally:
        server.terminate()
        server.wait()


def find(command):
    return shutil.which(command, path=os.environ["PATH"] + ":/usr/sbin:/sbin")


def make_file(path, size):
    block = os.urandom(1 << 20)
    with open(path, "wb") as file:
        for start in range(0, size, len(block)):
            file.write(block[: min(len(block), size - start)])


def measure_log(bench):
    bench.run_benchmark("log", 30)


def measure_values(bench):
    bench.run_benchmark("identifiers", 8)
    bench.run_benchmark("values", 25, "/(1024|1048576|140|4096|65536|100000|1000000)$")
    bench.run_benchmark("values", 10, "/(67108864|10000000)$", min_time=0.001)
    jobs = bench.program("jobs")
    text = bench.folder / "text"
    make_file(text, 64 << 20)
    bench.compare("memory-gzip", 64 << 20, {LIBRARY: [[jobs, "gzip", text]]}, 0)
    entry = {"name": "Jane Roe", "number": "+74955550123", "address": "sip:jane@example.test"}
    document = {"contacts": [{**entry, "id": number} for number in range(100_000)]}
    text.write_text(json.dumps(document, indent=4))
    bench.compare("memory-json", text.stat().st_size, {LIBRARY: [[jobs, "json", text]]}, 0)
    text.unlink()


def measure_web(bench):
    with web_server(bench.folder) as (documents, url):
        for size in (1 << 10, 64 << 10, 1 << 20):
            make_file(documents / str(size), size)
        bench.run_benchmark("requests", 15, arguments=[f"{url}/BYTES"], min_time=0.03)
        measure_start(bench, f"{url}/1024")
        for size in (64 << 20, 1 << 30):
            measure_download(bench, documents, url, size)


def measure_start(bench, url):
    program, empty, desktop = map(bench.program, ("start", "start_empty", "start_desktop"))
    idle = {"empty Qt program": [[empty]], "empty desktop program": [[desktop]]}
    bench.compare("start", "", {LIBRARY: [[program]], **idle}, 2)
    log = [program, "log", bench.folder / "start.log"]
    bench.compare("start-log", "", {LIBRARY: [log], **idle}, 2)
    bench.compare("start-request", "", {
        LIBRARY: [[program, "request", url]],
        "bare Qt request": [[empty, "request", url]],
        "desktop program with TLS set up": [[desktop, "request-tls", url]]}, 3)


def measure_download(bench, documents, url, size):
    document, target = documents / "document", bench.folder / "target"
    make_file(document, size)
    md5 = subprocess.run(["md5sum", document], check=True, text=True,
                         stdout=subprocess.PIPE).stdout.split()[0]
    url = f"{url}/document"
    check = ["md5sum", target]
    bench.compare("download", size, {
        LIBRARY: [[bench.build / "src/apps/qvtool/qvtool", "download", "--md5", md5, url, target]],
        "curl+md5sum": [["curl", "-s", "-o", target, url], check],
        "wget+md5sum": [["wget", "-q", "-O", target, url], check],
        "aria2c": [["aria2c", "-q", "--allow-overwrite=true", "--file-allocation=none",
                    f"--checksum=md5={md5}", "-d", bench.folder, "-o", "target", url]],
    }, 5, before=lambda _: target.unlink(missing_ok=True))
    bench.compare("md5", size, {LIBRARY: [[bench.program("jobs"), "md5", document]],
                                "md5sum": [["md5sum", document]]}, 3)
    document.unlink()
    target.unlink(missing_ok=True)


def measure_trees(bench):
    jobs = bench.program("jobs")
    tree, target = bench.folder / "tree", bench.folder / "copy"

    def remove_target(_=None):
        shutil.rmtree(target, ignore_errors=True)

    def make_target(_):
        remove_target()
        subprocess.run(["cp", "-r", tree, target], check=True)

    copies = {LIBRARY: [[jobs, "copy", LIBRARY, tree, target]],
              "cp": [["cp", "-r", tree, target]],
              "rsync": [["rsync", "-a", f"{tree}/", target]],
              "std::filesystem": [[jobs, "copy", "filesystem", tree, target]],
              "QFile::copy": [[jobs, "copy", "qfile", tree, target]]}
    removals = {LIBRARY: [[jobs, "remove", LIBRARY, target]], "rm": [["rm", "-rf", target]],
                "std::filesystem": [[jobs, "remove", "filesystem", target]]}
    for suffix, files, depth in (("", 20000, 1), ("-deep", 5000, 40), ("", 5000, 1), ("", 80000, 1)):
        if bench.time_left() <= 0 and files != report.WORKS[f"copy{suffix}"].shown:
            continue
        make_tree(bench, tree, files, depth, 1000)
        few = 2 if files == 80000 else None
        bench.compare(f"copy{suffix}", files, dict(list(copies.items())[:few]), 6, remove_target)
        bench.compare(f"remove{suffix}", files, dict(list(removals.items())[:few]), 3, make_target)
        remove_target()
        shutil.rmtree(tree)
    make_tree(bench, tree, 1, 1, 2 << 30)
    make_target(None)  # a virtual machine pays for the memory that it uses anew, whoever asks for it
    bench.compare("copy-file", 2 << 30, dict(list(copies.items())[:3]), 6, remove_target,
                  processor=True)
    remove_target()
    shutil.rmtree(tree)


def make_tree(bench, tree, files, depth, size):
    subprocess.run([bench.program("jobs"), "make", tree, str(files), str(depth), str(size)], check=True)


# Deleted inodes make ext4 slower at making new ones, near them: so each round has a directory of its
# own, far from the others, and nothing is deleted until the end.
def measure_disk(bench):
    with tempfile.TemporaryDirectory(prefix="bench-", dir=bench.disk) as top:
        for files in (5000, 20000):
            start = time.monotonic()
            place = pathlib.Path(top) / str(files)
            place.mkdir()
            subprocess.run([find("chattr"), "+T", place], stderr=subprocess.DEVNULL)  # ext4's
            measure_disk_tree(bench, place, files)
            if bench.time_left() < 2 * (time.monotonic() - start):
                break  # a round of four times as many would take too long


def measure_disk_tree(bench, place, files):
    jobs, tree, flush = bench.program("jobs"), place / "tree", [["sync", "-f", place]]
    make_tree(bench, tree, files, 1, 1000)
    subprocess.run(["sync", "-f", place], check=True)

    def into(name, *command):
        def commands(turn):
            target = place / f"{name}{turn}"
            target.mkdir()
            return [[*command, target / "copy"]]
        return commands

    def flushed(commands):
        return lambda turn: commands(turn) + flush

    bench.compare("copy-disk", files, {
        LIBRARY: into("library", jobs, "copy", LIBRARY, tree),
        "cp+sync": flushed(into("cp", "cp", "-r", tree)),
        "rsync+sync": flushed(into("rsync", "rsync", "-a", f"{tree}/"))}, 5)
    copies = sorted(place.glob("*/copy"))
    made = iter(copies)
    bench.compare("remove-disk", files, {
        LIBRARY: lambda _: [[jobs, "remove", LIBRARY, next(made)]] + flush,
        "rm+sync": lambda _: [["rm", "-rf", next(made)]] + flush}, 0, most=len(copies) // 2)


STEPS = {"log": measure_log, "values": measure_values, "web": measure_web, "trees": measure_trees,
         "disk": measure_disk}


def busy_share(seconds=2):
    """The part of the processors' time that other work takes."""
    def times():
        with open("/proc/stat", encoding="ascii") as file:
            return [int(value) for value in file.readline().split()[1:]]
    before = times()
    time.sleep(seconds)
    spent = [now - then for now, then in zip(times(), before)]
    return 1 - (spent[3] + spent[4]) / sum(spent)


def check(build, report_file, parser):
    """All that could go wrong after minutes of measuring."""
    missing = [name for name in PROGRAMS if not (build / name).exists()]
    missing += [name for name in COMMANDS if not find(name)]
    if missing:
        parser.error(f"these are missing (see ./qv setup --bench): {', '.join(missing)}")
    if report_file and not report.has_marks(report_file):
        parser.error(f"{report_file} is no document with the marks of a report")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/release"))
    parser.add_argument("--only", choices=STEPS, help="measure this alone")
    parser.add_argument("--report", type=pathlib.Path, help="write the tables into this document")
    parser.add_argument("--minutes", type=float, default=PLANNED_MINUTES,
                        help=f"how long ({PLANNED_MINUTES}); less time has fewer rounds and sizes")
    parser.add_argument("--disk", default="/var/tmp", help="a directory on a disk (/var/tmp)")
    options = parser.parse_args()
    if options.only and options.report:
        parser.error("a report is made of all measurements")
    check(options.build, options.report, parser)
    busy, start = busy_share(), time.monotonic()
    shared = "/dev/shm" if os.path.isdir("/dev/shm") else None
    with tempfile.TemporaryDirectory(prefix="bench-", dir=shared) as folder:
        bench = Bench(options.build.resolve(), pathlib.Path(folder), options.disk, options.minutes)
        names = [options.only] if options.only else list(STEPS)
        while names:
            print(f"bench: {names[0]}, after {time.monotonic() - start:.0f} s", file=sys.stderr, flush=True)
            bench.take_step(names, STEPS[names[0]])
            del names[0]
    tables = report.Tables(bench.times, bench.memory)
    tables.print()
    if options.report:
        tables.write(options.report, (time.monotonic() - start) / 60, busy)


if __name__ == "__main__":
    main()
