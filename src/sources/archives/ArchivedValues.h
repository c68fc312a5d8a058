// ArchivedValues: what the common classes of Mac OS X mean, however they were archived.
//
// Threads: pure functions. Errors: what is of another kind, or refers in circles, is none. Texts
// and bytes borrow the archive's. Objects may be shared and huge; so that nobody reads long, only
// the first values of an object and the first members of a container count.
#pragma once

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/PropertyList.h"
#include "base/Url.h"
#include "sources/archives/ObjectArchive.h"

namespace siftwell {

inline constexpr std::size_t kMaxParts = 64;  // values of an object that is no container
inline constexpr std::size_t kMaxMembers = 1000;

inline bool isNothing(const ArchivedValue& value) {
    return std::holds_alternative<std::monostate>(value);
}

// The object that the value refers to, if any.
const ArchivedObject* objectIn(const ObjectArchive& archive, const ArchivedValue& value);

// Whether it refers to an object of that class or of one below it.
bool isKindOf(const ObjectArchive& archive, const ArchivedValue& value, std::string_view className);

// The value under the key; nothing when the object has none, or no keys.
ArchivedValue valueForKey(const ArchivedObject& object, std::string_view key);

std::optional<std::string_view> stringIn(const ObjectArchive& archive, const ArchivedValue& value);
std::optional<std::string_view> dataIn(const ObjectArchive& archive, const ArchivedValue& value);
std::optional<Url> urlIn(const ObjectArchive& archive, const ArchivedValue& value);

// A number, whether it was archived as one or as an object. One that does not fit is cut to what
// does.
std::optional<std::int64_t> integerIn(const ObjectArchive& archive, const ArchivedValue& value);
std::optional<double> realIn(const ObjectArchive& archive, const ArchivedValue& value);

// The keys and values of an NSDictionary, the members of an NSArray.
using ArchivedPairs = std::vector<std::pair<ArchivedValue, ArchivedValue>>;
std::optional<ArchivedPairs> pairsIn(const ObjectArchive& archive, const ArchivedValue& value);
std::optional<std::vector<ArchivedValue>> membersIn(const ObjectArchive& archive,
                                                    const ArchivedValue& value);

// The NSDictionary with texts for keys; what has no counterpart in property lists is left out, as
// is what lies more than 16 levels deep or behind the first 10,000 values and 1 MB of texts in all.
PropertyList::Dictionary dictionaryIn(const ObjectArchive& archive, const ArchivedValue& value);

}  // namespace siftwell
