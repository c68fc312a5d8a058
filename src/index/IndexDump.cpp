#include "index/IndexDump.h"

#include <algorithm>
#include <array>

#include "base/FilePieces.h"
#include "base/FileReplacement.h"
#include "base/Translate.h"
#include "index/IndexNaming.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::size_t kDocumentsPerLook = 500;
constexpr std::size_t kPieceBytes = std::size_t{4} << 20;
constexpr std::string_view kEndOfBlock = "</DD></DL>\n\n";
// Readers of lists look for these anywhere in a tag.
constexpr std::array<std::string_view, 6> kAttributes = {
    "LAST_VISIT", "ADD_DATE", "LAST_MODIFIED", "LASTCHECKEDTIME", "SOURCE", "INDEXER"};

bool endsWithAttribute(std::string_view text) {
    return std::any_of(kAttributes.begin(), kAttributes.end(), [text](std::string_view name) {
        return text.size() >= name.size() &&
               equalsIgnoringCase(text.substr(text.size() - name.size()), name);
    });
}

bool mustBeEscaped(std::string_view text, std::size_t at) {
    switch (text[at]) {
        case '"':
        case '<':
        case '>':
            return true;
        case '&':
            return text.substr(at + 1, 1) == "#";
        case '=':
            return endsWithAttribute(text.substr(0, at));
        case ' ':
            return at == 0;
        default:
            return static_cast<unsigned char>(text[at]) < ' ';
    }
}

std::string wholeSeconds(Date date) {
    const Date sane = std::clamp(date, Date::distantPast(), Date::distantFuture());
    return std::to_string(static_cast<std::int64_t>(sane.secondsSinceUnix()));
}

std::string listed(const std::vector<std::string>& terms) {
    std::string text;
    for (const std::string& term : terms) text.append(1, ' ').append(term);
    return text;
}

std::string blockOf(const PropertyRecord& record, const std::optional<std::string>& terms) {
    const std::string url = escapedInDump(record.url);
    const std::string source = escapedInDump(record.source);
    std::string text = "<DL><P><DT><B><a HREF=\"" + url;
    text += "\" LAST_VISIT=\"" + wholeSeconds(record.date);
    text += "\" SOURCE=\"" + source;
    text += "\" INDEXER=\"" + escapedInDump(record.indexer);
    text += "\">" + url + "</A></B></DT>\n";
    text += "<DD><B>Date:</B> " + record.date.formattedLocally("%Y-%m-%d %H:%M") + "<BR>\n";
    text += "<B>Source:</B> " + source + "<BR>\n";
    if (terms) text += "<B>Terms:</B>\n" + *terms;
    return text.append(kEndOfBlock);
}

std::string blockWithoutTerms(const std::string& url) {
    return "<DL><P><DT><H3>ERROR</H3>" + escapedInDump(url) +
           "</DT><BR>\n<DD>Document has properties but no terms</DD></DL>\n";
}

std::string blockWithoutRecord(const std::string& url) {
    return "<DL><P><DT><B>ERROR</B>" + escapedInDump(url) +
           "</DT><BR>\n<DD>Document has terms but no properties</DD></DL>\n";
}

// Nothing for a document of which nothing is known. What cannot be read counts as there.
std::string textOf(const OpenIndex& index, const StoredDocument& document, bool showTerms) {
    const auto words = index.index->wordsOf(document.number);
    const bool hasTerms = !words || *words > 0;
    if (!document.record) {
        if (!hasTerms) return {};
        const auto key = index.index->keyOf(document.number);
        return blockWithoutRecord(key ? addressOfDocument(*key) : "");
    }
    if (!hasTerms) return blockWithoutTerms(document.record->url);
    if (!showTerms) return blockOf(*document.record, std::nullopt);
    const auto terms = index.index->termsOf(document.number);
    return blockOf(*document.record, terms ? listed(*terms) : "");
}

// Whether the block is of one of these addresses, which are escaped.
bool isOfAny(std::string_view block, const std::vector<std::string>& addresses) {
    return std::any_of(addresses.begin(), addresses.end(), [block](const std::string& address) {
        return block.find('>' + address + '<') != std::string_view::npos;
    });
}

// Blocks begin alike.
std::size_t endOfBlock(std::string_view text) {
    return std::min(text.find("<DL><P><DT>", 1), text.size());
}

}  // namespace

struct IndexDump::Run {
    FileReplacement file;
    const bool showTerms;
    const std::stop_token& stop;
    const std::int64_t all;
    std::int64_t done = 0;
    std::int64_t percent = -1;  // that was posted
};

Status IndexDump::write(const std::string& path, bool showTerms,
                        const std::stop_token& stop) const {
    Run run{.file = FileReplacement(path),
            .showTerms = showTerms,
            .stop = stop,
            .all = std::max<std::int64_t>(m_parts.counters.documents.value(), 1)};
    bool isComplete = false;
    {
        const SharedHold hold(m_parts.locks.indexGate());
        const auto indexes = m_parts.indexes.list();
        isComplete = std::all_of(indexes->begin(), indexes->end(), [&](const SKIndex& index) {
            return dumpDocumentsInIndex(index, run);
        });
    }
    m_parts.centre.postMainThreadNotificationName("SiftwellIndexRebuildProgressNotification", {});
    // Without indexes because they are closed, it would pass for a dump of nothing.
    isComplete = isComplete && !stop.stop_requested();
    if (isComplete || !run.file.status().isOk()) return run.file.finish();
    return {StatusCode::Busy, _("The index is being closed.")};
}

bool IndexDump::dumpDocumentsInIndex(const SKIndex& index, Run& run) const {
    for (fulltext::DocumentID last = 0;;) {
        const auto documents = index->documentsBehind(last, kDocumentsPerLook);
        if (documents.empty()) return true;
        for (const StoredDocument& document : documents) {
            m_parts.locks.yieldForPriorityThread();
            if (run.stop.stop_requested() || !run.file.status().isOk()) return false;
            run.file.append(textOf(*index, document, run.showTerms));
            ++run.done;
            postProgress(run);
        }
        last = documents.back().number;
    }
}

void IndexDump::postProgress(Run& run) const {
    const double percent =
        std::min(100.0, static_cast<double>(run.done) * 100 / static_cast<double>(run.all));
    if (static_cast<std::int64_t>(percent) == run.percent) return;
    run.percent = static_cast<std::int64_t>(percent);
    m_parts.centre.postMainThreadNotificationName("SiftwellIndexRebuildProgressNotification",
                                                  percent);
}

std::string escapedInDump(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (mustBeEscaped(text, i)) {
            result += "&#" + std::to_string(static_cast<unsigned char>(text[i])) + ";";
        } else {
            result += text[i];
        }
    }
    return result;
}

Status removeFromDump(const std::string& path, const std::vector<std::string>& addresses) {
    std::vector<std::string> escaped;
    escaped.reserve(addresses.size());
    for (const std::string& address : addresses) escaped.push_back(escapedInDump(address));
    FilePieces pieces(path, "</DL>\n", kPieceBytes);
    FileReplacement kept(path);
    bool isAnyGone = false;
    while (auto piece = pieces.next()) {
        while (!piece->empty()) {
            const std::string_view block = piece->substr(0, endOfBlock(*piece));
            piece->remove_prefix(block.size());
            if (isOfAny(block, escaped)) {
                isAnyGone = true;
            } else {
                kept.append(block);
            }
        }
    }
    if (!pieces.status().isOk()) return pieces.status();
    return isAnyGone ? kept.finish() : Status();
}

}  // namespace siftwell
