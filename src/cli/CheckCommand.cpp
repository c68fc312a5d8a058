#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/JsonLine.h"
#include "index/IndexFolder.h"
#include "index/IndexNaming.h"
#include "index/IndexRepair.h"
#include "index/StopWords.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using fulltext::DamagedPart;
using fulltext::Finding;
using Json = nlohmann::ordered_json;

template <typename Value>
Json orNull(bool isThere, const Value& value) {
    return isThere ? Json(value) : Json(nullptr);
}

Json errorOrNull(const Status& status) {
    return orNull(!status.isOk(), repairedUtf8(status.message()));
}

Json jsonFor(const Finding& finding) {
    const bool isDocument = finding.part == DamagedPart::Document;
    Json json;
    json["part"] = nameOf(finding.part);
    json["offset"] = finding.offset;
    json["document"] = orNull(isDocument && finding.first != 0, finding.first);
    json["documents"] = orNull(!isDocument && finding.last != 0,
                               std::vector<std::uint32_t>{finding.first, finding.last});
    json["url"] = nullptr;
    if (finding.key) json["url"] = repairedUtf8(addressOfDocument(*finding.key));
    json["message"] = repairedUtf8(sentenceFor(finding));
    return json;
}

Json jsonFor(const CheckedIndex& checked) {
    Json line;
    line["index"] = repairedUtf8(checked.name);
    line["documents"] = orNull(checked.documents.has_value(), checked.documents.value_or(0));
    line["withoutRecord"] = checked.withoutRecord;
    line["error"] = errorOrNull(checked.status);
    line["damage"] = Json::array();
    for (const Finding& finding : checked.findings.named())
        line["damage"].push_back(jsonFor(finding));
    line["moreDamage"] = checked.findings.unnamed();
    line["recordsError"] = errorOrNull(checked.records);
    return line;
}

Json jsonFor(const RepairedIndex& repaired) {
    Json line = jsonFor(repaired.before);
    line["repair"] = nullptr;
    if (repaired.before.status.isOk()) return line;
    if (repaired.status.isOk()) {
        line["documents"] = repaired.documents;
        line["withoutRecord"] = repaired.withoutRecord;
    }
    Json& repair = line["repair"];
    repair["lost"] = repaired.report.lost;
    repair["uncertain"] = repaired.report.uncertain;
    repair["isComplete"] = !repaired.report.isLimited;
    repair["keptAs"] =
        orNull(!repaired.report.keptAs.empty(), repairedUtf8(repaired.report.keptAs));
    repair["records"] = errorOrNull(repaired.records);
    repair["error"] = errorOrNull(repaired.status);
    return line;
}

void printForPeople(const CheckedIndex& checked, const Console& console) {
    if (!checked.status.isOk()) {
        console.print(printable(
            checked.findings.isEmpty()
                ? checked.name + ": " + checked.status.message()
                : filledIn(_("%@: the index file %@ is damaged:"), checked.name, checked.path)));
        for (const Finding& finding : checked.findings.named()) {
            console.print(printable("  " + sentenceFor(finding)));
        }
        if (checked.findings.unnamed() > 0) {
            console.print(filledIn(_("  … and %@ more"), grouped(checked.findings.unnamed())));
        }
        if (!checked.records.isOk() && !checked.findings.isEmpty()) {
            console.print(printable("  " + checked.records.message()));
        }
        return;
    }
    std::string line =
        filledIn(_("%@: %@, in order"), checked.name, pageCount(checked.documents.value_or(0)));
    if (checked.withoutRecord > 0) {
        line += filledIn(_(", %@ without a record: they are indexed again when they are found"),
                         grouped(checked.withoutRecord));
    }
    console.print(printable(line));
}

