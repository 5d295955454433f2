#include "voran/preprocessing/transform_errors.h"

#include <algorithm>

inline namespace voran {

namespace {

ExceptionMessage MessageOf(const NCTransformErrors::Error& error) {
  return ExceptionMessage::translate(error.transform ? "Value could not be transformed."
                                                     : "Value could not be backtransformed.");
}

}  // namespace

void NCTransformErrors::AddError(int row, int column, NCTransformError::Error error, bool transform) {
  errors_.push_back({row, column, error, transform});
}

void NCTransformErrors::AppendErrors(const NCTransformErrors& other) {
  const std::size_t count = other.size();  // which grows along if this is the other
  for (std::size_t i = 0; i < count; ++i) errors_.push_back(other.errors_[i]);
}

NCTransformError NCTransformErrors::GetTransformError(const Error& error) {
  return {error.row, error.column, error.error, MessageOf(error)};
}

ExceptionMessageList NCTransformErrors::GetErrorMessage() const {
  constexpr std::size_t kMostListed = 100;
  ExceptionMessageList messages;
  messages << ExceptionMessage::translate(
      "Unable to transform all values\nThe matrix might be partly transformed\n\n\n");
  const std::size_t listed = std::min(size(), kMostListed);
  for (std::size_t i = 0; i < listed; ++i) {
    const Error& error = errors_[i];
    messages << (ExceptionMessage::translate("row:{1}, column:{2} ") % error.row % error.column);
    messages << MessageOf(error) << ExceptionMessage::translate("\n");
  }
  if (size() > listed) {
    messages << (ExceptionMessage::translate(
                     "\n({1} more errors)\n",
                     "At the end of a list of errors. {1} is the number of errors that we don't list") %
                 (size() - listed));
  }
  return messages;
}

}  // namespace voran
