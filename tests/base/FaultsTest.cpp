#include "base/Faults.h"

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

#include "base/Exception.h"
#include "base/Gate.h"
#include "base/HeldLocks.h"
#include "base/Sanitizers.h"
#include "support/LoggedLines.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::KilledBySignal;

// Nobody can tell at compile time where they lead.
int* volatile noPlace = nullptr;
void (*volatile noFunction)() = nullptr;
const char* volatile noText = nullptr;
void* volatile noBlock = reinterpret_cast<void*>(0x1000);

__attribute__((noinline)) int readThrough(const volatile int* place) { return *place + 1; }
__attribute__((noinline)) int descend(int depth) {
    volatile char room[1024] = {};
    return depth == 0 ? room[0] : descend(depth - 1) + room[1];
}

void trap() { __builtin_trap(); }
void (*volatile illegalInstruction)() = &trap;  // called directly, it is known not to throw

void readNowhere() { readThrough(noPlace); }
void runIllegalInstruction() { illegalInstruction(); }
void readNowhereUnthrowably() noexcept { readThrough(noPlace); }

// A mapped page whose file has lost its end.
void readLostPage() {
    const TemporaryFolder folder;
    const std::string path = folder.write("page", std::string(100, 'x'));
    FILE* const file = std::fopen(path.c_str(), "r+");
    void* const page = mmap(nullptr, 100, PROT_READ, MAP_SHARED, fileno(file), 0);
    ASSERT_EQ(ftruncate(fileno(file), 0), 0);
    std::fclose(file);
    readThrough(static_cast<const int*>(page));
}

class FaultsTest : public testing::Test {
protected:
    void SetUp() override {
#ifdef SIFTWELL_SANITIZED
        GTEST_SKIP() << "the sanitizer has handlers of its own";
#endif
        GTEST_FLAG_SET(death_test_style, "fast");  // the log file is the parent's
    }

    // Once in the life of the process.
    static const std::string& logFile() {
        static const TemporaryFolder* const folder = [] {
            static const TemporaryFolder made;
            installFaultHandlers(made.file("log"));
            return &made;
        }();
        static const std::string path = folder->file("log");
        return path;
    }

    void TearDown() override { unlink(logFile().c_str()); }

    // The name of the exception that the work ends with.
    static std::string faultOf(const std::function<void()>& work) {
        try {
            const FaultGuard guard;
            work();
        } catch (const std::exception& exception) {
            return nameOf(exception);
        }
        return "none";
    }

    // Runs the work within a guard, which must not help.
    static void expectDeath(int signal, const std::string& report,
                            const std::function<void()>& work) {
        const std::string path = logFile();
        EXPECT_EXIT(faultOf(work), KilledBySignal(signal), report);
        std::string text(std::size_t{1} << 16, '\0');
        FILE* const file = std::fopen(path.c_str(), "r");
        ASSERT_NE(file, nullptr);
        text.resize(std::fread(text.data(), 1, text.size(), file));
        std::fclose(file);
        unlink(path.c_str());
        EXPECT_THAT(text, AllOf(HasSubstr(report), HasSubstr("Caller\n  "), HasSubstr("+")));
    }
};

class ThrownFaultsTest : public FaultsTest {
protected:
    void SetUp() override {
        FaultsTest::SetUp();
        if (!canThrowFaults()) GTEST_SKIP() << "this build has no guards";
        logFile();
    }
};

TEST_F(ThrownFaultsTest, FaultsAreExceptionsWithinAGuardAgainAndAgain) {
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(faultOf(&readNowhere), "SIGSEGV");
        EXPECT_EQ(faultOf([] { noFunction(); }), "SIGSEGV");
        EXPECT_EQ(faultOf([] { EXPECT_EQ(std::strlen(noText), 0U); }), "SIGSEGV");
        EXPECT_EQ(faultOf([] { readThrough(reinterpret_cast<int*>(~0ULL << 48U >> 1U)); }),
                  "SIGSEGV");
        EXPECT_EQ(faultOf(&readLostPage), "SIGBUS");
        EXPECT_EQ(faultOf(&runIllegalInstruction), "SIGILL");
        EXPECT_EQ(faultOf([] { throw NamedException("InvalidPath", "why"); }), "InvalidPath");
        EXPECT_EQ(faultOf([] {}), "none");
    }
    std::string onThread;
    std::jthread([&] { onThread = faultOf(&readNowhere); }).join();
    EXPECT_EQ(onThread, "SIGSEGV");
}

