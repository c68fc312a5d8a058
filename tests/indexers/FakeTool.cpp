// FakeTool TOKEN: stands in for the indexer tool, and does what the names of its files say.

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "wire/Frames.h"
#include "wire/Messages.h"

namespace {

using namespace siftwell;

void write(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t count = ::write(STDOUT_FILENO, bytes.data() + at, bytes.size() - at);
        if (count <= 0) _exit(9);
        at += static_cast<std::size_t>(count);
    }
}

void send(const wire::Message& message) { write(frameOf(wire::encode(message))); }

// Lines of a date, an address and a title.
void sendLines(const std::string& path) {
    wire::Entries entries;
    std::ifstream file(path);
    double date = 0;
    std::string url;
    std::string title;
    while (file >> date >> url && std::getline(file >> std::ws, title)) {
        entries.entries.push_back({url, Date::fromReference(date), title});
    }
    send(entries);
    send(wire::EndOf{Date::fromReference(date)});
}

void read(const std::string& path) {
    const std::string name = std::filesystem::path(path).filename();
    if (name == "dies") raise(SIGKILL);
    if (name == "ends") _exit(7);
    if (name == "garbage") write("\xff\xff\xff\xff");
    if (name == "problem") return send(wire::Problem{"It is locked."});
    while (name == "waits") pause();
    sendLines(path);
}

}  // namespace

int main() {
    FrameReader reader;
    reader.input().assign(std::istreambuf_iterator<char>(std::ifstream("/dev/stdin").rdbuf()), {});
    const auto task = wire::decodeTask(reader.next().value_or(""));
    if (!task || task->indexer == "ShiiraBookmarks") return 3;
    send(wire::Hello{});
    for (std::size_t i = task->behind ? task->behind->path + 1 : 0; i < task->paths.size(); ++i) {
        send(wire::StartOf{{i, ""}});
        read(task->paths[i]);
    }
    send(wire::End());
}
