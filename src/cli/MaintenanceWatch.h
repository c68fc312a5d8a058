// MaintenanceWatch follows a command that works on the index to its end, in this process or in
// another one, with progress on a terminal.
//
// Threads: main, whose loop is served meanwhile.
#pragma once

#include <functional>
#include <string>

#include "base/Url.h"
#include "cli/Commands.h"
#include "cli/DriverCommand.h"

namespace siftwell {

class MaintenanceWatch {
public:
    using Start = std::function<Status(Driver&)>;

    // Waits until the indexes are loaded. All that is given outlives the watch.
    MaintenanceWatch(const ReachedCopy& reached, const CommandContext& context);

    // Starts the command and follows it; says what became of it when that is no success.
    ExitStatus run(const std::string& progress, const Start& start);

    // What the command took out of the index.
    std::size_t removedCount() const { return m_state.removedCount; }
    bool hasRemoved(const Url& url) const;

private:
    Status follow(const std::string& progress, std::uint64_t endedBefore);
    Status poll();
    void showProgress(const std::string& progress) const;

    WritingCopy& m_copy;
    const CommandContext& m_context;
    Driver::MaintenanceState m_state;
};

}  // namespace siftwell
