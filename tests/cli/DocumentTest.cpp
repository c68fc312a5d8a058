#include "cli/ProgramFixture.h"
#include "retrieval/SampleDocuments.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class DocumentTest : public ProgramFixture {
protected:
    DocumentTest() {
        m_home.write("docs/pie.pdf", pdfShowing("Rhubarb pie"));
        m_home.write("docs/tart.rtf", "{\\rtf1\\ansi Rhubarb tart, \\u1088?\\u1077?\\par}");
        m_home.write("docs/jam.doc", docShowing("Rhubarb jam\r"));
        m_home.write("docs/broken.pdf", "%PDF-1.4 rhubarb, and no more");
    }

    void useContentExtractors() { ASSERT_TRUE(setSetting("UseContentExtractors", true)); }

    std::vector<std::string> found(const std::string& words) {
        std::vector<std::string> names;
        for (const auto& line : ProgramFixture::found({words})) {
            names.push_back(std::filesystem::path(line["url"].get<std::string>()).filename());
        }
        return names;
    }
};

TEST_F(DocumentTest, DocumentsAreFoundByTheirWordsWhenContentExtractorsAreUsed) {
    useContentExtractors();
    const Outcome outcome = add({"docs"});
    EXPECT_THAT(found("rhubarb"), UnorderedElementsAre("pie.pdf", "tart.rtf", "jam.doc"))
        << outcome.err;
    EXPECT_THAT(found("\u0440\u0435"), UnorderedElementsAre("tart.rtf"));
    EXPECT_THAT(outcome.err, HasSubstr("broken.pdf"));
}

TEST_F(DocumentTest, DocumentsAreLeftAloneOtherwise) {
    add({"docs"});
    EXPECT_THAT(found("rhubarb"), IsEmpty());
}

TEST_F(DocumentTest, AMissingReaderIsNamedOnceAndTheRestIsAdded) {
    useContentExtractors();
    page("docs/page.html", "Page", "rhubarb");
    m_home.write("docs/second.pdf", pdfShowing("Rhubarb"));
    m_variables["PATH"] = m_home.path();
    const std::string err = add({"docs"}).err;
    EXPECT_THAT(err, HasSubstr("poppler-utils"));
    EXPECT_EQ(err.find("poppler-utils"), err.rfind("poppler-utils"));
    EXPECT_THAT(found("rhubarb"), UnorderedElementsAre("page.html"));
}

}  // namespace
}  // namespace siftwell
