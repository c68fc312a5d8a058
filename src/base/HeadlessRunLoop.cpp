#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/RunLoop.h"
#include "base/TaskQueue.h"

namespace siftwell {

namespace {

struct EventDeleter {
    void operator()(sd_event* event) const { sd_event_unref(event); }
};
struct SourceDeleter {
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
using EventHandle = std::unique_ptr<sd_event, EventDeleter>;
using SourceHandle = std::unique_ptr<sd_event_source, SourceDeleter>;

// Longer times would overflow the microseconds that sd-event counts in.
std::chrono::microseconds waitOf(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365 * 100);
    return std::clamp(time, time.zero(), kLongest);
}

void require(int result, const char* what) {
    if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

class HeadlessRunLoop : public RunLoop {
public:
    HeadlessRunLoop()
        : m_owner(std::this_thread::get_id()), m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        sd_event* event = nullptr;
        require(sd_event_new(&event), "make an event loop");
        m_event.reset(event);
        sd_event_source* source = nullptr;
        require(sd_event_add_io(event, &source, m_wakeUp.get(), kReadable,
                                &HeadlessRunLoop::onWakeUp, this),
                "watch for posted tasks");
        m_wakeUpSource.reset(source);
    }

    void post(Task task) override {
        m_queue.add(std::move(task));
        const std::uint64_t one = 1;
        // A full counter means that the loop is about to wake up anyway.
        static_cast<void>(write(m_wakeUp.get(), &one, sizeof one) < 0);
    }

    TimerID startTimer(std::chrono::milliseconds delay, Task task) override {
        const TimerID id = ++m_lastTimer;
        Timer& timer = m_timers[id];
        timer = {.loop = this, .id = id, .task = std::move(task), .source = nullptr};
        sd_event_source* source = nullptr;
        require(sd_event_add_time_relative(m_event.get(), &source, CLOCK_MONOTONIC,
                                           static_cast<std::uint64_t>(waitOf(delay).count()), 1000,
                                           &HeadlessRunLoop::onTimer, &timer),
                "start a timer");
        timer.source.reset(source);
        return id;
    }

    void cancelTimer(TimerID timer) override { m_timers.erase(timer); }

    void watchSignal(int signal, Task task) override {
        m_signalTasks.push_back(std::make_unique<SignalTask>(SignalTask{this, std::move(task)}));
        sd_event_source* source = nullptr;
        require(sd_event_add_signal(m_event.get(), &source, signal, &HeadlessRunLoop::onSignal,
                                    m_signalTasks.back().get()),
                "watch for a signal");
        m_signalSources.emplace_back(source);
    }

    void turn(std::chrono::milliseconds longestWait) override {
        const auto wait = m_queue.isEmpty() ? waitOf(longestWait) : std::chrono::microseconds(0);
        require(sd_event_run(m_event.get(), static_cast<std::uint64_t>(wait.count())),
                "wait for events");
        m_queue.runQueued();
    }

    void run() override {
        while (!m_isStopped) turn(std::chrono::hours(1));
    }

    void stop() override { m_isStopped = true; }

    bool isOwnedByThisThread() const override { return std::this_thread::get_id() == m_owner; }

private:
    struct Timer {
        HeadlessRunLoop* loop = nullptr;
        TimerID id = 0;
        Task task;
        SourceHandle source;
    };

    struct SignalTask {
        HeadlessRunLoop* loop;
        Task task;
    };

    static constexpr std::uint32_t kReadable = 1;  // EPOLLIN

    static int onWakeUp(sd_event_source*, int descriptor, std::uint32_t, void*) {
        std::uint64_t count = 0;
        static_cast<void>(read(descriptor, &count, sizeof count) < 0);
        return 0;
    }

    static int onSignal(sd_event_source*, const signalfd_siginfo*, void* data) {
        const auto* signal = static_cast<SignalTask*>(data);
        signal->loop->post(signal->task);
        return 0;
    }

    static int onTimer(sd_event_source*, std::uint64_t, void* data) {
        auto* timer = static_cast<Timer*>(data);
        timer->loop->queueTimer(timer->id);
        return 0;
    }

    // The timer stays cancellable until its task runs.
    void queueTimer(TimerID id) {
        m_queue.add([this, id] {
            const auto timer = m_timers.find(id);
            if (timer == m_timers.end()) return;
            const Task task = std::move(timer->second.task);
            m_timers.erase(timer);
            task();
        });
    }

    const std::thread::id m_owner;
    const FileDescriptor m_wakeUp;
    EventHandle m_event;
    SourceHandle m_wakeUpSource;
    std::vector<std::unique_ptr<SignalTask>> m_signalTasks;
    std::vector<SourceHandle> m_signalSources;
    std::map<TimerID, Timer> m_timers;
    TimerID m_lastTimer = 0;
    bool m_isStopped = false;
    TaskQueue m_queue;
};

}  // namespace

bool RunLoop::turnUntil(const std::function<bool()>& isDone, std::chrono::milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (!isDone()) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left <= left.zero()) return false;
        turn(left);
    }
    return true;
}

std::unique_ptr<RunLoop> makeHeadlessRunLoop() { return std::make_unique<HeadlessRunLoop>(); }

}  // namespace siftwell
