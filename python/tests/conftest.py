"""Shared helpers of the Python tests: the repository's example data and the
NIST StRD problems with their certified values."""

import math
import os
import pathlib
import re

import numpy as np
import pytest

REPO = pathlib.Path(__file__).resolve().parents[2]


def nist_dir():
    """The folder of the NIST .dat files, or None."""
    candidates = [os.environ.get("TESSARIX_NIST_DIR"), REPO / "tests" / "support" / "nist",
                  REPO.parent / "shared" / "nist"]
    for c in candidates:
        if c and (pathlib.Path(c) / "Misra1a.dat").is_file():
            return pathlib.Path(c)
    return None


class NistProblem:
    def __init__(self, name):
        folder = nist_dir()
        if folder is None:
            pytest.skip("the NIST StRD files are not available (set TESSARIX_NIST_DIR)")
        self.starts = ([], [])
        self.certified, self.certified_sd = [], []
        self.rss = None
        lines = (folder / f"{name}.dat").read_text().splitlines()
        data_headers = 0
        rows = []
        for line in lines:
            fields = line.split()
            if data_headers == 2:
                try:
                    rows.append([float(v) for v in fields])
                except ValueError:
                    pass
            elif re.match(r"\s*b\d+\s*=", line):
                values = [float(v) for v in line.split("=")[1].split()]
                self.starts[0].append(values[0])
                self.starts[1].append(values[1])
                self.certified.append(values[2])
                self.certified_sd.append(values[3])
            elif "Residual Sum of Squares:" in line:
                self.rss = float(line.split(":")[1])
            elif fields[:1] == ["Data:"]:
                data_headers += 1
        table = np.array([r for r in rows if len(r) >= 2])
        self.y, self.x = table[:, 0], table[:, 1]


def log_relative_error(value, certified):
    """Digits in agreement, as NIST counts them."""
    if value == certified:
        return 15.0
    return min(15.0, -math.log10(abs(value - certified) / abs(certified)))


def read_csv(name):
    """An example data file of the repository: (x, y)."""
    table = np.loadtxt(REPO / "examples" / "data" / name, delimiter=",", skiprows=1)
    return table[:, 0].copy(), table[:, 1].copy()
