"""Results: queries, the report, pickling, independence across threads."""

import os
import pickle
import signal
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import tessarix

X = np.linspace(0.0, 8.0, 60)
Y = 3.0 * np.exp(-0.4 * X) + 1.0 + 0.02 * np.sin(3.0 * X)


def decay(x, a, b, c):
    return a * np.exp(-b * x) + c


def test_parameters_statistics_and_queries():
    r = tessarix.fit(X, Y, "a*exp(-b*x)+c", estimates={"a": 2.0, "b": 0.5})
    a, b, c = r.values
    assert r.params == {"a": a, "b": b, "c": c} and r["b"] == b
    np.testing.assert_allclose(r.residuals, Y - r.predicted, atol=1e-12)
    np.testing.assert_allclose(r.predicted, a * np.exp(-b * X) + c, rtol=1e-12)
    assert r.sse == pytest.approx(float(np.sum(r.residuals ** 2)), rel=1e-10)
    assert r.statistics["DOFError"] == r.dof == len(X) - 3
    # curve_fit's scaling: the diagonal is the squared standard errors.
    np.testing.assert_allclose(np.sqrt(np.diag(r.covariance)), r.standard_errors, rtol=1e-10)
    ci = r.confidence_intervals(0.95)
    assert np.all(ci[:, 0] < r.values) and np.all(r.values < ci[:, 1])
    assert np.all(r.confidence_intervals(0.99)[:, 1] > ci[:, 1])
    # Queries against the closed forms of the fitted model.
    assert r.predict(2.0) == pytest.approx(a * np.exp(-2 * b) + c, rel=1e-12)
    assert r.predict(np.ones((2, 3))).shape == (2, 3)
    assert r.derivative(2.0) == pytest.approx(-a * b * np.exp(-2 * b), rel=1e-8)
    level = a * np.exp(-3 * b) + c
    np.testing.assert_allclose(r.roots(level, 0.0, 8.0), [3.0], rtol=1e-8)
    assert r.integral(0.0, 2.0) == pytest.approx(a / b * (1 - np.exp(-2 * b)) + 2 * c, rel=1e-6)
    row = r.to_dict()
    assert row["solved"] and row["a"] == a and row["b_se"] == r.standard_errors[1] and row["n"] == len(X)


def test_weighted_fit_and_catalogue_model():
    sd = np.linspace(0.01, 0.1, len(X))
    r = tessarix.fit(X, Y, "a*exp(-b*x)+c", sd=sd)
    assert r.statistics["IsWeighted"] and r.sd is sd
    assert "weighted" in repr(r) and "Weighted SSE" in repr(r)
    # A catalogue model finds its own starting values.
    line = tessarix.fit(X, 2.0 + 0.5 * X, model_id=1)
    assert line.model_id == 1 and line.solved and line.r2 == pytest.approx(1.0)


def test_report():
    r = tessarix.fit(X, Y, "a*exp(-b*x)+c", fixed=["c"])
    text = repr(r)
    assert "y = a*exp(-b*x)+c" in text and "95% CI +/-" in text
    assert "Solution converged" in text
    lines = {line.split()[0]: line for line in text.splitlines() if line.strip()}
    assert lines["c"].split()[1:] == ["1", "fixed"]
    html = r._repr_html_()
    assert html.count("<table>") == 3 and "<td>a</td>" in html
    escaped = tessarix.fit(X, Y, "a*exp(-b*x)+c*(x<100)")._repr_html_()
    assert "x&lt;100" in escaped


def test_pickle_round_trip():
    for r in (tessarix.fit(X, Y, "a*exp(-b*8*x/xmax)+c"), tessarix.fit(X, Y, decay),
              tessarix.fit(X, Y, model_id=36)):
        r.confidence_intervals(0.9)
        copy = pickle.loads(pickle.dumps(r))
        assert repr(copy) == repr(r) and copy.log == r.log
        for name in ("values", "standard_errors", "residuals", "predicted", "x", "y", "covariance"):
            np.testing.assert_array_equal(getattr(copy, name), getattr(r, name))
        assert copy.statistics == r.statistics
        # The model is defined again with the fitted values: the same numbers.
        np.testing.assert_array_equal(copy.predict(X), r.predict(X))
        assert copy.derivative(1.5) == r.derivative(1.5)
        np.testing.assert_array_equal(copy.confidence_intervals(0.9), r.confidence_intervals(0.9))
        with pytest.raises(ValueError, match="levels available: 0.9, 0.95"):
            copy.confidence_intervals(0.8)
        assert copy.predict(X[-1]) == r.predict(X[-1])
    unsolved = pickle.loads(pickle.dumps(tessarix.fit(X, Y, "a*exp(-b*x)+c", max_iterations=1)))
    assert not unsolved.solved
    with pytest.raises(tessarix.Error, match="not solved"):
        unsolved.predict(1.0)


def test_threads_fit_in_parallel_with_the_serial_results():
    groups = [Y * (1.0 + 0.1 * k) for k in range(8)]
    models = ["a*exp(-b*x)+c", decay]
    serial = [tessarix.fit(X, y, m) for y in groups for m in models]
    with ThreadPoolExecutor(4) as pool:
        parallel = list(pool.map(lambda job: tessarix.fit(X, job[0], job[1]), [(y, m) for y in groups for m in models]))
    for s, p in zip(serial, parallel):
        np.testing.assert_array_equal(s.values, p.values)
        np.testing.assert_array_equal(s.residuals, p.residuals)
        assert s.statistics == p.statistics


def test_ctrl_c_stops_a_long_fit():
    # A signal handler that raises, as Python's SIGINT handler raises
    # KeyboardInterrupt: the fit stops at the end of an iteration and the
    # exception comes out of the fit. Left alone, this fit would run some
    # 30000 iterations.
    from tessarix._tessarix import _Regression

    class Stop(Exception):
        pass

    def handler(signum, frame):
        raise Stop()

    x = np.linspace(0.0, 10.0, 100000)
    y = 3.0 * np.exp(-0.4 * x) + 1.0 + 0.01 * np.sin(13.0 * x)

    def regression(iterations):
        reg = _Regression(0)
        reg.define_text("a*exp(-b*x)+c")
        reg.set_max_iterations(iterations)
        reg.set_max_unchanged_iterations(iterations)
        reg.set_tolerance(1e-300)
        return reg

    start = time.perf_counter()
    regression(1).fit(x, y, None)
    one_iteration = time.perf_counter() - start
    previous = signal.signal(signal.SIGINT, handler)
    timer = threading.Timer(0.2, lambda: os.kill(os.getpid(), signal.SIGINT))
    try:
        long_fit = regression(30000)
        start = time.perf_counter()
        timer.start()
        with pytest.raises(Stop):
            long_fit.fit(x, y, None)
        stopped_after = time.perf_counter() - start
    finally:
        timer.cancel()
        signal.signal(signal.SIGINT, previous)
    assert stopped_after < 0.2 + 50 * one_iteration


def test_fit_lets_other_threads_run():
    # While one thread fits, another runs Python: the fit holds no lock.
    x = np.linspace(0.0, 10.0, 20000)
    y = 3.0 * np.exp(-0.4 * x) + 1.0 + 0.01 * np.sin(13.0 * x)
    started, finished = threading.Event(), threading.Event()
    ticks = []

    def watcher():
        started.wait()
        while not finished.is_set():
            ticks.append(1)
            finished.wait(0.001)

    t = threading.Thread(target=watcher)
    t.start()
    started.set()
    tessarix.fit(x, y, "a*exp(-b*x)+c")
    finished.set()
    t.join()
    assert len(ticks) > 1
