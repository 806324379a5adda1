"""The catalogue listing and the ranking of every model on a data set."""

import numpy as np
import pytest

import tessarix


def test_models_lists_the_catalogue():
    models = tessarix.models()
    assert [m["model_id"] for m in models] == list(range(1, len(models) + 1))
    assert len(models) == 298
    gauss = tessarix.models("gaussian")
    assert gauss and all("gaussian" in (m["definition"] + m["description"]).lower() for m in gauss)


def test_rank_sorts_the_catalogue_by_adjusted_r2():
    x = np.linspace(1.0, 10.0, 40)
    y = 2.0 + 0.5 * x + 0.01 * np.sin(x)
    table = tessarix.rank(x, y, threads=2)
    assert len(table) == 298
    solved = [row for row in table if row["solved"]]
    assert solved and [row["rank"] for row in solved] == list(range(1, len(solved) + 1))
    r2 = [row["r2_adjusted"] for row in solved]
    assert r2 == sorted(r2, reverse=True)
    failed = table[len(solved):]
    assert all(not row["solved"] and row["failure"] and row["rank"] is None for row in failed)
    # The best model fits as well when fitted on its own.
    best = table[0]
    single = tessarix.fit(x, y, model_id=best["model_id"])
    assert single.r2_adjusted == best["r2_adjusted"]
    # The same table on one thread.
    assert tessarix.rank(x, y, threads=1) == table
    assert tessarix.rank(x, y, top=5) == table[:5]


def test_models_and_rank_of_several_variables():
    two = tessarix.models(variables=2)
    assert len(two) == 242 and all(m["variables"] == 2 for m in two)
    assert all(m["variables"] == 3 for m in tessarix.models(variables=3))
    rng = np.random.default_rng(5)
    x = rng.uniform(1.0, 4.0, size=(60, 2))
    y = 1.0 + 2.0 * x[:, 0] + 3.0 * x[:, 1] + 0.001 * np.sin(9.0 * x[:, 0])
    table = tessarix.rank(x, y, top=3)
    assert {row["model_id"] for row in table} <= {m["model_id"] for m in two}
    best = tessarix.fit(x, y, model_id=table[0]["model_id"])
    assert best.r2_adjusted == table[0]["r2_adjusted"] > 0.99


def test_rank_as_data_frame():
    pd = pytest.importorskip("pandas")
    x = np.linspace(1.0, 10.0, 30)
    frame = tessarix.rank(x, 3.0 * x ** 0.5, top=3, as_frame=True)
    assert isinstance(frame, pd.DataFrame) and list(frame["rank"]) == [1, 2, 3]
