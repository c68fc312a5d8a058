#include "base/Log.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <utility>

#include "base/Clock.h"
#include "base/FileDescriptor.h"
#include "base/Gate.h"

namespace siftwell {

namespace {

struct LogState {
    Gate gate;  // held while a line is written
    std::function<void(std::string_view)> sink;
};

LogState& logState() {
    static LogState* const state = new LogState;  // outlives every thread that may still log
    return *state;
}

void rename(const std::string& from, const std::string& to) {
    // A log that cannot be set aside goes on growing, which is better than losing lines.
    static_cast<void>(std::rename(from.c_str(), to.c_str()));
}

}  // namespace

void writeLog(std::string_view line) {
    LogState& state = logState();
    const GateHold hold(state.gate);
    if (state.sink) {
        state.sink(line);
    } else {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    }
}

void setLogSink(std::function<void(std::string_view line)> sink) {
    LogState& state = logState();
    const GateHold hold(state.gate);
    state.sink = std::move(sink);
}

std::function<void(std::string_view line)> logFileSink(std::string path, std::size_t maxBytes) {
    return [path = std::move(path), maxBytes](std::string_view line) {
        struct stat info {};
        if (stat(path.c_str(), &info) == 0 && static_cast<std::size_t>(info.st_size) > maxBytes) {
            rename(path, path + ".old");
        }
        const FileDescriptor file(
            open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file.isOpen()) return;
        std::string text = SystemClock().now().iso8601();
        text += ' ';
        text += line;
        text += '\n';
        if (write(file.get(), text.data(), text.size()) < 0) {
            std::fprintf(stderr, "%s", text.c_str());
        }
    };
}

}  // namespace siftwell
