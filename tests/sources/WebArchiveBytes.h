// A saved page with what belongs to it, as a property list.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyListFormat.h"

namespace siftwell {

inline PropertyList webResource(const std::string& address) {
    return PropertyList::Dictionary{
        {"WebResourceURL", address},
        {"WebResourceMIMEType", "text/html"},
        {"WebResourceTextEncodingName", "UTF-8"},
        {"WebResourceData",
         PropertyList::Data{"<html><head></head><body>words of " + address + "</body></html>"}}};
}

inline PropertyList webArchive(const std::string& main, const std::vector<std::string>& others = {},
                               const PropertyList::Array& frames = {}) {
    PropertyList::Array resources;
    for (const std::string& other : others) resources.push_back(webResource(other));
    return PropertyList::Dictionary{{"WebMainResource", webResource(main)},
                                    {"WebSubresources", resources},
                                    {"WebSubframeArchives", frames}};
}

}  // namespace siftwell
