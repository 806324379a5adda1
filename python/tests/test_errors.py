"""Library errors reach Python as tessarix.Error with the catalogue's fields;
argument mistakes of the Python layer are the usual Python exceptions."""

import pickle

import numpy as np
import pytest

import tessarix

X = np.linspace(0.0, 5.0, 20)
Y = 2.0 * np.exp(-0.5 * X) + 0.25


def raised(call):
    with pytest.raises(tessarix.Error) as info:
        call()
    return info.value


def test_error_fields_follow_the_catalogue():
    e = raised(lambda: tessarix.fit(X, Y, "a*exp(-b*x"))
    assert (e.help_context, e.code, e.number) == (10015, "ModelSyntax", 0x80040201 + 14)
    assert e.description == "Model definition error, invalid model syntax" == str(e)
    assert e.source == "Tessarix"
    assert tessarix.ErrorCode(e.help_context).name == e.code
    # An error crosses process boundaries (Dask, multiprocessing) intact.
    copy = pickle.loads(pickle.dumps(e))
    assert isinstance(copy, tessarix.Error)
    assert (copy.help_context, copy.code, copy.description) == (10015, "ModelSyntax", e.description)


@pytest.mark.parametrize("call, code", [
    (lambda: tessarix.fit(X, Y[:-1], "a*exp(-b*x)"), "UnequalArrayDimensions"),
    (lambda: tessarix.fit([], [], "a*exp(-b*x)"), "NoObservationsInArray"),
    (lambda: tessarix.fit(X, Y, model_id=9999), "InvalidPredefinedModelId"),
    (lambda: tessarix.fit(X, Y, "a*exp(-b*x)", max_iterations=0), "InvalidPropertyValue"),
    (lambda: tessarix.fit(X, Y, "2*x"), "ModelNoParameters"),
    (lambda: tessarix.fit(X, Y, "a*b"), "ModelNoIndependentVariables"),
    (lambda: tessarix.fit(X, Y, lambda x, a, A: a * x + A), "GeneralError"),
    (lambda: tessarix.fit(X, Y, "a*exp(-b*x)+c").confidence_intervals(1.5), "InvalidArgument"),
    (lambda: tessarix.fit(X, Y, "a*exp(-b*x)+c").roots(1.0, 0.0, 5.0, intervals=2), "InvalidArgument"),
])
def test_library_errors(call, code):
    assert raised(call).code == code


def test_unsolved_fit_returns_and_its_results_raise():
    r = tessarix.fit(X, Y, "a*exp(-b*x)+c", max_iterations=1)
    assert not r.solved
    assert r.message == "Solution rejected based on poor goodness of fit statistics"
    assert "Solution failed" in r.log
    assert "Not solved" in repr(r)
    for query in (lambda: r.values, lambda: r.r2, lambda: r.predict(1.0), lambda: r.residuals):
        assert raised(query).code == "ModelNotSolved"
    assert r.to_dict()["a"] is None


def test_model_that_fails_at_a_point():
    r = tessarix.fit(X, Y, "a*exp(-b*x)+c")
    e = raised(lambda: r.predict([1.0, np.nan]))
    assert e.code == "ModelEvaluationError"


def test_python_layer_mistakes():
    with pytest.raises(TypeError):
        tessarix.fit(X, Y)
    with pytest.raises(TypeError):
        tessarix.fit(X, Y, "a*x", model_id=1)
    with pytest.raises(TypeError):
        tessarix.fit(X, ["a"] * len(X), "a*x")
    with pytest.raises(ValueError, match="unknown parameter 'q'"):
        tessarix.fit(X, Y, "a*x", estimates={"q": 1.0})
    with pytest.raises(ValueError, match="1 values for 2 parameters"):
        tessarix.fit(X, Y, "a*x+b", estimates=[1.0])
    with pytest.raises(ValueError, match="dimension"):
        tessarix.fit(np.zeros((2, 2, 2)), Y, "a*x")
    with pytest.raises(ValueError, match="unknown method"):
        tessarix.fit(X, Y, "a*x", method="dogleg")
    assert tessarix.fit(X, Y, "a*exp(-b*x)+c", method="Marquardt").solved
    with pytest.raises(ValueError, match="unknown method"):
        tessarix.rank(X, Y, method="dogleg")
    with pytest.raises(ValueError, match="unknown derivative_method"):
        tessarix.fit(X, Y, "a*x", derivative_method="symbolic")


def test_type_stubs_follow_the_module():
    import ast
    import pathlib

    stubs = ast.parse((pathlib.Path(tessarix.__file__).parent / "__init__.pyi").read_text())
    classes = {n.name: n for n in stubs.body if isinstance(n, ast.ClassDef)}
    stub_codes = [a.target.id for a in classes["ErrorCode"].body if isinstance(a, ast.AnnAssign)]
    assert stub_codes == list(tessarix.ErrorCode.__members__)
    functions = {n.name for n in stubs.body if isinstance(n, ast.FunctionDef)}
    assert set(tessarix.__all__) <= functions | set(classes) | {"__version__"}
