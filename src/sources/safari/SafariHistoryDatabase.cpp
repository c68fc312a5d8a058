#include "sources/safari/SafariHistoryDatabase.h"

#include "sources/safari/SafariDatabase.h"

namespace siftwell {

void readSafariVisits(PLSqliteDatabase& database, const std::string& laterThan,
                      const TakeEntry& take) {
    const auto rows = rowsOf(
        database,
        "select history_items.url, history_visits.visit_time FROM history_items, history_visits "
        "WHERE history_visits.visit_time > (julianday('" +
            laterThan +
            "') - julianday('2001-01-01 00:00:00')) * 86400.0 AND "
            "history_items.id=history_visits.history_item AND "
            "history_visits.redirect_destination is null;");
    while (rows->next()) {
        const float visited = rows->floatForColumnIndex(1);
        if (!take({.url = rows->stringForColumnIndex(0),
                   .date = Date::fromReference(static_cast<double>(visited)),
                   .title = ""})) {
            return;
        }
    }
}

}  // namespace siftwell
