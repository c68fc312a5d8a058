#include "cli/AddressArgument.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "text/Ascii.h"

namespace siftwell {

std::optional<Url> pageAddressIn(const std::string& argument) {
    const std::size_t colon = argument.find("://");
    std::error_code error;
    if (colon == std::string::npos || std::filesystem::exists(argument, error)) return std::nullopt;
    if (lowerCasedAscii(argument.substr(0, colon)) == "file") return std::nullopt;
    auto url = Url::parse(argument);
    return url ? url : Url::parse(percentEncoded(argument));
}

std::string pathIn(const std::string& argument) {
    const auto url = Url::parse(argument);
    return url && url->isFile() ? url->path().value_or(argument) : argument;
}

std::vector<Url> urlsOf(const std::string& argument) {
    std::vector<Url> urls;
    const auto add = [&urls](const Url& url) {
        if (std::find(urls.begin(), urls.end(), url) == urls.end()) urls.push_back(url);
    };
    if (const auto url = Url::parse(argument); url && url->hasScheme()) add(*url);
    if (const auto page = pageAddressIn(argument); page && page->hasScheme()) {
        add(*page);
        return urls;
    }
    std::error_code error;
    const auto path = std::filesystem::absolute(pathIn(argument), error).lexically_normal();
    if (error) return urls;
    add(Url::fromFilePath(path.string()));
    const auto folder = std::filesystem::weakly_canonical(path.parent_path(), error);
    if (!error) add(Url::fromFilePath((folder / path.filename()).string()));
    const auto target = std::filesystem::weakly_canonical(path, error);
    if (!error) add(Url::fromFilePath(target.string()));
    return urls;
}

}  // namespace siftwell
