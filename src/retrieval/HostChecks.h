// HostChecks asks whether hosts can be reached, and what passwords are stored for them, beside
// everything else: a name that nobody answers for holds up nobody but its own documents.
//
// Threads: one uses it; the questions are asked on threads of its own, at most eight. A question
// that is not answered within five seconds (and as many again for passwords) counts as answered
// with no, and its thread is left.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/NetworkReachability.h"
#include "base/WorkSignal.h"
#include "retrieval/CredentialStore.h"

namespace siftwell {

class HostChecks {
public:
    struct Question {
        std::string host;
        bool wantsCredentials = false;

        auto operator<=>(const Question&) const = default;
    };
    struct Answer {
        Question question;
        bool isReachable = false;
        std::vector<ProtectionSpace> spaces;
    };

    // The signal is raised when an answer has come. The credential store may be null.
    HostChecks(std::shared_ptr<NetworkReachability> network,
               std::shared_ptr<CredentialStore> credentials, std::shared_ptr<WorkSignal> signal);
    // Does not wait for questions under way.
    ~HostChecks();

    // Not again while the same question is open.
    void ask(const Question& question);

    // What was answered since the last call, or was to be by now.
    std::vector<Answer> takeAnswers();

    bool isAsking() const { return !m_open.empty(); }

private:
    struct Desk;
    using Time = std::chrono::steady_clock::time_point;

    static void answerAll(const std::shared_ptr<Desk>& desk);

    const std::shared_ptr<Desk> m_desk;  // shared with threads that may outlive this
    std::map<Question, Time> m_open;     // when they were asked
};

}  // namespace siftwell
