#include "text/Segmentation.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/utext.h>

#include <memory>

namespace siftwell {

namespace {

struct TextDeleter {
    void operator()(UText* text) const { utext_close(text); }
};

// Null when ICU's data is not installed; the text then stays one word.
std::unique_ptr<icu::BreakIterator> makeIterator() {
    UErrorCode error = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> made(
        icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), error));
    if (U_FAILURE(error) != 0) made.reset();
    return made;
}

}  // namespace

std::vector<std::size_t> wordEnds(std::string_view text) {
    thread_local const std::unique_ptr<icu::BreakIterator> iterator = makeIterator();
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UText, TextDeleter> source(
        utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &error));
    if (iterator != nullptr) iterator->setText(source.get(), error);
    if (iterator == nullptr || U_FAILURE(error) != 0) return {text.size()};

    std::vector<std::size_t> ends;
    iterator->first();
    for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE; end = iterator->next()) {
        ends.push_back(static_cast<std::size_t>(end));
    }
    return ends;
}

}  // namespace siftwell
