// Any text as an address (the first line), as a reference seen from it and as a file's path (the
// rest).

#include <string>

#include "Require.h"
#include "base/Files.h"
#include "base/Url.h"

namespace {

using namespace siftwell;
using fuzz::require;

void checkParts(const Url& url) {
    const std::string& text = url.absoluteString();
    require(text == (url.hasScheme() ? url.scheme() + ":" : "") + url.resourceSpecifier());
    require(!url.host() || (!url.host()->empty() && text.find("//") != std::string::npos));
    if (!url.path()) {
        require(url.hasScheme() && url.lastPathComponent().empty());
        return;
    }
    require(url.path()->size() <= text.size());
    require(url.path()->size() < 2 || !url.path()->ends_with('/'));
    require(url.lastPathComponent().ends_with(url.pathExtension()));
}

void checkSameParts(const Url& one, const Url& other) {
    require(one == other && one.scheme() == other.scheme() && one.host() == other.host() &&
            one.path() == other.path());
}

void checkReference(const Url& base, std::string_view reference) {
    const auto resolved = base.resolved(reference);
    const auto alone = Url::parse(reference);
    if (alone && alone->hasScheme()) require(resolved && *resolved == *alone);
    if (!resolved) return;
    checkParts(*resolved);
    checkSameParts(*resolved, *Url::parse(resolved->absoluteString()));
}

void checkFile(const std::string& path) {
    const Url url = Url::fromFilePath(path);
    require(url.isFile() && lastPathComponent(path) == url.lastPathComponent());
    const auto read = Url::parse(url.absoluteString());
    require(read.has_value());
    checkSameParts(url, *read);
    checkParts(url);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto [address, reference] = fuzz::atFirstLineEnd(fuzz::asText(data, size));
    if (const auto url = Url::parse(address)) {
        require(url->absoluteString() == address);
        checkParts(*url);
        checkReference(*url, reference);
    }
    const std::string path(reference.substr(0, reference.find('\0')));
    checkFile("/" + path);
    return 0;
}
