// Admission: which addresses may be indexed.
//
// Threads: any.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/Mutex.h"
#include "base/Settings.h"
#include "base/Url.h"

namespace siftwell {

// What the rules say of an address.
enum class Verdict {
    Accepted,
    NotAnAddress,       // no scheme or no path
    SchemeRefused,      // ftp, safari-extension
    ExtensionFiltered,  // "FilteredExtensions"
    ExtractorsOff,      // "ExtractorExtensions" while content extractors are off
    FailedBefore,       // no text was found since the program started
    Filtered,           // "URLFilters"
};

// Whether one of the filters, in small letters, stands in the address, in whatever letters.
bool isFilteredBy(const std::vector<std::string>& filters, std::string_view address);

class Admission {
public:
    // Reads the lists of extensions; the rest when applyPreferences is called. Borrows the
    // settings.
    explicit Admission(const Settings& settings);

    // Re-reads "UseContentExtractors", "URLFilters" and "IndexProtectedPages".
    void applyPreferences();
    void applyURLFilters();  // "URLFilters" alone

    // The first rule that decides.
    Verdict judge(const Url& url) const;
    bool canProcessURL(const Url& url) const { return judge(url) == Verdict::Accepted; }

    // The texts of the enabled filters, in small letters; none when there is no filter at all.
    std::optional<std::vector<std::string>> enabledFilters() const;

    // Whether a file with the address's extension can be read, whatever it holds.
    bool isReadableFile(const Url& url) const;

    bool willUseContentExtractors() const;
    // Whether the page is a file whose text a content extractor must give. Compares the extension
    // as it stands, unlike the rules of admission.
    bool extractorNeededForURL(const Url& url) const;

    bool allowsAuthorization() const;

    // An address without text, refused until the program ends.
    void addFailedURL(const Url& url);

private:
    const Settings& m_settings;
    const std::vector<std::string> m_nativeExtensions;
    const std::vector<std::string> m_extractorExtensions;
    const std::vector<std::string> m_filteredExtensions;

    mutable Mutex m_mutex;
    bool m_useContentExtractors SW_GUARDED_BY(m_mutex) = false;
    bool m_allowAuthorization SW_GUARDED_BY(m_mutex) = false;
    std::vector<std::string> m_filters SW_GUARDED_BY(m_mutex);  // enabled ones, in small letters
    bool m_hasFilters SW_GUARDED_BY(m_mutex) = false;           // enabled or not
    std::unordered_set<std::string> m_failedURLs SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
