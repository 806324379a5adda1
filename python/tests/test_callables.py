"""Python callables as models: called with whole numpy blocks, their
exceptions raised as they are, their derivatives optional."""

import numpy as np
import pytest

import tessarix


class Counting:
    """exp decay with offset, recording the size of every block it is given."""

    def __init__(self):
        self.sizes = []

    def __call__(self, x, a, b, c):
        self.sizes.append(len(x))
        return a * np.exp(-b * x) + c


def data(n=1000):
    x = np.linspace(0.0, 10.0, n)
    return x, 3.0 * np.exp(-0.4 * x) + 1.0 + 0.01 * np.cos(5.0 * x)


def test_model_is_called_per_block_not_per_point():
    x, y = data(1000)
    model = Counting()
    r = tessarix.fit(x, y, model)
    assert r.solved
    # Every call during the fit saw the whole data set (one block holds it).
    assert set(model.sizes) == {1000}
    # One value pass and two difference passes per fitted parameter in each
    # iteration, passes more at the start and the end, and one for the
    # statistics: far from one call per point.
    assert len(model.sizes) <= (r.iterations + 3) * (1 + 2 * 3)
    text = tessarix.fit(x, y, "a*exp(-b*x)+c")
    np.testing.assert_allclose(r.values, text.values, rtol=1e-9)
    np.testing.assert_allclose(r.standard_errors, text.standard_errors, rtol=1e-6)
    # Prediction calls the model once for the whole array.
    model.sizes.clear()
    np.testing.assert_allclose(r.predict(x[:7]), text.predict(x[:7]), rtol=1e-9)
    assert model.sizes == [7]


def test_derivatives_callable_replaces_the_differences():
    x, y = data(300)
    model = Counting()
    calls = []

    def jac(x, a, b, c):
        calls.append(len(x))
        e = np.exp(-b * x)
        return np.column_stack([e, -a * x * e, np.ones_like(x)])

    r = tessarix.fit(x, y, model, derivatives=jac, fixed={"c": 1.0})
    assert r.solved and r.fixed == (False, False, True) and r["c"] == 1.0
    assert calls and set(calls) == {300}
    # Values only: no difference passes.
    assert len(model.sizes) <= r.iterations + 3

    def bad_jac(x, a, b, c):
        return np.ones((3, len(x)))

    with pytest.raises(ValueError, match=r"shape \(300, 3\)"):
        tessarix.fit(x, y, model, derivatives=bad_jac)


def test_exceptions_of_the_model_are_raised_as_they_are():
    x, y = data(50)

    def broken(x, a, b):
        raise KeyError("no such column")

    with pytest.raises(KeyError, match="no such column"):
        tessarix.fit(x, y, broken)

    def wrong_length(x, a, b):
        return np.ones(3)

    with pytest.raises(ValueError, match="returned 3 values for 50 points"):
        tessarix.fit(x, y, wrong_length)

    def in_place(x, a, b):
        x *= a  # the points are the library's: read only
        return x + b

    with pytest.raises(ValueError, match="read-only"):
        tessarix.fit(x, y, in_place)


def test_model_failing_where_it_is_not_finite():
    x, y = data(50)

    def sqrt_model(x, a, b):
        with np.errstate(invalid="ignore"):
            return np.sqrt(a - 5.0) * x + b

    r = tessarix.fit(x, y, sqrt_model)
    assert not r.solved
    assert r.message == "Error evaluating the function at X = 0\r\n"


def test_parameter_names_from_the_signature_or_given():
    x, y = data(40)
    r = tessarix.fit(x, y, lambda t, amp, rate, base: amp * np.exp(-rate * t) + base)
    assert r.names == ("amp", "rate", "base")
    r = tessarix.fit(x, y, lambda t, *p: p[0] * np.exp(-p[1] * t) + p[2], parameters=["a", "b", "c"])
    assert r.names == ("a", "b", "c") and r.solved
    with pytest.raises(TypeError, match="parameters="):
        tessarix.fit(x, y, lambda t, *p: t)


def test_several_variables_as_text():
    rng = np.random.default_rng(3)
    x = rng.uniform(0.5, 3.0, size=(150, 2))
    y = 1.5 * x[:, 0] ** 2 + 0.7 * np.log(x[:, 1]) + 0.001 * np.sin(40 * x[:, 0])
    r = tessarix.fit(x, y, "a*x1^2+b*log(x2)")
    assert r.solved and r.variables == 2
    np.testing.assert_allclose(r.values, [1.5, 0.7], rtol=1e-3)
    np.testing.assert_allclose(r.predict(x[:4]), r.predicted[:4], rtol=1e-12)
    with pytest.raises(tessarix.Error) as info:
        tessarix.fit(x, y, "a*x1+b*x3")
    assert info.value.code == "ModelIndependentVariableMissing"


def test_several_variables_take_rows_of_points():
    rng = np.random.default_rng(7)
    x = rng.uniform(0.0, 3.0, size=(200, 2))
    y = 2.0 * x[:, 0] + 0.5 * np.exp(0.3 * x[:, 1])
    shapes = []

    def plane(x, a, b, c):
        shapes.append(x.shape)
        return a * x[:, 0] + b * np.exp(c * x[:, 1])

    r = tessarix.fit(x, y, plane, estimates=[1.0, 1.0, 0.1])
    assert r.solved and r.variables == 2
    assert set(shapes) == {(200, 2)}
    np.testing.assert_allclose(r.values, [2.0, 0.5, 0.3], rtol=1e-8)
    assert r.predict([1.0, 2.0]) == pytest.approx(2.0 + 0.5 * np.exp(0.6), rel=1e-8)
    assert r.derivative([1.0, 2.0], index=1) == pytest.approx(0.15 * np.exp(0.6), rel=1e-6)
    roots = r.roots(2.0 + 0.5 * np.exp(0.6), 0.0, 3.0, point=[1.0, 0.0], index=1)
    np.testing.assert_allclose(roots, [2.0], rtol=1e-6)
