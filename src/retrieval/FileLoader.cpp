#include "retrieval/FileLoader.h"

#include "base/Files.h"
#include "base/Log.h"
#include "retrieval/LocalFile.h"
#include "text/Ascii.h"
#include "text/Encodings.h"
#include "text/MIMEMapper.h"

namespace siftwell {

namespace {

int errorFor(const Status& status) {
    if (status.code() == StatusCode::NotFound) return loadError::kNoSuchFile;
    if (status.code() == StatusCode::Denied) return loadError::kNoPermission;
    return loadError::kUnavailable;
}

URLResponse responseFor(const Url& url, const std::string& bytes) {
    URLResponse response{.url = url};
    const std::string extension = lowerCasedAscii(url.pathExtension());
    if (const auto type = MIMEMapper::sharedMapper().mimeTypeForExtension(extension)) {
        response.mimeType = *type;
    }
    response.expectedContentLength = static_cast<std::int64_t>(bytes.size());
    response.textEncodingName = fileEncodingName(bytes);
    return response;
}

}  // namespace

URLLoader::LoadID FileLoader::start(const URLRequest& request,
                                    std::shared_ptr<URLLoadClient> client) {
    const auto bytes = readLocalFile(request.url.path().value_or(""));
    if (!bytes) {
        writeLog(bytes.status().message());
        client->didFailWithError(errorFor(bytes.status()));
        return 0;
    }
    const bool isWanted = client->didReceiveResponse(responseFor(request.url, *bytes));
    if (isWanted &&
        (bytes->empty() || client->didReceiveData(*bytes) == URLLoadClient::Appetite::More)) {
        client->didFinishLoading();
    }
    return 0;
}

}  // namespace siftwell
