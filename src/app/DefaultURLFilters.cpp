#include "app/DefaultURLFilters.h"

#include <array>

namespace siftwell {

std::vector<URLFilter> defaultURLFilters() {
    // clang-format off
    constexpr std::array kTexts = {
        "www.google.com", "/192.168.", "/10.0.0.",
        ".doubleclick.net", ".googlesyndication.com", ".googleadservices.com", ".adnxs.com",
        ".amazon-adsystem.com", ".criteo.com", ".rubiconproject.com", ".pubmatic.com",
        "/phpads/",
        ".adform.net", ".adroll.com", ".adsrvr.org", ".casalemedia.com", ".lijit.com",
        ".mathtag.com", ".openx.net", ".outbrain.com", ".serving-sys.com", ".smartadserver.com",
        ".taboola.com", "adservice.google.com", "s0.2mdn.net",
        "/pagead/", "/ads/", "/ad-images/", "/ad/", "adserver."};
    // clang-format on
    std::vector<URLFilter> filters;
    filters.reserve(kTexts.size());
    for (const char* text : kTexts) filters.push_back({.Enabled = true, .String = text});
    return filters;
}

}  // namespace siftwell
