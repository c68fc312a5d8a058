// What becomes of a download that has ended: the last steps of DocumentRetriever.

#include <exception>
#include <utility>

#include "base/Log.h"
#include "base/Translate.h"
#include "retrieval/DocumentRetriever.h"
#include "retrieval/HttpStatusText.h"
#include "text/Ascii.h"
#include "text/Encodings.h"
#include "text/HtmlQueries.h"

namespace siftwell {

namespace {

constexpr int kMostRedirects = 5;
constexpr std::size_t kLongestAddress = 8192;

// Pages lead on for so many hops, and with addresses that somebody may have meant.
bool mayLeadOn(const DocumentDownloader::Document& document) {
    return document.redirectCount <= kMostRedirects &&
           document.url.absoluteString().size() <= kLongestAddress;
}

// What a page of the web says leads into the web alone, and not into this computer's files.
bool mayLeadTo(const Url& from, const Url& to) {
    const std::string scheme = lowerCasedAscii(to.scheme());
    return to.absoluteString().size() <= kLongestAddress &&
           (from.isFile() || scheme == "http" || scheme == "https");
}

}  // namespace

void DocumentRetriever::finishDownloads() {
    while (const Downloader downloader = m_downloads->takeFinished()) end(downloader);
    if (m_downloads->takeNewRoom()) m_loader.resume();
}

void DocumentRetriever::end(const Downloader& downloader) {
    const auto& document = downloader->document();
    Fate fate = Fate::Dropped;
    try {
        if (downloader->error()) {
            reportFailure(document.url, failureOf(*downloader));
        } else {
            fate = finish(*downloader);
        }
    } catch (const std::exception& error) {
        writeLog(filledIn("DocumentRetriever caught error %@", error.what()));
    }
    m_notifier.reportProgressDoneIn(document.source, document.url.absoluteString());
    if (fate == Fate::Dropped) m_indexes.addToPendingDocumentCount(-1);
    ++m_moves;
    m_downloads->remove(downloader);
    m_finished->releaseAfterDelay(downloader);
    m_signal->raise();
    noteEnd();
}

DocumentRetriever::Fate DocumentRetriever::finish(DocumentDownloader& downloader) {
    const auto& document = downloader.document();
    const URLResponse response = downloader.response().value_or(URLResponse{.url = document.url});
    auto text = decodePage(downloader.takeData(), response.textEncodingName);
    if (!text) {
        reportFailure(document.url, _("No data returned from host"));
        return Fate::Dropped;
    }
    if (!m_indexes.indexingEnabled()) return Fate::Dropped;
    std::vector<Url> frames;
    if (isHTML(*text) && mayLeadOn(document)) {
        if (const auto target = redirectIn(*text, downloader)) {
            queueRedirect(*target, downloader);
            return Fate::PassedOn;
        }
        if (document.parseFrames) frames = HTMLFramesForURL(*text, document.url);
    }
    m_indexes.parseAndAddContent({.content = *std::move(text),
                                  .url = document.url,
                                  .date = document.date,
                                  .title = document.title,
                                  .cachePath = std::nullopt,
                                  .source = document.source,
                                  .indexer = document.indexer,
                                  .mimeType = response.mimeType});
    try {
        queueFrames(frames, downloader);
    } catch (const std::exception& error) {  // the page itself is in
        writeLog(filledIn("DocumentRetriever caught error %@", error.what()));
    }
    return Fate::PassedOn;
}

std::optional<Url> DocumentRetriever::redirectIn(const std::string& text,
                                                 const DocumentDownloader& from) const {
    const Url& page = from.document().url;
    auto target = HTMLRedirectURL(text, m_isJavaScriptEnabled);
    if (target && !target->hasScheme()) target = page.resolved(target->absoluteString());
    if (!target || *target == page || !mayLeadTo(page, *target)) return std::nullopt;
    return target;
}

void DocumentRetriever::queueRedirect(const Url& target, const DocumentDownloader& from) {
    const auto& document = from.document();
    push({.url = target,
          .date = document.date,
          .title = document.title,
          .source = document.source,
          .indexer = document.indexer,
          .redirectCount = document.redirectCount + 1,
          .host = nullptr});
}

void DocumentRetriever::queueFrames(const std::vector<Url>& frames,
                                    const DocumentDownloader& from) {
    const auto& document = from.document();
    for (const Url& frame : frames) {
        if (!mayLeadTo(document.url, frame)) continue;
        m_indexes.addToPendingDocumentCount(1);
        push({.url = frame,
              .date = document.date,
              .title = std::nullopt,
              .source = document.source,
              .indexer = document.indexer,
              .isFrameURL = true,
              .redirectCount = document.redirectCount + 1,
              .host = nullptr});
    }
}

std::string DocumentRetriever::failureOf(const DocumentDownloader& downloader) {
    const auto response = downloader.response();
    const int status = response ? response->statusCode.value_or(0) : 0;
    if (forbidsRetrying(status)) {
        MutexLock lock(m_mutex);
        m_blockedURLs.insert(downloader.document().url.absoluteString());
    }
    return status >= 400 ? localizedStringForStatusCode(status) : downloader.error().value_or("");
}

void DocumentRetriever::reportFailure(const Url& url, const std::string& details) {
    m_notifier.reportError(_("Failed to get content"), 5, url.absoluteString(), details);
    m_indexes.addFailedURL(url);
}

}  // namespace siftwell
