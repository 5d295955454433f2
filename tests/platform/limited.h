#pragma once

#include <csignal>

#include <sys/resource.h>

/// As long as it lives, a resource of the process is limited; a write that hits the limit fails, and kills nobody.
class Limited {
 public:
  Limited(__rlimit_resource resource, rlim_t limit) : resource_(resource), handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(resource_, &before_);
    const rlimit now{limit, before_.rlim_max};
    setrlimit(resource_, &now);
  }
  ~Limited() {
    setrlimit(resource_, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  Limited(const Limited&) = delete;
  Limited& operator=(const Limited&) = delete;

 private:
  __rlimit_resource resource_;
  rlimit before_{};
  void (*handler_)(int);
};
