#!/usr/bin/env python3
"""Writes benchmarks.md and benchmarks.svg from the JSON that velmora_benchmarks wrote."""

import json
import math
import sys
from pathlib import Path

ENGINES = [
    ("ours", "Velmora", "#0b6e99"),
    ("stock", "SQLite's own bm25", "#c0392b"),
    ("xapian", "Xapian", "#8e44ad"),
]


NEAREST = (150, 2400)


class Results:
    """What was measured: the counters of each benchmark, by corpus."""

    def __init__(self, path):
        data = json.loads(Path(path).read_text())
        self.context = data["context"]
        self.counters = {}
        for run in data["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"bench_report.py: {run['name']} failed: {run['error_message']}")
            benchmark, corpus = run["name"].split("/")[:2]
            self.counters[benchmark, corpus] = run
        self.corpora = [corpus for benchmark, corpus in self.counters if benchmark == "text_query"]
        self.vectors = [kind for benchmark, kind in self.counters if benchmark == "nearest"]
        self.generated = [corpus for corpus in self.corpora if corpus != "real"]
        if not self.corpora:
            sys.exit(f"bench_report.py: {path} holds no results; was the run cut short?")

    def of(self, benchmark):
        """The corpora that a benchmark ran on."""
        return [corpus for name, corpus in self.counters if name == benchmark]

    def get(self, benchmark, corpus, counter):
        return self.counters[benchmark, corpus][counter]

    def ratio(self, benchmark, corpus, counter, base):
        return self.get(benchmark, corpus, counter) / self.get(benchmark, corpus, base)


def ms(value):
    return f"{value:.3f}" if value < 10 else f"{value:,.1f}" if value < 100 else f"{value:,.0f}"


def vectors_title(results, kind):
    run = results.counters["nearest", kind]
    return f"{run['rows']:,.0f} x {run['dimensions']:.0f} {kind}"


def title(results, corpus):
    symbols = results.get("text_query", corpus, "symbols")
    return f"{symbols:,.0f}" + (" (real)" if corpus == "real" else "")


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def machine():
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "unknown processor"


# --- The bars ---------------------------------------------------------------------------------


def bytes_a_symbol(results, corpus):
    return results.ratio("memory", corpus, "total_bytes", "symbols")


def build_ratio(results, corpus):
    run = results.counters["corpus_build", corpus]
    return (run["build"] - run["read"]) / run["bare_fill"]


def bars(results):
    """(what is promised, what was measured, whether it is met)"""
    present = [corpus for corpus in ("100000", "real") if corpus in results.corpora]
    for corpus in results.corpora:
        where = f"{title(results, corpus)} symbols"
        for percent in ("p50", "p95"):
            faster = results.ratio("text_query", corpus, f"xapian_{percent}", f"ours_{percent}")
            yield (f"Text query, {where}, {percent}: not slower than Xapian in memory",
                   f"{faster:.1f} times as fast", faster >= 1)
    for corpus in present:
        faster = results.ratio("text_query", corpus, "stock_p50", "ours_p50")
        yield (f"Text query, {title(results, corpus)} symbols, p50: at least 150 times faster than "
               "SQLite's own bm25", f"{faster:.0f} times", faster >= 150)
    if "10000" in results.corpora:
        took = results.get("retrieve", "10000", "retrieve_p50")
        yield "`retrieve`, 10,000 symbols, p50: under 3 ms", f"{ms(took)} ms", took < 3
    for corpus in results.of("rerank"):
        run = results.counters["rerank", corpus]
        for percent in ("p50", "p95"):
            more = run[f"reranked_{percent}"] - run[f"fused_{percent}"]
            yield (f"Sentences, bodies and the rerank, {title(results, corpus)} symbols, {percent}: at "
                   "most 1 ms more for a question", f"{ms(more)} ms more", more <= 1)
    for corpus in present:
        wanted = 4 if corpus == "100000" else 3
        faster = 1 / build_ratio(results, corpus)
        yield (f"Corpus build, {title(results, corpus)} symbols: at least {wanted} times faster than "
               "the bare fill, index reading apart", f"{faster:.1f} times", faster >= wanted)
    if "1000000" in results.corpora:
        took = results.get("corpus_build", "1000000", "build")
        yield ("Corpus build, 1,000,000 symbols: under 6 s in all", f"{took / 1e3:.1f} s",
               took < 6000)
    for corpus, most in (("1000000", 700), ("real", 400)):
        if corpus not in results.corpora:
            continue
        held = bytes_a_symbol(results, corpus)
        yield (f"Memory, {title(results, corpus)} symbols: at most {most} bytes a symbol in all",
               f"{held:.0f} bytes", held <= most)
    for corpus in results.of("threads"):
        more = results.ratio("threads", corpus, "shared_2", "shared_1")
        yield ("Two threads on one corpus: at least 1.8 times the questions of one",
               f"{more:.2f} times", more >= 1.8)
    for corpus in results.of("one_shot"):
        run = results.counters["one_shot", corpus]
        if "plain" in run and "other" in run:
            share = run["plain"] / run["other"]
            yield ("`velmora explore` for one question, the words of bodies left out, processor "
                   "time: at most a third of an earlier build's", f"{share * 100:.0f} %",
                   share <= 1 / 3)
    for corpus in results.of("long_question"):
        run = results.counters["long_question", corpus]
        where = f"{title(results, corpus)} symbols"
        yield (f"A question of 10,000 known words, {where}: under 0.3 s", f"{ms(run['known'])} ms",
               run["known"] < 300)
        held = run["known_bytes"] / run["symbols"]
        yield (f"A question of 10,000 known words, {where}: at most 20 bytes more a symbol",
               f"{held:.1f} bytes", held <= 20)
        times = run["unknown"] / run["unknown_split"]
        yield (f"A question of 100,000 unknown words, {where}: at most three times cutting it into "
               "terms and names", f"{times:.1f} times", times <= 3)
    for top in NEAREST:
        share = results.ratio("nearest", "float32", "sweep_p50", f"top{top}_p50")
        yield (f"Nearest {top:,} of {vectors_title(results, 'float32')}, p50: at the memory's "
               "bandwidth, at least 80 % of a sweep", f"{share * 100:.0f} %", share >= 0.8)


# --- The sections -----------------------------------------------------------------------------


def bars_section(results):
    rows = [(bar, measured, "met" if met else "**not met**") for bar, measured, met in bars(results)]
    return "## What is promised\n\n" + table(("Bar", "Measured", ""), rows)


def slope(results, engine):
    """Of log(cost) against log(matching rows), by least squares over the medians."""
    corpora = [corpus for corpus in results.generated if int(corpus) >= 10_000]
    xs = [math.log(results.get("text_query", corpus, "matching_rows")) for corpus in corpora]
    ys = [math.log(results.get("text_query", corpus, engine + "_p50")) for corpus in corpora]
    if len(xs) < 2:
        return None
    x, y = sum(xs) / len(xs), sum(ys) / len(ys)
    return (sum((a - x) * (b - y) for a, b in zip(xs, ys)) / sum((a - x) ** 2 for a in xs))


def text_query_section(results):
    parts = ["## Text query",
             "The first 50 rows of the symbol table and the first 50 of the file table, best first, "
             "for any of the terms; milliseconds, and how many times the library's own. The rows of "
             "the library and of SQLite's own bm25 are compared for every question: they are the "
             "same, in the same order. Xapian searches the symbols alone, 50 rows, from a database in "
             "memory.",
             "![Cost of a text query against the size of the corpus](benchmarks.svg)"]
    for percent in ("p50", "p95", "p99"):
        rows = []
        for corpus in results.corpora:
            ours = results.get("text_query", corpus, f"ours_{percent}")
            row = [title(results, corpus),
                   f"{results.get('text_query', corpus, 'matching_rows'):,.0f}", ms(ours)]
            for engine in ("stock", "xapian"):
                other = results.get("text_query", corpus, f"{engine}_{percent}")
                row.append(f"{ms(other)} ({other / ours:.2f}x)")
            rows.append(row)
        parts.append(table((f"Symbols, {percent}", "Matching rows (median)", "Velmora",
                            "SQLite's own bm25", "Xapian"), rows))
    slopes = [(name, slope(results, engine)) for engine, name, _ in ENGINES]
    if all(value is not None for _, value in slopes):
        sizes = [title(results, corpus) for corpus in results.generated if int(corpus) >= 10_000]
        parts.append(f"Slope of log(cost, p50) against log(matching rows), from {sizes[0]} to "
                     f"{sizes[-1]} symbols: "
                     + ", ".join(f"{name} {value:.2f}" for name, value in slopes) + ".")
    return "\n\n".join(parts)


def retrieve_section(results):
    channels = ("exact", "lexical", "file", "fusion")
    rows = []
    for corpus in results.corpora:
        run = results.counters["retrieve", corpus]
        whole = [ms(run[f"retrieve_{percent}"]) for percent in ("p50", "p95", "p99")]
        rows.append([title(results, corpus), *whole, ms(run["queries_p50"]),
                     f"{run['retrieve_p50'] / run['queries_p50']:.2f}x",
                     *(ms(run[channel + "_p50"]) for channel in channels)])
    return ("## `retrieve`\n\nFrom end to end, limit 10, without embeddings; milliseconds. Beside it "
            "the two full-text queries that it stands on, and each channel by itself (p50).\n\n"
            + table(("Symbols", "p50", "p95", "p99", "Two queries, p50", "Ratio", "Exact", "Lexical",
                     "File", "Fusion"), rows))


def rerank_section(results):
    rows = []
    for corpus in results.of("rerank"):
        run = results.counters["rerank", corpus]
        for percent in ("p50", "p95", "p99"):
            fused, reranked = run[f"fused_{percent}"], run[f"reranked_{percent}"]
            rows.append([f"{title(results, corpus)}, {percent}", ms(fused), ms(reranked),
                         ms(reranked - fused), ms(run[f"sentence_{percent}"])])
    return rows and ("## Rerank\n\n`retrieve` of a question by the fused ranking alone, and with its "
                     "sentence read and its first hits reordered by the program's own decision model; "
                     "limit 10, without embeddings but those of the decision model; milliseconds. On "
                     "the real corpus the second searches the words of bodies too. Reading the "
                     "sentence is part of it.\n\n"
                     + table(("Symbols", "Fused", "Reranked", "More", "Reading the sentence"), rows))


def build_section(results):
    parts = ("read", "split", "index", "rest")
    rows = []
    for corpus in results.corpora:
        run = results.counters["corpus_build", corpus]
        rows.append([title(results, corpus), ms(run["build"]), *(ms(run[part]) for part in parts),
                     ms(run["bare_fill"]), f"{build_ratio(results, corpus):.2f}x"])
    return ("## Corpus build\n\nMilliseconds, medians of three runs (one at a million symbols). The "
            "bare fill puts ready-made words into two full-text tables. The ratio is that of the "
            "build without reading the index to the bare fill; the parts were measured each by "
            "itself, and the rest is what they leave of the build: a few percent either way are "
            "noise.\n\n"
            + table(("Symbols", "Build", "Read", "Split", "Text index", "Rest", "Bare fill", "Ratio"), rows))


def memory_section(results):
    parts = (("texts", "Plain text"), ("symbols", "Symbols"), ("names", "Names"),
             ("files", "Files"), ("other", "Text index, hash tables, spare room, allocator"),
             ("total", "All"))
    corpora = results.corpora
    rows = [[name, *(f"{results.ratio('memory', corpus, part + '_bytes', 'symbols'):,.0f}"
                     for corpus in corpora)] for part, name in parts]
    rows.append(["All, in megabytes", *(f"{results.get('memory', corpus, 'total_bytes') / 1e6:,.1f}"
                                        for corpus in corpora)])
    return ("## Memory\n\nBytes a symbol that a corpus holds.\n\n"
            + table(("Part", *(title(results, corpus) for corpus in corpora)), rows))


def threads_section(results):
    runs = [corpus for benchmark, corpus in results.counters if benchmark == "threads"]
    if not runs:
        return None
    run = results.counters["threads", runs[0]]
    counts = ("1", "2", "4", "8")
    rows = [[name, *(f"{run[kind + '_' + count]:,.0f}" for count in counts)]
            for kind, name in (("shared", "One corpus for all"), ("own", "A corpus each"))]
    return (f"## Threads\n\nQuestions answered a second at {title(results, runs[0])} symbols, by the "
            "number of threads that ask.\n\n" + table(("", *counts), rows))


def long_question_section(results):
    rows = []
    for corpus in results.of("long_question"):
        run = results.counters["long_question", corpus]
        for kind, words in (("known", "10,000 that the corpus holds"),
                            ("unknown", "100,000 that it does not")):
            rows.append([title(results, corpus), words, ms(run[kind]), ms(run[kind + "_split"])])
    return rows and ("## Very long questions\n\n`retrieve` with very many words, and cutting the "
                     "question into its terms and names alone; milliseconds.\n\n"
                     + table(("Symbols", "Words", "`retrieve`", "Cutting"), rows))


def one_shot_section(results):
    if not results.of("one_shot"):
        return None
    run = results.counters["one_shot", "real"]
    names = (("open", "Opening the index"), ("read", "Reading its rows"),
             ("build", "Building the corpus"), ("model", "Model and vector of the question"),
             ("vectors", "Reading the vectors, and the nearest"), ("question", "Ranking"))
    rows = [[name, ms(run[part])] for part, name in names]
    if "ours" in run:
        parts = sum(run[part] for part, _ in names)
        rows += [["Starting, writing, ending", ms(run["ours"] - parts)], ["All", ms(run["ours"])]]
    if "plain" in run:
        rows.append(["All, the words of bodies left out", ms(run["plain"])])
    if "other" in run:
        rows.append(["All, an earlier build (`--against`)", ms(run["other"])])
    return ("## One question\n\nProcessor time of a program that is started for one question, index "
            "made and file cache warm; milliseconds.\n\n" + table(("Part", "Time"), rows))


def nearest_section(results):
    if not results.vectors:
        return None
    rows = []
    for kind in results.vectors:
        run = results.counters["nearest", kind]
        for top in NEAREST:
            took = run[f"top{top}_p50"]
            rows.append([f"{vectors_title(results, kind)}, top {top:,}",
                         *(ms(run[f"top{top}_{percent}"]) for percent in ("p50", "p95", "p99")),
                         f"{ms(run['plain_p50'])} ({run['plain_p50'] / took:.1f}x)",
                         f"{ms(run['sweep_p50'])} ({run['sweep_p50'] / took * 100:.0f} %)"])
    found = [[vectors_title(results, kind),
              *(f"{results.get('nearest', kind, 'recall_' + count):.3f}" for count in ("10", "50")),
              *(f"{results.get('nearest', kind, 'threads_' + count):,.0f}" for count in ("1", "2"))]
             for kind in results.vectors]
    fastest = max(results.ratio("nearest", kind, "bytes", "sweep_p50") for kind in results.vectors)
    return ("## Nearest neighbours\n\nOf stored vectors in memory, as the index reads them; "
            "milliseconds. Beside it a plain loop over the same vectors as floats, and how many "
            "times the index's own it takes; and a sweep that only reads as many bytes, and its "
            f"part of the index's own time. The sweep runs at up to {fastest / 1e6:.1f} GB/s. "
            "Nothing is in the processor's cache when its turn comes.\n\n"
            + table(("Vectors", "p50", "p95", "p99", "Plain loop, p50", "Sweep, p50"), rows)
            + "\n\nThe part of the nearest 10 and 50 before rounding that is among the nearest 10 "
            "and 50 of the index, and the questions answered a second, top 150, by threads that "
            "share the vectors.\n\n"
            + table(("Vectors", "Recall at 10", "Recall at 50", "1 thread", "2 threads"), found))


def page(results):
    context = results.context
    load = context["load_avg"][0] if context.get("load_avg") else None
    head = ("# Benchmarks\n\n"
            "Written by `scripts/bench.sh`, which installs what it needs, builds, measures and "
            "writes this page. Every question is timed by itself, after a pass that warms up; the "
            "alternatives take turns at each question of the same run. The generated corpora and "
            "all questions come from fixed seeds (`bench/`); the real one is Python's standard "
            "library with the headers of C++, ICU and Linux.\n\n"
            f"{context['date'][:10]}; {machine()}, {context['num_cpus']} cores"
            + (f", load average {load:.1f} when it began" if load is not None else "")
            + f"; {context['compiler']}, {context['build_type']} build; SQLite {context['sqlite']}; "
            f"Xapian {context['xapian']}.")
    sections = [head, bars_section(results), text_query_section(results), retrieve_section(results),
                rerank_section(results), build_section(results), memory_section(results), threads_section(results),
                long_question_section(results), one_shot_section(results), nearest_section(results)]
    return "\n\n".join(section for section in sections if section) + "\n"


# --- The picture ------------------------------------------------------------------------------

WIDTH, HEIGHT = 800, 440
LEFT, RIGHT, TOP, BOTTOM = 80, 600, 30, 380


def picture(results):
    costs = [results.get("text_query", corpus, f"{engine}_p50")
             for corpus in results.corpora for engine, _, _ in ENGINES]
    sizes = [results.get("text_query", corpus, "symbols") for corpus in results.corpora]
    decades_x = range(math.floor(math.log10(min(sizes))), math.ceil(math.log10(max(sizes))) + 1)
    decades_y = range(math.floor(math.log10(min(costs))), math.ceil(math.log10(max(costs))) + 1)

    def place(value, decades, start, end):
        share = (math.log10(value) - decades[0]) / max(decades[-1] - decades[0], 1)
        return round(start + share * (end - start), 1)

    def at(corpus, engine):
        return (place(results.get("text_query", corpus, "symbols"), decades_x, LEFT, RIGHT),
                place(results.get("text_query", corpus, f"{engine}_p50"), decades_y, BOTTOM, TOP))

    def text(x, y, words, more=""):
        return f'<text x="{x}" y="{y}" {more}>{words}</text>'

    def line(x1, y1, x2, y2):
        return f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="#e0e0e0"/>'

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
           'font-family="sans-serif" font-size="13" fill="#333">',
           "<title>Cost of a text query against the size of the corpus</title>",
           f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>']
    for decade in decades_x:
        x = place(10.0**decade, decades_x, LEFT, RIGHT)
        out += [line(x, TOP, x, BOTTOM),
                text(x, BOTTOM + 20, f"{10**decade:,}", 'text-anchor="middle"')]
    for decade in decades_y:
        y = place(10.0**decade, decades_y, BOTTOM, TOP)
        out += [line(LEFT, y, RIGHT, y),
                text(LEFT - 8, y + 4, f"{10.0**decade:,g} ms", 'text-anchor="end"')]
    out.append(text((LEFT + RIGHT) / 2, HEIGHT - 12, "symbols; hollow: the real corpus",
                    'text-anchor="middle"'))
    for number, (engine, name, colour) in enumerate(ENGINES):
        points = [at(corpus, engine) for corpus in results.generated]
        path = " ".join(f"{x},{y}" for x, y in points)
        out.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out += [f'<circle cx="{x}" cy="{y}" r="3.5" fill="{colour}"/>' for x, y in points]
        if "real" in results.corpora:
            x, y = at("real", engine)
            out.append(f'<circle cx="{x}" cy="{y}" r="5" fill="none" stroke="{colour}" '
                       'stroke-width="2"/>')
        y = TOP + 16 + 22 * number
        out += [f'<line x1="{RIGHT + 15}" y1="{y}" x2="{RIGHT + 37}" y2="{y}" stroke="{colour}" '
                f'stroke-width="2"/>', text(RIGHT + 43, y + 4, name)]
    return "\n".join(out + ["</svg>"]) + "\n"


def main():
    if len(sys.argv) != 3 or sys.argv[1].startswith("-"):
        sys.exit("usage: bench_report.py RESULTS.json FOLDER")
    results = Results(sys.argv[1])
    folder = Path(sys.argv[2])
    (folder / "benchmarks.svg").write_text(picture(results))
    (folder / "benchmarks.md").write_text(page(results))


if __name__ == "__main__":
    main()
