// The road of a page from a web site to a search result, by the real program.
//
// $SIFTWELL_SAMPLES names a folder with a site (`server.py`, `pages/`) and `expected.json`, whose
// `queries` say which pages words must find, and whose `fate_of_special_pages` says what becomes of
// pages that are not just pages; script/test --samples sets it.

#include <arpa/inet.h>
#include <sys/socket.h>

#include "base/FileDescriptor.h"
#include "cli/ProgramFixture.h"
#include "samples/Samples.h"

namespace siftwell {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class SampleSiteTest : public ProgramFixture {
protected:
    void SetUp() override {
        SW_SAMPLES_OR_SKIP(m_samples);
        m_expected = m_samples->json("expected.json");
        m_base = m_expected["base"];
        serve();
    }
    void TearDown() override {
        if (m_server <= 0) return;
        kill(m_server, SIGKILL);
        wait(m_server);
    }

    // At the address that the samples name: pages of them lead there.
    void serve() {
        const std::string port = m_base.substr(m_base.rfind(':') + 1);
        m_server = fork();
        if (m_server == 0) {
            const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
            dup2(nowhere, STDOUT_FILENO);
            dup2(nowhere, STDERR_FILENO);
            execlp("python3", "python3", m_samples->file("server.py").c_str(), "--root",
                   m_samples->file("pages").c_str(), "--port", port.c_str(), nullptr);
            _exit(127);
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const void* const anonymous = &address;
        for (int i = 0; i < 1000; ++i) {
            const FileDescriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
            if (connect(probe.get(), static_cast<const sockaddr*>(anonymous), sizeof address) == 0)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_FALSE(hasEnded(m_server)) << "the server ended; is port " << port << " taken?";
    }

    bool isOfSite(const std::string& address) const { return address.starts_with(m_base); }

    // Whether the item is a file or folder that a person could make a source of: browsers of this
    // system are found without being named.
    static bool isSourceOfItsOwn(const json& item) {
        const std::string path = item["path"];
        return item["indexer"].is_string() && path.find('*') == std::string::npos &&
               (item["archive"] == "mac.tar.xz" || item["indexer"] == "URLExtractor");
    }

    Arguments allAddresses() const {
        std::set<std::string> all;
        for (const json& query : m_expected["queries"]) {
            for (const char* key : {"find", "not"}) {
                for (const std::string address : query[key]) all.insert(address);
            }
        }
        for (const json& page : m_expected["fate_of_special_pages"]) all.insert(page["url"]);
        std::erase_if(all, [this](const std::string& address) { return !isOfSite(address); });
        return {all.begin(), all.end()};
    }

    pid_t m_server = 0;
    std::optional<Samples> m_samples;
    std::string m_base;
    json m_expected;
};

TEST_F(SampleSiteTest, EveryPageOfTheSiteIsFoundByItsWords) {
    Arguments arguments = allAddresses();
    arguments.insert(arguments.begin(), "add");
    const Outcome outcome = siftwell(arguments);
    EXPECT_EQ(outcome.status, 3) << "some pages of the site must fail\n" << outcome.err;
    int expectations = 0;
    for (const json& query : m_expected["queries"]) {
        const std::string words = query["words"];
        const auto urls = find(words, query["type"]);
        for (const std::string url : query["find"]) {
            if (!isOfSite(url)) continue;
            EXPECT_TRUE(urls.contains(url)) << words << " did not find " << url;
            ++expectations;
        }
        for (const std::string url : query["not"]) {
            EXPECT_FALSE(urls.contains(url)) << words << " found " << url;
            ++expectations;
        }
    }
    EXPECT_GT(expectations, 100);

    // Every page is found by the words of its host.
    const auto all = find("127 0 0 1", 0);
    for (const json& page : m_expected["fate_of_special_pages"]) {
        const std::string url = page["url"];
        const std::string result = page["result"];
        EXPECT_EQ(all.contains(url), result.starts_with("indexed")) << url << ": " << result;
        if (page.contains("target")) EXPECT_TRUE(all.contains(page["target"])) << url;
        const bool isTold = outcome.err.find(url + " ") != std::string::npos;
        if (result.starts_with("failed") || result.starts_with("refused"))
            EXPECT_TRUE(isTold) << url;
    }
}

TEST_F(SampleSiteTest, SourcesOfTheHomesAreScannedAndTheirPagesFound) {
    m_variables["SIFTWELL_ONLINE"] = "yes";
    std::set<std::string> handingOver;
    std::set<std::pair<std::string, std::string>> notTaken;  // bytes of what is no text
    std::map<std::string, std::string> indexers;             // by the paths of the sources
    for (const json& item : m_expected["items"]) {
        if (!isSourceOfItsOwn(item)) continue;
        const std::string indexer = item["indexer"];
        const std::string id = item["id"];
        if (indexer != "OmniWebHistory") handingOver.insert(id);
        for (const json& entry : item.value("entries", json::array())) {
            if (!entry.value("read_on", true)) notTaken.emplace(id, entry["url"]);
        }
        if (id.starts_with("file: ")) continue;  // of a folder that is a source itself
        const std::string path =
            std::filesystem::canonical(m_samples->home(item["archive"], m_home.file("homes")) +
                                       "/" + item["path"].get<std::string>());
        indexers[path] = indexer;
        ASSERT_EQ(siftwell({"add", "--no-scan", "--indexer", indexer, path}).status, 0);
    }
    const Outcome scan = siftwell({"scan"});
    EXPECT_EQ(scan.status, 3) << "some pages of the site must fail\n" << scan.err;
    EXPECT_EQ(scan.err.find("Indexing of"), scan.err.find("Indexing of History.plist failed"));

    std::size_t sources = 0;
    for (const json& source : linesOf(siftwell({"sources", "--json"}))) {
        const auto indexer = indexers.find(source["path"]);
        if (indexer == indexers.end()) continue;
        ++sources;
        const bool isRefused = indexer->second == "OmniWebHistory";
        EXPECT_EQ(source["result"], isRefused ? "unexpectedError" : "success") << source;
        EXPECT_EQ(source["index"], !isRefused && indexer->second != "LocalFiles") << source;
    }
    EXPECT_EQ(sources, indexers.size());

    int expectations = 0;
    for (const json& query : m_expected["queries"]) {
        const json ids = query.value("handed_over_by", json::array());
        const auto urls = find(query["words"], query["type"]);
        for (const std::string url : query["find"]) {
            if (std::none_of(ids.begin(), ids.end(), [&](const std::string id) {
                    return handingOver.contains(id) && !notTaken.contains({id, url});
                })) {
                continue;
            }
            EXPECT_TRUE(urls.contains(url)) << query["words"] << " did not find " << url;
            ++expectations;
        }
    }
    EXPECT_GT(expectations, 35);

    // Nothing is fetched or read twice.
    const Outcome again = siftwell({"scan"});
    EXPECT_THAT(again.err, HasSubstr("0 pages added"));
}

}  // namespace
}  // namespace siftwell
