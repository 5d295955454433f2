#include "voran/containers/int_pool.h"

#include <cassert>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

#include "voran/platform/spin_lock.h"

inline namespace voran {
namespace {

constexpr std::size_t kCellsPerBlock = 65536 / sizeof(int);

struct Pool {
  detail::SpinLock lock;
  std::list<std::unique_ptr<int[]>> blocks;
  std::vector<int*> freeCells;
};

/// Never destroyed: a host may release cells from its own static destructors.
Pool& GetPool() {
  static Pool& pool = *new Pool;
  return pool;
}

void AddBlock(Pool& pool) {
  // Room for every cell there is, so that a release never allocates.
  pool.freeCells.reserve((pool.blocks.size() + 1) * kCellsPerBlock);
  pool.blocks.push_back(std::make_unique<int[]>(kCellsPerBlock));
  int* const cells = pool.blocks.back().get();
  for (std::size_t i = 0; i < kCellsPerBlock; ++i) pool.freeCells.push_back(cells + i);
}

}  // namespace

int* IntPool::GetInt() {
  Pool& pool = GetPool();
  const std::lock_guard guard(pool.lock);
  if (pool.freeCells.empty()) AddBlock(pool);
  int* const cell = pool.freeCells.back();
  pool.freeCells.pop_back();
  return cell;
}

void IntPool::ReleaseInt(int* p) {
  assert(p != nullptr);
  Pool& pool = GetPool();
  const std::lock_guard guard(pool.lock);
  pool.freeCells.push_back(p);
}

}  // namespace voran
