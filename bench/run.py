#!/usr/bin/env python3
"""Measures the library beside what a user would pick instead, in one run on the same data.

    bench/run.py [--build DIR] [--only WORD] [--rounds N] [--report FILE]

Prints one table. With --report it also writes the table, with a chart beside it (FILE with .svg), and
what the work costs in memory. Everything lies on tmpfs and talks over loopback. A ratio is the time
of the library divided by the other's: below 1 the library is faster.
"""

import argparse
import contextlib
import json
import math
import os
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time

LIBRARY = "qvcommon"

# Work: what it is, whom to be compared with first, the ratio to reach (None: nothing was promised).
WORKS = {
    "log-line": ("log line to a file, by length of the text", "log4cpp", 0.75),
    "log-dropped": ("log line that the level drops, by threads", "log4cpp", None),
    "gzip": ("gzip, bytes", "zlib", 1.03),
    "gunzip": ("gunzip, bytes of the result", "zlib", 1.03),
    "md5": ("MD5 of a file, bytes", "md5sum", 1.05),
    "request": ("request, by bytes of the reply", "QNetworkAccessManager", 1.05),
    "download": ("verified download, bytes", "curl+md5sum", 0.95),
    "copy": ("copy of a tree, files of 1 kB", "QFile::copy", 1.15),
    "copy-deep": ("copy, 40 folders deep, files of 1 kB", "QFile::copy", 1.15),
    "copy-file": ("copy of one file, bytes", "QFile::copy", 1.15),
    "remove": ("removal of a tree, files", "rm", 2.0),
    "remove-deep": ("removal, 40 folders deep, files", "rm", 2.0),
    "parse-address": ("parsing a SIP address", "libosip2", 1.0),
    "parse-other": ("parsing numbers, names, Skype", "patterns", None),
    "parse-junk": ("refusing what is no address", "patterns", None),
    "parse-long": ("parsing adversarial text, characters", "patterns", None),
    "split": ("splitting 1 MB, by bytes a piece", "toUtf8", 2.0),
    "json-load": ("loading a JSON file, bytes", "QJsonDocument", 1.05),
    "json-save": ("saving a JSON file, bytes", "QJsonDocument", 1.05),
    "json-load-key": ("loading it with a key, bytes", "QJsonDocument", None),
    "json-save-key": ("saving it with a key, bytes", "QJsonDocument", None),
    "start": ("start, end", "empty Qt program", None),
    "start-log": ("start, first log line, end", "empty Qt program", None),
    "start-request": ("start, first request, end", "bare Qt request", None),
}
# The plain build of this library took 319 ns for a line that is dropped, on one thread.
DROPPED_GOAL_NS = 239
START_GOAL_MS = 5
# The keyed file is compared with a plain one by Qt.
BORROWED = {"json-load-key": "json-load", "json-save-key": "json-save"}


class Results:
    """Seconds by work, size and contestant; peak memory in KiB of whole commands."""

    def __init__(self):
        self.times = {}
        self.memory = {}

    def add(self, work, size, contestant, seconds, memory=None):
        self.times.setdefault((work, size), {}).setdefault(contestant, []).append(seconds)
        if memory is not None:
            self.memory.setdefault((work, size), {}).setdefault(contestant, []).append(memory)

    def contestants(self, work, size):
        found = dict(self.times[work, size])
        if work in BORROWED:
            for name, values in self.times.get((BORROWED[work], size), {}).items():
                if name != LIBRARY:
                    found[name] = values
        return found


def run_timed(commands):
    """Runs the commands one after the other; returns the seconds and the largest peak in KiB."""
    peak = 0
    start = time.perf_counter()
    for command in commands:
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode != 0:
            sys.exit(f"bench: exit code {child.returncode} of {' '.join(map(str, command))}")
        peak = max(peak, usage.ru_maxrss)
    return time.perf_counter() - start, peak


def compare(results, work, size, contestants, rounds, before=None):
    """Times whole commands in turn, each round in another order."""
    names = list(contestants)
    for round_number in range(rounds):
        shift = round_number % len(names)
        for name in names[shift:] + names[:shift]:
            if before:
                before(name)
            results.add(work, size, name, *run_timed(contestants[name]))


