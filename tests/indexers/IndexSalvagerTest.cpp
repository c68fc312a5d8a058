#include "indexers/IndexSalvager.h"

#include "IndexerFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class IndexSalvagerTest : public IndexerFixture {
protected:
    // The bytes of an index of the source "A/b", which is no more.
    std::string bytesOfIndex(const std::vector<std::string>& addresses,
                             const std::vector<std::string>& removed = {}) {
        for (const std::string& address : addresses) add(address, "some words", "A/b");
        for (const std::string& address : removed) store().removeURLFromIndex({url(address)});
        store().closeIndex();
        std::string bytes = m_folder.read("data/Siftwell/A%2Fb.http");
        m_store.reset();
        std::filesystem::remove_all(m_folder.file("data"));
        return bytes;
    }
    // What a scan of such a file asks the web for.
    std::vector<std::string> salvaged(const std::string& name, const std::string& bytes) {
        store().expireOlderThan(Date::distantFuture(), std::nullopt);
        m_item.Name = name;
        m_item.Path = file(name, bytes, m_changed += 10);
        EXPECT_EQ(scan("IndexSalvager"), scanResult::kSuccess);
        return begun();
    }

    double m_changed = 1000;
};

TEST_F(IndexSalvagerTest, AddressesAreFoundWhateverIsDamagedAroundThem) {
    const std::string longPath = "http://h/" + std::string(400, 'x') + "/" + std::string(100, 'y');
    const std::string shortened = "http:" + skDocumentForURL(url(longPath), m_notifier)->name;
    const std::vector<std::string> pages = {"http://h/1?a=b&c", "http://h/2#;", shortened};
    for (const std::string& page : pages) m_site.text(page, html("", "found"));
    std::string bytes =
        bytesOfIndex({pages[0], "http://h/removed", pages[1], longPath}, {"http://h/removed"});
    EXPECT_THAT(salvaged("A%2Fb.http", bytes), ElementsAreArray(pages));
    EXPECT_EQ(filed(pages[0]),
              std::to_string(std::lround(seconds(m_clock.now()))) + " A/b IndexSalvager");
    EXPECT_THAT(begun(), ElementsAreArray(pages));
    EXPECT_EQ(scan("IndexSalvager"), scanResult::kSuccess);  // not changed since
    EXPECT_THAT(begun(), IsEmpty());

    // The header and the front of every record, so that nothing tells of what was removed.
    std::string damaged = bytes;
    damaged.replace(0, 4096, 4096, '?');
    for (auto at = damaged.find("DOCR"); at != std::string::npos; at = damaged.find("DOCR")) {
        damaged.replace(at, 16, 16, '?');
    }
    EXPECT_THAT(salvaged("A%2Fb.http.damaged2", damaged),
                UnorderedElementsAre(pages[0], "http://h/removed", pages[1], pages[2]));
    const std::size_t cut = bytes.find("//h/2") + 3;  // within the name
    EXPECT_THAT(salvaged("A%2Fb.http", bytes.substr(0, cut)), testing::Contains(pages[0]));
    EXPECT_THAT(salvaged("A%2Fb.http", "junk" + bytes.substr(cut)), ElementsAre(shortened));
    for (const char* other : {"A%2Fb.https", "nothing"}) {
        EXPECT_THAT(salvaged(other, bytes), IsEmpty());
    }
    EXPECT_THAT(salvaged("A%2Fb.http", ""), IsEmpty());
}

}  // namespace
}  // namespace siftwell
