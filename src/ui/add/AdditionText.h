// What a user typed, dropped or picked to be indexed, as an address; and what will be done with it.
//
// Threads: any; a look at the file system.
#pragma once

#include <QString>
#include <optional>

#include "app/Driver.h"

namespace siftwell {

enum class AdditionKind { Nothing, Page, Folder, File };

// "~/x", "/x" and "file:///x" are files; "example.org/x" is completed to a web address.
std::optional<Url> additionUrl(const QString& text);

AdditionKind additionKind(const std::optional<Url>& url);

// In a sentence.
QString additionOutlook(AdditionKind kind, Driver::FileUse use,
                        const std::optional<std::string>& indexer);

}  // namespace siftwell
