#include "sources/browsers/BookmarkTree.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "base/Translate.h"
#include "sources/Addresses.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

using Json = nlohmann::json;

// Sees the members of all objects one after the other; an answer of false ends the parser.
class TreeReader : public nlohmann::json_sax<Json> {
public:
    TreeReader(const BookmarkNames& names, const TakeEntry& take) : m_names(names), m_take(take) {}

    bool isDamaged() const { return m_isDamaged; }

    bool null() override { return true; }
    bool boolean(bool /*value*/) override { return true; }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return true; }
    bool binary(binary_t& /*value*/) override { return true; }
    bool number_integer(number_integer_t value) override {
        if (isMember(m_names.date)) m_open.back().entry.date = m_names.dates.date(value);
        return true;
    }
    bool number_unsigned(number_unsigned_t value) override {
        return value > INT64_MAX || number_integer(static_cast<number_integer_t>(value));
    }
    bool string(string_t& value) override {
        takeText(value);
        return true;
    }

    bool start_object(std::size_t /*elements*/) override {
        const bool isHidden = !m_open.empty() && m_open.back().isHidden;
        return open({.isObject = true, .isHidden = isHidden});
    }
    bool start_array(std::size_t /*elements*/) override {
        return open({.isHidden = !m_open.empty() && m_open.back().isHidden});
    }
    bool key(string_t& value) override {
        m_open.back().key = value;
        return true;
    }
    bool end_object() override {
        Level level = std::move(m_open.back());
        m_open.pop_back();
        return handOver(std::move(level));
    }
    bool end_array() override {
        m_open.pop_back();
        return true;
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const Json::exception& /*error*/) override {
        m_isDamaged = true;
        return false;
    }

private:
    struct Level {
        bool isObject = false;
        bool isHidden = false;
        std::string key;
        BrowserEntry entry;
    };

    bool open(Level level) {
        m_isDamaged = m_open.size() >= kMaxBookmarkDepth;
        if (!m_isDamaged) m_open.push_back(std::move(level));
        return !m_isDamaged;
    }

    bool isMember(std::string_view name) const {
        return !name.empty() && !m_open.empty() && m_open.back().isObject &&
               m_open.back().key == name;
    }

    void takeText(string_t& value) {
        if (isMember(m_names.address))
            m_open.back().entry.url = std::move(value);
        else if (isMember(m_names.title))
            m_open.back().entry.title = takenTitle(std::move(value));
        else if (isMember(m_names.date))
            takeDate(value);
        else if (isMember(m_names.hiddenKey) && value == m_names.hiddenValue)
            m_open.back().isHidden = true;
    }

    void takeDate(const std::string& text) {
        const auto units = wholeNumberIn<std::int64_t>(text);
        if (units) m_open.back().entry.date = m_names.dates.date(*units);
    }

    bool handOver(Level level) {
        const BrowserEntry& entry = level.entry;
        if (level.isHidden || !isTakenBookmark(entry.url)) return true;
        return ++m_taken <= kMaxAddresses && m_take(std::move(level.entry));
    }

    const BookmarkNames& m_names;
    const TakeEntry& m_take;
    std::vector<Level> m_open;
    std::size_t m_taken = 0;
    bool m_isDamaged = false;
};

}  // namespace

Status readBookmarkTree(std::string_view json, const BookmarkNames& names, const TakeEntry& take) {
    TreeReader reader(names, take);
    Json::sax_parse(json, &reader);
    if (!reader.isDamaged()) return {};
    return {StatusCode::Damaged, _("The file of bookmarks is damaged.")};
}

}  // namespace siftwell
