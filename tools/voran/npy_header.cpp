#include "tools/voran/npy_header.h"

#include <array>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table.h"

namespace tool {
namespace {

constexpr std::uint32_t kLongestHeader = 64 * 1024;  // a table's is below 200 bytes

// Walks the header's text, a Python dictionary: {'descr': '<f4', 'fortran_order': False, 'shape': (3, 4), }
class DictionaryReader {
 public:
  explicit DictionaryReader(std::string_view text) : rest_(text) {}

  bool Take(char c) {
    SkipBlanks();
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool AtEnd() {
    SkipBlanks();
    return rest_.empty();
  }

  std::optional<std::string_view> String() {
    SkipBlanks();
    if (rest_.empty() || (rest_.front() != '\'' && rest_.front() != '"')) return std::nullopt;
    const auto close = rest_.find(rest_.front(), 1);
    if (close == std::string_view::npos) return std::nullopt;
    const std::string_view text = rest_.substr(1, close - 1);
    rest_.remove_prefix(close + 1);
    return text;
  }

  std::optional<bool> Truth() {
    SkipBlanks();
    for (const auto& [word, value] : {std::pair{std::string_view("True"), true}, {std::string_view("False"), false}}) {
      if (!rest_.starts_with(word)) continue;
      rest_.remove_prefix(word.size());
      return value;
    }
    return std::nullopt;
  }

  std::optional<std::vector<std::uint64_t>> Tuple() {
    std::vector<std::uint64_t> sizes;
    if (!Take('(')) return std::nullopt;
    while (!Take(')')) {
      SkipBlanks();
      std::uint64_t size = 0;
      const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), size);
      if (error != std::errc()) return std::nullopt;
      rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
      sizes.push_back(size);
      if (!Take(',') && (rest_.empty() || rest_.front() != ')')) return std::nullopt;
    }
    return sizes;
  }

 private:
  void SkipBlanks() {
    const auto first = rest_.find_first_not_of(" \n");
    rest_.remove_prefix(first == std::string_view::npos ? rest_.size() : first);
  }

  std::string_view rest_;
};

struct Entries {
  std::optional<std::string_view> type;
  std::optional<bool> columnMajor;
  std::optional<std::vector<std::uint64_t>> shape;
};

bool ReadEntries(std::string_view text, Entries& entries) {
  DictionaryReader reader(text);
  if (!reader.Take('{')) return false;
  while (!reader.Take('}')) {
    const auto key = reader.String();
    if (!key || !reader.Take(':')) return false;
    if (*key == "descr") {
      entries.type = reader.String();
      // A list here describes records of several fields.
      if (!entries.type) entries.type = "(records)";
      if (entries.type == "(records)") return true;
    } else if (*key == "fortran_order") {
      entries.columnMajor = reader.Truth();
    } else if (*key == "shape") {
      entries.shape = reader.Tuple();
    } else {
      return false;
    }
    reader.Take(',');
  }
  return reader.AtEnd() && entries.type && entries.columnMajor && entries.shape;
}

std::size_t ItemBytes(std::string_view type, const std::string& name) {
  if (type == "<f4") return 4;
  if (type == "<f8") return 8;
  throw BadData(
      fmt::format("{}: holds items of type {}; save it as little-endian float32 or float64", name, Quoted(type)));
}

std::uint32_t LittleEndian(const unsigned char* bytes, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = count; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

}  // namespace

NpyHeader ReadNpyHeader(ByteSource& source, const std::string& name) {
  const auto damaged = [&] { return BadData(name + ": the header of this .npy file is damaged"); };
  std::array<unsigned char, 6> preamble = {};  // version, and the header's length in 2 or 4 bytes
  const auto take = [&](void* to, std::size_t count) {
    if (ReadFully(source, static_cast<char*>(to), count) != count) throw damaged();
  };
  take(preamble.data(), 4);
  if (preamble[0] < 1 || preamble[0] > 3) {
    throw BadData(fmt::format("{}: is a .npy file of version {}; versions 1 to 3 can be read", name, preamble[0]));
  }
  const std::size_t lengthBytes = preamble[0] == 1 ? 2 : 4;
  if (lengthBytes == 4) take(preamble.data() + 4, 2);
  const std::uint32_t length = LittleEndian(preamble.data() + 2, lengthBytes);
  if (length > kLongestHeader) throw damaged();
  std::string text(length, '\0');
  take(text.data(), length);

  Entries entries;
  if (!ReadEntries(text, entries)) throw damaged();
  NpyHeader header;
  header.itemBytes = ItemBytes(*entries.type, name);
  header.columnMajor = *entries.columnMajor;
  const auto& shape = *entries.shape;
  if (shape.empty() || shape.size() > 2) {
    throw BadData(fmt::format("{}: holds an array of {} dimensions; a table has two", name, shape.size()));
  }
  header.rows = shape[0];
  header.columns = shape.size() == 2 ? shape[1] : 1;
  header.headerBytes = kNpyMagic.size() + 2 + lengthBytes + length;
  if (header.rows == 0 || header.columns == 0) throw BadData(name + ": holds a table without cells");
  if (header.rows > kMostCells / header.columns) {
    throw BadData(fmt::format("{}: states {} x {} cells, more than {}", name, header.rows, header.columns, kMostCells));
  }
  return header;
}

}  // namespace tool
