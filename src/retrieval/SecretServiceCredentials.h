// SecretServiceCredentials: the network passwords of the user's keyring, read over the session bus.
//
// Only entries for https are read, and nothing is written.
//
// Threads: any. A call waits for the service at most five seconds, whatever the bus and the service
// do; each has a connection of its own, so that nothing of a hanging one remains.
// Errors: no session bus and no service are an empty keyring; other errors too, and go to the log.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "retrieval/CredentialStore.h"

namespace siftwell {

class SecretServiceCredentials : public CredentialStore {
public:
    // Whether a locked keyring may ask the user to unlock it; else it tells names only.
    enum class Unlocking { Never, MayAsk };

    explicit SecretServiceCredentials(Unlocking unlocking,
                                      std::string busAddress = sessionBusAddress(),
                                      std::chrono::milliseconds longest = std::chrono::seconds(5));

    std::vector<ProtectionSpace> protectionSpaces(const std::string& host) override;

    // "" when the session has none. No bus is started in order to have one.
    static std::string sessionBusAddress();

private:
    const Unlocking m_unlocking;
    const std::string m_busAddress;
    const std::chrono::milliseconds m_longest;
};

}  // namespace siftwell
