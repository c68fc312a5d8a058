#include "fulltext/Postings.h"

#include <gmock/gmock.h>

#include <deque>
#include <random>

#include "Oracle.h"
#include "fulltext/BitPacking.h"
#include "fulltext/Bytes.h"
#include "fulltext/PostingIterator.h"
#include "fulltext/ShortListJoiner.h"

namespace siftwell::fulltext {
namespace {

struct Posting {
    DocumentID document;
    std::vector<std::uint32_t> positions;
};

constexpr DocumentID kFirst = 1000;
constexpr DocumentID kSpan = 200000;

// As the format says it, a number at a time.
std::uint64_t unpackedSlowly(const std::string& bytes, unsigned width,
                             std::vector<std::uint32_t>& numbers) {
    std::uint64_t number = numbers.front();
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        const std::size_t bit = (i - 1) * width;
        const auto word = loadNumber<std::uint64_t>(bytes.data() + bit / 8) >> (bit % 8);
        number += (word & ((std::uint64_t{1} << width) - 1)) + 1;
        numbers[i] = static_cast<std::uint32_t>(number);
    }
    return number;
}

TEST(BitPackingTest, DistancesOfEveryWidthAndNumberAreUnpackedAlike) {
    std::mt19937_64 random(7);
    for (int round = 0; round < 20'000; ++round) {
        const auto width = static_cast<unsigned>(random() % 32);
        std::vector<std::uint32_t> numbers(1 + random() % 128,
                                           static_cast<std::uint32_t>(random()));
        std::vector<std::uint32_t> expected = numbers;
        std::string bytes(packedBytes(numbers.size() - 1, width) + kReadSlack, '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        ASSERT_EQ(unpackRising(bytes.data(), width, numbers),
                  unpackedSlowly(bytes, width, expected));
        ASSERT_EQ(numbers, expected) << "width " << width;
    }
}

class PostingsTest : public testing::Test {
protected:
    PostingsTest() {
        for (DocumentID i = 0; i < kSpan; ++i) appendNumber(m_lengths, lengthOf(kFirst + i));
    }

    static std::uint32_t lengthOf(DocumentID document) { return 5 + document % 97; }

    static std::string encoded(const std::vector<std::uint32_t>& positions) {
        std::string bytes;
        std::uint32_t before = 0;
        for (const std::uint32_t position : positions) {
            appendVarint(bytes, position - before);
            before = position;
        }
        return bytes;
    }

    static void add(PostingListWriter& writer, const Posting& posting) {
        std::string bytes = encoded(posting.positions);
        const std::size_t size = bytes.size();
        bytes.append(kReadSlack, '\0');
        writer.add(posting.document, static_cast<std::uint32_t>(posting.positions.size()),
                   lengthOf(posting.document), std::string_view(bytes).substr(0, size));
    }

    std::vector<Posting> randomPostings(int count) {
        std::vector<Posting> postings;
        DocumentID document = kFirst - 1;
        for (int i = 0; i < count; ++i) {
            document +=
                static_cast<DocumentID>(pick(m_random, 3) == 0 ? pick(m_random, 60) + 1 : 1);
            Posting posting{document, {}};
            std::uint32_t position = static_cast<std::uint32_t>(pick(m_random, 300));
            for (int n = pick(m_random, 4) + 1; n > 0; --n) {
                posting.positions.push_back(position);
                position += static_cast<std::uint32_t>(pick(m_random, 300)) + 1;
            }
            postings.push_back(std::move(posting));
        }
        return postings;
    }

    PostingList listOf(const std::vector<Posting>& postings) {
        PostingListWriter writer;
        writer.begin(kFirst);
        for (const Posting& posting : postings) add(writer, posting);
        return finished(writer);
    }

    PostingList finished(PostingListWriter& writer) {
        std::string& bytes = m_lists.emplace_back(writer.finish());
        const std::size_t size = bytes.size();
        bytes.append(kReadSlack, '\0');
        return {.bytes = std::string_view(bytes).substr(0, size),
                .documents = writer.documents(),
                .firstOfSegment = kFirst,
                .lastOfSegment = kFirst + kSpan - 1,
                .lengths = m_lengths};
    }

    void expectSame(const PostingList& list, const std::vector<Posting>& postings) {
        PostingIterator iterator(list);
        std::vector<std::uint32_t> positions;
        for (std::size_t i = 0; i < postings.size(); ++i) {
            ASSERT_EQ(iterator.document(), postings[i].document);
            ASSERT_EQ(iterator.frequency(), postings[i].positions.size());
            if (i % 3 != 1) {  // positions may be left unread
                iterator.readPositions(positions);
                ASSERT_EQ(positions, postings[i].positions);
            }
            iterator.next();
        }
        EXPECT_EQ(iterator.document(), kNoDocument);
        EXPECT_FALSE(iterator.isDamaged());
        expectSameBlocksFromBehind(list, postings);
    }

