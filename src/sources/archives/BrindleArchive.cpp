#include "sources/archives/BrindleArchive.h"

#include <cmath>

#include "sources/archives/ArchivedURLResponse.h"
#include "sources/archives/ArchivedValues.h"

namespace siftwell {

namespace {

// The fields of one object, one after the other. A field of another type than it should have makes
// the object unreadable; so does one that is missing from a sequential archive.
class FieldReader {
public:
    FieldReader(const ObjectArchive& archive, const ArchivedObject& object)
        : m_archive(archive), m_object(object) {}

    bool isSound() const { return m_isSound; }

    std::optional<Url> url(std::string_view key) {
        return orNothing(next(key), [&](const auto& value) { return urlIn(m_archive, value); });
    }

    std::string string(std::string_view key, std::string_view otherwise) {
        const auto text =
            orNothing(next(key), [&](const auto& value) { return stringIn(m_archive, value); });
        return std::string(text.value_or(otherwise));
    }

    std::string data(std::string_view key) {
        const auto bytes =
            orNothing(next(key), [&](const auto& value) { return dataIn(m_archive, value); });
        return std::string(bytes.value_or(std::string_view()));
    }

    std::optional<URLResponse> response(std::string_view key) {
        return orNothing(next(key),
                         [&](const auto& value) { return responseIn(m_archive, value); });
    }

    PropertyList::Dictionary dictionary(std::string_view key) {
        const ArchivedValue value = next(key);
        if (!isNothing(value) && !isKindOf(m_archive, value, "NSDictionary")) m_isSound = false;
        return dictionaryIn(m_archive, value);
    }

    // As the platform reads numbers that are missing: 0.
    std::int64_t integer(std::string_view key) {
        return orNothing(next(key), [&](const auto& value) { return integerIn(m_archive, value); })
            .value_or(0);
    }

    double real(std::string_view key) {
        return orNothing(next(key), [&](const auto& value) { return realIn(m_archive, value); })
            .value_or(0);
    }

private:
    ArchivedValue next(std::string_view key) {
        if (m_archive.isKeyed) return valueForKey(m_object, key);
        if (m_next >= m_object.values.size()) m_isSound = false;
        return m_isSound ? m_object.values[m_next++] : ArchivedValue();
    }

    template <typename Read>
    auto orNothing(const ArchivedValue& value, const Read& read) -> decltype(read(value)) {
        if (isNothing(value)) return std::nullopt;
        auto result = read(value);
        if (!result) m_isSound = false;
        return result;
    }

    const ObjectArchive& m_archive;
    const ArchivedObject& m_object;
    std::size_t m_next = 0;
    bool m_isSound = true;
};

}  // namespace

std::optional<URLRequest> BrindleURLRequest::initWithCoder(const ObjectArchive& archive,
                                                           const ArchivedValue& value) {
    if (!isKindOf(archive, value, "NSURLRequest")) return std::nullopt;
    FieldReader fields(archive, *objectIn(archive, value));
    auto url = fields.url("URL");
    if (!url) return std::nullopt;
    URLRequest request{.url = *std::move(url)};
    request.mainDocumentURL = fields.url("mainDocumentURL");
    request.allHTTPHeaderFields = headerFieldsIn(fields.dictionary("allHTTPHeaderFields"));
    request.HTTPMethod = fields.string("HTTPMethod", request.HTTPMethod);
    request.HTTPBody = fields.data("HTTPBody");
    request.cachePolicy = static_cast<std::uint64_t>(fields.integer("cachePolicy"));
    const double seconds = fields.real("timeoutInterval");
    if (std::isfinite(seconds) && seconds >= 0) {
        request.timeoutInterval = std::chrono::duration<double>(seconds);
    }
    request.HTTPShouldHandleCookies = fields.integer("HTTPShouldHandleCookies") != 0;
    return fields.isSound() ? std::optional(std::move(request)) : std::nullopt;
}

std::optional<CachedURLResponse> BrindleCachedURLResponse::initWithCoder(
    const ObjectArchive& archive, const ArchivedValue& value) {
    if (!isKindOf(archive, value, "NSCachedURLResponse")) return std::nullopt;
    FieldReader fields(archive, *objectIn(archive, value));
    std::string data = fields.data("data");
    auto response = fields.response("response");
    if (!response) return std::nullopt;
    CachedURLResponse cached{.data = std::move(data), .response = *std::move(response)};
    cached.userInfo = fields.dictionary("userInfo");
    cached.storagePolicy = static_cast<std::uint64_t>(fields.integer("storagePolicy"));
    return fields.isSound() ? std::optional(std::move(cached)) : std::nullopt;
}

}  // namespace siftwell
