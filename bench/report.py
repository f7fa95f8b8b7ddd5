"""What bench/run.py has measured, as tables and a chart."""

import math
import os
import statistics

LIBRARY = "qvcommon"
LARGEST_SPREAD = 10  # percent, of both together; beyond it no goal is judged


class Work:
    """What is measured, beside whom first, the goal, and the size that the first table shows."""

    def __init__(self, title, first, goal=None, shown=None, extra_ms=None):
        self.title, self.first, self.goal, self.shown = title, first, goal, shown
        self.extra_ms = extra_ms  # the goal is a difference, not a ratio


WORKS = {
    "log-dropped": Work("log line that the level drops, by threads", "log4cpp", 1.2, 1),
    "log-line": Work("log line to a file, by length of the text", "log4cpp", 0.75, 250),
    "request": Work("request, by bytes of the reply; processor time", "QNetworkAccessManager", 1.05, 1 << 10),
    "download": Work("verified download, bytes", "curl+md5sum", 0.95, 1 << 30),
    "md5": Work("MD5 of a file, bytes", "md5sum", 1.05, 1 << 30),
    "copy": Work("copy, files of 1 kB, in memory", "cp", 1.2, 20000),
    "copy-deep": Work("copy, 40 folders deep, in memory", "cp", 1.1, 5000),
    "copy-disk": Work("copy, files of 1 kB, on a disk", "cp+sync", 1.3, 5000),
    "copy-file": Work("copy of one file, bytes; processor time", "cp", 1.05, 2 << 30),
    "remove": Work("removal, files of 1 kB, in memory", "rm", 1.25, 20000),
    "remove-deep": Work("removal, 40 folders deep, in memory", "rm", 1.25, 5000),
    "remove-disk": Work("removal, files of 1 kB, on a disk", "rm+sync", 1.25, 5000),
    "gzip": Work("gzip, bytes", "zlib", 1.03, 1 << 20),
    "gunzip": Work("gunzip, bytes of the result", "zlib", 1.03, 1 << 20),
    "parse-address": Work("parsing a SIP address", "libosip2", 1.0, ""),
    "parse-other": Work("parsing numbers, names, Skype", "patterns"),
    "parse-junk": Work("refusing what is no address", "patterns"),
    "parse-long": Work("parsing adversarial text, characters", "patterns"),
    "split": Work("splitting 1 MB, by bytes a piece", "toUtf8", 2.0, 140),
    "json-load": Work("loading a JSON file, bytes", "QJsonDocument", 1.05, 1_000_000),
    "json-save": Work("saving a JSON file, bytes", "QJsonDocument", 1.05, 1_000_000),
    "json-load-key": Work("loading it with a key, bytes", "QJsonDocument", None, 1_000_000),
    "json-save-key": Work("saving it with a key, bytes", "QJsonDocument", None, 1_000_000),
    "start": Work("start, end", "empty Qt program", None, "", 5),
    "start-log": Work("start, first log line, end", "empty Qt program", None, None, 5),
    "start-request": Work("start, first request, end", "bare Qt request", None, None, 5),
    "memory-gzip": Work("gzip and gunzip", None),
    "memory-json": Work("JSON load and save", None),
}
# The keyed file is compared with a plain one by Qt.
BORROWED = {"json-load-key": "json-load", "json-save-key": "json-save"}


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
    if len(values) < 2:
        return math.inf
    if len(values) < 4:
        return (max(values) - min(values)) / 2 / statistics.median(values) * 100
    low, _, high = statistics.quantiles(values, n=4)
    return (high - low) / 2 / statistics.median(values) * 100


