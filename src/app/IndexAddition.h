// IndexAddition: the search item that is made of an address which the user wants in the index.
//
// Threads: pure functions.
#pragma once

#include <functional>
#include <string>
#include <variant>

#include "app/Driver.h"
#include "base/Alerts.h"
#include "records/SearchItem.h"

namespace siftwell {

// Why nothing can be made of the address.
struct AdditionProblem {
    std::string error;
    std::string details;
};

// The file may be read itself or for the addresses in it, and the user has not said which.
struct AdditionQuestion {};

using AdditionOutcome = std::variant<SearchItem, AdditionProblem, AdditionQuestion>;

AdditionOutcome searchItemForAddition(const Driver::Addition& addition,
                                      const std::function<bool(const std::string& path)>& isFolder);

// What the user is asked about a file: the first button extracts addresses, the second one indexes
// the contents.
Alert fileQuestion();

}  // namespace siftwell
