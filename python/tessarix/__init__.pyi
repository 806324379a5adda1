"""Type stubs of the package tessarix."""

from typing import (Any, Callable, ClassVar, Dict, Iterable, List, Literal, Mapping, NamedTuple, Optional, Sequence,
                    Tuple, Union, overload)

import numpy as np
import numpy.typing as npt

__version__: str

ArrayLike = npt.ArrayLike
Model = Union[str, Callable[..., Any]]

class Error(Exception):
    """An error of the Tessarix catalogue."""

    number: int
    help_context: int
    code: str
    description: str
    source: str

class ErrorCode:
    """The rows of the error catalogue (a pybind11 enumeration); each value is the help context."""

    def __init__(self, value: int) -> None: ...
    def __int__(self) -> int: ...
    @property
    def name(self) -> str: ...
    @property
    def value(self) -> int: ...
    GeneralError: ClassVar[ErrorCode]  # 10001
    InvalidKeyOrIndex: ClassVar[ErrorCode]  # 10002
    NameAlreadyInCollection: ClassVar[ErrorCode]  # 10003
    SubscriptOutOfRange: ClassVar[ErrorCode]  # 10004
    ArgumentExceedsArraySize: ClassVar[ErrorCode]  # 10005
    NoObservationsInArray: ClassVar[ErrorCode]  # 10006
    TooFewObservations: ClassVar[ErrorCode]  # 10007
    StatisticMathError: ClassVar[ErrorCode]  # 10008
    ObservationIndexOutOfBounds: ClassVar[ErrorCode]  # 10009
    FileWriteError: ClassVar[ErrorCode]  # 10010
    FileReadError: ClassVar[ErrorCode]  # 10011
    UnequalSeriesLengths: ClassVar[ErrorCode]  # 10012
    UnequalArrayDimensions: ClassVar[ErrorCode]  # 10013
    InvalidArrayDimensions: ClassVar[ErrorCode]  # 10014
    ModelSyntax: ClassVar[ErrorCode]  # 10015
    ModelCyclic: ClassVar[ErrorCode]  # 10016
    ModelUndefinedSubReference: ClassVar[ErrorCode]  # 10017
    ModelMissingSub: ClassVar[ErrorCode]  # 10018
    ModelNoIndependentVariables: ClassVar[ErrorCode]  # 10019
    ModelIndependentVariableMissing: ClassVar[ErrorCode]  # 10020
    ModelNoParameters: ClassVar[ErrorCode]  # 10021
    InvalidPredefinedModelId: ClassVar[ErrorCode]  # 10022
    ModelNotDefined: ClassVar[ErrorCode]  # 10023
    MissingSeriesX: ClassVar[ErrorCode]  # 10024
    MissingIndependentSeries: ClassVar[ErrorCode]  # 10025
    MissingSeriesY: ClassVar[ErrorCode]  # 10026
    InvalidPropertyValue: ClassVar[ErrorCode]  # 10027
    InvalidArgument: ClassVar[ErrorCode]  # 10028
    ModelNotSolved: ClassVar[ErrorCode]  # 10029
    ModelEvaluationError: ClassVar[ErrorCode]  # 10030
    DerivativeError: ClassVar[ErrorCode]  # 10031
    ReadOnlyObject: ClassVar[ErrorCode]  # 10032
    LockedDuringSolution: ClassVar[ErrorCode]  # 10033
    NotValidForExternalModels: ClassVar[ErrorCode]  # 10034
    TypeMismatch: ClassVar[ErrorCode]  # 10035
    UnsupportedTessaraVersion: ClassVar[ErrorCode]  # 10036
    NoTemporaryFileName: ClassVar[ErrorCode]  # 10037
    CannotCreateTemporaryFile: ClassVar[ErrorCode]  # 10038
    SplineXOutOfRange: ClassVar[ErrorCode]  # 10039
    IntegralError: ClassVar[ErrorCode]  # 10040
    TooManyIndependentVariables: ClassVar[ErrorCode]  # 10041
    ExpectedVariantArray: ClassVar[ErrorCode]  # 10042

class Parameter(NamedTuple):
    name: str
    value: float
    standard_error: float
    prob_t: float
    fixed: bool

