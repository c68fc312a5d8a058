// Any page through everything that is done with a page's text. Beside what the sanitizers see: text
// stays valid UTF-8 and grows no longer, both letterings have the same words, and the fast passes
// do what the slow ones of the tests do.

#include <string>
#include <string_view>

#include "Require.h"
#include "text/Alphanumeric.h"
#include "text/Ascii.h"
#include "text/HTMLProcessor.h"
#include "text/HtmlQueries.h"
#include "text/HtmlRewrites.h"
#include "text/PageText.h"
#include "text/SlowPasses.h"
#include "text/Utf8.h"

namespace {

using namespace siftwell;
using fuzz::require;

void askEverything(std::string_view page) {
    isHTML(page);
    isRSS(page);
    HTMLTitle(page);
    HTMLCharSet(page);
    HTMLRedirectURL(page, true);
    HTMLFramesForURL(page, *Url::parse("http://host/folder/page.html"));
    stringByRemovingQuotationMarks(page);
}

void rewrite(const std::string& page) {
    std::string text = page;
    replaceHTMLEncodedChars(text, {});
    replaceHTMLEncodedDelimiters(text, {});
    deleteTagsWithStartDelimiter(text, "<", ">", true, {});
    require(isValidUtf8(text) && text.size() <= page.size());
}

// A processor beside the slow passes, which must agree after every step.
class Twins {
public:
    explicit Twins(const std::string& page) : m_processor(page), m_slow(page) {}

    void run() {
        m_processor.replaceHTMLEncodedChars({});
        m_slow = slow::entityPass(m_slow, m_moments);
        compare();
        remove("<!--", "-->", false);
        remove("<SCRIPT", "/SCRIPT>", true);
        remove("<", ">", false);
        require(m_processor.readableString() == slow::delimiterPass(m_slow, false, m_moments));
        m_processor.replaceHTMLEncodedDelimiters({});
        m_slow = slow::delimiterPass(m_slow, true, m_moments);
        compare();
    }

private:
    void remove(const char* start, const char* stop, bool ignoreCase) {
        m_processor.deleteTagsWithStartDelimiter(start, stop, ignoreCase, {});
        m_slow = slow::deletionPass(m_slow, start, stop, ignoreCase, m_moments);
        compare();
    }

    void compare() const { require(m_processor.string() == m_slow); }

    HTMLProcessor m_processor;
    std::string m_slow;
    slow::Moments m_moments;
};

void extract(const std::string& page) {
    PageText text = extractPageText(page, [] {});
    require(isValidUtf8(text.indexText) && text.indexText.size() <= page.size());
    require(!text.title || isValidUtf8(*text.title));
    require(lowerCasedAscii(text.readable) == text.indexText);
    reduceToAlphanumeric(text.indexText, [] {});
    require(isValidUtf8(text.indexText));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string page(fuzz::asText(data, size));
    askEverything(page);
    extract(page);
    std::string reduced = page;
    reduceToAlphanumeric(reduced, {});
    require(isValidUtf8(reduced));
    if (isValidUtf8(page)) {
        rewrite(page);
        Twins(page).run();
    }
    return 0;
}
