#include "text/PageText.h"

#include <array>
#include <string_view>

#include "text/HTMLProcessor.h"

namespace siftwell {

namespace {

struct Stretch {
    std::string_view start;
    std::string_view stop;
    bool ignoreCase;
};

// What holds no words comes first, as a whole; then every tag that is left.
constexpr std::array<Stretch, 7> kDeletions = {{
    {"<title", "/title>", true},
    {"<!--", "-->", false},
    {"<SCRIPT", "/SCRIPT>", true},
    {"<APPLET", "/APPLET>", true},
    {"<OBJECT", "/OBJECT>", true},
    {"<STYLE", "/STYLE>", true},
    {"<", ">", false},
}};

}  // namespace

PageText extractPageText(std::string page, const Yield& whilePerforming) {
    PageText result;
    HTMLProcessor processor(std::move(page));
    processor.replaceHTMLEncodedChars(whilePerforming);
    result.title = processor.title();
    for (const Stretch& stretch : kDeletions) {
        processor.deleteTagsWithStartDelimiter(stretch.start, stretch.stop, stretch.ignoreCase,
                                               whilePerforming);
    }
    result.readable = processor.readableString();
    processor.replaceHTMLEncodedDelimiters(whilePerforming);
    result.indexText = std::move(processor).string();
    return result;
}

}  // namespace siftwell
