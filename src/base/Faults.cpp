#include "base/Faults.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

#include "base/Exception.h"
#include "base/FaultReport.h"
#include "base/HeldLocks.h"
#include "base/Sanitizers.h"
#include "base/StackCrawl.h"

namespace siftwell {

namespace {

struct Fault {
    int signal;
    const char* name;
};

constexpr std::array kFaults{Fault{SIGILL, "SIGILL"}, Fault{SIGBUS, "SIGBUS"},
                             Fault{SIGSEGV, "SIGSEGV"}};

constexpr std::size_t kSignalStackBytes = std::size_t{128} << 10;
constexpr std::size_t kForbiddenBytes = std::size_t{4} << 10;  // below the signal stack

std::atomic<bool> areHandlersInstalled = false;
std::terminate_handler formerTerminateHandler = nullptr;
constinit thread_local const FaultGuard* innermostGuard = nullptr;
constinit thread_local bool isHandlingFault = false;

bool isSanitized() {
#ifdef SIFTWELL_SANITIZED
    return true;
#else
    return false;
#endif
}

const char* signalName(int signal) {
    return std::find_if(kFaults.begin(), kFaults.end(),
                        [signal](const Fault& fault) { return fault.signal == signal; })
        ->name;
}

// ---- The stack that handlers run on, for the case that there is none left of the thread's own

// Null when the thread has one already, or none can be had.
void* makeSignalStack() {
    stack_t current{};
    if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0) return nullptr;
    void* const start = mmap(nullptr, kForbiddenBytes + kSignalStackBytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (start == MAP_FAILED) return nullptr;
    mprotect(start, kForbiddenBytes, PROT_NONE);
    const stack_t stack{.ss_sp = static_cast<std::byte*>(start) + kForbiddenBytes,
                        .ss_flags = 0,
                        .ss_size = kSignalStackBytes};
    sigaltstack(&stack, nullptr);
    return start;
}

void dropSignalStack(void* start) {
    if (start == nullptr) return;
    const stack_t none{.ss_sp = nullptr, .ss_flags = SS_DISABLE, .ss_size = 0};
    sigaltstack(&none, nullptr);
    munmap(start, kForbiddenBytes + kSignalStackBytes);
}

// ---- Whether a fault can become an exception

#ifdef SIFTWELL_FAULTS_UNWIND

struct CodeRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

// An exception needs memory, and would wait for ever for a lock that its own thread has.
std::array<CodeRange, 6> allocator;

void findAllocator() {
    const std::array names{"malloc", "calloc",        "realloc",
                           "free",   "aligned_alloc", "posix_memalign"};
    std::transform(names.begin(), names.end(), allocator.begin(), [](const char* name) {
        void* const function = dlsym(RTLD_DEFAULT, name);
        Dl_info info{};
        void* symbol = nullptr;
        if (dladdr1(function, &info, &symbol, RTLD_DL_SYMENT) == 0 || symbol == nullptr) {
            return CodeRange{};
        }
        const auto begin = reinterpret_cast<std::uintptr_t>(function);
        return CodeRange{begin, begin + static_cast<const ElfW(Sym)*>(symbol)->st_size};
    });
}

std::uintptr_t instructionOf(const ucontext_t& context) {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
}

std::uintptr_t stackPointerOf(const ucontext_t& context) {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RSP]);
}

std::uintptr_t addressOf(const siginfo_t& info) {
    return reinterpret_cast<std::uintptr_t>(info.si_addr);
}

// Steps back out of a call to where there is no code: the fault is then the call's.
void leaveCallToNowhere(const siginfo_t& info, ucontext_t& context) {
    if (info.si_signo == SIGILL || info.si_code <= 0 || addressOf(info) != instructionOf(context)) {
        return;
    }
    const auto* const top = reinterpret_cast<const std::uintptr_t*>(stackPointerOf(context));
    context.uc_mcontext.gregs[REG_RIP] = static_cast<greg_t>(*top - 1);
    context.uc_mcontext.gregs[REG_RSP] += static_cast<greg_t>(sizeof(*top));
}

bool isOfThisThread(const siginfo_t& info) {
    return info.si_code > 0 && !(info.si_signo == SIGBUS && info.si_code == BUS_MCEERR_AO);
}

bool isEndOfStack(const siginfo_t& info, const ucontext_t& context) {
    constexpr std::uintptr_t kNear = std::uintptr_t{64} << 10;
    return info.si_signo == SIGSEGV &&
           addressOf(info) - stackPointerOf(context) + kNear < 2 * kNear;
}