class Row:
    """One work of one size."""

    def __init__(self, name, size, times):
        self.name, self.work, self.size = name, WORKS[name], size
        medians = {who: statistics.median(values) for who, values in times.items()}
        self.ours, self.theirs = medians[LIBRARY], medians[self.work.first]
        self.ratio = self.ours / self.theirs
        self.spreads = [spread(times[LIBRARY]), spread(times[self.work.first])]
        self.others = ", ".join(f"{who} {seconds_text(value)} ({self.ours / value:.2f})"
                                for who, value in medians.items()
                                if who not in (LIBRARY, self.work.first))

    def cells(self):
        return [self.work.title, size_text(self.size), seconds_text(self.ours),
                f"{self.work.first} {seconds_text(self.theirs)}", self.ratio_text(), self.goal_text()]

    def ratio_text(self):
        if self.work.extra_ms:
            return f"{(self.ours - self.theirs) * 1e3:+.1f} ms"
        return f"{self.ratio:.2f}"

    def is_measurable(self):
        return sum(self.spreads) <= LARGEST_SPREAD

    def goal_text(self):
        if self.work.extra_ms:
            goal = f"+{self.work.extra_ms} ms"
            met = near = (self.ours - self.theirs) * 1e3 <= self.work.extra_ms
        elif self.work.goal:
            goal = f"{self.work.goal:.2f}"
            met = self.ratio <= self.work.goal
            near = self.ratio * (1 - sum(self.spreads) / 100) <= self.work.goal
        else:
            return ""
        if not self.is_measurable():
            return f"{goal}, not measurable (spread)"
        if met:
            return goal
        return f"{goal}, " + ("within the spread" if near else "missed")

    def spread_text(self):
        return " / ".join("one round" if math.isinf(value) else f"{value:.1f} %"
                          for value in self.spreads)


def machine():
    cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo")
                if line.startswith("model name")), "unknown processor")
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / (1 << 30)
    system = next((line.split("=")[1].strip().strip('"') for line in open("/etc/os-release")
                   if line.startswith("PRETTY_NAME")), "Linux")
    return (f"{cpu}, {os.cpu_count()} processors, {memory:.0f} GiB of memory, {system}, "
            f"Linux {os.uname().release.split('-')[0]}")


def table(heads, rows):
    """A table of Markdown; a head that ends in a colon has its column to the right."""
    rules = ["--:" if head.endswith(":") else "---" for head in heads]
    lines = [[head.removesuffix(":") for head in heads], rules, *rows]
    return [f"| {' | '.join(line)} |" for line in lines]


class Tables:
    def __init__(self, times, memory):
        self.times, self.memory = times, memory
        self.rows = [Row(name, size, self.contestants(name, size))
                     for name, work in WORKS.items() if work.first for size in self.sizes(name)]

    def sizes(self, name):
        return sorted({size for known, size in self.times if known == name}, key=lambda size: size or 0)

    def contestants(self, name, size):
        lent = self.times.get((BORROWED.get(name), size), {})
        return {**{who: values for who, values in lent.items() if who != LIBRARY},
                **self.times[name, size]}

    def print(self):
        line = "{:42} {:>9}  {:>9}  {:34} {:>8}  {:30} {}"
        print(line.format("work", "size", LIBRARY, "beside", "ratio", "goal", "spread"))
        for row in self.rows:
            print(line.format(*row.cells(), row.spread_text()))
            if row.others:
                print(f"{'':54}{row.others}")
        for line in self.memory_rows():
            print("peak MiB:", *line)

    def costs(self):
        rows = [[*row.cells(), row.spread_text()] for row in self.rows if row.size == row.work.shown]
        return table(["Work", "Size:", "Library:", "Beside", "Ratio:", "Goal", "Spread:"], rows)

    def growth(self):
        rows = []
        for name, work in WORKS.items():
            sizes = self.sizes(name)
            if len(sizes) < 2:
                continue
            medians = [statistics.median(self.times[name, size][LIBRARY]) for size in sizes]
            steps = ", ".join(f"{size_text(size)}: {seconds_text(value)}"
                              for size, value in zip(sizes, medians))
            rows.append([work.title, steps, f"{sizes[-1] / sizes[0]:,.0f}",
                         f"{medians[-1] / medians[0]:,.3g}"])
        return table(["Work", "Time by size", "Size grows by:", "Time grows by:"], rows)

    def memory_rows(self, shown_only=False):
        rows = []
        for (name, size), found in self.memory.items():
            if shown_only and WORKS[name].shown not in (None, size):
                continue
            peaks = {who: statistics.median(values) / 1024 for who, values in found.items()}
            others = ", ".join(f"{who} {value:.0f}" for who, value in peaks.items() if who != LIBRARY)
            rows.append([WORKS[name].title.split(";")[0], size_text(size), f"{peaks[LIBRARY]:.0f}",
                         others])
        return rows

    def write(self, path, minutes, busy):
        """Replaces what stands between the marks; the rest of the document is written by hand."""
        memory = table(["Work", "Size:", "Library:", "Others"], self.memory_rows(shown_only=True))
        measured = (f"Measured by `./qv bench --report` in {minutes:.1f} minutes: {machine()}; "
                    f"{busy * 100:.0f} % busy just before.")
        if busy > 0.1:
            measured += (" Other work was running: figures of whole commands (downloads, MD5, trees, "
                         "starts) are too high, and their ratios uncertain.")
        text = path.read_text()
        for name, lines in (("costs", [measured, "", *self.costs()]), ("growth", self.growth()),
                            ("memory", memory)):
            start, end = marks(name)
            head, rest = text.split(start, 1)
            text = "\n".join([head + start, "", *lines, "", end]) + rest.split(end, 1)[1]
        path.write_text(text)
        path.with_suffix(".svg").write_text(chart([row for row in self.rows
                                                   if row.size == row.work.shown
                                                   and not row.work.extra_ms]))


