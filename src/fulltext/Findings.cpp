#include "fulltext/Findings.h"

#include <array>

#include "base/Translate.h"
#include "fulltext/Record.h"

namespace siftwell::fulltext {

namespace {

std::string range(const Finding& finding) {
    return filledIn(_("pages %d to %d"), std::int64_t{finding.first}, std::int64_t{finding.last});
}

std::string placeOf(const Finding& finding) {
    const auto offset = static_cast<std::int64_t>(finding.offset);
    switch (finding.part) {
        case DamagedPart::File:
            return _("the file");
        case DamagedPart::Header:
            return _("the header");
        case DamagedPart::Roots:
            return filledIn(_("the roots at byte %d"), offset);
        case DamagedPart::Settings:
            return filledIn(_("the settings at byte %d"), offset);
        case DamagedPart::Commit:
            return filledIn(_("the commit at byte %d"), offset);
        case DamagedPart::Removals:
            return filledIn(_("the list of removed pages at byte %d"), offset);
        case DamagedPart::Segment:
            return finding.last == 0
                       ? filledIn(_("the segment at byte %d"), offset)
                       : filledIn(_("the segment at byte %d, %@"), offset, range(finding));
        case DamagedPart::Document:
            break;
    }
    const std::string number = std::to_string(finding.first);
    if (!finding.key) return filledIn(_("page %@, record at byte %d"), number, offset);
    return filledIn(_("page %@ (%@), record at byte %d"), number,
                    finding.key->scheme + ":" + finding.key->name, offset);
}

}  // namespace

std::string_view nameOf(DamagedPart part) {
    constexpr std::array<std::string_view, 8> kNames = {
        "file", "header", "roots", "settings", "commit", "segment", "removals", "document"};
    return kNames[static_cast<std::size_t>(part)];
}

std::string sentenceFor(const Finding& finding) {
    return filledIn(_("%@: %@"), placeOf(finding), finding.what);
}

void Findings::add(Finding finding) {
    if (m_named.size() < kMaxNamed) {
        m_named.push_back(std::move(finding));
    } else {
        ++m_unnamed;
    }
}

std::string detailOf(const Status& status, const StorageFile& file) {
    constexpr char kMark = '\x1F';
    const std::string frame = damagedFile(file, std::string(1, kMark)).message();
    const std::string& message = status.message();
    const std::string before = frame.substr(0, frame.find(kMark));
    const std::string after = frame.substr(before.size() + 1);
    if (message.size() < frame.size() || !message.starts_with(before) ||
        !message.ends_with(after)) {
        return message;
    }
    return message.substr(before.size(), message.size() + 1 - frame.size());
}

}  // namespace siftwell::fulltext
