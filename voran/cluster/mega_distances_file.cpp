#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "voran/cluster/cluster_progress.h"
#include "voran/cluster/mega_distances.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {
namespace {

/// What is written or read between two questions for a break: some milliseconds' worth.
constexpr std::size_t kPiece = std::size_t{1} << 18;

}  // namespace

MegaDistances::TempFile::TempFile()
    : pathName_(VrGetTempFileName(nullptr, "vor-", "clu")), file_(voran::detail::OpenTemporaryFile(pathName_)) {
  if (!file_) {
    throw NCError(ExceptionMessage::translate("The temporary file {1} could not be opened") % pathName_,
                  NCError::Level::kGeneral);
  }
}

MegaDistances::TempFile::~TempFile() {
  file_.reset();
  std::remove(pathName_.c_str());  // allocates nothing
}

void MegaDistances::TempFile::Write(const DistanceAndIndex* entries, std::size_t n, NCProgress* progress) {
  entryCount += n;
  for (std::size_t done = 0; done < n; done += kPiece) {
    if (done > 0) detail::ThrowOnBreak(progress);
    // Once a write has failed, nothing may follow: the file would not be short by as much.
    if (std::ferror(file_.get()) != 0) return;
    std::fwrite(entries + done, sizeof(DistanceAndIndex), std::min(kPiece, n - done), file_.get());
  }
}

void MegaDistances::TempFile::Rewind() {
  std::rewind(file_.get());
}

bool MegaDistances::TempFile::Read(DistanceAndIndex* entries, std::size_t n, NCProgress* progress) {
  for (std::size_t done = 0; done < n; done += kPiece) {
    if (done > 0) detail::ThrowOnBreak(progress);
    const std::size_t piece = std::min(kPiece, n - done);
    if (std::fread(entries + done, sizeof(DistanceAndIndex), piece, file_.get()) != piece) return false;
  }
  return true;
}

void MegaDistances::TempFile::Release(std::size_t n) {
  voran::detail::ReleaseFilePart(file_.get(), releasedCount_ * sizeof(DistanceAndIndex), n * sizeof(DistanceAndIndex));
  releasedCount_ += n;
}

}  // namespace DendroGram
}  // namespace voran
