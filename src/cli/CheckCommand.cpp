#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/JsonLine.h"
#include "index/IndexCheck.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::string jsonFor(const CheckedIndex& checked) {
    nlohmann::ordered_json line;
    line["index"] = repairedUtf8(checked.name);
    line["documents"] = checked.documents;
    line["withoutRecord"] = checked.withoutRecord;
    line["error"] = nullptr;
    if (!checked.status.isOk()) line["error"] = repairedUtf8(checked.status.message());
    return jsonLine(line);
}

std::string lineForPeople(const CheckedIndex& checked) {
    if (!checked.status.isOk()) return printable(checked.name + ": " + checked.status.message());
    const std::string line =
        filledIn(_("%@: %@, in order"), checked.name, pageCount(checked.documents));
    if (checked.withoutRecord == 0) return printable(line);
    return printable(
        line + filledIn(_(", %@ without a record: they are indexed again when they are found"),
                        grouped(checked.withoutRecord)));
}

}  // namespace

ExitStatus runCheck(const CheckOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    bool isAllRight = true;
    const auto indexes = (*session)->indexes().indexes();
    for (const SKIndex& index : *indexes) {
        context.console.showProgress(filledIn(_("Checking %@"), printable(index->name)));
        const CheckedIndex checked = checkIndex(*index);
        context.console.clearProgress();
        isAllRight = isAllRight && checked.status.isOk();
        context.console.print(options.isJson ? jsonFor(checked) : lineForPeople(checked));
    }
    context.mainLoop.turn(std::chrono::milliseconds(0));
    return isAllRight && errors.size() == 0 ? ExitStatus::Done : ExitStatus::Unusable;
}

}  // namespace siftwell
