#include "voran/platform/nc_error.h"

inline namespace voran {

NCError::NCError(const ExceptionMessage& message, Level level) : Exception(message), level_(level) {}

NCError::NCError(const ExceptionMessageList& messages, Level level) : Exception(messages.GetText()), level_(level) {}

NCError::~NCError() = default;

NCInternalError::NCInternalError(const std::string& location) : Exception(location) {}

NCInternalError::NCInternalError(const std::string& location, const ExceptionMessage& message)
    : Exception(location + ": " + message.GetText()) {}

NCInternalError::~NCInternalError() = default;

}  // namespace voran
