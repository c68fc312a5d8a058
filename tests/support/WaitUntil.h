// waitUntil: for what other threads and processes do in their own time.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace siftwell {

// Until the condition holds; fails after a minute.
template <typename Condition>
void waitUntil(Condition condition, int line = __builtin_LINE()) {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    bool isSo = condition();
    for (; !isSo && std::chrono::steady_clock::now() < latest; isSo = condition()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_TRUE(isSo) << "it did not come true within a minute: line " << line;
}

}  // namespace siftwell
