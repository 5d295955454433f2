#include "tools/voran/table_reader.h"

#include <memory>
#include <utility>

#include "tools/voran/npy_header.h"
#include "tools/voran/npy_reader.h"

namespace tool {

Table ReadTable(ByteSource& source, const std::string& name, const CsvOptions& options) {
  std::string begun(kNpyMagic.size(), '\0');
  begun.resize(ReadFully(source, begun.data(), begun.size()));
  if (begun == kNpyMagic) return ReadNpy(source, name, options.roles, options.control);
  return ReadCsv(source, std::move(begun), name, options);
}

Table ReadTable(const std::string& path, const CsvOptions& options, const std::atomic<bool>* cancel) {
  const std::unique_ptr<ByteSource> source = OpenSource(path, cancel);
  return ReadTable(*source, path == "-" ? "standard input" : path, options);
}

}  // namespace tool
