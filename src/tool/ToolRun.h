// ToolRun: does what one task asks.
//
// Threads: one.
#pragma once

#include "tool/Channel.h"
#include "wire/Messages.h"

namespace siftwell {

class ToolRun {
public:
    ToolRun(const wire::Task& task, const Channel& channel) : m_task(task), m_channel(channel) {}

    // All files and folders that run() reads from.
    std::vector<std::string> files() const;
    // Ends with the message End.
    void run();

private:
    void scanEntries();
    void readEntries(const std::string& path, Date changed);
    void scanCaches();
    void scanCache(std::size_t path);
    void lookUp();
    bool isBehind(const wire::Place& place) const {
        return !m_task.behind || place > *m_task.behind;
    }

    const wire::Task& m_task;
    const Channel& m_channel;
};

}  // namespace siftwell
