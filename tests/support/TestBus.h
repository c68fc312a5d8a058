// Daemon, TestBus and MuteBus: programs that run beside a test, and message buses of its own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/FileDescriptor.h"
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
    explicit TestBus(std::string variable = "DBUS_SESSION_BUS_ADDRESS")
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

// A bus that takes every connection and never says a word.
class MuteBus {
public:
    MuteBus() {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        m_folder.file("mute").copy(place.sun_path, sizeof place.sun_path - 1);
        EXPECT_EQ(bind(m_socket.get(), reinterpret_cast<sockaddr*>(&place), sizeof place), 0);
        EXPECT_EQ(listen(m_socket.get(), 10), 0);
    }

    std::string address() const { return "unix:path=" + m_folder.file("mute"); }

private:
    const TemporaryFolder m_folder;
    const FileDescriptor m_socket{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

}  // namespace siftwell
