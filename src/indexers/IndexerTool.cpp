#include "indexers/IndexerTool.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "sources/PrivateCopy.h"

extern char** environ;

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kLookupTime(2000);

// Nothing but the language and the time zone is the tool's business.
std::vector<std::string> environmentOfTool(const std::string& folder) {
    constexpr std::array<std::string_view, 5> kPassedOn = {"LANG", "LC_", "TZ", "ASAN_", "UBSAN_"};
    std::vector<std::string> environment = {"TMPDIR=" + folder};
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string_view variable = *each;
        for (const std::string_view prefix : kPassedOn) {
            if (variable.starts_with(prefix)) environment.emplace_back(variable);
        }
    }
    return environment;
}

}  // namespace

Result<std::unique_ptr<IndexerTool>> IndexerTool::launch(const std::string& program,
                                                         const std::string& token,
                                                         const wire::Task& task) {
    const auto folder = makePrivateFolder();
    if (!folder) return folder.status();
    auto conversation = Conversation::begin({program, token}, environmentOfTool(*folder),
                                            frameOf(wire::encode(task)));
    if (!conversation) {
        std::error_code none;
        std::filesystem::remove(*folder, none);
        return conversation.status();
    }
    return std::unique_ptr<IndexerTool>(new IndexerTool(*folder, *std::move(conversation)));
}

IndexerTool::~IndexerTool() {
    m_conversation.reset();  // nobody writes into the folder any more
    std::error_code none;
    std::filesystem::remove_all(m_folder, none);
}

IndexerTool::Event IndexerTool::next(wire::Message& message, Milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (!m_isMalformed) {
        if (const auto frame = m_reader.next()) {
            auto decoded = wire::decodeMessage(*frame);
            m_isMalformed = !decoded;
            if (m_isMalformed) break;
            message = *std::move(decoded);
            m_isDone = m_isDone || std::holds_alternative<wire::End>(message);
            return Event::Message;
        }
        if (m_reader.isBroken()) break;
        // However slowly it comes.
        const auto left = end - std::chrono::steady_clock::now();
        if (left.count() <= 0) return Event::Silence;
        if (!m_conversation->read(m_reader.input(), std::chrono::ceil<Milliseconds>(left))) {
            return Event::End;
        }
    }
    m_isMalformed = true;
    m_conversation->kill();
    return Event::End;
}

bool IndexerTool::hasEndedWithin(Milliseconds longest) {
    m_end = m_conversation->wait(longest);
    return m_end.has_value();
}

std::optional<int> IndexerTool::exitStatus() const {
    if (!m_isDone || !m_end || m_end->isSignal) return std::nullopt;
    return m_end->status;
}

std::string IndexerTool::reasonOfDeath() const {
    if (m_isMalformed) return "malformed message";
    std::string reason = "no answer";
    if (m_end) {
        reason = (m_end->isSignal ? "signal " : "exit status ") + std::to_string(m_end->status);
    }
    const std::string& errors = m_conversation->errors();
    const std::string line = errors.substr(0, errors.find('\n'));
    return line.empty() ? reason : reason + ": " + line;
}

std::optional<CachedPage> pageFromTool(const std::string& program, const std::string& indexer,
                                       const std::string& folder, const std::string& entry) {
    const auto tool = IndexerTool::launch(program, "lookup",
                                          {.kind = wire::Task::Kind::Lookup,
                                           .indexer = indexer,
                                           .paths = {folder},
                                           .behind = wire::Place{.entry = entry}});
    if (!tool) return std::nullopt;
    const auto end = std::chrono::steady_clock::now() + kLookupTime;
    wire::Message message;
    for (auto left = kLookupTime; left.count() > 0;) {
        if ((*tool)->next(message, left) == IndexerTool::Event::End) break;
        if (auto* page = std::get_if<wire::Page>(&message)) return std::move(page->page);
        left = std::chrono::ceil<IndexerTool::Milliseconds>(end - std::chrono::steady_clock::now());
    }
    return std::nullopt;
}

std::optional<wire::Hello> confinementOfTool(const std::string& program) {
    const auto tool = IndexerTool::launch(program, "probe", {});
    wire::Message message;
    if (!tool || (*tool)->next(message, kLookupTime) != IndexerTool::Event::Message) {
        return std::nullopt;
    }
    const auto* const hello = std::get_if<wire::Hello>(&message);
    return hello == nullptr ? std::nullopt : std::optional(*hello);
}

}  // namespace siftwell
