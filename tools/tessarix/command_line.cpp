#include "command_line.hpp"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <map>
#include <tessarix/core/error.hpp>
#include <tessarix/core/global_constants.hpp>
#include <tessarix/platform/separators.hpp>

#include "catalogue.hpp"
#include "fit_command.hpp"
#include "rank_command.hpp"
#include "spline_command.hpp"
#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

std::string VersionText() {
  return "tessarix " + std::to_string(GlobalConstants::tsxMajorVersion()) + "." +
         std::to_string(GlobalConstants::tsxMinorVersion()) + "." + std::to_string(GlobalConstants::tsxRevision());
}

// The delimiter named on the command line (already checked to be one of these).
DelimiterTypeEnum DelimiterOf(const std::string& name) {
  static const std::map<std::string, DelimiterTypeEnum> names = {{"comma", tsxDelimiterComma},
                                                                 {"tab", tsxDelimiterTab},
                                                                 {"space", tsxDelimiterSpace},
                                                                 {"semicolon", tsxDelimiterSemicolon}};
  std::string lower;
  for (char c : name) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  const auto found = names.find(lower);
  return found == names.end() ? tsxDelimiterComma : found->second;
}

// Options of the data file, shared by fit, rank and spline (which takes one x
// column and no deviations: `regression` false). The delimiter's name is
// stored in `delimiter` and turned into data.delimiter after parsing.
void AddDataOptions(CLI::App& command, DataOptions& data, std::string& delimiter, bool regression = true) {
  command.add_option("DATA", data.path, "Delimited text file: a header line of column names, then rows of numbers")
      ->required()
      ->type_name("FILE");
  command.add_option("--delimiter", delimiter, "Field delimiter: comma, tab, space or semicolon")
      ->check(CLI::IsMember({"comma", "tab", "space", "semicolon"}, CLI::ignore_case))
      ->capture_default_str();
  command.add_option("--decimal", data.decimal_separator, "Decimal separator of the numbers in the file")
      ->check([](const std::string& s) {
        return s.size() == 1 ? std::string() : std::string("the decimal separator is one character");
      })
      ->capture_default_str();
  command.add_option("--missing", data.missing, "Text that marks a missing value; rows holding it are left out")
      ->type_name("TEXT");
  if (!regression) {
    command.add_option("--x", data.x_column, "Column of the independent variable (default: the first)")
        ->type_name("NAME");
    command.add_option("--y", data.y_column, "Column of the dependent variable (default: the second)")
        ->type_name("NAME");
    return;
  }
  command
      .add_option("--x", data.x_column,
                  "Column of the independent variable (default: the first); several as NAME1,NAME2,... for a model "
                  "in x1, x2, ... in that order")
      ->type_name("NAME[,NAME...]");
  command
      .add_option("--y", data.y_column,
                  "Column of the dependent variable (default: the second; with several variables the first column "
                  "that is none of them)")
      ->type_name("NAME");
  command.add_option("--sd", data.sd_column, "Column of standard deviations of Y; the fit is weighted by them")
      ->type_name("NAME");
}

void AddSolverOptions(CLI::App& command, std::optional<std::int32_t>& max_iterations,
                      std::optional<double>& tolerance) {
  command.add_option("--max-iterations", max_iterations, "Iteration limit (default 250)")
      ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
  command
      .add_option("--tolerance", tolerance,
                  "Convergence: relative change of the residual sum, in percent (default 1E-10)")
      ->check(CLI::PositiveNumber);
}

void AddResultFileOptions(CLI::App& command, ResultFileOptions& tsf) {
  command
      .add_option("--tsf", tsf.path,
                  "Save the data and the solution to FILE as a result file of the desktop application Tessara "
                  "(TSF version 8.0 unless --tsf-version says otherwise)")
      ->type_name("FILE");
  command.add_option("--tsf-version", tsf.version, "Tessara version of the --tsf file: 8.0 or 7.1")
      ->check(CLI::IsMember({"8.0", "7.1"}))
      ->capture_default_str();
}

