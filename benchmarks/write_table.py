#!/usr/bin/env python3
"""Puts the rows that the benchmarks have written into one table.

usage: write_table.py [--document FILE] DIRECTORY ROWS...

Each file of ROWS has a JSON object a line. Writes DIRECTORY/table.json and DIRECTORY/table.md, prints
the latter, and names the targets that are not reached. With --document, the table also takes the place
of the one between the marks "<!-- table -->" and "<!-- end of table -->" of that file.
"""

import argparse
import json
import os
import platform
import time
from pathlib import Path

BEGIN = "<!-- table -->"
END = "<!-- end of table -->"


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        models = [line.split(":", 1)[1].strip() for line in file if line.startswith("model name")]
    return {"processor": models[0] if models else platform.machine(),
            "cores": os.cpu_count(),
            "system": f"{platform.system()} {platform.release()}",
            "date": time.strftime("%Y-%m-%d"),
            "load before": float(os.environ.get("LOAD_BEFORE", "nan"))}


def number(value):
    if value >= 1000:
        return f"{value:.0f}"
    return f"{value:.3g}" if value >= 0.001 else "0"


def spread(figures):
    text = number(figures["median"])
    if figures["lowest"] != figures["highest"]:
        text += f" ({number(figures['lowest'])}–{number(figures['highest'])})"
    return text


def target(row):
    if "target" not in row:
        return "", ""
    (sense, limit), = row["target"].items()
    return f"{sense} {limit:g}", "yes" if row["reached"] else "**no**"


def line(row):
    beside = row.get("yardstick")
    cells = [row["what"], f"{spread(row['figure'])} {row['unit']}",
             f"{beside['name']}: {spread(beside)}" if beside else "",
             spread(row["ratio"]) if beside else "", *target(row)]
    return "| " + " | ".join(cells) + " |"


def table(about, rows):
    load = about["load before"]
    return "\n".join([
        f"{about['processor']}, {about['cores']} cores, {about['system']}, {about['date']}; load"
        f" before the run {load:g}. Medians, with the lowest and the highest round. A ratio beside"
        " \"at most\" is how many times the yardstick's cost, one beside \"at least\" how many times"
        " as fast.",
        "",
        "| what | figure | yardstick, same run | ratio | target | reached |",
        "|---|---|---|---|---|---|",
        *map(line, rows), ""])


def replace_in(document, text):
    head, rest = document.read_text(encoding="utf-8").split(BEGIN, 1)
    tail = rest.split(END, 1)[1]
    document.write_text(f"{head}{BEGIN}\n{text}{END}{tail}", encoding="utf-8")


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--document", type=Path)
    arguments.add_argument("directory", type=Path)
    arguments.add_argument("rows", type=Path, nargs="+")
    given = arguments.parse_args()
    rows = [json.loads(text) for path in given.rows
            for text in path.read_text(encoding="utf-8").splitlines()]
    about = machine()
    (given.directory / "table.json").write_text(
        json.dumps({"machine": about, "rows": rows}, indent=1, ensure_ascii=False) + "\n",
        encoding="utf-8")
    text = table(about, rows)
    (given.directory / "table.md").write_text(text, encoding="utf-8")
    if given.document:
        replace_in(given.document, text)
    print(text)
    missed = [row["what"] for row in rows if row.get("reached") is False]
    print(f"{len(rows)} rows; targets missed: {len(missed)}", *missed, sep="\n  ")


if __name__ == "__main__":
    main()
