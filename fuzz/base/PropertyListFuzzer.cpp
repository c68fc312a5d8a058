// Any bytes as a property list of either form. What is read is bounded by the bytes it came from,
// and survives being written and read again.

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "Require.h"
#include "base/PropertyListFormat.h"

namespace {

using namespace siftwell;
using fuzz::require;

struct Extent {
    std::size_t values = 1;
    std::size_t bytes = 0;
    int depth = 0;

    void add(const Extent& part) {
        values += part.values;
        bytes += part.bytes;
        depth = std::max(depth, part.depth + 1);
    }
};

Extent extentOf(const PropertyList& value) {
    Extent extent;
    if (const auto* text = value.asString()) extent.bytes = text->size();
    if (const auto* data = value.asData()) extent.bytes = data->bytes.size();
    if (const auto* array = value.asArray()) {
        for (const PropertyList& item : *array) extent.add(extentOf(item));
    }
    if (const auto* dictionary = value.asDictionary()) {
        for (const auto& [key, item] : *dictionary) {
            extent.bytes += key.size();
            extent.add(extentOf(item));
        }
    }
    return extent;
}

// Bytes that are no ASCII may be no UTF-8 either, which is replaced.
bool isPlain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
}

bool survives(const PropertyList& value, const PropertyList& again);

bool arraySurvives(const PropertyList::Array& array, const PropertyList::Array& again) {
    std::size_t at = 0;
    for (const PropertyList& item : array) {
        if (item.isNull()) continue;
        if (at == again.size() || !survives(item, again[at++])) return false;
    }
    return at == again.size();
}

bool dictionarySurvives(const PropertyList::Dictionary& dictionary,
                        const PropertyList::Dictionary& again) {
    return std::all_of(dictionary.begin(), dictionary.end(), [&](const auto& entry) {
        const PropertyList* const stored = find(again, entry.first);
        if (entry.second.isNull()) return true;
        return isPlain(entry.first) ? stored != nullptr && survives(entry.second, *stored)
                                    : again.size() <= dictionary.size();
    });
}

bool survives(const PropertyList& value, const PropertyList& again) {
    if (const auto* array = value.asArray()) {
        return again.asArray() != nullptr && arraySurvives(*array, *again.asArray());
    }
    if (const auto* dictionary = value.asDictionary()) {
        return again.asDictionary() != nullptr &&
               dictionarySurvives(*dictionary, *again.asDictionary());
    }
    if (const auto* text = value.asString()) {
        return again.asString() != nullptr && (!isPlain(*text) || *text == *again.asString());
    }
    if (const auto* real = value.asReal()) {
        return again.asReal() != nullptr && (std::isnan(*real) || *real == *again.asReal());
    }
    if (const auto* date = value.asDate()) {
        constexpr double kPrecision = 2e-6;
        return again.asDate() != nullptr && std::fabs(*date - *again.asDate()) < kPrecision;
    }
    return value == again;
}

void read(const PropertyList& value) {
    value.asBooleanLenient();
    value.asIntegerLenient();
    value.asRealLenient();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::asText(data, size);
    const auto parsed = parsePropertyList(bytes);
    if (!parsed || parsed->isNull()) return 0;
    read(*parsed);

    constexpr int kMaxDepth = 512;
    const Extent extent = extentOf(*parsed);
    require(extent.depth <= kMaxDepth);
    require(extent.values <= bytes.size());
    require(extent.bytes <= 64 * bytes.size());

    // The bytes may differ: the library stores equal data once or twice as it happens.
    const auto again = parsePropertyList(serializePropertyList(*parsed));
    require(again.isOk() && survives(*parsed, *again));
    const auto third = parsePropertyList(serializePropertyList(*again));
    require(third.isOk() && survives(*again, *third) && survives(*third, *again));
    return 0;
}
