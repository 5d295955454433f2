// Any arguments are understood or are wrong use; what they ask for is not done. The first byte chooses the command, the
// others are its arguments, one a line.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/cluster_command.h"
#include "tools/voran/command_line.h"
#include "tools/voran/control_chart_command.h"
#include "tools/voran/correlate_command.h"
#include "tools/voran/describe_command.h"
#include "tools/voran/failure.h"
#include "tools/voran/fill_command.h"
#include "tools/voran/fisher_command.h"
#include "tools/voran/histogram_command.h"
#include "tools/voran/limits.h"
#include "tools/voran/memory_size.h"
#include "tools/voran/o2pls_command.h"
#include "tools/voran/ortho_command.h"
#include "tools/voran/pca_command.h"
#include "tools/voran/pls_command.h"
#include "tools/voran/predict_command.h"
#include "tools/voran/roc_command.h"
#include "tools/voran/smooth_command.h"
#include "tools/voran/spectrum_command.h"
#include "tools/voran/svd_command.h"
#include "tools/voran/table_roles.h"
#include "tools/voran/transform_command.h"
#include "tools/voran/transform_option.h"
#include "tools/voran/wavelet_command.h"

namespace {

struct NamedCommand {
  const char* name;
  void (*add)(tool::CommandLine&);
};

// Their places are in the seeds.
constexpr std::array<NamedCommand, 19> kCommands = {{
    {"pca", tool::AddPcaCommand},
    {"pls", tool::AddPlsCommand},
    {"opls", tool::AddOplsCommand},
    {"o2pls", tool::AddO2plsCommand},
    {"yopls", tool::AddYoplsCommand},
    {"predict", tool::AddPredictCommand},
    {"fill", tool::AddFillCommand},
    {"cluster", tool::AddClusterCommand},
    {"describe", tool::AddDescribeCommand},
    {"svd", tool::AddSvdCommand},
    {"transform", tool::AddTransformCommand},
    {"chart", tool::AddControlChartCommand},
    {"histogram", tool::AddHistogramCommand},
    {"roc", tool::AddRocCommand},
    {"fisher", tool::AddFisherCommand},
    {"spectrum", tool::AddSpectrumCommand},
    {"correlate", tool::AddCorrelateCommand},
    {"wavelet", tool::AddWaveletCommand},
    {"smooth", tool::AddSmoothCommand},
}};

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::string::size_type begin = 0;
  while (begin < text.size()) {
    const auto end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

const std::vector<std::string> kColumns = {"id", "nm900", "nm1100", "x1200.5 nm", "a b", "3", ""};

// What commands read of the values once they have a table.
void ReadValue(const std::string& value) {
  const auto passes = [](const auto& read) {
    try {
      read();
    } catch (const tool::Failure&) {
    }
  };
  passes([&] { tool::SelectColumns(kColumns, value, "--x"); });
  passes([&] { tool::NumberInName(value); });
  passes([&] { tool::MemorySizeText(tool::ReadMemorySize("--memory", value)); });
  passes([&] {
    std::vector<std::optional<tool::Limits>> limits(kColumns.size());
    tool::LimitsArgument(value).Apply(kColumns, {kColumns.begin() + 1, kColumns.end()}, limits);
  });
  passes([&] {
    tool::CommandLine program("voran", "a program", "voran 1");
    tool::Command command = program.AddCommand("t", "");
    tool::TransformOption transform;
    transform.AddTo(command);
    program.Parse({"t", "--transform", value});
    transform.Resolve(kColumns, kColumns.size() - 1, kColumns);
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // One command at a time: making all of them takes far longer than reading a command line.
  const NamedCommand& command = kCommands[data[0] % 128U % kCommands.size()];
  tool::CommandLine program("voran", "a program", "voran 1");
  command.add(program);
  std::vector<std::string> arguments = LinesOf(std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
  if (data[0] < 128) arguments.insert(arguments.begin(), command.name);
  try {
    program.Parse(arguments);
  } catch (const tool::Failure&) {
  }
  if (!arguments.empty()) ReadValue(arguments.back());
  return 0;
}
