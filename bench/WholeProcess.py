#!/usr/bin/env python3
"""Measures whole runs of the program: wall time, processor time and peak resident memory.

Usage: bench/WholeProcess.py <program> [--rounds <count>] [--only <text>]

Prints one line a kind of run, each figure the median of the rounds with the least in brackets, as a table of Markdown.
The runs take turns, so that a busy minute of the machine falls on all of them.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parent.parent / "examples"


def runs(folder):
    """Name, arguments and target of each kind of run."""
    lamp = str(EXAMPLES / "desk-lamp.fbx")
    picture = str(folder / "picture.png")
    series = str(folder / "series")
    poses = str(EXAMPLES / "lamp-poses.json")
    return [
        ("`--version`", ["--version"], "5 ms"),
        ("desk lamp, 1024x1024", [lamp, "--output", picture], "60 ms, 60 MB"),
        ("textured box, 1024x1024", [str(EXAMPLES / "textured-box.fbx"), "--output", picture], ""),
        ("desk lamp, `--list-parts`", [lamp, "--list-parts"], ""),
        ("desk lamp, `contact-6`", [lamp, "--layout", "contact-6", "--output", picture], ""),
        ("desk lamp, series of poses", [lamp, "--pose-file", poses, "--output-directory", series], ""),
    ]


def measure(program, arguments, folder):
    """Wall and processor milliseconds of one run."""
    shutil.rmtree(folder / "series", ignore_errors=True)
    start = time.perf_counter()
    with subprocess.Popen([program, *arguments], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as process:
        message = process.stderr.read()
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.perf_counter() - start
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"WholeProcess: {program} {' '.join(arguments)} failed: {message.decode(errors='replace')}")
    return wall * 1e3, (usage.ru_utime + usage.ru_stime) * 1e3


def peak_memory(program, arguments, folder):
    """Peak resident megabytes of one run, by GNU time: a child of this interpreter would count its memory too."""
    if shutil.which("time") is None:
        return "no GNU time"
    shutil.rmtree(folder / "series", ignore_errors=True)
    figure = folder / "peak"
    subprocess.run(["time", "-f", "%M", "-o", figure, program, *arguments], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    return f"{int(figure.read_text()) / 1024:.1f}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--rounds", type=int, default=21)
    parser.add_argument("--only", default="", help="only runs whose name holds this text")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="ornolith-bench-") as name:
        folder = Path(name)
        chosen = [run for run in runs(folder) if options.only in run[0]]
        figures = {run[0]: [] for run in chosen}
        for run_index in range(options.rounds + 1):
            for label, arguments, _ in chosen:
                figure = measure(options.program, arguments, folder)
                if run_index > 0:  # The first fills the file cache.
                    figures[label].append(figure)
        peaks = {label: peak_memory(options.program, arguments, folder) for label, arguments, _ in chosen}
    print("| Run | wall, ms | processor, ms | peak, MB | target |")
    print("| --- | --- | --- | --- | --- |")
    for label, _, target in chosen:
        cells = [f"{statistics.median(c):.1f} ({min(c):.1f})" for c in zip(*figures[label])]
        cells.append(peaks[label])
        print(f"| {label} | {' | '.join(cells)} | {target} |")


if __name__ == "__main__":
    main()