def marks(name):
    return f"<!-- {name} -->", f"<!-- /{name} -->"


def has_marks(path):
    if not path.is_file():
        return False
    text = path.read_text()
    return all(mark in text for name in ("costs", "growth", "memory") for mark in marks(name))


def chart(rows):
    """Horizontal bars of the ratios on a logarithmic scale, for a screen as narrow as a phone's."""
    step, left, width = 34, 10, 300
    low, high = 1 / 4, 8

    def place(ratio):
        return left + math.log(min(max(ratio, low), high) / low) / math.log(high / low) * width

    height = step * len(rows) + 76
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 360 {height}" width="360" '
             f'height="{height}" font-family="sans-serif" font-size="13">',
             '<rect width="100%" height="100%" fill="#ffffff"/>',
             '<text x="10" y="20">Time of the library, divided by the other\'s</text>',
             '<text x="10" y="38" fill="#666666">left of 1: faster; red: the goal; grey: not measurable'
             '</text>']
    for ratio in (1 / 4, 1 / 2, 1, 2, 4, 8):
        label = f"{ratio:g}" if ratio >= 1 else f"1/{1 / ratio:.0f}"
        colour = "#444444" if ratio == 1 else "#dddddd"
        parts.append(f'<line x1="{place(ratio):.1f}" y1="62" x2="{place(ratio):.1f}" '
                     f'y2="{height - 8}" stroke="{colour}"/><text x="{place(ratio):.1f}" y="57" '
                     f'text-anchor="middle" fill="#666666">{label}</text>')
    for number, row in enumerate(rows):
        y = 66 + number * step
        start, end = sorted((place(1), place(row.ratio)))
        colour = "#2a7f62" if row.ratio <= (row.work.goal or 1) else "#c77d28"
        if not row.is_measurable():
            colour = "#999999"
        title = row.name.replace("-", " ")
        parts.append(f'<text x="{left}" y="{y + 13}">{title} {size_text(row.size)} : '
                     f'{row.work.first}</text>'
                     f'<rect x="{start:.1f}" y="{y + 17}" width="{max(end - start, 1):.1f}" '
                     f'height="11" fill="{colour}"/>'
                     f'<text x="{left + width + 8}" y="{y + 27}">{row.ratio:.2f}</text>')
        if row.work.goal:
            x = place(row.work.goal)
            parts.append(f'<line x1="{x:.1f}" y1="{y + 15}" x2="{x:.1f}" y2="{y + 30}" '
                         'stroke="#b03060" stroke-width="2"/>')
    return "\n".join(parts + ["</svg>", ""])
