// The main function of a program of Qt tests: the test classes are made and run in turn.
//
//   SIFTWELL_UI_TESTS(SearchWindowTest, ResultModelTest)
#pragma once

#include <QApplication>
#include <QtTest>
#include <csignal>

namespace siftwell {

template <typename... Tests>
int runUiTests(int argc, char** argv) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    int failures = 0;
    const auto run = [&](auto test) { failures += QTest::qExec(test.get(), argc, argv); };
    (run(std::make_unique<Tests>()), ...);
    return failures;
}

}  // namespace siftwell

#define SIFTWELL_UI_TESTS(...) \
    int main(int argc, char** argv) { return siftwell::runUiTests<__VA_ARGS__>(argc, argv); }
