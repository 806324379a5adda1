"""Tessarix: non-linear least-squares curve fitting.

Models are text in Tessarix's model language ("a*exp(-b*x)+c", with special
functions), pre-defined models of the catalogue chosen by number (with
automatic starting values), or Python callables evaluated on whole numpy
arrays. A fit runs without the interpreter lock, so threads fit in parallel;
results are independent objects that pickle.

    >>> import numpy as np, tessarix
    >>> x = np.linspace(0, 10, 50); y = 3 * np.exp(-0.4 * x) + 1
    >>> r = tessarix.fit(x, y, "a*exp(-b*x)+c")
    >>> round(r["b"], 6)
    0.4
"""

from __future__ import annotations

from typing import Any, Callable, Dict, Iterable, List, Mapping, Optional, Sequence, Union

import numpy as np

from ._result import FitResult, ModelSpec, Parameter
from ._tessarix import Error, ErrorCode, __version__, _models, _rank

__all__ = ["fit", "rank", "models", "FitResult", "Parameter", "Error", "ErrorCode", "__version__"]

# The solver methods: the library's classic Marquardt iteration (its default)
# and its trust-region Levenberg-Marquardt method.
_METHODS = ("marquardt", "trust-region")


def _trust_region(method: Optional[str]) -> bool:
    if method is None:
        return False
    if not isinstance(method, str) or method.lower() not in _METHODS:
        raise ValueError(f"unknown method {method!r}; the methods are {', '.join(_METHODS)}")
    return method.lower() == "trust-region"


def _as_array(value: Any, name: str) -> np.ndarray:
    """float64 and C-contiguous; the caller's own array when it already is."""
    try:
        return np.ascontiguousarray(value, dtype=np.float64)
    except (TypeError, ValueError) as e:
        raise TypeError(f"{name} must be an array of numbers") from e


def _variables(x: np.ndarray) -> int:
    if x.ndim == 1:
        return 0
    if x.ndim == 2:
        if x.shape[1] < 1:
            raise ValueError("x must have at least one column")
        return int(x.shape[1])
    raise ValueError(f"x must have 1 dimension (one variable) or 2 (one column per variable), not {x.ndim}")


def _apply_estimates(reg: Any, names: Sequence[str], estimates: Any, fixed: Any) -> None:
    known = {n.lower(): n for n in names}

    def lookup(name: Any) -> str:
        if not isinstance(name, str) or name.lower() not in known:
            raise ValueError(f"unknown parameter {name!r}; the model's parameters are {', '.join(names)}")
        return known[name.lower()]

    if estimates is not None:
        if isinstance(estimates, Mapping):
            pairs = [(lookup(k), v) for k, v in estimates.items()]
        else:
            values = list(estimates)
            if len(values) != len(names):
                raise ValueError(f"estimates has {len(values)} values for {len(names)} parameters")
            pairs = list(zip(names, values))
        for name, value in pairs:
            reg.set_estimate(name, float(value))
    if fixed is not None:
        if isinstance(fixed, Mapping):
            for k, v in fixed.items():
                name = lookup(k)
                reg.set_estimate(name, float(v))
                reg.set_fixed(name, True)
        else:
            if isinstance(fixed, str):
                fixed = [fixed]
            for k in fixed:
                reg.set_fixed(lookup(k), True)