    static void expectSameBlocksFromBehind(const PostingList& list,
                                           const std::vector<Posting>& postings) {
        PostingIterator iterator(list);
        auto next = postings.rbegin();
        for (std::uint32_t block = iterator.blockCount(); block > 0; --block) {
            iterator.goToBlock(block - 1);
            std::vector<DocumentID> some{iterator.document()};
            while (iterator.nextInBlock()) some.push_back(iterator.document());
            for (auto each = some.rbegin(); each != some.rend(); ++each, ++next) {
                ASSERT_NE(next, postings.rend());
                ASSERT_EQ(*each, next->document);
            }
        }
        EXPECT_EQ(next, postings.rend());
    }

    Random m_random{7};
    std::string m_lengths;
    std::deque<std::string> m_lists;
};

TEST_F(PostingsTest, ListsOfEveryLengthComeBackAsTheyWereInAnyOrder) {
    for (const int count : {1, 2, 127, 128, 129, 255, 256, 1000}) {
        const auto postings = randomPostings(count);
        expectSame(listOf(postings), postings);
    }
}

TEST_F(PostingsTest, AdvancingFindsTheFirstDocumentAtOrBehindTheTarget) {
    for (const int count : {50, 700}) {
        const auto postings = randomPostings(count);
        const PostingList list = listOf(postings);
        for (int round = 0; round < 50; ++round) {
            PostingIterator iterator(list);
            DocumentID target = kFirst;
            std::vector<std::uint32_t> positions;
            while (iterator.document() != kNoDocument) {
                target += static_cast<DocumentID>(pick(m_random, 2000));
                iterator.advanceTo(target);
                const auto expected =
                    std::find_if(postings.begin(), postings.end(),
                                 [&](const Posting& p) { return p.document >= target; });
                if (expected == postings.end()) {
                    ASSERT_EQ(iterator.document(), kNoDocument);
                    continue;
                }
                ASSERT_EQ(iterator.document(), expected->document);
                iterator.readPositions(positions);
                ASSERT_EQ(positions, expected->positions);
                target = iterator.document();
            }
        }
    }
}

TEST_F(PostingsTest, NoDocumentOfABlockScoresAboveItsBound) {
    const Bm25 bm25(kSpan, kSpan * 50);
    const auto postings = randomPostings(3000);
    const PostingList list = listOf(postings);
    PostingIterator blocks(list);
    for (const Posting& posting : postings) {
        ASSERT_GE(blocks.lastOfBlockWith(posting.document), posting.document);
        const auto frequency = static_cast<std::uint32_t>(posting.positions.size());
        ASSERT_GE(blocks.frequencyPartOfBlock(bm25),
                  bm25.frequencyPart(frequency, lengthOf(posting.document)));
    }
}

TEST_F(PostingsTest, JoinedShortListsReadLikeOne) {
    const auto postings = randomPostings(120);
    ShortListJoiner joiner;
    joiner.begin(kFirst);
    for (const auto& [begin, end] : {std::pair(0, 1), std::pair(1, 50), std::pair(50, 120)}) {
        ASSERT_TRUE(joiner.add(listOf({postings.begin() + begin, postings.begin() + end})));
    }
    PostingList joined = listOf(postings);
    ASSERT_EQ(joiner.finish(), joined.bytes);
    ASSERT_EQ(joiner.documents(), joined.documents);
    // Lists that overlap are no lists of one index.
    EXPECT_FALSE(joiner.add(listOf({postings.begin(), postings.begin() + 2})));
}

TEST_F(PostingsTest, CopiedBlocksReadLikeWrittenOnes) {
    const auto postings = randomPostings(1200);
    const std::vector<Posting> front(postings.begin(), postings.begin() + 500);
    const std::vector<Posting> back(postings.begin() + 500, postings.end());
    PostingListWriter writer;
    writer.begin(kFirst);
    for (const PostingList& part : {listOf(front), listOf(back)}) {
        PostingIterator iterator(part);
        while (iterator.document() != kNoDocument) {
            if (const auto block = iterator.fullBlockFromHere()) {
                writer.addBlock(*block);
                iterator.skipBlock();
                continue;
            }
            writer.add(iterator.document(), iterator.frequency(), lengthOf(iterator.document()),
                       iterator.rawPositions());
            iterator.next();
        }
    }
    expectSame(finished(writer), postings);
}

TEST_F(PostingsTest, ChangedBytesEndTheWalkInsteadOfTheProgram) {
    const PostingList list = listOf(randomPostings(400));
    for (std::size_t at = 0; at < list.bytes.size(); ++at) {
        std::string changed(list.bytes);
        changed[at] = static_cast<char>(changed[at] ^ (1 << pick(m_random, 8)));
        changed.append(kReadSlack, '\0');
        PostingList damaged = list;
        damaged.bytes = std::string_view(changed).substr(0, list.bytes.size());
        PostingIterator iterator(damaged);
        std::vector<std::uint32_t> positions;
        DocumentID before = 0;
        for (int steps = 0; iterator.document() != kNoDocument; ++steps) {
            ASSERT_LT(steps, 1000);
            ASSERT_GT(iterator.document(), before);
            ASSERT_LT(iterator.document(), kFirst + kSpan);
            before = iterator.document();
            iterator.readPositions(positions);
            if (iterator.document() != kNoDocument) iterator.next();
        }
    }
}

}  // namespace
}  // namespace siftwell::fulltext
