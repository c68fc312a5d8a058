#include "base/StackTraces.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstdlib>

#include "base/Log.h"
#include "base/Sanitizers.h"

namespace siftwell {

namespace {

struct Thrown {
    bool isCollecting = false;
    const void* object = nullptr;
    StackFrames frames;
};

constinit thread_local Thrown thrown;

}  // namespace

void collectStackTracesOnThrow() { thrown.isCollecting = true; }

void printStackTrace(const std::exception& exception) {
    if (thrown.object == nullptr || thrown.object != dynamic_cast<const void*>(&exception)) {
        writeLog("The exception's call stack is unknown.");
        return;
    }
    const StackFrames frames = thrown.frames;  // the log may throw and catch
    for (const StackFrame& frame : frames.all()) writeLog(StackLine(frame).text());
}

std::span<const StackFrame> framesOfLastThrow() { return thrown.frames.all(); }

}  // namespace siftwell

#ifndef SIFTWELL_SANITIZED

using Throw = void (*)(void*, std::type_info*, void (*)(void*));

// Stands in front of the runtime's own.
extern "C" void __cxxabiv1::__cxa_throw(void* object, std::type_info* type,
                                        void (*destructor)(void*)) {
    static const auto runtimeThrow = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
    if (siftwell::thrown.isCollecting) {
        siftwell::thrown.object = object;
        siftwell::thrown.frames = siftwell::StackFrames::ofThisThread();
    }
    runtimeThrow(object, type, destructor);
    std::abort();  // it does not return
}

#endif
