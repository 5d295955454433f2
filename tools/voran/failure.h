#pragma once

#include <stdexcept>
#include <string>

namespace tool {

/// What the program returns to the shell.
enum class ExitCode {
  kDone = 0,
  kComputationFailed = 1,  ///< the input was sound, but no result could be computed or written
  kWrongUse = 2,           ///< an option is wrong, or does not fit the table
  kBadData = 3,            ///< the input cannot be read as a table of numbers
  kCancelled = 130,        ///< the user broke off
};

/// Ends the run: one sentence for the user (what, where, what to do) and the code to exit with.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

inline Failure BadData(const std::string& sentence) {
  return Failure(ExitCode::kBadData, sentence);
}
inline Failure WrongUse(const std::string& sentence) {
  return Failure(ExitCode::kWrongUse, sentence);
}
inline Failure Cancelled() {
  return Failure(ExitCode::kCancelled, "cancelled");
}

}  // namespace tool
