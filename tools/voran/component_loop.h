#pragma once

#include <cstddef>
#include <string>

#include "voran/platform/progress.h"

namespace tool {

/// A message of the library, which may be several sentences on several lines, as one sentence without a full stop.
std::string AsSentence(std::string text);

/// How many components are wanted.
struct ComponentRequest {
  int asked = 0;
  bool isAuto = false;  ///< as many as cross-validation finds significant; `asked` plays no part
};

/// How many there can be, and why.
struct ComponentLimit {
  const std::string& source;
  std::size_t rows;
  std::size_t columns;
  int most;
};

/// Fits the components of a model one by one, until there are enough of them or no further one can be had.
class ComponentLoop {
 public:
  virtual ~ComponentLoop() = default;

  /// Returns why there are fewer components than were asked for, or why no more are significant; empty if there is
  /// nothing to say. Throws `Failure`: computation failed if there is no first component, cancelled if `progress`,
  /// which may be null, says so.
  std::string Run(const ComponentRequest& request, const ComponentLimit& limit, NCProgress* progress);

 protected:
  ComponentLoop() = default;
  ComponentLoop(const ComponentLoop&) = default;
  ComponentLoop& operator=(const ComponentLoop&) = default;

  /// What the components so far explain entirely, such as "the whole table"; empty if something is left.
  virtual std::string Exhausted() const = 0;
  /// Computes component a, and cross-validates it if that is wanted. May throw NCError.
  virtual void Fit(int a, NCProgress* progress) = 0;
  /// Why component a, the newest one, is not significant; empty if it is.
  virtual std::string Insignificance(int a) const = 0;
  /// Takes component a into the model and the results.
  virtual void Accept(int a) = 0;

 private:
  /// Empty if the component was taken.
  std::string FitNext(int a, int count, bool isAuto, const std::string& source, NCProgress* progress);
};

}  // namespace tool
