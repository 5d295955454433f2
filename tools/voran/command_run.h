#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/common_options.h"
#include "tools/voran/output_directory.h"
#include "tools/voran/output_file.h"
#include "tools/voran/table.h"

namespace tool {

/// The options that every command has.
struct RunOptions {
  TableOptions table;
  ThreadOptions threads;
  OutputOptions output;
  std::string save;  ///< where the model goes; empty means nowhere
  std::string svg;   ///< where the picture goes; no command has both

  void AddTo(Command& command);
  void AddToPredict(Command& command);
  /// For a command whose columns have options of their own.
  void AddWithoutRolesTo(Command& command);
  /// For a command that may use some of the rows, and draws a picture.
  void AddWithPictureTo(Command& command, const std::string& help);
  void AddSaveTo(Command& command);
  void AddSvgTo(Command& command, const std::string& help);
};

/// One run of a command, from the table to the results.
class CommandRun {
 public:
  /// Sets threads and progress, and makes the folder for the results, before anything is read. No result will replace
  /// the table, or one of the other files that the run reads. Throws `Failure`.
  explicit CommandRun(const RunOptions& options, std::vector<std::string> otherInputs = {});

  /// Reads the table and tells what was recognised. Throws `Failure`.
  Table ReadTable() const;

  /// Tells the user sentences about a table or file, unless he wants quiet.
  void Tell(const std::string& source, const std::vector<std::string>& sentences) const;

  /// Writes the files, `json` as summary.json behind those that `writeTables` writes, and prints `text` or `json`. With
  /// `--save` or `--svg`, `writeFile` writes the model or the picture. Throws `Failure`, and then no file is written.
  void Finish(const std::string& text, const nlohmann::ordered_json& json,
              const std::function<void(OutputDirectory&)>& writeTables,
              const std::function<void(std::ostream&)>& writeFile = nullptr);

 private:
  const RunOptions& options_;
  std::optional<OutputDirectory> folder_;
  std::optional<OutputFile> file_;
};

/// The keys that every summary begins with.
nlohmann::ordered_json JsonHead(const std::string& command, const Table& table);

/// The text of a JSON object, with a line feed at its end. Bytes that are no UTF-8 are replaced.
std::string ToText(const nlohmann::ordered_json& json);

}  // namespace tool
