// BusObject: an object on the bus with one interface, whose methods are functions.
//
// A function takes what the arguments are read into and returns a Status, or a Result of what goes
// back. One that answers later takes the answer first.
//
// Threads: main, until the host starts. The functions are called there too, until the host stops.
#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "app/bus/BusHost.h"

namespace siftwell {

class BusObject {
public:
    BusObject(BusHost& host, const std::string& path, std::string interface)
        : m_host(host), m_interface(std::move(interface)), m_object(host.addObject(path)) {}

    // `arguments` are the names of the arguments.
    template <typename Function>
    void addMethod(const std::string& name, std::vector<std::string> arguments, Function function) {
        addPrompt(name, std::move(arguments), std::function(std::move(function)));
    }
    // `Answer` is what the function will give: Status, or a Result.
    template <typename Answer, typename Function>
    void addDeferredMethod(const std::string& name, std::vector<std::string> arguments,
                           Function function) {
        addDeferred<Answer>(name, std::move(arguments), std::function(std::move(function)));
    }

    // Before finish(); a notification of a name and an object.
    void addSignal(const std::string& name, const std::string& signature,
                   const std::vector<std::string>& arguments) {
        m_object.registerSignal(m_interface, name, signature, arguments);
    }
    void emit(const std::string& signal, BusHost::Write arguments) {
        m_host.emit(m_object, m_interface, signal, std::move(arguments));
    }

    void finish() { m_object.finishRegistration(); }

private:
    template <typename T>
    struct Returned {
        static constexpr const char* kSignature = "";
        static std::vector<std::string> names() { return {}; }
    };
    template <typename T>
    struct Returned<Result<T>> {
        static constexpr const char* kSignature = kBusSignature<T>;
        static std::vector<std::string> names() { return {"answer"}; }
    };

    template <typename Answer, typename... Arguments>
    void addPrompt(const std::string& name, std::vector<std::string> arguments,
                   std::function<Answer(Arguments...)> function) {
        addDeferred<Answer>(
            name, std::move(arguments),
            std::function<void(const BusAnswer&, Arguments...)>(
                [function = std::move(function)](const BusAnswer& answer, Arguments... values) {
                    answer.give(function(values...));
                }));
    }

    template <typename Answer, typename... Arguments>
    void addDeferred(const std::string& name, std::vector<std::string> arguments,
                     std::function<void(const BusAnswer&, Arguments...)> function) {
        const BusHost::ReadArguments read = [function = std::move(function)](BusReader& reader) {
            std::tuple<std::decay_t<Arguments>...> values;
            std::apply([&](auto&... each) { (reader.read(each), ...); }, values);
            return [function, values = std::move(values)](const BusAnswer& answer) {
                std::apply([&](const auto&... each) { function(answer, each...); }, values);
            };
        };
        const std::string signature =
            (std::string() + ... + kBusSignature<std::decay_t<Arguments>>);
        m_object.registerMethod(
            m_interface, name, signature, std::move(arguments), Returned<Answer>::kSignature,
            Returned<Answer>::names(),
            [&host = m_host, read](const sdbus::MethodCall& call) { host.receive(call, read); });
    }

    BusHost& m_host;
    const std::string m_interface;
    sdbus::IObject& m_object;
};

}  // namespace siftwell
