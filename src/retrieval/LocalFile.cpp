#include "retrieval/LocalFile.h"

#include "base/Files.h"
#include "base/Log.h"
#include "text/Ascii.h"
#include "text/Encodings.h"
#include "text/HtmlQueries.h"
#include "text/MIMEMapper.h"

namespace siftwell {

namespace {

// The sniffed characters in any encoding.
constexpr std::size_t kFrontBytes = 64 << 10;

std::optional<std::string> textOf(const std::string& bytes) {
    return decodePage(bytes, fileEncodingName(bytes));
}

bool looksLikeMarkup(const std::string& front) {
    const auto text = textOf(front);
    return text && (isHTML(*text) || isRSS(*text));
}

}  // namespace

Result<std::string> readLocalFile(const std::string& path) {
    auto bytes = readFile(path, kMaxFileBytes);
    if (bytes && bytes->size() == kMaxFileBytes) {
        writeLog("Only the first " + std::to_string(kMaxFileBytes >> 20) + " MB of " + path +
                 " are indexed.");
    }
    return bytes;
}

Result<PageContent> loadLocalFile(const std::string& path, const Admission& admission) {
    const auto info = fileInfo(path);
    if (!info) return Status(StatusCode::NotFound, "There is no file " + path + ".");
    PageContent page{.url = Url::fromFilePath(path), .date = info->modified};
    const auto type =
        MIMEMapper::sharedMapper().mimeTypeForExtension(lowerCasedAscii(pathExtension(path)));
    if (type) page.mimeType = *type;

    if (admission.extractorNeededForURL(page.url)) {
        page.content = "CONTENT ON DISK";  // the store has the file read itself
        return page;
    }
    const bool isReadInAnyCase = page.mimeType == "text/html" || admission.isReadableFile(page.url);
    if (!isReadInAnyCase) {
        const auto front = readFile(path, kFrontBytes);
        if (!front) return front.status();
        if (!looksLikeMarkup(*front)) return page;
    }
    const auto bytes = readLocalFile(path);
    if (!bytes) return bytes.status();
    page.content = textOf(*bytes).value_or("");
    return page;
}

}  // namespace siftwell
