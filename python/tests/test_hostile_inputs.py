"""Random bad input thrown at tessarix.fit: NaN, infinities, huge and
subnormal values, empty and mismatched arrays, wrong shapes and types, bad
model texts and settings. Whatever comes in, only tessarix.Error, ValueError
or TypeError may come out; a solved fit holds only finite numbers, and the
caller's arrays are never changed.

The C++ library's input surfaces are fuzzed with libFuzzer (fuzz/); this is
the Python layer's share, drawn from a fixed seed so that a failure repeats.
"""

import numpy as np
import pytest

import tessarix

ALLOWED = (tessarix.Error, ValueError, TypeError)

VALUES = [0.0, -0.0, 1.0, -2.5, 3.0, 1e308, -1e308, 5e-324, 1e-300, np.nan, np.inf, -np.inf, 7.0, 0.5]

MODELS = [
    "a*x+b", "a*exp(-b*x)+c", "a*sin(b*x)", "a/x", "log(a*x)", "a*x^b", "sqrt(a-x)", "a*x1+b*x2",
    "a*x1^b+c*x2", "", " ", "a*", "(((a*x)", "a*exp(-b*x", "2*x", "a*b", "x", "a*x+b;c", "a*x+b,1",
    "if(x>1,a,b)*x", "a*x+F1", "\u00e9*x", "a*x\x00+b", "a" * 300 + "*x", "a*x" + "+b" * 200,
    "a*x1+b*x51", "a*x01+b*x2",
]


def _value(rng):
    if rng.random() < 0.7:
        return float(rng.normal(0.0, 3.0))
    return VALUES[rng.integers(len(VALUES))]


def _array(rng, n, columns=None):
    shape = (n,) if columns is None else (n, columns)
    a = np.empty(shape)
    for index in np.ndindex(shape):
        a[index] = _value(rng)
    return a


def _model(rng):
    roll = rng.random()
    if roll < 0.6:
        return {"model": MODELS[rng.integers(len(MODELS))]}
    if roll < 0.75:
        return {"model_id": int(rng.choice([-1, 0, 1, 2, 5, 48, 150, 298, 299, 10**9]))}
    if roll < 0.85:
        letters = "abcxy0123456789.,;+-*/^()<>=eE_ \t"
        return {"model": "".join(rng.choice(list(letters), size=int(rng.integers(0, 40))))}
    if roll < 0.95:
        return {"model": None}
    return {"model": int(rng.integers(0, 5))}


GOOD_MODELS = ["a*x+b", "a*exp(-b*x)+c", "a*sin(b*x)", "a*x^b", "a/(1+b*x)"]


def _nearly_good_case(rng):
    """A fit that could solve: a good model, matching data, and now and then
    one value that is not."""
    n = int(rng.integers(4, 25))
    x = np.linspace(0.5, 5.0, n)
    y = 2.0 * x + 1.0 + rng.normal(0.0, 0.1, n)
    for a in (x, y):
        if rng.random() < 0.3:
            a[rng.integers(n)] = VALUES[rng.integers(len(VALUES))]
    kwargs = {"model": GOOD_MODELS[rng.integers(len(GOOD_MODELS))], "max_iterations": 60}
    if rng.random() < 0.3:
        kwargs["sd"] = np.abs(rng.normal(1.0, 0.2, n))
        if rng.random() < 0.3:
            kwargs["sd"][rng.integers(n)] = VALUES[rng.integers(len(VALUES))]
    if rng.random() < 0.3:
        kwargs["method"] = "trust-region"
    return x, y, kwargs


def _case(rng):
    if rng.random() < 0.4:
        return _nearly_good_case(rng)
    n = int(rng.choice([0, 1, 2, 3, 5, 8, 20]))
    columns = None if rng.random() < 0.7 else int(rng.integers(0, 4))
    x = _array(rng, n, columns)
    roll = rng.random()
    if roll < 0.7:
        y = _array(rng, n)
    elif roll < 0.8:
        y = _array(rng, max(n + int(rng.integers(-2, 3)), 0))
    elif roll < 0.9:
        y = _array(rng, n, 2)
    else:
        y = ["a"] * n if rng.random() < 0.5 else [[1.0], [2.0, 3.0]]
    kwargs = _model(rng)
    if rng.random() < 0.2:
        kwargs["sd"] = _array(rng, n if rng.random() < 0.8 else n + 1)
    if rng.random() < 0.2:
        kwargs["estimates"] = [_value(rng) for _ in range(int(rng.integers(0, 4)))]
    if rng.random() < 0.1:
        kwargs["fixed"] = ["a"] if rng.random() < 0.5 else {"b": _value(rng), "zz": 1.0}
    if rng.random() < 0.2:
        kwargs["max_iterations"] = int(rng.choice([-1, 0, 1, 3, 10**7]))
    else:
        kwargs["max_iterations"] = 40
    if rng.random() < 0.1:
        kwargs["tolerance"] = _value(rng)
    if rng.random() < 0.2:
        kwargs["method"] = str(rng.choice(["marquardt", "trust-region", "Trust-Region", "", "newton"]))
    return x, y, kwargs


def _snapshot(value):
    return np.array(value, dtype=object, copy=True) if not isinstance(value, np.ndarray) else value.copy()


def _same(before, after):
    if isinstance(after, np.ndarray) and after.dtype.kind == "f":
        return np.array_equal(before, after, equal_nan=True)
    return before.shape == np.array(after, dtype=object).shape


@pytest.mark.parametrize("seed", range(6))
def test_bad_input_raises_only_documented_errors(seed):
    rng = np.random.default_rng(seed)
    for _ in range(60):
        x, y, kwargs = _case(rng)
        x0, y0 = _snapshot(x), _snapshot(y)
        sd0 = _snapshot(kwargs["sd"]) if "sd" in kwargs else None
        try:
            result = tessarix.fit(x, y, **kwargs)
        except ALLOWED:
            pass
        else:
            if result.solved:
                assert np.all(np.isfinite(result.values)), (kwargs, result.values)
                assert np.isfinite(result.sse) and np.isfinite(result.standard_error)
                assert np.all(np.isfinite(result.predicted)) and np.all(np.isfinite(result.residuals))
                try:
                    assert np.isfinite(result.predict(1.0))
                except tessarix.Error:
                    pass
            else:
                assert result.message, kwargs
        assert _same(x0, x) and _same(y0, y), "the fit changed the caller's arrays"
        if sd0 is not None:
            assert _same(sd0, kwargs["sd"]), "the fit changed the caller's sd"
