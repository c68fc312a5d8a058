#include "cli/ErrorList.h"

#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr std::int64_t kIndexSeverity = 9;
constexpr std::size_t kMaxDetails = 300;  // details may hold a whole page

}  // namespace

ErrorList::ErrorList(NotificationCentre& centre, Console& console)
    : m_console(console),
      m_observation(centre.observe("SiftwellErrorNotification",
                                   [this](const PropertyList& record) { add(record); })) {}

void ErrorList::add(const PropertyList& record) {
    const auto* error = record.asDictionary();
    if (error == nullptr) return;
    ++m_size;
    if (integerFor(*error, "severity").value_or(0) >= kIndexSeverity) ++m_indexErrors;
    std::string line = "siftwell: " + stringFor(*error, "error");
    for (const char* key : {"url", "details"}) {
        const std::string part = stringFor(*error, key);
        if (!part.empty()) line += " — " + std::string(utf8Prefix(part, kMaxDetails));
    }
    m_console.message(printable(line));
}

}  // namespace siftwell