// "NAME=VALUE" of --estimate.
std::pair<std::string, double> ParseEstimate(const std::string& text) {
  const auto equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw ToolError("--estimate wants NAME=VALUE, not '" + CleanText(text) + "'", kExitUsage);
  }
  const std::string name = text.substr(0, equals);
  const std::string number = text.substr(equals + 1);
  double value = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (number.empty() || result.ec != std::errc() || result.ptr != number.data() + number.size()) {
    throw ToolError("--estimate " + CleanText(name) + ": '" + CleanText(number) + "' is not a number", kExitUsage);
  }
  return {name, value};
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  // The tool reads and writes numbers with a decimal point whatever the
  // user's locale, so model texts and reports mean the same everywhere.
  SetSystemSeparators({".", ",", ",", "/", ":"});

  CLI::App app{"Fit mathematical models to measured data, or interpolate them by a cubic spline.", "tessarix"};
  app.set_version_flag("--version", VersionText());
  app.require_subcommand(1);
  app.footer("Run 'tessarix COMMAND --help' for the options of a command.");

  FitOptions fit;
  std::string fit_delimiter = "comma";
  std::vector<std::string> estimates;
  CLI::App* fit_command = app.add_subcommand("fit", "Fit one model to a data file and report it");
  AddDataOptions(*fit_command, fit.data, fit_delimiter);
  auto* model_text =
      fit_command->add_option("--model", fit.model.text, "Model in the model language, e.g. 'a*exp(b*x)'");
  std::int32_t model_id = 0;
  auto* model_id_option =
      fit_command->add_option("--model-id", model_id, "Pre-defined model by number (see 'tessarix models')");
  model_text->excludes(model_id_option);
  // Each occurrence of a repeatable option takes one value, so that
  // "--fix a data.csv" leaves data.csv to DATA.
  fit_command->add_option("--estimate", estimates, "Starting value of a parameter (repeatable)")
      ->allow_extra_args(false)
      ->type_name("NAME=VALUE");
  fit_command->add_option("--fix", fit.model.fixed, "Hold a parameter at its starting value (repeatable)")
      ->allow_extra_args(false)
      ->type_name("NAME");
  AddSolverOptions(*fit_command, fit.model.max_iterations, fit.model.tolerance);
  fit_command->add_option("--log", fit.log_path, "Save the solution log to FILE")->type_name("FILE");
  fit_command->add_option("--table", fit.table_path, "Write X, Y, predicted Y and residuals to FILE as CSV")
      ->type_name("FILE");
  fit_command->add_option("--plot", fit.plot_path, "Draw data, fitted curve and residuals to FILE as SVG")
      ->type_name("FILE");
  fit_command->add_option("--plot-points", fit.plot_points, "Points of the fitted curve in the plot")
      ->check(CLI::Range(2, 100000))
      ->capture_default_str();
  AddResultFileOptions(*fit_command, fit.tsf);

  std::string word;
  CLI::App* models_command = app.add_subcommand("models", "List the pre-defined models");
  models_command->add_option("WORD", word, "Show only models whose ID, definition or description holds WORD");

  RankOptions rank;
  std::string rank_delimiter = "comma";
  CLI::App* rank_command = app.add_subcommand("rank", "Fit every pre-defined model to a data file and list the best");
  AddDataOptions(*rank_command, rank.data, rank_delimiter);
  rank_command->add_option("--top", rank.top, "How many models to list")
      ->check(CLI::Range(1, 100000))
      ->capture_default_str();
  rank_command->add_option("--threads", rank.threads, "Worker threads (default: one per core)")
      ->check(CLI::Range(1u, 1024u));
  AddSolverOptions(*rank_command, rank.max_iterations, rank.tolerance);

  SplineOptions spline;
  std::string spline_delimiter = "comma";
  CLI::App* spline_command =
      app.add_subcommand("spline", "Interpolate a data file by a natural cubic spline and report it");
  AddDataOptions(*spline_command, spline.data, spline_delimiter, false);
  spline_command
      ->add_option("--at", spline.at, "Report y, dy/dx and d2y/dx2 at these x (repeatable, or a list: --at 1,2.5)")
      ->delimiter(',')
      ->type_name("X");
  spline_command->add_option("--table", spline.table_path, "Write X, Y, predicted Y and residuals to FILE as CSV")
      ->type_name("FILE");
  spline_command->add_option("--plot", spline.plot_path, "Draw the data and the spline to FILE as SVG")
      ->type_name("FILE");
  spline_command->add_option("--plot-points", spline.plot_points, "Points of the spline in the plot")
      ->check(CLI::Range(2, 100000))
      ->capture_default_str();
  AddResultFileOptions(*spline_command, spline.tsf);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e, out, err);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e, out, err);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e, out, err);
  } catch (const CLI::ParseError& e) {
    err << "tessarix: error: " << e.what() << "\nRun 'tessarix --help' for usage.\n";
    return kExitUsage;
  }

  try {
    if (fit_command->parsed()) {
      fit.data.delimiter = DelimiterOf(fit_delimiter);
      if (model_id_option->count() > 0) fit.model.id = model_id;
      if (!fit.model.id && model_text->count() == 0) {
        throw ToolError("fit needs a model: --model TEXT or --model-id N", kExitUsage);
      }
      for (const std::string& e : estimates) fit.model.estimates.push_back(ParseEstimate(e));
      return RunFit(fit, out);
    }
    if (models_command->parsed()) {
      const auto found = FindModels(Catalogue(), word);
      if (found.empty()) throw ToolError("no pre-defined model matches '" + CleanText(word) + "'");
      out << ModelListing(found);
      return kExitOk;
    }
    if (spline_command->parsed()) {
      spline.data.delimiter = DelimiterOf(spline_delimiter);
      return RunSpline(spline, out);
    }
    if (rank_command->parsed()) {
      rank.data.delimiter = DelimiterOf(rank_delimiter);
      rank.progress = isatty(STDOUT_FILENO) == 1;
      return RunRank(rank, out);
    }
  } catch (const ToolError& e) {
    out.flush();
    err << "tessarix: error: " << e.what() << '\n';
    return e.ExitStatus();
  } catch (const Error& e) {
    out.flush();
    err << "tessarix: error: " << e.Description() << '\n';
    return kExitFailure;
  } catch (const std::exception& e) {
    out.flush();
    err << "tessarix: error: " << e.what() << '\n';
    return kExitFailure;
  }
  return kExitUsage;
}

}  // namespace tessarix::tool
