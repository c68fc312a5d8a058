// RetrieverFixture: a retriever over a store in a temporary folder.
#pragma once

#include "FakeSite.h"
#include "index/IndexFixture.h"
#include "retrieval/DocumentRetriever.h"
#include "support/WaitUntil.h"

namespace siftwell {

class RetrieverFixture : public IndexFixture {
protected:
    RetrieverFixture() {
        m_settings->registerDefaults({{"NativeExtensions", PropertyList::Array{"txt", "html"}},
                                      {"ExtractorExtensions", PropertyList::Array{"pdf"}},
                                      {"FilteredExtensions", PropertyList::Array{"jpg"}},
                                      {"MaxDownloadThreads", 5},
                                      {"JavaScriptEnabled", true}});
        watch("SiftwellErrorNotification", [this](const PropertyList& record) {
            const auto& error = *record.asDictionary();
            m_reports.push_back(stringFor(error, "url") + ": " + stringFor(error, "error") + " (" +
                                stringFor(error, "details") + ")");
        });
        watch("SiftwellIndexerProgressDoneNotification",
              [this](const PropertyList&) { ++m_progressDone; });
    }
    ~RetrieverFixture() override { m_retriever.reset(); }

    // What the retriever loads from; the fake site unless a test says otherwise.
    virtual URLLoader& network() { return m_site; }

    DocumentRetriever::Surroundings surroundings() {
        return {.indexes = store(),
                .notifier = m_notifier,
                .centre = m_centre,
                .settings = *m_settings,
                .mainLoop = m_loop,
                .clock = m_clock,
                .network = network(),
                .reachability = m_hosts,
                .credentials = m_credentials};
    }
    DocumentRetriever& retriever() {
        if (m_retriever == nullptr) {
            m_retriever = std::make_unique<DocumentRetriever>(surroundings());
        }
        return *m_retriever;
    }

    // As indexers do it: announced, then queued.
    void queue(const std::string& address, std::optional<Date> date = std::nullopt,
               const std::string& source = "Pages", std::optional<std::string> title = {}) {
        store().addToPendingDocumentCount(1);
        retriever().indexDocument(url(address), date, std::move(title), source, "Tester");
    }
    void finish() {
        EXPECT_TRUE(retriever().waitForDownloadsForSource(std::nullopt, std::chrono::seconds(60)));
        m_loop.drain();
    }
    void index(const std::string& address, std::optional<Date> date = std::nullopt) {
        queue(address, date);
        finish();
    }

    static std::string html(const std::string& head, const std::string& body) {
        return "<html><head>" + head + "</head><body>" + body + "</body></html>";
    }

    std::vector<std::string> takeReports() {
        m_loop.drain();
        return std::exchange(m_reports, {});
    }

    FakeSite m_site;
    std::shared_ptr<OnlineNetwork> m_hosts = std::make_shared<OnlineNetwork>();
    std::shared_ptr<CredentialStore> m_credentials;
    std::vector<std::string> m_reports;  // "address: text (details)"
    int m_progressDone = 0;
    std::unique_ptr<DocumentRetriever> m_retriever;
};

}  // namespace siftwell
