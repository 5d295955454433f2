#include "voran/cluster/disk_fallback.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <stdexcept>

#include <boost/iterator/function_output_iterator.hpp>

#include "voran/cluster/cluster_progress.h"
#include "voran/cluster/compute_distances.h"
#include "voran/cluster/distance_memory.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/physical_memory.h"
#include "voran/platform/temporary_files.h"
#include "voran/platform/user_comm.h"

inline namespace voran {
namespace DendroGram {
namespace detail {
namespace {

constexpr int kNoticeNumber = 854226;

/// Deliberately wraps from 46342 rows on.
std::uint64_t PairsOf(int rows) {
  return static_cast<std::uint64_t>(NumberOfPairs(rows));
}

ExceptionMessage Caption() {
  return ExceptionMessage::translate("Cluster Analysis", "Dialog caption");
}

void AskAndNotify(int rows) {
  const std::filesystem::path name = VrGetTempFileName(nullptr, nullptr, nullptr);
  const std::string directory = name.parent_path().string();
  if (const auto freeBytes = voran::detail::GetFreeDiskSpace(directory)) {
    const auto question = DiskSpaceQuestion(rows, directory, *freeBytes);
    if (question &&
        UserComm::GetUserComm()->AskUser(*question, Caption(), UserComm::kDeclined) == UserComm::kDeclined) {
      throw NCError(ExceptionMessage::translate("Cluster analysis aborted."), NCError::Level::kGeneral);
    }
  }
  const ExceptionMessage notice =
      ExceptionMessage::translate(
          "When doing cluster analysis, a total of N*(N-1)/2 initial distances are calculated. In this case, enough "
          "RAM to hold these distances could not be allocated (N={1}). The disk ('{2}') will be used to temporarily "
          "store the calculated distances. The calculations may be time-consuming but you can increase the speed by "
          "using a fast disk for the temporary storage.") %
      rows % directory;
  UserComm::GetUserComm()->NotifyUser(notice, Caption(), kNoticeNumber);
}

std::uint64_t MostPairsInMemory() {
  const std::uint64_t budget = DistanceMemory::GetBudget();
  const std::uint64_t bytes = budget != DistanceMemory::kUnlimited ? budget : voran::detail::GetPhysicalMemory() / 2;
  return bytes / sizeof(DistanceAndIndex);
}

void WriteDistances(const NCDataMatrix<float>& data, MegaDistances& store) {
  const DistanceRows rows(data);
  const auto output =
      boost::make_function_output_iterator([&store](const DistanceAndIndex& entry) { store.AppendDistance(entry); });
  InitDistancesThreadClass(output, &rows, 1, rows.SizeRows(), PairFunction::kSquaredDifference, Finish::kSquareRoot)();
}

}  // namespace

std::optional<ExceptionMessage> DiskSpaceQuestion(int rows, const std::string& directory, std::uint64_t freeBytes) {
  constexpr std::array kUnits = {"", "Kilo", "Mega", "Giga", "Tera"};
  constexpr float kStep = 0.0009765625F;
  const std::uint64_t pairs = PairsOf(rows);
  if (freeBytes >= 2 * sizeof(DistanceAndIndex) * pairs) return std::nullopt;
  const float bytes = static_cast<float>(pairs) * 12.0F;
  auto needed = static_cast<float>(static_cast<double>(bytes) * 2.0);
  auto available = static_cast<float>(freeBytes);
  std::size_t unit = 0;
  for (; needed > 1024.0F && available > 1024.0F && unit + 1 < kUnits.size(); ++unit) {
    needed *= kStep;
    available *= kStep;
  }
  return ExceptionMessage::translate(
             "When doing cluster analysis, a total of N*(N-1)/2 initial distances are calculated. In this case, "
             "enough RAM to hold these distances could not be allocated (N={1}). VORAN can use your disk to store "
             "these numbers but it needs {2,num=fixed,precision=3} {3}bytes of free space on the disk where VORAN "
             "stores temporary files ('{4}'). The free space on the disk is currently {5,num=fixed,precision=3} "
             "{3}bytes. Please make sure that there is enough free space on the disk.\nDo you want to continue?") %
         rows % static_cast<double>(needed) % kUnits[unit] % directory % static_cast<double>(available);
}

PairList AllocateBuffer(std::uint64_t pairs) {
  std::uint64_t count = pairs;
  for (const std::uint64_t most = MostPairsInMemory(); count > most;) count >>= 1;
  for (count = std::max<std::uint64_t>(count, 1);; count >>= 1) {
    try {
      return PairList(static_cast<std::size_t>(count));
    } catch (const std::exception&) {
      if (count == 1) throw;
    }
  }
}

std::shared_ptr<MegaDistances> KeepDistancesOnDisk(const NCDataMatrix<float>& data, NCProgress* progress) {
  AskAndNotify(data.SizeRows());
  const std::uint64_t pairs = PairsOf(data.SizeRows());
  PairList buffer = AllocateBuffer(pairs);
  if (progress != nullptr) progress->SetRange(0.0F, 2.0F);
  std::shared_ptr<MegaDistances> store;
  {
    const SubRange stretch(progress, 0.0F, 1.0F);
    store = std::make_shared<MegaDistances>(buffer, progress, pairs);
    WriteDistances(data, *store);
  }
  const SubRange stretch(progress, 1.0F, 2.0F);
  store->SplitDistances();
  return store;
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
