// BusHost: a connection to the bus whose calls are answered on the main thread.
//
// A call is read on the bus thread and waits there, while a job for it is posted to the main loop;
// the answer goes the other way. What belongs to the connection never leaves its thread, so that a
// job may come late, after the end of the host, and finds nobody to answer.
//
// Threads: main; what is said to be the bus thread's.
// Errors: a call from another user is answered with Denied; when 256 calls wait for the main
// thread, further ones with Busy; those that are not answered in the end, with Failed.
#pragma once

#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/IObject.h>
#include <sdbus-c++/Message.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/bus/BusPeers.h"
#include "app/bus/BusThread.h"
#include "app/bus/BusValues.h"
#include "base/RunLoop.h"
#include "base/Status.h"

namespace siftwell {

class BusHost;

// The way to answer one call: once, and from the main thread; later answers are dropped.
class BusAnswer {
public:
    BusAnswer(std::weak_ptr<BusHost> host, std::uint64_t call)
        : m_host(std::move(host)), m_call(call) {}

    void give(const Status& status) const;
    template <typename T>
    void give(const Result<T>& result) const;

private:
    void send(std::function<void(BusWriter&)> write) const;

    std::weak_ptr<BusHost> m_host;
    std::uint64_t m_call;
};

class BusHost : public std::enable_shared_from_this<BusHost> {
public:
    using Job = std::function<void(const BusAnswer&)>;
    using ReadArguments = std::function<Job(BusReader&)>;
    using Write = std::function<void(BusWriter&)>;

    // The main loop outlives the host.
    BusHost(std::unique_ptr<sdbus::IConnection> connection, RunLoop& mainLoop);
    ~BusHost();

    // ---- Until start()

    sdbus::IObject& addObject(const std::string& path);
    // Exists when another process has the name.
    Status takeName(const std::string& name);

    void start() { m_thread.start(); }

    // Answers what is open and ends; no job runs from then on.
    void stop();

    void emit(sdbus::IObject& object, const std::string& interface, const std::string& signal,
              Write arguments);

    // Bus thread: posts the job that the arguments make.
    void receive(const sdbus::MethodCall& call, const ReadArguments& read);

private:
    friend class BusAnswer;

    void answer(std::uint64_t call, Write write);

    // ---- Bus thread
    void admit(const sdbus::MethodCall& call);
    void sendAnswer(std::uint64_t call, const Write& write);
    void refuseOpenCalls();

    RunLoop& m_mainLoop;
    bool m_isStopped = false;

    BusThread m_thread;
    BusPeers m_peers;                                   // bus thread
    std::map<std::uint64_t, sdbus::MethodCall> m_open;  // bus thread
    std::uint64_t m_lastCall = 0;                       // bus thread
    std::vector<std::unique_ptr<sdbus::IObject>> m_objects;
};

template <typename T>
void BusAnswer::give(const Result<T>& result) const {
    if (!result) return give(result.status());
    send([value = *result](BusWriter& writer) { writer.write(value); });
}

}  // namespace siftwell
