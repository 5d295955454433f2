#include "voran/platform/exception.h"

#include <utility>

inline namespace voran {

Exception::Exception(const ExceptionMessage& message) : Exception(message.GetText()) {}

Exception::Exception(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}

Exception::~Exception() = default;

const char* Exception::what() const noexcept {
  return text_ ? text_->c_str() : "";
}

InvalidArgument::InvalidArgument(const std::string& text) : Exception(text) {}

InvalidArgument::~InvalidArgument() = default;

CancelException::CancelException() : Exception(ExceptionMessage::translate("Cancelled by the user.")) {}

CancelException::~CancelException() = default;

VrStreamError::VrStreamError(const ExceptionMessage& message) : Exception(message) {}

VrStreamError::~VrStreamError() = default;

}  // namespace voran
