#include "index/Erasure.h"

#include <random>

#include "fulltext/DocumentRecord.h"
#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ErasureTest : public IndexFixture {
protected:
    std::size_t erase(const std::vector<std::string>& addresses) {
        std::vector<Url> urls;
        for (const std::string& address : addresses) urls.push_back(url(address));
        const std::size_t count = store().eraseURLs(urls).size();
        m_loop.drain();
        return count;
    }
    // Files of the index folder, by their names, in which one of the texts stands.
    std::vector<std::string> filesWith(const std::vector<std::string>& texts) {
        std::vector<std::string> names;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(m_folder.file("data/Siftwell"))) {
            const std::string bytes = readFile(entry.path(), 1 << 28).value();
            for (const std::string& text : texts) {
                if (bytes.find(text) == std::string::npos) continue;
                names.push_back(entry.path().filename());
                break;
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    void write(const std::string& name, const std::string& bytes) {
        m_folder.write("data/Siftwell/" + name, bytes);
    }
};

const std::string kPage = "http://h/gone";
const std::string kText = "zebra xylophone";
const std::vector<std::string> kTraces = {"h/gone", "zebra", "xylophone", "Titular", "hidden.path"};

TEST_F(ErasureTest, NoByteOfAPageIsLeftWhereverItWas) {
    // Once more than once in the same index, once in one that it has left, and marked in a third.
    const auto addPage = [this](const std::string& source, double seconds) {
        AddRequest page = request(kPage, kText, source, seconds, "Titular");
        page.cachePath = "/hidden.path";
        store().addDataToIndex(std::move(page));
        store().flush();
    };
    addPage("Former", 1000);
    addPage("Pages", 2000);
    addPage("Pages", 3000);
    for (int i = 0; i < 50; ++i) add("http://h/" + std::to_string(i), "others stay", "Pages");
    add("http://h/other", "others stay", "Former");
    put(kPage, "Double");
    store().removeSKDocument(key(kPage), put(kPage, "Marked"), std::nullopt, false);
    ASSERT_THAT(filesWith({"Titular"}), testing::Not(IsEmpty()));
    // What repairs, killed programs and a rebuild have left.
    const std::string record = fulltext::bytesOfKey(key(kPage));
    for (const char* name : {"Pages.http.damaged2", "Pages.http.data.damaged",
                             "Pages.http.data.damaged-wal", "Double.http.compacting"}) {
        write(name, "zebra");
    }
    write("Gone.http.damaged", "?" + record);
    write("Kept.http.damaged", fulltext::bytesOfKey(key("http://h/gone2")));
    write(".half.html.new", kPage);
    ASSERT_TRUE(store().dumpIndices(indexFile("rebuild.html"), false).isOk());
    m_told.clear();

    EXPECT_EQ(erase({kPage, "http://h/never"}), 1U);
    EXPECT_THAT(filesWith(kTraces), ElementsAre("Kept.http.damaged"));
    EXPECT_THAT(m_told, ElementsAre("-" + kPage, "-" + kPage));
    EXPECT_NE(m_folder.read("data/Siftwell/rebuild.html").find(">http://h/49<"), std::string::npos);
    EXPECT_EQ(find("others").size(), 51U);
    EXPECT_THAT(errors(), IsEmpty());
    restart();
    EXPECT_THAT(filesWith(kTraces), ElementsAre("Kept.http.damaged"));
    EXPECT_EQ(find("others").size(), 51U);
    EXPECT_EQ(erase({kPage}), 0U);
}

TEST_F(ErasureTest, TheLastPageOfAnIndexLeavesNothingEither) {
    add(kPage, kText, "Pages", 1000, "Titular");
    EXPECT_EQ(erase({kPage}), 1U);
    EXPECT_THAT(filesWith(kTraces), IsEmpty());
    EXPECT_EQ(store().documentCount(), 0);
    add(kPage, "again");
    EXPECT_THAT(find("again"), ElementsAre(kPage));
    restart();
    EXPECT_THAT(find("zebra | again"), ElementsAre(kPage));
}

// A page that a database has filled and emptied may keep bytes of what stood there.
TEST_F(ErasureTest, RecordsThatWereMovedWithinTheirFileLeaveNothing) {
    std::minstd_rand random(7);
    constexpr int kPages = 2500;
    const auto address = [](int i) { return "http://h/" + std::to_string(100000 + i) + "/"; };
    for (int i = 0; i < kPages; ++i) {
        AddRequest page = request(address(i), "word");
        page.cachePath = std::string(20U << random() % 10, 'p');
        store().addDataToIndex(std::move(page));
    }
    std::vector<std::string> gone;
    for (int i = 0; i < kPages; ++i) {
        if (random() % 3 != 0) gone.push_back(address(i));
    }
    std::shuffle(gone.begin(), gone.end(), random);
    for (std::size_t i = 0; i + 1 < gone.size(); i += 50) {
        for (std::size_t j = i; j < std::min(i + 50, gone.size() - 1); ++j) {
            store().removeURLFromIndex({url(gone[j])});
        }
        store().flush();
        EXPECT_TRUE(store().compactIndex());
    }
    erase(gone);
    EXPECT_THAT(filesWith(gone), IsEmpty());
    EXPECT_EQ(find("word").size(), kPages - gone.size());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ErasureTest, AFileThatCannotBeWrittenIsNamed) {
    store();
    write("Foreign.http", "?" + fulltext::bytesOfKey(key(kPage)));
    EXPECT_EQ(erase({kPage}), 0U);
    ASSERT_THAT(errors(), testing::SizeIs(1));
    EXPECT_THAT(errors().front(), testing::HasSubstr("Foreign.http"));
}

}  // namespace
}  // namespace siftwell
