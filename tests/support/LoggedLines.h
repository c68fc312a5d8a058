// LoggedLines: takes down what is logged as long as it lives, instead of standard error.
//
// Threads: any.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/Mutex.h"

namespace siftwell {

class LoggedLines {
public:
    LoggedLines() {
        setLogSink([this](std::string_view line) {
            MutexLock lock(m_mutex);
            m_lines.emplace_back(line);
        });
    }
    ~LoggedLines() { setLogSink(nullptr); }
    LoggedLines(const LoggedLines&) = delete;
    LoggedLines& operator=(const LoggedLines&) = delete;

    // What came since it was asked for last: as lines, or as a text in which each ends.
    std::vector<std::string> take() {
        MutexLock lock(m_mutex);
        return std::exchange(m_lines, {});
    }
    std::string takeText() {
        std::string text;
        for (const std::string& line : take()) text += line + "\n";
        return text;
    }

private:
    Mutex m_mutex;
    std::vector<std::string> m_lines SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
