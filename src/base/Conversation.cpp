#include "base/Conversation.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace siftwell {

namespace {

constexpr std::size_t kMaxErrorBytes = 4096;
constexpr std::chrono::milliseconds kToDie = std::chrono::seconds(2);

bool mayTryAgain(ssize_t count) { return count < 0 && (errno == EAGAIN || errno == EINTR); }

}  // namespace

Result<std::unique_ptr<Conversation>> Conversation::begin(
    const std::vector<std::string>& arguments,
    const std::optional<std::vector<std::string>>& environment, std::string input) {
    auto in = makePipe();
    if (!in) return in.status();
    auto out = makePipe();
    if (!out) return out.status();
    auto errors = makePipe();
    if (!errors) return errors.status();
    for (const FileDescriptor* ours : {&in->writing, &out->reading, &errors->reading}) {
        if (Status status = stopWaiting(*ours); !status.isOk()) return status;
    }
    auto child =
        Child::launch(arguments, environment, {in->reading, out->writing, errors->writing});
    if (!child) return child.status();
    return std::unique_ptr<Conversation>(
        new Conversation(*std::move(child), std::move(in->writing), std::move(out->reading),
                         std::move(errors->reading), std::move(input)));
}

Conversation::Conversation(Child child, FileDescriptor input, FileDescriptor output,
                           FileDescriptor errors, std::string text)
    : m_child(std::move(child)),
      m_input(std::move(input)),
      m_output(std::move(output)),
      m_errorOutput(std::move(errors)),
      m_text(std::move(text)) {}

Conversation::~Conversation() {
    if (m_end) return;
    kill();
    wait(kToDie);
}

bool Conversation::read(std::string& into, Milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (m_output.isOpen()) {
        std::array<pollfd, 3> watched = {pollfd{m_output.get(), POLLIN, 0},
                                         pollfd{m_errorOutput.get(), POLLIN, 0},
                                         pollfd{m_input.get(), POLLOUT, 0}};
        if (poll(watched.data(), watched.size(), millisecondsUntil(end)) < 0) watched = {};
        if (watched[1].revents != 0) readErrors();
        if (watched[2].revents != 0) write();
        if (watched[0].revents != 0) {
            constexpr std::size_t kAtOnce = 64 << 10;  // what a pipe holds
            const std::size_t before = into.size();
            into.resize(before + kAtOnce);
            const ssize_t count = ::read(m_output.get(), into.data() + before, kAtOnce);
            into.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
            if (count > 0) return true;
            if (!mayTryAgain(count)) m_output.reset();
        }
        if (std::chrono::steady_clock::now() >= end) break;
    }
    return m_output.isOpen();
}

// A child that does not want to hear it to the end has its reasons; how it ends tells. SIGPIPE is
// kept from this thread for as long as that.
void Conversation::write() {
    sigset_t pipe;
    sigset_t before;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    const std::string_view rest = std::string_view(m_text).substr(m_written);
    const ssize_t count = rest.empty() ? 0 : ::write(m_input.get(), rest.data(), rest.size());
    const bool isBroken = count < 0 && !mayTryAgain(count);
    if (isBroken && errno == EPIPE) {
        const timespec atOnce{};
        sigtimedwait(&pipe, nullptr, &atOnce);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (count > 0) m_written += static_cast<std::size_t>(count);
    if (isBroken || m_written == m_text.size()) m_input.reset();
}

void Conversation::readErrors() {
    std::array<char, 4096> buffer;  // NOLINT(*-member-init)
    const ssize_t count = ::read(m_errorOutput.get(), buffer.data(), buffer.size());
    if (count > 0) {
        const std::size_t room = kMaxErrorBytes - m_errors.size();
        m_errors.append(buffer.data(), std::min(static_cast<std::size_t>(count), room));
    } else if (!mayTryAgain(count)) {
        m_errorOutput.reset();
    }
}

void Conversation::askToEnd() { m_child.signal(SIGTERM); }

void Conversation::kill() { m_child.signal(SIGKILL); }

std::optional<Child::End> Conversation::wait(Milliseconds longest) {
    if (m_end) return m_end;
    if (!isReadableWithin(m_child.process(), longest)) return std::nullopt;
    m_child.signal(SIGKILL);  // what is left of its group
    if (m_errorOutput.isOpen()) readErrors();
    m_end = m_child.collect(kToDie);
    return m_end;
}

}  // namespace siftwell
