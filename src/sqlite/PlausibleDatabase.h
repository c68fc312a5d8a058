// PlausibleDatabase builds the errors that the SQLite layer hands back.
//
// Threads: values and pure functions.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyList.h"

namespace siftwell {

struct PlausibleError {
    std::string domain;
    int code = 0;                       // one of the codes of PlausibleDatabase
    PropertyList::Dictionary userInfo;  // by the keys of PlausibleDatabase

    std::string localizedDescription() const;
};

class PlausibleDatabase {
public:
    static constexpr int kNotOpened = 1;    // the database could not be opened
    static constexpr int kQueryFailed = 2;  // a statement failed while it ran
    static constexpr int kNotPrepared = 3;  // a statement could not be prepared

    static constexpr const char* kDomain = "com.velotrin.Siftwell.sqlite";
    static constexpr const char* kDescriptionKey = "com.velotrin.Siftwell.sqlite.error.description";
    static constexpr const char* kVendorCodeKey = "com.velotrin.Siftwell.sqlite.error.vendor.code";
    static constexpr const char* kVendorStringKey =
        "com.velotrin.Siftwell.sqlite.error.vendor.string";
    static constexpr const char* kQueryStringKey =
        "com.velotrin.Siftwell.sqlite.error.query.string";

    // `vendorError` and its string are SQLite's; the query is left out where none was involved.
    static PlausibleError errorWithCode(int code, const std::string& localizedDescription,
                                        const std::optional<std::string>& queryString,
                                        int vendorError, const std::string& vendorErrorString);
};

}  // namespace siftwell
