#include "tools/voran/component_loop.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/platform/nc_error.h"

namespace tool {

std::string AsSentence(std::string text) {
  for (auto end = text.find(".\n"); end != std::string::npos; end = text.find(".\n")) {
    text.replace(end, 2, "; ");
    const std::size_t next = std::min(end + 2, text.size() - 1);
    const auto isCapital = [&](std::size_t at) { return at < text.size() && text[at] >= 'A' && text[at] <= 'Z'; };
    if (isCapital(next) && !isCapital(next + 1)) text[next] = static_cast<char>(text[next] - 'A' + 'a');
  }
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (text.ends_with('.') || text.ends_with(' ') || text.ends_with(';')) text.pop_back();
  return text;
}

std::string ComponentLoop::Run(const ComponentRequest& request, const ComponentLimit& limit, NCProgress* progress) {
  const int count = request.isAuto ? limit.most : std::min(request.asked, limit.most);
  for (int a = 1; a <= count; ++a) {
    std::string stopped = FitNext(a, count, request.isAuto, limit.source, progress);
    if (!stopped.empty()) return stopped;
  }
  if (!request.isAuto && request.asked <= limit.most) return {};
  return fmt::format("{} and {} have no more than {}", Counted(limit.rows, "row"), Counted(limit.columns, "column"),
                     Counted(static_cast<std::size_t>(limit.most), "component"));
}

std::string ComponentLoop::FitNext(int a, int count, bool isAuto, const std::string& source, NCProgress* progress) {
  const std::string explained = a == 1 ? "" : Exhausted();
  if (!explained.empty()) {
    return fmt::format("the first {} {}", a == 2 ? "component explains" : fmt::format("{} components explain", a - 1),
                       explained);
  }
  if (progress != nullptr) {
    // How many will be significant is not known: each takes half of what is left of the bar.
    const double begin = isAuto ? 1.0 - std::exp2(1 - a) : static_cast<double>(a - 1) / count;
    const double end = isAuto ? 1.0 - std::exp2(-a) : static_cast<double>(a) / count;
    progress->SetText((isAuto ? fmt::format("component {}", a) : fmt::format("component {} of {}", a, count)).c_str());
    progress->PushSubRange(static_cast<float>(begin), static_cast<float>(end));
  }
  try {
    Fit(a, progress);
  } catch (const NCError& error) {
    if (progress != nullptr && progress->IsBreakPressed()) throw Cancelled();
    if (a == 1) throw Failure(ExitCode::kComputationFailed, fmt::format("{}: {}", source, AsSentence(error.what())));
    return AsSentence(error.what());
  }
  if (progress != nullptr && !progress->PopSubRange()) throw Cancelled();
  std::string insignificance = isAuto ? Insignificance(a) : "";
  if (!insignificance.empty()) {
    if (a > 1) return insignificance;
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{}: {}; --components 1 fits it all the same", source, insignificance));
  }
  Accept(a);
  return {};
}

}  // namespace tool
