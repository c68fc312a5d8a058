#include "cli/Commands.h"

namespace siftwell {

ExitStatus explainFailure(const Status& status, Console& console) {
    console.message("siftwell: " + printable(status.message()));
    return status.code() == StatusCode::Busy ? ExitStatus::InTheWay : ExitStatus::Unusable;
}

}  // namespace siftwell
