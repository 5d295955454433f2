#include "tools/voran/command_line.h"

#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/voran/failure.h"
#include "tools/voran/nearest_name.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

std::string_view WithoutPlus(std::string_view text) {
  return text.substr(text.size() > 1 && text[0] == '+' && text[1] != '-' ? 1 : 0);
}

// An empty answer is consent.
std::string CheckWhole(const std::string& text, int least, int most) {
  const auto number = WholeNumber<int>(WithoutPlus(text));
  if (number && *number >= least && *number <= most) return {};
  return fmt::format("{} is no whole number from {} to {}", Quoted(text), least, most);
}

std::string CheckNumber(const std::string& text) {
  if (WholeNumber<double>(WithoutPlus(text))) return {};
  return fmt::format("{} is no number with a decimal point, such as 1.5", Quoted(text));
}

// The library's own words name the type that it lacks.
std::string Explained(const CLI::ParseError& error) {
  const std::string text = error.what();
  const bool lacksValue = error.get_name() == "ArgumentMismatch" && text.ends_with(" missing");
  return lacksValue ? text.substr(0, text.find(':')) + " needs a value" : text;
}

// CLI11 lists them backwards.
std::string Unexpected(const std::vector<std::string>& arguments, const CLI::App& command) {
  std::vector<std::string> options;
  for (const CLI::Option* option : command.get_options()) options.push_back(option->get_name());
  return fmt::format("{} not expected: {}{}", arguments.size() == 1 ? "this argument was" : "these arguments were",
                     fmt::join(arguments, " "), DidYouMean(arguments.front(), options, false));
}

}  // namespace

Option& Option::Required() {
  option_->required();
  return *this;
}

Option& Option::Type(const std::string& name) {
  option_->type_name(name);
  return *this;
}

Option& Option::Group(const std::string& heading) {
  option_->group(heading);
  return *this;
}

Option& Option::Default(const std::string& text) {
  option_->default_str(text);
  return *this;
}

Option& Option::ShowDefault() {
  option_->capture_default_str();
  return *this;
}

Option& Option::OneOf(const std::vector<std::string>& choices) {
  option_->check(CLI::IsMember(choices).description(""));
  return Type(fmt::format("{}", fmt::join(choices, "|")));
}

Option& Option::Between(int least, int most) {
  option_->check([least, most](const std::string& text) { return CheckWhole(text, least, most); },
                 fmt::format("{}..{}", least, most));
  return *this;
}

Option& Option::NotEmpty() {
  option_->check([](const std::string& value) { return value.empty() ? "the name is empty" : ""; }, "");
  return *this;
}

Option& Option::Excludes(const Option& other) {
  option_->excludes(other.option_);
  return *this;
}

Option Command::AddArgument(const std::string& name, std::string& value, const std::string& help) {
  return Option(app_->add_option(name, value, help)->required()->option_text(" "));
}

Option Command::AddFlag(const std::string& name, bool& value, const std::string& help) {
  return Option(app_->add_flag(name, value, help));
}

Option Command::Add(const std::string& name, std::string& value, const std::string& help) {
  return Option(app_->add_option(name, value, help));
}

Option Command::Add(const std::string& name, int& value, const std::string& help) {
  return Option(app_->add_option(name, value, help)->type_name("N"));
}

Option Command::Add(const std::string& name, double& value, const std::string& help) {
  return Option(app_->add_option(name, value, help)->type_name("NUMBER")->check(CheckNumber, ""));
}

Option Command::Add(const std::string& name, std::optional<int>& value, const std::string& help) {
  return Option(app_->add_option(name, value, help)->type_name("N"));
}

Option Command::Add(const std::string& name, std::optional<double>& value, const std::string& help) {
  return Option(app_->add_option(name, value, help)->type_name("NUMBER")->check(CheckNumber, ""));
}

Option Command::Add(const std::string& name, std::vector<std::string>& values, const std::string& help) {
  return Option(app_->add_option(name, values, help)->allow_extra_args(false));
}

Option Command::AddRead(const std::string& name, const std::function<void(const std::string&)>& read,
                        const std::string& help) {
  return Option(app_->add_option_function(name, read, help));
}

Option Command::AddReadList(const std::string& name, const std::function<void(const std::vector<std::string>&)>& read,
                            const std::string& help) {
  return Option(app_->add_option_function(name, read, help)->allow_extra_args(false));
}

void Command::Footer(const std::string& text) {
  app_->footer(text);
}

void Command::OnRun(std::function<void()> run) {
  app_->callback([chosen = chosen_, run = std::move(run)] { *chosen = run; });
}

CommandLine::CommandLine(const std::string& name, const std::string& description, const std::string& version)
    : app_(std::make_unique<CLI::App>(description, name)) {
  app_->set_version_flag("--version", version);
  app_->require_subcommand(1);
  app_->footer(fmt::format("{} COMMAND --help tells the options of a command.", name));
}

CommandLine::~CommandLine() = default;

Command CommandLine::AddCommand(const std::string& name, const std::string& description) {
  return Command(app_->add_subcommand(name, description), &chosen_);
}

std::function<void()> CommandLine::Parse(const std::vector<std::string>& arguments) {
  chosen_ = nullptr;
  const std::string& name = app_->get_name();
  const auto isNamed = [&](const CLI::App* command) { return command->check_name(arguments.front()); };
  if (!arguments.empty() && arguments.front().substr(0, 1) != "-" && app_->get_subcommands(isNamed).empty()) {
    std::vector<std::string> commands;
    for (const CLI::App* command : app_->get_subcommands({})) commands.push_back(command->get_name());
    throw WrongUse(fmt::format("there is no command {}{}; see {} --help", arguments.front(),
                               DidYouMean(arguments.front(), commands, false), name));
  }
  try {
    app_->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::Success& help) {
    app_->exit(help);
  } catch (const CLI::ParseError& error) {
    const auto commands = app_->get_subcommands();
    const bool isUnknown = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    const CLI::App& command = commands.empty() ? *app_ : *commands.front();
    throw WrongUse(fmt::format("{}; see {} {}--help",
                               isUnknown ? Unexpected(app_->remaining(true), command) : Explained(error), name,
                               commands.empty() ? "" : command.get_name() + " "));
  }
  return chosen_;
}

void CommandLine::Run(const std::vector<std::string>& arguments) {
  if (const std::function<void()> run = Parse(arguments)) run();
}

}  // namespace tool
