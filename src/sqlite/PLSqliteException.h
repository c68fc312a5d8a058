// What the SQLite layer throws when it is misused or when a query fails half-way.
//
// The reasons are English on purpose: they reach logs and, through the indexers, error details.
#pragma once

#include <string>

namespace siftwell {

inline constexpr const char* kPLSqliteException = "PLSqliteException";

// Throws a NamedException of that name.
[[noreturn]] void raisePLSqliteException(std::string reason);

}  // namespace siftwell
