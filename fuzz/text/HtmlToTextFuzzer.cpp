// Any page through everything that is done with a page's text. Beside what the sanitizers see: text
// stays valid UTF-8 and grows no longer, and both letterings have the same words.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "text/Alphanumeric.h"
#include "text/Ascii.h"
#include "text/HtmlQueries.h"
#include "text/HtmlRewrites.h"
#include "text/PageText.h"
#include "text/Utf8.h"

namespace {

using namespace siftwell;

void require(bool condition) {
    if (!condition) std::abort();
}

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
    const std::string page(reinterpret_cast<const char*>(data), size);
    askEverything(page);
    extract(page);
    std::string reduced = page;
    reduceToAlphanumeric(reduced, {});
    require(isValidUtf8(reduced));
    if (isValidUtf8(page)) rewrite(page);
    return 0;
}
