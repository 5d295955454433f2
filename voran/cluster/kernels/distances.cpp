#include "voran/cluster/kernels/distances.h"

#include <cstdint>

#include <hwy/cache_control.h>

#include "voran/containers/kernels/dispatch.h"
#include "voran/containers/missing_value.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/cluster/kernels/distances.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace DendroGram {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, 16>;
using FloatVec = hn::Vec<Floats>;

constexpr std::size_t kLanes = hn::MaxLanes(Floats());
/// Vectors of a block worked on together: with those of the rows enough independent sums to keep the adders busy.
constexpr std::size_t kVectors = kLanes >= 4 ? 2 : 1;
static_assert(kRowsOfBlock % (kLanes * kVectors) == 0);

template <PairFunction F>
HWY_INLINE FloatVec Term(FloatVec a, FloatVec b) {
  const auto difference = hn::Sub(a, b);
  const auto square = hn::Mul(difference, difference);
  if constexpr (F == PairFunction::kSquaredDifference) return square;
  return hn::Mul(square, hn::Set(Floats(), 0.5f));
}

template <Finish Last>
HWY_INLINE FloatVec Finished(FloatVec v) {
  if constexpr (Last == Finish::kIdentity) return v;
  return hn::Sqrt(v);
}

/// Sums of Rows rows and kVectors vectors of a block. Missing elements are told by equality: Ne() is false of a NaN on
/// some instruction sets, and a NaN is present.
template <int Rows, bool HasGaps, PairFunction F, Finish Last>
HWY_INLINE void SumPart(const float* const* rows, std::size_t columns, const float* part, float* const* out,
                        std::size_t offset) {
  const Floats d;
  const auto missing = hn::Set(d, voran::detail::kMissing<float>);
  const auto one = hn::Set(d, 1.0f);
  FloatVec sums[Rows][kVectors];
  FloatVec counts[Rows][kVectors];
  for (int r = 0; r < Rows; ++r) {
    for (std::size_t v = 0; v < kVectors; ++v) sums[r][v] = counts[r][v] = hn::Zero(d);
  }
  for (std::size_t k = 0; k < columns; ++k, part += kRowsOfBlock) {
    FloatVec b[kVectors];
    for (std::size_t v = 0; v < kVectors; ++v) b[v] = hn::LoadU(d, part + v * kLanes);
    for (int r = 0; r < Rows; ++r) {
      if constexpr (HasGaps) {
        if (rows[r][k] == voran::detail::kMissing<float>) continue;
      }
      const auto a = hn::Set(d, rows[r][k]);
      for (std::size_t v = 0; v < kVectors; ++v) {
        auto term = Term<F>(a, b[v]);
        if constexpr (HasGaps) {
          const auto isGap = hn::Eq(b[v], missing);
          term = hn::IfThenZeroElse(isGap, term);
          counts[r][v] = hn::Add(counts[r][v], hn::IfThenZeroElse(isGap, one));
        }
        sums[r][v] = hn::Add(sums[r][v], term);
      }
    }
  }
  const auto all = hn::Set(d, static_cast<float>(columns));
  for (int r = 0; r < Rows; ++r) {
    for (std::size_t v = 0; v < kVectors; ++v) {
      // Without gaps the factor is 1.
      if constexpr (HasGaps) sums[r][v] = hn::Mul(hn::Div(all, counts[r][v]), sums[r][v]);
      hn::StoreU(Finished<Last>(sums[r][v]), d, out[r] + offset + v * kLanes);
    }
  }
}

struct Work {
  const float* const* rows;
  int numRows;
  std::size_t columns;
  const float* blocks;
  std::size_t numBlocks;
  float* const* out;
};

template <bool HasGaps, PairFunction F, Finish Last>
void Run(const Work& work) {
  for (std::size_t block = 0; block < work.numBlocks; ++block) {
    const float* const elements = work.blocks + block * kRowsOfBlock * work.columns;
    for (std::size_t j = 0; j < kRowsOfBlock; j += kVectors * kLanes) {
      const std::size_t offset = block * kRowsOfBlock + j;
      if (work.numRows == DistanceKernels::kRowsTogether) {
        SumPart<DistanceKernels::kRowsTogether, HasGaps, F, Last>(work.rows, work.columns, elements + j, work.out,
                                                                  offset);
      } else {
        for (int r = 0; r < work.numRows; ++r) {
          SumPart<1, HasGaps, F, Last>(work.rows + r, work.columns, elements + j, work.out + r, offset);
        }
      }
    }
  }
}

