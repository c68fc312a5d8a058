// RunLoop: the turns of one thread, in which posted tasks and timers run.
//
// Threads: `post` from any; everything else on the thread that owns the loop. Handlers
// of the underlying event source only queue; `turn` runs what is queued outside of their dispatch,
// so a task may turn the loop again. Turns leave a user's input alone: it waits for `run`.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace siftwell {

class RunLoop {
public:
    using Task = std::function<void()>;
    using TimerID = std::uint64_t;  // 0 is no timer

    virtual ~RunLoop() = default;

    // Runs the task in a later turn, after those posted before it. Returns at once.
    virtual void post(Task task) = 0;

    // Runs the task once when the time is over, unless it is cancelled before. A timer that has
    // fired or was cancelled may be cancelled again.
    virtual TimerID startTimer(std::chrono::milliseconds delay, Task task) = 0;
    virtual void cancelTimer(TimerID timer) = 0;

    // Runs the task whenever the process gets the signal, which is blocked in every thread.
    virtual void watchSignal(int signal, Task task) = 0;

    // Runs what is ready; when nothing is, waits for it, at most so long.
    virtual void turn(std::chrono::milliseconds longestWait) = 0;

    // Serves the loop as the program's own, a user's input to its windows included, until it is
    // told to stop: in a later turn, or before it was begun.
    virtual void run() = 0;
    virtual void stop() = 0;

    // Turns until `isDone` holds (asked after every turn) or the time is over; the last answer.
    bool turnUntil(const std::function<bool()>& isDone, std::chrono::milliseconds longest);

    virtual bool isOwnedByThisThread() const = 0;
};

// The loop of a program without windows, on sd-event. Owned by the thread that makes it.
std::unique_ptr<RunLoop> makeHeadlessRunLoop();

}  // namespace siftwell
