// IndexerTool: one run of SiftwellIndexer, the program that reads the files of browsers for us.
//
// It runs beside this program, confined to the files that its task names and to a folder for its
// private copies, which goes when the run is over.
//
// Threads: one at a time. Errors: as Status when it could not be launched.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "base/Conversation.h"
#include "records/CachedPage.h"
#include "wire/Frames.h"
#include "wire/Messages.h"

namespace siftwell {

class IndexerTool {
public:
    using Milliseconds = std::chrono::milliseconds;

    // `program` is the path of the tool, and the token its only argument.
    static Result<std::unique_ptr<IndexerTool>> launch(const std::string& program,
                                                       const std::string& token,
                                                       const wire::Task& task);
    ~IndexerTool();
    IndexerTool(const IndexerTool&) = delete;
    IndexerTool& operator=(const IndexerTool&) = delete;

    enum class Event {
        Message,  // `message` is the next one
        Silence,  // nothing came in that time
        End       // nothing more will come
    };
    Event next(wire::Message& message, Milliseconds longest);

    void askToEnd() { m_conversation->askToEnd(); }
    void kill() { m_conversation->kill(); }
    bool hasEndedWithin(Milliseconds longest);

    // Of a run that has ended: its exit status if it reached its End, and otherwise why it did not
    // ("signal 11: ...").
    std::optional<int> exitStatus() const;
    std::string reasonOfDeath() const;

private:
    IndexerTool(std::string folder, std::unique_ptr<Conversation> conversation)
        : m_folder(std::move(folder)), m_conversation(std::move(conversation)) {}

    const std::string m_folder;  // of its private copies
    std::unique_ptr<Conversation> m_conversation;
    FrameReader m_reader;
    bool m_isDone = false;  // End was read
    bool m_isMalformed = false;
    std::optional<Child::End> m_end;
};

// The page of one entry of a cache; none when it is not there any more, or not within 2 s.
std::optional<CachedPage> pageFromTool(const std::string& program, const std::string& indexer,
                                       const std::string& folder, const std::string& entry);

// How the tool confines itself on this system; none when it cannot be run.
std::optional<wire::Hello> confinementOfTool(const std::string& program);

}  // namespace siftwell
