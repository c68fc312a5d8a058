#include "index/IndexNaming.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <vector>

#include "base/Log.h"
#include "base/Translate.h"
#include "text/Ascii.h"
#include "text/NormalForm.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxWholeName = 255;
constexpr std::size_t kMaxSpecifier = 65535;
constexpr std::size_t kMiddleLength = 11;  // reserved for the length and sum of what is left out

// With scheme, ".data" and SQLite's endings, a file name stays below the 255 bytes of file systems.
constexpr std::size_t kMaxSourceBytes = 180;

std::string escaped(char c) {
    std::array<char, 4> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%%%02X", static_cast<unsigned char>(c));
    return buffer.data();
}

// Two sources that begin alike keep apart by the sum of their characters.
std::string fittingFileName(const std::string& name) {
    if (name.size() <= kMaxSourceBytes) return name;
    std::size_t hash = 1469598103934665603U;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    std::array<char, 20> ending{};
    std::snprintf(ending.data(), ending.size(), "~%016zx", hash);
    return std::string(utf8Prefix(name, kMaxSourceBytes - 17)) + ending.data();
}

std::string fileNameOf(std::string_view source) {
    std::string name;
    for (const char c : source) {
        const bool isHiding = c == '.' && name.empty();
        const bool isControl = static_cast<unsigned char>(c) < 0x20;
        name += c == '/' || c == '%' || isHiding || isControl ? escaped(c) : std::string(1, c);
    }
    return fittingFileName(name.empty() ? "%" : name);
}

// As file paths are split: slashes in front are one component, and so is a slash at the end.
std::vector<std::string_view> pathComponents(std::string_view path) {
    std::vector<std::string_view> components;
    if (path.starts_with('/')) components.push_back(path.substr(0, 1));
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        if (end > at) components.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    if (path.ends_with('/') && components.size() > 1) components.push_back(path.substr(0, 1));
    return components;
}

std::string shortenedName(std::string_view specifier) {
    const std::vector<std::string_view> components = pathComponents(specifier);
    std::string head;
    std::size_t used = 0;
    std::size_t first = 0;
    for (bool isLong = false; first < components.size() && !isLong; ++first) {
        isLong = components[first].size() > 1;
        head += components[first];
        head += '/';
        used += components[first].size() + 1;
    }
    std::string tail;
    std::size_t last = components.size();
    while (last > first && used + components[last - 1].size() + kMiddleLength <= kMaxWholeName) {
        --last;
        tail.insert(0, components[last]).insert(0, 1, '/');
        used += components[last].size() + 1;
    }
    std::size_t skipped = 0;
    int sum = 0;
    for (std::size_t i = first; i < last; ++i) {
        skipped += components[i].size() + 1;
        sum += characterSum(components[i]);
    }
    std::array<char, 64> middle{};
    std::snprintf(middle.data(), middle.size(), "%04zu%06d", skipped, sum);
    return head + middle.data() + tail;
}

}  // namespace

std::string indexNameForSource(std::string_view source, std::string_view scheme) {
    std::string name = fileNameOf(composed(source));
    if (scheme.empty()) return name;
    std::string extension = lowerCasedAscii(scheme);
    if (isExtensionBesideIndexes(extension)) extension.insert(0, "%");
    return name + "." + extension;
}

bool isExtensionBesideIndexes(std::string_view extension) {
    constexpr std::string_view kDamaged = "damaged";  // and a number, from the second one on
    if (extension.starts_with(kDamaged)) {
        return extension.find_first_not_of("0123456789", kDamaged.size()) == std::string_view::npos;
    }
    constexpr std::array<std::string_view, 4> kExtensions = {"data", "creating", "compacting",
                                                             "repairing"};
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

std::string_view indexNameOfFile(std::string_view fileName) {
    for (;;) {
        const std::size_t dot = fileName.rfind('.');
        if (dot == std::string_view::npos || !isExtensionBesideIndexes(fileName.substr(dot + 1))) {
            return fileName;
        }
        fileName = fileName.substr(0, dot);
    }
}

std::string schemeOfIndexName(std::string_view indexName) {
    const std::size_t dot = indexName.rfind('.');
    if (dot == std::string_view::npos) return {};
    std::string_view scheme = indexName.substr(dot + 1);
    if (scheme.starts_with('%')) scheme.remove_prefix(1);  // it would pass for a side file's
    return lowerCasedAscii(scheme);
}

std::string sourceOfIndexName(std::string_view indexName) {
    const std::string_view name = indexName.substr(0, indexName.rfind('.'));
    std::string source;
    for (std::size_t i = 0; i < name.size(); ++i) {
        unsigned value = 0;
        const std::string code(name[i] == '%' ? name.substr(i + 1, 2) : std::string_view());
        if (code.size() == 2 && std::sscanf(code.c_str(), "%2x", &value) == 1) {
            source += static_cast<char>(value);
            i += 2;
        } else {
            source += name[i];
        }
    }
    return source;
}

bool isMonthlyIndexName(std::string_view indexName) {
    const std::size_t dot = indexName.find('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    const std::string_view year = indexName.substr(0, dot);
    const std::string_view month = indexName.substr(dot + 1);
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (!std::all_of(year.begin(), year.end(), isDigit) || month.empty() || month.size() > 2 ||
        !std::all_of(month.begin(), month.end(), isDigit)) {
        return false;
    }
    const int number = std::stoi(std::string(month));
    return number >= 1 && number <= 12;
}

std::optional<fulltext::DocumentKey> skDocumentForURL(const Url& url, SWNotifier& notifier) {
    std::string specifier = url.resourceSpecifier();
    if (url.isFile() || specifier.size() <= kMaxWholeName)
        return fulltext::DocumentKey{url.scheme(), specifier};
    if (specifier.size() > kMaxSpecifier) {
        writeLog(filledIn("Unreasonable URL length: %d characters",
                          static_cast<std::int64_t>(specifier.size())));
        notifier.reportError(_("URL was too long to process"), 3, url.absoluteString(), "");
        return std::nullopt;
    }
    return fulltext::DocumentKey{url.scheme(), shortenedName(specifier)};
}

int characterSum(std::string_view text) {
    return std::accumulate(text.begin(), text.end(), 0,
                           [](int sum, char c) { return sum + static_cast<signed char>(c); });
}

std::string addressOfDocument(const fulltext::DocumentKey& key) {
    return key.scheme + ":" + key.name;
}

}  // namespace siftwell
