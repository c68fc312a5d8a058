// BusFixture: message buses of a test's own, and threads that talk on them.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sdbus-c++/sdbus-c++.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "app/bus/BusErrors.h"
#include "app/bus/BusValues.h"
#include "base/FileDescriptor.h"
#include "base/RunLoop.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

// A program that runs beside the test, until its end.
class Daemon {
public:
    explicit Daemon(std::vector<std::string> arguments) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return;
        m_output = FileDescriptor(ends[0]);
        const FileDescriptor input(ends[1]);
        std::vector<char*> words;
        for (std::string& each : arguments) words.push_back(each.data());
        words.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
        if (posix_spawnp(&m_process, words[0], &actions, nullptr, words.data(), environ) != 0) {
            m_process = 0;
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Daemon() { end(); }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // The first line that it writes; waits for it.
    std::string line() const {
        std::string text;
        for (char next = 0; read(m_output.get(), &next, 1) == 1 && next != '\n';) text += next;
        return text;
    }
    void send(int signal) const {
        if (m_process != 0) kill(m_process, signal);
    }
    void end() {
        if (m_process == 0) return;
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        m_process = 0;
    }

private:
    FileDescriptor m_output;
    pid_t m_process = 0;
};

// A bus that starts no service by itself and lets every user in.
class TestBus {
public:
    // `variable` is where programs look for the address of the bus.
    explicit TestBus(std::string variable)
        : m_variable(std::move(variable)),
          m_daemon({"dbus-daemon", "--nofork", "--print-address=1", "--config-file=" + rules()}) {
        m_address = m_daemon.line();
        setenv(m_variable.c_str(), m_address.c_str(), 1);
    }
    ~TestBus() { unsetenv(m_variable.c_str()); }

    const std::string& address() const { return m_address; }
    Daemon& daemon() { return m_daemon; }

private:
    std::string rules() {
        std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0711));
        return m_folder.write(
            "bus.conf",
            "<busconfig><type>session</type><listen>unix:path=" + m_folder.file("bus") +
                "</listen><policy context='default'><allow user='*'/><allow own='*'/>"
                "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
                "</policy><limit name='max_replies_per_connection'>50000</limit></busconfig>");
    }

    const TemporaryFolder m_folder;
    const std::string m_variable;
    Daemon m_daemon;
    std::string m_address;
};

// What a foreign program on the bus would do.
class BusClient {
public:
    BusClient() : m_connection(sdbus::createSessionBusConnection()) {}

    // The answer, null when it is empty. `write` appends the arguments.
    Result<PropertyList> call(const std::string& interface, const std::string& method,
                              const std::function<void(sdbus::Message&)>& write) {
        std::string path = "/" + interface;
        std::replace(path.begin(), path.end(), '.', '/');
        auto object = sdbus::createProxy(*m_connection, interface, path);
        auto call = object->createMethodCall(interface, method);
        if (write) write(call);
        try {
            auto reply = object->callMethod(call, std::chrono::seconds(20));
            BusReader reader(reply);
            return reader.isAtEnd() ? PropertyList() : reader.valueOfAnyType();
        } catch (const sdbus::Error& error) {
            return statusOf(error);
        }
    }
    template <typename... Arguments>
    Result<PropertyList> call(const std::string& interface, const std::string& method,
                              const Arguments&... arguments) {
        return call(interface, method,
                    std::function<void(sdbus::Message&)>([&](sdbus::Message& message) {
                        BusWriter writer(message);
                        (writer.write(arguments), ...);
                    }));
    }

    sdbus::IConnection& connection() { return *m_connection; }

private:
    std::unique_ptr<sdbus::IConnection> m_connection;
};

// Runs `talk` on another thread while `turn` serves the main loop; what it returns.
template <typename Talk>
auto whileServing(const std::function<void()>& turn, Talk talk) {
    auto answer = std::async(std::launch::async, std::move(talk));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (answer.wait_for(std::chrono::seconds(0)) != std::future_status::ready &&
           std::chrono::steady_clock::now() < end) {
        turn();
        std::this_thread::yield();
    }
    return answer.get();
}

}  // namespace siftwell
