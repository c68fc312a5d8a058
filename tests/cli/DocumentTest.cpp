#include "cli/ProgramFixture.h"
#include "retrieval/SampleDocuments.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class DocumentTest : public ProgramFixture {
protected:
    DocumentTest() {
        m_home.write("docs/pie.pdf", pdfShowing("Rhubarb pie"));
        m_home.write("docs/tart.rtf", "{\\rtf1\\ansi Rhubarb tart, \\u1088?\\u1077?\\par}");
        m_home.write("docs/jam.doc", docShowing("Rhubarb jam\r"));
        m_home.write("docs/broken.pdf", "%PDF-1.4 rhubarb, and no more");
    }

    std::vector<std::string> found(const std::string& words) {
        std::vector<std::string> names;
        for (const auto& line : ProgramFixture::found({words})) {
            names.push_back(std::filesystem::path(line["url"].get<std::string>()).filename());
        }
        return names;
    }
};

TEST_F(DocumentTest, DocumentsAreFoundByTheirWordsWhenContentExtractorsAreUsed) {
    add({"docs"});
    EXPECT_THAT(found("rhubarb"), IsEmpty());
    ASSERT_TRUE(setSetting("UseContentExtractors", true));
    const Outcome outcome = add({"docs"});
    EXPECT_THAT(found("rhubarb"), UnorderedElementsAre("pie.pdf", "tart.rtf", "jam.doc"))
        << outcome.err;
    EXPECT_THAT(found("\u0440\u0435"), UnorderedElementsAre("tart.rtf"));
    EXPECT_THAT(outcome.err, HasSubstr("broken.pdf"));
}

}  // namespace
}  // namespace siftwell
