#include "ui/maintenance/FilterPassQuestion.h"

#include "base/Translate.h"

namespace siftwell {

bool isFilterPassWanted(Alerts& alerts) {
    return alerts.ask(
               {.title = _("You have added new filtering strings to keep Siftwell from indexing "
                           "certain URL's."),
                .text = _("Would you like to check the documents already in your search index and "
                          "remove pages that have URL's that match your filtering strings?\r\r"
                          "Depending upon the number of pages in your search index, this could "
                          "take several minutes."),
                .buttons = {_("Yes"), _("No")}},
               1) == 0;
}

}  // namespace siftwell
