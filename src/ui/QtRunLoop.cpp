#include "ui/QtRunLoop.h"

#include <signal.h>
#include <sys/signalfd.h>

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/TaskQueue.h"

namespace siftwell {

namespace {

// Qt counts the milliseconds of a timer in an int.
int waitOf(std::chrono::milliseconds time) {
    constexpr std::int64_t kLongest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<std::int64_t>(time.count(), 0, kLongest));
}

// A signal that every thread has blocked, as it arrives at the process.
class SignalWatch {
public:
    SignalWatch(int signal, RunLoop& loop, RunLoop::Task task)
        : m_descriptor(descriptorOf(signal)),
          m_notifier(m_descriptor.get(), QSocketNotifier::Read) {
        QObject::connect(&m_notifier, &QSocketNotifier::activated,
                         [this, &loop, watched = std::move(task)] {
                             signalfd_siginfo info{};
                             if (read(m_descriptor.get(), &info, sizeof info) > 0) {
                                 loop.post(watched);
                             }
                         });
    }

private:
    static int descriptorOf(int signal) {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, signal);
        const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
        if (descriptor >= 0) return descriptor;
        throw std::system_error(errno, std::generic_category(), "watch for a signal");
    }

    FileDescriptor m_descriptor;
    QSocketNotifier m_notifier;
};

class QtRunLoop : public QObject, public RunLoop {
public:
    void post(Task task) override {
        m_queue.add(std::move(task));
        QCoreApplication::postEvent(this, new QEvent(kWakeUp));
    }

    TimerID startTimer(std::chrono::milliseconds delay, Task task) override {
        const TimerID id = ++m_lastTimer;
        Timer& timer = m_timers[id];
        timer.task = std::move(task);
        timer.clock = std::make_unique<QTimer>();
        timer.clock->setSingleShot(true);
        timer.clock->setTimerType(Qt::PreciseTimer);
        connect(timer.clock.get(), &QTimer::timeout, this, [this, id] { queueTimer(id); });
        timer.clock->start(waitOf(delay));
        return id;
    }

    void cancelTimer(TimerID timer) override { m_timers.erase(timer); }

    void watchSignal(int signal, Task task) override {
        m_signals.push_back(std::make_unique<SignalWatch>(signal, *this, std::move(task)));
    }

    void turn(std::chrono::milliseconds longestWait) override {
        QTimer clock;  // its event ends the wait
        clock.setSingleShot(true);
        clock.start(waitOf(longestWait));
        QEventLoop().processEvents(QEventLoop::ExcludeUserInputEvents |
                                   QEventLoop::WaitForMoreEvents);
    }

    void run() override {
        if (!m_isStopped) QCoreApplication::exec();
    }

    // Windows are asked to close first, and may ask the user something; then the loop ends,
    // whatever they say.
    void stop() override {
        m_isStopped = true;
        post([] {
            QCoreApplication::quit();
            QCoreApplication::exit(0);
        });
    }

    bool isOwnedByThisThread() const override { return QThread::currentThread() == thread(); }

protected:
    bool event(QEvent* event) override {
        if (event->type() != kWakeUp) return QObject::event(event);
        m_queue.runQueued();
        return true;
    }

private:
    struct Timer {
        Task task;
        std::unique_ptr<QTimer> clock;
    };

    static inline const auto kWakeUp = static_cast<QEvent::Type>(QEvent::registerEventType());

    // The timer stays cancellable until its task runs, which is after its clock's own event.
    void queueTimer(TimerID id) {
        post([this, id] {
            const auto timer = m_timers.find(id);
            if (timer == m_timers.end()) return;
            const Task task = std::move(timer->second.task);
            m_timers.erase(timer);
            task();
        });
    }

    std::vector<std::unique_ptr<SignalWatch>> m_signals;
    std::map<TimerID, Timer> m_timers;
    TimerID m_lastTimer = 0;
    bool m_isStopped = false;
    TaskQueue m_queue;
};

}  // namespace

std::unique_ptr<RunLoop> makeQtRunLoop() { return std::make_unique<QtRunLoop>(); }

}  // namespace siftwell
