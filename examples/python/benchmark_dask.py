"""Fits per second on a local Dask cluster: Tessarix (model text, and the model
as a numpy callable) against SciPy's curve_fit doing the same work (the same
groups, model and starting values), with 1 and 2 worker processes and with 2
threads in one worker (a fit releases the interpreter lock; curve_fit's
Python loop holds it).

    python3 examples/python/benchmark_dask.py --groups 10000 --points 100

The table is made, partitioned and shuffled by key before the clock starts;
the time is that of fitting every group and gathering the rows. The CPU time
per fit of each engine in one process comes first: on a machine shared with
other work it is the steadier figure. SciPy
(python3-scipy) is optional: its rows are skipped when it is absent.
"""

from __future__ import annotations

import argparse
import importlib.util
import os
import sys
import time

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import fit_groups_dask as example  # noqa: E402


def measure(table, partitions, fit, workers, threads):
    import dask.dataframe as dd
    from dask.distributed import Client, LocalCluster, wait

    with LocalCluster(n_workers=workers, threads_per_worker=threads, host="127.0.0.1",
                      dashboard_address=None) as cluster, Client(cluster) as client:
        client.upload_file(example.__file__)
        frame = dd.from_pandas(table, npartitions=partitions).shuffle(on="key").persist()
        wait(frame)
        start = time.perf_counter()
        results = frame.map_partitions(fit, meta=example.META).compute()
        elapsed = time.perf_counter() - start
    return elapsed, results.sort_values("key", ignore_index=True)


def cpu_per_fit(table, fit, groups=1000):
    """CPU seconds per fit in this process, for the first `groups` keys: a
    figure that other load on the machine hardly moves."""
    first = table[table["key"] < groups]
    fit(table[table["key"] < 2])  # imports and first calls outside the clock
    start = time.process_time()
    fit(first)
    return (time.process_time() - start) / groups


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--groups", type=int, default=10000)
    parser.add_argument("--points", type=int, default=100)
    parser.add_argument("--partitions", type=int, default=8)
    args = parser.parse_args()

    table = example.make_table(args.groups, args.points)
    engines = [("tessarix, model text", example.fit_partition),
               ("tessarix, model text, exact derivatives", example.fit_partition_exact),
               ("tessarix, numpy callable", example.fit_partition_callable)]
    if importlib.util.find_spec("scipy") is not None:
        engines.append(("scipy curve_fit", example.fit_partition_scipy))
    else:
        print("scipy is not installed: its rows are skipped")
    layouts = [("1 worker", 1, 1), ("2 workers", 2, 1), ("1 worker, 2 threads", 1, 2)]

    print(f"{args.groups} groups of {args.points} points, model a*exp(-b*x)+c, starting values 1, 1, 1; "
          f"{os.cpu_count()} cores\n")
    print(f"{'engine':<26}{'CPU time per fit (one process, no Dask)':>40}")
    for name, fit in engines:
        per_fit = cpu_per_fit(table, fit, min(args.groups, 1000))
        print(f"{name:<26}{per_fit * 1e6:>28.0f} us ({1 / per_fit:.0f} fits per CPU second)", flush=True)
    print()
    print(f"{'engine':<26}{'layout':<22}{'seconds':>9}{'fits/s':>9}{'solved':>8}")
    solved = {}
    for name, fit in engines:
        for layout, workers, threads in layouts:
            elapsed, results = measure(table, args.partitions, fit, workers, threads)
            solved[name] = results
            print(f"{name:<26}{layout:<22}{elapsed:>9.2f}{args.groups / elapsed:>9.0f}"
                  f"{int(results['solved'].sum()):>8}", flush=True)

    # Where both engines solved a group, do they agree? A different minimum
    # shows as a large difference of b.
    print()
    base = solved["tessarix, model text"]
    for name, results in list(solved.items())[1:]:
        both = base["solved"] & results["solved"]
        diff = np.abs(base.loc[both, "b"] - results.loc[both, "b"]) / np.abs(base.loc[both, "b"])
        apart = diff > 1e-6
        lower = int((results.loc[both, "sse"][apart] < base.loc[both, "sse"][apart]).sum())
        print(f"{name} against model text: {int(both.sum())} groups solved by both, median relative difference "
              f"of b {np.median(diff):.1e}; {int(apart.sum())} groups differ by more than 1e-6, "
              f"{lower} of them with the lower SSE for {name}")


if __name__ == "__main__":
    main()
