#include "sqlite/PlausibleDatabase.h"

namespace siftwell {

std::string PlausibleError::localizedDescription() const {
    return stringFor(userInfo, PlausibleDatabase::kDescriptionKey);
}

PlausibleError PlausibleDatabase::errorWithCode(int code, const std::string& localizedDescription,
                                                const std::optional<std::string>& queryString,
                                                int vendorError,
                                                const std::string& vendorErrorString) {
    PropertyList::Dictionary userInfo{{kDescriptionKey, localizedDescription},
                                      {kVendorCodeKey, vendorError},
                                      {kVendorStringKey, vendorErrorString}};
    if (queryString) userInfo[kQueryStringKey] = *queryString;
    return {.domain = kDomain, .code = code, .userInfo = std::move(userInfo)};
}

}  // namespace siftwell
