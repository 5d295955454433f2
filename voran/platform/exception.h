#pragma once

#include <exception>
#include <memory>
#include <string>

#include "voran/export.h"
#include "voran/platform/exception_message.h"

inline namespace voran {

/// Root of everything that the library throws of its own; what the standard library throws passes through as it is.
///
/// Which class comes tells what to do about it: NCError (nc_error.h) for what the user can act on, NCInternalError for
/// misuse by the calling program, and the classes below. Copying never throws.
class VORAN_EXPORT Exception : public std::exception {
 public:
  Exception() = default;
  explicit Exception(const ExceptionMessage& message);
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  ~Exception() override;

  /// The translated text in UTF-8, empty if none was given; valid as long as this object or a copy of it lives.
  const char* what() const noexcept override;

 protected:
  /// With a text that is not translated, or is already.
  explicit Exception(std::string text);

 private:
  std::shared_ptr<const std::string> text_;
};

/// An argument that the called function cannot accept.
class VORAN_EXPORT InvalidArgument : public Exception {
 public:
  explicit InvalidArgument(const std::string& text);
  ~InvalidArgument() override;
};

/// The user asked to stop.
class VORAN_EXPORT CancelException : public Exception {
 public:
  CancelException();
  ~CancelException() override;
};

/// A stream that could not be read or written, or whose content is damaged.
class VORAN_EXPORT VrStreamError : public Exception {
 public:
  VrStreamError() = default;
  explicit VrStreamError(const ExceptionMessage& message);
  ~VrStreamError() override;
};

}  // namespace voran
