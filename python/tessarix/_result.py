"""The result of a fit: plain data that pickles, and the regression object
behind it for the queries (prediction, derivative, roots, integral)."""

from __future__ import annotations

import inspect
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from . import _report
from ._tessarix import _Regression

# The version of the pickled state; a newer package reads older states.
_STATE_VERSION = 1


class Parameter(NamedTuple):
    """One fitted parameter of a solved fit."""

    name: str
    value: float
    standard_error: float
    prob_t: float
    fixed: bool


class ModelSpec:
    """What defines the model: text, a catalogue number or a Python callable
    (with its parameter names and optional derivatives). Pickles as itself:
    a callable pickles by reference, as pickle does for functions."""

    __slots__ = ("kind", "text", "model_id", "function", "derivatives", "names")

    def __init__(self, kind: str, text: Optional[str] = None, model_id: Optional[int] = None,
                 function: Optional[Callable[..., Any]] = None, derivatives: Optional[Callable[..., Any]] = None,
                 names: Optional[Sequence[str]] = None) -> None:
        self.kind = kind
        self.text = text
        self.model_id = model_id
        self.function = function
        self.derivatives = derivatives
        self.names = tuple(names) if names is not None else None

    @classmethod
    def from_arguments(cls, model: Any, model_id: Any, derivatives: Any, parameters: Any) -> "ModelSpec":
        if model is not None and model_id is not None:
            raise TypeError("give either model or model_id, not both")
        if derivatives is not None and not callable(model):
            raise TypeError("derivatives go with a callable model")
        if parameters is not None and not callable(model):
            raise TypeError("parameters names go with a callable model (text models name their own)")
        if model_id is not None:
            if isinstance(model_id, bool) or not isinstance(model_id, (int, np.integer)):
                raise TypeError("model_id must be an integer")
            return cls("id", model_id=int(model_id))
        if isinstance(model, str):
            return cls("text", text=model)
        if callable(model):
            names = list(parameters) if parameters is not None else _parameter_names(model)
            if not names:
                raise ValueError("a callable model needs at least one parameter: f(x, a, b, ...)")
            if not all(isinstance(n, str) for n in names):
                raise TypeError("parameter names must be strings")
            return cls("callable", function=model, derivatives=derivatives, names=names)
        if model is None:
            raise TypeError("give a model: text such as 'a*exp(-b*x)+c', a callable f(x, a, b, ...), or model_id=N")
        raise TypeError(f"the model must be text or a callable, not {type(model).__name__}")

    def build(self, variables: int) -> _Regression:
        reg = _Regression(variables)
        if self.kind == "text":
            reg.define_text(self.text)
        elif self.kind == "id":
            reg.define_id(self.model_id)
        else:
            reg.define_callable(self.function, self.derivatives, list(self.names))
        return reg

    def describe(self) -> str:
        if self.kind == "text":
            return str(self.text)
        if self.kind == "id":
            return f"pre-defined model {self.model_id}"
        name = getattr(self.function, "__qualname__", None) or type(self.function).__name__
        return f"{name}({', '.join(('x',) + tuple(self.names or ()))})"

    def __getstate__(self) -> Tuple[Any, ...]:
        return tuple(getattr(self, s) for s in self.__slots__)

    def __setstate__(self, state: Tuple[Any, ...]) -> None:
        for slot, value in zip(self.__slots__, state):
            setattr(self, slot, value)


def _parameter_names(function: Callable[..., Any]) -> List[str]:
    """The names after the first argument, as curve_fit reads them."""
    try:
        signature = inspect.signature(function)
    except (TypeError, ValueError) as e:
        raise TypeError("cannot read the parameter names of the model; pass parameters=[...]") from e
    names = []
    for i, p in enumerate(signature.parameters.values()):
        if p.kind in (p.VAR_POSITIONAL, p.VAR_KEYWORD):
            raise TypeError("a model taking *args or **kwargs needs parameters=[...] to name its parameters")
        if i > 0 and p.kind != p.KEYWORD_ONLY:
            names.append(p.name)
    return names


