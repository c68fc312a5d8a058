// The homes of browsers that really visited the site, while the site is switched off: what their
// caches hold is found all the same.

#include <gmock/gmock.h>

#include "cli/ProgramFixture.h"
#include "samples/Samples.h"

namespace siftwell {
namespace {

using nlohmann::json;

class SampleCacheTest : public ProgramFixture {
protected:
    void SetUp() override {
        SW_SAMPLES_OR_SKIP(m_samples);
        m_expected = m_samples->json("expected.json");
        m_variables["SIFTWELL_ONLINE"] = "yes";
    }

    // The browsers' home, and an index of its own.
    void live(const std::string& archive) {
        const std::string home = m_samples->home(archive, m_home.file("homes"));
        m_variables["HOME"] = home;
        m_variables["XDG_CONFIG_HOME"] = home + "/.config";
        m_variables["XDG_CACHE_HOME"] = home + "/.cache";
        m_variables["XDG_DATA_HOME"] = home + "/.local/share";
        m_variables["XDG_STATE_HOME"] = home + "/.local/state";
    }

    static bool isText(const json& contentType) {
        if (!contentType.is_string()) return false;
        const std::string type = contentType;
        return type.starts_with("text/") || type.starts_with("application/xhtml+xml") ||
               type.starts_with("application/xml");
    }

    std::set<std::string> cachedTexts(const std::string& item) {
        std::set<std::string> urls;
        for (const json& each : m_expected["items"]) {
            if (each["id"] != item) continue;
            for (const json& entry : each["entries"]) {
                if (entry["status"] == 200 && isText(entry["content_type"])) {
                    urls.insert(entry["url"]);
                }
            }
        }
        // These are refused, from wherever they come.
        for (const json& page : m_expected["fate_of_special_pages"]) {
            const std::string result = page["result"];
            if (result.starts_with("refused") || result.starts_with("dropped")) {
                urls.erase(page["url"]);
            }
        }
        return urls;
    }

    std::optional<Samples> m_samples;
    json m_expected;
};

TEST_F(SampleCacheTest, EveryPageInACacheIsFoundByItsWordsWithoutTheSite) {
    const std::map<std::string, std::string> caches = {{"firefox-cache", "firefox.tar.xz"},
                                                       {"chromium-cache", "chromium.tar.xz"}};
    for (const auto& [item, archive] : caches) {
        SCOPED_TRACE(item);
        live(archive);
        ASSERT_EQ(siftwell({"sources", "discover", "--enable"}).status, 0);
        const Outcome scan = siftwell({"scan"});
        EXPECT_EQ(scan.status, 3) << "what is in no cache must fail\n" << scan.err;

        const auto cached = cachedTexts(item);
        EXPECT_GT(cached.size(), 50U);
        const auto all = find("127 0 0 1", 0);
        for (const std::string& url : cached) EXPECT_TRUE(all.contains(url)) << url;
        int queries = 0;
        for (const json& query : m_expected["queries"]) {
            const auto urls = find(query["words"], query["type"]);
            for (const std::string url : query["find"]) {
                if (!cached.contains(url)) continue;
                EXPECT_TRUE(urls.contains(url)) << query["words"] << " did not find " << url;
                ++queries;
            }
        }
        EXPECT_GT(queries, 20);
    }
}

}  // namespace
}  // namespace siftwell
