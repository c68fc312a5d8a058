// HostChecks asks whether hosts can be reached, and what passwords are stored for them, beside
// everything else: a name that nobody answers for holds up nobody but its own documents.
//
// Threads: one uses it; the questions are asked on threads of its own, eight at a time. A name that
// is not answered for within the patience counts as unreachable, and passwords that are not had
// within it as none; the thread is left to itself then, and another takes its place.
#pragma once

#include <chrono>
#include <memory>
#include <set>
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
               std::shared_ptr<CredentialStore> credentials, std::shared_ptr<WorkSignal> signal,
               std::chrono::milliseconds patience = std::chrono::seconds(5));
    // Does not wait for questions under way.
    ~HostChecks();

    // Not again while the same question is open.
    void ask(const Question& question);

    // What was answered since the last call, or was to be by now.
    std::vector<Answer> takeAnswers();

private:
    struct Desk;
    struct Call;

    void startThreads();
    static void answerAll(const std::shared_ptr<Desk>& desk);

    const std::chrono::milliseconds m_patience;
    const std::shared_ptr<Desk> m_desk;  // shared with threads that may outlive this
    std::set<Question> m_open;
};

}  // namespace siftwell