def fit(x: Any, y: Any, model: Union[str, Callable[..., Any], None] = None, *,
        model_id: Optional[int] = None,
        sd: Any = None,
        estimates: Union[Mapping[str, float], Sequence[float], None] = None,
        fixed: Union[Mapping[str, float], Iterable[str], None] = None,
        method: Optional[str] = None,
        max_iterations: Optional[int] = None,
        tolerance: Optional[float] = None,
        derivatives: Optional[Callable[..., Any]] = None,
        parameters: Optional[Sequence[str]] = None,
        threads: Optional[int] = None,
        derivative_method: Optional[str] = None,
        vector_math: bool = False) -> FitResult:
    """Fits a model to (x, y) by non-linear least squares.

    x: one-dimensional for a model of x; two-dimensional (one row per
        observation, one column per variable) for a model of x1, x2, ...
    y: one value per observation.
    model: the model as text ("a*exp(-b*x)+c"; "a*x1+b*x2^c" for several
        variables) or a callable f(x, a, b, ...) that takes the whole array of
        points (a block of rows at a time) and returns one value per point.
        The parameter names of a callable are its argument names after x,
        unless `parameters` names them.
    model_id: instead of `model`, a pre-defined model of the catalogue
        (tessarix.models()); with no estimates given, its starting values are
        found automatically.
    sd: standard deviations of y; the fit is weighted by 1/sd^2.
    estimates: starting values, by name (dict) or in parameter order
        (default 1.0). Setting any turns the catalogue's automatic
        estimates off.
    fixed: parameters held constant: names (held at their estimates) or a
        dict name -> value.
    method: the solver: None or "marquardt" for the library's classic
        Marquardt iteration (the default), "trust-region" for its
        trust-region Levenberg-Marquardt method, which ends at the best point
        found; ValueError for another.
    max_iterations, tolerance: the iteration limit (default 250) and the
        convergence tolerance in percent (default 1e-10): the change of the
        merit function for "marquardt", the relative change of the
        parameters for "trust-region".
    derivatives: for a callable model, a callable with the same arguments
        returning an array of shape (points, parameters). Without it the
        derivatives are central differences over the whole block.
    threads: threads of one fit's passes over the data (text models are
        evaluated on one thread; catalogue models in parallel).
    derivative_method: for a text model, None or "numerical" (extrapolated
        differences, the library's default) or "exact" (the model text
        differentiated by the library, usually several times faster);
        ValueError for another.
    vector_math: for a text model, evaluate exp, log, sin and cos with the
        vector routines of the C library (within 4 ulp of the scalar ones).

    Returns a FitResult. A fit that does not converge does not raise: read
    ``result.solved`` and ``result.message``. Library errors (bad model
    text, bad data, bad settings) raise tessarix.Error; an exception raised by
    a callable model stops the fit and is raised as it is.
    """
    trust_region = _trust_region(method)
    if derivative_method is not None and (not isinstance(derivative_method, str) or
                                          derivative_method.lower() not in ("numerical", "exact")):
        raise ValueError(f"unknown derivative_method {derivative_method!r}; the methods are numerical, exact")
    exact = derivative_method is not None and derivative_method.lower() == "exact"
    spec = ModelSpec.from_arguments(model, model_id, derivatives, parameters)
    xa = _as_array(x, "x")
    ya = _as_array(y, "y")
    sda = None if sd is None else _as_array(sd, "sd")
    variables = _variables(xa)
    reg = spec.build(variables)
    _apply_estimates(reg, reg.parameter_names(), estimates, fixed)
    if max_iterations is not None:
        reg.set_max_iterations(int(max_iterations))
    if tolerance is not None:
        reg.set_tolerance(float(tolerance))
    if threads is not None:
        reg.set_threads(int(threads))
    if trust_region:
        reg.set_trust_region(True)
    if exact:
        reg.set_exact_derivatives(True)
    if vector_math:
        reg.set_vector_math(True)
    reg.fit(xa, ya, sda)
    return FitResult(spec, variables, xa, ya, sda, reg.snapshot(), reg)


def models(word: Optional[str] = None, *, variables: int = 1) -> List[Dict[str, Any]]:
    """The pre-defined models of `variables` independent variables, in ID
    order: dicts with model_id, definition, description, parameters (their
    count) and variables. One variable: the catalogue of one-dimensional x
    (IDs 1 to 298); more: the multi-variable catalogue's models in x1 .. xm
    (for 2-D x of m columns). `word` keeps the models whose definition or
    description contains it (letter case ignored)."""
    if isinstance(variables, bool) or not isinstance(variables, (int, np.integer)) or variables < 1:
        raise ValueError("variables must be a positive integer")
    rows = _models(int(variables))
    if word:
        w = word.lower()
        rows = [r for r in rows if w in r["definition"].lower() or w in r["description"].lower()]
    return rows


def rank(x: Any, y: Any, *, sd: Any = None, top: Optional[int] = None, threads: Optional[int] = None,
         max_iterations: Optional[int] = None, tolerance: Optional[float] = None, method: Optional[str] = None,
         as_frame: bool = False) -> Any:
    """Fits every pre-defined model to (x, y), on `threads` threads (default:
    every core) without the interpreter lock, and returns them best first
    (for 2-D x of m columns: the models of m variables, see models()):
    the solved models by adjusted R2 (ties by standard error), then the
    failures. Each row is a dict: rank, model_id, definition, description,
    solved, r2_adjusted, standard_error, sse (None for a failure) and failure
    (the reason, "" when solved). `method` as for fit(). `top` keeps the first rows; `as_frame`
    returns a pandas DataFrame instead of a list."""
    xa = _as_array(x, "x")
    ya = _as_array(y, "y")
    sda = None if sd is None else _as_array(sd, "sd")
    trust_region = _trust_region(method)
    rows = _rank(xa, ya, sda, threads, max_iterations, tolerance, trust_region)
    for i, row in enumerate(rows):
        row["rank"] = i + 1 if row["solved"] else None
    if top is not None:
        rows = rows[: max(int(top), 0)]
    if as_frame:
        import pandas as pd  # optional: only for as_frame

        columns = ["rank", "model_id", "definition", "description", "solved", "r2_adjusted", "standard_error",
                   "sse", "failure"]
        return pd.DataFrame(rows, columns=columns)
    return rows
