#pragma once

#include <functional>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/voran/common_options.h"
#include "tools/voran/output_directory.h"
#include "tools/voran/table.h"

namespace tool {

/// The options that every command has.
struct RunOptions {
  TableOptions table;
  ThreadOptions threads;
  OutputOptions output;

  void AddTo(CLI::App& command);
};

/// One run of a command, from the table to the results.
class CommandRun {
 public:
  /// Sets threads and progress, and makes the folder for the results, before anything is read. Throws `Failure`.
  explicit CommandRun(const RunOptions& options);

  /// Reads the table and tells what was recognised. Throws `Failure`.
  Table ReadTable() const;

  /// Writes the files, `json` as summary.json behind those that `writeTables` writes, and prints `text` or `json`.
  /// Throws `Failure`, and then no file is written.
  void Finish(const std::string& text, const nlohmann::ordered_json& json,
              const std::function<void(OutputDirectory&)>& writeTables);

 private:
  const RunOptions& options_;
  std::optional<OutputDirectory> folder_;
};

/// The keys that every summary begins with.
nlohmann::ordered_json JsonHead(const std::string& command, const Table& table);

/// The text of a JSON object, with a line feed at its end. Bytes that are no UTF-8 are replaced.
std::string ToText(const nlohmann::ordered_json& json);

}  // namespace tool
