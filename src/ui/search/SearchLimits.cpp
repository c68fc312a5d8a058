#include "ui/search/SearchLimits.h"

#include <QDateTime>
#include <QLocale>

#include "ui/Dates.h"
#include "ui/Text.h"
#include "ui/search/SearchMenus.h"

namespace siftwell {

namespace {

constexpr int kHour = 60;
constexpr int kDay = 24 * kHour;
constexpr int kWeek = 7 * kDay;
constexpr int kMonth = 30 * kDay;
constexpr int kYear = 365 * kDay;

QString recentText(qint64 count, qint64 minutes) {
    switch (minutes) {
        case kHour:
            return counted(N_("Past hour"), N_("Last %@ hours"), count);
        case kDay:
            return counted(N_("Past day"), N_("Last %@ days"), count);
        case kWeek:
            return counted(N_("Past week"), N_("Last %@ weeks"), count);
        case kMonth:
            return counted(N_("Past month"), N_("Last %@ months"), count);
        case kYear:
            return counted(N_("Past year"), N_("Last %@ years"), count);
        default:
            return counted(N_("Past minute"), N_("Last %@ minutes"), count * minutes);
    }
}

QString dayText(const std::optional<Date>& date) {
    const QDate day = toLocal(date.value_or(Date::distantPast())).date();
    return QLocale().toString(day, QLocale::ShortFormat);
}

}  // namespace

QString dateText(const Settings& settings) {
    switch (settings.integer("constrainDate")) {
        case 1:
            return recentText(settings.integer("constraintTime"),
                              settings.integer("constraintTimeUnits"));
        case 2:
            return dayText(settings.date("constraintDate1")) + QStringLiteral(" – ") +
                   dayText(settings.date("constraintDate2"));
        default:
            return q_("Any time");
    }
}

QString locationText(ActiveSearch& search) {
    const auto all = search.controller().searchSourceSettings();
    const auto names = siftwell::searchSources(all);
    if (!names) return q_("Everywhere");
    if (names->empty()) return q_("Nowhere");
    if (names->size() == 1) return toQString(names->front());
    return toQString(filledIn(_("%@ of %@ places"), static_cast<std::int64_t>(names->size()),
                              static_cast<std::int64_t>(all.size())));
}

void limitToRecent(Settings& settings, int count, int minutes) {
    settings.set("constraintTime", count);
    settings.set("constraintTimeUnits", minutes);
    settings.set("constrainDate", 1);
}

// To the last moment of the last day.
void limitToDays(Settings& settings, const QDate& first, const QDate& last) {
    settings.set("constraintDate1", fromLocal(std::min(first, last).startOfDay()));
    settings.set("constraintDate2", fromLocal(std::max(first, last).endOfDay()));
    settings.set("constrainDate", 2);
}

void liftDateLimit(Settings& settings) { settings.set("constrainDate", 0); }

void searchEverywhere(ActiveSearch& search) {
    for (const SearchSource& source : search.controller().searchSourceSettings()) {
        if (!source.Search) search.controller().setSearchSourceSetting(source.Name, true);
    }
}

std::vector<SearchLimit> limitsOf(ActiveSearch& search, Settings& settings) {
    std::vector<SearchLimit> limits;
    if (settings.integer("constrainDate") != 0) {
        limits.push_back({toQString(filledIn(_("When: %@"), dateText(settings).toStdString())),
                          q_("Search &Any Time"), [&settings] { liftDateLimit(settings); }});
    }
    if (search.controller().searchSources()) {
        limits.push_back({toQString(filledIn(_("Where: %@"), locationText(search).toStdString())),
                          q_("Search Ever&ywhere"), [&search] { searchEverywhere(search); }});
    }
    if (search.searchType() == SearchType::AllWords) {
        limits.push_back({q_("Words: all of them, as a whole"), q_("Find &Parts of Words"),
                          [&search] { search.setSearchType(SearchType::AllFragments); }});
    } else if (search.searchType() == SearchType::AllFragments) {
        limits.push_back({q_("Words: all of them"), q_("Find Any &of the Words"),
                          [&search] { search.setSearchType(SearchType::AnyFragment); }});
    }
    return limits;
}

}  // namespace siftwell
