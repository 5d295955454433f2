#pragma once

#include <atomic>
#include <string>

#include "tools/voran/csv_reader.h"
#include "tools/voran/table.h"

namespace tool {

/// Reads the table that the user named: a .npy file, told by its first bytes, or else separated text; "-" is standard
/// input. The roles and the control of `options` hold for both. Throws `Failure`.
Table ReadTable(const std::string& path, const CsvOptions& options, const std::atomic<bool>* cancel);

/// The same from any source.
Table ReadTable(ByteSource& source, const std::string& name, const CsvOptions& options);

}  // namespace tool
