#include "retrieval/HostChecks.h"

#include <deque>
#include <system_error>
#include <thread>
#include <utility>

#include "base/Mutex.h"
#include "base/ThreadPriority.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxThreads = 8;
constexpr std::size_t kMaxLeft = 64;  // threads that were left and have not come back

}  // namespace

// A question that is being asked.
struct HostChecks::Call {
    Question question;
    std::chrono::steady_clock::time_point since;  // of this step of it
    bool isReachable = false;
    bool isLeft = false;  // answered without its thread
};

struct HostChecks::Desk {
    std::shared_ptr<NetworkReachability> network;
    std::shared_ptr<CredentialStore> credentials;
    std::shared_ptr<WorkSignal> signal;

    Mutex mutex;
    bool isClosed SW_GUARDED_BY(mutex) = false;  // nobody wants answers any more
    std::deque<Question> waiting SW_GUARDED_BY(mutex);
    std::vector<std::shared_ptr<Call>> calls SW_GUARDED_BY(mutex);
    std::vector<Answer> answers SW_GUARDED_BY(mutex);
    std::size_t threads SW_GUARDED_BY(mutex) = 0;  // that were not left
    std::size_t left SW_GUARDED_BY(mutex) = 0;

    // Null when the thread is to end.
    std::shared_ptr<Call> take() {
        MutexLock lock(mutex);
        if (waiting.empty() || isClosed) {
            --threads;
            return nullptr;
        }
        auto call = std::make_shared<Call>(Call{std::move(waiting.front()), now()});
        waiting.pop_front();
        calls.push_back(call);
        return call;
    }

    std::vector<ProtectionSpace> askFor(Call& call) {
        const bool isReachable = network->isHostReachable(call.question.host);
        {
            MutexLock lock(mutex);
            call.isReachable = isReachable;
            call.since = now();
        }
        const bool mustAsk = isReachable && call.question.wantsCredentials && credentials;
        return mustAsk ? credentials->protectionSpaces(call.question.host)
                       : std::vector<ProtectionSpace>();
    }

    // False when nobody waited any more: another thread has the place of this one.
    bool put(const std::shared_ptr<Call>& call, std::vector<ProtectionSpace> spaces) {
        {
            MutexLock lock(mutex);
            if (call->isLeft) {
                --left;
                return false;
            }
            std::erase(calls, call);
            answers.push_back({call->question, call->isReachable, std::move(spaces)});
        }
        signal->raise();
        return true;
    }

    // Answers in the place of threads that take too long.
    void leaveCallsSince(std::chrono::steady_clock::time_point latest) SW_REQUIRES(mutex) {
        std::erase_if(calls, [&](const std::shared_ptr<Call>& call) SW_REQUIRES(mutex) {
            if (call->since > latest) return false;
            call->isLeft = true;
            --threads;
            ++left;
            answers.push_back({call->question, call->isReachable, {}});
            return true;
        });
    }

    static std::chrono::steady_clock::time_point now() { return std::chrono::steady_clock::now(); }
};

HostChecks::HostChecks(std::shared_ptr<NetworkReachability> network,
                       std::shared_ptr<CredentialStore> credentials,
                       std::shared_ptr<WorkSignal> signal, std::chrono::milliseconds patience)
    : m_patience(patience), m_desk(std::make_shared<Desk>()) {
    m_desk->network = std::move(network);
    m_desk->credentials = std::move(credentials);
    m_desk->signal = std::move(signal);
}

HostChecks::~HostChecks() {
    MutexLock lock(m_desk->mutex);
    m_desk->isClosed = true;
}

void HostChecks::ask(const Question& question) {
    if (!m_open.insert(question).second) return;
    {
        MutexLock lock(m_desk->mutex);
        m_desk->waiting.push_back(question);
    }
    startThreads();
}

// One for each question that waits, as long as there may be more.
void HostChecks::startThreads() {
    while (true) {
        {
            MutexLock lock(m_desk->mutex);
            const std::size_t idle = m_desk->threads - m_desk->calls.size();
            if (m_desk->waiting.size() <= idle || m_desk->threads >= kMaxThreads ||
                m_desk->left >= kMaxLeft) {
                return;
            }
            ++m_desk->threads;
        }
        try {
            std::thread([desk = m_desk] { answerAll(desk); }).detach();
        } catch (const std::system_error&) {  // none to be had now; asked for again
            MutexLock lock(m_desk->mutex);
            --m_desk->threads;
            return;
        }
    }
}

void HostChecks::answerAll(const std::shared_ptr<Desk>& desk) {
    nameThisThread("resolver");
    for (auto call = desk->take(); call != nullptr; call = desk->take()) {
        if (!desk->put(call, desk->askFor(*call))) return;
    }
}

std::vector<HostChecks::Answer> HostChecks::takeAnswers() {
    if (m_open.empty()) return {};
    std::vector<Answer> given;
    {
        MutexLock lock(m_desk->mutex);
        m_desk->leaveCallsSince(Desk::now() - m_patience);
        given.swap(m_desk->answers);
    }
    for (const Answer& answer : given) m_open.erase(answer.question);
    startThreads();
    return given;
}

}  // namespace siftwell
