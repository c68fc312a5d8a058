#include "app/bus/BusHost.h"

#include <sdbus-c++/Error.h>
#include <unistd.h>

#include <exception>
#include <utility>

#include "app/bus/BusErrors.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxOpenCalls = 256;
constexpr std::size_t kMaxWaitingSignals = 4096;

}  // namespace

// ---- BusAnswer

void BusAnswer::give(const Status& status) const {
    if (status.isOk()) return send([](BusWriter&) {});
    send([error = busErrorOf(status)](BusWriter&) { throw sdbus::Error(error); });
}

void BusAnswer::send(std::function<void(BusWriter&)> write) const {
    if (const auto host = m_host.lock()) host->answer(m_call, std::move(write));
}

// ---- BusHost

BusHost::BusHost(std::unique_ptr<sdbus::IConnection> connection, RunLoop& mainLoop)
    : m_mainLoop(mainLoop), m_thread(std::move(connection)), m_peers(geteuid()) {}

BusHost::~BusHost() { stop(); }

sdbus::IObject& BusHost::addObject(const std::string& path) {
    m_objects.push_back(sdbus::createObject(m_thread.connection(), path));
    return *m_objects.back();
}

Status BusHost::takeName(const std::string& name) {
    try {
        m_thread.connection().requestName(name);
        return {};
    } catch (const sdbus::Error& error) {
        if (error.getName() == "org.freedesktop.DBus.Error.FileExists") {
            return {StatusCode::Exists,
                    filledIn(_("Another process has the name \"%@\" on the session bus."), name)};
        }
        return statusOf(error);
    }
}

void BusHost::stop() {
    if (std::exchange(m_isStopped, true)) return;
    m_thread.post([this] { refuseOpenCalls(); });
    m_thread.stop();
}

void BusHost::emit(sdbus::IObject& object, const std::string& interface, const std::string& signal,
                   Write arguments) {
    m_thread.post(
        [&object, interface, signal, arguments = std::move(arguments)] {
            auto message = object.createSignal(interface, signal);
            BusWriter writer(message);
            arguments(writer);
            object.emitSignal(message);
        },
        kMaxWaitingSignals);
}

void BusHost::receive(const sdbus::MethodCall& call, const ReadArguments& read) {
    admit(call);
    sdbus::MethodCall arguments = call;
    BusReader reader(arguments);
    Job job = read(reader);
    const std::uint64_t id = ++m_lastCall;
    m_open.emplace(id, call);
    m_mainLoop.post([host = weak_from_this(), id, job = std::move(job)] {
        const auto self = host.lock();
        if (self != nullptr && !self->m_isStopped) job(BusAnswer(host, id));
    });
}

void BusHost::admit(const sdbus::MethodCall& call) {
    if (!m_peers.isServed(call)) {
        throw busErrorOf(
            {StatusCode::Denied, _("Siftwell serves the programs of its own user only.")});
    }
    if (m_open.size() >= kMaxOpenCalls) {
        throw busErrorOf({StatusCode::Busy, _("Too many calls wait for an answer.")});
    }
}

void BusHost::answer(std::uint64_t call, Write write) {
    m_thread.post([this, call, write = std::move(write)] { sendAnswer(call, write); });
}

void BusHost::sendAnswer(std::uint64_t call, const Write& write) {
    const auto open = m_open.extract(call);
    if (open.empty()) return;
    try {
        auto reply = open.mapped().createReply();
        BusWriter writer(reply);
        write(writer);
        reply.send();
    } catch (const sdbus::Error& error) {
        open.mapped().createErrorReply(error).send();
    }
}

void BusHost::refuseOpenCalls() {
    const sdbus::Error ended = busErrorOf({StatusCode::Busy, _("Siftwell is about to end.")});
    while (!m_open.empty()) {
        sendAnswer(m_open.begin()->first, [&ended](BusWriter&) { throw sdbus::Error(ended); });
    }
}

}  // namespace siftwell
