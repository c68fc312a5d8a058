#include "ui/QtRunLoop.h"

#include <atomic>
#include <csignal>
#include <thread>

#include "ui/background/TaskThread.h"
#include "ui/support/UiProgram.h"
#include "ui/support/UiTest.h"

namespace siftwell {

using std::chrono::milliseconds;

class QtRunLoopTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_loop = makeQtRunLoop();
        m_order.clear();
    }

    void tasksOfAllThreadsRunInTheirOrderAndATaskMayTurnTheLoop() {
        m_loop->post([this] {
            m_loop->post(note("inner"));
            QVERIFY(m_loop->turnUntil([this] { return m_order.contains(QStringLiteral("inner")); },
                                      milliseconds(5000)));
            m_order << QStringLiteral("outer");
        });
        std::thread([this] { m_loop->post(note("thread")); }).join();
        QVERIFY(m_loop->turnUntil([this] { return m_order.size() == 3; }, milliseconds(5000)));
        QCOMPARE(m_order, words({"thread", "inner", "outer"}));
    }

    void timersFireOnceInTheOrderOfTheirTimesUnlessCancelled() {
        const auto cancelled = m_loop->startTimer(milliseconds(1), note("cancelled"));
        m_loop->startTimer(milliseconds(30), note("late"));
        m_loop->startTimer(milliseconds(1), note("soon"));
        m_loop->cancelTimer(cancelled);
        QVERIFY(m_loop->turnUntil([this] { return m_order.size() == 2; }, milliseconds(5000)));
        QCOMPARE(m_order, words({"soon", "late"}));
    }

    void aTurnEndsWhenItsTimeIsOver() {
        QVERIFY(!m_loop->turnUntil([] { return false; }, milliseconds(20)));
    }

    void runningEndsBySignalAndStopBeforeRunCounts() {
        m_loop->watchSignal(SIGCHLD, [this] { m_loop->stop(); });
        m_loop->post([] { kill(getpid(), SIGCHLD); });
        m_loop->run();
        m_loop->run();  // stopped already
    }

    void whatSupersedesATaskTellsItAndItsResultIsDropped() {
        TaskThread thread(*m_loop, "tested");
        std::atomic<bool> isRunning = false;
        thread.run([this, &isRunning](const std::stop_token& stop) {
            isRunning = true;
            while (!stop.stop_requested()) std::this_thread::yield();
            return note("superseded");
        });
        thread.run([this](const std::stop_token&) { return note("never begun"); });
        while (!isRunning) std::this_thread::yield();
        thread.runInstead([this](const std::stop_token&) { return note("instead"); });
        thread.run([this](const std::stop_token&) { return note("after"); });
        QVERIFY(m_loop->turnUntil([this] { return m_order.contains(QStringLiteral("after")); },
                                  milliseconds(5000)));
        QCOMPARE(m_order, words({"instead", "after"}));
    }

private:
    RunLoop::Task note(const char* word) {
        return [this, word] { m_order << QString::fromLatin1(word); };
    }
    static QStringList words(std::initializer_list<const char*> list) {
        QStringList result;
        for (const char* each : list) result << QString::fromLatin1(each);
        return result;
    }

    std::unique_ptr<RunLoop> m_loop;
    QStringList m_order;
};

}  // namespace siftwell

SIFTWELL_UI_TESTS(siftwell::QtRunLoopTest)

#include "QtRunLoopTest.moc"
