#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include <fmt/format.h>

#include "tools/voran/cluster_command.h"
#include "tools/voran/command_line.h"
#include "tools/voran/control_chart_command.h"
#include "tools/voran/correlate_command.h"
#include "tools/voran/describe_command.h"
#include "tools/voran/failure.h"
#include "tools/voran/fill_command.h"
#include "tools/voran/fisher_command.h"
#include "tools/voran/histogram_command.h"
#include "tools/voran/o2pls_command.h"
#include "tools/voran/ortho_command.h"
#include "tools/voran/pca_command.h"
#include "tools/voran/pls_command.h"
#include "tools/voran/predict_command.h"
#include "tools/voran/roc_command.h"
#include "tools/voran/smooth_command.h"
#include "tools/voran/spectrum_command.h"
#include "tools/voran/svd_command.h"
#include "tools/voran/terminal.h"
#include "tools/voran/transform_command.h"
#include "tools/voran/wavelet_command.h"
#include "voran/version.h"

namespace {

using tool::ExitCode;

int Say(ExitCode code, const char* sentence) {
  fmt::print(stderr, "voran: {}\n", sentence);
  return static_cast<int>(code);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    tool::CatchSignals();
    tool::CommandLine program("voran", "Multivariate data analysis of tables with missing values",
                              std::string("voran ") + GetVersion());
    tool::AddPcaCommand(program);
    tool::AddPlsCommand(program);
    tool::AddOplsCommand(program);
    tool::AddO2plsCommand(program);
    tool::AddYoplsCommand(program);
    tool::AddPredictCommand(program);
    tool::AddFillCommand(program);
    tool::AddClusterCommand(program);
    tool::AddDescribeCommand(program);
    tool::AddSvdCommand(program);
    tool::AddTransformCommand(program);
    tool::AddControlChartCommand(program);
    tool::AddHistogramCommand(program);
    tool::AddRocCommand(program);
    tool::AddFisherCommand(program);
    tool::AddSpectrumCommand(program);
    tool::AddCorrelateCommand(program);
    tool::AddWaveletCommand(program);
    tool::AddSmoothCommand(program);
    program.Run({argv + 1, argv + argc});
    return static_cast<int>(ExitCode::kDone);
  } catch (const tool::Failure& failure) {
    return Say(failure.Code(), failure.what());
  } catch (const std::bad_alloc&) {
    return Say(ExitCode::kComputationFailed, "there is not enough memory for this table; leave out columns or rows");
  } catch (const std::exception& error) {
    return Say(ExitCode::kComputationFailed, error.what());
  }
}