class FitResult:
    """The outcome of tessarix.fit.

    A fit that does not converge does not raise: ``solved`` is False and
    ``message`` and ``log`` say why. The parameter values, statistics and
    queries of an unsolved fit raise tessarix.Error ``ModelNotSolved``.

    Each result owns its own regression object, so results are independent
    of each other and of the threads that made them. A result pickles as its
    data (parameters, statistics, residuals, log, the model and the
    observations); an unpickled result defines its model again, holding the
    parameters at their fitted values, the first time it is queried.
    """

    def __init__(self, spec: ModelSpec, variables: int, x: np.ndarray, y: np.ndarray, sd: Optional[np.ndarray],
                 snapshot: Dict[str, Any], regression: Optional[_Regression]) -> None:
        self._spec = spec
        self._variables = variables
        self._x = x
        self._y = y
        self._sd = sd
        self._data = snapshot
        self._regression = regression
        # False for an unpickled result, whose regression object holds the
        # fitted values as constants: its queries are right, its statistics not.
        self._fitted = regression is not None
        # Half-widths of the confidence intervals by level, computed on request
        # (the t quantile is not cheap beside a small fit); the 95% ones are
        # always pickled.
        self._ci: Dict[float, Optional[np.ndarray]] = {}

    # ---- the fit ---------------------------------------------------------------------
    @property
    def solved(self) -> bool:
        """True when the fit converged and its statistics were accepted."""
        return bool(self._data["solved"])

    @property
    def method(self) -> str:
        """The solver that ran: "marquardt" or "trust-region"."""
        return str(self._data.get("method", "marquardt"))

    @property
    def message(self) -> str:
        """Why the fit failed; "No errors" for a solved fit."""
        return str(self._data["message"])

    @property
    def log(self) -> str:
        """The solution log of the run (lines end with CR LF)."""
        return str(self._data["log"])

    @property
    def model(self) -> Any:
        """The model text, the callable, or None for a catalogue model."""
        if self._spec.kind == "text":
            return self._spec.text
        return self._spec.function if self._spec.kind == "callable" else None

    @property
    def model_id(self) -> Optional[int]:
        """The catalogue number of a pre-defined model, else None."""
        return self._spec.model_id

    @property
    def variables(self) -> int:
        """Independent variables: 1 for one-dimensional x, else the columns of x."""
        return self._variables or 1

    # ---- parameters --------------------------------------------------------------------
    @property
    def names(self) -> Tuple[str, ...]:
        """The parameter names, in the model's order."""
        return tuple(self._data["names"])

    @property
    def fixed(self) -> Tuple[bool, ...]:
        """Which parameters were held constant."""
        return tuple(bool(f) for f in self._data["fixed"])

    @property
    def estimates(self) -> np.ndarray:
        """The starting values the fit used."""
        return self._data["estimates"]

    @property
    def values(self) -> np.ndarray:
        """The fitted parameter values."""
        return self._solved("values")

    @property
    def standard_errors(self) -> np.ndarray:
        """Standard errors of the values (0 for fixed parameters)."""
        return self._solved("standard_errors")

    @property
    def prob_t(self) -> np.ndarray:
        """Two-sided probability of Student's t for "the value is 0"."""
        return self._solved("prob_t")

    @property
    def params(self) -> Dict[str, float]:
        """Name -> fitted value."""
        return dict(zip(self.names, (float(v) for v in self.values)))

    @property
    def parameters(self) -> List[Parameter]:
        """One Parameter (name, value, standard error, t probability, fixed) per parameter."""
        return [Parameter(n, float(v), float(s), float(p), f)
                for n, v, s, p, f in zip(self.names, self.values, self.standard_errors, self.prob_t, self.fixed)]

    def __getitem__(self, name: str) -> float:
        return self.params[name]

    @property
    def covariance(self) -> np.ndarray:
        """Covariance matrix of the values: the inverse curvature matrix times
        the residual variance (StandardError squared), as curve_fit's pcov."""
        unscaled = self._solved("covariance")
        return unscaled * self.standard_error ** 2

    def confidence_intervals(self, level: float = 0.95) -> np.ndarray:
        """(lower, upper) for each parameter at `level` (0 < level < 1), shape
        (parameters, 2). An unpickled result knows the levels computed before
        it was pickled (95% always)."""
        self._solved("values")
        level = float(level)
        if level not in self._ci:
            if not self._fitted:
                raise ValueError(f"the {level:g} interval was not computed before this result was pickled; "
                                 "levels available: " + ", ".join(f"{k:g}" for k in sorted(self._ci)))
            self._ci[level] = self._confidence_deltas(level)
        deltas = self._ci[level]
        if deltas is None:
            # The library raises the error for this level.
            self._regression.confidence_deltas(level)  # type: ignore[union-attr]
        values = self.values
        return np.column_stack([values - deltas, values + deltas])

    def _confidence_deltas(self, level: float) -> Optional[np.ndarray]:
        assert self._regression is not None
        if not 0.0 < level < 1.0:
            # The library's InvalidArgument error.
            self._regression.confidence_deltas(level)
        try:
            return self._regression.confidence_deltas(level)
        except Exception:  # the t quantile cannot be had: shown as "-"
            return None

    # ---- statistics --------------------------------------------------------------------
    @property
    def statistics(self) -> Dict[str, Any]:
        """The regression statistics under the library's names (R2, R2Adjust,
        StandardError, SSE, SSENorm, SST, SSR, ResidualSum, ResidualAverage,
        DurbinWatson, ProbF, DOFRegression, DOFError, DOFTotal, NumObservations,
        NumIterations, NumUnchangedIterations, IsWeighted)."""
        return dict(self._solved("statistics"))

    def _stat(self, name: str) -> Any:
        return self._solved("statistics")[name]

    r2 = property(lambda self: self._stat("R2"), doc="Coefficient of determination.")
    r2_adjusted = property(lambda self: self._stat("R2Adjust"), doc="R2 adjusted for the degrees of freedom.")
    standard_error = property(lambda self: self._stat("StandardError"), doc="sqrt(SSENorm / DOFError).")
    sse = property(lambda self: self._stat("SSE"), doc="Unweighted sum of squared residuals.")
    iterations = property(lambda self: self._stat("NumIterations"), doc="Iterations of the run.")
    n = property(lambda self: self._stat("NumObservations"), doc="Observations fitted.")
    dof = property(lambda self: self._stat("DOFError"), doc="Degrees of freedom of the error.")

    # ---- observations and residuals ------------------------------------------------------
    @property
    def x(self) -> np.ndarray:
        """The x the fit was given (the caller's array when it was float64 and contiguous)."""
        return self._x

    @property
    def y(self) -> np.ndarray:
        return self._y

    @property
    def sd(self) -> Optional[np.ndarray]:
        """The standard deviations of a weighted fit, else None."""
        return self._sd

    @property
    def predicted(self) -> np.ndarray:
        """The model at each observation."""
        return self._solved("predicted")

    @property
    def residuals(self) -> np.ndarray:
        """y - predicted."""
        return self._solved("residuals")

    # ---- queries -------------------------------------------------------------------------
    def predict(self, x: Any) -> Any:
        """The model at x: a number for a number, else an array of x's shape
        (one value per row of a 2-D x for several variables). Raises
        tessarix.Error ModelEvaluationError where the model cannot be evaluated."""
        scalar = np.ndim(x) == 0 if self._variables == 0 else np.ndim(x) == 1
        points = np.ascontiguousarray(x, dtype=np.float64)
        if self._variables:
            points = np.atleast_2d(points)
        out = self._engine().predict(points)
        return float(out.reshape(-1)[0]) if scalar else out

    def derivative(self, x: Any, index: int = 0) -> Any:
        """dy/dx at x (for several variables: along variable `index`, 0 for x1,
        the others held at their values in each row of x)."""
        scalar = np.ndim(x) == 0 if self._variables == 0 else np.ndim(x) == 1
        points = np.ascontiguousarray(x, dtype=np.float64)
        if self._variables:
            points = np.atleast_2d(points)
        out = self._engine().derivative(points, index)
        return float(out.reshape(-1)[0]) if scalar else out

    def roots(self, y: float, lo: float, hi: float, intervals: int = 100, *, point: Any = None,
              index: int = 0) -> np.ndarray:
        """The x in [lo, hi] where the model equals y, ascending, found by a scan
        of `intervals` intervals and bisection (two roots in one interval are
        missed). For several variables: along variable `index`, the others at
        `point`."""
        if self._variables and point is None:
            raise TypeError("roots of a model of several variables need point=[x1, x2, ...]")
        p = None if point is None else np.ascontiguousarray(point, dtype=np.float64)
        return self._engine().roots(float(y), float(lo), float(hi), int(intervals), p, int(index))

    def integral(self, lo: float, hi: float) -> float:
        """The integral of the model from lo to hi (Romberg, relative 1e-6)."""
        return self._engine().integral(float(lo), float(hi))

    # ---- rows for tables -------------------------------------------------------------------
    def to_dict(self) -> Dict[str, Any]:
        """One flat row: solved, message, each parameter's value and standard
        error (name and name_se), r2, r2_adjusted, standard_error, sse,
        iterations, n. Values of an unsolved fit are None."""
        row: Dict[str, Any] = {"solved": self.solved, "message": self.message}
        solved = self.solved
        for i, name in enumerate(self.names):
            row[name] = float(self._data["values"][i]) if solved else None
            row[name + "_se"] = float(self._data["standard_errors"][i]) if solved else None
        for key, stat in (("r2", "R2"), ("r2_adjusted", "R2Adjust"), ("standard_error", "StandardError"),
                          ("sse", "SSE"), ("iterations", "NumIterations"), ("n", "NumObservations")):
            row[key] = self._data["statistics"][stat] if solved else None
        return row

    # ---- display ---------------------------------------------------------------------------
    def __repr__(self) -> str:
        return _report.text(self)

    def _repr_html_(self) -> str:
        return _report.html(self)

    def _report_ci(self) -> Optional[np.ndarray]:
        if 0.95 not in self._ci and self._fitted and self.solved:
            self._ci[0.95] = self._confidence_deltas(0.95)
        return self._ci.get(0.95)

    def _model_text(self) -> str:
        return self._spec.describe()

    # ---- pickling ---------------------------------------------------------------------------
    def __getstate__(self) -> Dict[str, Any]:
        self._report_ci()
        return {"version": _STATE_VERSION, "spec": self._spec, "variables": self._variables, "x": self._x,
                "y": self._y, "sd": self._sd, "data": self._data, "ci": self._ci}

    def __setstate__(self, state: Dict[str, Any]) -> None:
        if state.get("version", 0) > _STATE_VERSION:
            raise ValueError("this result was pickled by a newer tessarix")
        self._spec = state["spec"]
        self._variables = state["variables"]
        self._x, self._y, self._sd = state["x"], state["y"], state["sd"]
        self._data = state["data"]
        self._ci = state["ci"]
        self._regression = None
        self._fitted = False

    # ---- internals ----------------------------------------------------------------------------
    def _solved(self, key: str) -> Any:
        if not self._data["solved"]:
            # The library's ModelNotSolved (or ModelNotDefined).
            self._engine().require_solved()
        return self._data[key]

    def _engine(self) -> _Regression:
        """The regression object; an unpickled result makes it again: the model
        defined anew, every parameter held at its fitted value, and the stored
        observations fitted so that the data words of a text model (xmin,
        ymax, ...) are those of the original fit."""
        if self._regression is None:
            reg = self._spec.build(self._variables)
            if self._data["solved"]:
                for name, value in zip(self._data["names"], self._data["values"]):
                    reg.set_estimate(name, float(value))
                    reg.set_fixed(name, True)
                reg.set_max_iterations(1)
                reg.set_max_unchanged_iterations(1)
                reg.fit(self._x, self._y, self._sd, release=False)
            self._regression = reg
        return self._regression