class FitResult:
    """The outcome of tessarix.fit; pickles as its data."""

    @property
    def solved(self) -> bool: ...
    @property
    def method(self) -> str: ...
    @property
    def message(self) -> str: ...
    @property
    def log(self) -> str: ...
    @property
    def model(self) -> Optional[Model]: ...
    @property
    def model_id(self) -> Optional[int]: ...
    @property
    def variables(self) -> int: ...
    @property
    def names(self) -> Tuple[str, ...]: ...
    @property
    def fixed(self) -> Tuple[bool, ...]: ...
    @property
    def estimates(self) -> np.ndarray: ...
    @property
    def values(self) -> np.ndarray: ...
    @property
    def standard_errors(self) -> np.ndarray: ...
    @property
    def prob_t(self) -> np.ndarray: ...
    @property
    def params(self) -> Dict[str, float]: ...
    @property
    def parameters(self) -> List[Parameter]: ...
    def __getitem__(self, name: str) -> float: ...
    @property
    def covariance(self) -> np.ndarray: ...
    def confidence_intervals(self, level: float = ...) -> np.ndarray: ...
    @property
    def statistics(self) -> Dict[str, Any]: ...
    @property
    def r2(self) -> float: ...
    @property
    def r2_adjusted(self) -> float: ...
    @property
    def standard_error(self) -> float: ...
    @property
    def sse(self) -> float: ...
    @property
    def iterations(self) -> int: ...
    @property
    def n(self) -> int: ...
    @property
    def dof(self) -> int: ...
    @property
    def x(self) -> np.ndarray: ...
    @property
    def y(self) -> np.ndarray: ...
    @property
    def sd(self) -> Optional[np.ndarray]: ...
    @property
    def predicted(self) -> np.ndarray: ...
    @property
    def residuals(self) -> np.ndarray: ...
    @overload
    def predict(self, x: float) -> float: ...
    @overload
    def predict(self, x: ArrayLike) -> Union[float, np.ndarray]: ...
    @overload
    def derivative(self, x: float, index: int = ...) -> float: ...
    @overload
    def derivative(self, x: ArrayLike, index: int = ...) -> Union[float, np.ndarray]: ...
    def roots(self, y: float, lo: float, hi: float, intervals: int = ..., *, point: Optional[ArrayLike] = ...,
              index: int = ...) -> np.ndarray: ...
    def integral(self, lo: float, hi: float) -> float: ...
    def to_dict(self) -> Dict[str, Any]: ...
    def _repr_html_(self) -> str: ...

def fit(x: ArrayLike, y: ArrayLike, model: Optional[Model] = ..., *,
        model_id: Optional[int] = ...,
        sd: Optional[ArrayLike] = ...,
        estimates: Union[Mapping[str, float], Sequence[float], None] = ...,
        fixed: Union[Mapping[str, float], Iterable[str], None] = ...,
        method: Optional[str] = ...,
        max_iterations: Optional[int] = ...,
        tolerance: Optional[float] = ...,
        derivatives: Optional[Callable[..., ArrayLike]] = ...,
        parameters: Optional[Sequence[str]] = ...,
        threads: Optional[int] = ...,
        derivative_method: Optional[str] = ...,
        vector_math: bool = ...) -> FitResult: ...

def models(word: Optional[str] = ..., *, variables: int = ...) -> List[Dict[str, Any]]: ...

@overload
def rank(x: ArrayLike, y: ArrayLike, *, sd: Optional[ArrayLike] = ..., top: Optional[int] = ...,
         threads: Optional[int] = ..., max_iterations: Optional[int] = ..., tolerance: Optional[float] = ...,
         method: Optional[str] = ..., as_frame: Literal[False] = ...) -> List[Dict[str, Any]]: ...
@overload
def rank(x: ArrayLike, y: ArrayLike, *, sd: Optional[ArrayLike] = ..., top: Optional[int] = ...,
         threads: Optional[int] = ..., max_iterations: Optional[int] = ..., tolerance: Optional[float] = ...,
         method: Optional[str] = ..., as_frame: Literal[True]) -> Any: ...
