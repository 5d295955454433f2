#include <algorithm>
#include <exception>
#include <vector>

#include "voran/platform/output_level.h"
#include "voran/platform/output_root.h"
#include "voran/platform/stream_checksum.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_format.h"

inline namespace voran {

using namespace detail;  // NOLINT(google-build-using-namespace)

namespace {

/// The table as it lies in the stream.
std::vector<char> EncodeTable(const std::vector<DirectorySlot>& slots) {
  std::vector<char> table(TableBytes(slots.size()));
  char* to = std::copy(kDirectoryMagic.begin(), kDirectoryMagic.end(), table.data());
  const auto store = [&to](std::uint64_t value, std::size_t bytes) {
    StoreLittleEndian(to, value, bytes);
    to += bytes;
  };
  store(kDirectoryVersion, 2);
  store(slots.size(), 2);
  for (const DirectorySlot& slot : slots) {
    store(slot.offset, 8);
    store(slot.length, 8);
    store(slot.checksum, 8);
  }
  store(ChecksumOf(table.data(), static_cast<std::size_t>(to - table.data())), kTableChecksumBytes);
  return table;
}

}  // namespace

OutputStreamDirectory::OutputStreamDirectory(std::ostream& stream, unsigned short entries)
    : enclosing_(stream), exceptionsAtStart_(std::uncaught_exceptions()) {
  auto* const parent = dynamic_cast<OutputLevel*>(stream.rdbuf());
  root_ = parent != nullptr ? parent->Root().shared_from_this() : std::make_shared<OutputRoot>(stream);
  if (stream.good() && !root_->HasFailed()) level_ = root_->Push(parent);
  if (level_ == nullptr) {
    enclosing_.setstate(std::ios_base::failbit);
    return;
  }
  begin_ = root_->Position();
  level_->Slots().assign(entries, {});
  const std::vector<char> reserved(TableBytes(entries));  // zeros: no directory, until Close() makes it one
  root_->Append(reserved.data(), reserved.size());
}

OutputStreamDirectory::~OutputStreamDirectory() {
  try {
    if (std::uncaught_exceptions() > exceptionsAtStart_) {
      Abandon();
    } else {
      Close();
    }
  } catch (...) {
    TellHost();
  }
}

/// Nothing may leave the destructor; a host whose stream throws has had its exception already.
void OutputStreamDirectory::TellHost() noexcept {
  try {
    enclosing_.setstate(std::ios_base::failbit);
  } catch (...) {  // NOLINT(bugprone-empty-catch) the state is set all the same
  }
}

void OutputStreamDirectory::EndEntry() {
  if (openEntry_ < 0) return;
  DirectorySlot& slot = level_->Slots()[static_cast<std::size_t>(openEntry_)];
  slot.checksum = level_->FinishEntry();
  slot.length = root_->Position() - begin_ - slot.offset;
  openEntry_ = -1;
}

std::ostream& OutputStreamDirectory::GetOutput(unsigned short i) {
  if (level_ == nullptr || !root_->IsInUse(level_)) {
    enclosing_.setstate(std::ios_base::failbit);
    return enclosing_;
  }
  if (i == openEntry_) return level_->Stream();
  EndEntry();
  std::vector<DirectorySlot>& slots = level_->Slots();
  if (i >= slots.size() || slots[i].IsPresent()) {
    level_->Stream().setstate(std::ios_base::failbit);
    return level_->Stream();
  }
  slots[i].offset = root_->Position() - begin_;
  openEntry_ = i;
  level_->BeginEntry();
  return level_->Stream();
}

void OutputStreamDirectory::Abandon() {
  if (level_ == nullptr) return;
  level_->Stream().setstate(std::ios_base::failbit);
  Close();
}

bool OutputStreamDirectory::Close() {
  if (level_ == nullptr) return result_;
  const bool isInUse = root_->IsInUse(level_);  // or a directory nested in this one is still open
  if (isInUse) {
    EndEntry();
    result_ = level_->Stream().good() && !root_->HasFailed();
    if (result_) {
      const std::vector<char> table = EncodeTable(level_->Slots());
      root_->Patch(begin_, table.data(), table.size());
    }
    root_->Pop();
    result_ = result_ && !root_->HasFailed();
  }
  level_ = nullptr;
  if (!result_) enclosing_.setstate(std::ios_base::failbit);
  return result_;
}

}  // namespace voran
