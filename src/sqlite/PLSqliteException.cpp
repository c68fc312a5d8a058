#include "sqlite/PLSqliteException.h"

#include <utility>

#include "base/Exception.h"

namespace siftwell {

void raisePLSqliteException(std::string reason) {
    throw NamedException(kPLSqliteException, std::move(reason));
}

}  // namespace siftwell
