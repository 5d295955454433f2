#pragma once

#include <functional>
#include <string>
#include <vector>

#include "voran/platform/progress.h"

/// The long operations of the library behind one interface, to be broken in all the ways there are.
namespace faults {

/// What an operation works on. Data of one shape are always the same.
struct Shape {
  int rows = 24;
  int columns = 9;
  int responses = 2;
};

/// How an operation ends when the user breaks off. No level: it is no NCError.
struct Stop {
  std::string text;
  int level = kNone;
  bool operator==(const Stop&) const = default;

  static constexpr int kNone = -1;
};

/// The objects of one operation.
struct Attempt {
  /// Does the work. After a failure it may be called again.
  std::function<void(NCProgress*)> run;
  /// What the objects hold, byte by byte.
  std::function<std::string()> bytes;
};

struct Operation {
  const char* name;
  Attempt (*begin)(const Shape& shape);
  bool isCostly = false;              ///< takes milliseconds also on small data
  bool keeps = false;                 ///< a failure leaves what the objects hold as it was
  std::vector<Stop> stops = {};       ///< what a cancel may throw; empty: it cannot be broken off
  bool makesProgress = false;         ///< makes a progress object of its own where none is given
  int unheard = 0;                    ///< so many of its last looks at the progress object come too late
  const char* memoryError = nullptr;  ///< how the text of its own error for too little memory begins
  bool mayDoNothing = false;          ///< so does too little memory, without an error
};

/// Calls work() and tells how the user's break ended it; no text if it was done.
Stop StopOf(const std::function<void()>& work);

/// Those whose work grows with the shape.
const std::vector<Operation>& ModelOperations();
/// Charts, spectra, streams and the like, whose series have the length shape.rows x shape.columns at most.
const std::vector<Operation>& OtherOperations();

}  // namespace faults
