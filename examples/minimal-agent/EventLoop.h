// A plain poll(2) loop that drives the library's scheduler, as an agent's own loop would.
//
// Everything the library does happens on this one thread: inside the writes the agent makes
// to its inputs (reactors run synchronously), and in scheduler tasks (reviews and retries),
// which run from runReady(). After every wake-up the loop runs what is ready and re-arms a
// timerfd for the scheduler's next due time, so it sleeps exactly until there is work.
#pragma once

#include <functional>
#include <vector>

#include "Keel/TaskScheduler.h"
#include "Qor/Ptr.h"

class EventLoop {
 public:
  explicit EventLoop(Qor::Ptr<Keel::TaskScheduler> scheduler);
  ~EventLoop();
  EventLoop(EventLoop const&) = delete;
  EventLoop& operator=(EventLoop const&) = delete;

  // Calls `handler` whenever `fd` is readable; the handler must consume what it read.
  void watch(int fd, std::function<void()> handler);
  // Runs until stop() is called from a handler or a task.
  void run();
  void stop() { running_ = false; }

 private:
  void armSchedulerTimer();

  Qor::Ptr<Keel::TaskScheduler> scheduler_;
  int schedulerTimer_;
  std::vector<int> fds_;
  std::vector<std::function<void()>> handlers_;
  bool running_ = false;
};
