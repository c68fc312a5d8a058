// What can be done with a row, as far as no window is needed for it.
//
// Threads: main. Errors: a row that is no page, and an address that is none, do nothing.
#pragma once

#include <string>

#include "base/Url.h"
#include "records/ResultRow.h"

namespace siftwell {

// The desktop that the program runs on.
class Desktop {
public:
    virtual ~Desktop() = default;

    // In whatever opens addresses of its kind; whether there is something.
    virtual bool open(const Url& url) = 0;
    virtual void copy(const Url& url, const std::string& text) = 0;  // to the clipboard, as both
};

// Whether the row was opened, or copied.
bool openInBrowser(const ResultRow& row, Desktop& desktop);
bool copyURL(const ResultRow& row, Desktop& desktop);

// The filter that is proposed for the row: host and path; "" when the address has neither.
std::string proposedFilter(const ResultRow& row);

// Whether the page in the preview can be opened in the browser.
bool canOpenPreviewed(const std::string& webURL);

}  // namespace siftwell
