#include <fstream>

#include "cli/ProgramFixture.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/RecordScan.h"

namespace siftwell {
namespace {

using fulltext::RecordKind;
using fulltext::RecordPlace;
using testing::AllOf;
using testing::HasSubstr;
using testing::SizeIs;

class RepairTest : public ProgramFixture {
protected:
    RepairTest() {
        for (const char* name : {"a", "b", "c", "d"}) {
            page(std::string("notes/") + name + ".html", name, "apple pie " + std::string(name));
        }
        page("other/e.html", "e", "apple");
        EXPECT_EQ(add({"notes", "other"}).status, 0);
        EXPECT_EQ(siftwell({"remove", m_home.file("notes/d.html")}).status, 0);
    }

    std::string bytesOf(const std::string& name) { return m_home.read("data/Siftwell/" + name); }
    void put(const std::string& name, const std::string& bytes) {
        m_home.write("data/Siftwell/" + name, bytes);
    }

    // Turns a bit of the text of a page.
    void damagePage(const std::string& name) {
        std::string bytes = bytesOf("notes.file");
        const auto look = [&](RecordKind kind, RecordPlace place) {
            const std::string_view record(&bytes[place.offset], place.size);
            if (kind != RecordKind::Document || record.find(name) == std::string_view::npos) return;
            bytes[place.end() - 1] = static_cast<char>(bytes[place.end() - 1] ^ 1);
        };
        const std::string whole = bytes;
        fulltext::scanRecords(
            whole, {.whole = look, .damaged = [](RecordKind, std::uint64_t) {}, .pace = {}});
        put("notes.file", bytes);
    }

    nlohmann::json lineOf(const Arguments& arguments, int status) {
        const Outcome outcome = siftwell(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        for (const auto& line : linesOf(outcome)) {
            if (line["index"] == "notes.file") return line;
        }
        ADD_FAILURE() << outcome.out;
        return {};
    }
};

TEST_F(RepairTest, ADamagedPageIsNamedAndAllOthersAreBroughtBack) {
    const std::string address = "file://" + m_home.file("notes/b.html");
    damagePage("b.html");
    const auto found = lineOf({"check", "--json"}, 4);
    ASSERT_THAT(found["damage"], SizeIs(1));
    EXPECT_EQ(found["damage"][0]["part"], "document");
    EXPECT_EQ(found["damage"][0]["url"], address);
    EXPECT_EQ(found["moreDamage"], 0);
    EXPECT_THAT(siftwell({"check"}).out,
                AllOf(HasSubstr(address), HasSubstr("other.file: 1 page")));

    const std::string damaged = bytesOf("notes.file");
    const std::string other = bytesOf("other.file");
    const auto repaired = lineOf({"check", "--repair", "--json"}, 3);
    EXPECT_EQ(repaired["documents"], 2);
    EXPECT_EQ(repaired["repair"]["lost"], 1);
    EXPECT_EQ(repaired["repair"]["uncertain"], 0);
    EXPECT_EQ(repaired["repair"]["keptAs"], indexFile("notes.file.damaged"));
    EXPECT_EQ(bytesOf("notes.file.damaged"), damaged);
    EXPECT_EQ(bytesOf("other.file"), other);
    expectInOrder();
    EXPECT_THAT(titles({"apple"}), testing::UnorderedElementsAre("a", "c", "e"));

    // The lost page has no record any more, so that it is indexed again.
    EXPECT_THAT(add({"notes"}).err, HasSubstr("2 pages added"));
    EXPECT_EQ(lineOf({"check", "--repair", "--json"}, 0)["repair"], nullptr);
}

TEST_F(RepairTest, AnIndexThatCannotBeOpenedComesBackWithoutWhatWasRemoved) {
    std::string bytes = bytesOf("notes.file");
    bytes.replace(0, 4096, 4096, '?');
    const std::size_t commit = bytes.rfind("COMT");
    for (std::size_t at = commit; at != std::string::npos && at > 0;
         at = bytes.rfind("COMT", at - 1)) {
        bytes[at + 20] = static_cast<char>(bytes[at + 20] ^ 1);
    }
    put("notes.file", bytes);
    const auto found = lineOf({"check", "--json"}, 4);
    EXPECT_EQ(found["documents"], nullptr);
    EXPECT_NE(found["error"], nullptr);
    EXPECT_THAT(found["damage"], testing::Not(testing::IsEmpty()));

    const Outcome repaired = siftwell({"check", "--repair"});
    EXPECT_EQ(repaired.status, 0) << repaired.err;
    EXPECT_THAT(repaired.out, AllOf(HasSubstr("Repaired: 3 pages"),
                                    HasSubstr("kept as " + indexFile("notes.file.damaged"))));
    expectInOrder();
    EXPECT_THAT(titles({"apple"}), testing::UnorderedElementsAre("a", "b", "c", "e"));
    EXPECT_THAT(add({"notes"}).err, HasSubstr("1 page added"));
}

TEST_F(RepairTest, ADamagedSideFileIsSetAsideAndTold) {
    put("notes.file.data", std::string(5000, '?'));
    const auto repaired = lineOf({"check", "--repair", "--json"}, 3);
    EXPECT_EQ(repaired["documents"], 3);
    EXPECT_EQ(repaired["withoutRecord"], 3);
    EXPECT_EQ(repaired["repair"]["keptAs"], nullptr);
    EXPECT_THAT(repaired["repair"]["records"].get<std::string>(),
                HasSubstr("moved to " + indexFile("notes.file.data.damaged")));
    EXPECT_EQ(bytesOf("notes.file.data.damaged"), std::string(5000, '?'));
    expectInOrder();
}

TEST_F(RepairTest, ANewerFileIsLeftAsItIsAndARunningCopyInTheWayTold) {
    std::string newer = bytesOf("notes.file");
    newer[8] = 99;
    put("notes.file", newer);
    expectFailure({"check", "--repair"}, 4, "written by another version");
    EXPECT_EQ(bytesOf("notes.file"), newer);

    const int lock = open(m_home.file("state/siftwell/lock").c_str(), O_RDWR | O_CREAT, 0600);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(lock, F_OFD_SETLK, &whole), 0);
    EXPECT_EQ(siftwell({"check", "--repair"}).status, 5);
    close(lock);
}

}  // namespace
}  // namespace siftwell
