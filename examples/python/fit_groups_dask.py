"""Fits one curve per group of a long table with Dask.

A table holds many series side by side, one row per observation: a key (the
pixel, sensor, well...), x and y. Dask spreads the table over partitions,
moves every row of a key into the same partition, and fits each key's
series there with tessarix.fit; the rows of fitted parameters and
statistics come back as one pandas data frame.

    python3 examples/python/fit_groups_dask.py --groups 2000 --workers 2
    python3 examples/python/fit_groups_dask.py --scheduler tcp://10.0.0.5:8786

Needs numpy, pandas, dask and distributed (Debian: python3-dask
python3-distributed python3-pandas) and the tessarix package on the
workers. With --scheduler the same code runs on a cluster: the functions of
this script travel to the workers with the tasks (a module of your own goes
there with Client.upload_file).
"""

from __future__ import annotations

import argparse
import time

import numpy as np
import pandas as pd

import tessarix

MODEL = "a*exp(-b*x)+c"
NAMES = ("a", "b", "c")

# The columns of the result frame and their types (None becomes NaN).
DTYPES = {"key": "int64", "solved": "bool", "message": "object"}
for _name in NAMES:
    DTYPES[_name] = DTYPES[_name + "_se"] = "float64"
DTYPES.update({"r2": "float64", "r2_adjusted": "float64", "standard_error": "float64", "sse": "float64",
               "iterations": "float64", "n": "float64"})
META = pd.DataFrame({c: pd.Series(dtype=t) for c, t in DTYPES.items()})


def make_table(groups: int, points: int, seed: int = 0) -> pd.DataFrame:
    """`groups` decay curves of `points` observations each, with noise."""
    rng = np.random.default_rng(seed)
    key = np.repeat(np.arange(groups), points)
    x = np.tile(np.linspace(0.0, 10.0, points), groups)
    a, b, c = rng.uniform(1, 5, groups), rng.uniform(0.1, 1.0, groups), rng.uniform(-1, 1, groups)
    y = a[key] * np.exp(-b[key] * x) + c[key] + rng.normal(0.0, 0.01, key.size)
    return pd.DataFrame({"key": key, "x": x, "y": y})


def decay(x, a, b, c):
    """The same model as a numpy callable. Trial values of the iteration may
    overflow: the fit rejects those steps, so numpy need not warn."""
    with np.errstate(over="ignore", invalid="ignore"):
        return a * np.exp(-b * x) + c


def _rows(frame: pd.DataFrame, fit_one) -> pd.DataFrame:
    rows = []
    for key, group in frame.groupby("key", sort=False):
        rows.append({"key": key, **fit_one(group["x"].to_numpy(), group["y"].to_numpy())})
    return pd.DataFrame(rows, columns=list(DTYPES)).astype(DTYPES)


def fit_partition(frame: pd.DataFrame) -> pd.DataFrame:
    """Every key of one partition, fitted with the model text."""
    return _rows(frame, lambda x, y: tessarix.fit(x, y, MODEL).to_dict())


def fit_partition_exact(frame: pd.DataFrame) -> pd.DataFrame:
    """The same with the model text differentiated exactly by the library."""
    return _rows(frame, lambda x, y: tessarix.fit(x, y, MODEL, derivative_method="exact").to_dict())


def fit_partition_callable(frame: pd.DataFrame) -> pd.DataFrame:
    """The same with the model as a Python callable."""
    return _rows(frame, lambda x, y: tessarix.fit(x, y, decay).to_dict())


def fit_partition_scipy(frame: pd.DataFrame) -> pd.DataFrame:
    """The same work with SciPy's curve_fit (the same model and starting values)."""
    from scipy.optimize import curve_fit

    def one(x, y):
        try:
            p, cov = curve_fit(decay, x, y, p0=[1.0, 1.0, 1.0])
        except RuntimeError as e:
            return {"solved": False, "message": str(e)}
        se = np.sqrt(np.diag(cov))
        row = {"solved": True, "message": "No errors", "n": len(x)}
        for i, name in enumerate(NAMES):
            row[name], row[name + "_se"] = p[i], se[i]
        row["sse"] = float(np.sum((y - decay(x, *p)) ** 2))
        return row

    return _rows(frame, one)


def fit_groups(table: pd.DataFrame, partitions: int, fit=fit_partition) -> pd.DataFrame:
    """Fits every key of `table` on the current Dask client."""
    import dask.dataframe as dd

    frame = dd.from_pandas(table, npartitions=partitions)
    # The rows of a key may lie in several partitions: bring them together.
    frame = frame.shuffle(on="key")
    return frame.map_partitions(fit, meta=META).compute().sort_values("key", ignore_index=True)


def main() -> None:
    from dask.distributed import Client, LocalCluster

    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--groups", type=int, default=2000)
    parser.add_argument("--points", type=int, default=100)
    parser.add_argument("--partitions", type=int, default=8)
    parser.add_argument("--workers", type=int, default=2, help="worker processes of the local cluster")
    parser.add_argument("--scheduler", help="address of a running dask.distributed scheduler")
    args = parser.parse_args()

    table = make_table(args.groups, args.points)
    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, host="127.0.0.1",
                               dashboard_address=None)
        client = Client(cluster)
    with client:
        start = time.perf_counter()
        results = fit_groups(table, args.partitions)
        elapsed = time.perf_counter() - start
    print(results.head(10).to_string(index=False))
    print(f"\n{int(results['solved'].sum())} of {len(results)} groups solved in {elapsed:.2f} s "
          f"({len(results) / elapsed:.0f} fits per second)")


if __name__ == "__main__":
    main()