std::vector<std::string> sentencesFor(const RepairedIndex& repaired) {
    if (!repaired.status.isOk()) {
        return {filledIn(_("It was not repaired: %@"), repaired.status.message())};
    }
    const fulltext::RepairReport& report = repaired.report;
    std::vector<std::string> sentences = {
        filledIn(_("Repaired: %@ there now."), pageCount(repaired.documents))};
    const auto say = [&sentences](bool isSo, const std::string& sentence) {
        if (isSo) sentences.push_back(sentence);
    };
    say(report.lost > 0, filledIn(_("%@ lost; they are indexed again when they are found."),
                                  pageCount(report.lost)));
    say(repaired.withoutRecord > 0,
        filledIn(_("%@ without a record; they are indexed again when they are found."),
                 pageCount(repaired.withoutRecord)));
    say(report.uncertain > 0,
        filledIn(_("%@ there now may have been removed before: nothing tells any more."),
                 pageCount(report.uncertain)));
    say(report.isLimited, _("There is too much damage to look for every page."));
    say(report.areSettingsLost,
        _("The settings of the index were lost; it has those of new ones."));
    say(!repaired.records.isOk(), repaired.records.message());
    say(!report.keptAs.empty(),
        filledIn(
            _("The damaged file was kept as %@, with all that was in it; delete it when you do "
              "not need it any more."),
            report.keptAs));
    return sentences;
}

void printForPeople(const RepairedIndex& repaired, const Console& console) {
    printForPeople(repaired.before, console);
    if (repaired.before.status.isOk()) return;
    for (const std::string& sentence : sentencesFor(repaired)) {
        console.print(printable("  " + sentence));
    }
}

template <typename Index>
void print(const Index& index, bool isJson, const Console& console) {
    if (isJson) {
        console.print(jsonLine(jsonFor(index)));
    } else {
        printForPeople(index, console);
    }
}

// Those that were loaded, and those that could not be, which were told by whoever tried.
bool checkAll(IndexController& controller, const CheckOptions& options, Console& console) {
    bool isAllRight = true;
    const auto show = [&](const CheckedIndex& checked) {
        console.clearProgress();
        isAllRight = isAllRight && checked.status.isOk();
        print(checked, options.isJson, console);
    };
    const auto indexes = controller.indexes();
    for (const SKIndex& index : *indexes) {
        console.showProgress(filledIn(_("Checking %@"), printable(index->name)));
        show(checkIndex(*index));
    }
    const std::string folder = controller.indexFolder().value_or("");
    for (const IndexFile& file :
         folder.empty() ? std::vector<IndexFile>() : indexFilesBelow(folder)) {
        const bool isLoaded =
            std::any_of(indexes->begin(), indexes->end(),
                        [&file](const SKIndex& index) { return index->name == file.name; });
        if (isLoaded) continue;
        const auto checked = checkIndexFile(file);
        if (checked && !checked->documents) show(*checked);
    }
    return isAllRight;
}

ExitStatus statusOf(const RepairedIndex& repaired) {
    if (repaired.status.code() == StatusCode::Busy) return ExitStatus::InTheWay;
    if (!repaired.status.isOk()) return ExitStatus::Unusable;
    return repaired.isWithoutLoss() ? ExitStatus::Done : ExitStatus::SomeFailed;
}

ExitStatus repairAll(Session& session, const CheckOptions& options, Console& console) {
    const auto folder = findIndexFolder(session.paths(), false, session.notifier());
    if (!folder) return ExitStatus::Done;
    const std::set<std::string> stopWords = readStopWords(session.paths());
    ExitStatus worst = ExitStatus::Done;
    for (const IndexFile& file : indexFilesBelow(*folder)) {
        console.showProgress(filledIn(_("Checking and repairing %@"), printable(file.name)));
        const auto repaired = repairIndexFile(file, stopWords);
        console.clearProgress();
        if (!repaired) continue;
        if (!repaired->status.isOk()) {
            console.message("siftwell: " + printable(repaired->status.message()));
        }
        worst = std::max(worst, statusOf(*repaired));
        print(*repaired, options.isJson, console);
    }
    return worst;
}

}  // namespace

ExitStatus runCheck(const CheckOptions& options, const CommandContext& context) {
    const auto purpose = options.isRepair ? Session::Purpose::Writing : Session::Purpose::Reading;
    auto session = Session::open(context.paths, purpose, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    ExitStatus result = ExitStatus::Done;
    if (options.isRepair) {
        result = repairAll(**session, options, context.console);
        if (Status status = (*session)->close(); !status.isOk()) {
            return explainFailure(status, context.console);
        }
    } else if (!checkAll((*session)->indexes(), options, context.console)) {
        result = ExitStatus::Unusable;
    }
    context.mainLoop.turn(std::chrono::milliseconds(0));
    return errors.size() == 0 ? result : std::max(result, ExitStatus::Unusable);
}

}  // namespace siftwell
