// Matchers: the documents of one segment that match a part of a query, in rising order, with
// scores.
//
// Threads: one matcher, one thread. Matchers borrow the segment's bytes and whatever they are made
// of. Errors: damage ends the walk; isDamaged() tells.
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "fulltext/Bm25.h"
#include "fulltext/PostingIterator.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

inline constexpr DocumentID kLastPossible = kNoDocument - 1;

// Documents up to `last` score at most `bound`.
struct ScoreWindow {
    DocumentID last = 0;
    float bound = 0;
};

// Bounds are compared with scores that were computed in another order.
inline constexpr float kBoundSlack = 1.00001F;
constexpr bool cannotBeat(float bound, float threshold) { return bound * kBoundSlack <= threshold; }

class Matcher {
public:
    virtual ~Matcher() = default;

    virtual DocumentID document() const = 0;        // kNoDocument at the end
    virtual void advanceTo(DocumentID target) = 0;  // first match >= target
    virtual void next() { advanceTo(document() + 1); }
    virtual float score() = 0;  // of document()

    // Bounds the scores of the documents from `target` on. Targets rise from call to call.
    virtual ScoreWindow windowFrom(DocumentID target) = 0;

    // About how many documents there are.
    virtual std::uint64_t cost() const = 0;

    // From now on, documents that score at most so much may be passed over.
    virtual void setThreshold(float) {}

    virtual bool isDamaged() const = 0;
};

using Matchers = std::vector<std::unique_ptr<Matcher>>;

// One term.
class TermMatcher final : public Matcher {
public:
    TermMatcher(const PostingList& list, float weight, const Bm25& bm25)
        : m_list(list), m_postings(list), m_weight(weight), m_bm25(bm25) {}

    DocumentID document() const override { return m_postings.document(); }
    void advanceTo(DocumentID target) override;
    float score() override {
        return m_weight *
               m_bm25.frequencyPart(m_postings.frequency(), m_list.lengthOf(m_postings.document()));
    }
    ScoreWindow windowFrom(DocumentID target) override;
    std::uint64_t cost() const override { return m_list.documents; }
    void setThreshold(float threshold) override { m_threshold = threshold; }
    bool isDamaged() const override { return m_postings.isDamaged(); }

private:
    PostingList m_list;
    PostingIterator m_postings;
    float m_weight;
    Bm25 m_bm25;
    float m_threshold = 0;
};

// Every child, and none of the excluded.
class AllMatcher final : public Matcher {
public:
    AllMatcher(Matchers children, Matchers excluded);

    DocumentID document() const override { return m_document; }
    void advanceTo(DocumentID target) override;
    float score() override;
    ScoreWindow windowFrom(DocumentID target) override;
    std::uint64_t cost() const override { return m_byRarity.front()->cost(); }
    void setThreshold(float threshold) override { m_threshold = threshold; }
    bool isDamaged() const override;

private:
    bool findFrom(DocumentID target);
    bool isExcluded(DocumentID document);

    Matchers m_children;
    std::vector<Matcher*> m_byRarity;
    Matchers m_excluded;
    DocumentID m_document = kNoDocument;
    DocumentID m_windowLast = 0;  // documents up to here may beat the threshold
    float m_threshold = 0;
};

// At least one child.
class AnyMatcher final : public Matcher {
public:
    explicit AnyMatcher(Matchers children);

    DocumentID document() const override { return m_document; }
    void advanceTo(DocumentID target) override;
    float score() override;
    ScoreWindow windowFrom(DocumentID target) override;
    std::uint64_t cost() const override;
    void setThreshold(float threshold) override { m_threshold = threshold; }
    bool isDamaged() const override;

private:
    struct Child {
        std::unique_ptr<Matcher> matcher;
        float bound = 0;  // in the current window
    };

    void advanceAll(DocumentID target);
    bool advanceInWindow(DocumentID target);
    void openWindow(DocumentID target);
    void divideChildren();
    DocumentID firstOfEssential(DocumentID target);
    bool canBeat(DocumentID document);

    std::vector<Child> m_children;
    std::vector<Child*> m_byBound;  // lowest first
    std::size_t m_essential = 0;    // children from here on must have a document for it to count
    float m_otherBound = 0;         // of the children before
    DocumentID m_document = kNoDocument;
    DocumentID m_windowLast = 0;
    float m_threshold = 0;
};

}  // namespace siftwell::fulltext
