#!/usr/bin/env python3
"""Times Net.beliefs_batch on a case file beside `quorva cases` on the same file.

    PYTHONPATH=build/python /usr/bin/python3 bench/bench_python_batch.py \
        --tool build/quorva --net tests/data/alarm.bif --cases 100000 --threads 2

Draws the cases with `quorva sample` (seed 1) unless --case-file is given, then runs each side
--repeat times and prints the best times and their ratio.  The tool's output goes to /dev/null
(both its text and its --json form are timed)."""
import argparse
import os
import subprocess
import tempfile
import time

import quorva


def best(repeat, run):
    times = []
    for _ in range(repeat):
        start = time.perf_counter()
        run()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    p = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--tool", default="build/quorva")
    p.add_argument("--net", default="tests/data/alarm.bif")
    p.add_argument("--cases", type=int, default=100000)
    p.add_argument("--case-file")
    p.add_argument("--threads", type=int, default=os.cpu_count())
    p.add_argument("--repeat", type=int, default=3)
    a = p.parse_args()
    case_file = a.case_file
    if case_file is None:
        case_file = os.path.join(tempfile.gettempdir(), f"quorva_bench_{a.cases}.txt")
        subprocess.run([a.tool, "sample", a.net, "-n", str(a.cases), "--seed", "1", "-o", case_file],
                       check=True, stdout=subprocess.DEVNULL)
    net = quorva.read(a.net)
    tool = [a.tool, "cases", a.net, case_file, "--threads", str(a.threads)]

    def run_tool(extra):
        with open(os.devnull, "w") as null:
            subprocess.run(tool + extra, check=True, stdout=null)

    t_text = best(a.repeat, lambda: run_tool([]))
    t_json = best(a.repeat, lambda: run_tool(["--json"]))
    t_py = best(a.repeat, lambda: net.beliefs_batch(case_file, threads=a.threads))
    print(f"cases: {case_file} on {a.net}, {a.threads} threads, best of {a.repeat}")
    print(f"quorva cases (text)    {t_text:8.3f} s")
    print(f"quorva cases --json    {t_json:8.3f} s")
    print(f"Net.beliefs_batch      {t_py:8.3f} s   ({t_py / t_text:.2f} x text, {t_py / t_json:.2f} x json)")


if __name__ == "__main__":
    main()
