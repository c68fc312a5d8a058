#include "index/IndexDump.h"

#include <sys/stat.h>

#include "base/FilePieces.h"
#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class IndexDumpTest : public IndexFixture {
protected:
    IndexDumpTest() {
        watch("SiftwellIndexRebuildProgressNotification", [this](const PropertyList& percent) {
            m_progress.push_back(percent.isNull() ? -1 : *percent.asReal());
        });
    }
    std::string dump(bool showTerms = false) {
        const Status status = store().dumpIndices(m_folder.file("dump.html"), showTerms);
        EXPECT_TRUE(status.isOk()) << status.message();
        m_loop.drain();
        return m_folder.read("dump.html");
    }

    std::vector<double> m_progress;
};

TEST_F(IndexDumpTest, EveryDocumentHasABlockAndWhatIsDamagedIsNamed) {
    EXPECT_EQ(dump(), "");
    EXPECT_THAT(m_progress, ElementsAre(-1));
    m_progress.clear();
    add("http://h/a?b&c", "two words two", "Pages", 86399.9);
    add("http://h/mute", ". .", "Pages");
    const SKIndex pages = put("http://h/lost", "Pages");
    pages->properties->removeSKDocument(pages->index->documentWith(key("http://h/lost"))->value());
    add("https://h/", "more", "A \"b\"", -978307200.5);
    const std::string errors =
        "<DL><P><DT><H3>ERROR</H3>http://h/mute</DT><BR>\n"
        "<DD>Document has properties but no terms</DD></DL>\n"
        "<DL><P><DT><B>ERROR</B>http://h/lost</DT><BR>\n"
        "<DD>Document has terms but no properties</DD></DL>\n";
    const auto block = [](const std::string& url, const std::string& seconds, double date,
                          const std::string& source, const std::string& terms) {
        return "<DL><P><DT><B><a HREF=\"" + url + "\" LAST_VISIT=\"" + seconds + "\" SOURCE=\"" +
               source + "\" INDEXER=\"Tester\">" + url + "</A></B></DT>\n<DD><B>Date:</B> " +
               Date::fromReference(date).formattedLocally("%Y-%m-%d %H:%M") +
               "<BR>\n<B>Source:</B> " + source + "<BR>\n" + terms + "</DD></DL>\n\n";
    };
    const std::string source = "A &#34;b&#34;";
    EXPECT_EQ(dump(), block("http://h/a?b&c", "978393599", 86399.9, "Pages", "") + errors +
                          block("https://h/", "0", -978307200.5, source, ""));
    EXPECT_THAT(m_progress,
                ElementsAre(testing::DoubleNear(33, 1), testing::DoubleNear(67, 1), 100, -1));
    EXPECT_EQ(dump(true),
              block("http://h/a?b&c", "978393599", 86399.9, "Pages", "<B>Terms:</B>\n two words") +
                  errors + block("https://h/", "0", -978307200.5, source, "<B>Terms:</B>\n more"));
    EXPECT_EQ(store().termsForSKDocument(key("http://h/a?b&c"), pages), " two words");
    struct stat info {};
    ASSERT_EQ(stat(m_folder.file("dump.html").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);
}

TEST_F(IndexDumpTest, NothingIsWrittenWhereItCannotBeOrWhenTheProgramEnds) {
    for (int i = 0; i < 300; ++i) add("http://h/" + std::to_string(i), "word");
    EXPECT_FALSE(store().dumpIndices(m_folder.file("none/dump.html"), false).isOk());
    dump();
    EXPECT_THAT(m_progress, SizeIs(testing::Lt(105U)));
    m_folder.write("dump.html", "old");
    store().closeIndex();
    EXPECT_EQ(store().dumpIndices(m_folder.file("dump.html"), false).code(), StatusCode::Busy);
    EXPECT_EQ(m_folder.read("dump.html"), "old");
}

TEST_F(IndexDumpTest, PagesAreTakenOutOfADumpWhateverTheirAddressesHold) {
    const std::string odd = "http://h/?SOURCE=\"<a>&#61;";
    for (const std::string& page : {odd, odd + "b", std::string("http://h/a")}) add(page, "word");
    dump();
    const std::string path = m_folder.file("dump.html");
    const std::string whole = m_folder.read("dump.html");
    EXPECT_TRUE(removeFromDump(path, {"http://h/", "http://h/b"}).isOk());
    EXPECT_EQ(m_folder.read("dump.html"), whole);
    EXPECT_TRUE(removeFromDump(path, {odd, "http://h/a"}).isOk());
    const std::string left = m_folder.read("dump.html");
    const std::string url = "http://h/?SOURCE&#61;&#34;&#60;a&#62;&#38;#61;b";
    EXPECT_THAT(left, StartsWith("<DL><P><DT><B><a HREF=\"" + url + "\" "));
    EXPECT_EQ(left.find("<DL>", 1), std::string::npos);
}

TEST_F(IndexDumpTest, LargeFilesAreReadInPiecesThatEndBehindABlock) {
    const std::string path =
        m_folder.write("pieces", "one;two;three;" + std::string(20, 'x') + ";y");
    FilePieces pieces(path, ";", 9);
    std::vector<std::string> read;
    while (const auto piece = pieces.next()) read.emplace_back(*piece);
    EXPECT_THAT(
        read, ElementsAre("one;two;", "three;", std::string(9, 'x'), std::string(9, 'x'), "xx;y"));
    EXPECT_TRUE(pieces.status().isOk());
    FilePieces missing(m_folder.file("missing"), ";", 9);
    EXPECT_FALSE(missing.next());
    EXPECT_FALSE(missing.status().isOk());
}

}  // namespace
}  // namespace siftwell
