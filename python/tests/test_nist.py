"""The bundled NIST examples against their certified values, with the model
as text and as a numpy callable (with and without its own derivatives)."""

import numpy as np
import pytest

import tessarix
from conftest import NistProblem, log_relative_error, read_csv

MISRA1A = "b1*(1-exp(-b2*x))"
THURBER = "(b1+b2*x+b3*x^2+b4*x^3)/(1+b5*x+b6*x^2+b7*x^3)"


def digits(result, problem):
    """Smallest log relative errors of the values, the standard errors and the RSS."""
    values = min(log_relative_error(v, c) for v, c in zip(result.values, problem.certified))
    errors = min(log_relative_error(s, c) for s, c in zip(result.standard_errors, problem.certified_sd))
    return values, errors, log_relative_error(result.sse, problem.rss)


@pytest.mark.parametrize("name, model", [("Misra1a", MISRA1A), ("Thurber", THURBER)])
@pytest.mark.parametrize("start", [0, 1])
@pytest.mark.parametrize("method, derivative_method", [(None, None), ("trust-region", None), (None, "exact")])
def test_text_models_reach_the_certified_values(name, model, start, method, derivative_method):
    problem = NistProblem(name)
    x, y = read_csv(name.lower() + ".csv")
    # The example files hold NIST's numbers exactly.
    assert np.array_equal(x, problem.x) and np.array_equal(y, problem.y)
    r = tessarix.fit(x, y, model, estimates=problem.starts[start], max_iterations=1000, method=method,
                     derivative_method=derivative_method)
    assert r.solved, r.message
    assert r.method == (method or "marquardt")
    values, errors, rss = digits(r, problem)
    assert values >= 6 and errors >= 5 and rss >= 9, (values, errors, rss)
    assert r.names == tuple(f"b{i + 1}" for i in range(len(problem.certified)))


def misra1a(x, b1, b2):
    return b1 * (1 - np.exp(-b2 * x))


def misra1a_derivatives(x, b1, b2):
    e = np.exp(-b2 * x)
    return np.column_stack([1 - e, b1 * x * e])


@pytest.mark.parametrize("derivatives", [None, misra1a_derivatives])
@pytest.mark.parametrize("start", [0, 1])
def test_callable_model_reaches_the_certified_values(derivatives, start):
    problem = NistProblem("Misra1a")
    x, y = read_csv("misra1a.csv")
    r = tessarix.fit(x, y, misra1a, derivatives=derivatives, estimates=problem.starts[start], max_iterations=1000)
    assert r.solved, r.message
    values, errors, rss = digits(r, problem)
    assert values >= 8 and errors >= 8 and rss >= 9, (values, errors, rss)
