#include "retrieval/HostChecks.h"

#include <deque>
#include <system_error>
#include <thread>
#include <utility>

#include "base/Mutex.h"
#include "base/ThreadPriority.h"

namespace siftwell {

namespace {

constexpr int kMaxThreads = 8;
// The credential store has a patience of its own.
std::chrono::seconds patienceFor(const HostChecks::Question& question) {
    return std::chrono::seconds(question.wantsCredentials ? 11 : 5);
}

}  // namespace

struct HostChecks::Desk {
    std::shared_ptr<NetworkReachability> network;
    std::shared_ptr<CredentialStore> credentials;

    std::shared_ptr<WorkSignal> signal;

    Mutex mutex;
    bool isClosed SW_GUARDED_BY(mutex) = false;  // nobody wants answers any more
    std::deque<Question> waiting SW_GUARDED_BY(mutex);
    std::vector<Answer> answers SW_GUARDED_BY(mutex);
    int threads SW_GUARDED_BY(mutex) = 0;

    Answer answerTo(const Question& question) const {
        Answer answer{.question = question, .spaces = {}};
        answer.isReachable = network->isHostReachable(question.host);
        if (answer.isReachable && question.wantsCredentials && credentials != nullptr) {
            answer.spaces = credentials->protectionSpaces(question.host);
        }
        return answer;
    }

    bool take(Question& question) {
        MutexLock lock(mutex);
        if (waiting.empty() || isClosed) {
            --threads;
            return false;
        }
        question = std::move(waiting.front());
        waiting.pop_front();
        return true;
    }

    void put(Answer answer) {
        {
            MutexLock lock(mutex);
            answers.push_back(std::move(answer));
        }
        signal->raise();
    }
};

HostChecks::HostChecks(std::shared_ptr<NetworkReachability> network,
                       std::shared_ptr<CredentialStore> credentials,
                       std::shared_ptr<WorkSignal> signal)
    : m_desk(std::make_shared<Desk>()) {
    m_desk->network = std::move(network);
    m_desk->credentials = std::move(credentials);
    m_desk->signal = std::move(signal);
}

HostChecks::~HostChecks() {
    MutexLock lock(m_desk->mutex);
    m_desk->isClosed = true;
}

void HostChecks::ask(const Question& question) {
    if (!m_open.emplace(question, std::chrono::steady_clock::now()).second) return;
    {
        MutexLock lock(m_desk->mutex);
        m_desk->waiting.push_back(question);
        if (m_desk->threads == kMaxThreads) return;
        ++m_desk->threads;
    }
    try {
        std::thread([desk = m_desk] { answerAll(desk); }).detach();
    } catch (const std::system_error&) {  // no thread to be had now: the patience will end
        MutexLock lock(m_desk->mutex);
        --m_desk->threads;
    }
}

void HostChecks::answerAll(const std::shared_ptr<Desk>& desk) {
    nameThisThread("resolver");
    for (Question question; desk->take(question);) desk->put(desk->answerTo(question));
}

std::vector<HostChecks::Answer> HostChecks::takeAnswers() {
    std::vector<Answer> given;
    {
        MutexLock lock(m_desk->mutex);
        given.swap(m_desk->answers);
    }
    // One that comes too late was answered before.
    std::erase_if(given,
                  [this](const Answer& answer) { return m_open.erase(answer.question) == 0; });
    const auto now = std::chrono::steady_clock::now();
    for (auto open = m_open.begin(); open != m_open.end();) {
        if (open->second + patienceFor(open->first) > now) {
            ++open;
            continue;
        }
        given.push_back({.question = open->first, .isReachable = false, .spaces = {}});
        open = m_open.erase(open);
    }
    return given;
}

}  // namespace siftwell
