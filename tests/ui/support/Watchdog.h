// Watchdog: how long the main thread kept its loop waiting, at the longest, since it was last
// asked.
//
// A thread of its own sends an event every millisecond or as soon as the last one was taken, and
// notes how late that was. It judges nothing: a busy machine is late for reasons of its own.
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace siftwell {

class Watchdog : public QObject {
public:
    Watchdog() : m_thread([this](const std::stop_token& stop) { watch(stop); }) {}

    // Milliseconds; begins anew.
    double takeLongest() { return m_longest.exchange(0); }

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::User) return QObject::event(event);
        const double late =
            std::chrono::duration<double, std::milli>(Clock::now() - m_sent.load()).count();
        m_longest = std::max(m_longest.load(), late);
        m_isTaken = true;
        return true;
    }

private:
    using Clock = std::chrono::steady_clock;

    void watch(const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            if (m_isTaken.exchange(false)) {
                m_sent = Clock::now();
                QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::atomic<bool> m_isTaken = true;
    std::atomic<Clock::time_point> m_sent{};
    std::atomic<double> m_longest = 0;
    std::jthread m_thread;
};

}  // namespace siftwell
