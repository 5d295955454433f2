// Any bytes give a table or a failure; no header makes the reader ask for memory that the input does not justify.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tools/voran/failure.h"
#include "tools/voran/npy_header.h"
#include "tools/voran/npy_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The magic is supplied, so that no effort goes into finding it.
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::string file = std::string(tool::kNpyMagic) + bytes;
  const auto source = tool::SourceFromMemory(file);
  char magic[tool::kNpyMagic.size()];
  source->Read(magic, sizeof magic);
  try {
    const tool::Table table = tool::ReadNpy(*source, "t.npy", {}, {});
    const auto cells = static_cast<std::size_t>(table.x.SizeRows()) * static_cast<std::size_t>(table.x.SizeColumns());
    if (cells == 0 || cells * sizeof(float) > size) std::abort();
  } catch (const tool::Failure&) {
  }
  return 0;
}
