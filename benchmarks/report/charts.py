"""The pictures of the report, as SVG."""
import os

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (after the choice of the back end)

OURS, LIBRARY, LOOP, LIMIT = "#1b5e9b", "#c9772b", "#8a8a8a", "#444444"

plt.rcParams.update({
    "font.size": 11, "axes.spines.top": False, "axes.spines.right": False, "axes.titleweight": "bold",
    "axes.titlelocation": "left", "legend.frameon": False, "svg.fonttype": "path", "svg.hashsalt": "performance",
    "figure.constrained_layout.use": True,
})


def save(figure, folder, name):
    figure.savefig(os.path.join(folder, name), metadata={"Date": None})
    plt.close(figure)


def fastest(sides, wanted):
    able = [s["ratio"] for s in sides if s["competes"] and wanted(s)]
    return max(able, default=0)


def cpu(results, folder):
    """Bars of kurtosis: ours, the loop written by hand, the best library."""
    rows = [r for r in results.rows if r["estimate"] == "kurtosis"]
    figure, axes = plt.subplots(figsize=(9, 0.55 * len(rows) + 1.6))
    kinds = [("this library", OURS, lambda s: s["ours"]),
             ("two-pass loop by hand", LOOP, lambda s: not s["ours"] and not s["library"]),
             ("fastest other library", LIBRARY, lambda s: s["library"])]
    for k, (label, colour, wanted) in enumerate(kinds):
        axes.barh([i + (k - 1) * 0.27 for i in range(len(rows))], [fastest(r["sides"], wanted) for r in rows], 0.25,
                  color=colour, label=label)
    axes.axvline(1, color=LIMIT, lw=1, ls="--")
    axes.set_yticks(range(len(rows)), [r["title"].removeprefix("kurtosis ") for r in rows])
    axes.invert_yaxis()
    axes.set_xlabel("speed relative to reading the data once (dashed line)")
    axes.set_title("Kurtosis at the speed of memory", pad=28)
    axes.legend(loc="lower left", bbox_to_anchor=(-0.3, 1), ncol=3, fontsize=9)
    save(figure, folder, "cpu.svg")


def small(results, folder):
    cases = results.cpu.get("small_calls", [])
    figure, axes = plt.subplots(figsize=(9, 4))
    sides = [("USM form", OURS, lambda c: "USM"), ("computation alone", "#8fb8de", lambda c: "component"),
             ("best peer", LIBRARY, lambda c: c["best_peer"])]
    for k, (label, colour, name) in enumerate(sides):
        times = [next(s["seconds"] for s in c["sides"] if s["name"] == name(c)) * 1e6 for c in cases]
        axes.bar([i + (k - 1) * 0.27 for i in range(len(cases))], times, 0.25, color=colour, label=label)
    axes.set_yscale("log")
    axes.set_ylabel("microseconds")
    axes.set_xticks(range(len(cases)), [f"8 x {c['observations']}\n{c['layout']}" for c in cases])
    axes.set_title("Small calls: from the call to a complete result")
    axes.legend()
    save(figure, folder, "small.svg")


def per_element(points, name):
    times = []
    for p in points:
        size = p["dims"] * p["observations"] * 1e-9
        wanted = p["best_peer"] if name == "best peer" else name
        time = p["limit_seconds"] if name == "limit" else next(s["seconds"] for s in p["sides"] if s["name"] == wanted)
        times.append(time / size)
    return times


def lines(axes, points, x):
    for label, name, colour, style in (("this library", "USM", OURS, "-o"), ("best peer", "best peer", LIBRARY, "-s"),
                                       ("read limit", "limit", LIMIT, "--")):
        axes.plot(x, per_element(points, name), style, color=colour, label=label, ms=5)
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.set_ylabel("nanoseconds per element")
    axes.legend()


def growth(results, folder):
    most = results.growth[-1]
    figure, axes = plt.subplots(figsize=(8, 4.5))
    lines(axes, most["observations"], [p["observations"] for p in most["observations"]])
    axes.set_xlabel("observations of one dimension")
    axes.set_title(f"Kurtosis as observations grow, {most['threads']} threads")
    save(figure, folder, "observations.svg")

    layouts = ("by_dimension", "by_observation")
    figure, both = plt.subplots(len(results.growth), 2, figsize=(11, 3.8 * len(results.growth)), sharey=True,
                                squeeze=False)
    for row, g in zip(both, results.growth):
        for axes, layout in zip(row, layouts):
            points = [p for p in g["dimensions"] if p["layout"] == layout]
            lines(axes, points, [p["dims"] for p in points])
            axes.set_title(f"{layout}, {g['threads']} thread{'s' if g['threads'] > 1 else ''}")
            axes.set_xlabel("dimensions")
    save(figure, folder, "dimensions.svg")


def opencl(results, folder):
    rows = results.opencl["rows"]
    names = [s["name"] for s in rows[0]["sides"]]
    colours = (LIMIT, "#8fb8de", OURS, LIBRARY)
    figure, axes = plt.subplots(figsize=(9, 4))
    for k, name in enumerate(names):
        axes.bar([i + (k - 1.5) * 0.2 for i in range(len(rows))],
                 [r["sides"][k]["nanoseconds_per_element"] for r in rows], 0.18, color=colours[k], label=name)
    axes.set_xticks(range(len(rows)), [f"{r['type']}\n{r['layout']}" for r in rows])
    axes.set_ylabel("nanoseconds per element")
    axes.set_title("OpenCL device")
    axes.legend()
    save(figure, folder, "opencl.svg")


def digits(results, folder):
    """Points: digits of kurtosis of each side on each set."""
    entries = [e for e in results.python.get("digits", []) if not e["weighted"]]
    sides = sorted({name for e in entries for name in e["sides"]}, key=lambda name: (not name.startswith("ours"), name))
    colours = {name: colour for name, colour in zip(sides, (OURS, "#8fb8de", LIBRARY, LOOP, LIMIT))}
    figure, axes = plt.subplots(figsize=(9, 0.45 * len(entries) + 1.8))
    for k, side in enumerate(sides):
        at = [(e["sides"][side][3], i) for i, e in enumerate(entries) if side in e["sides"]]
        axes.scatter([x for x, _ in at], [y + (k - len(sides) / 2) * 0.12 for _, y in at], s=36, color=colours[side],
                     label=side)
    axes.set_yticks(range(len(entries)), [e["name"] for e in entries])
    axes.invert_yaxis()
    axes.grid(axis="y", lw=0.3)
    axes.set_xlabel("decimal digits of kurtosis that are right (17: exact)")
    axes.set_title("Digits on hard data", pad=28)
    axes.legend(loc="lower left", bbox_to_anchor=(0, 1), ncol=6, fontsize=9)
    save(figure, folder, "digits.svg")


def draw_all(results, folder):
    for draw in (cpu, small, growth, opencl, digits):
        draw(results, folder)
