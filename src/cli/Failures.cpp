#include <unistd.h>

#include "base/Translate.h"
#include "cli/Commands.h"

namespace siftwell {

void endAtOnce(ExitStatus status, Console& console) {
    console.message(
        _("A source does not answer and was left: siftwell status names it while it is "
          "read."));
    static_cast<void>(console.flush());
    _exit(static_cast<int>(status));
}

ExitStatus explainFailure(const Status& status, Console& console) {
    console.message("siftwell: " + printable(status.message()));
    return status.code() == StatusCode::Busy ? ExitStatus::InTheWay : ExitStatus::Unusable;
}

}  // namespace siftwell
