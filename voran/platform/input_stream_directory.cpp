#include <algorithm>
#include <array>
#include <vector>

#include "voran/platform/input_level.h"
#include "voran/platform/input_root.h"
#include "voran/platform/stream_checksum.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_format.h"

inline namespace voran {

using namespace detail;  // NOLINT(google-build-using-namespace)

namespace {

/// The number of entries if `head` begins a directory that this program knows, otherwise -1.
int EntriesOf(const std::array<char, kDirectoryHeadBytes>& head) {
  if (!std::equal(kDirectoryMagic.begin(), kDirectoryMagic.end(), head.begin())) return -1;
  if (LoadLittleEndian(&head[4], 2) != kDirectoryVersion) return -1;
  return static_cast<int>(LoadLittleEndian(&head[6], 2));
}

DirectorySlot DecodeSlot(const char* from) {
  return {LoadLittleEndian(from, 8), LoadLittleEndian(from + 8, 8), LoadLittleEndian(from + 16, 8)};
}

/// The size of a directory if its entries follow the table without a gap or an overlap, in any order, and end by
/// `limit`; otherwise 0.
std::uint64_t SizeOfDirectory(const std::vector<DirectorySlot>& slots, std::uint64_t limit) {
  std::vector<DirectorySlot> present;
  for (const DirectorySlot& slot : slots) {
    if (slot.IsPresent()) present.push_back(slot);
    if (!slot.IsPresent() && (slot.length != 0 || slot.checksum != 0)) return 0;
  }
  std::sort(present.begin(), present.end(), [](const DirectorySlot& a, const DirectorySlot& b) {
    return a.offset != b.offset ? a.offset < b.offset : a.length < b.length;
  });
  std::uint64_t end = TableBytes(slots.size());
  for (const DirectorySlot& slot : present) {
    if (slot.offset != end || slot.length > limit - end) return 0;
    end += slot.length;
  }
  return end;
}

}  // namespace

InputStreamDirectory::InputStreamDirectory(std::istream& stream) : enclosing_(stream) {
  auto* const parent = dynamic_cast<InputLevel*>(stream.rdbuf());
  root_ = parent != nullptr ? parent->Root().shared_from_this() : std::make_shared<InputRoot>(stream);
  if (stream.good() && !root_->HasFailed()) {
    begin_ = parent != nullptr ? parent->Position() : 0;
    level_ = root_->Push(parent);
  }
  if (level_ != nullptr && !ReadTable(parent != nullptr ? parent->End() : root_->Size())) {
    root_->Pop(begin_);
    level_ = nullptr;
  }
  if (level_ == nullptr) {
    enclosing_.setstate(std::ios_base::failbit);
  } else if (parent == nullptr) {
    root_->SetSize(end_);
  }
}

InputStreamDirectory::~InputStreamDirectory() {
  try {
    Close();
  } catch (...) {  // NOLINT(bugprone-empty-catch) the host's stream has been told already
  }
}

/// Reads the table of a directory that has to end by `limit`, and checks all that can be checked without its entries.
bool InputStreamDirectory::ReadTable(std::uint64_t limit) {
  std::array<char, kDirectoryHeadBytes> head;
  if (limit - begin_ < head.size() || !root_->ReadAt(begin_, head.data(), head.size())) return false;
  const int entries = EntriesOf(head);
  if (entries < 0) return false;
  const std::size_t bytes = TableBytes(static_cast<std::size_t>(entries));
  if (bytes > limit - begin_) return false;
  std::vector<char> table(bytes);
  char* const slotsAt = std::copy(head.begin(), head.end(), table.data());
  if (!root_->ReadAt(begin_ + head.size(), slotsAt, bytes - head.size())) return false;
  const std::size_t checkedBytes = bytes - kTableChecksumBytes;
  const std::uint64_t checksum = LoadLittleEndian(&table[checkedBytes], kTableChecksumBytes);
  if (!IsSameChecksum(checksum, ChecksumOf(table.data(), checkedBytes))) return false;

  std::vector<DirectorySlot>& slots = level_->Slots();
  slots.clear();
  for (std::size_t at = kDirectoryHeadBytes; at < checkedBytes; at += kSlotBytes)
    slots.push_back(DecodeSlot(&table[at]));
  const std::uint64_t size = SizeOfDirectory(slots, limit - begin_);
  end_ = begin_ + size;
  return size != 0;
}

void InputStreamDirectory::EndEntry() {
  if (openEntry_ < 0) return;
  const DirectorySlot& slot = level_->Slots()[static_cast<std::size_t>(openEntry_)];
  if (!level_->FinishEntry(slot.checksum)) level_->Stream().setstate(std::ios_base::failbit);
  openEntry_ = -1;
}

std::istream* InputStreamDirectory::GetInput(unsigned short i) {
  if (level_ == nullptr || !root_->IsInUse(level_)) return nullptr;
  if (i == openEntry_) return &level_->Stream();
  EndEntry();
  const std::vector<DirectorySlot>& slots = level_->Slots();
  if (i >= slots.size() || !slots[i].IsPresent()) return nullptr;
  openEntry_ = i;
  const std::uint64_t entryBegin = begin_ + slots[i].offset;
  level_->BeginEntry(entryBegin, entryBegin + slots[i].length);
  return &level_->Stream();
}

bool InputStreamDirectory::Close() {
  if (level_ == nullptr) return result_;
  const bool isInUse = root_->IsInUse(level_);  // or a directory nested in this one is still open
  if (isInUse) {
    EndEntry();
    result_ = !level_->Stream().fail() && !root_->HasFailed();
    root_->Pop(end_);
  }
  level_ = nullptr;
  if (!result_) enclosing_.setstate(std::ios_base::failbit);
  return result_;
}

}  // namespace voran
