#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "app/WriterLock.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/JsonLine.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

struct IndexLine {
    std::string name;
    std::uint64_t documents = 0;
    std::uint64_t bytes = 0;  // of all its files
};

std::uint64_t bytesOf(const OpenIndex& index) {
    std::uint64_t bytes = 0;
    std::vector<std::string> paths = PropertyRecordFile::pathsOf(OpenIndex::sideFileOf(index.path));
    paths.push_back(index.path);
    for (const std::string& path : paths) {
        if (const auto info = fileInfo(path)) bytes += info->bytes;
    }
    return bytes;
}

std::vector<IndexLine> linesFor(const IndexController& indexes) {
    std::vector<IndexLine> lines;
    const auto list = indexes.indexes();
    for (const SKIndex& index : *list) {
        lines.push_back({index->name, index->index->documentCount(), bytesOf(*index)});
    }
    return lines;
}

// None when there was no scan yet.
std::optional<Date> lastScan(const Settings& settings) {
    const auto date = settings.date("LastIndexScanDate");
    return date && *date > Date::distantPast() ? date : std::nullopt;
}

void printJson(const std::vector<IndexLine>& lines, const std::optional<Date>& scan, pid_t writer,
               const Console& console) {
    for (const IndexLine& line : lines) {
        nlohmann::ordered_json json;
        json["index"] = repairedUtf8(line.name);
        json["documents"] = line.documents;
        json["bytes"] = line.bytes;
        console.print(jsonLine(json));
    }
    nlohmann::ordered_json json;
    json["lastScan"] = nullptr;
    if (scan) json["lastScan"] = scan->iso8601();
    json["runningCopy"] = nullptr;
    if (writer != 0) json["runningCopy"] = writer;
    console.print(jsonLine(json));
}

void printForPeople(const std::vector<IndexLine>& lines, const std::optional<Date>& scan,
                    pid_t writer, const Console& console) {
    std::uint64_t documents = 0;
    std::uint64_t bytes = 0;
    for (const IndexLine& line : lines) {
        console.print(filledIn(_("%@: %@, %@"), printable(line.name), pageCount(line.documents),
                               humanBytes(line.bytes)));
        documents += line.documents;
        bytes += line.bytes;
    }
    console.print(filledIn(_("All: %@, %@"), pageCount(documents), humanBytes(bytes)));
    console.print(
        filledIn(_("Last scan: %@"), scan ? scan->formattedLocally("%Y-%m-%d %H:%M") : _("never")));
    console.print(writer != 0 ? filledIn(_("Running copy: process %d"), std::int64_t{writer})
                              : _("Running copy: none"));
}

}  // namespace

ExitStatus runStatus(const StatusOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    const std::vector<IndexLine> lines = linesFor((*session)->indexes());
    const auto scan = lastScan((*session)->settings());
    const pid_t writer = WriterLock::holder(context.paths.stateFolder);
    (options.isJson ? printJson : printForPeople)(lines, scan, writer, context.console);
    context.mainLoop.turn(std::chrono::milliseconds(0));
    return errors.size() > 0 ? ExitStatus::Unusable : ExitStatus::Done;
}

}  // namespace siftwell
