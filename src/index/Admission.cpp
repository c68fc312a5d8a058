#include "index/Admission.h"

#include <algorithm>

#include "records/URLFilter.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

bool contains(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

}  // namespace

bool isFilteredBy(const std::vector<std::string>& filters, std::string_view address) {
    const std::string small = lowerCasedAscii(address);
    return std::any_of(filters.begin(), filters.end(), [&small](const std::string& filter) {
        return small.find(filter) != std::string::npos;
    });
}

Admission::Admission(const Settings& settings)
    : m_settings(settings),
      m_nativeExtensions(settings.strings("NativeExtensions")),
      m_extractorExtensions(settings.strings("ExtractorExtensions")),
      m_filteredExtensions(settings.strings("FilteredExtensions")) {}

void Admission::applyPreferences() {
    applyURLFilters();
    MutexLock lock(m_mutex);
    m_useContentExtractors = m_settings.boolean("UseContentExtractors");
    m_allowAuthorization = m_settings.integer("IndexProtectedPages") != 0;
}

void Admission::applyURLFilters() {
    const std::vector<URLFilter> all = urlFiltersIn(m_settings.array("URLFilters"));
    std::vector<std::string> filters;
    for (const URLFilter& filter : all) {
        if (filter.Enabled && !filter.String.empty()) {
            filters.push_back(lowerCasedAscii(filter.String));
        }
    }
    MutexLock lock(m_mutex);
    m_filters = std::move(filters);
    m_hasFilters = !all.empty();
}

std::optional<std::vector<std::string>> Admission::enabledFilters() const {
    MutexLock lock(m_mutex);
    return m_hasFilters ? std::optional(m_filters) : std::nullopt;
}

Verdict Admission::judge(const Url& url) const {
    const std::string scheme = lowerCasedAscii(url.scheme());
    if (scheme.empty() || !url.path()) return Verdict::NotAnAddress;
    if (scheme == "ftp" || scheme == "safari-extension") return Verdict::SchemeRefused;
    if (scheme == "feed") return Verdict::Accepted;
    const std::string extension = lowerCasedAscii(url.pathExtension());
    if (contains(m_filteredExtensions, extension)) return Verdict::ExtensionFiltered;
    MutexLock lock(m_mutex);
    if (!m_useContentExtractors && contains(m_extractorExtensions, extension)) {
        return Verdict::ExtractorsOff;
    }
    if (m_failedURLs.contains(url.absoluteString())) return Verdict::FailedBefore;
    return isFilteredBy(m_filters, url.absoluteString()) ? Verdict::Filtered : Verdict::Accepted;
}

bool Admission::isReadableFile(const Url& url) const {
    const std::string extension = lowerCasedAscii(url.pathExtension());
    if (!extension.empty() && contains(m_nativeExtensions, extension)) return true;
    return willUseContentExtractors() && contains(m_extractorExtensions, extension);
}

bool Admission::willUseContentExtractors() const {
    MutexLock lock(m_mutex);
    return m_useContentExtractors;
}

bool Admission::extractorNeededForURL(const Url& url) const {
    return willUseContentExtractors() && url.isFile() &&
           contains(m_extractorExtensions, url.pathExtension());
}

bool Admission::allowsAuthorization() const {
    MutexLock lock(m_mutex);
    return m_allowAuthorization;
}

void Admission::addFailedURL(const Url& url) {
    MutexLock lock(m_mutex);
    m_failedURLs.insert(url.absoluteString());
}

}  // namespace siftwell
