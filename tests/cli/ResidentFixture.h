// ResidentFixture: copies of the program that stay, on a bus of the test's own.
#pragma once

#include "cli/ProgramFixture.h"
#include "support/TestBus.h"
#include "support/WaitUntil.h"

namespace siftwell {

class ResidentFixture : public ProgramFixture {
protected:
    ResidentFixture() {
        m_variables["DBUS_SESSION_BUS_ADDRESS"] = m_bus.address();
        m_variables["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nowhere";
        m_variables["SIFTWELL_ONLINE"] = "no";
    }

    pid_t startResident(const std::string& name = "resident", const Arguments& more = {}) {
        Arguments arguments = {"run"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return start(arguments, m_home.file(name + ".out"), m_home.file(name + ".err"));
    }
    // Until one serves the other processes.
    void waitUntilServing() {
        waitUntil([this] { return statusOfCopy()["activity"]["indexingEnabled"] == true; });
    }
    pid_t startServing() {
        const pid_t resident = startResident();
        waitUntilServing();
        return resident;
    }
    nlohmann::json statusOfCopy() { return linesOf(siftwell({"status", "--json"})).back(); }

    // How many seconds it takes to end, and well.
    static double endBy(pid_t process, int signal = SIGTERM) {
        const auto start = std::chrono::steady_clock::now();
        kill(process, signal);
        EXPECT_EQ(wait(process), 0);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    TestBus m_bus{"SIFTWELL_TEST_BUS"};
};

}  // namespace siftwell