def run_benchmark(results, program, rounds, arguments=(), min_time=0.02):
    """Runs a Google Benchmark program with its contestants interleaved at random."""
    output = subprocess.run(
        [program, *arguments, "--benchmark_format=json", f"--benchmark_repetitions={2 * rounds}",
         "--benchmark_enable_random_interleaving=true", f"--benchmark_min_time={min_time}"],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    for run in json.loads(output)["benchmarks"]:
        if run["run_type"] != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"bench: {run['name']} failed")
        parts = [part for part in run["name"].split("/") if part != "real_time"]
        parts = [part for part in parts if not part.startswith("repeats:")]
        size = parts[2] if len(parts) > 2 else ""
        if parts[-1].startswith("threads:"):
            size = parts[-1].removeprefix("threads:")
        results.add(parts[0], int(size) if size else "", parts[1], run["real_time"] / 1e9)


@contextlib.contextmanager
def web_server(folder):
    """nginx on a free port of the loopback, with the folder as its documents."""
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
    server = subprocess.Popen([shutil.which("nginx", path=os.environ["PATH"] + ":/usr/sbin"),
                               "-e", folder / "nginx.log", "-c", config],
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


def make_file(path, size):
    block = os.urandom(1 << 20)
    with open(path, "wb") as file:
        for start in range(0, size, len(block)):
            file.write(block[: min(len(block), size - start)])


def measure_web(results, build, folder, rounds):
    with web_server(folder) as (documents, url):
        for size in (1 << 10, 64 << 10, 1 << 20):
            make_file(documents / str(size), size)
        run_benchmark(results, build / "bench/bench_requests", rounds, [f"{url}/BYTES"])
        measure_start(results, build, folder, rounds, f"{url}/1024")
        for size in (64 << 20, 256 << 20, 1 << 30):
            measure_download(results, build, folder, max(rounds // 2, 1), documents, url, size)


def measure_start(results, build, folder, rounds, url):
    program, empty = build / "bench/bench_start", build / "bench/bench_start_empty"
    rounds *= 4
    desktop = build / "bench/bench_start_desktop"
    idle = {"empty Qt program": [[empty]], "empty desktop program": [[desktop]]}
    compare(results, "start", "", {LIBRARY: [[program]], **idle}, rounds)
    log = [program, "log", folder / "start.log"]
    compare(results, "start-log", "", {LIBRARY: [log], **idle}, rounds)
    compare(results, "start-request", "", {
        LIBRARY: [[program, "request", url]],
        "bare Qt request": [[empty, "request", url]],
        "desktop program with TLS set up": [[desktop, "request-tls", url]]}, rounds)


def measure_download(results, build, folder, rounds, documents, url, size):
    document, target = documents / "document", folder / "target"
    make_file(document, size)
    md5 = subprocess.run(["md5sum", document], check=True, text=True,
                         stdout=subprocess.PIPE).stdout.split()[0]
    url = f"{url}/document"
    check = ["md5sum", target]
    compare(results, "download", size, {
        LIBRARY: [[build / "src/apps/qvtool/qvtool", "download", "--md5", md5, url, target]],
        "curl+md5sum": [["curl", "-s", "-o", target, url], check],
        "wget+md5sum": [["wget", "-q", "-O", target, url], check],
        "aria2c": [["aria2c", "-q", "--allow-overwrite=true", "--file-allocation=none",
                    f"--checksum=md5={md5}", "-d", folder, "-o", "target", url]],
    }, rounds, before=lambda _: target.unlink(missing_ok=True))
    compare(results, "md5", size, {LIBRARY: [[build / "bench/bench_jobs", "md5", document]],
                                   "md5sum": [["md5sum", document]]}, rounds)
    document.unlink()
    target.unlink()


def measure_trees(results, build, folder, rounds):
    jobs = build / "bench/bench_jobs"
    tree, target = folder / "tree", folder / "copy"

    def remove_target(_=None):
        shutil.rmtree(target, ignore_errors=True)

    def copies(source):
        return {LIBRARY: [[jobs, "copy", LIBRARY, source, target]],
                "QFile::copy": [[jobs, "copy", "qfile", source, target]],
                "std::filesystem": [[jobs, "copy", "filesystem", source, target]],
                "cp": [["cp", "-r", source, target]],
                "rsync": [["rsync", "-a", f"{source}/", target]]}

    def make_target(_):
        remove_target()
        subprocess.run(["cp", "-r", tree, target], check=True)

    def removals():
        return {LIBRARY: [[jobs, "remove", LIBRARY, target]], "rm": [["rm", "-rf", target]],
                "std::filesystem": [[jobs, "remove", "filesystem", target]]}

    for suffix, files, depth in (("", 5000, 1), ("", 20000, 1), ("", 80000, 1), ("-deep", 5000, 40)):
        subprocess.run([jobs, "make", tree, str(files), str(depth), "1000"], check=True)
        turns = rounds if files < 80000 else max(rounds * 2 // 3, 1)
        compare(results, f"copy{suffix}", files, copies(tree), turns, remove_target)
        compare(results, f"remove{suffix}", files, removals(), turns, make_target)
        remove_target()
        shutil.rmtree(tree)
    subprocess.run([jobs, "make", tree, "1", "1", str(2 << 30)], check=True)
    compare(results, "copy-file", 2 << 30, copies(tree), max(rounds // 2, 1), remove_target)
    remove_target()
    shutil.rmtree(tree)


def measure_memory(results, build, folder):
    """The memory of the work that is timed within a process, as a command of its own."""
    jobs = build / "bench/bench_jobs"
    text = folder / "text"
    make_file(text, 64 << 20)
    compare(results, "memory: gzip and gunzip", 64 << 20, {LIBRARY: [[jobs, "gzip", text]]}, 1)
    entry = {"name": "Jane Roe", "number": "+74955550123", "address": "sip:jane@example.test"}
    document = {"contacts": [{**entry, "id": number} for number in range(100_000)]}
    text.write_text(json.dumps(document, indent=4))
    size = text.stat().st_size
    compare(results, "memory: JSON load and save", size, {LIBRARY: [[jobs, "json", text]]}, 1)
    compare(results, "memory: a program that does nothing", "", {LIBRARY: [[build / "bench/bench_start"]]}, 1)
    text.unlink()


def seconds_text(seconds):
    for unit, scale in (("s", 1.0), ("ms", 1e3), ("µs", 1e6)):
        if seconds * scale >= 1:
            return f"{seconds * scale:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"


def size_text(size):
    if size == "":
        return ""
    for unit, scale in (("Gi", 1 << 30), ("Mi", 1 << 20), ("Ki", 1 << 10)):
        if size % scale == 0:
            return f"{size // scale} {unit}"
    return f"{size:,}"


def spread(values):
    """Half the distance between the quartiles, in percent of the median."""
    if len(values) < 4:
        return (max(values) - min(values)) / 2 / statistics.median(values) * 100
    low, _, high = statistics.quantiles(values, n=4)
    return (high - low) / 2 / statistics.median(values) * 100


def goal_text(work, goal, ours, theirs):
    """What was to be reached, and whether it was."""
    if work == "log-dropped":
        return f"{DROPPED_GOAL_NS} ns", ours * 1e9 <= DROPPED_GOAL_NS
    if work.startswith("start"):
        return f"+{START_GOAL_MS} ms", (ours - theirs) * 1e3 <= START_GOAL_MS
    return (f"{goal:.2f}", ours / theirs <= goal) if goal else ("", None)


def verdict(met, ratio, goal, noise):
    """How a row stands to its goal. A miss by less than the spread of both may be none."""
    if met is None:
        return ""
    if met:
        return "met"
    return "within the spread" if goal and ratio * (1 - noise / 100) <= goal else "missed"


def table(results):
    """Rows: work, size, library, first contestant, ratio, spreads, goal, met, others."""
    rows = []
    for work, (title, first, goal) in WORKS.items():
        for size in sorted({size for name, size in results.times if name == work}, key=str_or_number):
            found = results.contestants(work, size)
            medians = {name: statistics.median(values) for name, values in found.items()}
            ours, theirs = medians[LIBRARY], medians[first]
            wanted, met = goal_text(work, goal, ours, theirs)
            others = ", ".join(f"{name} {seconds_text(value)} ({ours / value:.2f})"
                               for name, value in medians.items() if name not in (LIBRARY, first))
            noise = spread(found[LIBRARY]) + spread(found[first])
            rows.append({
                "verdict": verdict(met, ours / theirs, goal, noise),
                "work": work, "title": title, "size": size_text(size), "ours": seconds_text(ours),
                "first": f"{first} {seconds_text(theirs)}", "ratio": ours / theirs,
                "spread": f"{spread(found[LIBRARY]):.0f} / {spread(found[first]):.0f} %",
                "goal": wanted, "others": others, "extra": ours - theirs,
            })
    return rows


def str_or_number(size):
    return (0, 0) if size == "" else (1, size)


def ratio_text(row):
    if row["work"].startswith("start"):
        return f"{row['extra'] * 1e3:+.1f} ms"
    return f"{row['ratio']:.2f}"


def print_table(rows):
    line = "{:42} {:>8}  {:>9}  {:34} {:>8} {:>11}  {:>7} {}"
    print(line.format("work", "size", LIBRARY, "beside", "ratio", "spread", "goal", ""))
    for row in rows:
        print(line.format(row["title"], row["size"], row["ours"], row["first"], ratio_text(row),
                          row["spread"], row["goal"], row["verdict"]))
        if row["others"]:
            print(f"{'':53}{row['others']}")


def machine():
    cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo")
                if line.startswith("model name")), "unknown processor")
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / (1 << 30)
    system = next((line.split("=")[1].strip().strip('"') for line in open("/etc/os-release")
                   if line.startswith("PRETTY_NAME")), "Linux")
    return (f"{cpu}, {os.cpu_count()} processors, {memory:.0f} GiB of memory, {system}, "
            f"Linux {os.uname().release.split('-')[0]}")


def growth_text(results):
    """How the time grows from the smallest to the largest size of each work."""
    lines = []
    for work, (title, _, _) in WORKS.items():
        sizes = sorted({size for name, size in results.times if name == work and size != ""})
        if len(sizes) < 2:
            continue
        medians = [statistics.median(results.times[work, size][LIBRARY]) for size in sizes]
        steps = ", ".join(f"{size_text(size)}: {seconds_text(value)}"
                          for size, value in zip(sizes, medians))
        lines.append(f"| {title} | {steps} | {sizes[-1] / sizes[0]:,.0f} | "
                     f"{medians[-1] / medians[0]:,.3g} |")
    return lines


def memory_text(results):
    lines = []
    for (work, size), found in results.memory.items():
        title = WORKS[work][0] if work in WORKS else work.removeprefix("memory: ")
        if work.startswith("start"):
            continue
        peaks = {name: statistics.median(values) / 1024 for name, values in found.items()}
        others = ", ".join(f"{name} {value:.0f}" for name, value in peaks.items() if name != LIBRARY)
        lines.append(f"| {title} | {size_text(size)} | {peaks[LIBRARY]:.0f} | {others} |")
    return lines


def chart(rows):
    """Horizontal bars of the ratios on a logarithmic scale; a tick marks the goal."""
    bars = [row for row in rows if not row["work"].startswith(("start", "log-dropped"))]
    step, left, width = 20, 330, 420
    low, high = 1 / 64, 8

    def place(ratio):
        share = math.log(min(max(ratio, low), high) / low) / math.log(high / low)
        return left + share * width

    height = step * len(bars) + 70
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 70} {height}" '
             'font-family="sans-serif" font-size="12">',
             '<rect width="100%" height="100%" fill="#ffffff"/>',
             '<text x="10" y="20" font-size="14">Time of the library divided by that of the '
             'alternative (left of 1: the library is faster)</text>']
    for ratio in (1 / 64, 1 / 16, 1 / 4, 1, 4):
        x = place(ratio)
        label = f"{ratio:g}" if ratio >= 1 else f"1/{1 / ratio:.0f}"
        colour = "#444444" if ratio == 1 else "#dddddd"
        parts.append(f'<line x1="{x:.1f}" y1="46" x2="{x:.1f}" y2="{height - 12}" '
                     f'stroke="{colour}"/><text x="{x:.1f}" y="42" text-anchor="middle" '
                     f'fill="#444444">{label}</text>')
    for number, row in enumerate(bars):
        y = 52 + number * step
        start, end = sorted((place(1), place(row["ratio"])))
        colour = "#2a7f62" if row["ratio"] <= 1 else "#c77d28"
        name = row["first"].rsplit(" ", 2)[0]
        label = f"{row['work']} {row['size']}".strip() + f" : {name}"
        parts.append(f'<text x="{left - 8}" y="{y + 12}" text-anchor="end">{label}</text>'
                     f'<rect x="{start:.1f}" y="{y + 2}" width="{max(end - start, 1):.1f}" '
                     f'height="{step - 7}" fill="{colour}"/>')
        if WORKS[row["work"]][2]:
            x = place(WORKS[row["work"]][2])
            parts.append(f'<line x1="{x:.1f}" y1="{y}" x2="{x:.1f}" y2="{y + step - 3}" '
                         'stroke="#b03060" stroke-width="2"/>')
        parts.append(f'<text x="{left + width + 8}" y="{y + 12}">{row["ratio"]:.2f}</text>')
    return "\n".join(parts + ["</svg>", ""])


def report(path, rows, results, rounds, elapsed):
    """Replaces what stands between the marks of the report; the rest of it is written by hand."""
    lines = [f"Measured by `./qv bench` in {elapsed / 60:.1f} minutes, {rounds} rounds: {machine()}.",
             "", "| Work | Size | Library | Beside | Ratio | Spread | Goal | "
             "| Others (ratio) |", "|---|--:|--:|---|--:|--:|--:|---|---|"]
    for row in rows:
        lines.append(f"| {row['title']} | {row['size']} | {row['ours']} | {row['first']} | "
                     f"{ratio_text(row)} | {row['spread']} | {row['goal']} | {row['verdict']} | "
                     f"{row['others']} |")
    lines += ["", "## Growth", "",
              "| Work | Time by size | Size grows by | Time grows by |", "|---|---|--:|--:|",
              *growth_text(results), "", "## Memory", "",
              "Peak resident memory of the whole program, MiB.", "",
              "| Work | Size | Library | Others |", "|---|--:|--:|---|", *memory_text(results)]
    start, end = "<!-- measured -->", "<!-- /measured -->"
    text = path.read_text()
    head, rest = text.split(start, 1)
    tail = rest.split(end, 1)[1]
    path.write_text("\n".join([head + start, "", *lines, "", end]) + tail)
    path.with_suffix(".svg").write_text(chart(rows))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/release"))
    parser.add_argument("--only", choices=["log", "values", "identifiers", "web", "trees"],
                        help="measure this alone")
    parser.add_argument("--report", type=pathlib.Path, help="write the table into this document")
    parser.add_argument("--rounds", type=int, default=9, help="how often each is measured (9)")
    options = parser.parse_args()
    if options.only and options.report:
        parser.error("a report is made of all measurements")
    build, rounds = options.build.resolve(), options.rounds
    results = Results()
    start = time.monotonic()
    shared = "/dev/shm" if os.path.isdir("/dev/shm") else None
    with tempfile.TemporaryDirectory(prefix="bench-", dir=shared) as folder:
        folder = pathlib.Path(folder)
        steps = {
            "log": lambda: run_benchmark(results, build / "bench/bench_log", rounds),
            "identifiers": lambda: run_benchmark(results, build / "bench/bench_identifiers", rounds),
            "values": lambda: (run_benchmark(results, build / "bench/bench_values", rounds),
                               measure_memory(results, build, folder)),
            "web": lambda: measure_web(results, build, folder, rounds),
            "trees": lambda: measure_trees(results, build, folder, rounds),
        }
        for name, step in steps.items():
            if options.only in (None, name):
                print(f"bench: {name} ...", file=sys.stderr, flush=True)
                step()
    rows = table(results)
    print_table(rows)
    if options.report:
        report(options.report, rows, results, rounds, time.monotonic() - start)


if __name__ == "__main__":
    main()
