#include "fit_json.hpp"

#include <cmath>
#include <tessarix/core/error.hpp>
#include <tessarix/core/global_constants.hpp>
#include <tessarix/core/regression_parameters.hpp>
#include <tessarix/data/data_collection.hpp>
#include <tessarix/data/data_series.hpp>

#include "json_writer.hpp"
#include "row_check.hpp"

namespace tessarix::tool {

namespace {

void Heading(JsonWriter& json, const ReportHeading& heading, double level) {
  json.Key("tessarix")
      .String(std::to_string(GlobalConstants::tsxMajorVersion()) + "." +
              std::to_string(GlobalConstants::tsxMinorVersion()) + "." +
              std::to_string(GlobalConstants::tsxRevision()));
  json.Key("data").BeginObject();
  json.Key("file").String(heading.data.path);
  json.Key("x").BeginArray();
  for (const std::string& name : heading.x_names) json.String(name);
  json.EndArray();
  json.Key("y").String(heading.y_name);
  json.Key("sd");
  if (heading.sd_name.empty()) {
    json.Null();
  } else {
    json.String(heading.sd_name);
  }
  json.Key("rows").Integer(heading.skipped.data_lines);
  json.Key("rows_skipped").Integer(heading.skipped.skipped);
  json.Key("skipped").BeginArray();
  for (const SkippedRow& row : heading.skipped.rows) {
    json.BeginObject();
    json.Key("line").Integer(row.line);
    json.Key("reason").String(ReasonKey(row.reason));
    json.Key("column");
    if (row.column.empty()) {
      json.Null();
    } else {
      json.String(row.column);
    }
    json.Key("text").String(row.text);
    json.Key("message").String(SkippedRowText(row, heading.data));
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  json.Key("model").String(heading.model_label);
  json.Key("level").Number(level);
}

// A getter that may raise (a criterion of a perfect fit): null then.
template <class Getter>
void Value(JsonWriter& json, const char* key, Getter&& getter) {
  json.Key(key);
  try {
    json.Number(getter());
  } catch (const Error&) {
    json.Null();
  }
}

void Parameters(JsonWriter& json, const RegressionObject& r, double level) {
  json.Key("parameters").BeginArray();
  for (const auto& p : *r.RegressionParameters()) {
    const bool fixed = p->InitialEstimateType() == tsxEstimateConstant;
    json.BeginObject();
    json.Key("name").String(p->Name());
    json.Key("value").Number(p->Value());
    json.Key("fixed").Bool(fixed);
    json.Key("standard_error").Number(p->StandardError());
    json.Key("prob_t").Number(p->ProbT());
    json.Key("ci_half_width");
    if (fixed) {
      json.Null();
    } else {
      try {
        json.Number(p->CalculateCIDelta(level));
      } catch (const Error&) {
        json.Null();
      }
    }
    json.EndObject();
  }
  json.EndArray();
}

void Statistics(JsonWriter& json, const RegressionObject& r) {
  json.Key("statistics").BeginObject();
  json.Key("observations").Integer(r.NumObservations());
  json.Key("weighted").Bool(r.IsWeighted());
  json.Key("r2").Number(r.R2());
  json.Key("r2_adjusted").Number(r.R2Adjust());
  json.Key("standard_error").Number(r.StandardError());
  json.Key("sse").Number(r.SSE());
  json.Key("sse_weighted").Number(r.SSENorm());
  json.Key("sst").Number(r.SST());
  json.Key("durbin_watson").Number(r.DurbinWatson());
  json.Key("prob_f").Number(r.ProbF());
  json.Key("dof_regression").Integer(r.DOFRegression());
  json.Key("dof_error").Integer(r.DOFError());
  json.Key("dof_total").Integer(r.DOFTotal());
  Value(json, "aic", [&] { return r.AIC(); });
  Value(json, "aicc", [&] { return r.AICc(); });
  Value(json, "bic", [&] { return r.BIC(); });
  json.EndObject();
}

void Correlation(JsonWriter& json, const RegressionObject& r) {
  const Matrix c = r.CorrelationMatrix();
  json.Key("correlation").BeginObject();
  json.Key("parameters").BeginArray();
  for (const auto& p : *r.RegressionParameters()) json.String(p->Name());
  json.EndArray();
  json.Key("matrix").BeginArray();
  for (std::int32_t i = 0; i < c.Rows(); ++i) {
    json.BeginArray();
    for (std::int32_t j = 0; j < c.Cols(); ++j) json.Number(c(i, j));
    json.EndArray();
  }
  json.EndArray();
  json.EndObject();
}

void Band(JsonWriter& json, const char* key, double predicted, const std::vector<double>& half, std::size_t i) {
  json.Key(key);
  if (i >= half.size() || !std::isfinite(half[i])) {
    json.Null();
    return;
  }
  json.BeginArray().Number(predicted - half[i]).Number(predicted + half[i]).EndArray();
}

void Points(JsonWriter& json, const RegressionObject& r, const DataBands& bands) {
  const auto tables = r.ResultTables();
  const std::int32_t m = r.NumIndependentVariables();
  const std::int32_t columns = tables->Count();
  std::vector<std::vector<double>> x;
  for (std::int32_t k = 1; k <= m; ++k) x.push_back(tables->Item(k)->ExportToArray());
  const std::vector<double> y = tables->Item(m + 1)->ExportToArray();
  const std::vector<double> sd = r.IsWeighted() ? tables->Item(m + 2)->ExportToArray() : std::vector<double>();
  const std::vector<double> predicted = tables->Item(columns - 1)->ExportToArray();
  const std::vector<double> residuals = tables->Item(columns)->ExportToArray();
  json.Key("points").BeginArray();
  for (std::size_t i = 0; i < y.size(); ++i) {
    json.BeginObject();
    json.Key("x");
    if (m == 1) {
      json.Number(x[0][i]);
    } else {
      json.BeginArray();
      for (const auto& column : x) json.Number(column[i]);
      json.EndArray();
    }
    json.Key("y").Number(y[i]);
    if (!sd.empty()) json.Key("sd").Number(sd[i]);
    json.Key("predicted").Number(predicted[i]);
    json.Key("residual").Number(residuals[i]);
    Band(json, "confidence", predicted[i], bands.confidence, i);
    Band(json, "prediction", predicted[i], bands.prediction, i);
    json.EndObject();
  }
  json.EndArray();
}

}  // namespace

std::string SolvedFitJson(const RegressionObject& regression, const ReportHeading& heading, const DataBands& bands,
                          double level) {
  JsonWriter json;
  json.BeginObject();
  Heading(json, heading, level);
  json.Key("solved").Bool(true);
  json.Key("convergence").BeginObject();
  json.Key("method").String(MethodName(regression));
  json.Key("ending").String(EndingLines(regression.SolutionLog()));
  json.Key("iterations").Integer(regression.NumIterations());
  json.Key("unchanged_iterations").Integer(regression.NumUnchangedIterations());
  json.EndObject();
  Parameters(json, regression, level);
  Statistics(json, regression);
  Correlation(json, regression);
  Points(json, regression, bands);
  json.EndObject();
  return json.Text();
}

std::string FailedFitJson(const FailureSummary& failure, const ReportHeading& heading, double level) {
  JsonWriter json;
  json.BeginObject();
  Heading(json, heading, level);
  json.Key("solved").Bool(false);
  json.Key("failure").BeginObject();
  json.Key("reason").String(failure.reason);
  json.Key("method").String(failure.method);
  json.Key("ending").String(failure.ending);
  json.Key("iterations").Integer(failure.iterations);
  json.Key("max_iterations").Integer(failure.max_iterations);
  json.Key("sse").Number(failure.sse.value_or(NAN));
  json.Key("first_sse").Number(failure.start_sse.value_or(NAN));
  json.Key("parameters").BeginArray();
  for (const auto& p : failure.parameters) {
    json.BeginObject();
    json.Key("name").String(p.name);
    json.Key("start").Number(p.start);
    json.Key("reached").Number(p.reached.value_or(NAN));
    json.Key("fixed").Bool(p.fixed);
    json.EndObject();
  }
  json.EndArray();
  json.Key("log_tail").BeginArray();
  for (const std::string& line : failure.log_tail) json.String(line);
  json.EndArray();
  json.Key("hints").BeginArray();
  for (const std::string& hint : failure.hints) json.String(hint);
  json.EndArray();
  json.EndObject();
  json.EndObject();
  return json.Text();
}

}  // namespace tessarix::tool
