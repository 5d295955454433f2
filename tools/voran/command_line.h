#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tool {

/// An option or argument of a command, to be described further. The library that parses command lines stays behind
/// these classes: every file that includes it takes ten seconds longer to compile.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  Option& Required();
  /// What the help calls its value.
  Option& Type(const std::string& name);
  /// The heading that the help lists it under.
  Option& Group(const std::string& heading);
  /// A value that it takes, and the help names, if it is not given.
  Option& Default(const std::string& text);
  /// The same of what the variable holds now.
  Option& ShowDefault();
  Option& OneOf(const std::vector<std::string>& choices);
  Option& Between(int least, int most);
  Option& NotEmpty();
  /// Wrong use together with that one.
  Option& Excludes(const Option& other);

 private:
  CLI::Option* option_;
};

/// A command, to be given its options. Values are written when the command line is parsed, so what they are written to
/// has to live until then.
class Command {
 public:
  /// `chosen` is where the command line finds what this command runs, once the arguments have asked for it.
  Command(CLI::App* app, std::function<void()>* chosen) : app_(app), chosen_(chosen) {}

  /// What stands without a name, and has to.
  Option AddArgument(const std::string& name, std::string& value, const std::string& help);
  Option AddFlag(const std::string& name, bool& value, const std::string& help);
  Option Add(const std::string& name, std::string& value, const std::string& help);
  Option Add(const std::string& name, int& value, const std::string& help);
  Option Add(const std::string& name, double& value, const std::string& help);
  Option Add(const std::string& name, std::optional<int>& value, const std::string& help);
  Option Add(const std::string& name, std::optional<double>& value, const std::string& help);
  /// May be given several times.
  Option Add(const std::string& name, std::vector<std::string>& values, const std::string& help);
  /// `read` may throw WrongUse. With a list it is given all values at once.
  Option AddRead(const std::string& name, const std::function<void(const std::string&)>& read, const std::string& help);
  Option AddReadList(const std::string& name, const std::function<void(const std::vector<std::string>&)>& read,
                     const std::string& help);

  /// What the help ends with.
  void Footer(const std::string& text);
  void OnRun(std::function<void()> run);

 private:
  CLI::App* app_;
  std::function<void()>* chosen_;
};

/// A program of several commands.
class CommandLine {
 public:
  CommandLine(const std::string& name, const std::string& description, const std::string& version);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  Command AddCommand(const std::string& name, const std::string& description);

  /// What the command runs that the arguments, without the program's name, begin with; empty if they asked for help or
  /// version, which then have been printed. Throws WrongUse.
  std::function<void()> Parse(const std::vector<std::string>& arguments);
  /// Runs that. Throws also what the command throws.
  void Run(const std::vector<std::string>& arguments);

 private:
  std::unique_ptr<CLI::App> app_;
  std::function<void()> chosen_;
};

}  // namespace tool
