// Messages: what the program and its indexer tool tell each other, as CBOR.
//
// The tool reads one Task and writes Hello, what it finds, and End; nothing behind that. Its
// messages are what it does, in their order: StartOf names what it turns to next, so that whoever
// listens knows on what it died.
//
// Threads: pure functions. Errors: the tool reads strange files, so what it writes is not trusted:
// a message that is malformed, nested, or of another version is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Date.h"
#include "records/BrowserEntry.h"
#include "records/CachedPage.h"

namespace siftwell::wire {

inline constexpr int kVersion = 1;

// One file of a source, or one entry of a cache in such a folder.
struct Place {
    std::size_t path = 0;  // which of the task's
    std::string entry;     // its name within the path; empty for the path itself

    auto operator<=>(const Place&) const = default;
};

// ---- To the tool

struct Task {
    enum class Kind {
        Scan,    // everything that is newer than the dates
        Lookup,  // the page under the place `behind` alone
        Probe    // nothing: Hello and End
    };
    Kind kind = Kind::Probe;
    std::string indexer;                      // the class name
    std::vector<std::string> paths;           // files, or the folders of caches
    Date lastScanDate = Date::distantPast();  // files that are not newer are passed over
    Date lastURLDate = Date::distantPast();   // entries likewise
    std::optional<Place> behind;              // a scan goes on behind this place
};

// ---- From the tool

// How the tool has confined itself.
struct Hello {
    bool hasFileRules = false;         // by Landlock
    bool hasSystemCallFilter = false;  // by seccomp
};
struct StartOf {
    Place place;
};
struct Entries {
    std::vector<BrowserEntry> entries;
};
struct Page {
    Place place;
    CachedPage page;
};
// The current place cannot be read; it is to be tried again with the next scan.
struct Problem {
    std::string message;
};
// The path is done. Nothing in it is newer than that.
struct EndOf {
    Date changed;
};
struct End {};

using Message = std::variant<Hello, StartOf, Entries, Page, Problem, EndOf, End>;

std::string encode(const Task& task);
std::optional<Task> decodeTask(std::string_view bytes);
std::string encode(const Message& message);
std::optional<Message> decodeMessage(std::string_view bytes);

}  // namespace siftwell::wire
