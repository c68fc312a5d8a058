// Dates as they are typed and as files hold them, in time zones whose days have odd ends.

#include <cstdlib>
#include <ctime>
#include <string>

#include "Require.h"
#include "base/Date.h"
#include "cli/DateArgument.h"

namespace {

using namespace siftwell;
using fuzz::require;

// The third changes its clocks at midnight, so that one of its days begins at 1:00.
constexpr const char* kZones[] = {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3",
                                  "BRT3BRST,M10.3.0/0,M2.3.0/0", "FAR-14", "BACK12"};

void useZone(std::size_t number) {
    static std::size_t used = std::size(kZones);
    if (number == used) return;
    used = number;
    setenv("TZ", kZones[number], 1);
    tzset();
}

void checkUtc(const std::string& text) {
    const auto date = Date::parseUtc(text);
    // The years 1 to 9999 can be written.
    if (!date || text < "0001" || text > "9999-12-31") return;
    std::string written = date->iso8601();
    written.pop_back();  // the Z
    require(Date::parseUtc(written) == date);
    const bool isLeapSecond = text.find(":60") != std::string::npos;
    require(isLeapSecond || written.starts_with(text.substr(0, 10)));
}

void checkDay(const std::string& text, Date now, Date begin) {
    constexpr double kHour = 3600;
    const auto end = dateFromArgument(text, now, DayEdge::End);
    require(end && *end - begin > 22 * kHour && *end - begin < 26 * kHour);
    if (text < "1000") return;  // such years are printed without zeros
    require(begin.formattedLocally("%Y-%m-%d") == text);
    require(end->formattedLocally("%Y-%m-%d") == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    useZone(data[0] % std::size(kZones));
    const std::string text(fuzz::asText(data + 1, size - 1));
    checkUtc(text);

    const Date now = Date::fromReference(800'000'000);
    const auto begin = dateFromArgument(text, now, DayEdge::Begin);
    if (!begin) {
        require(!dateFromArgument(text, now, DayEdge::End));
    } else if (text.back() > '9') {  // an age
        require(*begin <= now && dateFromArgument(text, now, DayEdge::End) == begin);
    } else {
        checkDay(text, now, *begin);
    }
    return 0;
}
