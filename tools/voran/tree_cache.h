#pragma once

#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "voran/cluster/dendrogram_node.h"
#include "voran/platform/folder_stream_source.h"

namespace tool {

/// The trees that `--cache` keeps in a folder; notes what becomes of them.
class TreeCache : public VrStreamSource {
 public:
  /// Makes the folder where needed. Throws `Failure` (wrong use) if it cannot be made.
  explicit TreeCache(const std::string& folder);

  /// Throws `Failure` (wrong use) if there is no such tree, and none can be kept.
  std::unique_ptr<std::istream> OpenInput(const std::string& name) override;
  std::unique_ptr<std::ostream> OpenOutput(const std::string& name) override;

  /// From now on there is no tree: the next one replaces that in the folder.
  void Forget() { isForgotten_ = true; }
  /// Whether the last tree asked for was there, and was good.
  bool HadTree() const { return hadFile_ && !wroteFile_; }
  /// What the user should know, a sentence each; `tree` is what was read or made.
  std::vector<std::string> Notes(const DendroGram::DendroGramNode& tree);

 private:
  bool IsWritable();
  bool IsKept(const DendroGram::DendroGramNode& tree);

  std::string folder_;
  FolderStreamSource source_;
  std::string name_;  // of the last tree
  bool isForgotten_ = false;
  bool hadFile_ = false;
  bool wroteFile_ = false;
};

}  // namespace tool