// The way that an exception would take: from the fault to the frame that has the guard.
struct Way {
    std::uintptr_t fault;
    std::uintptr_t guard;
    bool isBegun = false;
    bool isThroughAllocator = false;
    bool isWhole = false;
};

_Unwind_Reason_Code follow(_Unwind_Context* context, void* state) {
    auto& way = *static_cast<Way*>(state);
    const std::uintptr_t address = _Unwind_GetIP(context);
    way.isBegun = way.isBegun || address == way.fault;
    if (!way.isBegun) return _URC_NO_REASON;
    way.isWhole = _Unwind_GetCFA(context) > way.guard;
    if (way.isWhole) return _URC_END_OF_STACK;
    way.isThroughAllocator =
        way.isThroughAllocator ||
        std::any_of(allocator.begin(), allocator.end(), [address](const CodeRange& code) {
            return address >= code.begin && address < code.end;
        });
    return _URC_NO_REASON;
}

bool leadsToGuard(const ucontext_t& context) {
    Way way{instructionOf(context), reinterpret_cast<std::uintptr_t>(innermostGuard)};
    _Unwind_Backtrace(&follow, &way);
    return way.isWhole && !way.isThroughAllocator;
}

bool canBeThrown(const siginfo_t& info, const ucontext_t& context) {
    return innermostGuard != nullptr && heldLocks == 0 && isOfThisThread(info) &&
           !isEndOfStack(info, context) && leadsToGuard(context);
}

#else

void findAllocator() {}
void leaveCallToNowhere(const siginfo_t&, ucontext_t&) {}
bool canBeThrown(const siginfo_t&, const ucontext_t&) { return false; }

#endif

// ---- What happens then

void useDefaultActions() {
    for (const Fault& fault : kFaults) std::signal(fault.signal, SIG_DFL);
}

// From the instruction on that met the fault.
std::span<const StackFrame> withoutHandler(std::span<const StackFrame> frames) {
    const auto fault = std::find_if(frames.begin(), frames.end(),
                                    [](const StackFrame& frame) { return !frame.isCall; });
    return fault == frames.end() ? frames : std::span<const StackFrame>(fault, frames.end());
}

// A fault on the way out finds the default action in place.
void die(int signal) {
    useDefaultActions();
    const FaultReport report(signalName(signal));
    report.write(withoutHandler(StackFrames::ofThisThread().all()));
    raise(signal);
}

void onFault(int signal, siginfo_t* info, void* machineContext) {
    if (isHandlingFault) {
        useDefaultActions();
        raise(signal);
        return;
    }
    auto& context = *static_cast<ucontext_t*>(machineContext);
    isHandlingFault = true;
    leaveCallToNowhere(*info, context);
    if (!canBeThrown(*info, context)) {
        die(signal);
        return;
    }
    isHandlingFault = false;
    throw NamedException(signalName(signal), "");
}

// Empty when there is none.
std::string nameOfCurrentException() {
    if (abi::__cxa_current_exception_type() == nullptr) return {};
    try {
        throw;
    } catch (const std::exception& exception) {
        return nameOf(exception);
    } catch (...) {
        return "an exception";
    }
}

// Where nobody catches an exception, it has not unwound yet; where it met code that must not throw,
// it has.
[[noreturn]] void onTerminate() {
    const std::string name = nameOfCurrentException();
    const FaultReport report(name.empty() ? "the end" : (name + ", which nobody catches").c_str());
    const auto frames = name.empty() ? std::span<const StackFrame>() : framesOfLastThrow();
    report.write(withoutHandler(frames.empty() ? StackFrames::ofThisThread().all() : frames));
    formerTerminateHandler();
    std::abort();
}

}  // namespace

void installFaultHandlers(std::string_view logFile) {
    if (isSanitized()) return;
    FaultReport::setLogFile(logFile);
    findAllocator();
    formerTerminateHandler = std::set_terminate(&onTerminate);
    makeSignalStack();  // for as long as the process lives
    struct sigaction action {};
    action.sa_sigaction = &onFault;
    // An exception does not restore the signals that were blocked before: none is.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    for (const Fault& fault : kFaults) sigaction(fault.signal, &action, nullptr);
    areHandlersInstalled = true;
}

bool canThrowFaults() {
#ifdef SIFTWELL_FAULTS_UNWIND
    return true;
#else
    return false;
#endif
}

FaultGuard::FaultGuard() : m_outer(innermostGuard) {
    if (!areHandlersInstalled) return;
    m_signalStack = makeSignalStack();
    collectStackTracesOnThrow();
    innermostGuard = this;
}

FaultGuard::~FaultGuard() {
    innermostGuard = m_outer;
    dropSignalStack(m_signalStack);
}

}  // namespace siftwell
