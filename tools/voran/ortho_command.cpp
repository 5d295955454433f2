#include "tools/voran/ortho_command.h"

#include <memory>
#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/model_file.h"
#include "tools/voran/opls_fit.h"
#include "tools/voran/ortho_fit.h"
#include "tools/voran/ortho_prediction.h"
#include "tools/voran/ortho_report.h"
#include "tools/voran/regression_options.h"
#include "tools/voran/yopls_fit.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

// What sets the two commands apart.
struct OrthoKind {
  const char* command;
  const char* title;
  const char* orthoOption;
  bool hasInnerModel;
  MakeOrthoFitter makeFitter;
  void (*setMatrices)(const OrthoMatrices&, SavedModel&);
};

constexpr OrthoKind kOpls = {"opls", "OPLS", "--ortho", false, MakeOplsFitter, SetOplsMatrices};
constexpr OrthoKind kYopls = {"yopls", "Y-orthogonal PLS", "--y-ortho", true, MakeYoplsFitter, SetYoplsMatrices};

constexpr int kMostInnerComponents = 25;  // the library has no more

struct OrthoOptions {
  RegressionOptions common;
  OrthoSettings settings;
};

void RunOrtho(const OrthoKind& kind, const OrthoOptions& options) {
  options.common.RefuseAutoWithoutCv(!options.settings.ortho, "orthogonal components", kind.orthoOption);
  CommandRun run(options.common.run);
  Table table = run.ReadTable();
  OrthoSettings settings = options.settings;
  settings.orthoOption = kind.orthoOption;
  options.common.Complete(table, settings);
  const OrthoResult result = [&] {
    NCProgress progress(kind.title, 0.0f, 1.0f, false, false, true, "");
    return FitOrtho(table, settings, kind.makeFitter, &progress);
  }();
  run.Tell(table.source, result.notes);
  const OrthoReport report = {table, settings, result, kind.command, kind.title};
  run.Finish(
      OrthoText(report), OrthoJson(report), [&](OutputDirectory& folder) { WriteOrthoTables(report, folder); },
      [&](std::ostream& out) {
        SavedModel model = RegressionModel(kind.command, result, ToText(OrthoJson(report)));
        kind.setMatrices(result.matrices, model);
        WriteModel(out, model);
      });
}

void AddOrthoCommand(CommandLine& program, const OrthoKind& kind, const std::string& description,
                     const std::string& examples) {
  Command command = program.AddCommand(kind.command, description);
  auto options = std::make_shared<OrthoOptions>();
  options->common.run.table.AddResponses(command);
  AddCount(command, "--components", options->settings.components, 1,
           "How many predictive components; auto (the default): as many as X and Y have directions in common");
  AddCount(command, kind.orthoOption, options->settings.ortho, 0,
           "How many orthogonal components; auto (the default): as many as cross-validation finds significant");
  if (kind.hasInnerModel) {
    command
        .Add("--inner-components", options->settings.innerComponents,
             "At most so many components of the model inside an orthogonal one")
        .Between(1, kMostInnerComponents)
        .ShowDefault();
  }
  options->common.AddTo(command, options->settings);
  command.Footer(kRegressionColumns + examples);
  command.OnRun([&kind, options] { RunOrtho(kind, *options); });
}

}  // namespace

void AddOplsCommand(CommandLine& program) {
  AddOrthoCommand(program, kOpls, "Orthogonal projections to latent structures", R"(Examples:
  voran opls gasoline.csv --y octane
  voran opls gasoline.csv --y octane --scaling center --ortho 3 --save octane.model --out results
  voran opls wine.csv --y class)");
}

void AddYoplsCommand(CommandLine& program) {
  AddOrthoCommand(program, kYopls, "PLS regression behind a filter of components that are orthogonal to Y", R"(Examples:
  voran yopls gasoline.csv --y octane
  voran yopls gasoline.csv --y octane --scaling center --y-ortho 2 --save octane.model --out results)");
}

}  // namespace tool