template <bool HasGaps>
void RunRule(const Work& work, PairFunction pairFunction, Finish finish) {
  constexpr auto kSquare = PairFunction::kSquaredDifference;
  constexpr auto kHalf = PairFunction::kHalfSquaredDifference;
  if (pairFunction == kSquare) {
    finish == Finish::kSquareRoot ? Run<HasGaps, kSquare, Finish::kSquareRoot>(work)
                                  : Run<HasGaps, kSquare, Finish::kIdentity>(work);
  } else {
    finish == Finish::kSquareRoot ? Run<HasGaps, kHalf, Finish::kSquareRoot>(work)
                                  : Run<HasGaps, kHalf, Finish::kIdentity>(work);
  }
}

void Distances(const float* const* rows, int numRows, std::size_t columns, const float* blocks, std::size_t numBlocks,
               bool hasGaps, PairFunction pairFunction, Finish finish, float* const* out) {
  const Work work{rows, numRows, columns, blocks, numBlocks, out};
  hasGaps ? RunRule<true>(work, pairFunction, finish) : RunRule<false>(work, pairFunction, finish);
}

#if HWY_TARGET != HWY_SCALAR
using Words = hn::RebindToUnsigned<Floats>;
using WordVec = hn::Vec<Words>;

/// Which record of kLanes the words of three vectors belong to, and which of its three words each of them is.
struct WordPlaces {
  alignas(64) std::uint32_t record[3 * kLanes];
  alignas(64) std::uint32_t kind[3 * kLanes];
};
constexpr WordPlaces PlacesOfWords() {
  WordPlaces places{};
  for (std::uint32_t w = 0; w < 3 * kLanes; ++w) {
    places.record[w] = w / 3;
    places.kind[w] = w % 3;
  }
  return places;
}
constexpr WordPlaces kPlaces = PlacesOfWords();

/// One of the three vectors of words that hold kLanes records, going from them to the next kLanes.
class RecordPart {
 public:
  HWY_INLINE RecordPart(std::size_t part, std::uint32_t first, std::uint32_t second)
      : records_(hn::IndicesFromVec(Words(), hn::Load(Words(), kPlaces.record + part * kLanes))) {
    const Words d;
    const auto kind = hn::Load(d, kPlaces.kind + part * kLanes);
    const auto isFirst = hn::Eq(kind, hn::Set(d, 1));
    const auto seconds = hn::Add(hn::Set(d, second), hn::Load(d, kPlaces.record + part * kLanes));
    isDistance_ = hn::VecFromMask(d, hn::Eq(kind, hn::Zero(d)));
    positions_ = hn::IfThenElse(isFirst, hn::Set(d, first), seconds);
    step_ = hn::IfThenZeroElse(isFirst, hn::Set(d, static_cast<std::uint32_t>(kLanes)));
  }

  HWY_INLINE WordVec Next(WordVec distances) {
    const auto words = hn::IfVecThenElse(isDistance_, hn::TableLookupLanes(distances, records_), positions_);
    positions_ = hn::Add(positions_, step_);
    return words;
  }

 private:
  decltype(hn::IndicesFromVec(Words(), WordVec())) records_;
  WordVec isDistance_;
  WordVec positions_;
  WordVec step_;
};
#endif

void WriteRecords(const float* distances, int first, std::size_t n, DistanceAndIndex* out) {
  std::size_t j = 0;
  const auto writeOne = [&]() HWY_ATTR {
    out[j] = DistanceAndIndex{distances[j], first, first + 1 + static_cast<int>(j)};
    ++j;
  };
#if HWY_TARGET != HWY_SCALAR
  // Past the caches, into which the list of all pairs does not fit.
  constexpr std::size_t kAlignment = kLanes * sizeof(float);
  while (j < n && reinterpret_cast<std::uintptr_t>(out + j) % kAlignment != 0) writeOne();
  const Words d;
  const auto firstWord = static_cast<std::uint32_t>(first);
  const auto second = firstWord + 1 + static_cast<std::uint32_t>(j);
  RecordPart parts[3] = {{0, firstWord, second}, {1, firstWord, second}, {2, firstWord, second}};
  for (; j + kLanes <= n; j += kLanes) {
    const auto bits = hn::BitCast(d, hn::LoadU(Floats(), distances + j));
    auto* const words = reinterpret_cast<std::uint32_t*>(out + j);
    for (std::size_t part = 0; part < 3; ++part) hn::Stream(parts[part].Next(bits), d, words + part * kLanes);
  }
  hwy::FlushStream();
#endif
  while (j < n) writeOne();
}

const DistanceKernels& Table() {
  static constexpr DistanceKernels kTable = {Distances, WriteRecords};
  return kTable;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

inline namespace voran {
namespace DendroGram {
namespace detail {

VORAN_KERNEL_TABLE(Table);

const DistanceKernels& DistanceKernels::Current() {
  return voran::detail::SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran

#endif  // HWY_ONCE
