#include <algorithm>
#include <cstdint>

#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/tree_walk.h"
#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_values.h"

inline namespace voran {
namespace DendroGram {

DendroGramNode::DerivedStreamableData DendroGramNode::MyStreamableData(1, "Dendro");

namespace {

// The entries of the directory.
enum Entry : unsigned short { kNodes, kEntries };

constexpr std::uint64_t kItemBytes = 4;

template <typename T>
T ReadValue(std::istream& stream) {
  static_assert(sizeof(T) == 4);
  T value{};
  voran::detail::RequireRead(ReadFourBytes(&value, 1, stream));
  return value;
}

}  // namespace

bool DendroGramNode::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  WriteNodes(directory.GetOutput(kNodes));
  return directory.Close() && stream.good();
}

void DendroGramNode::WriteNodes(std::ostream& stream) const {
  voran::detail::WalkPreOrder(*this, [&stream](const DendroGramNode& node) { node.Serialize(stream); });
}

void DendroGramNode::Serialize(std::ostream& stream) const {
  const char isLeaf = isLeaf_ ? 1 : 0;
  WriteBytes(&isLeaf, 1, stream);
  WriteFourBytes(&xOffset_, 1, stream);
  if (isLeaf_) {
    const auto count = static_cast<std::int32_t>(items_.size());
    WriteFourBytes(&count, 1, stream);
    WriteFourBytes(items_.data(), count, stream);
  } else {
    WriteFourBytes(&height_, 1, stream);
    WriteFourBytes(&leafCount_, 1, stream);
  }
  WriteFourBytes(&model_, 1, stream);
}

bool DendroGramNode::VStreamableRead(std::istream& stream) {
  if (GetVStreamVersionNumber() > GetMyVStreamVersionNumber() || !VStreamableReadBases(stream)) return false;
  DendroGramPointer read(new DendroGramNode());
  bool isRead = false;
  try {
    InputStreamDirectory directory(stream);
    read->ReadNodes(voran::detail::RequiredEntry(directory, kNodes));
    isRead = directory.Close() && stream.good();
  } catch (const VrStreamError&) {
    isRead = false;
  }
  if (!isRead) read.reset(new DendroGramNode());
  swap(*read);
  return isRead;
}

/// The nodes that wait for their right child are those that have a left one and no right one, up from where the last
/// node was put.
void DendroGramNode::ReadNodes(std::istream& stream) {
  std::vector<DendroGramNode*> waiting;
  DeSerialize(stream);
  for (DendroGramNode* node = this;;) {
    DendroGramNode* parent = node;
    if (node->isLeaf_) {
      if (waiting.empty()) return;
      parent = waiting.back();
      waiting.pop_back();
    } else {
      waiting.push_back(node);
    }
    node = new DendroGramNode();
    node->parent_ = parent;
    (parent->left_ == nullptr ? parent->left_ : parent->right_) = node;
    node->DeSerialize(stream);
  }
}

/// What a count asks for has to be there before memory is taken for it.
void DendroGramNode::DeSerialize(std::istream& stream) {
  using voran::detail::RemainingBytes;
  using voran::detail::RequireRead;
  char isLeaf = 0;
  RequireRead(ReadBytes(&isLeaf, 1, stream));
  isLeaf_ = isLeaf != 0;
  xOffset_ = ReadValue<float>(stream);
  if (isLeaf_) {
    const auto count = ReadValue<std::int32_t>(stream);
    RequireRead(count >= 0 && static_cast<std::uint64_t>(count) <= RemainingBytes(stream) / kItemBytes);
    items_.resize(static_cast<std::size_t>(count));
    RequireRead(ReadFourBytes(items_.data(), count, stream) && std::is_sorted(items_.begin(), items_.end()));
  } else {
    height_ = ReadValue<float>(stream);
    leafCount_ = ReadValue<std::int32_t>(stream);
    RequireRead(leafCount_ >= 2);
  }
  model_ = ReadValue<std::int32_t>(stream);
}

}  // namespace DendroGram
}  // namespace voran
