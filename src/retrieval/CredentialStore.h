// CredentialStore: the names and passwords that the user has stored for a host.
//
// Threads: any; the call may take up to five seconds.
// Errors: none; a store that cannot be read holds nothing.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace siftwell {

// A text that is wiped from memory when it goes. It can be moved, which copies no byte of it.
class Secret {
public:
    explicit Secret(std::string_view text) {
        m_text.reserve(std::max(text.size(), kNeverWithinTheObject));
        m_text = text;
    }
    ~Secret() { wipe(); }
    Secret(Secret&&) noexcept = default;
    Secret& operator=(Secret&& other) noexcept {
        wipe();
        m_text = std::move(other.m_text);
        return *this;
    }

    const std::string& text() const { return m_text; }

private:
    static constexpr std::size_t kNeverWithinTheObject = 64;

    void wipe() { explicit_bzero(m_text.data(), m_text.capacity()); }

    std::string m_text;
};

enum class AuthenticationMethod { Default, HTTPBasic, HTMLForm, Other };

struct Credential {
    std::string user;
    std::optional<Secret> password;  // none when it is not to be had, as in a locked keyring
};

struct ProtectionSpace {
    std::string host;
    std::string protocol;  // "https"
    AuthenticationMethod authenticationMethod = AuthenticationMethod::Default;
    std::vector<Credential> users;  // each name once; what was stored last comes last

    // Whether it takes name and password as they are.
    bool isSentInClear() const { return authenticationMethod != AuthenticationMethod::Other; }
};

class CredentialStore {
public:
    virtual ~CredentialStore() = default;

    // Those of exactly this host.
    virtual std::vector<ProtectionSpace> protectionSpaces(const std::string& host) = 0;
};

}  // namespace siftwell
