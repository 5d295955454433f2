#include "voran/orthogonal/o2pls_dimensionality.h"

inline namespace voran {
namespace {

/// `many` has a placeholder for the count.
ExceptionMessage ByCount(int count, const char* none, const char* one, const char* many) {
  if (count == 0) return ExceptionMessage::translate(none);
  if (count == 1) return ExceptionMessage::translate(one);
  return ExceptionMessage::translate(many) % count;
}

}  // namespace

NCO2PLSDimensionalityException::NCO2PLSDimensionalityException(Dimensionality dimensionality, int predictiveComps,
                                                               int xOrtho, int yOrtho)
    : NCError(FormatException(dimensionality, xOrtho, yOrtho), Level::kGeneral),
      dimensionality_(dimensionality),
      predictiveComps_(predictiveComps),
      xOrtho_(xOrtho),
      yOrtho_(yOrtho) {}

NCO2PLSDimensionalityException::~NCO2PLSDimensionalityException() = default;

NCO2PLSDimensionalityException* NCO2PLSDimensionalityException::Clone() const {
  return new NCO2PLSDimensionalityException(*this);
}

ExceptionMessageList NCO2PLSDimensionalityException::FormatException(Dimensionality dimensionality, int xOrtho,
                                                                     int yOrtho) {
  ExceptionMessageList messages;
  if ((dimensionality & kXSide) != 0) {
    messages << ByCount(xOrtho, "There are no OPLS-orthogonal dimensions in X.\n",
                        "There is only 1 OPLS-orthogonal dimension in X.\n",
                        "There are only {1} OPLS-orthogonal dimensions in X.\n");
  }
  if ((dimensionality & kYSide) != 0) {
    messages << ByCount(yOrtho, "There are no OPLS-orthogonal dimensions in Y.\n",
                        "There is only 1 OPLS-orthogonal dimension in Y.\n",
                        "There are only {1} OPLS-orthogonal dimensions in Y.\n");
  }
  messages << ExceptionMessage::translate("More components can not be calculated.");
  return messages;
}

}  // namespace voran
