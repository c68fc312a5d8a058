#include "wire/Messages.h"

#include <bit>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace siftwell::wire {

namespace {

using Json = nlohmann::json;

// Every message is one list without lists in it: what it is, and its fields.
enum Kind : std::uint8_t { kTask, kHello, kStartOf, kEntries, kPage, kProblem, kEndOf, kEnd };

// ---- Writing

std::string cborOf(const Json& list) {
    std::string bytes;
    Json::to_cbor(list, nlohmann::detail::output_adapter<char>(bytes));
    return bytes;
}

Json list(Kind kind) { return Json::array({static_cast<int>(kind)}); }

Json binary(const std::string& bytes) {
    return Json::binary(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

Json seconds(const std::optional<Date>& date) {
    return date ? Json(date->secondsSinceReference()) : Json(nullptr);
}

void append(Json& message, const Place& place) {
    message.push_back(place.path);
    message.push_back(place.entry);
}

struct Writer {
    Json operator()(const Hello& hello) const {
        Json message = list(kHello);
        message.push_back(kVersion);
        message.push_back(hello.hasFileRules);
        message.push_back(hello.hasSystemCallFilter);
        return message;
    }
    Json operator()(const StartOf& start) const {
        Json message = list(kStartOf);
        append(message, start.place);
        return message;
    }
    Json operator()(const Entries& some) const {
        Json message = list(kEntries);
        for (const BrowserEntry& entry : some.entries) {
            message.push_back(entry.url);
            message.push_back(seconds(entry.date));
            message.push_back(entry.title);
        }
        return message;
    }
    Json operator()(const Page& page) const {
        Json message = list(kPage);
        append(message, page.place);
        message.push_back(page.page.url);
        message.push_back(page.page.mimeType);
        message.push_back(page.page.textEncodingName ? Json(*page.page.textEncodingName)
                                                     : Json(nullptr));
        message.push_back(binary(page.page.data));
        message.push_back(seconds(page.page.lastUsed));
        return message;
    }
    Json operator()(const Problem& problem) const {
        Json message = list(kProblem);
        message.push_back(problem.message);
        return message;
    }
    Json operator()(const EndOf& end) const {
        Json message = list(kEndOf);
        message.push_back(seconds(end.changed));
        return message;
    }
    Json operator()(const End&) const { return list(kEnd); }
};

// ---- Reading

struct Null {};
using Value = std::variant<Null, bool, std::int64_t, double, std::string>;

// The values of one list of definite length, without lists in it: whoever followed nested ones, or
// strings in parts, down would need a stack as deep as the sender likes.
class FlatList {
public:
    static std::optional<std::vector<Value>> valuesIn(std::string_view bytes) {
        FlatList list(bytes);
        if (!list.read() || !list.m_rest.empty()) return std::nullopt;
        return std::move(list.m_values);
    }

private:
    // What stands in the upper three bits of an item's first byte.
    enum Major { kUnsigned, kNegative, kBytes, kText, kList, kMap, kTag, kSimple };
    struct Head {
        int major;
        int width;  // how the number is written; below 24 it is the number itself
        std::uint64_t number;
    };
    // Far more than the longest message holds.
    static constexpr std::uint64_t kMaxValues = 65'536;

    explicit FlatList(std::string_view bytes) : m_rest(bytes) {}

    bool read() {
        const auto head = readHead();
        if (!head || head->major != kList || head->number > kMaxValues) return false;
        for (std::uint64_t i = 0; i < head->number; ++i) {
            if (!readValue()) return false;
        }
        return true;
    }

    std::optional<Head> readHead() {
        if (m_rest.empty()) return std::nullopt;
        const auto first = static_cast<unsigned char>(take(1).front());
        Head head{first >> 5, first & 31, static_cast<std::uint64_t>(first & 31)};
        if (head.width < 24) return head;
        if (head.width > 27) return std::nullopt;
        const std::size_t size = std::size_t{1} << (head.width - 24);
        if (m_rest.size() < size) return std::nullopt;
        head.number = 0;
        for (const char byte : take(size)) {
            head.number = head.number << 8 | static_cast<unsigned char>(byte);
        }
        return head;
    }

    bool readValue() {
        const auto head = readHead();
        if (!head) return false;
        if (head->major == kUnsigned) return readNumber(head->number);
        if (head->major == kBytes || head->major == kText) return readString(head->number);
        return head->major == kSimple && readSimple(*head);
    }
    bool readNumber(std::uint64_t number) {
        if (number > std::numeric_limits<std::int64_t>::max()) return false;
        m_values.emplace_back(static_cast<std::int64_t>(number));
        return true;
    }
    bool readString(std::uint64_t size) {
        if (size > m_rest.size()) return false;
        m_values.emplace_back(std::string(take(static_cast<std::size_t>(size))));
        return true;
    }
    bool readSimple(const Head& head) {
        switch (head.width) {
            case 20:
            case 21:
                m_values.emplace_back(head.width == 21);
                return true;
            case 22:
                m_values.emplace_back(Null());
                return true;
            case 26:
                m_values.emplace_back(
                    double{std::bit_cast<float>(static_cast<std::uint32_t>(head.number))});
                return true;
            case 27:
                m_values.emplace_back(std::bit_cast<double>(head.number));
                return true;
            default:
                return false;
        }
    }

    std::string_view take(std::size_t size) {
        const std::string_view taken = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return taken;
    }

    std::string_view m_rest;
    std::vector<Value> m_values;
};

// Takes one value after the other; what is missing or of another type spoils all of it.
class Fields {
public:
    explicit Fields(std::vector<Value> values) : m_values(std::move(values)) {}

    bool isAtEnd() const { return m_at == m_values.size(); }
    bool isGood() const { return m_isGood; }

    template <typename T>
    T take() {
        T* const value = m_at < m_values.size() ? std::get_if<T>(&m_values[m_at]) : nullptr;
        m_isGood = m_isGood && value != nullptr;
        if (!m_isGood) return T();
        ++m_at;
        return std::move(*value);
    }
    bool takesNull() {
        const bool isNull = m_at < m_values.size() && std::holds_alternative<Null>(m_values[m_at]);
        if (isNull) ++m_at;
        return isNull;
    }

    std::optional<Date> optionalDate() {
        if (takesNull()) return std::nullopt;
        const auto date = take<double>();
        m_isGood = m_isGood && std::isfinite(date);
        return Date::fromReference(date);
    }
    Date date() { return optionalDate().value_or(Date::distantPast()); }
    std::optional<std::string> optionalText() {
        return takesNull() ? std::nullopt : std::optional(take<std::string>());
    }
    std::size_t number() {
        const auto value = take<std::int64_t>();
        m_isGood = m_isGood && value >= 0;
        return static_cast<std::size_t>(value);
    }
    Place place() {
        const std::size_t path = number();
        return {path, take<std::string>()};
    }

private:
    std::vector<Value> m_values;
    std::size_t m_at = 0;
    bool m_isGood = true;
};

std::optional<Fields> fieldsIn(std::string_view bytes) {
    auto values = FlatList::valuesIn(bytes);
    if (!values) return std::nullopt;
    return Fields(*std::move(values));
}

Entries readEntries(Fields& fields) {
    Entries some;
    while (fields.isGood() && !fields.isAtEnd()) {
        BrowserEntry entry;
        entry.url = fields.take<std::string>();
        entry.date = fields.optionalDate();
        entry.title = fields.take<std::string>();
        some.entries.push_back(std::move(entry));
    }
    return some;
}

Page readPage(Fields& fields) {
    Page page;
    page.place = fields.place();
    page.page.url = fields.take<std::string>();
    page.page.mimeType = fields.take<std::string>();
    page.page.textEncodingName = fields.optionalText();
    page.page.data = fields.take<std::string>();
    page.page.lastUsed = fields.date();
    return page;
}

std::optional<Message> readMessage(Fields& fields) {
    switch (fields.number()) {
        case kHello: {
            if (fields.number() != kVersion) return std::nullopt;
            const bool hasFileRules = fields.take<bool>();
            return Hello{hasFileRules, fields.take<bool>()};
        }
        case kStartOf:
            return StartOf{fields.place()};
        case kEntries:
            return readEntries(fields);
        case kPage:
            return readPage(fields);
        case kProblem:
            return Problem{fields.take<std::string>()};
        case kEndOf:
            return EndOf{fields.date()};
        case kEnd:
            return End();
        default:
            return std::nullopt;
    }
}

}  // namespace

std::string encode(const Message& message) { return cborOf(std::visit(Writer(), message)); }

std::optional<Message> decodeMessage(std::string_view bytes) {
    auto fields = fieldsIn(bytes);
    if (!fields) return std::nullopt;
    auto message = readMessage(*fields);
    return fields->isGood() && fields->isAtEnd() ? std::move(message) : std::nullopt;
}

std::string encode(const Task& task) {
    Json message = list(kTask);
    message.push_back(kVersion);
    message.push_back(static_cast<int>(task.kind));
    message.push_back(task.indexer);
    message.push_back(seconds(task.lastScanDate));
    message.push_back(seconds(task.lastURLDate));
    message.push_back(task.behind.has_value());
    append(message, task.behind.value_or(Place()));
    for (const std::string& path : task.paths) message.push_back(path);
    return cborOf(message);
}

std::optional<Task> decodeTask(std::string_view bytes) {
    auto fields = fieldsIn(bytes);
    if (!fields || fields->number() != kTask || fields->number() != kVersion) return std::nullopt;
    Task task;
    const std::size_t kind = fields->number();
    if (kind > static_cast<std::size_t>(Task::Kind::Probe)) return std::nullopt;
    task.kind = static_cast<Task::Kind>(kind);
    task.indexer = fields->take<std::string>();
    task.lastScanDate = fields->date();
    task.lastURLDate = fields->date();
    const bool isBehind = fields->take<bool>();
    const Place behind = fields->place();
    if (isBehind) task.behind = behind;
    while (fields->isGood() && !fields->isAtEnd()) {
        task.paths.push_back(fields->take<std::string>());
    }
    return fields->isGood() ? std::optional(std::move(task)) : std::nullopt;
}

}  // namespace siftwell::wire
