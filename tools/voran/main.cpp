#include <cstdio>
#include <exception>
#include <new>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "tools/voran/cluster_command.h"
#include "tools/voran/describe_command.h"
#include "tools/voran/failure.h"
#include "tools/voran/fill_command.h"
#include "tools/voran/o2pls_command.h"
#include "tools/voran/ortho_command.h"
#include "tools/voran/pca_command.h"
#include "tools/voran/pls_command.h"
#include "tools/voran/predict_command.h"
#include "tools/voran/svd_command.h"
#include "tools/voran/terminal.h"
#include "tools/voran/transform_command.h"
#include "voran/version.h"

namespace {

using tool::ExitCode;

int Say(ExitCode code, const char* sentence) {
  fmt::print(stderr, "voran: {}\n", sentence);
  return static_cast<int>(code);
}

int Parse(CLI::App& program, int argc, char** argv) {
  const auto isNamed = [&](const CLI::App* command) { return command->check_name(argv[1]); };
  if (argc > 1 && argv[1][0] != '-' && program.get_subcommands(isNamed).empty()) {
    throw tool::WrongUse(fmt::format("there is no command {}; see voran --help", argv[1]));
  }
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return program.exit(help);
  } catch (const CLI::ParseError& error) {
    const auto commands = program.get_subcommands();
    throw tool::WrongUse(fmt::format("{}; see voran {}--help", error.what(),
                                     commands.empty() ? "" : commands.front()->get_name() + " "));
  }
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    tool::CatchInterrupts();
    CLI::App program("Multivariate data analysis of tables with missing values", "voran");
    program.set_version_flag("--version", std::string("voran ") + GetVersion());
    program.require_subcommand(1);
    program.footer("voran COMMAND --help tells the options of a command.");
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
    return Parse(program, argc, argv);
  } catch (const tool::Failure& failure) {
    return Say(failure.Code(), failure.what());
  } catch (const std::bad_alloc&) {
    return Say(ExitCode::kComputationFailed, "there is not enough memory for this table; leave out columns or rows");
  } catch (const std::exception& error) {
    return Say(ExitCode::kComputationFailed, error.what());
  }
}
