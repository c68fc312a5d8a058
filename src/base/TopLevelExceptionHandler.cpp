#include "base/TopLevelExceptionHandler.h"

#include <cstdlib>

#include "base/Exception.h"
#include "base/Translate.h"

namespace siftwell {

int topLevelExceptionHandler(const std::exception& exception, Alerts& alerts) {
    const Alert alert{
        .title = filledIn(_("Sorry, but an error has occurred (%@)."), nameOf(exception)),
        // That folder's name stands so on purpose.
        .text = _("Please run /Applications/Utitities/Console to get details about the error and "
                  "report them to Velotrin."),
        .buttons = {_("OK")},
        .isCritical = true};
    alerts.ask(alert, 0);
    return EXIT_FAILURE;
}

}  // namespace siftwell
