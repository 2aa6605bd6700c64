#include "EventLoop.h"

#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <system_error>

namespace {

[[noreturn]] void fail(char const* what) { throw std::system_error(errno, std::generic_category(), what); }

void drain(int fd) {
  uint64_t expirations;
  while (read(fd, &expirations, sizeof expirations) > 0) {
  }
}

}  // namespace

EventLoop::EventLoop(Qor::Ptr<Keel::TaskScheduler> scheduler)
    : scheduler_(std::move(scheduler)),
      schedulerTimer_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
  if (schedulerTimer_ < 0) fail("timerfd_create");
}

EventLoop::~EventLoop() { close(schedulerTimer_); }

void EventLoop::watch(int fd, std::function<void()> handler) {
  fds_.push_back(fd);
  handlers_.push_back(std::move(handler));
}

// Keel::RealClock reads std::chrono::steady_clock, which is CLOCK_MONOTONIC on Linux, so
// the scheduler's due times and the timerfd count the same seconds.
void EventLoop::armSchedulerTimer() {
  itimerspec spec{};
  double const due = scheduler_->nextDueTime();
  if (due != Keel::neverDue) {
    double const delay = std::max(due - scheduler_->now(), 0.0);
    spec.it_value.tv_sec = static_cast<time_t>(delay);
    spec.it_value.tv_nsec = static_cast<long>((delay - std::floor(delay)) * 1e9);
    // A zero it_value disarms the timer: a time already reached becomes one nanosecond.
    if (spec.it_value.tv_sec == 0 && spec.it_value.tv_nsec == 0) spec.it_value.tv_nsec = 1;
  }
  if (timerfd_settime(schedulerTimer_, 0, &spec, nullptr) < 0) fail("timerfd_settime");
}

void EventLoop::run() {
  running_ = true;
  std::vector<pollfd> polled;
  while (running_) {
    scheduler_->runReady();
    if (!running_) break;
    armSchedulerTimer();
    polled.assign(1, pollfd{schedulerTimer_, POLLIN, 0});
    for (int fd : fds_) polled.push_back(pollfd{fd, POLLIN, 0});
    if (poll(polled.data(), polled.size(), -1) < 0) {
      if (errno == EINTR) continue;
      fail("poll");
    }
    if (polled[0].revents) drain(schedulerTimer_);
    for (size_t i = 1; i < polled.size() && running_; ++i) {
      if (polled[i].revents) handlers_[i - 1]();
    }
  }
}