TEST_F(ThrownFaultsTest, FaultUnwindsWhatLiesBetweenItAndTheGuard) {
    Gate turns(Gate::Guards::Turns);
    std::vector<std::string> journal;
    struct Entry {
        std::vector<std::string>& journal;
        const std::string name;
        ~Entry() { journal.push_back(name); }
    };
    EXPECT_EQ(faultOf([&] {
                  const Entry outer{journal, "outer"};
                  try {
                      const GateHold hold(turns);
                      const Entry inner{journal, "inner, whose name has a block of its own"};
                      journal.push_back(std::to_string(*static_cast<volatile int*>(noPlace)));
                  } catch (const NamedException& exception) {
                      journal.push_back(exception.name() + exception.reason());
                      throw;
                  }
              }),
              "SIGSEGV");
    EXPECT_THAT(journal,
                ElementsAre("inner, whose name has a block of its own", "SIGSEGV", "outer"));
    EXPECT_FALSE(turns.isHeld());
    EXPECT_EQ(heldLocks, 0);
}

TEST_F(ThrownFaultsTest, InnerGuardLeavesTheOuterOneInPlace) {
    EXPECT_EQ(faultOf([] {
                  EXPECT_EQ(faultOf(&readNowhere), "SIGSEGV");
                  runIllegalInstruction();
              }),
              "SIGILL");
}

TEST_F(ThrownFaultsTest, TraceOfAFaultNamesTheFunctionThatMetIt) {
    LoggedLines log;
    try {
        const FaultGuard guard;
        readNowhere();
    } catch (const std::exception& exception) {
        printStackTrace(exception);
    }
    EXPECT_THAT(log.takeText(), HasSubstr("readThrough"));
}

TEST_F(FaultsTest, ProgramWithoutHandlersDiesWithoutAWord) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // begins anew, and installs none
    EXPECT_EXIT(faultOf(&readNowhere), KilledBySignal(SIGSEGV), "^$");
}

TEST_F(FaultsTest, FaultOutsideAGuardLeavesAStackInTheLogAndEndsTheProgram) {
    const std::string path = logFile();
    EXPECT_EXIT(readNowhere(), KilledBySignal(SIGSEGV), "SIGSEGV in the thread .*readThrough");
    EXPECT_EXIT(runIllegalInstruction(), KilledBySignal(SIGILL), "SIGILL in the thread");
    EXPECT_EXIT(kill(getpid(), SIGBUS), KilledBySignal(SIGBUS), "SIGBUS in the thread");
    { const FaultGuard guard; }
    EXPECT_EXIT(readNowhere(), KilledBySignal(SIGSEGV), "SIGSEGV in the thread");
}

TEST_F(FaultsTest, GuardDoesNotHelpWhereDataMayBeHalfChanged) {
    logFile();
    expectDeath(SIGSEGV, "SIGSEGV", [] {
        Mutex mutex;
        const MutexLock lock(mutex);
        readNowhere();
    });
    expectDeath(SIGSEGV, "SIGSEGV", [] {
        Gate gate;
        const GateHold hold(gate);
        readNowhere();
    });
    expectDeath(SIGSEGV, "SIGSEGV", [] {
        SharedGate gate;
        const SharedHold hold(gate);
        readNowhere();
    });
}

TEST_F(FaultsTest, GuardDoesNotHelpWhereNoExceptionCanBeMade) {
    logFile();
    expectDeath(SIGSEGV, "SIGSEGV", [] { std::free(noBlock); });
    expectDeath(SIGSEGV, "SIGSEGV", [] { descend(1 << 20); });
    expectDeath(SIGSEGV, "SIGSEGV", [] { kill(getpid(), SIGSEGV); });
    if (!canThrowFaults()) return;
    expectDeath(SIGABRT, "SIGSEGV, which nobody catches", &readNowhereUnthrowably);
}

TEST(HeldLocksTest, CountsWhatGuardsDataAndNothingElse) {
    Mutex mutex;
    Condition changed;
    Gate gate;
    Gate turns(Gate::Guards::Turns);
    SharedGate shared;
    {
        const GateHold hold(gate);
        const GateHold again(gate);
        const GateHold turn(turns);
        const SharedHold share(shared);
        EXPECT_EQ(heldLocks, 3);
        MutexLock lock(mutex);
        EXPECT_FALSE(changed.waitUntil(mutex, std::chrono::steady_clock::now()));
        EXPECT_EQ(heldLocks, 4);
        std::jthread([&] {
            EXPECT_FALSE(gate.tryEnter());
            EXPECT_FALSE(mutex.try_lock());
            EXPECT_EQ(heldLocks, 0);
        }).join();
    }
    {
        const ExclusiveHold hold(shared);
        if (!mutex.try_lock()) FAIL();
        EXPECT_EQ(heldLocks, 2);
        mutex.unlock();
    }
    EXPECT_EQ(heldLocks, 0);
}

}  // namespace
}  // namespace siftwell
