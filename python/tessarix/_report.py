"""The readable report of a FitResult: text for repr(), HTML for notebooks."""

from __future__ import annotations

import html as _html
from typing import TYPE_CHECKING, List, Optional, Tuple

if TYPE_CHECKING:  # pragma: no cover
    from ._result import FitResult


def _num(value: float, digits: int = 10) -> str:
    return f"{value:.{digits}g}"


def _prob(value: float) -> str:
    return f"{value:.3g}"


def _parameter_rows(r: "FitResult") -> List[Tuple[str, str, str, str, str]]:
    ci = r._report_ci()
    rows = []
    for i, p in enumerate(r.parameters):
        if p.fixed:
            rows.append((p.name, _num(p.value), "fixed", "", ""))
            continue
        delta = "-" if ci is None else _num(float(ci[i]), 6)
        rows.append((p.name, _num(p.value), _num(p.standard_error, 6), _prob(p.prob_t), delta))
    return rows


def _statistics_rows(r: "FitResult") -> List[Tuple[str, str]]:
    s = r.statistics
    rows = [("R2", _num(s["R2"])), ("Adjusted R2", _num(s["R2Adjust"])),
            ("Standard error", _num(s["StandardError"])), ("SSE", _num(s["SSE"]))]
    if s["IsWeighted"]:
        rows.append(("Weighted SSE", _num(s["SSENorm"])))
    rows += [("Durbin-Watson", _num(s["DurbinWatson"], 6)), ("F probability", _prob(s["ProbF"])),
             ("Degrees of freedom",
              f"regression {s['DOFRegression']}, error {s['DOFError']}, total {s['DOFTotal']}")]
    return rows


def _heading(r: "FitResult") -> List[Tuple[str, str]]:
    weighted = "weighted" if r.sd is not None else "unweighted"
    rows = [("Model", "y = " + r._model_text()),
            ("Observations", f"{len(r.y)}, {weighted}")]
    if r.solved:
        rows.append(("Iterations", str(r.iterations)))
    return rows


def _outcome(r: "FitResult") -> str:
    if not r.solved:
        return "Not solved: " + r.message.strip()
    # The log's line that says how the run ended.
    for line in r.log.splitlines():
        if line.startswith(("Solution converged", "Reached iteration limit", "Solution process aborted")):
            return line
    return "Solved"


def text(r: "FitResult") -> str:
    out = ["Tessarix fit"]
    out += [f"  {k:<14}{v}" for k, v in _heading(r)]
    out.append(f"  {'Outcome':<14}{_outcome(r)}")
    if not r.solved:
        return "\n".join(out)
    rows = [("Parameter", "Value", "Std. error", "t prob.", "95% CI +/-")] + _parameter_rows(r)
    widths = [max(len(row[c]) for row in rows) for c in range(5)]

    def line(row: Tuple[str, ...]) -> str:
        cells = [row[0].ljust(widths[0])] + [row[c].rjust(widths[c]) for c in range(1, 5)]
        return ("  " + "  ".join(cells)).rstrip()

    out += ["", line(rows[0]), "  " + "-" * (sum(widths) + 8)] + [line(row) for row in rows[1:]]
    out += ["", "Statistics"] + [f"  {k:<20}{v}" for k, v in _statistics_rows(r)]
    return "\n".join(out)


def _table(head: Optional[Tuple[str, ...]], rows: List[Tuple[str, ...]]) -> str:
    e = _html.escape
    parts = ["<table>"]
    if head:
        parts.append("<tr>" + "".join(f"<th>{e(h)}</th>" for h in head) + "</tr>")
    for row in rows:
        parts.append("<tr>" + "".join(f"<td>{e(c)}</td>" for c in row) + "</tr>")
    parts.append("</table>")
    return "".join(parts)


def html(r: "FitResult") -> str:
    parts = ["<div class='tessarix-fit'><strong>Tessarix fit</strong>",
             _table(None, _heading(r) + [("Outcome", _outcome(r))])]
    if r.solved:
        parts.append(_table(("Parameter", "Value", "Std. error", "t prob.", "95% CI +/-"), _parameter_rows(r)))
        parts.append(_table(None, _statistics_rows(r)))
    parts.append("</div>")
    return "".join(parts)
