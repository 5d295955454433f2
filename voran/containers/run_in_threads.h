#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include <boost/thread/thread.hpp>

inline namespace voran {
namespace detail {

/// Calls work(0) on this thread and work(1)..work(count - 1) on threads of their own, or here if no more are to be had.
/// Returns when all are done. `work` must not throw.
template <class Work>
void RunInThreads(int count, const Work& work) {
  const boost::this_thread::disable_interruption waitForAll;
  std::vector<boost::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));  // one that is not kept could not be waited for
  int started = 1;
  try {
    for (; started < count; ++started) threads.emplace_back([&work, started] { work(started); });
  } catch (const boost::thread_resource_error&) {
  } catch (const std::bad_alloc&) {
  }
  for (int c = started; c < count; ++c) work(c);
  work(0);
  for (boost::thread& thread : threads) thread.join();
}

}  // namespace detail
}  // namespace voran
