// MIMEMapper tells which MIME type belongs to a file-name extension.
//
// Threads: any. Errors: none.
#pragma once

#include <optional>
#include <string_view>

namespace siftwell {

class MIMEMapper {
public:
    static const MIMEMapper& sharedMapper();

    // `extension` has no dot and counts as it is written: "HTML" is not known. No type is assumed
    // for an extension that is not known.
    std::optional<std::string_view> mimeTypeForExtension(std::string_view extension) const;
};

}  // namespace siftwell
