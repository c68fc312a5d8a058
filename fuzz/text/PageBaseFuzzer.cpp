// Any markup given a base: nothing of it is lost, and the base is an element of its own.

#include <string>
#include <string_view>

#include "Require.h"
#include "text/PageBase.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace siftwell;
    const std::string page(fuzz::asText(data, size));
    const std::string based = pageWithBase(page, *Url::parse("http://host/folder/page.html"));
    std::size_t at = 0;
    while (at < page.size() && page[at] == based[at]) ++at;
    const std::size_t added = based.size() - page.size();
    // Where page and base begin alike, the base began earlier.
    at = based.rfind("<base href=\"", at);
    fuzz::require(at != std::string::npos);
    const std::string_view element = std::string_view(based).substr(at, added);
    fuzz::require(element.find('>') == element.size() - 1 || element.ends_with("\">"));
    fuzz::require(page == based.substr(0, at) + based.substr(at + added));
    return 0;
}
