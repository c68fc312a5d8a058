// CurlLoader loads over http and https, on one thread of its own.
//
// HTTP redirects are followed, to http and https alone and not for ever; bodies are decompressed;
// cookies are neither kept nor sent, and no credentials but those in the request's own header,
// which other hosts never see. Server certificates are verified. A load in which nothing arrives
// for the request's time-out fails, however long it took before.
//
// Threads: clients are called on the transfer thread.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "retrieval/URLLoader.h"

namespace siftwell {

class CurlLoader : public URLLoader {
public:
    struct Options {
        // "HOST:PORT:OTHER:PORT": connects to the other one instead; an empty HOST or PORT means
        // any.
        std::vector<std::string> connectTo;
        std::string certificateAuthorities;  // a file; the system's when empty
    };

    CurlLoader() : CurlLoader(Options{}) {}
    explicit CurlLoader(Options options);
    // Ends all loads without a word to their clients.
    ~CurlLoader() override;

    LoadID start(const URLRequest& request, std::shared_ptr<URLLoadClient> client) override;
    void cancel(LoadID load) override;
    void resume() override;

private:
    class Transfer;
    struct Multi;

    struct Commands {
        std::vector<std::unique_ptr<Transfer>> starting;
        std::vector<LoadID> cancelled;
        bool mustResume = false;
    };

    void wakeUp();
    void run(const std::stop_token& stop);
    void obey(Commands commands);
    void begin(std::unique_ptr<Transfer> transfer);
    void endFinished();
    void endIdle();
    std::int64_t timeToNextDeadline() const;  // in milliseconds
    void remove(LoadID load);

    const Options m_options;
    const std::unique_ptr<Multi> m_multi;
    std::atomic<LoadID> m_lastLoad = 0;

    Mutex m_mutex;
    Commands m_commands SW_GUARDED_BY(m_mutex);

    std::map<LoadID, std::unique_ptr<Transfer>> m_transfers;  // transfer thread

    std::jthread m_thread;
};

}  // namespace siftwell
